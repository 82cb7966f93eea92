// The accounts' rules and records without a network: URL normalisation, the service's error
// words, the freshness window, the codecs, and what the manager keeps in the preferences.
#include "AuthTestBench.h"

#include "auth/AuthAdminUser.h"
#include "auth/AuthLoginResponse.h"
#include "model/JsonReader.h"
#include "support/ScriptedDialogs.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

template <typename Record> Record decode(const QByteArray& json) {
    return Record::fromJson(JsonReader(JsonReader::parseObject(json)));
}

template <typename Record> QString decodeErrorKey(const QByteArray& json) {
    try {
        decode<Record>(json);
    } catch (const JsonDecodeError& error) {
        return error.key();
    }
    return u"<decoded>"_s;
}

StoredAuthMeta metaVerifiedAt(const QString& verifiedAt) {
    return StoredAuthMeta{.user = AuthUser{.id = std::nullopt, .email = u"a@b.c"_s},
                          .verifiedAt = verifiedAt,
                          .authURL = u"http://auth.test"_s};
}

} // namespace

class AuthRecordsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void authURLsAreNormalised_data() {
        QTest::addColumn<QString>("entered");
        QTest::addColumn<QString>("expected"); // null: no result
        QTest::newRow("three trailing slashes")
            << u"https://auth.example.test///"_s << u"https://auth.example.test"_s;
        QTest::newRow("blanks and a path")
            << u" \thttp://h:8080/api/ \n"_s << u"http://h:8080/api"_s;
        QTest::newRow("no scheme check") << u"auth.example.test"_s << u"auth.example.test"_s;
        QTest::newRow("blank") << u" \n "_s << QString();
        QTest::newRow("only slashes") << u"///"_s << QString();
        QTest::newRow("a space inside") << u"http://auth example.test"_s << QString();
    }
    void authURLsAreNormalised() {
        QFETCH(QString, entered);
        QFETCH(QString, expected);
        const auto normalized = AuthManager::normalizeAuthURL(entered);
        QCOMPARE(normalized, expected.isNull() ? std::nullopt : std::optional(expected));
    }

    void anEndpointReplacesThePathOfTheBase() {
        QCOMPARE(AuthManager::authEndpoint(u"/auth/login"_s, u"https://h.test:8443/v2/api"_s),
                 QUrl(u"https://h.test:8443/auth/login"_s));
        for (const QString& bad : {QString(), u"http://bad host"_s}) {
            try {
                AuthManager::authEndpoint(u"/auth/login"_s, bad);
                QFAIL("an endpoint from a bad base");
            } catch (const AuthRequestError& error) {
                QCOMPARE(error.kind(), AuthRequestError::Kind::invalidURL);
                QCOMPARE(error.description(), u"Virheellinen auth-osoite"_s);
            }
        }
    }

    void theServicesWordsAreFoundInAnyErrorBody_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected"); // null: no result
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("detail first")
            << QByteArray(R"({"message":"m","error":"e","detail":"d"})") << u"d"_s;
        QTest::newRow("error before message")
            << QByteArray(R"({"message":"m","error":"e"})") << u"e"_s;
        QTest::newRow("an empty detail wins")
            << QByteArray(R"({"detail":"","error":"e"})") << u""_s;
        QTest::newRow("null detail is absent")
            << QByteArray(R"({"detail":null,"message":"m"})") << u"m"_s;
        QTest::newRow("none of the keys") << QByteArray(R"({"status":500})") << QString();
        QTest::newRow("a mistyped key makes it text")
            << QByteArray(R"({"detail":{"loc":1}})")
            << QString::fromUtf8(R"({"detail":{"loc":1}})");
        QTest::newRow("plain text") << QByteArray("Bad gateway\n") << u"Bad gateway\n"_s;
        QTest::newRow("not UTF-8") << QByteArray("\xff\xfe\x01") << QString();
    }
    void theServicesWordsAreFoundInAnyErrorBody() {
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        QCOMPARE(AuthManager::parseServerError(body),
                 expected.isNull() ? std::nullopt : std::optional(expected));
    }

    void aCheckIsFreshForLessThanFourteenDays_data() {
        const Timestamp now = AuthBench::now();
        QTest::addColumn<QString>("verifiedAt");
        QTest::addColumn<bool>("fresh");
        QTest::newRow("one second short") << now.addingSeconds(-1'209'599.0).toIso8601() << true;
        QTest::newRow("exactly 14 days") << now.addingSeconds(-1'209'600.0).toIso8601() << false;
        QTest::newRow("in the future") << now.addingSeconds(86'400.0 * 100).toIso8601() << true;
        QTest::newRow("with a fraction") << u"2026-02-10T08:30:00.5Z"_s << false;
        QTest::newRow("not a date") << u"eilen"_s << false;
    }
    void aCheckIsFreshForLessThanFourteenDays() {
        QFETCH(QString, verifiedAt);
        QFETCH(bool, fresh);
        QCOMPARE(AuthManager::isMetaFresh(metaVerifiedAt(verifiedAt), AuthBench::now()), fresh);
    }

    void userRecordsDecodeStrictly() {
        const auto meta = decode<StoredAuthMeta>(
            R"({"user":{"id":3,"email":"a@b.c","role":" Admin "},"verifiedAt":"2026-02-11T08:30:00Z","authURL":"x"})");
        QCOMPARE(meta.user.id, std::optional<qint64>(3));
        QVERIFY(meta.user.isAdmin());
        QCOMPARE(decode<StoredAuthMeta>(QJsonDocument(meta.toJson()).toJson()), meta);
        QCOMPARE(decodeErrorKey<StoredAuthMeta>(
                     R"({"user":{"id":3},"verifiedAt":"2026-02-11T08:30:00Z","authURL":"x"})"),
                 u"user.email"_s);
        QCOMPARE(decodeErrorKey<StoredAuthMeta>(R"({"user":{"email":"a"},"authURL":"x"})"),
                 u"verifiedAt"_s);
        QCOMPARE(
            decodeErrorKey<AuthLoginResponse>(R"({"token":"t","user":{"id":"7","email":"a"}})"),
            u"user.id"_s);
        const auto noRole = decode<AuthLoginResponse>(R"({"token":"t","user":{"email":"a"}})");
        QVERIFY(!noRole.user->role);
        QVERIFY(!noRole.user->isAdmin());
    }

    void adminUsersRoundTripInSnakeCase() {
        const AuthAdminUser user{.id = 4,
                                 .email = u"a@b.c"_s,
                                 .role = u"admin"_s,
                                 .isActive = false,
                                 .createdAt = u"2026-01-01T00:00:00Z"_s,
                                 .disabledAt = u"2026-01-02T00:00:00Z"_s};
        const QJsonObject json = user.toJson();
        QCOMPARE(json.value(u"is_active"_s), QJsonValue(false));
        QVERIFY(json.contains(u"disabled_at"_s));
        QVERIFY(!json.contains(u"last_login_at"_s));
        QCOMPARE(decode<AuthAdminUser>(QJsonDocument(json).toJson()), user);
        QCOMPARE(decodeErrorKey<AuthAdminUser>(R"({"id":1.5,"email":"a"})"), u"id"_s);
        QCOMPARE(decodeErrorKey<AuthAdminUsersResponse>(R"({"items":[]})"), u"users"_s);
    }

    void theManagerKeepsItsSettingsInThePreferences() {
        InMemoryPreferences preferences;
        HttpTransport transport;
        int sent = 0;
        transport.setSendObserver([&sent](const HttpRequest&) { ++sent; });
        preferences.setString(AuthManager::authURLKey, u"https://auth.example.test///"_s);
        preferences.setString(AuthManager::sessionTokenKey, u"  tallessa \n"_s);
        AuthManager manager(preferences, transport);
        QVERIFY(!manager.isChecking());
        QCOMPARE(manager.authURL(), u"https://auth.example.test"_s);
        QVERIFY(!manager.rememberSession());
        QCOMPARE(sent, 0);

        // Entered addresses: a bad one changes nothing.
        QSignalSpy urlChanged(&manager, &AuthManager::authURLChanged);
        QVERIFY(!manager.applyEnteredAuthURL(u"http://bad host"_s));
        QCOMPARE(manager.errorMessage(), u"Virheellinen auth-osoite"_s);
        QCOMPARE(manager.authURL(), u"https://auth.example.test"_s);
        QVERIFY(manager.applyEnteredAuthURL(u" http://uusi.test/ "_s));
        QCOMPARE(manager.errorMessage(), QString());
        QCOMPARE(preferences.string(AuthManager::authURLKey), std::optional(u"http://uusi.test"_s));
        QVERIFY(manager.applyEnteredAuthURL(u"http://uusi.test"_s));
        QCOMPARE(urlChanged.size(), 1);
        // The prompt: the current address in the field, the default as placeholder; a cancel
        // changes nothing, a bad text says so, a good one is normalised and stored.
        ScriptedDialogs dialogs;
        manager.setDialogs(&dialogs);
        dialogs.promptAnswers = {std::nullopt, u"ei osoite ://"_s, u"  http://kehote.test// "_s};
        manager.promptForAuthURL();
        QTRY_COMPARE(dialogs.answered, 1);
        QCOMPARE(dialogs.prompts.first().title, u"Auth URL"_s);
        QCOMPARE(dialogs.prompts.first().message, u"Syötä auth-palvelun URL."_s);
        QCOMPARE(dialogs.prompts.first().initial, u"http://uusi.test"_s);
        QCOMPARE(dialogs.prompts.first().placeholder, AuthManager::defaultAuthURL());
        QVERIFY(!dialogs.prompts.first().masked);
        QCOMPARE(manager.authURL(), u"http://uusi.test"_s);
        manager.promptForAuthURL();
        QTRY_COMPARE(dialogs.answered, 2);
        QCOMPARE(manager.errorMessage(), u"Virheellinen auth-osoite"_s);
        QCOMPARE(manager.authURL(), u"http://uusi.test"_s);
        manager.promptForAuthURL();
        QTRY_COMPARE(dialogs.answered, 3);
        QCOMPARE(manager.errorMessage(), QString());
        QCOMPARE(manager.authURL(), u"http://kehote.test"_s);
        QCOMPARE(preferences.string(AuthManager::authURLKey),
                 std::optional(u"http://kehote.test"_s));

        manager.useDefaultAuthURL();
        QCOMPARE(manager.authURL(), AuthManager::defaultAuthURL());
        QCOMPARE(preferences.string(AuthManager::authURLKey),
                 std::optional(AuthManager::defaultAuthURL()));

        // Turning remembering off drops the stored session at once.
        QSignalSpy rememberChanged(&manager, &AuthManager::rememberSessionChanged);
        manager.setRememberSession(true);
        manager.setRememberSession(true);
        QCOMPARE(rememberChanged.size(), 1);
        QCOMPARE(preferences.boolean(AuthManager::rememberSessionKey), std::optional(true));
        preferences.setString(AuthManager::sessionTokenKey, u"  tallessa \n"_s);
        QCOMPARE(manager.currentBackendSessionToken(), std::optional(u"tallessa"_s));
        manager.saveMeta(AuthUser{.id = 1, .email = u"a@b.c"_s, .role = u"user"_s}, u"x"_s);
        QCOMPARE(manager.loadMeta()->verifiedAt.size(), 20);
        manager.setRememberSession(false);
        QVERIFY(!preferences.contains(AuthManager::sessionTokenKey));
        QVERIFY(!preferences.contains(AuthManager::authMetaKey));
        QVERIFY(!manager.currentBackendSessionToken());
        preferences.setBytes(AuthManager::authMetaKey, "{broken");
        QVERIFY(!manager.loadMeta());

        // The admin key: trimmed, and a blank one removes it.
        QCOMPARE(manager.loadStoredAdminKey(), QString());
        manager.saveAdminKey(u" avain \n"_s);
        QCOMPARE(manager.loadStoredAdminKey(), u"avain"_s);
        manager.saveAdminKey(u"  "_s);
        QVERIFY(!preferences.contains(AuthManager::adminKeyStorageKey));
        manager.saveAdminKey(u"avain"_s);
        manager.clearAdminKey();
        QCOMPARE(manager.loadStoredAdminKey(), QString());

        // Clearing without keeping the URL goes back to the default and stores it.
        preferences.setString(AuthManager::authURLKey, u"http://muu.test"_s);
        manager.clearAuthState(true);
        QCOMPARE(manager.authURL(), u"http://muu.test"_s);
        manager.clearAuthState(false);
        QCOMPARE(manager.authURL(), AuthManager::defaultAuthURL());
        QCOMPARE(preferences.string(AuthManager::authURLKey),
                 std::optional(AuthManager::defaultAuthURL()));
        QCOMPARE(sent, 0);
    }
};

QTEST_GUILESS_MAIN(AuthRecordsTest)
#include "tst_auth_records.moc"
