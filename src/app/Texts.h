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
    // Recording safety: the auto-stop notice and the safety settings.
    Q_PROPERTY(QString autoStopKeepRecording READ autoStopKeepRecording CONSTANT)
    Q_PROPERTY(QString safetySettingsTitle READ safetySettingsTitle CONSTANT)
    Q_PROPERTY(QString audioSpoolSetting READ audioSpoolSetting CONSTANT)
    Q_PROPERTY(QString autoStopSetting READ autoStopSetting CONSTANT)

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
    // Recording safety
    static QString autoStopKeepRecording() { return UiText::autoStopKeepRecording; }
    static QString safetySettingsTitle() { return UiText::safetySettingsTitle; }
    static QString audioSpoolSetting() { return UiText::audioSpoolSetting; }
    static QString autoStopSetting() { return UiText::autoStopSetting; }
};

} // namespace vesnara
