#include "engine/parts/PermissionPanel.h"

#include "engine/StatusLine.h"

#include "audio/MicrophoneCaptureError.h"
#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioCaptureError.h"
#include "audio/SystemAudioPermissionSnapshot.h"
#include "platform/PermissionProbe.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

PermissionPanel::PermissionPanel(std::shared_ptr<PermissionProbe> probe, const Timing& timing,
                                 StatusLine& status, DesktopServices* desktopServices,
                                 QObject* parent)
    : QObject(parent)
    , m_permissionProbe(std::move(probe))
    , m_systemAudioPermission(
          m_permissionProbe ? std::make_shared<SystemAudioPermission>(
                                  m_permissionProbe, timing.systemAudioPermissionProbeRetryDelay)
                            : nullptr)
    , m_status(status)
    , m_desktopServices(desktopServices)
    , m_microphonePermission{UiText::microphonePermissionUnchecked, {}, false, true, false}
    , m_systemAudioPermissionState{UiText::systemAudioPermissionUnchecked, {}, false, true, false} {
    applyMicrophonePermissionSnapshot();
    applySystemAudioPermissionSnapshot(std::nullopt);
}

// Snapshots

void PermissionPanel::applyMicrophonePermissionSnapshot() {
    if (m_permissionProbe)
        applyMicrophonePermissionSnapshot(
            MicrophonePermissionSnapshot::from(m_permissionProbe->microphoneState()));
}

void PermissionPanel::applyMicrophonePermissionSnapshot(
    const MicrophonePermissionSnapshot& snapshot) {
    if (m_microphonePermission == snapshot)
        return;
    m_microphonePermission = snapshot;
    Q_EMIT microphonePermissionChanged();
}

void PermissionPanel::applySystemAudioPermissionSnapshot(std::optional<bool> probeResult) {
    if (m_systemAudioPermission)
        applySystemAudioPermissionSnapshot(
            m_systemAudioPermission->permissionSnapshot(std::nullopt, probeResult));
}

void PermissionPanel::applySystemAudioPermissionSnapshot(
    const SystemAudioPermissionSnapshot& snapshot) {
    if (m_systemAudioPermissionState == snapshot)
        return;
    m_systemAudioPermissionState = snapshot;
    Q_EMIT systemAudioPermissionChanged();
}

// Checks

void PermissionPanel::refreshMicrophonePermissionStatus(bool showStatus) {
    applyMicrophonePermissionSnapshot();
    if (showStatus)
        m_status.setStatusText(m_microphonePermission.summaryText);
}

void PermissionPanel::refreshSystemAudioPermissionStatus(bool showStatus, bool activelyProbe) {
    applySystemAudioPermissionSnapshot(std::nullopt);
    if (showStatus)
        m_status.setStatusText(m_systemAudioPermissionState.summaryText);
    if (activelyProbe && m_systemAudioPermission)
        systemAudioPermissionProbe(showStatus);
}

QCoro::Task<> PermissionPanel::systemAudioPermissionProbe(bool showStatus) {
    const QPointer<PermissionPanel> self(this);
    // The flow travels with the task, so it outlives this object if it must.
    const auto permission = m_systemAudioPermission;
    const auto snapshot = co_await permission->currentPermissionSnapshot();
    if (!self)
        co_return;
    applySystemAudioPermissionSnapshot(snapshot);
    if (showStatus)
        m_status.setStatusText(snapshot.summaryText);
}

// Requests

QCoro::Task<bool> PermissionPanel::requestMicrophoneAccess() {
    if (!m_permissionProbe)
        co_return true;
    co_return co_await requestMicrophonePermission(m_permissionProbe);
}

QCoro::Task<> PermissionPanel::requirePermissionsFor(AudioInputMode mode) {
    if (!usesMicrophone(mode))
        co_return;
    const bool granted = co_await requestMicrophoneAccess();
    if (!granted)
        throw MicrophoneCaptureError(MicrophoneCaptureError::Kind::permissionDenied);
}

void PermissionPanel::requestMicrophonePermissionFromUI() {
    if (m_isRequestingMicrophonePermission)
        return;
    setIsRequestingMicrophonePermission(true);
    m_status.setStatusText(UiText::microphonePermissionRequesting);
    microphonePermissionRequest();
}

QCoro::Task<> PermissionPanel::microphonePermissionRequest() {
    const QPointer<PermissionPanel> self(this);
    const auto probe = m_permissionProbe;
    const bool granted = co_await requestMicrophoneAccess();
    if (!self)
        co_return;
    setIsRequestingMicrophonePermission(false);
    if (!probe) {
        m_status.setStatusText(UiText::microphonePermissionInUse);
        co_return;
    }
    const auto snapshot = MicrophonePermissionSnapshot::from(probe->microphoneState());
    applyMicrophonePermissionSnapshot(snapshot);
    m_status.setStatusText(microphonePermissionRequestStatusText(granted, snapshot));
}

void PermissionPanel::requestSystemAudioPermissionFromUI() {
    if (m_isRequestingSystemAudioPermission)
        return;
    setIsRequestingSystemAudioPermission(true);
    m_status.setStatusText(UiText::systemAudioPermissionRequesting);
    systemAudioPermissionRequest();
}

