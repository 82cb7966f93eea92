#pragma once

#include <QByteArray>

#include <chrono>
#include <deque>

namespace vesnara {

/// The audio of an outage, waiting for the stream to come back: whole frames in arrival order
/// within a byte budget. When a frame does not fit, the oldest frames go first, so what is kept
/// is always the latest stretch of the meeting. A value type with no clock and no Qt object.
class AudioSpool {
public:
    /// 16 kHz mono PCM16: the bytes of one second of the stream's audio.
    static constexpr qint64 bytesPerSecond = 16000 * 2;

    explicit AudioSpool(qint64 capacityBytes = 0)
        : m_capacity(capacityBytes < 0 ? 0 : capacityBytes) {}

    /// The budget in bytes for `duration` of the stream's audio, whole samples.
    static qint64 capacityFor(std::chrono::milliseconds duration);

    /// Appends a frame, dropping the oldest frames until it fits. A frame larger than the whole
    /// budget keeps only its newest whole samples. Gives the bytes dropped by this push.
    qint64 push(QByteArray frame);
    /// The oldest frame, removed; empty when there is none.
    QByteArray pop();
    /// Forgets everything held and the drop count; the capacity stays.
    void clear();

    bool isEmpty() const { return m_frames.empty(); }
    qint64 bytes() const { return m_bytes; }
    qint64 capacity() const { return m_capacity; }
    std::size_t frameCount() const { return m_frames.size(); }
    /// Bytes dropped since the last `clear` or `takeDroppedBytes`.
    qint64 droppedBytes() const { return m_dropped; }
    qint64 takeDroppedBytes();

private:
    std::deque<QByteArray> m_frames;
    qint64 m_bytes = 0;
    qint64 m_capacity = 0;
    qint64 m_dropped = 0;
};

/// The pace of sending a backlog: a frame may go once the audio released before it would have
/// played at the catch-up speed, where `perAudioSecond` is the time one second of audio is
/// given (250 ms: four times real time). The first frame goes at once.
std::chrono::microseconds spoolReleaseOffset(qint64 bytesReleasedBefore,
                                             std::chrono::milliseconds perAudioSecond);

/// Whole seconds of the stream's audio in `bytes`, rounded up, so a loss is never reported as
/// none.
qint64 spoolSecondsCeil(qint64 bytes);

} // namespace vesnara
