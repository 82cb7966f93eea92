// The auth side of the reference backend over loopback: accounts with hashed passwords, tokens
// the speech side accepts, the password flows under both path spellings, and administration.
#include "refbackend/PasswordHash.h"
#include "refbackend/RefBackend.h"
#include "support/RefBackendFixture.h"
#include "support/TestHttp.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::refbackend;
using namespace vesnara::test;

namespace {

constexpr int kWaitMs = 10000;
const QByteArray kAdminKey = "hallinta-avain";

} // namespace

class RefBackendAuthTest : public QObject {
    Q_OBJECT

    HttpAnswer call(const QByteArray& method, const QString& path, const QByteArray& body = {},
                    QList<std::pair<QByteArray, QByteArray>> headers = {}) {
        headers.append(std::pair<QByteArray, QByteArray>("X-Vesnara-App-Context", "vesnara-mac"));
        return httpCall(m_network, method, QUrl(backend().baseUrl().toString() + path), body,
                        headers);
    }

    HttpAnswer admin(const QByteArray& method, const QString& path, const QByteArray& body = {}) {
        return call(method, path, body, {{"X-Admin-Key", kAdminKey}});
    }

    QString loginToken(const QString& email, const QString& password) {
        const QJsonObject body{{u"email"_s, email}, {u"password"_s, password}};
        return call("POST", u"/auth/login"_s, QJsonDocument(body).toJson())
            .json()
            .value(u"token"_s)
            .toString();
    }

    int speechStatusWith(const QString& token) {
        return call("GET", u"/v1/sessions"_s, {},
                    {{"x-api-key", m_server->config().apiKey.toUtf8()},
                     {"x-auth-token", token.toUtf8()}})
            .status;
    }

    RefBackend& backend() { return *m_backend; }

private Q_SLOTS:
    void init() {
        refbackend::RefBackendOptions options;
        m_server.emplace();
        // A second backend on the fixture's directory with administration turned on.
        options.dataDirectory = m_server->dataDirectory() + u"/auth"_s;
        options.apiKey = m_server->config().apiKey;
        options.adminKey = QString::fromLatin1(kAdminKey);
        m_backend = std::make_unique<RefBackend>(options);
        QVERIFY(m_backend->listen());
        QVERIFY(m_backend->users().create(u"Maija@Example.test"_s, u"salasana1"_s, u"user"_s));
    }
    void cleanup() {
        m_backend.reset();
        m_server.reset();
    }

    void passwordsAreSaltedAndChecked() {
        const QString first = PasswordHash::make(u"sama"_s, 1000);
        const QString second = PasswordHash::make(u"sama"_s, 1000);
        QVERIFY(first != second);
        QVERIFY(PasswordHash::verify(u"sama"_s, first));
        QVERIFY(!PasswordHash::verify(u"Sama"_s, first));
        QVERIFY(!PasswordHash::verify(u"sama"_s, u"plain"_s));
        QVERIFY(!PasswordHash::verify(u"sama"_s, u"pbkdf2-sha256$0$AAAA$AAAA"_s));
    }

    void aLoginTokenOpensTheSpeechSideUntilRevokedOrExpired() {
        const QString token = loginToken(u"maija@example.test"_s, u"salasana1"_s);
        QVERIFY(!token.isEmpty());
        QCOMPARE(speechStatusWith(token), 200);
        QCOMPARE(
            call("POST", u"/auth/verify"_s, {}, {{"Authorization", "Bearer " + token.toUtf8()}})
                .json()
                .value(u"user"_s)
                .toObject()
                .value(u"email"_s),
            u"maija@example.test"_s);

        backend().tokens().revoke(token);
        QCOMPARE(speechStatusWith(token), 401);
        QCOMPARE(
            call("POST", u"/auth/verify"_s, {}, {{"Authorization", "Bearer " + token.toUtf8()}})
                .status,
            401);

        const QString second = loginToken(u"maija@example.test"_s, u"salasana1"_s);
        backend().tokens().expire(second);
        QCOMPARE(speechStatusWith(second), 401);
    }

    void wrongPasswordsAndDisabledAccountsAreRefusedInWords() {
        const HttpAnswer wrong =
            call("POST", u"/auth/login"_s, R"({"email":"maija@example.test","password":"väärä"})");
        QCOMPARE(wrong.status, 401);
        QVERIFY(!wrong.json().value(u"detail"_s).toString().isEmpty());

        const QString token = loginToken(u"maija@example.test"_s, u"salasana1"_s);
        const qint64 id = backend().users().findByEmail(u"maija@example.test"_s)->id;
        QCOMPARE(admin("POST", u"/admin/users/%1/disable"_s.arg(id)).status, 200);
        QCOMPARE(speechStatusWith(token), 401);
        QCOMPARE(call("POST", u"/auth/login"_s,
                      R"({"email":"maija@example.test","password":"salasana1"})")
                     .status,
                 403);
        QCOMPARE(admin("POST", u"/admin/users/%1/enable"_s.arg(id)).status, 200);
        QVERIFY(!loginToken(u"maija@example.test"_s, u"salasana1"_s).isEmpty());
    }

