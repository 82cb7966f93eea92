// The screens' C++ objects without QML, against the reference backend: the login form's
// submit rules and the main screen's wiring and logout.
#include "AppHarness.h"
#include "LoginForm.h"
#include "MainScreen.h"
#include "Theme.h"
#include "engine/parts/RecordingSettings.h"
#include "text/UiText.h"

using namespace vesnara;
using namespace vesnara::test;

class ScreenFormsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void loginSubmit_data() {
        QTest::addColumn<QString>("email");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<QString>("error");
        QTest::newRow("as typed, padded and upper-case")
            << u"  DEMO@vesnara.test "_s << AppHarness::password << true << QString();
        QTest::newRow("wrong password") << AppHarness::email << u"väärä"_s << false << QString();
        QTest::newRow("empty form")
            << QString() << QString() << false << u"Syötä sähköposti ja salasana."_s;
    }
    // Only a success clears the password; the address always stays as typed.
    void loginSubmit() {
        QFETCH(QString, email);
        QFETCH(QString, password);
        QFETCH(bool, succeeds);
        QFETCH(QString, error);
        AppHarness h;
        VesnaraApplication* application = h.makeChecked();
        QVERIFY(application);
        LoginForm form;
        form.setAuth(&application->auth());
        form.setEmail(email);
        form.setPassword(password);
        QSignalSpy submitted(&form, &LoginForm::submitted);
        form.submit();
        QTRY_COMPARE_WITH_TIMEOUT(submitted.size(), 1, kEngineWaitMs);
        QCOMPARE(submitted.at(0).at(0).toBool(), succeeds);
        QCOMPARE(application->auth().isAuthenticated(), succeeds);
        QCOMPARE(form.email(), email);
        QCOMPARE(form.password(), succeeds ? QString() : password);
        QCOMPARE(form.hasError(), !succeeds);
        if (!error.isEmpty())
            QVERIFY2(form.errorMessage().contains(error), qPrintable(form.errorMessage()));
        QCOMPARE(form.submitText(), UiText::loginTitle);
        QVERIFY(form.canSubmit());
    }

    // While a login runs the button says so and a second submit sends nothing.
    void aLoginInFlightBlocksTheNext() {
        AppHarness h;
        VesnaraApplication* application = h.makeChecked();
        QVERIFY(application);
        LoginForm form;
        form.setAuth(&application->auth());
        form.setEmail(AppHarness::email);
        form.setPassword(AppHarness::password);
        QSignalSpy submitted(&form, &LoginForm::submitted);
        form.submit();
        QCOMPARE(form.submitText(), UiText::loginBusy);
        QVERIFY(!form.canSubmit());
        form.submit();
        QTRY_COMPARE_WITH_TIMEOUT(submitted.size(), 1, kEngineWaitMs);
        QVERIFY(!submitted.wait(200));
    }

    void theToggleStartsFromTheStoredSetting() {
        AppHarness h;
        h.preferences.setBoolean(AuthManager::rememberSessionKey, true);
        VesnaraApplication* application = h.makeChecked();
        QVERIFY(application);
        LoginForm form;
        form.setAuth(&application->auth());
        QVERIFY(!form.rememberSession());
        form.appear();
        QVERIFY(form.rememberSession());
    }

    // The screen hands the user's token to the view model on appearing and on a change of
    // user; logging out during a recording stops it first.
    void mainScreenWiringAndLogout() {
        AppHarness h;
        VesnaraApplication* application = h.makeChecked();
        QVERIFY(application);
        application->auth().startLogin(AppHarness::email, AppHarness::password, false);
        QTRY_VERIFY_WITH_TIMEOUT(application->auth().isAuthenticated(), kEngineWaitMs);
        TranscriptionViewModel& vm = application->viewModel();

        MainScreen screen;
        screen.setAuth(&application->auth());
        screen.setViewModel(&vm);
        QCOMPARE(screen.userEmail(), AppHarness::email);
        QVERIFY(!vm.settings()->config().authToken);
        screen.appear();
        QCOMPARE(vm.settings()->config().authToken,
                 application->auth().currentBackendSessionToken());
        QCOMPARE(screen.statusDotColor(), Theme::idleDot());

        vm.startRecording();
        QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
        QCOMPARE(screen.statusDotColor(), Theme::recordingDot());
        const QString session = vm.sessionId();
        screen.logout();
        QVERIFY(!application->auth().isAuthenticated());
        QCOMPARE(screen.userEmail(), QString());
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(
            h.server->session(session) && h.server->session(session)->isStopped(), kEngineWaitMs);
        QVERIFY(!vm.settings()->config().authToken);
    }
};

QTEST_MAIN(ScreenFormsTest)
#include "tst_screen_forms.moc"
