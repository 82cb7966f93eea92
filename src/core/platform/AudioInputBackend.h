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
    /// The format of the buffers: the device's own rate and channel count. `channelCount` 0
    /// means the input has no channels, which the caller treats as a failure.
    AudioStreamDescription format;
    /// False when the requested device could not be used and the stream records from the
    /// server's default input instead.
    bool isOnRequestedDevice = true;
};

/// The microphone side of the sound server: the platform boundary that `MicrophoneCapture`
/// works over. Linux implements it on libpulse; tests use scripted fakes.
///
/// All members are called from the main thread except where said; a backend runs at most one
/// record stream at a time.
class AudioInputBackend {
public:
    virtual ~AudioInputBackend() = default;

    /// The devices that can record (monitors of outputs are not among them), in the backend's
    /// own order. Empty when the server cannot be asked. Never waits on the sound server, and may
    /// be called from any thread.
    virtual QList<AudioInputDevice> listInputDevices() = 0;

    /// The server's default input device, or 0 when there is none or it is unknown. Same
    /// promises as `listInputDevices`.
    virtual quint32 defaultInputDeviceId() = 0;

    /// Starts recording from `deviceId` (0: the server's default) at the device's own rate and
    /// channels, and returns when the stream runs or has failed; the wait is bounded by the
    /// backend. A stream that is already running is stopped first. The callbacks are copied and
    /// kept until the stream stops.
    virtual AudioInputStreamStart startRecording(quint32 deviceId,
                                                 AudioInputStreamCallbacks callbacks) = 0;

    /// Ends the stream. When it returns, no callback of that stream is running or will run, so
    /// the caller may release whatever the callbacks use. Safe when nothing runs. Never call it
    /// from inside a callback.
    virtual void stopRecording() = 0;
};

} // namespace vesnara
