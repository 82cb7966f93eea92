#pragma once

#include "text/UiText.h"

#include <QObject>
#include <QQmlEngine>

namespace vesnara {

/// The catalogue's texts for the screens, accessible names included: QML shows these and never
/// a literal of its own.
class Texts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString checkingLogin READ checkingLogin CONSTANT)
    Q_PROPERTY(QString brandWordmark READ brandWordmark CONSTANT)
    Q_PROPERTY(QString brandLogoName READ brandLogoName CONSTANT)
    Q_PROPERTY(QString loginTitle READ loginTitle CONSTANT)
    Q_PROPERTY(QString loginSubtitle READ loginSubtitle CONSTANT)
    Q_PROPERTY(QString loginEmailLabel READ loginEmailLabel CONSTANT)
    Q_PROPERTY(QString loginEmailPlaceholder READ loginEmailPlaceholder CONSTANT)
    Q_PROPERTY(QString loginPasswordLabel READ loginPasswordLabel CONSTANT)
    Q_PROPERTY(QString loginRememberSession READ loginRememberSession CONSTANT)
    Q_PROPERTY(QString loginBusy READ loginBusy CONSTANT)
    Q_PROPERTY(QString loginForgotPassword READ loginForgotPassword CONSTANT)
    Q_PROPERTY(QString mainHeading READ mainHeading CONSTANT)
    Q_PROPERTY(QString mainSubtitle READ mainSubtitle CONSTANT)
    Q_PROPERTY(QString mainRealtimeBadge READ mainRealtimeBadge CONSTANT)
    Q_PROPERTY(QString mainLogout READ mainLogout CONSTANT)
    Q_PROPERTY(QString mainControlCard READ mainControlCard CONSTANT)
    Q_PROPERTY(QString mainStart READ mainStart CONSTANT)
    Q_PROPERTY(QString mainStop READ mainStop CONSTANT)
    Q_PROPERTY(QString mainTranscriptCard READ mainTranscriptCard CONSTANT)
    Q_PROPERTY(QString mainTranscriptEmpty READ mainTranscriptEmpty CONSTANT)
    Q_PROPERTY(QString mainChangePassword READ mainChangePassword CONSTANT)
    Q_PROPERTY(QString mainAdvancedCard READ mainAdvancedCard CONSTANT)
    Q_PROPERTY(QString mainSessionsCard READ mainSessionsCard CONSTANT)
    Q_PROPERTY(QString sheetClose READ sheetClose CONSTANT)
    Q_PROPERTY(QString resetSheetTitle READ resetSheetTitle CONSTANT)
    Q_PROPERTY(QString resetSheetExplanation READ resetSheetExplanation CONSTANT)
    Q_PROPERTY(QString resetSheetEmailLabel READ resetSheetEmailLabel CONSTANT)
    Q_PROPERTY(QString resetSend READ resetSend CONSTANT)
    Q_PROPERTY(QString changePasswordExplanation READ changePasswordExplanation CONSTANT)
    Q_PROPERTY(QString changePasswordCurrent READ changePasswordCurrent CONSTANT)
    Q_PROPERTY(QString changePasswordNew READ changePasswordNew CONSTANT)
    Q_PROPERTY(QString changePasswordConfirm READ changePasswordConfirm CONSTANT)
    Q_PROPERTY(QString changePasswordSave READ changePasswordSave CONSTANT)
    // The window's questions
    Q_PROPERTY(QString promptSave READ promptSave CONSTANT)
    Q_PROPERTY(QString promptCancel READ promptCancel CONSTANT)
    Q_PROPERTY(QString confirmAccept READ confirmAccept CONSTANT)
    Q_PROPERTY(QString savePanelTitle READ savePanelTitle CONSTANT)
    // The main screen's cards.
    Q_PROPERTY(QString mainSave READ mainSave CONSTANT)
    Q_PROPERTY(QString mainGenerateMemo READ mainGenerateMemo CONSTANT)
    Q_PROPERTY(QString mainAddPin READ mainAddPin CONSTANT)
    Q_PROPERTY(QString mainFallbackNotice READ mainFallbackNotice CONSTANT)
    Q_PROPERTY(QString mainCounterSeparator READ mainCounterSeparator CONSTANT)
    Q_PROPERTY(QString mainCopySessionId READ mainCopySessionId CONSTANT)
    Q_PROPERTY(QString systemAudioHelpWhere READ systemAudioHelpWhere CONSTANT)
    Q_PROPERTY(QString systemAudioHelpOpenSettings READ systemAudioHelpOpenSettings CONSTANT)
    Q_PROPERTY(QString mainClearTranscript READ mainClearTranscript CONSTANT)
    Q_PROPERTY(QString mainPinsTitle READ mainPinsTitle CONSTANT)
    Q_PROPERTY(QString mainShowPin READ mainShowPin CONSTANT)
    Q_PROPERTY(QString mainRenamePin READ mainRenamePin CONSTANT)
    Q_PROPERTY(QString mainDelete READ mainDelete CONSTANT)
    Q_PROPERTY(QString mainSessionsNote READ mainSessionsNote CONSTANT)
    Q_PROPERTY(QString mainSessionsEmpty READ mainSessionsEmpty CONSTANT)
    Q_PROPERTY(QString mainLoadSession READ mainLoadSession CONSTANT)
    Q_PROPERTY(QString mainRefreshSessions READ mainRefreshSessions CONSTANT)
    Q_PROPERTY(QString mainDeleteAllSessions READ mainDeleteAllSessions CONSTANT)
    // The advanced-settings card and the user administration panel
    Q_PROPERTY(QString settingsInputModeHint READ settingsInputModeHint CONSTANT)
    Q_PROPERTY(QString settingsSystemFallback READ settingsSystemFallback CONSTANT)
    Q_PROPERTY(QString settingsLanguage READ settingsLanguage CONSTANT)
    Q_PROPERTY(QString settingsModel READ settingsModel CONSTANT)
    Q_PROPERTY(QString settingsMicrophone READ settingsMicrophone CONSTANT)
    Q_PROPERTY(QString settingsRefreshDevices READ settingsRefreshDevices CONSTANT)
    Q_PROPERTY(QString settingsMicrophonePermissions READ settingsMicrophonePermissions CONSTANT)
    Q_PROPERTY(QString settingsSystemAudioSource READ settingsSystemAudioSource CONSTANT)
    Q_PROPERTY(QString settingsRefreshDisplays READ settingsRefreshDisplays CONSTANT)
    Q_PROPERTY(QString settingsApplication READ settingsApplication CONSTANT)
    Q_PROPERTY(QString settingsRefreshApplications READ settingsRefreshApplications CONSTANT)
    Q_PROPERTY(QString settingsSystemAudioPermissions READ settingsSystemAudioPermissions CONSTANT)
    Q_PROPERTY(QString settingsMixPreset READ settingsMixPreset CONSTANT)
    Q_PROPERTY(QString settingsMixPresetCustom READ settingsMixPresetCustom CONSTANT)
    Q_PROPERTY(QString settingsMicGain READ settingsMicGain CONSTANT)
    Q_PROPERTY(QString settingsSystemGain READ settingsSystemGain CONSTANT)
    Q_PROPERTY(QString settingsLimiter READ settingsLimiter CONSTANT)
    Q_PROPERTY(QString settingsAutoDucking READ settingsAutoDucking CONSTANT)
    Q_PROPERTY(QString settingsDuckingStrength READ settingsDuckingStrength CONSTANT)
    Q_PROPERTY(QString settingsVirtualInputHint READ settingsVirtualInputHint CONSTANT)
    Q_PROPERTY(QString settingsExportFormat READ settingsExportFormat CONSTANT)
    Q_PROPERTY(QString settingsAutoExport READ settingsAutoExport CONSTANT)
    Q_PROPERTY(QString permissionCheckStatus READ permissionCheckStatus CONSTANT)
    Q_PROPERTY(QString permissionOpenSettings READ permissionOpenSettings CONSTANT)
    Q_PROPERTY(QString permissionRelaunch READ permissionRelaunch CONSTANT)
    Q_PROPERTY(QString settingsActions READ settingsActions CONSTANT)
    Q_PROPERTY(QString settingsAudioTest READ settingsAudioTest CONSTANT)
    Q_PROPERTY(QString settingsCopy READ settingsCopy CONSTANT)
    Q_PROPERTY(QString settingsEchoGuard READ settingsEchoGuard CONSTANT)
    Q_PROPERTY(QString copySessionIdDescription READ copySessionIdDescription CONSTANT)
    Q_PROPERTY(QString copyTranscriptDescription READ copyTranscriptDescription CONSTANT)
    Q_PROPERTY(QString settingsTestConnection READ settingsTestConnection CONSTANT)
    Q_PROPERTY(QString settingsCheckUpdates READ settingsCheckUpdates CONSTANT)
    Q_PROPERTY(QString settingsSave READ settingsSave CONSTANT)
    Q_PROPERTY(QString diagnosticsGroup READ diagnosticsGroup CONSTANT)
    Q_PROPERTY(QString diagnosticsExport READ diagnosticsExport CONSTANT)
    Q_PROPERTY(QString diagnosticsOpenLatest READ diagnosticsOpenLatest CONSTANT)
    Q_PROPERTY(QString diagnosticsReveal READ diagnosticsReveal CONSTANT)
    Q_PROPERTY(QString diagnosticsCopySupport READ diagnosticsCopySupport CONSTANT)
    Q_PROPERTY(QString adminUsersGroup READ adminUsersGroup CONSTANT)
    Q_PROPERTY(QString adminKeyCaption READ adminKeyCaption CONSTANT)
    Q_PROPERTY(QString adminKeyPlaceholder READ adminKeyPlaceholder CONSTANT)
    Q_PROPERTY(QString adminSaveKey READ adminSaveKey CONSTANT)
    Q_PROPERTY(QString adminClearKey READ adminClearKey CONSTANT)
    Q_PROPERTY(QString adminNewUserEmail READ adminNewUserEmail CONSTANT)
    Q_PROPERTY(QString adminNewUserPassword READ adminNewUserPassword CONSTANT)
    Q_PROPERTY(QString adminNewUserRole READ adminNewUserRole CONSTANT)
    Q_PROPERTY(QString adminCreateUser READ adminCreateUser CONSTANT)
    Q_PROPERTY(QString adminMakeAdmin READ adminMakeAdmin CONSTANT)
    Q_PROPERTY(QString adminMakeUser READ adminMakeUser CONSTANT)
    Q_PROPERTY(QString adminResetPassword READ adminResetPassword CONSTANT)
    Q_PROPERTY(QString adminDeleteUser READ adminDeleteUser CONSTANT)
    Q_PROPERTY(QString connectionGroup READ connectionGroup CONSTANT)
    Q_PROPERTY(QString connectionBackendURL READ connectionBackendURL CONSTANT)
    Q_PROPERTY(QString connectionAPIKey READ connectionAPIKey CONSTANT)
    Q_PROPERTY(QString connectionAuthURL READ connectionAuthURL CONSTANT)
    Q_PROPERTY(QString connectionUpdateFeedURL READ connectionUpdateFeedURL CONSTANT)
    Q_PROPERTY(QString connectionDefaultBackend READ connectionDefaultBackend CONSTANT)
    Q_PROPERTY(QString connectionDefaultAPIKey READ connectionDefaultAPIKey CONSTANT)
    Q_PROPERTY(QString connectionDefaultAuth READ connectionDefaultAuth CONSTANT)
    Q_PROPERTY(QString connectionDefaultUpdateFeed READ connectionDefaultUpdateFeed CONSTANT)
    Q_PROPERTY(QString connectionAPIKeyFromClipboard READ connectionAPIKeyFromClipboard CONSTANT)
    // Recording safety: the auto-stop notice and the safety settings.
    Q_PROPERTY(QString autoStopKeepRecording READ autoStopKeepRecording CONSTANT)
    Q_PROPERTY(QString safetySettingsTitle READ safetySettingsTitle CONSTANT)
    Q_PROPERTY(QString audioSpoolSetting READ audioSpoolSetting CONSTANT)
    Q_PROPERTY(QString autoStopSetting READ autoStopSetting CONSTANT)
    // Search
    Q_PROPERTY(QString searchLabel READ searchLabel CONSTANT)
    Q_PROPERTY(QString transcriptSearchName READ transcriptSearchName CONSTANT)
    Q_PROPERTY(QString transcriptSearchPlaceholder READ transcriptSearchPlaceholder CONSTANT)
    Q_PROPERTY(QString sessionSearchName READ sessionSearchName CONSTANT)
    Q_PROPERTY(QString sessionSearchPlaceholder READ sessionSearchPlaceholder CONSTANT)
    // Keyboard shortcuts
    Q_PROPERTY(QString shortcutsTitle READ shortcutsTitle CONSTANT)
    Q_PROPERTY(QString shortcutsExplanation READ shortcutsExplanation CONSTANT)
    Q_PROPERTY(QString shortcutsShow READ shortcutsShow CONSTANT)

