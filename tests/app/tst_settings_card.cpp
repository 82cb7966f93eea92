// The advanced-settings card in the real window, against the reference backend: the rows that
// follow the input mode, the mixer's sliders and presets, the connection test, the virtual
// device hint, who sees the administrators' groups, and the user administration panel.
#include "AppHarness.h"
#include "PickerEntries.h"
#include "WindowDriver.h"
#include "engine/StatusLine.h"
#include "engine/models/InputDeviceListModel.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SupportTools.h"
#include "forms/AdminUsersPanel.h"
#include "refbackend/UserStore.h"
#include "support/ScriptedPermissionProbe.h"
#include "text/UiText.h"

#include <QAbstractItemModelTester>
#include <QQuickItem>
#include <QSignalSpy>

using namespace vesnara;
using namespace vesnara::test;

namespace {

const QString adminKey = u"hallinta-avain-7"_s;

/// Sets an environment variable for one test; the previous value comes back afterwards.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, std::optional<QByteArray> value)
        : m_name(name)
        , m_previous(qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name))
                                                     : std::nullopt) {
        set(value);
    }
    ~ScopedEnvironment() { set(m_previous); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void set(const std::optional<QByteArray>& value) {
        if (value)
            qputenv(m_name, *value);
        else
            qunsetenv(m_name);
    }
    const char* m_name;
    std::optional<QByteArray> m_previous;
};

} // namespace

class SettingsCardTest : public QObject, WindowDriver {
    Q_OBJECT

    /// Scrolls the main screen so that `item` is in view; gives it back for chaining.
    QQuickItem* reveal(QQuickItem* item) {
        if (!item)
            return nullptr;
        // Rows that just appeared are placed at the next frame.
        QSignalSpy frame(m_window, &QQuickWindow::frameSwapped);
        m_window->update();
        frame.wait(1000);
        QQuickItem* flickable = item->parentItem();
        while (flickable && !flickable->inherits("QQuickFlickable"))
            flickable = flickable->parentItem();
        if (!flickable)
            return item;
        QQuickItem* content = flickable->property("contentItem").value<QQuickItem*>();
        const qreal y = item->mapToItem(content, QPointF(0, item->height() / 2)).y();
        const qreal maxY = std::max(0.0, content->height() - flickable->height());
        flickable->setProperty("contentY", std::clamp(y - flickable->height() / 2, 0.0, maxY));
        return item;
    }
    QQuickItem* shown(const QString& name, QAccessible::Role role) {
        return reveal(control(name, role));
    }
    /// A picker's entry by keyboard, `steps` down (negative: up) from the current one.
    void stepPicker(QQuickItem* picker, int steps) {
        picker->forceActiveFocus();
        QTRY_VERIFY(picker->hasActiveFocus());
        for (int i = 0; i < std::abs(steps); ++i)
            QTest::keyClick(m_window, steps > 0 ? Qt::Key_Down : Qt::Key_Up);
    }
    /// A row of the admin panel's list: one of its buttons, found by its name and its user.
    QQuickItem* rowButton(const QString& name, const QString& email) {
        QAccessibleInterface* found =
            findRowButton(QAccessible::queryAccessibleInterface(m_window), name, email);
        return found ? reveal(qobject_cast<QQuickItem*>(found->object())) : nullptr;
    }
    static QAccessibleInterface* findRowButton(QAccessibleInterface* node, const QString& name,
                                               const QString& email) {
        if (!node)
            return nullptr;
        if (node->role() == QAccessible::Button && node->text(QAccessible::Name) == name &&
            node->text(QAccessible::Description) == email && !node->state().invisible)
            return node;
        for (int i = 0; i < node->childCount(); ++i) {
            if (QAccessibleInterface* found = findRowButton(node->child(i), name, email))
                return found;
        }
        return nullptr;
    }

    std::unique_ptr<QQmlApplicationEngine> m_engine;

