// The user administration panel against the reference backend: the key checked first, the
// lines each command leaves, the reloads that follow, the Finnish order of the list and the
// dialogs that can stop a command before anything is sent.
#include "auth/AuthTestBench.h"

#include "forms/AdminUsersPanel.h"
#include "support/ScriptedDialogs.h"
#include "text/UiText.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <functional>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

using Command = std::function<void(AdminUsersPanel&, qint64 userID)>;

struct Row {
    QString email;
    QString details;
    bool canMakeAdmin;
    bool canMakeUser;
    QString toggleText;
};

} // namespace

Q_DECLARE_METATYPE(Command)
Q_DECLARE_METATYPE(std::optional<QString>)

class AdminUsersPanelTest : public QObject {
    Q_OBJECT

    AuthBench& bench() { return *m_bench; }
    AdminUsersPanel& panel() { return *m_panel; }

    qint64 userID(const QString& email) {
        const auto account = bench().backend().users().findByEmail(email);
        return account ? account->id : -1;
    }
    std::optional<QString> storedKey() const {
        return m_bench->preferences.string(AuthManager::adminKeyStorageKey);
    }
    Row row(int index) const {
        const QModelIndex at = m_panel->users()->index(index);
        const auto role = [&at](AdminUsersModel::Role r) { return at.data(r); };
        return {role(AdminUsersModel::EmailRole).toString(),
                role(AdminUsersModel::DetailsRole).toString(),
                role(AdminUsersModel::CanMakeAdminRole).toBool(),
                role(AdminUsersModel::CanMakeUserRole).toBool(),
                role(AdminUsersModel::EnabledToggleTextRole).toString()};
    }
    QStringList listedEmails() const {
        QStringList emails;
        for (int i = 0; i < m_panel->users()->rowCount(); ++i)
            emails << row(i).email;
        return emails;
    }
    /// Runs `command` and waits until every request it started, reloads included, has ended.
    bool settle(const std::function<void()>& command) {
        const int answeredBefore = m_dialogs->answered;
        QSignalSpy finished(m_panel.get(), &AdminUsersPanel::requestFinished);
        command();
        return QTest::qWaitFor(
            [&] {
                return !m_panel->busy() &&
                       (finished.size() > 0 || m_dialogs->answered > answeredBefore);
            },
            10'000);
    }
    bool loadWithKey() {
        panel().setAdminKey(AuthBench::adminKey);
        return settle([this] { panel().loadUsers(); }) &&
               panel().message() == UiText::adminUsersLoaded;
    }

private Q_SLOTS:
    void init() {
        m_bench = std::make_unique<AuthBench>();
        QVERIFY2(m_bench->isListening(), qPrintable(m_bench->backend().errorString()));
        m_manager = m_bench->makeCheckedManager();
        QVERIFY(m_manager);
        m_dialogs = std::make_unique<ScriptedDialogs>();
        m_panel = std::make_unique<AdminUsersPanel>(*m_manager, m_dialogs.get());
        m_tester = std::make_unique<QAbstractItemModelTester>(
            m_panel->users(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(panel().newUserRole(), u"user"_s);
        QCOMPARE(panel().roleChoices(), (QStringList{u"user"_s, u"admin"_s}));
    }
    void cleanup() {
        m_tester.reset();
        m_panel.reset();
        m_manager.reset();
        m_bench.reset();
    }

    void aBlankKeyStopsEveryCommandBeforeItsDialogOrRequest_data() {
        QTest::addColumn<Command>("command");
        QTest::newRow("load") << Command([](AdminUsersPanel& p, qint64) { p.loadUsers(); });
        QTest::newRow("create, fields empty too")
            << Command([](AdminUsersPanel& p, qint64) { p.createUser(); });
        QTest::newRow("make admin")
            << Command([](AdminUsersPanel& p, qint64 id) { p.makeAdmin(id); });
        QTest::newRow("block") << Command(
            [](AdminUsersPanel& p, qint64 id) { p.toggleUserEnabled(id); });
        QTest::newRow("reset password")
            << Command([](AdminUsersPanel& p, qint64 id) { p.resetUserPassword(id); });
        QTest::newRow("delete") << Command([](AdminUsersPanel& p, qint64 id) { p.deleteUser(id); });
        QTest::newRow("save key") << Command([](AdminUsersPanel& p, qint64) { p.saveKey(); });
    }
    void aBlankKeyStopsEveryCommandBeforeItsDialogOrRequest() {
        QFETCH(Command, command);
        QVERIFY(loadWithKey());
        bench().sent.clear();
        m_dialogs->confirmAnswers = {true};
        m_dialogs->promptAnswers = {u"uusi-salasana"_s};
        panel().setAdminKey(u" \t\n "_s);
        command(panel(), userID(AuthBench::email));
        QCOMPARE(panel().error(), UiText::adminEnterKey);
        QCOMPARE(panel().message(), QString());
        QVERIFY(!panel().busy());
        QVERIFY(bench().sent.isEmpty());
        QVERIFY(m_dialogs->prompts.isEmpty());
        QVERIFY(m_dialogs->confirmations.isEmpty());
        QCOMPARE(storedKey(), std::optional(AuthBench::adminKey));
    }

    void failuresShowTheirTextAndLeaveTheKeyUnstored_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("newEmail");
        QTest::addColumn<QString>("newPassword");
        QTest::addColumn<bool>("create");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("sent");
        QTest::newRow("wrong key: the service's words")
            << u"väärä-avain"_s << QString() << QString() << false << u"Virheellinen admin-avain."_s
            << 1;
        QTest::newRow("new user without a password")
            << AuthBench::adminKey << u"uusi@example.test"_s << u"  "_s << true
            << UiText::adminEnterNewUser << 0;
        QTest::newRow("new user without an address")
            << AuthBench::adminKey << u"\n"_s << u"salasana-99"_s << true
            << UiText::adminEnterNewUser << 0;
        QTest::newRow("new user taken")
            << AuthBench::adminKey << AuthBench::email << u"salasana-99"_s << true
            << u"Sähköpostiosoite on jo käytössä tai puuttuu."_s << 1;
    }
    void failuresShowTheirTextAndLeaveTheKeyUnstored() {
        QFETCH(QString, key);
        QFETCH(QString, newEmail);
        QFETCH(QString, newPassword);
        QFETCH(bool, create);
        QFETCH(QString, error);
        QFETCH(int, sent);
        panel().setAdminKey(key);
        panel().setNewUserEmail(newEmail);
        panel().setNewUserPassword(newPassword);
        if (sent > 0)
            QVERIFY(settle([&] { create ? panel().createUser() : panel().loadUsers(); }));
        else
            create ? panel().createUser() : panel().loadUsers();
        QCOMPARE(panel().error(), error);
        QCOMPARE(panel().message(), QString());
        QCOMPARE(bench().sent.size(), sent);
        QVERIFY(!storedKey());
        QCOMPARE(panel().adminKey(), key);
        // The form keeps the new user's fields to be corrected.
        QCOMPARE(panel().newUserEmail(), newEmail);
        QCOMPARE(m_manager->errorMessage(), QString());
    }

    void theListIsInFinnishOrderIgnoringCaseAndStable() {
        bench().backend().faults().httpFaults.push_back(
            respond(u"/admin/users"_s, 200, R"({"users":[
            {"id":1,"email":"Östen@x.test"},
            {"id":2,"email":"zeta@x.test"},
            {"id":3,"email":"Äijä@x.test"},
            {"id":4,"email":"sama@x.test"},
            {"id":5,"email":"aino@x.test"},
            {"id":6,"email":"Bertta@x.test"},
            {"id":7,"email":"SAMA@x.test"},
            {"id":8,"email":"Åke@x.test"}]})"));
        panel().setAdminKey(u"  "_s + AuthBench::adminKey + u"\n"_s);
        QVERIFY(settle([this] { panel().loadUsers(); }));
        QCOMPARE(
            listedEmails(),
            (QStringList{u"aino@x.test"_s, u"Bertta@x.test"_s, u"sama@x.test"_s, u"SAMA@x.test"_s,
                         u"zeta@x.test"_s, u"Åke@x.test"_s, u"Äijä@x.test"_s, u"Östen@x.test"_s}));
        QCOMPARE(panel().message(), UiText::adminUsersLoaded);
        // The key that worked is kept, trimmed, without "Tallenna avain".
        QCOMPARE(panel().adminKey(), AuthBench::adminKey);
        QCOMPARE(storedKey(), std::optional(AuthBench::adminKey));
    }

    void eachRowShowsItsStateAndTheRoleButtonsItNeeds() {
        auto& users = bench().backend().users();
        QVERIFY(users.create(u"admin@example.test"_s, u"salasana-2"_s, u"admin"_s));
        QVERIFY(users.create(u"moderaattori@example.test"_s, u"salasana-3"_s, u"moderator"_s));
        QVERIFY(users.setActive(userID(u"admin@example.test"_s), false));
        QVERIFY(loadWithKey());
        const QString adminID = QString::number(userID(u"admin@example.test"_s));
        const QString maijaID = QString::number(userID(AuthBench::email));
        const QString moderatorID = QString::number(userID(u"moderaattori@example.test"_s));
        QCOMPARE(listedEmails(), (QStringList{u"admin@example.test"_s, AuthBench::email,
                                              u"moderaattori@example.test"_s}));
        const QList<std::tuple<QString, bool, bool, QString>> expected{
            {u"id "_s + adminID + u" • admin • estetty"_s, false, true, u"Aktivoi"_s},
            {u"id "_s + maijaID + u" • user • aktiivinen"_s, true, false, u"Estä"_s},
            {u"id "_s + moderatorID + u" • moderator • aktiivinen"_s, true, true, u"Estä"_s},
        };
        for (int i = 0; i < expected.size(); ++i) {
            const Row shown = row(i);
            QCOMPARE(
                std::tuple(shown.details, shown.canMakeAdmin, shown.canMakeUser, shown.toggleText),
                expected.at(i));
        }
    }

    void blockingKeepsTheRowActiveUntilTheNextLoad() {
        QVERIFY(loadWithKey());
        const qint64 maija = userID(AuthBench::email);
        QSignalSpy rowChanges(panel().users(), &QAbstractItemModel::dataChanged);
        QVERIFY(settle([&] { panel().toggleUserEnabled(maija); }));
        QCOMPARE(panel().message(), UiText::adminUserDisabled);
        QVERIFY(!bench().backend().users().findById(maija)->isActive);
        QCOMPARE(row(0).details, u"id "_s + QString::number(maija) + u" • user • aktiivinen"_s);
        QCOMPARE(row(0).toggleText, u"Estä"_s);
        QCOMPARE(rowChanges.size(), 0);

        QVERIFY(loadWithKey());
        QCOMPARE(row(0).details, u"id "_s + QString::number(maija) + u" • user • estetty"_s);
        QCOMPARE(row(0).toggleText, u"Aktivoi"_s);
        QCOMPARE(rowChanges.size(), 1);

        QVERIFY(settle([&] { panel().toggleUserEnabled(maija); }));
        QCOMPARE(panel().message(), UiText::adminUserEnabled);
        QVERIFY(bench().backend().users().findById(maija)->isActive);
    }

    void aChangeIsFollowedByAReloadWhoseTextIsLast_data() {
        QTest::addColumn<Command>("command");
        QTest::addColumn<QString>("ownText");
        QTest::addColumn<QStringList>("listedAfter");
        QTest::newRow("create") << Command([](AdminUsersPanel& p, qint64) {
            p.setNewUserEmail(u"  Uusi@Example.TEST "_s);
            p.setNewUserPassword(u" salasana-uusi "_s);
            p.setNewUserRole(u"admin"_s);
            p.createUser();
        }) << UiText::adminUserCreated(u"Uusi@Example.TEST"_s)
                                << QStringList{AuthBench::email, u"uusi@example.test"_s};
        QTest::newRow("make admin")
            << Command([](AdminUsersPanel& p, qint64 id) { p.makeAdmin(id); })
            << UiText::adminRoleUpdated << QStringList{AuthBench::email};
        QTest::newRow("delete, confirmed")
            << Command([](AdminUsersPanel& p, qint64 id) { p.deleteUser(id); })
            << UiText::adminUserDeleted << QStringList{};
    }
    void aChangeIsFollowedByAReloadWhoseTextIsLast() {
        QFETCH(Command, command);
        QFETCH(QString, ownText);
        QFETCH(QStringList, listedAfter);
        const qint64 maija = userID(AuthBench::email);
        m_dialogs->confirmAnswers = {true};
        // A key typed with blanks and never saved: the command's success stores it.
        panel().setAdminKey(AuthBench::adminKey + u"  "_s);
        QStringList shown;
        const QObject receiver;
        connect(&panel(), &AdminUsersPanel::messageChanged, &receiver,
                [&shown, this] { shown << panel().message(); });
        QSignalSpy busyChanges(&panel(), &AdminUsersPanel::busyChanged);
        QVERIFY(settle([&] { command(panel(), maija); }));
        QTRY_COMPARE(panel().message(), UiText::adminUsersLoaded);
        shown.removeAll(QString());
        QCOMPARE(shown, (QStringList{ownText, UiText::adminUsersLoaded}));
        QCOMPARE(panel().error(), QString());
        QCOMPARE(listedEmails(), listedAfter);
        QCOMPARE(storedKey(), std::optional(AuthBench::adminKey));
        QCOMPARE(panel().adminKey(), AuthBench::adminKey);
        // Busy from the command through its reload, without a gap between.
        QCOMPARE(busyChanges.size(), 2);
        QCOMPARE(panel().newUserEmail(), QString());
        QCOMPARE(panel().newUserPassword(), QString());
    }

    void theDialogsCanStopACommandSilently_data() {
        QTest::addColumn<Command>("command");
        QTest::addColumn<std::optional<QString>>("promptAnswer");
        QTest::addColumn<bool>("confirmAnswer");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("sentPassword");
        const Command reset = [](AdminUsersPanel& p, qint64 id) { p.resetUserPassword(id); };
        const Command remove = [](AdminUsersPanel& p, qint64 id) { p.deleteUser(id); };
        QTest::newRow("reset prompt cancelled")
            << reset << std::optional<QString>() << false << QString() << QString();
        QTest::newRow("reset prompt left blank")
            << reset << std::optional(u" \n"_s) << false << QString() << QString();
        QTest::newRow("reset with a password: trimmed, no reload")
            << reset << std::optional(u" uusi-salasana-7 "_s) << false << UiText::adminPasswordReset
            << u"uusi-salasana-7"_s;
        QTest::newRow("delete declined")
            << remove << std::optional<QString>() << false << QString() << QString();
    }
    void theDialogsCanStopACommandSilently() {
        QFETCH(Command, command);
        QFETCH(std::optional<QString>, promptAnswer);
        QFETCH(bool, confirmAnswer);
        QFETCH(QString, message);
        QFETCH(QString, sentPassword);
        m_dialogs->promptAnswers = {promptAnswer};
        m_dialogs->confirmAnswers = {confirmAnswer};
        panel().setAdminKey(AuthBench::adminKey);
        QVERIFY(settle([&] { command(panel(), userID(AuthBench::email)); }));
        QCOMPARE(m_dialogs->answered, 1);
        QCOMPARE(panel().message(), message);
        QCOMPARE(panel().error(), QString());
        if (!m_dialogs->prompts.isEmpty()) {
            const auto& prompt = m_dialogs->prompts.first();
            QCOMPARE(prompt.title, u"Nollaa salasana"_s);
            QCOMPARE(prompt.message, u"Anna käyttäjälle uusi salasana."_s);
            QCOMPARE(prompt.placeholder, u"Uusi salasana"_s);
            QVERIFY(prompt.masked);
        } else {
            QCOMPARE(m_dialogs->confirmations,
                     (QStringList{u"Poista käyttäjä\nKäyttäjä poistetaan käytöstä ja sen sessiot "
                                  "suljetaan. Jatketaanko?"_s}));
        }
        if (sentPassword.isEmpty()) {
            QVERIFY(bench().sent.isEmpty());
            QVERIFY(!storedKey());
        } else {
            QCOMPARE(bench().sent.size(), 1);
            QCOMPARE(jsonOf(bench().sent.first().body.value_or(QByteArray())),
                     (QJsonObject{{u"password"_s, sentPassword}}));
            QVERIFY(bench().backend().users().authenticate(AuthBench::email, sentPassword));
            QCOMPARE(storedKey(), std::optional(AuthBench::adminKey));
        }
        QVERIFY(bench().backend().users().findByEmail(AuthBench::email));
    }

    void whileBusyOnlyLoadAndCreateWait() {
        panel().setAdminKey(AuthBench::adminKey);
        panel().setNewUserEmail(u"uusi@example.test"_s);
        panel().setNewUserPassword(u"salasana-uusi"_s);
        panel().loadUsers();
        QVERIFY(panel().busy());
        QCOMPARE(panel().loadButtonText(), u"Haetaan..."_s);
        panel().loadUsers();
        panel().createUser();
        QCOMPARE(bench().sent.size(), 1);
        panel().makeAdmin(userID(AuthBench::email));
        panel().saveKey();
        QCOMPARE(bench().sent.size(), 2);
        QCOMPARE(panel().message(), UiText::adminKeySaved);
        QTRY_VERIFY(!panel().busy());
        QCOMPARE(panel().loadButtonText(), u"Lataa käyttäjät"_s);
        QCOMPARE(panel().newUserEmail(), u"uusi@example.test"_s);
    }

    void theKeyButtonsAndTheGate() {
        panel().setAdminKey(u"  tallennettava \n"_s);
        panel().saveKey();
        QCOMPARE(storedKey(), std::optional(u"tallennettava"_s));
        QCOMPARE(panel().adminKey(), u"tallennettava"_s);
        QCOMPARE(panel().message(), UiText::adminKeySaved);
        QCOMPARE(panel().error(), QString());

        // With the in-app administration on, a blank field takes the stored key; a typed one
        // stays.
        panel().setAdminKey(u" "_s);
        panel().applyAdminGate(true);
        QCOMPARE(panel().adminKey(), u"tallennettava"_s);
        panel().setAdminKey(u"kirjoitettu"_s);
        panel().applyAdminGate(true);
        QCOMPARE(panel().adminKey(), u"kirjoitettu"_s);
        // Without it, the stored key does not survive.
        panel().applyAdminGate(false);
        QCOMPARE(panel().adminKey(), QString());
        QVERIFY(!storedKey());

        panel().setAdminKey(u"tallennettava"_s);
        panel().saveKey();
        panel().clearKey();
        QVERIFY(!storedKey());
        QCOMPARE(panel().adminKey(), QString());
        QCOMPARE(panel().message(), UiText::adminKeyCleared);
        QVERIFY(bench().sent.isEmpty());
    }

private:
    std::unique_ptr<AuthBench> m_bench;
    std::unique_ptr<AuthManager> m_manager;
    std::unique_ptr<ScriptedDialogs> m_dialogs;
    std::unique_ptr<AdminUsersPanel> m_panel;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

QTEST_GUILESS_MAIN(AdminUsersPanelTest)
#include "tst_admin_users_panel.moc"