public:
    explicit Texts(QObject* parent = nullptr);

    static QString checkingLogin() { return UiText::checkingLogin; }
    static QString brandWordmark() { return UiText::brandWordmark; }
    static QString brandLogoName() { return UiText::brandLogoName; }
    static QString loginTitle() { return UiText::loginTitle; }
    static QString loginSubtitle() { return UiText::loginSubtitle; }
    static QString loginEmailLabel() { return UiText::loginEmailLabel; }
    static QString loginEmailPlaceholder() { return UiText::loginEmailPlaceholder; }
    static QString loginPasswordLabel() { return UiText::loginPasswordLabel; }
    static QString loginRememberSession() { return UiText::loginRememberSession; }
    static QString loginBusy() { return UiText::loginBusy; }
    static QString loginForgotPassword() { return UiText::loginForgotPassword; }
    static QString mainHeading() { return UiText::mainHeading; }
    static QString mainSubtitle() { return UiText::mainSubtitle; }
    static QString mainRealtimeBadge() { return UiText::mainRealtimeBadge; }
    static QString mainLogout() { return UiText::mainLogout; }
    static QString mainControlCard() { return UiText::mainControlCard; }
    static QString mainStart() { return UiText::mainStart; }
    static QString mainStop() { return UiText::mainStop; }
    static QString mainTranscriptCard() { return UiText::mainTranscriptCard; }
    static QString mainTranscriptEmpty() { return UiText::mainTranscriptEmpty; }
    static QString mainChangePassword() { return UiText::mainChangePassword; }
    static QString mainAdvancedCard() { return UiText::mainAdvancedCard; }
    static QString mainSessionsCard() { return UiText::mainSessionsCard; }
    static QString sheetClose() { return UiText::sheetClose; }
    static QString resetSheetTitle() { return UiText::resetSheetTitle; }
    static QString resetSheetExplanation() { return UiText::resetSheetExplanation; }
    static QString resetSheetEmailLabel() { return UiText::resetSheetEmailLabel; }
    static QString resetSend() { return UiText::resetSend; }
    static QString changePasswordExplanation() { return UiText::changePasswordExplanation; }
    static QString changePasswordCurrent() { return UiText::changePasswordCurrent; }
    static QString changePasswordNew() { return UiText::changePasswordNew; }
    static QString changePasswordConfirm() { return UiText::changePasswordConfirm; }
    static QString changePasswordSave() { return UiText::promptSave; }
    // The window's questions
    static QString promptSave() { return UiText::promptSave; }
    static QString promptCancel() { return UiText::promptCancel; }
    static QString confirmAccept() { return UiText::confirmAccept; }
    static QString savePanelTitle() { return UiText::savePanelTitle; }
    // The main screen's cards.
    static QString mainSave() { return UiText::promptSave; }
    static QString mainGenerateMemo() { return UiText::mainGenerateMemo; }
    static QString mainAddPin() { return UiText::mainAddPin; }
    static QString mainFallbackNotice() { return UiText::mainFallbackNotice; }
    static QString mainCounterSeparator() { return UiText::mainCounterSeparator; }
    static QString mainCopySessionId() { return UiText::mainCopySessionId; }
    static QString systemAudioHelpWhere() { return UiText::systemAudioHelpWhere; }
    static QString systemAudioHelpOpenSettings() { return UiText::systemAudioHelpOpenSettings; }
    static QString mainClearTranscript() { return UiText::mainClearTranscript; }
    static QString mainPinsTitle() { return UiText::mainPinsTitle; }
    static QString mainShowPin() { return UiText::mainShowPin; }
    static QString mainRenamePin() { return UiText::mainRenamePin; }
    static QString mainDelete() { return UiText::mainDelete; }
    static QString mainSessionsNote() { return UiText::mainSessionsNote; }
    static QString mainSessionsEmpty() { return UiText::mainSessionsEmpty; }
    static QString mainLoadSession() { return UiText::mainLoadSession; }
    static QString mainRefreshSessions() { return UiText::mainRefreshSessions; }
    static QString mainDeleteAllSessions() { return UiText::mainDeleteAllSessions; }
    // The advanced-settings card and the user administration panel
    static QString settingsInputModeHint() { return UiText::settingsInputModeHint; }
    static QString settingsSystemFallback() { return UiText::settingsSystemFallback; }
    static QString settingsLanguage() { return UiText::settingsLanguage; }
    static QString settingsModel() { return UiText::settingsModel; }
    static QString settingsMicrophone() { return UiText::inputModeMicrophone; }
    static QString settingsRefreshDevices() { return UiText::settingsRefreshDevices; }
    static QString settingsMicrophonePermissions() { return UiText::settingsMicrophonePermissions; }
    static QString settingsSystemAudioSource() { return UiText::settingsSystemAudioSource; }
    static QString settingsRefreshDisplays() { return UiText::settingsRefreshDisplays; }
    static QString settingsApplication() { return UiText::settingsApplication; }
    static QString settingsRefreshApplications() { return UiText::settingsRefreshApplications; }
    static QString settingsSystemAudioPermissions() {
        return UiText::settingsSystemAudioPermissions;
    }
    static QString settingsMixPreset() { return UiText::settingsMixPreset; }
    static QString settingsMixPresetCustom() { return UiText::mixPresetCustom; }
    static QString settingsMicGain() { return UiText::settingsMicGain; }
    static QString settingsSystemGain() { return UiText::settingsSystemGain; }
    static QString settingsLimiter() { return UiText::settingsLimiter; }
    static QString settingsAutoDucking() { return UiText::settingsAutoDucking; }
    static QString settingsDuckingStrength() { return UiText::settingsDuckingStrength; }
    static QString settingsVirtualInputHint() { return UiText::settingsVirtualInputHint; }
    static QString settingsExportFormat() { return UiText::settingsExportFormat; }
    static QString settingsAutoExport() { return UiText::settingsAutoExport; }
    static QString permissionCheckStatus() { return UiText::permissionCheckStatus; }
    static QString permissionOpenSettings() { return UiText::permissionOpenSettings; }
    static QString permissionRelaunch() { return UiText::permissionRelaunch; }
    static QString settingsActions() { return UiText::settingsActions; }
    static QString settingsAudioTest() { return UiText::settingsAudioTest; }
    static QString settingsCopy() { return UiText::settingsCopy; }
    static QString settingsEchoGuard() { return UiText::settingsEchoGuard; }
    static QString copySessionIdDescription() { return UiText::copySessionIdDescription; }
    static QString copyTranscriptDescription() { return UiText::copyTranscriptDescription; }
    static QString settingsTestConnection() { return UiText::settingsTestConnection; }
    static QString settingsCheckUpdates() { return UiText::settingsCheckUpdates; }
    static QString settingsSave() { return UiText::settingsSave; }
    static QString diagnosticsGroup() { return UiText::diagnosticsGroup; }
    static QString diagnosticsExport() { return UiText::diagnosticsExport; }
    static QString diagnosticsOpenLatest() { return UiText::diagnosticsOpenLatest; }
    static QString diagnosticsReveal() { return UiText::diagnosticsReveal; }
    static QString diagnosticsCopySupport() { return UiText::diagnosticsCopySupport; }
    static QString adminUsersGroup() { return UiText::adminUsersGroup; }
    static QString adminKeyCaption() { return UiText::adminKeyCaption; }
    static QString adminKeyPlaceholder() { return UiText::adminKeyPlaceholder; }
    static QString adminSaveKey() { return UiText::adminSaveKey; }
    static QString adminClearKey() { return UiText::adminClearKey; }
    static QString adminNewUserEmail() { return UiText::adminNewUserEmail; }
    static QString adminNewUserPassword() { return UiText::adminNewUserPassword; }
    static QString adminNewUserRole() { return UiText::adminNewUserRole; }
    static QString adminCreateUser() { return UiText::adminCreateUser; }
    static QString adminMakeAdmin() { return UiText::adminMakeAdmin; }
    static QString adminMakeUser() { return UiText::adminMakeUser; }
    static QString adminResetPassword() { return UiText::adminResetPasswordTitle; }
    static QString adminDeleteUser() { return UiText::adminDeleteUser; }
    static QString connectionGroup() { return UiText::connectionGroup; }
    static QString connectionBackendURL() { return UiText::promptBackendURLTitle; }
    static QString connectionAPIKey() { return UiText::promptAPIKeyTitle; }
    static QString connectionAuthURL() { return UiText::promptAuthURLTitle; }
    static QString connectionUpdateFeedURL() { return UiText::promptUpdateManifestURLTitle; }
    static QString connectionDefaultBackend() { return UiText::connectionDefaultBackend; }
    static QString connectionDefaultAPIKey() { return UiText::connectionDefaultAPIKey; }
    static QString connectionDefaultAuth() { return UiText::connectionDefaultAuth; }
    static QString connectionDefaultUpdateFeed() { return UiText::connectionDefaultUpdateFeed; }
    static QString connectionAPIKeyFromClipboard() { return UiText::connectionAPIKeyFromClipboard; }
    // Recording safety
    static QString autoStopKeepRecording() { return UiText::autoStopKeepRecording; }
    static QString safetySettingsTitle() { return UiText::safetySettingsTitle; }
    static QString audioSpoolSetting() { return UiText::audioSpoolSetting; }
    static QString autoStopSetting() { return UiText::autoStopSetting; }
    // Search
    static QString searchLabel() { return UiText::searchLabel; }
    static QString transcriptSearchName() { return UiText::transcriptSearchName; }
    static QString transcriptSearchPlaceholder() { return UiText::transcriptSearchPlaceholder; }
    static QString sessionSearchName() { return UiText::sessionSearchName; }
    static QString sessionSearchPlaceholder() { return UiText::sessionSearchPlaceholder; }
    // Keyboard shortcuts
    static QString shortcutsTitle() { return UiText::shortcutsTitle; }
    static QString shortcutsExplanation() { return UiText::shortcutsExplanation; }
    static QString shortcutsShow() { return UiText::shortcutsShow; }
};

} // namespace vesnara
