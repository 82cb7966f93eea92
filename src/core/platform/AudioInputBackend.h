#pragma once

#include "audio/AudioBackendError.h"
#include "audio/AudioBufferView.h"
#include "audio/AudioInputDevice.h"
#include "audio/AudioStreamDescription.h"

#include <QList>

#include <functional>
#include <optional>

namespace vesnara {

/// What a running record stream calls. Both run on the backend's own audio thread, one call at
/// a time, and must return quickly; they must never touch a QObject of another thread.
///
/// The backend reports through these callbacks only (it has no signals): a record stream lives
/// on a thread where no QObject may be used.
struct AudioInputStreamCallbacks {
    /// Each buffer the device delivers, in the format `startRecording` reported.
    std::function<void(const AudioBufferView&)> onBuffer;
    /// The stream died by itself (device removed, server gone). Called at most once per stream;
    /// no buffer follows it. The stream still counts as running until `stopRecording`.
    std::function<void(const AudioBackendError&)> onFailure;
};

/// The outcome of `AudioInputBackend::startRecording`.
struct AudioInputStreamStart {
    /// Set when no stream runs; no callback will be called.
    std::optional<AudioBackendError> error;
    /// The format of the buffers. `channelCount` 0 means the input has no channels, which the
    /// caller treats as a failure.
    AudioStreamDescription format;
    /// False when the requested device could not be used and the stream records from the
    /// server's default input instead.
    bool isOnRequestedDevice = true;
};

/// What `AudioInputBackend::listInputDevices` found.
struct AudioInputDeviceListing {
    /// Set when the sound server could not be asked (not connected yet, or gone); the devices
    /// are then empty and the default 0. A failed listing is not an empty one: it says nothing
    /// about which devices exist, so a stored choice should stand.
    std::optional<AudioBackendError> error;
    /// The devices that can record (monitors of outputs are not among them), in the backend's
    /// own order.
    QList<AudioInputDevice> devices;
    /// The server's default input device, or 0 when there is none or it is unknown.
    quint32 defaultDeviceId = 0;
};

/// The microphone side of the sound server: the platform boundary that `MicrophoneCapture`
/// works over. Linux implements it on libpulse; tests use scripted fakes.
///
/// The listing and the callback setter never wait on the sound server and are called from the
/// main thread (the listing from any). `startRecording` waits on the server (within a bound), so
/// it is called off the main thread: `MicrophoneCapture` calls the stream members from a worker
/// thread of its own, one call at a time. A backend runs at most one record stream at a time.
class AudioInputBackend {
public:
    virtual ~AudioInputBackend() = default;

    /// The devices and the default one as last known. Never waits on the sound server: when it
    /// is not connected the listing carries an error instead. Any thread.
    virtual AudioInputDeviceListing listInputDevices() = 0;

    /// `callback` is called when the listing may have changed (a device came or went, the
    /// default changed, the server connected or was lost). It runs on the backend's own thread,
    /// must return quickly, must not call the backend and must not touch a QObject directly: the
    /// caller hops to its own thread (a queued call). Set from the main thread; empty clears it.
    /// After it returns, the previous callback is not running and will not run.
    virtual void setDevicesChangedCallback(std::function<void()> callback) = 0;

    /// Starts recording from `deviceId` (0: the server's default) and returns when the stream
    /// runs or has failed; the wait is bounded by the backend. A stream that is already running
    /// is stopped first. The callbacks are copied and kept until the stream stops.
    virtual AudioInputStreamStart startRecording(quint32 deviceId,
                                                 AudioInputStreamCallbacks callbacks) = 0;

    /// Ends the stream without waiting for the server to confirm. When it returns, no callback
    /// of that stream is running or will run, so the caller may release whatever the callbacks
    /// use. Safe when nothing runs. Never call it from inside a callback.
    virtual void stopRecording() = 0;
};

} // namespace vesnara
