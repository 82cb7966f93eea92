// The user's own password flows against the reference backend: candidate paths, where the walk
// stops, and which text a successful answer gives.
#include "AuthTestBench.h"

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

class AuthPasswordsTest : public QObject {
    Q_OBJECT

    AuthBench& bench() { return *m_bench; }

    std::unique_ptr<AuthManager> loggedInManager() {
        auto manager = bench().makeCheckedManager();
        if (!manager || !awaitTask(manager->login(AuthBench::email, AuthBench::password)).value)
            return nullptr;
        return manager;
    }

    QStringList receivedPaths() const {
        QStringList paths;
        for (const auto& request : m_bench->backend().requests())
            paths << request.path;
        return paths;
    }

private Q_SLOTS:
    void init() {
        m_bench = std::make_unique<AuthBench>();
        QVERIFY2(m_bench->isListening(), qPrintable(m_bench->backend().errorString()));
    }
    void cleanup() { m_bench.reset(); }

    void aResetFallsThroughToTheSecondPathOn404() {
        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        bench().backend().faults().notFoundPaths.insert(u"/auth/request-password-reset"_s);

        const auto outcome = awaitTask(manager->requestPasswordReset(u" Maija@Example.TEST "_s));
        QCOMPARE(outcome.value, std::optional(u"Jos osoite on rekisteröity, palautusohje on "
                                              u"lähetetty."_s));
        QCOMPARE(receivedPaths(),
                 (QStringList{u"/auth/request-password-reset"_s, u"/auth/forgot-password"_s}));
        const auto second = bench().backend().requests().last();
        QCOMPARE(jsonOf(second.body), (QJsonObject{{u"email"_s, AuthBench::email}}));
        QCOMPARE(second.header("content-type"), QByteArray("application/json"));
        QCOMPARE(second.header("x-vesnara-app-context"), QByteArray("vesnara-mac"));
        QVERIFY(!manager->isBusy());
        QCOMPARE(manager->errorMessage(), QString());
    }

