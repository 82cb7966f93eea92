// The connection settings of the settings card with the live configuration, the auth manager
// and the reference backend: what an edit changes and stores, which auth address is taken,
// the defaults and the clipboard, and who sees the admin groups.
#include "auth/AuthTestBench.h"

#include "engine/StatusLine.h"
#include "engine/parts/RecordingSettings.h"
#include "forms/ConnectionSettingsForm.h"
#include "platform/Clipboard.h"
#include "storage/STTConfigurationStore.h"
#include "text/UiText.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

class TestClipboard final : public Clipboard {
public:
    std::optional<QString> content;
    std::optional<QString> text() const override { return content; }
    void setText(const QString& text) override { content = text; }
};

const QString adminEmail = u"paakayttaja@example.test"_s;
const QString adminPassword = u"salasana-admin"_s;

} // namespace

Q_DECLARE_METATYPE(std::optional<QString>)

class ConnectionSettingsFormTest : public QObject {
    Q_OBJECT

    AuthBench& bench() { return *m_bench; }
    AuthManager& auth() { return *m_manager; }

    /// The configuration as stored, one field.
    QString storedField(const QString& key) const {
        const auto bytes = m_bench->preferences.bytes(STTConfigurationStore::key);
        return jsonOf(bytes.value_or(QByteArray())).value(key).toString();
    }
    bool logIn(const QString& email, const QString& password) {
        return awaitTask(m_manager->login(email, password)).value == true;
    }
    std::unique_ptr<ConnectionSettingsForm> makeForm() {
        return std::make_unique<ConnectionSettingsForm>(*m_settings, *m_manager);
    }

private Q_SLOTS:
    void init() {
        qunsetenv(ConnectionSettingsForm::inAppAdminVariable);
        m_bench = std::make_unique<AuthBench>();
        QVERIFY2(m_bench->isListening(), qPrintable(m_bench->backend().errorString()));
        QVERIFY(m_bench->backend().users().create(adminEmail, adminPassword, u"admin"_s));
        m_manager = m_bench->makeCheckedManager();
        QVERIFY(m_manager);
        m_status = std::make_unique<StatusLine>();
        m_settings = std::make_unique<RecordingSettings>(m_bench->preferences, *m_status,
                                                         &m_clipboard, nullptr);
    }
    void cleanup() {
        qunsetenv(ConnectionSettingsForm::inAppAdminVariable);
        m_settings.reset();
        m_status.reset();
        m_manager.reset();
        m_bench.reset();
    }

    void theInAppAdministrationOpensOnlyForExactlyOne_data() {
        QTest::addColumn<std::optional<QString>>("value");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("unset") << std::optional<QString>() << false;
        QTest::newRow("1") << std::optional(u"1"_s) << true;
        QTest::newRow("true") << std::optional(u"true"_s) << false;
        QTest::newRow("TRUE") << std::optional(u"TRUE"_s) << false;
        QTest::newRow("yes") << std::optional(u"yes"_s) << false;
        QTest::newRow("empty") << std::optional(QString()) << false;
        QTest::newRow("0") << std::optional(u"0"_s) << false;
        QTest::newRow("01") << std::optional(u"01"_s) << false;
        QTest::newRow("blank before") << std::optional(u" 1"_s) << false;
        QTest::newRow("line end after") << std::optional(u"1\n"_s) << false;
    }
    void theInAppAdministrationOpensOnlyForExactlyOne() {
        QFETCH(std::optional<QString>, value);
        QFETCH(bool, enabled);
        if (value)
            qputenv(ConnectionSettingsForm::inAppAdminVariable, value->toUtf8());
        QCOMPARE(ConnectionSettingsForm::isInAppAdminSwitchOn(value), enabled);
        QVERIFY(logIn(adminEmail, adminPassword));
        const auto form = makeForm();
        QCOMPARE(form->inAppAdminEnabled(), enabled);
        QVERIFY(form->adminToolsVisible());
        QCOMPARE(form->adminUsersVisible(), enabled);
    }

    void theAdminGroupsFollowWhoIsLoggedIn() {
        qputenv(ConnectionSettingsForm::inAppAdminVariable, "1");
        const auto form = makeForm();
        QSignalSpy changes(form.get(), &ConnectionSettingsForm::adminVisibilityChanged);
        const auto visible = [&form] {
            return std::pair(form->adminToolsVisible(), form->adminUsersVisible());
        };
        QCOMPARE(visible(), std::pair(false, false));
        QVERIFY(logIn(AuthBench::email, AuthBench::password));
        QCOMPARE(visible(), std::pair(false, false));
        auth().logout();
        const qsizetype before = changes.size();
        QVERIFY(logIn(adminEmail, u"  "_s + adminPassword));
        QCOMPARE(visible(), std::pair(true, true));
        QVERIFY(changes.size() > before);
        const qsizetype whileAdmin = changes.size();
        auth().logout();
        QCOMPARE(visible(), std::pair(false, false));
        QVERIFY(changes.size() > whileAdmin);
    }