QCoro::Task<> PermissionPanel::systemAudioPermissionRequest() {
    const QPointer<PermissionPanel> self(this);
    const auto permission = m_systemAudioPermission;
    const auto probe = m_permissionProbe;
    if (!permission) {
        // Nothing guards system audio without a probe.
        setIsRequestingSystemAudioPermission(false);
        m_status.setStatusText(UiText::systemAudioPermissionInUse);
        co_return;
    }
    const bool grantedBefore = probe->systemAudioPreflight();
    const bool result = co_await permission->requestPermission();
    if (!self)
        co_return;
    const auto snapshot = co_await permission->currentPermissionSnapshot();
    if (!self)
        co_return;
    setIsRequestingSystemAudioPermission(false);
    applySystemAudioPermissionSnapshot(snapshot);
    const auto outcome = decideSystemAudioPermissionRequest(grantedBefore, result, snapshot);
    if (outcome.shouldSuggestRelaunch)
        setShouldSuggestSystemAudioRelaunch(*outcome.shouldSuggestRelaunch);
    setShowSystemAudioPermissionHelp(outcome.showPermissionHelp);
    m_status.setStatusText(outcome.statusText);
}

void PermissionPanel::handleSystemAudioPermissionError(const SystemAudioCaptureError& error) {
    applySystemAudioPermissionSnapshot(std::nullopt);
    switch (error.kind()) {
    case SystemAudioCaptureError::Kind::permissionDenied:
        setShowSystemAudioPermissionHelp(true);
        m_status.setDiagnosticHint(UiText::systemAudioPermissionMissingHint);
        m_status.setStatusText(UiText::systemAudioPermissionMissing);
        break;
    case SystemAudioCaptureError::Kind::restartRequiredAfterPermissionGrant:
        setShouldSuggestSystemAudioRelaunch(true);
        setShowSystemAudioPermissionHelp(true);
        m_status.setStatusText(UiText::systemAudioPermissionGrantedRelaunch);
        break;
    case SystemAudioCaptureError::Kind::noDisplay:
    case SystemAudioCaptureError::Kind::streamSetupFailed:
        break;
    }
}

void PermissionPanel::reflectCaptureFailure(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const SystemAudioCaptureError& e) {
        handleSystemAudioPermissionError(e);
    } catch (const MicrophoneCaptureError&) {
        applyMicrophonePermissionSnapshot();
    } catch (...) {
    }
}

void PermissionPanel::systemAudioCaptureStarted() {
    applySystemAudioPermissionSnapshot(true);
    setShowSystemAudioPermissionHelp(false);
    setShouldSuggestSystemAudioRelaunch(false);
}

bool PermissionPanel::systemAudioPreflight() const {
    return !m_permissionProbe || m_permissionProbe->systemAudioPreflight();
}

void PermissionPanel::setIsRequestingMicrophonePermission(bool value) {
    if (m_isRequestingMicrophonePermission == value)
        return;
    m_isRequestingMicrophonePermission = value;
    Q_EMIT isRequestingMicrophonePermissionChanged();
}

void PermissionPanel::setIsRequestingSystemAudioPermission(bool value) {
    if (m_isRequestingSystemAudioPermission == value)
        return;
    m_isRequestingSystemAudioPermission = value;
    Q_EMIT isRequestingSystemAudioPermissionChanged();
}

void PermissionPanel::setShowSystemAudioPermissionHelp(bool value) {
    if (m_showSystemAudioPermissionHelp == value)
        return;
    m_showSystemAudioPermissionHelp = value;
    Q_EMIT showSystemAudioPermissionHelpChanged();
}

void PermissionPanel::setShouldSuggestSystemAudioRelaunch(bool value) {
    if (m_shouldSuggestSystemAudioRelaunch == value)
        return;
    m_shouldSuggestSystemAudioRelaunch = value;
    Q_EMIT shouldSuggestSystemAudioRelaunchChanged();
}

// Settings and relaunch

void PermissionPanel::openMicrophoneSystemSettings() {
    openSettingsPage(SettingsPlace::microphoneAccess, UiText::openedMicrophoneSettings);
}

void PermissionPanel::openSystemAudioSystemSettings() {
    openSettingsPage(SettingsPlace::systemAudioAccess, UiText::openedSystemAudioSettings);
}

void PermissionPanel::openSettingsPage(SettingsPlace place, const QString& openedText) {
    const bool opened =
        m_desktopServices && (m_desktopServices->openSettings(place) ||
                              m_desktopServices->openSettings(SettingsPlace::general));
    m_status.setStatusText(opened ? openedText : UiText::openSettingsFailed);
}

void PermissionPanel::relaunchApplication() {
    const std::optional<QString> error = m_desktopServices
                                             ? m_desktopServices->startNewInstance()
                                             : std::optional<QString>(u"no desktop services"_s);
    if (error) {
        AppLog::write(u"relaunch failed error="_s + *error);
        m_status.setStatusText(UiText::relaunchFailed(*error));
        return;
    }
    AppLog::write(u"relaunch started a new instance; terminating"_s);
    m_desktopServices->terminate();
}

} // namespace vesnara
