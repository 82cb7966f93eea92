#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <chrono>
#include <optional>

namespace vesnara {

/// Cuts converted microphone audio into frames of exactly 3200 bytes (100 ms). Bytes short of a
/// frame wait for the next buffer, however long that takes. Not thread-safe: one capture thread
/// appends at a time.
class MicrophoneChunker {
public:
    /// Appends `pcm` and returns every complete frame, oldest first.
    QList<QByteArray> append(QByteArrayView pcm);
    void clear();
    qsizetype pendingBytes() const { return m_pending.size(); }

private:
    QByteArray m_pending;
};

/// Cuts converted system audio into frames of 3200 bytes, and lets a partial frame of at least
/// 640 bytes (20 ms) out once `maxLatency` has passed since the last frame went out, so sparse
/// output does not wait. Less than 640 bytes always waits for more. After construction or `reset`
/// the last emission lies in the distant past, so the first 640 bytes go out at once. Not
/// thread-safe: one capture thread appends at a time.
class SystemAudioChunker {
public:
    using Clock = std::chrono::steady_clock;

    explicit SystemAudioChunker(std::chrono::milliseconds maxLatency);

    /// Appends `pcm`, received at `now`, and returns the frames to emit, oldest first.
    QList<QByteArray> append(QByteArrayView pcm, Clock::time_point now);
    /// Drops pending audio and forgets the last emission.
    void reset();
    qsizetype pendingBytes() const { return m_pending.size(); }

private:
    std::chrono::milliseconds m_maxLatency;
    QByteArray m_pending;
    std::optional<Clock::time_point> m_lastEmitAt;
};

} // namespace vesnara