    /// The main screen as `email`, whose role the backend sets first.
    bool openMainScreen(AppHarness& h, const QString& role) {
        const auto account = h.server->users().findByEmail(AppHarness::email);
        if (!account || !h.server->users().setRole(account->id, role))
            return false;
        m_engine = std::make_unique<QQmlApplicationEngine>();
        return loadWindow(h.make(), *m_engine) && logIn(AppHarness::password);
    }

private Q_SLOTS:
    void initTestCase() { QAccessible::setActive(true); }
    void cleanup() {
        m_engine.reset();
        m_window = nullptr;
        finishCancelledRequests();
    }

    // A source picker's entries follow the device list row by row, one place down, and find
    // the selected value whatever its numeric type.
    void pickerEntriesFollowTheirList() {
        InputDeviceListModel devices;
        PickerEntries entries;
        QAbstractItemModelTester tester(&entries,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        entries.setAutoLabel(u"Auto"_s);
        entries.setAutoValue(0);
        entries.setSelectedValue(QVariant(9.0));
        entries.setSource(&devices);
        const auto labels = [&entries] {
            QStringList shown;
            for (int row = 0; row < entries.rowCount(); ++row)
                shown << entries.index(row).data(PickerEntries::LabelRole).toString();
            return shown;
        };
        QCOMPARE(labels(), QStringList{u"Auto"_s});
        QCOMPARE(entries.selectedIndex(), -1);

        devices.setItems({{7, u"Sisäinen"_s, false}, {9, u"Kaapeli"_s, true}});
        QCOMPARE(labels(), (QStringList{u"Auto"_s, u"Sisäinen"_s, u"Kaapeli (virtuaali)"_s}));
        QCOMPARE(entries.selectedIndex(), 2);
        QCOMPARE(entries.valueAt(1), QVariant(7u));

        // Moved, renamed, removed and added rows, each reported where the picker shows it.
        devices.setItems({{9, u"Kaapeli"_s, true}, {7, u"Mikki"_s, false}});
        QCOMPARE(labels(), (QStringList{u"Auto"_s, u"Kaapeli (virtuaali)"_s, u"Mikki"_s}));
        QCOMPARE(entries.selectedIndex(), 1);
        devices.setItems({{7, u"Mikki"_s, false}, {11, u"USB"_s, false}});
        QCOMPARE(labels(), (QStringList{u"Auto"_s, u"Mikki"_s, u"USB"_s}));
        QCOMPARE(entries.selectedIndex(), -1);
        entries.setSelectedValue(0u);
        QCOMPARE(entries.selectedIndex(), 0);
        entries.setAutoLabel(u"Auto (suositus: Mikki)"_s);
        QCOMPARE(labels().constFirst(), u"Auto (suositus: Mikki)"_s);

        devices.setItems({});
        QCOMPARE(labels(), QStringList{u"Auto (suositus: Mikki)"_s});
        QCOMPARE(entries.valueAt(5), QVariant());
    }

    // Rows 9 to 19 come and go with the input mode; what was chosen in them stays.
    void theInputModeShowsItsRows() {
        AppHarness h;
        QVERIFY(openMainScreen(h, u"user"_s));
        TranscriptionViewModel& vm = h.application->viewModel();
        vm.sources()->setInputMode(AudioInputMode::microphone);

        const auto systemRows = [this] {
            return QList<QQuickItem*>{
                control(UiText::settingsSystemAudioSource, QAccessible::ComboBox),
                control(UiText::settingsApplication, QAccessible::ComboBox),
                control(UiText::settingsRefreshDisplays, QAccessible::Button),
                control(UiText::settingsSystemAudioPermissions, QAccessible::Button)};
        };
        const auto mixRows = [this] {
            return QList<QQuickItem*>{control(UiText::settingsMicGain, QAccessible::Slider),
                                      control(UiText::settingsSystemGain, QAccessible::Slider),
                                      control(UiText::settingsLimiter, QAccessible::CheckBox),
                                      control(UiText::settingsAutoDucking, QAccessible::CheckBox),
                                      control(UiText::settingsDuckingStrength, QAccessible::Slider),
                                      control(UiText::mixPresetMeeting, QAccessible::Button),
                                      control(UiText::settingsEchoGuard, QAccessible::CheckBox)};
        };
        const auto count = [](const QList<QQuickItem*>& items) {
            return int(std::count_if(items.begin(), items.end(), [](QQuickItem* i) { return i; }));
        };
        QCOMPARE(count(systemRows()), 0);
        QCOMPARE(count(mixRows()), 0);

        click(shown(UiText::inputModeSystemAudio, QAccessible::Button));
        QTRY_COMPARE(vm.sources()->inputMode(), AudioInputMode::systemAudio);
        QTRY_COMPARE(count(systemRows()), 4);
        QCOMPARE(count(mixRows()), 0);

        // The first output, by the refresh button and the keyboard.
        click(shown(UiText::settingsRefreshDisplays, QAccessible::Button));
        QQuickItem* displays = control(UiText::settingsSystemAudioSource, QAccessible::ComboBox);
        QTRY_COMPARE(displays->property("count").toInt(), 2);
        QCOMPARE(displays->property("currentText").toString(), UiText::automaticSystemDisplayEntry);
        stepPicker(displays, 1);
        QTRY_COMPARE(vm.sources()->selectedSystemDisplayID(), 3u);
        QCOMPARE(displays->property("currentText").toString(), u"Kaiuttimet"_s);

        click(shown(UiText::inputModeMicrophoneAndSystem, QAccessible::Button));
        QTRY_COMPARE(count(mixRows()), 7);
        QCOMPARE(count(systemRows()), 4);
        click(shown(UiText::mixPresetInterview, QAccessible::Button));
        QTRY_COMPARE(vm.settings()->mixedPreset(), MixPreset::interview);
        const double micGain = vm.settings()->mixedMicGain();

        click(shown(UiText::inputModeMicrophone, QAccessible::Button));
        QTRY_COMPARE(count(systemRows()), 0);
        QCOMPARE(count(mixRows()), 0);
        click(shown(UiText::inputModeMicrophoneAndSystem, QAccessible::Button));
        QTRY_COMPARE(count(mixRows()), 7);
        displays = control(UiText::settingsSystemAudioSource, QAccessible::ComboBox);
        QCOMPARE(displays->property("currentText").toString(), u"Kaiuttimet"_s);
        QCOMPARE(vm.settings()->mixedPreset(), MixPreset::interview);
        QQuickItem* interview = control(UiText::mixPresetInterview, QAccessible::Button);
        QVERIFY(interview->property("highlighted").toBool());
        QCOMPARE(
            control(UiText::settingsMicGain, QAccessible::Slider)->property("value").toDouble(),
            micGain);

        // The echo guard's switch is the stored setting, both ways.
        QQuickItem* echoGuard = shown(UiText::settingsEchoGuard, QAccessible::CheckBox);
        QVERIFY(echoGuard->property("checked").toBool());
        click(echoGuard);
        QTRY_VERIFY(!vm.settings()->echoGuardEnabled());
        QVERIFY(!STTConfigurationStore(h.preferences).load().echoGuardEnabled);
    }

    // A stored gain beyond the slider's range: the handle at the end, the label the value, until
    // the slider moves; moving stores quietly and the preset follows.
    void theSlidersShowTheStoredValue() {
        AppHarness h;
        STTConfiguration config = h.server.config();
        config.mixedMicGain = 2.0;
        STTConfigurationStore(h.preferences).save(config);
        QVERIFY(openMainScreen(h, u"user"_s));
        TranscriptionViewModel& vm = h.application->viewModel();
        vm.sources()->setInputMode(AudioInputMode::microphoneAndSystem);

        QQuickItem* micGain = nullptr;
        QTRY_VERIFY((micGain = shown(UiText::settingsMicGain, QAccessible::Slider)));
        QCOMPARE(micGain->property("value").toDouble(), 1.8);
        QVERIFY(showsText(micGain->parentItem(), u"200%"_s));
        screenshot(u"settings-mix"_s);
        // Nothing matches a preset with this gain: none is selected, the line says so.
        QVERIFY(control(UiText::mixPresetCustom, QAccessible::StaticText));
        QVERIFY(!control(UiText::mixPresetMeeting, QAccessible::Button)
                     ->property("highlighted")
                     .toBool());

        const QString statusBefore = vm.status()->statusText();
        micGain->forceActiveFocus();
        QTest::keyClick(m_window, Qt::Key_Left);
        QTRY_COMPARE(vm.settings()->mixedMicGain(), 1.75);
        QTRY_VERIFY(showsText(micGain->parentItem(), u"175%"_s));
        QCOMPARE(STTConfigurationStore(h.preferences).load().mixedMicGain, 1.75);
        QCOMPARE(vm.status()->statusText(), statusBefore);

        // A preset sets the sliders; a slider moved off it makes the mix custom again.
        click(shown(UiText::mixPresetMeeting, QAccessible::Button));
        QTRY_VERIFY(!control(UiText::mixPresetCustom, QAccessible::StaticText));
        QCOMPARE(micGain->property("value").toDouble(), vm.settings()->mixedMicGain());
        QQuickItem* ducking = shown(UiText::settingsDuckingStrength, QAccessible::Slider);
        ducking->forceActiveFocus();
        QTest::keyClick(m_window, Qt::Key_Right);
        QTest::keyClick(m_window, Qt::Key_Right);
        QTRY_COMPARE(vm.settings()->mixedPreset(), MixPreset::custom);
        QTRY_VERIFY(control(UiText::mixPresetCustom, QAccessible::StaticText));
    }

    void aFreshConfigurationIsCustom() {
        AppHarness h;
        QVERIFY(openMainScreen(h, u"user"_s));
        h.application->viewModel().sources()->setInputMode(AudioInputMode::microphoneAndSystem);
        QTRY_VERIFY(control(UiText::mixPresetCustom, QAccessible::StaticText));
        for (const QString& preset :
             {UiText::mixPresetMeeting, UiText::mixPresetInterview, UiText::mixPresetWebinar}) {
            QQuickItem* button = control(preset, QAccessible::Button);
            QVERIFY2(button, qPrintable(preset));
            QVERIFY(!button->property("highlighted").toBool());
        }
    }

    // "Testaa yhteys" asks the reference backend and the card shows what the memo service said.
    void theConnectionTestReports() {
        AppHarness h;
        QVERIFY(openMainScreen(h, u"user"_s));
        TranscriptionViewModel& vm = h.application->viewModel();
        QVERIFY(showsText(root(), UiText::settingsMemoStatus(UiText::memoBackendStatusUnknown)));
        click(shown(UiText::settingsTestConnection, QAccessible::Button));
        QTRY_VERIFY_WITH_TIMEOUT(
            vm.status()->statusText().startsWith(UiText::connectionOk({}).chopped(1)),
            kEngineWaitMs);
        const QString memo = vm.support()->memoAIBackendStatus();
        QVERIFY(memo != UiText::memoBackendStatusUnknown);
        QTRY_VERIFY(showsText(root(), UiText::settingsMemoStatus(memo)));
    }

    // The hint of a virtual input stays while it is selected.
    void aVirtualInputIsPointedOut() {
        AppHarness h;
        h.microphoneBackend.devices.append(
            {9, u"Virtuaalikaapeli"_s, AudioTransportKind::virtualDevice, 2});
        QVERIFY(openMainScreen(h, u"user"_s));
        TranscriptionViewModel& vm = h.application->viewModel();
        QQuickItem* picker = shown(UiText::inputModeMicrophone, QAccessible::ComboBox);
        QVERIFY(picker);
        QTRY_COMPARE(picker->property("count").toInt(), 3);
        QVERIFY(!control(UiText::settingsVirtualInputHint, QAccessible::StaticText));

        stepPicker(picker, 2);
        QTRY_COMPARE(vm.sources()->selectedInputDeviceID(), 9u);
        QCOMPARE(picker->property("currentText").toString(),
                 UiText::inputDeviceEntry(u"Virtuaalikaapeli"_s, true));
        QTRY_VERIFY(control(UiText::settingsVirtualInputHint, QAccessible::StaticText));
        vm.sources()->refreshInputDevices();
        QVERIFY(control(UiText::settingsVirtualInputHint, QAccessible::StaticText));

        stepPicker(picker, -2);
        QTRY_COMPARE(vm.sources()->selectedInputDeviceID(), 0u);
        QTRY_VERIFY(!control(UiText::settingsVirtualInputHint, QAccessible::StaticText));
    }

    // The system audio group: closed until the permission panel asks for its help, then open
    // with the settings hint; a grant made now offers the relaunch instead of the request.
    void theSystemAudioHelpOpensItsGroup() {
        AppHarness h;
        auto probe = std::make_shared<ScriptedPermissionProbe>();
        h.permissionProbe = probe;
        QVERIFY(openMainScreen(h, u"user"_s));
        TranscriptionViewModel& vm = h.application->viewModel();
        vm.sources()->setInputMode(AudioInputMode::systemAudio);
        QTRY_VERIFY(control(UiText::settingsSystemAudioPermissions, QAccessible::Button));
        const QString group = UiText::settingsSystemAudioPermissions;
        QVERIFY(!rowButton(UiText::permissionRequest, group));

        vm.permissions()->requestSystemAudioPermissionFromUI();
        QTRY_VERIFY_WITH_TIMEOUT(vm.permissions()->showSystemAudioPermissionHelp(), kEngineWaitMs);
        QQuickItem* request = nullptr;
        QTRY_VERIFY((request = rowButton(UiText::permissionRequest, group)));
        QVERIFY(showsText(root(), UiText::systemAudioPermissionSettingsHint));
        QVERIFY(!rowButton(UiText::permissionRelaunch, group));

        probe->systemAccessResult = true;
        probe->probeResults = {
            {.succeeded = true, .displayCount = 1, .applicationCount = 0, .errorDetails = {}}};
        QTRY_VERIFY(request->isEnabled());
        click(request);
        QTRY_VERIFY_WITH_TIMEOUT(rowButton(UiText::permissionRelaunch, group), kEngineWaitMs);
        QVERIFY(!rowButton(UiText::permissionRequest, group));
        QVERIFY(!showsText(root(), UiText::systemAudioPermissionSettingsHint));
    }

    // Rows 24 to 26: the diagnostics and connection groups for an administrator, the user
    // administration only with the switch at exactly "1".
    void theAdministratorsGroups_data() {
        QTest::addColumn<QString>("role");
        QTest::addColumn<std::optional<QByteArray>>("gate");
        QTest::addColumn<bool>("adminTools");
        QTest::addColumn<bool>("userAdministration");
        QTest::newRow("user, gate open")
            << u"user"_s << std::optional<QByteArray>("1") << false << false;
        QTest::newRow("admin, no gate")
            << u"admin"_s << std::optional<QByteArray>() << true << false;
        QTest::newRow("admin, gate \"true\"")
            << u"admin"_s << std::optional<QByteArray>("true") << true << false;
        QTest::newRow("admin, gate open")
            << u"admin"_s << std::optional<QByteArray>("1") << true << true;
    }
    void theAdministratorsGroups() {
        QFETCH(QString, role);
        QFETCH(std::optional<QByteArray>, gate);
        QFETCH(bool, adminTools);
        QFETCH(bool, userAdministration);
        const ScopedEnvironment environment("VESNARA_INAPP_ADMIN_ENABLED", gate);
        AppHarness h;
        QVERIFY(openMainScreen(h, role));
        QTRY_COMPARE(bool(control(UiText::diagnosticsGroup, QAccessible::Button)), adminTools);
        QCOMPARE(bool(control(UiText::connectionGroup, QAccessible::Button)), adminTools);
        QCOMPARE(bool(control(UiText::adminUsersGroup, QAccessible::Button)), userAdministration);
        if (!userAdministration || role != u"admin"_s)
            return;

        // Opened, the groups show their controls; the connection fields are the settings'.
        for (const QString& group :
             {UiText::diagnosticsGroup, UiText::connectionGroup, UiText::adminUsersGroup})
            click(shown(group, QAccessible::Button));
        QTRY_VERIFY(control(UiText::diagnosticsExport, QAccessible::Button));
        QQuickItem* backend = control(UiText::promptBackendURLTitle, QAccessible::EditableText);
        QVERIFY(backend);
        QCOMPARE(backend->property("text").toString(),
                 h.application->viewModel().settings()->baseURL());
        QVERIFY(control(UiText::connectionAPIKeyFromClipboard, QAccessible::Button));
        reveal(control(UiText::adminKeyCaption, QAccessible::EditableText));
        screenshot(u"settings-admin"_s);
    }

    // The user administration against the backend: the list sorted by address, a role outside
    // the two showing both role buttons, a block that the row shows only after a reload, and a
    // password reset through the prompt.
    void theUserAdministration() {
        const ScopedEnvironment environment("VESNARA_INAPP_ADMIN_ENABLED", "1");
        AppHarness h;
        h.server->setAdminKey(adminKey);
        refbackend::UserStore& users = h.server->users();
        const auto moderator =
            users.create(u"Oona.moderaattori@vesnara.test"_s, u"salasana-123"_s, u"moderator"_s);
        const auto plain = users.create(u"aino@vesnara.test"_s, u"salasana-456"_s, u"user"_s);
        QVERIFY(moderator && plain);
        QVERIFY(openMainScreen(h, u"admin"_s));

        click(shown(UiText::adminUsersGroup, QAccessible::Button));
        QQuickItem* key = nullptr;
        QTRY_VERIFY((key = shown(UiText::adminKeyCaption, QAccessible::EditableText)));
        type(key, u"  "_s + adminKey + u" "_s);
        click(shown(UiText::adminLoadUsers, QAccessible::Button));
        QTRY_VERIFY_WITH_TIMEOUT(showsText(root(), UiText::adminUsersLoaded), kEngineWaitMs);
        // The key that worked is kept, trimmed.
        QCOMPARE(key->property("text").toString(), adminKey);
        AdminUsersPanel& panel = h.application->adminUsersPanel();
        QCOMPARE(panel.users()->rowCount(), 3);
        const QModelIndex first = panel.users()->index(0);
        QCOMPARE(first.data(AdminUsersModel::EmailRole).toString(), u"aino@vesnara.test"_s);

        const QString moderatorEmail = moderator->email;
        QVERIFY(rowButton(UiText::adminMakeAdmin, moderatorEmail));
        QVERIFY(rowButton(UiText::adminMakeUser, moderatorEmail));
        QVERIFY(rowButton(UiText::adminMakeAdmin, plain->email));
        QVERIFY(!rowButton(UiText::adminMakeUser, plain->email));
        QVERIFY(!rowButton(UiText::adminMakeAdmin, AppHarness::email));
        screenshot(u"admin-panel"_s);

        const QString activeLine = UiText::adminUserDetails(plain->id, u"user"_s, true);
        click(rowButton(UiText::adminDisableUser, plain->email));
        QTRY_VERIFY_WITH_TIMEOUT(showsText(root(), UiText::adminUserDisabled), kEngineWaitMs);
        QVERIFY(!users.findById(plain->id)->isActive);
        QVERIFY(showsText(root(), activeLine));
        click(shown(UiText::adminLoadUsers, QAccessible::Button));
        QTRY_VERIFY_WITH_TIMEOUT(
            showsText(root(), UiText::adminUserDetails(plain->id, u"user"_s, false)),
            kEngineWaitMs);
        QVERIFY(!showsText(root(), activeLine));
        QVERIFY(rowButton(UiText::adminEnableUser, plain->email));

        // A cancelled prompt sends nothing; an answered one sets the new password.
        click(rowButton(UiText::adminResetPasswordTitle, moderatorEmail));
        QTRY_COMPARE(h.dialogs.answered, 1);
        QCOMPARE(panel.message(), UiText::adminUsersLoaded);
        h.dialogs.promptAnswers = {u" uusi-salasana-99 "_s};
        click(rowButton(UiText::adminResetPasswordTitle, moderatorEmail));
        QTRY_VERIFY_WITH_TIMEOUT(showsText(root(), UiText::adminPasswordReset), kEngineWaitMs);
        QVERIFY(users.authenticate(moderatorEmail, u"uusi-salasana-99"_s).has_value());
    }
};

QTEST_MAIN(SettingsCardTest)
#include "tst_settings_card.moc"