    void onlyA404MovesOn_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("401 with words")
            << 401 << QByteArray(R"({"detail":"Ei oikeutta"})") << u"Ei oikeutta"_s;
        QTest::newRow("405 without words")
            << 405 << QByteArray() << u"Salasanan vaihto epäonnistui."_s;
        QTest::newRow("501 with an empty record")
            << 501 << QByteArray("{}") << u"Salasanan vaihto epäonnistui."_s;
    }
    void onlyA404MovesOn() {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        const auto manager = loggedInManager();
        QVERIFY(manager);
        bench().backend().faults().httpFaults.push_back(
            respond(u"/auth/change-password"_s, status, body));

        const auto outcome = awaitTask(manager->changePassword(u"a"_s, u"b"_s));
        QCOMPARE(authErrorText(outcome), expected);
        QCOMPARE(bench().received(u"/auth/change-password"_s).size(), 1);
        QVERIFY(bench().received(u"/auth/change_password"_s).isEmpty());
        // A refusal logs no one out.
        QVERIFY(manager->isAuthenticated());
        QVERIFY(manager->currentBackendSessionToken());
    }

    void aChangeReachesTheServiceUnderEitherSpelling() {
        const auto manager = loggedInManager();
        QVERIFY(manager);
        const QString token = *manager->currentBackendSessionToken();
        bench().backend().faults().notFoundPaths.insert(u"/auth/change-password"_s);

        const auto wrong = awaitTask(manager->changePassword(u"väärä"_s, u"uusi-salasana"_s));
        QCOMPARE(authErrorText(wrong), u"Nykyinen salasana on väärä."_s);

        const auto changed = awaitTask(
            manager->changePassword(u" "_s + AuthBench::password + u"\n"_s, u" uusi-salasana "_s));
        QCOMPARE(changed.value, std::optional(u"Salasana vaihdettu."_s));
        const auto request = bench().received(u"/auth/change_password"_s).last();
        QCOMPARE(request.header("authorization"), "Bearer " + token.toUtf8());
        QCOMPARE(jsonOf(request.body), (QJsonObject{{u"currentPassword"_s, AuthBench::password},
                                                    {u"newPassword"_s, u"uusi-salasana"_s},
                                                    {u"current_password"_s, AuthBench::password},
                                                    {u"new_password"_s, u"uusi-salasana"_s}}));
        // The session goes on with the same token.
        QCOMPARE(manager->currentBackendSessionToken(), std::optional(token));
        QVERIFY(bench().backend().users().authenticate(AuthBench::email, u"uusi-salasana"_s));
    }

    void aServiceWithoutTheFlowsSaysSo() {
        const auto manager = loggedInManager();
        QVERIFY(manager);
        auto& notFound = bench().backend().faults().notFoundPaths;
        notFound.insert(u"/auth/request-password-reset"_s);
        notFound.insert(u"/auth/forgot-password"_s);
        notFound.insert(u"/auth/change-password"_s);
        notFound.insert(u"/auth/change_password"_s);

        QCOMPARE(authErrorText(awaitTask(manager->requestPasswordReset(AuthBench::email))),
                 u"Salasanan palautus ei ole käytössä auth-palvelussa."_s);
        QCOMPARE(authErrorText(awaitTask(manager->changePassword(u"a"_s, u"b"_s))),
                 u"Salasanan vaihto ei ole käytössä auth-palvelussa."_s);
        QCOMPARE(bench().backend().requests().size(), 1 + 4);
    }

    void inputIsCheckedBeforeAnythingIsSent() {
        const auto manager = bench().makeCheckedManager();
        QVERIFY(manager);
        QCOMPARE(authErrorText(awaitTask(manager->requestPasswordReset(u" \n"_s))),
                 u"Syötä sähköpostiosoite."_s);
        QCOMPARE(authErrorText(awaitTask(manager->changePassword(u"  "_s, u"b"_s))),
                 u"Syötä nykyinen ja uusi salasana."_s);
        QCOMPARE(authErrorText(awaitTask(manager->changePassword(u"a"_s, u"b"_s))),
                 u"Sessio puuttuu. Kirjaudu uudelleen."_s);
        QVERIFY(bench().sent.isEmpty());

        QVERIFY(manager->applyEnteredAuthURL(u"http://127.0.0.1:%1"_s.arg(closedLoopbackPort())));
        const auto offline = awaitTask(manager->requestPasswordReset(AuthBench::email));
        QCOMPARE(authErrorKind(offline), std::optional(AuthRequestError::Kind::offline));
        QCOMPARE(bench().sent.size(), 1);
    }

    void aSuccessfulAnswerGivesTheRightText_data() {
        QTest::addColumn<bool>("reset");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("reset, empty") << true << QByteArray() << u"Palautusohje lähetetty."_s;
        QTest::newRow("reset, plain text kept untrimmed")
            << true << QByteArray(" Lähetetty \n") << u" Lähetetty \n"_s;
        QTest::newRow("reset, blank text")
            << true << QByteArray(" \n") << u"Palautusohje lähetetty."_s;
        QTest::newRow("reset, ok only")
            << true << QByteArray(R"({"ok":true})") << u"Palautusohje lähetetty."_s;
        QTest::newRow("reset, message wins")
            << true << QByteArray(R"({"detail":"d","message":"m"})") << u"m"_s;
        QTest::newRow("reset, detail") << true << QByteArray(R"({"detail":"d"})") << u"d"_s;
        QTest::newRow("reset, empty message")
            << true << QByteArray(R"({"message":"","detail":"d"})") << QString();
        QTest::newRow("change, empty") << false << QByteArray() << u"Salasana päivitetty."_s;
        QTest::newRow("change, plain OK") << false << QByteArray("OK") << u"Salasana päivitetty."_s;
        QTest::newRow("change, ok only")
            << false << QByteArray(R"({"ok":true})") << u"Salasana päivitetty."_s;
        QTest::newRow("change, message wins")
            << false << QByteArray(R"({"detail":"d","message":"m"})") << u"m"_s;
        QTest::newRow("change, a mistyped record is no record")
            << false << QByteArray(R"({"ok":"yes","message":"m"})") << u"Salasana päivitetty."_s;
    }
    void aSuccessfulAnswerGivesTheRightText() {
        QFETCH(bool, reset);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        const auto manager = loggedInManager();
        QVERIFY(manager);
        bench().backend().faults().httpFaults.push_back(respond(u"/auth/"_s, 200, body));

        const auto outcome = awaitTask(reset ? manager->requestPasswordReset(AuthBench::email)
                                             : manager->changePassword(u"a"_s, u"b"_s));
        QCOMPARE(outcome.value, std::optional(expected));
    }

private:
    std::unique_ptr<AuthBench> m_bench;
};

QTEST_GUILESS_MAIN(AuthPasswordsTest)
#include "tst_auth_passwords.moc"
