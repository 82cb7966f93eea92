#pragma once

#include "audio/AudioSourceOptions.h"
#include "audio/CaptureWorker.h"
#include "audio/MicrophoneCaptureError.h"
#include "audio/PcmChunker.h"
#include "platform/AudioInputBackend.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace vesnara {

/// The microphone source: picks an input device by the program's fixed preference, records from it
/// through an `AudioInputBackend`, converts each buffer to 16 kHz mono PCM16 and hands the audio on
/// in frames of exactly 3200 bytes.
///
/// Lives as long as its owner and is started and stopped many times; the members and the fields
/// are used from the main thread. The backend's stream calls run on a worker thread of this
/// object's own, one at a time in the order they were asked for, so `startAsync` and `stopAsync`
/// never wait on the sound server. Each start or stop begins a new run: a buffer or a failure
/// of an earlier run that arrives later is dropped, so once `stopAsync` has returned its task
/// (before the backend has let go), nothing reaches `onPCMFrame` or `onStreamFailure` until the
/// next start. The backend must outlive the object.
/// Permission checks and requests are not here (the permission module asks before a start).
class MicrophoneCapture {
public:
    explicit MicrophoneCapture(AudioInputBackend& backend);
    /// Stops a running capture and waits for the worker thread, and so for a start still under
    /// way (at most the backend's start limit).
    ~MicrophoneCapture();
    MicrophoneCapture(const MicrophoneCapture&) = delete;
    MicrophoneCapture& operator=(const MicrophoneCapture&) = delete;

    /// Receives each 3200-byte frame on the backend's audio thread: it must return quickly and
    /// must not touch a QObject (post the frame on). Read by a start; stays across stops.
    std::function<void(QByteArray)> onPCMFrame;
    /// Told, on the backend's audio thread, that the running stream died by itself; the details
    /// are for the log. Read by a start.
    std::function<void(const QString& details)> onStreamFailure;

    /// The device that the user or a fallback chose; nothing means choose automatically. Read by
    /// a start; survives stops. When the device list cannot be read, a start asks the backend for
    /// this device as it is (the server's default when nothing is chosen).
    std::optional<quint32> preferredInputDeviceID;

    /// Selects the device here and starts recording on the worker thread; ends when the stream
    /// runs. On a running object it restarts: audio short of a frame from the earlier run is kept
    /// unless a stop came between. Throws `MicrophoneCaptureError` (`engineNotReady`) when the
    /// input has no channels or its stream does not start. A stop or another start made before
    /// it ends supersedes it: it then ends without error and changes nothing (the later call
    /// decides). Destroying the object while it runs ends it the same way.
    QCoro::Task<> startAsync();
    /// Ends capture at once and drops audio short of a frame; safe when not running. The backend
    /// lets go of the device on the worker thread afterwards; the task ends when it has, and
    /// need not be awaited.
    QCoro::Task<> stopAsync();

    /// True from the end of a successful start to the next stop or start.
    bool isRunning() const { return m_isRunning; }
    /// The device in use: its name, "Oletuslaite" when none was chosen by name; empty until a
    /// start has succeeded and again after a stop.
    const QString& activeInputDeviceName() const { return m_activeInputDeviceName; }

    /// The devices that can record, in the backend's order. Nothing when the sound server could
    /// not be asked (not connected yet, or gone): unlike an empty list, that says nothing about
    /// which devices exist, so a stored choice should stand. Never waits.
    std::optional<QList<AudioInputDeviceOption>> listAvailableInputDevices() const;
    /// Where to go from the wireless headset `current` (see `stableFallbackInputDevice` in
    /// InputDeviceSelection.h); nothing also when the devices cannot be listed.
    std::optional<AudioInputDeviceOption> stableFallbackInputDevice(quint32 current) const;
    /// A stable device other than `excluding` (see InputDeviceSelection.h); nothing also when the
    /// devices cannot be listed.
    std::optional<AudioInputDeviceOption>
    preferredStableInputDevice(std::optional<quint32> excluding) const;

    AudioInputBackend& backend() const { return m_backend; }

private:
    struct StartPlan {
        quint64 run = 0;
        quint32 deviceId = 0;
        /// Empty when the device list could not be read.
        QString deviceName;
        AudioInputStreamCallbacks callbacks;
    };

    StartPlan prepareStart();
    void finishStart(const StartPlan& plan, const AudioInputStreamStart& started);
    void endRun();
    void handleBuffer(quint64 run, const AudioBufferView& buffer);
    void handleFailure(quint64 run, const AudioBackendError& error);

    AudioInputBackend& m_backend;
    QString m_activeInputDeviceName;
    bool m_isRunning = false;

    // What the audio callbacks feed: set by starts, cleared by stops, used by the callbacks, all
    // under the worker's run lock.
    MicrophoneChunker m_chunker;
    std::function<void(QByteArray)> m_frameSink;
    std::function<void(const QString&)> m_failureSink;

    /// Declared last, so that its thread has finished before anything a callback uses is gone.
    CaptureWorker m_worker;
};

} // namespace vesnara
