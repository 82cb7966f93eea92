// User administration by admin key against the reference backend: input checks before sending,
// the tolerant user list, the role path fallback and requests without a body.
#include "AuthTestBench.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

class AuthAdminTest : public QObject {
    Q_OBJECT

    AuthBench& bench() { return *m_bench; }
    AuthManager& manager() { return *m_manager; }

    qint64 userID(const QString& email) { return bench().backend().users().findByEmail(email)->id; }

private Q_SLOTS:
    void init() {
        m_bench = std::make_unique<AuthBench>();
        QVERIFY2(m_bench->isListening(), qPrintable(m_bench->backend().errorString()));
        m_manager = m_bench->makeCheckedManager();
        QVERIFY(m_manager);
    }
    void cleanup() {
        m_manager.reset();
        m_bench.reset();
    }

    void theListComesWithTheTrimmedKeyAndNoBody() {
        const auto outcome =
            awaitTask(manager().adminListUsers(u"  "_s + AuthBench::adminKey + u"\n"_s));
        QVERIFY(outcome.value);
        QCOMPARE(outcome.value->size(), 1);
        const AuthAdminUser& user = outcome.value->first();
        QCOMPARE(user.email, AuthBench::email);
        QCOMPARE(user.role, u"user"_s);
        QVERIFY(user.isActive);
        QVERIFY(user.createdAt);

        const auto request = bench().backend().requests().last();
        QCOMPARE(request.method, QByteArray("GET"));
        QCOMPARE(request.header("x-admin-key"), AuthBench::adminKey.toUtf8());
        QCOMPARE(request.header("x-vesnara-app-context"), QByteArray("vesnara-mac"));
        QVERIFY(!request.hasHeader("content-type"));
        QVERIFY(request.body.isEmpty());
    }

    void theListToleratesFlagsAndRolesOfAnyShape() {
        bench().backend().faults().httpFaults.push_back(
            respond(u"/admin/users"_s, 200, R"({"users":[
            {"id":1,"email":"a@x.test","is_active":0,"role":"admin"},
            {"id":2,"email":"b@x.test","is_active":1},
            {"id":3,"email":"c@x.test","is_active":true},
            {"id":4,"email":"d@x.test"},
            {"id":5,"email":"e@x.test","is_active":"no","role":null},
            {"id":6,"email":"f@x.test","is_active":false,"role":5,"created_at":7,
             "last_login_at":"2026-01-01T00:00:00Z"}]})"));
        const auto outcome = awaitTask(manager().adminListUsers(AuthBench::adminKey));
        QVERIFY(outcome.value);
        const QList<AuthAdminUser>& users = *outcome.value;
        QCOMPARE(users.size(), 6);
        const QList<bool> active{users[0].isActive, users[1].isActive, users[2].isActive,
                                 users[3].isActive, users[4].isActive, users[5].isActive};
        QCOMPARE(active, (QList<bool>{false, true, true, true, true, false}));
        QCOMPARE(users[0].role, u"admin"_s);
        QCOMPARE(users[4].role, u"user"_s);
        QCOMPARE(users[5].role, u"user"_s);
        QVERIFY(!users[5].createdAt);
        QCOMPARE(users[5].lastLoginAt, std::optional(u"2026-01-01T00:00:00Z"_s));