    void passwordFlowsAnswerUnderBothSpellingsUnlessSwitchedOff() {
        QCOMPARE(call("POST", u"/auth/request-password-reset"_s, R"({"email":"x@y.z"})").status,
                 200);
        QCOMPARE(call("POST", u"/auth/forgot-password"_s, R"({"email":"x@y.z"})").status, 200);
        backend().faults().notFoundPaths.insert(u"/auth/request-password-reset"_s);
        QCOMPARE(call("POST", u"/auth/request-password-reset"_s, R"({"email":"x@y.z"})").status,
                 404);

        const QString token = loginToken(u"maija@example.test"_s, u"salasana1"_s);
        const auto bearer =
            std::pair<QByteArray, QByteArray>{"Authorization", "Bearer " + token.toUtf8()};
        QCOMPARE(
            call(
                "POST", u"/auth/change-password"_s,
                R"({"currentPassword":"väärä","newPassword":"uusi","current_password":"väärä","new_password":"uusi"})",
                {bearer})
                .status,
            400);
        QCOMPARE(call("POST", u"/auth/change_password"_s,
                      R"({"current_password":"salasana1","new_password":"uusi-salasana"})",
                      {bearer})
                     .status,
                 200);
        QVERIFY(loginToken(u"maija@example.test"_s, u"salasana1"_s).isEmpty());
        QVERIFY(!loginToken(u"maija@example.test"_s, u"uusi-salasana"_s).isEmpty());
    }

    void administrationNeedsTheAdminKey() {
        QCOMPARE(call("GET", u"/admin/users"_s).status, 401);
        QCOMPARE(call("GET", u"/admin/users"_s, {}, {{"X-Admin-Key", "arvaus"}}).status, 401);

        const HttpAnswer created =
            admin("POST", u"/admin/users"_s,
                  R"({"email":"Uusi@Example.test","password":"pw","role":"admin"})");
        QCOMPARE(created.status, 201);
        const qint64 id = created.json().value(u"user"_s).toObject().value(u"id"_s).toInteger();
        QCOMPARE(
            admin("POST", u"/admin/users"_s, R"({"email":"uusi@example.test","password":"pw"})")
                .status,
            409);
        QCOMPARE(
            admin("POST", u"/admin/users"_s, R"({"email":"a@b.c","password":"pw","role":"owner"})")
                .status,
            400);

        QCOMPARE(admin("POST", u"/admin/users/%1/role"_s.arg(id), R"({"role":"user"})").status,
                 200);
        backend().faults().notFoundPaths.insert(u"/admin/users/%1/role"_s.arg(id));
        QCOMPARE(admin("POST", u"/admin/users/%1/role"_s.arg(id), R"({"role":"admin"})").status,
                 404);
        QCOMPARE(admin("POST", u"/admin/users/%1/set-role"_s.arg(id), R"({"role":"admin"})").status,
                 200);
        QCOMPARE(
            admin("POST", u"/admin/users/%1/reset-password"_s.arg(id), R"({"password":"uusi"})")
                .status,
            200);
        QVERIFY(!loginToken(u"uusi@example.test"_s, u"uusi"_s).isEmpty());

        const QJsonArray users = admin("GET", u"/admin/users"_s).json().value(u"users"_s).toArray();
        QCOMPARE(users.size(), 2);
        const QJsonObject listed = users[1].toObject();
        QCOMPARE(listed.value(u"email"_s), u"uusi@example.test"_s);
        QCOMPARE(listed.value(u"role"_s), u"admin"_s);
        QCOMPARE(listed.value(u"is_active"_s), true);
        QVERIFY(listed.contains(u"last_login_at"_s));
        QVERIFY(!listed.contains(u"password_hash"_s));

        QCOMPARE(admin("DELETE", u"/admin/users/%1"_s.arg(id)).status, 200);
        QCOMPARE(admin("DELETE", u"/admin/users/%1"_s.arg(id)).status, 404);
    }

    void theClientContextHeaderIsRecorded() {
        loginToken(u"maija@example.test"_s, u"salasana1"_s);
        QCOMPARE(backend().requests().last().header("x-vesnara-app-context"),
                 QByteArray("vesnara-mac"));
    }

    void accountsSurviveARestart() {
        const QString directory = m_server->dataDirectory() + u"/auth"_s;
        m_backend.reset();
        RefBackendOptions options;
        options.dataDirectory = directory;
        RefBackend restarted(options);
        QVERIFY(restarted.users().authenticate(u"maija@example.test"_s, u"salasana1"_s));
    }

private:
    std::optional<RefBackendFixture> m_server;
    std::unique_ptr<RefBackend> m_backend;
    QNetworkAccessManager m_network;
};

QTEST_GUILESS_MAIN(RefBackendAuthTest)
#include "tst_ref_backend_auth.moc"
