#pragma once

#include "audio/AudioBackendError.h"
#include "audio/AudioBufferView.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace vesnara {

/// An output whose sound can be captured (a "display" in the picker's terms; on Linux a sink,
/// captured through its monitor).
struct SystemAudioDisplay {
    /// The backend's identifier of the output; 0 never names one.
    quint32 id = 0;
    /// The human-readable name; empty when the backend has none.
    QString name;

    friend bool operator==(const SystemAudioDisplay&, const SystemAudioDisplay&) = default;
};

/// An application that plays sound. On Linux the "bundle identifier" is the playing process's
/// binary name, else its application name; one application may appear once per stream.
struct SystemAudioApplication {
    QString bundleIdentifier;
    QString applicationName;
    /// Its processes, when known; used to leave this program itself out.
    QList<qint64> processIds;

    friend bool operator==(const SystemAudioApplication&, const SystemAudioApplication&) = default;
};

/// What can be captured right now.
struct SystemAudioContent {
    /// Set when the sound server could not be asked (not connected yet, or gone); both lists are
    /// then empty, which says nothing about what exists.
    std::optional<AudioBackendError> error;
    QList<SystemAudioDisplay> displays;
    QList<SystemAudioApplication> applications;
};

/// What to capture.
struct SystemAudioCaptureTarget {
    quint32 displayId = 0;
    /// Empty: everything the output plays. Otherwise only the streams of the application with
    /// this bundle identifier, summed, however many it has (and as they come and go).
    QString applicationBundleIdentifier;

    friend bool operator==(const SystemAudioCaptureTarget&,
                           const SystemAudioCaptureTarget&) = default;
};

/// What a running capture calls. Both run on the backend's own audio thread, one call at a
/// time, and must return quickly; they must never touch a QObject of another thread.
///
/// The backend reports through these callbacks only (it has no signals), for the same reason.
struct SystemAudioStreamCallbacks {
    /// Each buffer of captured sound, with its own stream description.
    std::function<void(const AudioBufferView&)> onBuffer;
    /// The capture stopped by itself (output removed, server gone). Called at most once per
    /// capture; no buffer follows it. The capture counts as running until `stopCapture`.
    std::function<void(const AudioBackendError&)> onStopped;
};

/// The system-audio side of the sound server: the platform boundary that `SystemAudioCapture`
/// works over. Linux implements it on libpulse; tests use scripted fakes.
///
/// The listing and the callback setter never wait on the sound server and are called from the
/// main thread (the listing from any). `startCapture` waits on the server (within a bound), so it
/// is called off the main thread: `SystemAudioCapture` calls the capture members from a worker
/// thread of its own, one call at a time. A backend runs at most one capture at a time.
class SystemAudioBackend {
public:
    virtual ~SystemAudioBackend() = default;

    /// The outputs and the applications that play sound, in the backend's own order, as last
    /// known. Never waits on the sound server: when it is not connected the content carries an
    /// error instead. Any thread.
    virtual SystemAudioContent shareableContent() = 0;

    /// `callback` is called when the content may have changed (an output or a playing
    /// application came or went, the server connected or was lost). It runs on the backend's
    /// own thread, must return quickly, must not call the backend and must not touch a QObject
    /// directly: the caller hops to its own thread (a queued call). Set from the main thread;
    /// empty clears it. After it returns, the previous callback is not running and will not run.
    virtual void setDevicesChangedCallback(std::function<void()> callback) = 0;

    /// Starts capturing `target` and returns when the capture runs (nothing) or has failed (the
    /// reason); the wait is bounded by the backend. A capture that is already running is stopped
    /// first. The callbacks are copied and kept until the capture stops.
    virtual std::optional<AudioBackendError> startCapture(const SystemAudioCaptureTarget& target,
                                                          SystemAudioStreamCallbacks callbacks) = 0;

    /// Ends the capture without waiting for the server to confirm. When it returns, no callback
    /// of that capture is running or will run. Safe when nothing runs. Never call it from inside
    /// a callback.
    virtual void stopCapture() = 0;
};

} // namespace vesnara