        // One user without an address fails the whole list.
        bench().backend().faults().httpFaults.push_back(
            respond(u"/admin/users"_s, 200, R"({"users":[{"id":1,"email":"a@x.test"},{"id":2}]})"));
        const auto error =
            awaitTask(manager().adminListUsers(AuthBench::adminKey)).errorAs<JsonDecodeError>();
        QVERIFY(error);
        QCOMPARE(error->key(), u"users[1].email"_s);
    }

    void aRefusalShowsTheServicesWordsOrTheOperationsText() {
        QCOMPARE(authErrorText(awaitTask(manager().adminListUsers(u"arvaus"_s))),
                 u"Virheellinen admin-avain."_s);
        bench().backend().faults().httpFaults.push_back(respond(u"/admin/users/"_s, 500, {}));
        QCOMPARE(authErrorText(awaitTask(manager().adminDeleteUser(99, AuthBench::adminKey))),
                 u"Käyttäjän poisto epäonnistui."_s);
        bench().backend().faults().httpFaults.push_back(respond(u"/admin/users/"_s, 500, {}));
        QCOMPARE(
            authErrorText(awaitTask(manager().adminSetUserEnabled(99, false, AuthBench::adminKey))),
            u"Käyttäjän esto epäonnistui."_s);
        QCOMPARE(
            authErrorText(awaitTask(manager().adminSetUserEnabled(99, true, AuthBench::adminKey))),
            u"Käyttäjää ei löydy."_s);
    }

    void aUserIsCreatedWithTheRoleNormalised() {
        const auto outcome = awaitTask(manager().adminCreateUser(
            u" Uusi@Example.TEST "_s, u" alku-salasana "_s, u"ADMIN "_s, AuthBench::adminKey));
        QVERIFY(outcome.value);
        const auto request = bench().backend().requests().last();
        QCOMPARE(request.path, u"/admin/users"_s);
        QCOMPARE(request.header("content-type"), QByteArray("application/json"));
        QCOMPARE(jsonOf(request.body), (QJsonObject{{u"email"_s, u"uusi@example.test"_s},
                                                    {u"password"_s, u"alku-salasana"_s},
                                                    {u"role"_s, u"admin"_s}}));
        QCOMPARE(bench().backend().users().findByEmail(u"uusi@example.test"_s)->role, u"admin"_s);

        const auto taken = awaitTask(manager().adminCreateUser(u"uusi@example.test"_s, u"pw"_s,
                                                               u"user"_s, AuthBench::adminKey));
        QCOMPARE(authErrorText(taken), u"Sähköpostiosoite on jo käytössä tai puuttuu."_s);
    }

    void inputChecksComeFirstAndInOrder_data() {
        QTest::addColumn<int>("operation");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("role");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("create: owner, even with an empty key")
            << 0 << u"pw"_s << u"owner"_s << u""_s << u"Virheellinen rooli."_s;
        QTest::newRow("create: no password before the role")
            << 0 << u"  "_s << u"owner"_s << u""_s << u"Syötä sähköposti ja salasana."_s;
        QTest::newRow("create: blank key")
            << 0 << u"pw"_s << u"user"_s << u" \n"_s << u"Syötä admin-avain."_s;
        QTest::newRow("role: owner, even with an empty key")
            << 1 << QString() << u"owner"_s << u""_s << u"Virheellinen rooli."_s;
        QTest::newRow("role: blank key")
            << 1 << QString() << u" User"_s << u" "_s << u"Syötä admin-avain."_s;
        QTest::newRow("reset: no password before the key")
            << 2 << u" "_s << QString() << u""_s << u"Syötä uusi salasana."_s;
        QTest::newRow("list: blank key")
            << 3 << QString() << QString() << u"\t"_s << u"Syötä admin-avain."_s;
        QTest::newRow("enable: blank key")
            << 4 << QString() << QString() << u""_s << u"Syötä admin-avain."_s;
        QTest::newRow("delete: blank key")
            << 5 << QString() << QString() << u""_s << u"Syötä admin-avain."_s;
    }
    void inputChecksComeFirstAndInOrder() {
        QFETCH(int, operation);
        QFETCH(QString, text);
        QFETCH(QString, role);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        QString error;
        switch (operation) {
        case 0:
            error =
                authErrorText(awaitTask(manager().adminCreateUser(u"a@b.test"_s, text, role, key)));
            break;
        case 1:
            error = authErrorText(awaitTask(manager().adminSetUserRole(1, role, key)));
            break;
        case 2:
            error = authErrorText(awaitTask(manager().adminResetPassword(1, text, key)));
            break;
        case 3:
            error = authErrorText(awaitTask(manager().adminListUsers(key)));
            break;
        case 4:
            error = authErrorText(awaitTask(manager().adminSetUserEnabled(1, true, key)));
            break;
        default:
            error = authErrorText(awaitTask(manager().adminDeleteUser(1, key)));
            break;
        }
        QCOMPARE(error, expected);
        QVERIFY(bench().sent.isEmpty());
    }

    void theRoleGoesToSetRoleAfterA404() {
        const qint64 id = userID(AuthBench::email);
        const QString rolePath = u"/admin/users/%1/role"_s.arg(id);
        const QString setRolePath = u"/admin/users/%1/set-role"_s.arg(id);
        bench().backend().faults().notFoundPaths.insert(rolePath);

        QVERIFY(awaitTask(manager().adminSetUserRole(id, u" Admin"_s, AuthBench::adminKey)).value);
        QCOMPARE(bench().received(rolePath).size(), 1);
        const auto fallback = bench().received(setRolePath);
        QCOMPARE(fallback.size(), 1);
        QCOMPARE(jsonOf(fallback[0].body), (QJsonObject{{u"role"_s, u"admin"_s}}));
        QCOMPARE(bench().backend().users().findById(id)->role, u"admin"_s);

        bench().backend().faults().notFoundPaths.insert(setRolePath);
        QCOMPARE(authErrorText(
                     awaitTask(manager().adminSetUserRole(id, u"user"_s, AuthBench::adminKey))),
                 u"Roolin vaihto ei ole käytössä auth-palvelussa."_s);

        bench().backend().faults().notFoundPaths.clear();
        bench().backend().faults().httpFaults.push_back(respond(rolePath, 401, {}));
        QCOMPARE(authErrorText(
                     awaitTask(manager().adminSetUserRole(id, u"user"_s, AuthBench::adminKey))),
                 u"Roolin vaihto epäonnistui."_s);
        QCOMPARE(bench().received(setRolePath).size(), 2);
    }

    void enablingAndDisablingSendNoBody() {
        const qint64 id = userID(AuthBench::email);
        const QString token = bench().backend().issueToken(AuthBench::email);

        QVERIFY(awaitTask(manager().adminSetUserEnabled(id, false, AuthBench::adminKey)).value);
        QVERIFY(!bench().backend().users().findById(id)->isActive);
        QVERIFY(!bench().backend().tokens().subjectOf(token));
        QVERIFY(awaitTask(manager().adminSetUserEnabled(id, true, AuthBench::adminKey)).value);
        QVERIFY(bench().backend().users().findById(id)->isActive);

        const QStringList paths{u"/admin/users/%1/disable"_s.arg(id),
                                u"/admin/users/%1/enable"_s.arg(id)};
        for (const QString& path : paths) {
            const auto requests = bench().received(path);
            QCOMPARE(requests.size(), 1);
            QCOMPARE(requests[0].method, QByteArray("POST"));
            QVERIFY(requests[0].body.isEmpty());
            QVERIFY(!requests[0].hasHeader("content-type"));
            QCOMPARE(requests[0].header("content-length"), QByteArray("0"));
        }
    }

    void aPasswordIsResetAndAUserDeleted() {
        const qint64 id = userID(AuthBench::email);
        QVERIFY(
            awaitTask(manager().adminResetPassword(id, u" uusi-77 "_s, AuthBench::adminKey)).value);
        QCOMPARE(jsonOf(bench().backend().requests().last().body),
                 (QJsonObject{{u"password"_s, u"uusi-77"_s}}));
        QVERIFY(*awaitTask(manager().login(AuthBench::email, u"uusi-77"_s)).value);

        QVERIFY(awaitTask(manager().adminDeleteUser(id, AuthBench::adminKey)).value);
        const auto request = bench().backend().requests().last();
        QCOMPARE(request.method, QByteArray("DELETE"));
        QCOMPARE(request.path, u"/admin/users/%1"_s.arg(id));
        QVERIFY(!bench().backend().users().findById(id));
    }

private:
    std::unique_ptr<AuthBench> m_bench;
    std::unique_ptr<AuthManager> m_manager;
};

QTEST_GUILESS_MAIN(AuthAdminTest)
#include "tst_auth_admin.moc"
