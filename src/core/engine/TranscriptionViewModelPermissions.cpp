// The permission panel: the snapshots of both permissions, the checks and requests behind its
// buttons, the settings pages and the relaunch.
#include "engine/TranscriptionViewModel.h"

#include "audio/MicrophoneCaptureError.h"
#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioCaptureError.h"
#include "audio/SystemAudioPermissionSnapshot.h"
#include "platform/PermissionProbe.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

// Snapshots

void TranscriptionViewModel::applyMicrophonePermissionSnapshot() {
    if (m_permissionProbe)
        applyMicrophonePermissionSnapshot(
            MicrophonePermissionSnapshot::from(m_permissionProbe->microphoneState()));
}

void TranscriptionViewModel::applyMicrophonePermissionSnapshot(
    const MicrophonePermissionSnapshot& snapshot) {
    if (m_microphonePermission == snapshot)
        return;
    m_microphonePermission = snapshot;
    Q_EMIT microphonePermissionChanged();
}

void TranscriptionViewModel::applySystemAudioPermissionSnapshot(std::optional<bool> probeResult) {
    if (m_systemAudioPermission)
        applySystemAudioPermissionSnapshot(
            m_systemAudioPermission->permissionSnapshot(std::nullopt, probeResult));
}

void TranscriptionViewModel::applySystemAudioPermissionSnapshot(
    const SystemAudioPermissionSnapshot& snapshot) {
    if (m_systemAudioPermissionState == snapshot)
        return;
    m_systemAudioPermissionState = snapshot;
    Q_EMIT systemAudioPermissionChanged();
}

// Checks

void TranscriptionViewModel::refreshMicrophonePermissionStatus(bool showStatus) {
    applyMicrophonePermissionSnapshot();
    if (showStatus)
        setStatusText(m_microphonePermission.summaryText);
}

void TranscriptionViewModel::refreshSystemAudioPermissionStatus(bool showStatus,
                                                                bool activelyProbe) {
    applySystemAudioPermissionSnapshot(std::nullopt);
    if (showStatus)
        setStatusText(m_systemAudioPermissionState.summaryText);
    if (activelyProbe && m_systemAudioPermission)
        systemAudioPermissionProbe(showStatus);
}

QCoro::Task<> TranscriptionViewModel::systemAudioPermissionProbe(bool showStatus) {
    const QPointer<TranscriptionViewModel> self(this);
    // The flow travels with the task, so it outlives this object if it must.
    const auto permission = m_systemAudioPermission;
    const auto snapshot = co_await permission->currentPermissionSnapshot();
    if (!self)
        co_return;
    applySystemAudioPermissionSnapshot(snapshot);
    if (showStatus)
        setStatusText(snapshot.summaryText);
}

// Requests

QCoro::Task<bool> TranscriptionViewModel::requestMicrophoneAccess() {
    if (!m_permissionProbe)
        co_return true;
    co_return co_await requestMicrophonePermission(m_permissionProbe);
}

void TranscriptionViewModel::requestMicrophonePermissionFromUI() {
    if (m_isRequestingMicrophonePermission)
        return;
    setIsRequestingMicrophonePermission(true);
    setStatusText(UiText::microphonePermissionRequesting);
    microphonePermissionRequest();
}

QCoro::Task<> TranscriptionViewModel::microphonePermissionRequest() {
    const QPointer<TranscriptionViewModel> self(this);
    const auto probe = m_permissionProbe;
    const bool granted = co_await requestMicrophoneAccess();
    if (!self)
        co_return;
    setIsRequestingMicrophonePermission(false);
    if (!probe) {
        setStatusText(UiText::microphonePermissionInUse);
        co_return;
    }
    const auto snapshot = MicrophonePermissionSnapshot::from(probe->microphoneState());
    applyMicrophonePermissionSnapshot(snapshot);
    setStatusText(microphonePermissionRequestStatusText(granted, snapshot));
}

void TranscriptionViewModel::requestSystemAudioPermissionFromUI() {
    if (m_isRequestingSystemAudioPermission)
        return;
    setIsRequestingSystemAudioPermission(true);
    setStatusText(UiText::systemAudioPermissionRequesting);
    systemAudioPermissionRequest();
}

QCoro::Task<> TranscriptionViewModel::systemAudioPermissionRequest() {
    const QPointer<TranscriptionViewModel> self(this);
    const auto permission = m_systemAudioPermission;
    const auto probe = m_permissionProbe;
    if (!permission) {
        // Nothing guards system audio without a probe.
        setIsRequestingSystemAudioPermission(false);
        setStatusText(UiText::systemAudioPermissionInUse);
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
    setStatusText(outcome.statusText);
}

void TranscriptionViewModel::handleSystemAudioPermissionError(
    const SystemAudioCaptureError& error) {
    applySystemAudioPermissionSnapshot(std::nullopt);
    switch (error.kind()) {
    case SystemAudioCaptureError::Kind::permissionDenied:
        setShowSystemAudioPermissionHelp(true);
        setDiagnosticHint(UiText::systemAudioPermissionMissingHint);
        setStatusText(UiText::systemAudioPermissionMissing);
        break;
    case SystemAudioCaptureError::Kind::restartRequiredAfterPermissionGrant:
        setShouldSuggestSystemAudioRelaunch(true);
        setShowSystemAudioPermissionHelp(true);
        setStatusText(UiText::systemAudioPermissionGrantedRelaunch);
        break;
    case SystemAudioCaptureError::Kind::noDisplay:
    case SystemAudioCaptureError::Kind::streamSetupFailed:
        break;
    }
}

void TranscriptionViewModel::reflectCaptureFailureInPermissions(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const SystemAudioCaptureError& e) {
        handleSystemAudioPermissionError(e);
    } catch (const MicrophoneCaptureError&) {
        applyMicrophonePermissionSnapshot();
    } catch (...) {
    }
}

// Settings and relaunch

void TranscriptionViewModel::openMicrophoneSystemSettings() {
    openSettingsPage(SettingsPlace::microphoneAccess, UiText::openedMicrophoneSettings);
}

void TranscriptionViewModel::openSystemAudioSystemSettings() {
    openSettingsPage(SettingsPlace::systemAudioAccess, UiText::openedSystemAudioSettings);
}

void TranscriptionViewModel::openSettingsPage(SettingsPlace place, const QString& openedText) {
    const bool opened =
        m_desktopServices && (m_desktopServices->openSettings(place) ||
                              m_desktopServices->openSettings(SettingsPlace::general));
    setStatusText(opened ? openedText : UiText::openSettingsFailed);
}

void TranscriptionViewModel::relaunchApplication() {
    const std::optional<QString> error = m_desktopServices
                                             ? m_desktopServices->startNewInstance()
                                             : std::optional<QString>(u"no desktop services"_s);
    if (error) {
        AppLog::write(u"relaunch failed error="_s + *error);
        setStatusText(UiText::relaunchFailed(*error));
        return;
    }
    AppLog::write(u"relaunch started a new instance; terminating"_s);
    m_desktopServices->terminate();
}

} // namespace vesnara
