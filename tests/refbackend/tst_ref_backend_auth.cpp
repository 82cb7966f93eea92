// The auth side of the reference backend over loopback: accounts with hashed passwords, tokens
// the speech side accepts, the password flows under both path spellings, and administration.
#include "refbackend/PasswordHash.h"
#include "refbackend/RefBackend.h"
#include "support/TestHttp.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::refbackend;
using namespace vesnara::test;

const QByteArray kAdminKey = "hallinta-avain";

class RefBackendAuthTest : public QObject {
    Q_OBJECT

    HttpAnswer call(const QByteArray& method, const QString& path, const QByteArray& body = {},
                    QList<std::pair<QByteArray, QByteArray>> headers = {}) {
        headers.emplaceBack("X-Vesnara-App-Context", "vesnara-mac");
        return httpCall(m_network, method, QUrl(backend().baseUrl().toString() + path), body,
                        headers);
    }

    HttpAnswer admin(const QByteArray& method, const QString& path, const QByteArray& body = {}) {
        return call(method, path, body, {{"X-Admin-Key", kAdminKey}});
    }

    HttpAnswer withBearer(const QString& token, const QString& path, const QByteArray& body = {}) {
        return call("POST", path, body, {{"Authorization", "Bearer " + token.toUtf8()}});
    }

    QString loginToken(const QString& password) {
        const QJsonObject body{{u"email"_s, u"maija@example.test"_s}, {u"password"_s, password}};
        return call("POST", u"/auth/login"_s, QJsonDocument(body).toJson())
            .json()
            .value(u"token"_s)
            .toString();
    }

    int speechStatusWith(const QString& token) {
        return call("GET", u"/v1/sessions"_s, {},
                    {{"x-api-key", "puheavain"}, {"x-auth-token", token.toUtf8()}})
            .status;
    }

    RefBackend& backend() { return *m_backend; }

private Q_SLOTS:
    void init() {
        m_directory.emplace();
        m_backend = std::make_unique<RefBackend>(options());
        QVERIFY(m_backend->listen());
        QVERIFY(m_backend->users().create(u"Maija@Example.test"_s, u"salasana1"_s, u"user"_s));
    }
    void cleanup() {
        m_backend.reset();
        m_directory.reset();
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
        const QString token = loginToken(u"salasana1"_s);
        QVERIFY(!token.isEmpty());
        QCOMPARE(backend().requests().last().header("x-vesnara-app-context"), "vesnara-mac"_ba);
        QCOMPARE(speechStatusWith(token), 200);
        QCOMPARE(withBearer(token, u"/auth/verify"_s)
                     .json()
                     .value(u"user"_s)
                     .toObject()
                     .value(u"email"_s),
                 u"maija@example.test"_s);

        backend().tokens().revoke(token);
        QCOMPARE(speechStatusWith(token), 401);
        QCOMPARE(withBearer(token, u"/auth/verify"_s).status, 401);

        const QString second = loginToken(u"salasana1"_s);
        backend().tokens().expire(second);
        QCOMPARE(speechStatusWith(second), 401);
        QVERIFY(!backend().tokens().subjectOf(second));
    }

    void wrongPasswordsAndDisabledAccountsAreRefusedInWords() {
        const HttpAnswer wrong =
            call("POST", u"/auth/login"_s, R"({"email":"maija@example.test","password":"väärä"})");
        QCOMPARE(wrong.status, 401);
        QVERIFY(!wrong.json().value(u"detail"_s).toString().isEmpty());

        const QString token = loginToken(u"salasana1"_s);
        const qint64 id = backend().users().findByEmail(u"maija@example.test"_s)->id;
        QCOMPARE(admin("POST", u"/admin/users/%1/disable"_s.arg(id)).status, 200);
        QCOMPARE(speechStatusWith(token), 401);
        QCOMPARE(call("POST", u"/auth/login"_s,
                      R"({"email":"maija@example.test","password":"salasana1"})")
                     .status,
                 403);
        QCOMPARE(admin("POST", u"/admin/users/%1/enable"_s.arg(id)).status, 200);
        QVERIFY(!loginToken(u"salasana1"_s).isEmpty());
    }

