// The real window through the composition root, on the offscreen platform with the software
// renderer, from the start check through the login to a recording with lines, and the account
// sheets.
#include "AppHarness.h"
#include "WindowDriver.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/SessionTranscript.h"
#include "forms/ChangePasswordForm.h"
#include "forms/PasswordResetForm.h"
#include "refbackend/ScriptedRecognizer.h"
#include "text/UiText.h"

#include <QGuiApplication>
#include <QPalette>

using namespace vesnara;
using namespace vesnara::test;
using refbackend::ScriptedEvent;

class AppWindowTest : public QObject, WindowDriver {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QAccessible::setActive(true); }

    void loginThenRecordAndStop() {
        AppHarness h;
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(application.load(engine));
        m_window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
        QVERIFY(m_window);
        QCOMPARE(m_window->minimumSize(), QSize(980, 720));
        m_window->requestActivate();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));

        QQuickItem* email = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT(
            (email = control(UiText::loginEmailLabel, QAccessible::EditableText)), kEngineWaitMs);
        QQuickItem* password = control(UiText::loginPasswordLabel, QAccessible::EditableText);
        QVERIFY(password);
        QVERIFY(control(UiText::loginTitle, QAccessible::Button));
        QVERIFY(control(UiText::loginRememberSession, QAccessible::CheckBox));
        QVERIFY(control(UiText::loginForgotPassword, QAccessible::Button));
        QVERIFY(!control(UiText::mainStart, QAccessible::Button));
        QTRY_VERIFY(email->hasActiveFocus());
        screenshot(u"login"_s);

        // A wrong password by the button: the service's words in red, both fields kept.
        type(email, AppHarness::email);
        type(password, u"väärä-salasana"_s);
        click(control(UiText::loginTitle, QAccessible::Button));
        QQuickItem* error = findItem(m_window->contentItem(), u"loginError"_s);
        QVERIFY(error);
        QTRY_VERIFY_WITH_TIMEOUT(error->isVisible(), kEngineWaitMs);
        QVERIFY(!error->property("text").toString().isEmpty());
        QCOMPARE(email->property("text").toString(), AppHarness::email);
        QCOMPARE(password->property("text").toString(), u"väärä-salasana"_s);
        screenshot(u"login-error"_s);

        // The right one by Return, replacing what was typed.
        click(password);
        QTest::keyClick(m_window, Qt::Key_End);
        for (int i = 0; i < 64 && !password->property("text").toString().isEmpty(); ++i)
            QTest::keyClick(m_window, Qt::Key_Backspace);
        type(password, AppHarness::password);
        QCOMPARE(password->property("text").toString(), AppHarness::password);
        QVERIFY(!password->property("displayText").toString().contains(AppHarness::password));
        QTest::keyClick(m_window, Qt::Key_Return);

        QQuickItem* start = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((start = control(UiText::mainStart, QAccessible::Button)),
                                 kEngineWaitMs);
        QQuickItem* stop = control(UiText::mainStop, QAccessible::Button);
        QVERIFY(stop);
        QVERIFY(control(UiText::mainLogout, QAccessible::Button));
        TranscriptionViewModel& vm = application.viewModel();
        QTRY_VERIFY_WITH_TIMEOUT(start->isEnabled(), kEngineWaitMs);
        QVERIFY(!stop->isEnabled());
        screenshot(u"main-idle"_s);

        h.server.backend().setScript(
            {ScriptedEvent::afterFrames(
                 3, finalEvent(u"Hyvää huomenta kaikille"_s, u"2026-01-02T10:00:00Z"_s)),
             ScriptedEvent::afterFrames(
                 6, finalEvent(u"Aloitetaan kokous"_s, u"2026-01-02T10:00:04Z"_s))});
        vm.sources()->setInputMode(AudioInputMode::microphone);
        click(start);
        QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(stop->isEnabled(), kEngineWaitMs);
        h.microphoneBackend.play(toneBuffers(20, 0.3f), 5ms);

        auto* lines = findItem(m_window->contentItem(), u"transcriptLines"_s);
        QVERIFY(lines);
        QTRY_COMPARE_WITH_TIMEOUT(lines->property("count").toInt(), 2, kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(showsText(lines, u"Aloitetaan kokous"_s), kEngineWaitMs);
        screenshot(u"main-recording"_s);

        // The scheme follows the palette while the window is up.
        const QPalette original = QGuiApplication::palette();
        QPalette dark;
        dark.setColor(QPalette::Window, QColor(36, 36, 38));
        dark.setColor(QPalette::Base, QColor(50, 50, 52));
        dark.setColor(QPalette::WindowText, QColor(235, 235, 235));
        QGuiApplication::setPalette(dark);
        QTRY_COMPARE(m_window->color(), QColor(36, 36, 38));
        screenshot(u"main-recording-dark"_s);
        QGuiApplication::setPalette(original);

        click(stop);
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(start->isEnabled(), kEngineWaitMs);
        QCOMPARE(lines->property("count").toInt(), 2);
        m_window = nullptr;
    }

    // The reset sheet from the login screen and the change-password sheet from the main screen,
    // each against the reference backend: lines, first focus, Escape, and a changed password
    // that the next login takes.
    void accountSheets() {
        AppHarness h;
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QQuickItem* root = loadWindow(application, engine);
        QVERIFY(root);

        QQuickItem* loginEmail = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT(
            (loginEmail = control(UiText::loginEmailLabel, QAccessible::EditableText)),
            kEngineWaitMs);
        type(loginEmail, AppHarness::email);
        QVERIFY(!control(UiText::resetSheetEmailLabel, QAccessible::EditableText));
        click(control(UiText::loginForgotPassword, QAccessible::Button));
        QQuickItem* resetEmail = nullptr;
        QTRY_VERIFY(
            (resetEmail = control(UiText::resetSheetEmailLabel, QAccessible::EditableText)));
        QTRY_VERIFY(resetEmail->hasActiveFocus());
        QCOMPARE(resetEmail->property("text").toString(), AppHarness::email);
        QVERIFY(control(UiText::sheetClose, QAccessible::Button));

        click(control(UiText::resetSend, QAccessible::Button));
        const PasswordResetForm& reset = application.passwordResetForm();
        QTRY_VERIFY_WITH_TIMEOUT(!reset.isSending() && !reset.message().isEmpty(), kEngineWaitMs);
        QVERIFY(reset.error().isEmpty());
        QTRY_VERIFY(showsText(root, reset.message()));
        screenshot(u"reset-sheet"_s);
        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(!application.passwordResetForm().isOpen());
        QTRY_VERIFY(!control(UiText::resetSheetEmailLabel, QAccessible::EditableText));
        // Opened again, the sheet starts without the last answer; the close button closes it.
        const QString answer = reset.message();
        click(control(UiText::loginForgotPassword, QAccessible::Button));
        QTRY_VERIFY(control(UiText::resetSheetEmailLabel, QAccessible::EditableText));
        QVERIFY(!showsText(root, answer));
        click(control(UiText::sheetClose, QAccessible::Button));
        QTRY_VERIFY(!control(UiText::resetSheetEmailLabel, QAccessible::EditableText));
        QVERIFY(!reset.isOpen());

        QVERIFY(logIn(AppHarness::password));
        QVERIFY(!control(UiText::changePasswordCurrent, QAccessible::EditableText));
        click(control(UiText::mainChangePassword, QAccessible::Button));
        QQuickItem* current = nullptr;
        QTRY_VERIFY((current = control(UiText::changePasswordCurrent, QAccessible::EditableText)));
        QTRY_VERIFY(current->hasActiveFocus());
        QQuickItem* next = control(UiText::changePasswordNew, QAccessible::EditableText);
        QQuickItem* repeat = control(UiText::changePasswordConfirm, QAccessible::EditableText);
        QQuickItem* save = control(UiText::promptSave, QAccessible::Button);
        QVERIFY(next && repeat && save);
        const ChangePasswordForm& change = application.changePasswordForm();

        // Nine characters are refused before anything is sent; the fields stay.
        type(current, AppHarness::password);
        type(next, u"lyhyt-123"_s);
        type(repeat, u"lyhyt-123"_s);
        click(save);
        QTRY_VERIFY(showsText(root, UiText::changePasswordTooShort));
        QVERIFY(change.message().isEmpty());
        QCOMPARE(next->property("text").toString(), u"lyhyt-123"_s);

        const QString changed = u"uusi-salasana-2026"_s;
        retype(next, changed);
        retype(repeat, changed);
        click(save);
        QTRY_VERIFY_WITH_TIMEOUT(!change.isChanging() && !change.message().isEmpty(),
                                 kEngineWaitMs);
        QTRY_VERIFY(showsText(root, change.message()));
        QVERIFY(!showsText(root, UiText::changePasswordTooShort));
        for (QQuickItem* field : {current, next, repeat})
            QCOMPARE(field->property("text").toString(), QString());
        screenshot(u"password-sheet"_s);
        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(!application.changePasswordForm().isOpen());
        QTRY_VERIFY(!control(UiText::changePasswordCurrent, QAccessible::EditableText));

        // A session that ends under an open sheet takes the sheet with it.
        click(control(UiText::mainChangePassword, QAccessible::Button));
        QTRY_VERIFY(application.changePasswordForm().isOpen());
        application.auth().logout();
        QVERIFY(!application.changePasswordForm().isOpen());
        QTRY_VERIFY(control(UiText::loginEmailLabel, QAccessible::EditableText));
        QVERIFY(logIn(changed));
        QVERIFY(!control(UiText::changePasswordCurrent, QAccessible::EditableText));
        m_window = nullptr;
    }
};

QTEST_MAIN(AppWindowTest)
#include "tst_app_window.moc"
