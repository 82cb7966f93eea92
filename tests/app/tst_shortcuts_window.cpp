// The window's keyboard shortcuts through the real QML: the recording commands by key with the
// buttons' rules, the search request, the shortcuts sheet, and the keys in the tooltips.
#include "AppHarness.h"
#include "Shortcuts.h"
#include "WindowDriver.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/SessionTranscript.h"
#include "text/UiText.h"

#include <QSignalSpy>

using namespace vesnara;
using namespace vesnara::test;

class ShortcutsWindowTest : public QObject, WindowDriver {
    Q_OBJECT

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier) {
        QTest::keyClick(m_window, key, modifiers);
    }

private Q_SLOTS:
    void initTestCase() { QAccessible::setActive(true); }

    // Idle, the pause and pin keys do nothing; a recording started by Ctrl+R takes a pin by
    // Ctrl+M, pauses and resumes by Ctrl+P and stops by Ctrl+R again. Ctrl+F only asks for the
    // search field.
    void recordingByKeys() {
        AppHarness h;
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(application, engine));
        QQuickItem* start = logIn(AppHarness::password);
        QVERIFY(start);
        TranscriptionViewModel& vm = application.viewModel();
        Shortcuts& shortcuts = application.shortcuts();
        vm.sources()->setInputMode(AudioInputMode::microphone);
        QTRY_VERIFY_WITH_TIMEOUT(vm.canStart(), kEngineWaitMs);

        QVERIFY(!shortcuts.pinEnabled());
        QVERIFY(!shortcuts.pauseResumeEnabled());
        press(Qt::Key_M);
        press(Qt::Key_P);
        QCOMPARE(vm.transcript()->pinCount(), qsizetype(0));
        QVERIFY(!vm.isRecording());

        QSignalSpy search(&shortcuts, &Shortcuts::searchRequested);
        press(Qt::Key_F);
        QCOMPARE(search.count(), 1);
        QQuickItem* searchField = item(u"transcriptSearch"_s);
        QVERIFY(searchField);
        QTRY_VERIFY(searchField->hasActiveFocus());
        // The recording keys work from the search field too.

        press(Qt::Key_R);
        QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(vm.canStop(), kEngineWaitMs);
        QTRY_VERIFY(shortcuts.pinEnabled());
        press(Qt::Key_M);
        QTRY_COMPARE(vm.transcript()->pinCount(), qsizetype(1));

        press(Qt::Key_P);
        QTRY_VERIFY_WITH_TIMEOUT(vm.isPaused(), kEngineWaitMs);
        QCOMPARE(shortcuts.pauseTooltip(),
                 UiText::shortcutTooltip(UiText::mainResume,
                                         Shortcuts::keysText(ShortcutCommand::pauseResume)));
        QTRY_VERIFY_WITH_TIMEOUT(vm.canResume(), kEngineWaitMs);
        press(Qt::Key_P);
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isPaused() && !vm.isResumingRecording(), kEngineWaitMs);
        QVERIFY(vm.isRecording());

        QTRY_VERIFY_WITH_TIMEOUT(vm.canStop(), kEngineWaitMs);
        press(Qt::Key_R);
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(start->isEnabled(), kEngineWaitMs);
        QVERIFY(!shortcuts.pinEnabled());
    }

    // F1 opens the sheet with the four shortcuts, each read with its keys, and the line about
    // the system-wide shortcuts; Escape closes it, and a logout closes one left open.
    void sheetListsTheShortcuts() {
        AppHarness h;
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(application, engine));
        QVERIFY(logIn(AppHarness::password));
        Shortcuts& shortcuts = application.shortcuts();
        QTRY_COMPARE(h.noGlobalShortcuts.state(), GlobalShortcutsPortal::State::unavailable);
        QVERIFY(!shortcuts.globalAvailable());

        press(Qt::Key_F1, Qt::NoModifier);
        QTRY_VERIFY(shortcuts.sheetOpen());
        QTRY_VERIFY(showsText(root(), UiText::shortcutsTitle));
        for (const ShortcutEntry& entry : shortcutTable()) {
            const QString name =
                UiText::shortcutRow(entry.description, Shortcuts::keysText(entry.command));
            QVERIFY2(waitForControl(name, QAccessible::StaticText), qPrintable(name));
            QVERIFY(showsText(root(), entry.description));
        }
        QVERIFY(showsText(root(), UiText::globalShortcutsUnavailable));
        // The sheet has nothing to act on: only its close button.
        QVERIFY(control(UiText::sheetClose, QAccessible::Button));

        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(!shortcuts.sheetOpen());
        QTRY_VERIFY(!showsText(root(), UiText::shortcutsTitle));

        shortcuts.openSheet();
        QTRY_VERIFY(showsText(root(), UiText::shortcutsTitle));
        application.auth().logout();
        QTRY_VERIFY(!shortcuts.sheetOpen());
    }

    // Each tooltip is its button's own text with the keys as the platform writes them.
    void tooltipsCarryTheKeys_data() {
        QTest::addColumn<QString>("tooltip");
        QTest::addColumn<QString>("buttonText");
        QTest::addColumn<QString>("keys");
        const Shortcuts shortcuts;
        const auto keys = [](ShortcutCommand command) { return Shortcuts::keysText(command); };
        QTest::newRow("start") << shortcuts.startTooltip() << UiText::mainStart
                               << keys(ShortcutCommand::startStop);
        QTest::newRow("stop") << shortcuts.stopTooltip() << UiText::mainStop
                              << keys(ShortcutCommand::startStop);
        QTest::newRow("pause idle")
            << shortcuts.pauseTooltip() << UiText::mainPause << keys(ShortcutCommand::pauseResume);
        QTest::newRow("pin") << shortcuts.pinTooltip() << UiText::mainAddPin
                             << keys(ShortcutCommand::pin);
        QTest::newRow("search") << shortcuts.searchTooltip() << UiText::shortcutSearchButton
                                << keys(ShortcutCommand::search);
        QTest::newRow("sheet") << shortcuts.sheetTooltip() << UiText::shortcutsShow << u"F1"_s;
    }
    void tooltipsCarryTheKeys() {
        QFETCH(QString, tooltip);
        QFETCH(QString, buttonText);
        QFETCH(QString, keys);
        QVERIFY(!keys.isEmpty());
        QCOMPARE(tooltip, UiText::shortcutTooltip(buttonText, keys));
    }

    // No two shortcuts share keys, and none takes a key a text field edits with.
    void keysLeaveTextEditingAlone() {
        const QList<QKeySequence::StandardKey> editing = {QKeySequence::SelectAll,
                                                          QKeySequence::Copy,
                                                          QKeySequence::Cut,
                                                          QKeySequence::Paste,
                                                          QKeySequence::Undo,
                                                          QKeySequence::Redo,
                                                          QKeySequence::Delete,
                                                          QKeySequence::MoveToNextWord,
                                                          QKeySequence::MoveToPreviousWord,
                                                          QKeySequence::DeleteStartOfWord,
                                                          QKeySequence::DeleteEndOfWord};
        QSet<QString> seen;
        for (const ShortcutEntry& entry : shortcutTable()) {
            const QString keys = entry.keys.toString(QKeySequence::PortableText);
            QVERIFY2(!seen.contains(keys), qPrintable(keys));
            seen.insert(keys);
            for (const QKeySequence::StandardKey standard : editing) {
                QVERIFY2(!QKeySequence::keyBindings(standard).contains(entry.keys),
                         qPrintable(keys));
            }
        }
    }
};

QTEST_MAIN(ShortcutsWindowTest)
#include "tst_shortcuts_window.moc"
