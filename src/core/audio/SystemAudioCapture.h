#pragma once

#include "audio/AudioSourceOptions.h"
#include "audio/PcmChunker.h"
#include "audio/SystemAudioCaptureError.h"
#include "audio/SystemAudioSources.h"
#include "model/Timing.h"
#include "platform/SystemAudioBackend.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

namespace vesnara {

/// The system audio source: captures what the computer plays (one output, optionally only one
/// application) through a `SystemAudioBackend`, converts each buffer to 16 kHz mono PCM16 and
/// hands the audio on in frames of 3200 bytes, or of 640 bytes and more when audio has waited
/// `Timing::systemAudioMaxChunkLatency` since the last frame.
///
/// Lives as long as its owner; `start`, `stop`, the listings and the fields are used from the main
/// thread, the counters may be read from any. The backend must outlive the object.
class SystemAudioCapture {
public:
    using Clock = SystemAudioChunker::Clock;

    /// `clock` (steady time, called on the audio thread) is for tests; empty means the real one.
    explicit SystemAudioCapture(SystemAudioBackend& backend, const Timing& timing = {},
                                std::function<Clock::time_point()> clock = {});
    /// Stops a running capture.
    ~SystemAudioCapture();
    SystemAudioCapture(const SystemAudioCapture&) = delete;
    SystemAudioCapture& operator=(const SystemAudioCapture&) = delete;

    /// Receives each frame on the backend's audio thread: it must return quickly and must not touch
    /// a QObject (post the frame on). Read by `start`; stays across `stop`.
    std::function<void(QByteArray)> onPCMFrame;
    /// Called on the audio thread for every buffer that arrives, before any conversion. Read by
    /// `start`.
    std::function<void()> onRawAudioSample;
    /// Told, on the audio thread, that the capture stopped by itself; the details are for the log.
    /// Nothing else changes: missing frames are the supervision's business. Read by `start`.
    std::function<void(const QString& details)> onStreamStopped;

    /// The output to capture; nothing or an output that is gone means the first one.
    std::optional<quint32> preferredDisplayID;
    /// The application to capture; nothing, blank or one that is not playing means all.
    std::optional<QString> preferredApplicationBundleID;
    /// This program, never offered nor captured. Defaults to the running executable's file name
    /// and process id.
    OwnApplication ownApplication;

    /// Starts capturing and returns when the capture runs. Callers stop a running capture first.
    /// Throws `SystemAudioCaptureError`: `permissionDenied` when the sound server cannot be asked,
    /// `noDisplay` when there is no output, `streamSetupFailed` when the stream does not start.
    void start();
    /// Ends capture, drops pending audio and zeroes the counters; safe when not running (then
    /// nothing is logged). When it returns, no callback runs any more.
    void stop();

    bool isRunning() const { return m_isRunning; }
    /// "<output> • <application or Kaikki sovellukset>" while running, else empty.
    const QString& activeSourceName() const { return m_activeSourceName; }

    /// Buffers received in this capture, converted or not.
    int rawSampleCount() const { return m_rawSampleCount.load(); }
    /// Buffers converted in this capture.
    int pcmFrameCount() const { return m_pcmFrameCount.load(); }
    /// Frames handed to `onPCMFrame` in this capture.
    int emittedChunkCount() const { return m_emittedChunkCount.load(); }

    /// The outputs, in the backend's order. Throws `permissionDenied` like `start`.
    QList<SystemAudioDisplayOption> listDisplaySources() const;
    /// One entry per playing application but this program, sorted by name. Throws
    /// `permissionDenied` like `start`.
    QList<SystemAudioApplicationOption> listApplicationSources() const;

    SystemAudioBackend& backend() const { return m_backend; }

private:
    SystemAudioContent contentOrThrow() const;
    void resetRunState();
    void handleBuffer(const AudioBufferView& buffer);
    void emitChunk(QByteArray chunk);

    SystemAudioBackend& m_backend;
    std::function<Clock::time_point()> m_clock;
    QString m_activeSourceName;
    bool m_isRunning = false;

    // Touched by the audio thread while a capture runs, by `start`/`stop` only when none does.
    SystemAudioChunker m_chunker;
    bool m_hasLoggedUnsupportedFormat = false;
    std::function<void(QByteArray)> m_frameSink;
    std::function<void()> m_rawSampleSink;
    std::atomic<int> m_rawSampleCount = 0;
    std::atomic<int> m_pcmFrameCount = 0;
    std::atomic<int> m_emittedChunkCount = 0;
};

} // namespace vesnara
