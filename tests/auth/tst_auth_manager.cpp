// Login, the start check with its offline grace, logout and the log, against the reference
// backend over loopback.
#include "AuthTestBench.h"

#include "storage/AppLog.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

constexpr double kDay = 86'400.0;

QString daysBeforeNow(double days) {
    return AuthBench::now().addingSeconds(-days * kDay).toIso8601();
}

} // namespace

class AuthManagerTest : public QObject {
    Q_OBJECT

    AuthBench& bench() { return *m_bench; }

    void rememberStoredSession(const QString& token) {
        bench().preferences.setBoolean(AuthManager::rememberSessionKey, true);
        bench().preferences.setString(AuthManager::sessionTokenKey, token);
    }

private Q_SLOTS:
    void init() {
        m_bench = std::make_unique<AuthBench>();
        QVERIFY2(m_bench->isListening(), qPrintable(m_bench->backend().errorString()));
    }
    void cleanup() { m_bench.reset(); }

    void loginSendsTheAddressTrimmedAndLowerCased() {
        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        QSignalSpy authenticated(manager.get(), &AuthManager::isAuthenticatedChanged);

        const auto outcome = awaitTask(manager->login(
            u"  Maija@Example.TEST \n"_s, u"\t"_s + AuthBench::password + u" "_s, true));
        QCOMPARE(outcome.value, std::optional(true));

        const auto logins = bench().received(u"/auth/login"_s);
        QCOMPARE(logins.size(), 1);
        QCOMPARE(jsonOf(logins[0].body), (QJsonObject{{u"email"_s, AuthBench::email},
                                                      {u"password"_s, AuthBench::password}}));
        QCOMPARE(logins[0].header("x-vesnara-app-context"), QByteArray("vesnara-mac"));
        QCOMPARE(logins[0].header("content-type"), QByteArray("application/json"));

        QVERIFY(manager->isAuthenticated());
        QCOMPARE(authenticated.size(), 1);
        QVERIFY(!manager->isBusy());
        QCOMPARE(manager->errorMessage(), QString());
        QCOMPARE(manager->currentUser()->email, AuthBench::email);
        QCOMPARE(manager->currentUser()->role, std::optional(u"user"_s));
        QVERIFY(manager->currentUser()->id);
        QVERIFY(!manager->isAdmin());
        // What a screen binds to.
        QCOMPARE(manager->property("currentUser").value<AuthUser>().email, AuthBench::email);
        QCOMPARE(manager->property("isAdmin"), QVariant(false));
        // The speech side takes the token the service issued; remembered, it is stored with
        // the meta of this check.
        const auto token = manager->currentBackendSessionToken();
        QVERIFY(token);
        QCOMPARE(bench().backend().tokens().subjectOf(*token), std::optional(AuthBench::email));
        QCOMPARE(bench().preferences.string(AuthManager::sessionTokenKey), token);
        const auto meta = manager->loadMeta();
        QVERIFY(meta);
        QCOMPARE(meta->verifiedAt, u"2026-02-11T08:30:00Z"_s);
        QCOMPARE(meta->authURL, bench().url());
        QCOMPARE(meta->user, *manager->currentUser());
    }