    // The path fallbacks and the refusals are exercised through the client in tests/auth.
    void aResetAnswersAlikeForAnyAddressAndAChangeTakesTheNewPassword() {
        for (const QByteArray email : {"x@y.z", "maija@example.test"}) {
            QCOMPARE(
                call("POST", u"/auth/request-password-reset"_s, "{\"email\":\"" + email + "\"}")
                    .json(),
                (QJsonObject{{u"ok"_s, true},
                             {u"message"_s, u"Jos osoite on rekisteröity, palautusohje on "
                                            u"lähetetty."_s}}));
        }
        const QString token = loginToken(u"salasana1"_s);
        QCOMPARE(withBearer(token, u"/auth/change_password"_s,
                            R"({"current_password":"salasana1","new_password":"uusi-salasana"})")
                     .status,
                 200);
        QVERIFY(loginToken(u"salasana1"_s).isEmpty());
        QVERIFY(!loginToken(u"uusi-salasana"_s).isEmpty());
    }

    void administrationNeedsTheAdminKey() {
        QCOMPARE(call("GET", u"/admin/users"_s).status, 401);
        QCOMPARE(call("GET", u"/admin/users"_s, {}, {{"X-Admin-Key", "arvaus"}}).status, 401);

        const HttpAnswer created =
            admin("POST", u"/admin/users"_s,
                  R"({"email":"Uusi@Example.test","password":"pw","role":"admin"})");
        QCOMPARE(created.status, 201);
        const qint64 id = created.json().value(u"user"_s).toObject().value(u"id"_s).toInteger();
        const QString user = u"/admin/users/%1"_s.arg(id);
        QCOMPARE(admin("POST", u"/admin/users"_s, R"({"email":"uusi@example.test","password":"x"})")
                     .status,
                 409);
        QCOMPARE(
            admin("POST", u"/admin/users"_s, R"({"email":"a@b.c","password":"x","role":"owner"})")
                .status,
            400);

        QCOMPARE(admin("POST", user + u"/role"_s, R"({"role":"user"})").status, 200);
        backend().faults().notFoundPaths.insert(user + u"/role"_s);
        QCOMPARE(admin("POST", user + u"/role"_s, R"({"role":"admin"})").status, 404);
        QCOMPARE(admin("POST", user + u"/set-role"_s, R"({"role":"admin"})").status, 200);

        const QJsonArray users = admin("GET", u"/admin/users"_s).json().value(u"users"_s).toArray();
        QCOMPARE(users.size(), 2);
        const QJsonObject listed = users[1].toObject();
        QCOMPARE(listed.value(u"email"_s), u"uusi@example.test"_s);
        QCOMPARE(listed.value(u"role"_s), u"admin"_s);
        QCOMPARE(listed.value(u"is_active"_s), true);
        QVERIFY(listed.contains(u"last_login_at"_s));
        QVERIFY(!listed.contains(u"password_hash"_s));

        QCOMPARE(admin("DELETE", user).status, 200);
        QCOMPARE(admin("DELETE", user).status, 404);
    }

    void accountsSurviveARestart() {
        m_backend.reset();
        RefBackend restarted(options());
        QVERIFY(restarted.users().authenticate(u"maija@example.test"_s, u"salasana1"_s));
    }

private:
    RefBackendOptions options() const {
        RefBackendOptions options;
        options.dataDirectory = m_directory->path();
        options.apiKey = u"puheavain"_s;
        options.adminKey = QString::fromLatin1(kAdminKey);
        return options;
    }

    std::optional<QTemporaryDir> m_directory;
    std::unique_ptr<RefBackend> m_backend;
    QNetworkAccessManager m_network;
};

QTEST_GUILESS_MAIN(RefBackendAuthTest)
#include "tst_ref_backend_auth.moc"