    void editsChangeTheLiveRecordAndTheEndOfAnEditStoresThemTrimmed() {
        const auto form = makeForm();
        QSignalSpy baseChanges(form.get(), &ConnectionSettingsForm::baseURLChanged);
        QSignalSpy keyChanges(form.get(), &ConnectionSettingsForm::apiKeyChanged);
        QSignalSpy feedChanges(form.get(), &ConnectionSettingsForm::updateManifestURLChanged);
        form->setBaseURL(u" http://stt.example.test:9000 \n"_s);
        form->setAPIKey(u"\tavain-1 "_s);
        form->setUpdateManifestURL(u" http://feed.example.test/latest-mac.json"_s);
        // Typing edits what the next request uses, untrimmed, but stores nothing yet.
        QCOMPARE(m_settings->config().baseURL, u" http://stt.example.test:9000 \n"_s);
        QCOMPARE(storedField(u"baseURL"_s), RecordingSettings::defaultBackendURL());
        QCOMPARE(storedField(u"apiKey"_s), RecordingSettings::defaultSharedAPIKey());

        form->commit();
        QCOMPARE(form->baseURL(), u"http://stt.example.test:9000"_s);
        QCOMPARE(form->apiKey(), u"avain-1"_s);
        QCOMPARE(form->updateManifestURL(), u"http://feed.example.test/latest-mac.json"_s);
        QCOMPARE(storedField(u"baseURL"_s), u"http://stt.example.test:9000"_s);
        QCOMPARE(storedField(u"apiKey"_s), u"avain-1"_s);
        QCOMPARE(storedField(u"updateManifestURL"_s),
                 u"http://feed.example.test/latest-mac.json"_s);
        QCOMPARE(std::tuple(baseChanges.size(), keyChanges.size(), feedChanges.size()),
                 std::tuple(2, 2, 2));
        // A quiet save: no status text.
        QCOMPARE(m_status->statusText(), QString());
        QCOMPARE(form->error(), QString());
    }

    void theAuthAddressIsTakenOnlyWhenUsable_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("inUse");
        QTest::addColumn<QString>("error");
        QTest::newRow("trailing slashes and blanks go")
            << u" http://auth.example.test:7000/// "_s << u"http://auth.example.test:7000"_s
            << QString();
        QTest::newRow("blank: refused") << u" \n"_s << QString() << UiText::authInvalidURL;
        QTest::newRow("only slashes: refused") << u"///"_s << QString() << UiText::authInvalidURL;
        QTest::newRow("the address in use with a slash")
            << u"{in use}/"_s << QString() << QString();
    }
    void theAuthAddressIsTakenOnlyWhenUsable() {
        QFETCH(QString, typed);
        QFETCH(QString, inUse);
        QFETCH(QString, error);
        const QString before = auth().authURL();
        if (inUse.isEmpty())
            inUse = before;
        typed.replace(u"{in use}"_s, before);
        const auto form = makeForm();
        QCOMPARE(form->authURL(), before);
        form->setAuthURL(typed);
        form->commit();
        QCOMPARE(auth().authURL(), inUse);
        QCOMPARE(bench().preferences.string(AuthManager::authURLKey), std::optional(inUse));
        QCOMPARE(form->error(), error);
        // The login screen's error line is not the place for it.
        QCOMPARE(auth().errorMessage(), QString());
        QCOMPARE(form->authURL(), error.isEmpty() ? inUse : typed);

        // Correcting the field, or taking the default, clears the red line.
        form->useDefaultAuthURL();
        QCOMPARE(auth().authURL(), AuthManager::defaultAuthURL());
        QCOMPARE(form->authURL(), AuthManager::defaultAuthURL());
        QCOMPARE(form->error(), QString());
    }

    void theDefaultButtonsAndTheClipboardStoreAtOnce() {
        const auto form = makeForm();
        form->setBaseURL(u"http://muu.example.test"_s);
        form->setAPIKey(u"muu-avain"_s);
        form->setUpdateManifestURL(u"http://muu.example.test/latest-mac.json"_s);
        form->commit();

        form->useDefaultBackendURL();
        form->useDefaultAPIKey();
        form->useDefaultUpdateManifestURL();
        QCOMPARE(storedField(u"baseURL"_s), RecordingSettings::defaultBackendURL());
        QCOMPARE(storedField(u"apiKey"_s), RecordingSettings::defaultSharedAPIKey());
        QCOMPARE(storedField(u"updateManifestURL"_s),
                 RecordingSettings::defaultUpdateManifestURL());
        QCOMPARE(form->apiKey(), RecordingSettings::defaultSharedAPIKey());

        m_clipboard.content = u" \n "_s;
        form->useAPIKeyFromClipboard();
        QCOMPARE(m_status->statusText(), UiText::noAPIKeyOnClipboard);
        QCOMPARE(form->apiKey(), RecordingSettings::defaultSharedAPIKey());
        m_clipboard.content = u"  leikepoyta-avain\n"_s;
        form->useAPIKeyFromClipboard();
        QCOMPARE(form->apiKey(), u"leikepoyta-avain"_s);
        QCOMPARE(storedField(u"apiKey"_s), u"leikepoyta-avain"_s);
    }

private:
    std::unique_ptr<AuthBench> m_bench;
    std::unique_ptr<AuthManager> m_manager;
    TestClipboard m_clipboard;
    std::unique_ptr<StatusLine> m_status;
    std::unique_ptr<RecordingSettings> m_settings;
};

QTEST_GUILESS_MAIN(ConnectionSettingsFormTest)
#include "tst_connection_settings_form.moc"
