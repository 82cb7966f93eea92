#pragma once

#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioPermissionSnapshot.h"
#include "model/AudioInputMode.h"
#include "model/Timing.h"
#include "platform/DesktopServices.h"

#include <QCoroTask>
#include <QObject>

#include <exception>
#include <memory>
#include <optional>

namespace vesnara {

class PermissionProbe;
class StatusLine;
class SystemAudioCaptureError;

/// The permission panel: what both permissions look like, the checks and requests behind its
/// buttons, the settings pages and the relaunch. The recording engine asks it for the
/// microphone before recording and tells it how a start of the sources went.
///
/// Without a probe (a plain Linux desktop) both sources count as permitted and nobody is asked.
class PermissionPanel final : public QObject {
    Q_OBJECT

    // Microphone permission
    Q_PROPERTY(QString microphonePermissionSummary READ microphonePermissionSummary NOTIFY
                   microphonePermissionChanged)
    Q_PROPERTY(QString microphonePermissionDetails READ microphonePermissionDetails NOTIFY
                   microphonePermissionChanged)
    Q_PROPERTY(bool isMicrophonePermissionGranted READ isMicrophonePermissionGranted NOTIFY
                   microphonePermissionChanged)
    Q_PROPERTY(bool canRequestMicrophonePermissionPrompt READ canRequestMicrophonePermissionPrompt
                   NOTIFY microphonePermissionChanged)
    Q_PROPERTY(bool shouldOpenMicrophoneSystemSettings READ shouldOpenMicrophoneSystemSettings
                   NOTIFY microphonePermissionChanged)
    Q_PROPERTY(bool isRequestingMicrophonePermission READ isRequestingMicrophonePermission NOTIFY
                   isRequestingMicrophonePermissionChanged)

    // System audio permission
    Q_PROPERTY(QString systemAudioPermissionSummary READ systemAudioPermissionSummary NOTIFY
                   systemAudioPermissionChanged)
    Q_PROPERTY(QString systemAudioPermissionDetails READ systemAudioPermissionDetails NOTIFY
                   systemAudioPermissionChanged)
    Q_PROPERTY(bool isSystemAudioPermissionGranted READ isSystemAudioPermissionGranted NOTIFY
                   systemAudioPermissionChanged)
    Q_PROPERTY(bool canRequestSystemAudioPermissionPrompt READ canRequestSystemAudioPermissionPrompt
                   NOTIFY systemAudioPermissionChanged)
    Q_PROPERTY(bool shouldOpenSystemAudioSystemSettings READ shouldOpenSystemAudioSystemSettings
                   NOTIFY systemAudioPermissionChanged)
    Q_PROPERTY(bool isRequestingSystemAudioPermission READ isRequestingSystemAudioPermission NOTIFY
                   isRequestingSystemAudioPermissionChanged)
    Q_PROPERTY(bool shouldSuggestSystemAudioRelaunch READ shouldSuggestSystemAudioRelaunch NOTIFY
                   shouldSuggestSystemAudioRelaunchChanged)
    Q_PROPERTY(bool showSystemAudioPermissionHelp READ showSystemAudioPermissionHelp NOTIFY
                   showSystemAudioPermissionHelpChanged)

public:
    /// Applies the first snapshots of both permissions; asks nobody anything.
    PermissionPanel(std::shared_ptr<PermissionProbe> probe, const Timing& timing,
                    StatusLine& status, DesktopServices* desktopServices,
                    QObject* parent = nullptr);

    const QString& microphonePermissionSummary() const {
        return m_microphonePermission.summaryText;
    }
    const QString& microphonePermissionDetails() const { return m_microphonePermission.detailText; }
    bool isMicrophonePermissionGranted() const { return m_microphonePermission.isGranted; }
    bool canRequestMicrophonePermissionPrompt() const {
        return m_microphonePermission.canRequestPrompt;
    }
    bool shouldOpenMicrophoneSystemSettings() const {
        return m_microphonePermission.shouldOpenSystemSettings;
    }
    bool isRequestingMicrophonePermission() const { return m_isRequestingMicrophonePermission; }

    const QString& systemAudioPermissionSummary() const {
        return m_systemAudioPermissionState.summaryText;
    }
    const QString& systemAudioPermissionDetails() const {
        return m_systemAudioPermissionState.detailText;
    }
    bool isSystemAudioPermissionGranted() const { return m_systemAudioPermissionState.isGranted; }
    bool canRequestSystemAudioPermissionPrompt() const {
        return m_systemAudioPermissionState.canRequestPrompt;
    }
    bool shouldOpenSystemAudioSystemSettings() const {
        return m_systemAudioPermissionState.shouldOpenSystemSettings;
    }
    bool isRequestingSystemAudioPermission() const { return m_isRequestingSystemAudioPermission; }
    bool shouldSuggestSystemAudioRelaunch() const { return m_shouldSuggestSystemAudioRelaunch; }
    bool showSystemAudioPermissionHelp() const { return m_showSystemAudioPermissionHelp; }

