#pragma once

#include "audio/AudioSourceOptions.h"
#include "audio/CaptureWorker.h"
#include "audio/PcmChunker.h"
#include "audio/SystemAudioCaptureError.h"
#include "audio/SystemAudioSources.h"
#include "model/Timing.h"
#include "platform/SystemAudioBackend.h"

#include <QByteArray>
#include <QCoroTask>
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
/// Lives as long as its owner; the members and the fields are used from the main thread, the
/// counters may be read from any. The backend's capture calls run on a worker thread of this
/// object's own, one at a time in the order they were asked for, so `startAsync` and `stopAsync`
/// never wait on the sound server. Each start or stop begins a new run: a buffer or a stop of an
/// earlier run that arrives later is dropped, so once `stopAsync` has returned its task (before
/// the backend has let go), nothing reaches the callbacks until the next start. The backend must
/// outlive the object.
class SystemAudioCapture {
public:
    using Clock = SystemAudioChunker::Clock;

    /// `clock` (steady time, called on the audio thread) is for tests; empty means the real one.
    explicit SystemAudioCapture(SystemAudioBackend& backend, const Timing& timing = {},
                                std::function<Clock::time_point()> clock = {});
    /// Stops a running capture and waits for the worker thread, and so for a start still under
    /// way (at most the backend's start limit).
    ~SystemAudioCapture();
    SystemAudioCapture(const SystemAudioCapture&) = delete;
    SystemAudioCapture& operator=(const SystemAudioCapture&) = delete;

    /// Receives each frame on the backend's audio thread: it must return quickly and must not touch
    /// a QObject (post the frame on). Read by a start; stays across stops.
    std::function<void(QByteArray)> onPCMFrame;
    /// Called on the audio thread for every buffer that arrives, before any conversion. Read by a
    /// start.
    std::function<void()> onRawAudioSample;
    /// Told, on the audio thread, that the capture stopped by itself; the details are for the log.
    /// Nothing else changes: missing frames are the supervision's business. Read by a start.
    std::function<void(const QString& details)> onStreamStopped;

    /// The output to capture; nothing or an output that is gone means the first one.
    std::optional<quint32> preferredDisplayID;
    /// The application to capture; nothing, blank or one that is not playing means all.
    std::optional<QString> preferredApplicationBundleID;
    /// This program, never offered nor captured. Defaults to the running executable's file name
    /// and process id.
    OwnApplication ownApplication;

    /// Chooses the source here and starts capturing on the worker thread; ends when the capture
    /// runs. A running capture is replaced. Throws `SystemAudioCaptureError`: `permissionDenied`
    /// when the sound server cannot be asked (not connected), `noDisplay` when there is no
    /// output (both at once, before anything waits), `streamSetupFailed` when the stream does not
    /// start. A stop or another start made before it ends supersedes it: it then ends without
    /// error and changes nothing (the later call decides). Destroying the object while it runs
    /// ends it the same way.
    QCoro::Task<> startAsync();
    /// Ends capture at once, drops pending audio and zeroes the counters; safe when not running
    /// (then nothing is logged). The backend lets go of the output on the worker thread
    /// afterwards; the task ends when it has, and need not be awaited.
    QCoro::Task<> stopAsync();

    bool isRunning() const { return m_isRunning; }
    /// "<output> • <application or Kaikki sovellukset>" while running, else empty.
    const QString& activeSourceName() const { return m_activeSourceName; }

    /// Buffers received in this capture, converted or not.
    int rawSampleCount() const { return m_rawSampleCount.load(); }
    /// Buffers converted in this capture.
    int pcmFrameCount() const { return m_pcmFrameCount.load(); }
    /// Frames handed to `onPCMFrame` in this capture.
    int emittedChunkCount() const { return m_emittedChunkCount.load(); }

    /// The outputs, in the backend's order. Throws `permissionDenied` like `startAsync`.
    QList<SystemAudioDisplayOption> listDisplaySources() const;
    /// One entry per playing application but this program, sorted by name. Throws
    /// `permissionDenied` like `startAsync`.
    QList<SystemAudioApplicationOption> listApplicationSources() const;

    SystemAudioBackend& backend() const { return m_backend; }

private:
    struct StartPlan {
        quint64 run = 0;
        SystemAudioCaptureTarget target;
        quint32 displayId = 0;
        QString outputName;
        QString applicationName;
        qsizetype applicationCount = 0;
        SystemAudioStreamCallbacks callbacks;
    };

    SystemAudioContent contentOrThrow() const;
    StartPlan prepareStart();
    void finishStart(const StartPlan& plan, const std::optional<AudioBackendError>& error);
    void endRun();
    void resetRunStateLocked();
    void handleBuffer(quint64 run, const AudioBufferView& buffer);
    void convertAndChunk(const AudioBufferView& buffer);
    void handleStopped(quint64 run, const AudioBackendError& error);
    void emitChunk(QByteArray chunk);

    SystemAudioBackend& m_backend;
    std::function<Clock::time_point()> m_clock;
    QString m_activeSourceName;
    bool m_isRunning = false;

    // What the audio callbacks feed: set by starts, reset by stops, used by the callbacks, all
    // under the worker's run lock.
    SystemAudioChunker m_chunker;
    bool m_hasLoggedUnsupportedFormat = false;
    std::function<void(QByteArray)> m_frameSink;
    std::function<void()> m_rawSampleSink;
    std::function<void(const QString&)> m_stoppedSink;
    std::atomic<int> m_rawSampleCount = 0;
    std::atomic<int> m_pcmFrameCount = 0;
    std::atomic<int> m_emittedChunkCount = 0;

    /// Declared last, so that its thread has finished before anything a callback uses is gone.
    CaptureWorker m_worker;
};

} // namespace vesnara