    void aFailedLoginShowsTheServersWordsOrItsOwnText_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("wrong password, the real server")
            << 0 << QByteArray() << u"Väärä sähköposti tai salasana."_s;
        QTest::newRow("401 with an empty body")
            << 401 << QByteArray() << u"Kirjautuminen epäonnistui."_s;
        QTest::newRow("plain text on 502")
            << 502 << QByteArray("Bad gateway: upstream down") << u"Bad gateway: upstream down"_s;
        QTest::newRow("an empty detail is shown as it is")
            << 401 << QByteArray(R"({"detail":"","error":"e"})") << QString();
        QTest::newRow("2xx without a token") << 200 << QByteArray(R"({"user":{"email":"a@b.c"}})")
                                             << u"Virheellinen kirjautumisvastaus."_s;
        QTest::newRow("2xx with an empty token")
            << 200 << QByteArray(R"({"token":""})") << u"Virheellinen kirjautumisvastaus."_s;
        QTest::newRow("2xx that does not decode")
            << 200 << QByteArray(R"({"token":5})") << u"Kirjautuminen epäonnistui."_s;
        QTest::newRow("2xx that is not JSON")
            << 200 << QByteArray("<html>") << u"Kirjautuminen epäonnistui."_s;
    }
    void aFailedLoginShowsTheServersWordsOrItsOwnText() {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        if (status != 0)
            bench().backend().faults().httpFaults.push_back(
                respond(u"/auth/login"_s, status, body));

        const auto outcome = awaitTask(manager->login(AuthBench::email, u"väärä salasana"_s, true));
        QCOMPARE(outcome.value, std::optional(false));
        QCOMPARE(manager->errorMessage(), expected);
        QVERIFY(!manager->isAuthenticated());
        QVERIFY(!manager->isBusy());
        QVERIFY(!manager->currentUser());
        // The setting given with a failed login stays.
        QVERIFY(manager->rememberSession());
        QCOMPARE(bench().preferences.boolean(AuthManager::rememberSessionKey), std::optional(true));
    }

    void aTokenWithoutAUserLogsInAsAnOrdinaryUser() {
        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        bench().backend().faults().httpFaults.push_back(
            respond(u"/auth/login"_s, 200, R"({"token":"t"})"));

        const auto outcome = awaitTask(manager->login(u" Uusi@Example.TEST"_s, u"pw"_s, false));
        QCOMPARE(outcome.value, std::optional(true));
        QCOMPARE(manager->currentUser(),
                 std::optional(AuthUser{
                     .id = std::nullopt, .email = u"uusi@example.test"_s, .role = u"user"_s}));
        QVERIFY(!manager->isAdmin());
        QCOMPARE(manager->currentBackendSessionToken(), std::optional(u"t"_s));
        // Not remembered: nothing of the session is stored.
        QVERIFY(!bench().preferences.contains(AuthManager::sessionTokenKey));
        QVERIFY(!bench().preferences.contains(AuthManager::authMetaKey));
    }

    void aLoginWithoutInputOrServiceFailsInWords() {
        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        QCOMPARE(awaitTask(manager->login(u"  "_s, u"pw"_s)).value, std::optional(false));
        QCOMPARE(manager->errorMessage(), u"Syötä sähköposti ja salasana."_s);
        QCOMPARE(awaitTask(manager->login(AuthBench::email, u" \n"_s)).value, std::optional(false));
        QVERIFY(bench().sent.isEmpty());

        QVERIFY(manager->applyEnteredAuthURL(u"http://127.0.0.1:%1/"_s.arg(closedLoopbackPort())));
        QCOMPARE(awaitTask(manager->login(AuthBench::email, AuthBench::password)).value,
                 std::optional(false));
        QCOMPARE(manager->errorMessage(), u"Yhteys auth-palveluun epäonnistui"_s);
    }

    void withRememberingOffTheStartCheckSendsNothing() {
        bench().preferences.setBoolean(AuthManager::rememberSessionKey, false);
        bench().preferences.setString(AuthManager::sessionTokenKey, u"vanha-tunnus"_s);
        bench().storeMeta(daysBeforeNow(1), bench().url());

        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        QVERIFY(!manager->isAuthenticated());
        QVERIFY(bench().sent.isEmpty());
        QVERIFY(!bench().preferences.contains(AuthManager::sessionTokenKey));
        QVERIFY(!bench().preferences.contains(AuthManager::authMetaKey));
        QVERIFY(!manager->currentBackendSessionToken());
    }

    void theStartCheckVerifiesWithTheServiceThatIssuedTheToken() {
        const QString token =
            bench().backend().tokens().issue(AuthBench::email, std::chrono::hours(1));
        rememberStoredSession(token);
        // The setting now names another service; the meta's issuer takes over.
        bench().preferences.setString(AuthManager::authURLKey, u"http://127.0.0.1:9"_s);
        bench().storeMeta(daysBeforeNow(30), bench().url() + u"//"_s);

        const auto manager = bench().makeManager();
        QVERIFY(manager->isChecking());
        QTRY_VERIFY(!manager->isChecking());
        QVERIFY(manager->isAuthenticated());
        QCOMPARE(manager->errorMessage(), QString());
        QCOMPARE(manager->authURL(), bench().url());
        QCOMPARE(bench().preferences.string(AuthManager::authURLKey), std::optional(bench().url()));
        QCOMPARE(manager->currentUser()->email, AuthBench::email);
        QCOMPARE(manager->currentBackendSessionToken(), std::optional(token));

        const auto verifies = bench().received(u"/auth/verify"_s);
        QCOMPARE(verifies.size(), 1);
        QCOMPARE(verifies[0].header("authorization"), "Bearer " + token.toUtf8());
        QCOMPARE(verifies[0].header("x-vesnara-app-context"), QByteArray("vesnara-mac"));
        QVERIFY(verifies[0].body.isEmpty());
        // The meta is renewed with this check's time.
        QCOMPARE(manager->loadMeta()->verifiedAt, AuthBench::now().toIso8601());
    }

    void anUnreachableServiceGivesAGraceOfFourteenDays_data() {
        QTest::addColumn<double>("ageInDays");
        QTest::addColumn<bool>("loggedIn");
        QTest::newRow("a second short of 14 days") << 14.0 - 1.0 / kDay << true;
        QTest::newRow("14 days") << 14.0 << false;
    }
    void anUnreachableServiceGivesAGraceOfFourteenDays() {
        QFETCH(double, ageInDays);
        QFETCH(bool, loggedIn);
        const QString down = u"http://127.0.0.1:%1"_s.arg(closedLoopbackPort());
        rememberStoredSession(u"tunnus-offline"_s);
        bench().storeMeta(daysBeforeNow(ageInDays), down);

        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        QCOMPARE(bench().sent.size(), 1);
        QCOMPARE(manager->isAuthenticated(), loggedIn);
        QCOMPARE(manager->errorMessage(), QString());
        if (loggedIn) {
            QCOMPARE(manager->currentUser()->email, AuthBench::email);
            QVERIFY(manager->isAdmin());
            // Memory holds no token; the speech backend gets the stored one.
            QCOMPARE(manager->currentBackendSessionToken(), std::optional(u"tunnus-offline"_s));
            const auto change = awaitTask(manager->changePassword(u"a"_s, u"b"_s));
            QCOMPARE(authErrorText(change), u"Sessio puuttuu. Kirjaudu uudelleen."_s);
            QCOMPARE(bench().sent.size(), 1);
        } else {
            QVERIFY(!manager->currentUser());
            QVERIFY(!bench().preferences.contains(AuthManager::sessionTokenKey));
            QVERIFY(!bench().preferences.contains(AuthManager::authMetaKey));
        }
    }

    void aRefusedCheckClearsTheSessionSilently_data() {
        QTest::addColumn<QByteArray>("answer"); // null: the real service, which knows no such token
        QTest::newRow("unknown token") << QByteArray();
        QTest::newRow("an answer without a user") << QByteArray(R"({"ok":true})");
    }
    void aRefusedCheckClearsTheSessionSilently() {
        QFETCH(QByteArray, answer);
        rememberStoredSession(u"tuntematon-tunnus"_s);
        bench().storeMeta(daysBeforeNow(1), bench().url());
        bench().preferences.setString(AuthManager::adminKeyStorageKey, AuthBench::adminKey);
        if (!answer.isNull())
            bench().backend().faults().httpFaults.push_back(
                respond(u"/auth/verify"_s, 200, answer));

        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        QCOMPARE(bench().received(u"/auth/verify"_s).size(), 1);
        QVERIFY(!manager->isAuthenticated());
        QCOMPARE(manager->errorMessage(), QString());
        QVERIFY(!bench().preferences.contains(AuthManager::sessionTokenKey));
        QVERIFY(!bench().preferences.contains(AuthManager::authMetaKey));
        QVERIFY(manager->rememberSession());
        QCOMPARE(manager->loadStoredAdminKey(), AuthBench::adminKey);
    }

    void aManagerDestroyedDuringItsCheckTouchesNothing() {
        rememberStoredSession(u"tunnus"_s);
        bench().storeMeta(daysBeforeNow(1), bench().url());
        refbackend::HttpFault slow;
        slow.kind = refbackend::HttpFault::Kind::delay;
        slow.delay = std::chrono::milliseconds(500);
        slow.pathContains = u"/auth/verify"_s;
        bench().backend().faults().httpFaults.push_back(slow);

        auto manager = bench().makeManager();
        QTRY_COMPARE(bench().received(u"/auth/verify"_s).size(), 1);
        manager.reset();
        // A later request's round trip lets the cancelled check run to its end first.
        HttpRequest health;
        health.url = QUrl(bench().url() + u"/health"_s);
        QVERIFY(awaitTask(bench().transport.send(health)).value);
        QCOMPARE(bench().preferences.string(AuthManager::sessionTokenKey),
                 std::optional(u"tunnus"_s));
        QVERIFY(bench().preferences.contains(AuthManager::authMetaKey));
    }

    void logoutKeepsTheSettingTheURLAndTheAdminKey() {
        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        QVERIFY(*awaitTask(manager->login(AuthBench::email, AuthBench::password, true)).value);
        manager->saveAdminKey(u"  avain \n"_s);
        QSignalSpy userChanged(manager.get(), &AuthManager::currentUserChanged);

        manager->logout();
        QVERIFY(!manager->isAuthenticated());
        QCOMPARE(userChanged.size(), 1);
        QVERIFY(!manager->currentBackendSessionToken());
        QVERIFY(!bench().preferences.contains(AuthManager::sessionTokenKey));
        QVERIFY(!bench().preferences.contains(AuthManager::authMetaKey));
        QVERIFY(manager->rememberSession());
        QCOMPARE(manager->authURL(), bench().url());
        QCOMPARE(manager->loadStoredAdminKey(), u"avain"_s);
    }

    void noSecretReachesTheLog() {
        QTemporaryDir logDirectory;
        const QString logPath = logDirectory.filePath(u"desktop.log"_s);
        AppLog::setLogFilePath(logPath);

        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        QVERIFY(*awaitTask(manager->login(AuthBench::email, AuthBench::password, true)).value);
        const QString token = *manager->currentBackendSessionToken();
        const QString newPassword = u"uusi-salasana-99"_s;
        QVERIFY(awaitTask(manager->changePassword(AuthBench::password, newPassword)).value);
        QVERIFY(awaitTask(manager->adminListUsers(AuthBench::adminKey)).value);
        QVERIFY(
            awaitTask(manager->adminResetPassword(1, u"nollattu-77"_s, AuthBench::adminKey)).value);
        const auto restarted = bench().makeCheckedManager();
        QVERIFY(restarted && restarted->isAuthenticated());
        QVERIFY(!*awaitTask(restarted->login(AuthBench::email, u"väärä-88"_s)).value);

        const QString log = AppLog::snapshot(1 << 20);
        AppLog::setLogFilePath(AppLog::defaultLogPath());
        QVERIFY2(log.contains(u"authLogin result=ok"_s), qPrintable(log));
        QVERIFY(log.contains(u"authBootstrap result=verified"_s));
        QVERIFY(log.contains(u"authAdmin operation=resetPassword"_s));
        for (const QString& secret : {AuthBench::password, token, newPassword, AuthBench::adminKey,
                                      u"nollattu-77"_s, u"väärä-88"_s}) {
            QVERIFY2(!log.contains(secret), qPrintable(secret));
        }
    }

private:
    std::unique_ptr<AuthBench> m_bench;
};

QTEST_GUILESS_MAIN(AuthManagerTest)
#include "tst_auth_manager.moc"