    /// Applies a fresh microphone snapshot; with `showStatus` its summary becomes the status.
    Q_INVOKABLE void refreshMicrophonePermissionStatus(bool showStatus);
    /// Applies a snapshot from the preflight alone at once, and with `activelyProbe` another one
    /// once the sources have been probed.
    Q_INVOKABLE void refreshSystemAudioPermissionStatus(bool showStatus, bool activelyProbe);
    /// Asks for the microphone (ignored while a request runs) and says how it went.
    Q_INVOKABLE void requestMicrophonePermissionFromUI();
    /// Asks for system audio (ignored while a request runs) and says how it went; a grant made
    /// during this run suggests a relaunch.
    Q_INVOKABLE void requestSystemAudioPermissionFromUI();
    /// Opens where the microphone is allowed, or the general settings page.
    Q_INVOKABLE void openMicrophoneSystemSettings();
    /// Opens where system audio is allowed, or the general settings page.
    Q_INVOKABLE void openSystemAudioSystemSettings();
    /// Starts a new instance and ends this one; if the new one cannot start, says why and goes on.
    Q_INVOKABLE void relaunchApplication();

    // For the recording engine
    /// Granted without a probe; otherwise the platform's request flow. The probe travels with
    /// the request, which never reaches back into this object.
    QCoro::Task<bool> requestMicrophoneAccess();
    /// Throws `MicrophoneCaptureError` (`permissionDenied`) when `mode` needs the microphone and
    /// the request is refused; touches nothing of this object after its wait.
    QCoro::Task<> requirePermissionsFor(AudioInputMode mode);
    /// Applies a snapshot of the microphone's current state; nothing without a probe.
    void applyMicrophonePermissionSnapshot();
    /// Applies a system audio snapshot from the current preflight and `probeResult`; nothing
    /// without a probe.
    void applySystemAudioPermissionSnapshot(std::optional<bool> probeResult);
    /// System audio capture started: it is evidently allowed, and no help is needed.
    void systemAudioCaptureStarted();
    /// Whether the listings may ask the sound server for system audio without a prompt.
    bool systemAudioPreflight() const;
    /// After a failed start of the sources: a system audio error shows why it was refused, a
    /// microphone error refreshes the microphone snapshot.
    void reflectCaptureFailure(const std::exception_ptr& error);

Q_SIGNALS:
    void microphonePermissionChanged();
    void isRequestingMicrophonePermissionChanged();
    void systemAudioPermissionChanged();
    void isRequestingSystemAudioPermissionChanged();
    void shouldSuggestSystemAudioRelaunchChanged();
    void showSystemAudioPermissionHelpChanged();

private:
    void applyMicrophonePermissionSnapshot(const MicrophonePermissionSnapshot& snapshot);
    void applySystemAudioPermissionSnapshot(const SystemAudioPermissionSnapshot& snapshot);
    QCoro::Task<> microphonePermissionRequest();
    QCoro::Task<> systemAudioPermissionRequest();
    QCoro::Task<> systemAudioPermissionProbe(bool showStatus);
    void handleSystemAudioPermissionError(const SystemAudioCaptureError& error);
    void openSettingsPage(SettingsPlace place, const QString& openedText);
    void setIsRequestingMicrophonePermission(bool value);
    void setIsRequestingSystemAudioPermission(bool value);
    void setShowSystemAudioPermissionHelp(bool value);
    void setShouldSuggestSystemAudioRelaunch(bool value);

    std::shared_ptr<PermissionProbe> m_permissionProbe;
    /// The system audio flow (it remembers whether the prompt was shown in this run); shared
    /// with the request in flight. Only with a probe.
    std::shared_ptr<SystemAudioPermission> m_systemAudioPermission;
    StatusLine& m_status;
    DesktopServices* m_desktopServices = nullptr;

    /// "tarkistamatta" with a request offered until checked.
    MicrophonePermissionSnapshot m_microphonePermission;
    bool m_isRequestingMicrophonePermission = false;
    SystemAudioPermissionSnapshot m_systemAudioPermissionState;
    bool m_isRequestingSystemAudioPermission = false;
    bool m_shouldSuggestSystemAudioRelaunch = false;
    bool m_showSystemAudioPermissionHelp = false;
};

} // namespace vesnara
