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
    /// Set when the sound server could not be asked; both lists are then empty.
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
/// All members are called from the main thread except where said; a backend runs at most one
/// capture at a time.
class SystemAudioBackend {
public:
    virtual ~SystemAudioBackend() = default;

    /// The outputs and the applications that play sound, in the backend's own order. Never
    /// waits long on the sound server; may be called from any thread.
    virtual SystemAudioContent shareableContent() = 0;

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
