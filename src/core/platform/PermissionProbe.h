#pragma once

#include <QCoroTask>
#include <QString>

namespace vesnara {

/// The capture-device authorization states of the platform, as its status call names them.
enum class CaptureAuthorization {
    notDetermined,
    restricted,
    denied,
    authorized,
    unknown,
};

/// "notDetermined", "restricted", "denied", "authorized", "unknown": the words of the detail
/// text and of the log lines.
QString label(CaptureAuthorization authorization);

/// The raw microphone permission state, read without asking the user anything.
struct MicrophonePermissionState {
    /// The text form of the newer record-permission interface: a four-character code in decimal,
    /// its letters, or a word ("1735552628", "grnt", "granted", …). Classified by
    /// `recordPermissionLabel`.
    QString recordPermissionText;
    /// The older capture-device interface's state.
    CaptureAuthorization captureAuthorization = CaptureAuthorization::unknown;
    /// The application declares why it records (without it a prompt would end the process).
    bool hasUsageDescription = false;
    /// The application's identity; empty when it has none.
    QString bundleIdentifier;
};

/// What asking the platform for the shareable system audio sources gave.
struct SystemAudioProbeResult {
    bool succeeded = false;
    /// Capturable outputs ("displays") and applications; 0 when the call failed.
    int displayCount = 0;
    int applicationCount = 0;
    /// "domain=… code=… desc=…" of a failure; empty on success.
    QString errorDetails;
};

/// The application's identity and declarations as the system audio permission needs them.
struct SystemAudioBundleInfo {
    /// Empty when the application has no identifier.
    QString bundleIdentifier;
    QString bundlePath;
    bool hasScreenCaptureUsageDescription = false;
    bool hasAudioCaptureUsageDescription = false;
};

/// The platform's permission facilities, reduced to the raw states and the few actions that the
/// permission decision tables and request flows take. Implemented per platform; tests use their
/// own.
///
/// The synchronous reads never wait on anything slow (no prompt, no server round trip that could
/// hang); the asynchronous calls may show a prompt or contact the sound server and always finish.
/// Every call is made on the main thread.
class PermissionProbe {
public:
    virtual ~PermissionProbe() = default;

    virtual MicrophonePermissionState microphoneState() = 0;
    /// Asks through the newer record-permission interface; true when granted.
    virtual QCoro::Task<bool> requestRecordPermission() = 0;
    /// Asks through the older capture-device interface; true when granted.
    virtual QCoro::Task<bool> requestCaptureAccess() = 0;

    /// The system audio permission as known without a prompt and without probing.
    virtual bool systemAudioPreflight() = 0;
    /// Shows the system's prompt where there is one; true when granted.
    virtual QCoro::Task<bool> requestSystemAudioAccess() = 0;
    /// Lists the shareable sources; system audio works only when this succeeds with a display.
    virtual QCoro::Task<SystemAudioProbeResult> probeSystemAudio() = 0;
    virtual SystemAudioBundleInfo systemAudioBundleInfo() = 0;
};

} // namespace vesnara
