// The real window through the composition root, on the offscreen platform with the software
// renderer: the start check, the login, a recording clicked through from start to a saved and
// reloaded session, the pins' commands on a loaded session, and the account sheets.
#include "AppHarness.h"
#include "MainScreen.h"
#include "Theme.h"
#include "WindowDriver.h"
#include "engine/export/TranscriptFormats.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/SessionHistory.h"
#include "engine/parts/SessionTranscript.h"
#include "forms/ChangePasswordForm.h"
#include "forms/PasswordResetForm.h"
#include "refbackend/ScriptedRecognizer.h"
#include "storage/SessionHistoryStore.h"
#include "text/UiText.h"

#include <QFile>
#include <QGuiApplication>
#include <QPalette>

using namespace vesnara;
using namespace vesnara::test;
using refbackend::ScriptedEvent;

namespace {

// A button of a repeated row: the one whose description names the row.
QAccessibleInterface* findRowButton(QAccessibleInterface* node, const QString& name,
                                    const QString& description) {
    if (!node)
        return nullptr;
    if (node->role() == QAccessible::Button && node->text(QAccessible::Name) == name &&
        node->text(QAccessible::Description) == description && !node->state().invisible)
        return node;
    for (int i = 0; i < node->childCount(); ++i) {
        if (QAccessibleInterface* found = findRowButton(node->child(i), name, description))
            return found;
    }
    return nullptr;
}

void collectButtons(QAccessibleInterface* node, const QString& name, QList<QQuickItem*>& found) {
    if (!node)
        return;
    if (node->role() == QAccessible::Button && node->text(QAccessible::Name) == name &&
        !node->state().invisible) {
        if (auto* item = qobject_cast<QQuickItem*>(node->object()))
            found.append(item);
    }
    for (int i = 0; i < node->childCount(); ++i)
        collectButtons(node->child(i), name, found);
}

// A loaded session long enough to scroll: a line every ten seconds, and pins two seconds after
// an early, the middle and a late line.
SavedSession longSession(int lines) {
    const Timestamp start = Timestamp::fromUnixSeconds(1'767'261'600.0);
    SavedSession session;
    session.id = u"pitka-sessio"_s;
    session.createdAt = start;
    session.endedAt = start.addingSeconds(10.0 * lines);
    session.language = u"fi-FI"_s;
    session.sttModel = u"chirp_3"_s;
    for (int i = 0; i < lines; ++i) {
        session.segments.append(
            {QUuid::createUuid(), u"Rivi numero %1 kokouksesta"_s.arg(i),
             start.addingSeconds(10.0 * i),
             i % 3 == 0 ? std::optional<QString>(u"Puhuja %1"_s.arg(i % 2 + 1)) : std::nullopt});
    }
    const auto pinAt = [&](int line, const QString& label) {
        const Timestamp time = start.addingSeconds(10.0 * line + 2.0);
        return TranscriptPin{QUuid::createUuid(),          time,        time, label, QString(),
                             TranscriptPinKind::important, std::nullopt};
    };
    session.pins = {pinAt(2, u"Alku"_s), pinAt(lines / 2, u"Keskellä"_s),
                    pinAt(lines - 4, u"  "_s)};
    return session;
}

} // namespace

class AppWindowTest : public QObject, WindowDriver {
    Q_OBJECT

    QQuickItem* button(const QString& name) { return control(name, QAccessible::Button); }

    // A sheet's button whose name the main screen also uses.
    QQuickItem* sheetButton(const QString& name) {
        QList<QQuickItem*> found;
        collectButtons(QAccessible::queryAccessibleInterface(m_window), name, found);
        QQuickItem* screen = item(u"mainScroll"_s);
        for (QQuickItem* candidate : std::as_const(found)) {
            if (!screen || !screen->isAncestorOf(candidate))
                return candidate;
        }
        return nullptr;
    }

    // The column scrolls: an item below the window is first brought into sight, as a user
    // would scroll to it.
    void click(QQuickItem* target) {
        QVERIFY(target);
        QQuickItem* scroll = item(u"mainScroll"_s);
        auto* flickable = scroll ? scroll->property("contentItem").value<QQuickItem*>() : nullptr;
        if (flickable && flickable->isAncestorOf(target)) {
            auto* content = flickable->property("contentItem").value<QQuickItem*>();
            const qreal top = target->mapToItem(content, QPointF(0, 0)).y();
            const qreal visibleTop = flickable->property("contentY").toReal();
            if (top < visibleTop || top + target->height() > visibleTop + flickable->height()) {
                const qreal limit =
                    flickable->property("contentHeight").toReal() - flickable->height();
                const qreal wanted = top - (flickable->height() - target->height()) / 2;
                flickable->setProperty("contentY", std::clamp(wanted, 0.0, std::max(limit, 0.0)));
            }
        }
        WindowDriver::click(target);
    }

    QQuickItem* rowButton(const QString& name, const QString& description) {
        QAccessibleInterface* found =
            findRowButton(QAccessible::queryAccessibleInterface(m_window), name, description);
        return found ? qobject_cast<QQuickItem*>(found->object()) : nullptr;
    }

    QRgb statusDot() { return item(u"statusDot"_s)->property("color").value<QColor>().rgba(); }

    // The whole column at the window's width: the window grows to the column's height for the
    // picture and is put back.
    void screenshotColumn(const QString& name) {
        QQuickItem* scroll = item(u"mainScroll"_s);
        QVERIFY(scroll);
        const QSize before = m_window->size();
        const auto column = [scroll] { return qCeil(scroll->property("contentHeight").toReal()); };
        // The column may settle anew at the new size; grow until it fits.
        QTRY_VERIFY(column() <= m_window->height() ||
                    (m_window->resize(before.width(), column()), false));
        screenshot(name);
        m_window->resize(before);
        QTRY_COMPARE(qCeil(scroll->height()), before.height());
    }

    // The row at the centre of the transcript list's viewport.
    static int centreRow(QQuickItem* lines) {
        int row = -1;
        QMetaObject::invokeMethod(
            lines, "indexAt", Q_RETURN_ARG(int, row), Q_ARG(qreal, lines->width() / 2),
            Q_ARG(qreal, lines->property("contentY").toReal() + lines->height() / 2));
        return row;
    }

    // The delegate of a transcript row, when the list has one.
    static QQuickItem* lineItem(QQuickItem* lines, int row) {
        QQuickItem* delegate = nullptr;
        QMetaObject::invokeMethod(lines, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, delegate),
                                  Q_ARG(int, row));
        return delegate;
    }

    // Whether a transcript row stands wholly inside the list's viewport.
    static bool lineInView(QQuickItem* lines, int row) {
        const QQuickItem* line = lineItem(lines, row);
        const qreal top = lines->property("contentY").toReal();
        return line && line->isVisible() && line->y() >= top &&
               line->y() + line->height() <= top + lines->height();
    }

private Q_SLOTS:
    void initTestCase() { QAccessible::setActive(true); }

    // Login, then a recording clicked through: lines, a pin, pause and resume, the stop, the
    // session in the history, the saved text, the reload, and a logout that stops a recording.
    void clickThroughARecording() {
        AppHarness h;
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(application.load(engine));
        m_window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
        QVERIFY(m_window);
        QCOMPARE(m_window->minimumSize(), QSize(980, 720));
        m_window->requestActivate();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));

        QQuickItem* email = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT(
            (email = control(UiText::loginEmailLabel, QAccessible::EditableText)), kEngineWaitMs);
        QQuickItem* password = control(UiText::loginPasswordLabel, QAccessible::EditableText);
        QVERIFY(password);
        QVERIFY(button(UiText::loginTitle));
        QVERIFY(control(UiText::loginRememberSession, QAccessible::CheckBox));
        QVERIFY(button(UiText::loginForgotPassword));
        QVERIFY(!button(UiText::mainStart));
        QTRY_VERIFY(email->hasActiveFocus());
        screenshot(u"login"_s);

        // A wrong password by the button: the service's words in red, both fields kept.
        type(email, AppHarness::email);
        type(password, u"väärä-salasana"_s);
        click(button(UiText::loginTitle));
        QQuickItem* error = item(u"loginError"_s);
        QVERIFY(error);
        QTRY_VERIFY_WITH_TIMEOUT(error->isVisible(), kEngineWaitMs);
        QVERIFY(!error->property("text").toString().isEmpty());
        QCOMPARE(email->property("text").toString(), AppHarness::email);
        QCOMPARE(password->property("text").toString(), u"väärä-salasana"_s);
        screenshot(u"login-error"_s);

        // The right one by Return, replacing what was typed.
        click(password);
        QTest::keyClick(m_window, Qt::Key_End);
        for (int i = 0; i < 64 && !password->property("text").toString().isEmpty(); ++i)
            QTest::keyClick(m_window, Qt::Key_Backspace);
        type(password, AppHarness::password);
        QCOMPARE(password->property("text").toString(), AppHarness::password);
        QVERIFY(!password->property("displayText").toString().contains(AppHarness::password));
        QTest::keyClick(m_window, Qt::Key_Return);

        // Idle: only the start and the list's refresh can be used; the history is empty.
        QQuickItem* start = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((start = button(UiText::mainStart)), kEngineWaitMs);
        QQuickItem* stop = button(UiText::mainStop);
        QQuickItem* pause = button(UiText::mainPause);
        QQuickItem* save = button(UiText::promptSave);
        QQuickItem* addPin = button(UiText::mainAddPin);
        QQuickItem* clear = button(UiText::mainClearTranscript);
        QQuickItem* deleteAll = button(UiText::mainDeleteAllSessions);
        QVERIFY(stop && pause && save && addPin && clear && deleteAll);
        QVERIFY(button(UiText::mainGenerateMemo));
        QVERIFY(button(UiText::mainRefreshSessions));
        QVERIFY(button(UiText::mainLogout));
        TranscriptionViewModel& vm = application.viewModel();
        QTRY_VERIFY_WITH_TIMEOUT(start->isEnabled(), kEngineWaitMs);
        for (QQuickItem* disabled : {stop, pause, save, addPin, deleteAll})
            QVERIFY(!disabled->isEnabled());
        QVERIFY(clear->isEnabled());
        QVERIFY(!rowButton(UiText::mainCopySessionId, UiText::copySessionIdDescription));
        QQuickItem* root = m_window->contentItem();
        QVERIFY(showsText(root, UiText::mainSessionsEmpty));
        QVERIFY(showsText(root, UiText::mainSessionsNote));
        QVERIFY(showsText(root, UiText::mainSessionItem({})));
        QVERIFY(!showsText(root, UiText::mainPinsTitle));
        QCOMPARE(statusDot(), Theme::idleDot().rgba());
        screenshotColumn(u"main-idle"_s);

        h.server.backend().setScript(
            {ScriptedEvent::afterFrames(
                 3, finalEvent(u"Hyvää huomenta kaikille"_s, u"2026-01-02T10:00:00Z"_s)),
             ScriptedEvent::afterFrames(
                 6, finalEvent(u"Aloitetaan kokous"_s, u"2026-01-02T10:00:04Z"_s))});
        vm.sources()->setInputMode(AudioInputMode::microphone);
        click(start);
        QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(stop->isEnabled(), kEngineWaitMs);
        QTRY_COMPARE(statusDot(), Theme::recordingDot().rgba());
        QVERIFY(!clear->isEnabled());
        QVERIFY(!deleteAll->isEnabled());
        h.microphoneBackend.play(toneBuffers(20, 0.3f), 5ms);

        auto* lines = item(u"transcriptLines"_s);
        QVERIFY(lines);
        QTRY_COMPARE_WITH_TIMEOUT(lines->property("count").toInt(), 2, kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(showsText(lines, u"Aloitetaan kokous"_s), kEngineWaitMs);
        QTRY_VERIFY(showsText(root, UiText::mainWordCount(vm.transcript()->wordCount())));
        QVERIFY(showsText(root, UiText::mainSegmentCount(2)));
        QVERIFY(showsText(root, UiText::mainSessionItem(vm.sessionId())));
        click(rowButton(UiText::mainCopySessionId, UiText::copySessionIdDescription));
        QTRY_COMPARE(h.clipboard.content, std::optional<QString>(vm.sessionId()));

        // A pin: its row with three commands that name it, the moment selected and lit.
        QTRY_VERIFY(addPin->isEnabled());
        click(addPin);
        QTRY_COMPARE(vm.transcript()->pinCount(), qsizetype(1));
        const TranscriptPin pin = vm.transcript()->pinsSortedByTimestamp().constFirst();
        const QString pinRow = UiText::mainPinRowDescription(pin.label, pin.timestamp.clockText());
        QTRY_VERIFY(rowButton(UiText::mainShowPin, pinRow));
        QVERIFY(rowButton(UiText::mainRenamePin, pinRow));
        QVERIFY(rowButton(UiText::mainDelete, pinRow));
        QVERIFY(showsText(root, UiText::mainPinsTitle));
        QCOMPARE(vm.status()->statusText(), UiText::statusPinAdded(UiText::pinKindRevisit));
        screenshotColumn(u"main-recording"_s);

        // Pause: the third button resumes and the dot turns orange; a pin is still allowed.
        click(pause);
        QTRY_VERIFY_WITH_TIMEOUT(vm.isPaused(), kEngineWaitMs);
        QTRY_COMPARE(pause->property("text").toString(), UiText::mainResume);
        QCOMPARE(button(UiText::mainResume), pause);
        QCOMPARE(statusDot(), Theme::pausedDot().rgba());
        QVERIFY(addPin->isEnabled());
        screenshot(u"main-paused"_s);

        const MainScreen* screen = engine.rootObjects().constFirst()->findChild<MainScreen*>();
        QVERIFY(screen);
        QVERIFY(screen->pauseElapsedText().startsWith(UiText::mainPauseElapsed({}).left(16)));
        // While resuming the button says so, though the recording still counts as paused.
        QStringList pauseTexts;
        connect(screen, &MainScreen::controlsChanged, this,
                [&] { pauseTexts.append(screen->pauseButtonText()); });
        click(pause);
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isPaused() && !vm.isResumingRecording(), kEngineWaitMs);
        QTRY_COMPARE(pause->property("text").toString(), UiText::mainPause);
        pauseTexts.removeDuplicates();
        QCOMPARE(pauseTexts.mid(pauseTexts.indexOf(UiText::statusResuming)),
                 (QStringList{UiText::statusResuming, UiText::mainPause}));
        disconnect(screen, nullptr, this, nullptr);
        QCOMPARE(screen->pauseElapsedText(), QString());
        QCOMPARE(statusDot(), Theme::recordingDot().rgba());

        // The stop: the session joins the history, whose row names it to a screen reader.
        click(stop);
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(start->isEnabled(), kEngineWaitMs);
        // The stop's tail (last lines, the saved session) runs on after the recording ends.
        QTRY_COMPARE_WITH_TIMEOUT(vm.runState(), RecordingRunState::idle, kEngineWaitMs);
        const QString sessionId = vm.sessionId();
        QVERIFY(!sessionId.isEmpty());
        SavedSessionListModel* history = vm.history()->sessionModel();
        QTRY_COMPARE_WITH_TIMEOUT(history->count(), 1, kEngineWaitMs);
        const QString sessionRow = UiText::mainSessionRowDescription(
            SavedSessionListModel::sessionLabel(history->items().constFirst()));
        QTRY_VERIFY(rowButton(UiText::mainLoadSession, sessionRow));
        QVERIFY(rowButton(UiText::mainDelete, sessionRow));
        QVERIFY(!showsText(root, UiText::mainSessionsEmpty));
        QTRY_VERIFY(deleteAll->isEnabled());
        QVERIFY(clear->isEnabled());
        QCOMPARE(lines->property("count").toInt(), 2);

        // "Tallenna" writes exactly the plain text of what is shown.
        QTRY_VERIFY(save->isEnabled());
        const QString savedPath = h.temporary.filePath(u"kokous.txt"_s);
        h.filePanels.answers.push_back(savedPath);
        click(save);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(savedPath), kEngineWaitMs);
        QFile saved(savedPath);
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(saved.readAll()),
                 formatTXT(vm.transcript()->segments(), vm.transcript()->pinsSortedByTimestamp()));

        // Emptied, then loaded again from the history: the same lines and the pin.
        click(clear);
        QTRY_COMPARE(lines->property("count").toInt(), 0);
        QTRY_VERIFY(!showsText(root, UiText::mainPinsTitle));
        QVERIFY(showsText(root, UiText::mainTranscriptEmpty));
        click(rowButton(UiText::mainLoadSession, sessionRow));
        QTRY_COMPARE_WITH_TIMEOUT(lines->property("count").toInt(), 2, kEngineWaitMs);
        QTRY_VERIFY(rowButton(UiText::mainShowPin, pinRow));
        QCOMPARE(vm.sessionId(), sessionId);
        QVERIFY(showsText(lines, u"Hyvää huomenta kaikille"_s));

        // The scheme follows the palette while the window is up.
        const QPalette original = QGuiApplication::palette();
        QPalette dark;
        dark.setColor(QPalette::Window, QColor(36, 36, 38));
        dark.setColor(QPalette::Base, QColor(50, 50, 52));
        dark.setColor(QPalette::WindowText, QColor(235, 235, 235));
        QGuiApplication::setPalette(dark);
        QTRY_COMPARE(m_window->color(), QColor(36, 36, 38));
        // The toolkit's buttons take the dark surface and light text too.
        QTRY_COMPARE(start->property("palette").value<QObject*>()->property("buttonText"),
                     QVariant(QColor(235, 235, 235)));
        screenshotColumn(u"main-dark"_s);
        QGuiApplication::setPalette(original);

        // A logout while recording stops the recording first.
        click(start);
        QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY(!deleteAll->isEnabled());
        click(button(UiText::mainLogout));
        QTRY_VERIFY_WITH_TIMEOUT(control(UiText::loginEmailLabel, QAccessible::EditableText),
                                 kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isRecording(), kEngineWaitMs);
        QVERIFY(!application.auth().isAuthenticated());
        m_window = nullptr;
    }

    // A long session loaded from the history: "Näytä" brings a pin's line to the middle of the
    // list and lights it, "Nimeä" renames through the dialog, "Poista" removes the row, and
    // "Poista kaikki" empties the history.
    void pinCommandsOnALoadedSession() {
        AppHarness h;
        const SavedSession session = longSession(40);
        SessionHistoryStore(h.historyDirectory.path()).save(session);
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(application, engine));
        QVERIFY(logIn(AppHarness::password));
        TranscriptionViewModel& vm = application.viewModel();
        SessionTranscript& transcript = *vm.transcript();

        const QString sessionRow = UiText::mainSessionRowDescription(
            SavedSessionListModel::sessionLabel(SavedSessionListItem::from(session)));
        QTRY_VERIFY(rowButton(UiText::mainLoadSession, sessionRow));
        click(rowButton(UiText::mainLoadSession, sessionRow));
        QQuickItem* lines = item(u"transcriptLines"_s);
        QTRY_COMPARE_WITH_TIMEOUT(lines->property("count").toInt(), 40, kEngineWaitMs);
        QCOMPARE(lines->property("contentY").toReal(), 0.0);

        // The blank label reads as its kind's text, in the row and in its description.
        const TranscriptPin early = session.pins.at(0);
        const TranscriptPin middle = session.pins.at(1);
        const TranscriptPin late = session.pins.at(2);
        const QString earlyRow =
            UiText::mainPinRowDescription(early.label, early.timestamp.clockText());
        const QString middleRow =
            UiText::mainPinRowDescription(middle.label, middle.timestamp.clockText());
        const QString lateRow =
            UiText::mainPinRowDescription(UiText::pinKindImportant, late.timestamp.clockText());
        QTRY_VERIFY(rowButton(UiText::mainShowPin, lateRow));
        QVERIFY(!lineInView(lines, 36));

        // Rows near either end stand as close to the middle as the list allows.
        struct Case {
            QString row;
            int line;
        };
        for (const Case& shown :
             {Case{lateRow, 36}, Case{earlyRow, 2}, Case{middleRow, 20}, Case{lateRow, 36}}) {
            click(rowButton(UiText::mainShowPin, shown.row));
            QTRY_VERIFY(lineInView(lines, shown.line));
            if (shown.line == 20)
                QTRY_COMPARE(centreRow(lines), 20);
            const QModelIndex line = transcript.segmentModel()->index(shown.line);
            QTRY_VERIFY(line.data(TranscriptSegmentListModel::IsHighlightedRole).toBool());
            QTRY_COMPARE(lineItem(lines, shown.line)->property("color").value<QColor>().rgba(),
                         Theme(false).segmentHighlightBackground().rgba());
        }
        QVERIFY(button(UiText::mainClearTranscript)->isEnabled());
        screenshot(u"main-pin-shown"_s);

        // Renamed through the dialog, which offers the present label; the row's names follow.
        h.dialogs.promptAnswers.push_back(u"Budjetti"_s);
        click(rowButton(UiText::mainRenamePin, earlyRow));
        QTRY_COMPARE(h.dialogs.answered, 1);
        QCOMPARE(h.dialogs.prompts.constFirst().initial, early.label);
        const QString renamedRow =
            UiText::mainPinRowDescription(u"Budjetti"_s, early.timestamp.clockText());
        QTRY_VERIFY(rowButton(UiText::mainShowPin, renamedRow));
        QVERIFY(!rowButton(UiText::mainShowPin, earlyRow));

        click(rowButton(UiText::mainDelete, renamedRow));
        QTRY_VERIFY(!rowButton(UiText::mainShowPin, renamedRow));
        QCOMPARE(transcript.pinCount(), qsizetype(2));
        QVERIFY(rowButton(UiText::mainShowPin, lateRow));

        // "Poista kaikki" empties the history; with nothing left it cannot be used.
        QQuickItem* deleteAll = button(UiText::mainDeleteAllSessions);
        QVERIFY(deleteAll->isEnabled());
        click(deleteAll);
        QTRY_COMPARE_WITH_TIMEOUT(vm.history()->sessionModel()->count(), 0, kEngineWaitMs);
        QTRY_VERIFY(!deleteAll->isEnabled());
        QTRY_VERIFY(!rowButton(UiText::mainLoadSession, sessionRow));
        QVERIFY(showsText(m_window->contentItem(), UiText::mainSessionsEmpty));
        m_window = nullptr;
    }

    // System audio that will not start: the help panel with its commands outside the
    // microphone mode, the hint in orange, and the advanced card's permission group opened.
    void systemAudioHelp() {
        AppHarness h;
        h.systemBackend.content.error =
            AudioBackendError{u"pulseaudio"_s, 6, u"Connection refused"_s};
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QVERIFY(loadWindow(application, engine));
        QQuickItem* start = logIn(AppHarness::password);
        QVERIFY(start);
        TranscriptionViewModel& vm = application.viewModel();
        const MainScreen* screen = engine.rootObjects().constFirst()->findChild<MainScreen*>();
        QVERIFY(screen);
        QVERIFY(!screen->showSystemAudioPermissionDiagnostics());

        vm.sources()->setInputMode(AudioInputMode::systemAudio);
        QTRY_VERIFY(start->isEnabled());
        click(start);
        QQuickItem* settings = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((settings = button(UiText::systemAudioHelpOpenSettings)),
                                 kEngineWaitMs);
        QVERIFY(!vm.isRecording());
        QQuickItem* root = m_window->contentItem();
        QVERIFY(showsText(root, UiText::systemAudioHelpFailed));
        QVERIFY(showsText(root, UiText::systemAudioHelpWhere));
        QQuickItem* hint = item(u"diagnosticHint"_s);
        QTRY_COMPARE(hint->property("text").toString(), UiText::systemAudioPermissionMissingHint);
        QVERIFY(hint->isVisible());
        QCOMPARE(hint->property("color").value<QColor>().rgba(), Theme(false).warningText().rgba());
        QVERIFY(screen->showSystemAudioPermissionDiagnostics());
        QQuickItem* grant = button(UiText::systemAudioHelpGrant);
        QVERIFY(grant);
        QCOMPARE(grant->isEnabled(), !vm.permissions()->isSystemAudioPermissionGranted());
        QVERIFY(!button(UiText::permissionRelaunch));
        screenshotColumn(u"main-system-audio-help"_s);

        click(settings);
        QTRY_COMPARE(vm.status()->statusText(), UiText::openSettingsFailed);

        // Back in the microphone mode the panel goes; the hint stays where it was.
        vm.sources()->setInputMode(AudioInputMode::microphone);
        QTRY_VERIFY(!button(UiText::systemAudioHelpOpenSettings));
        QVERIFY(hint->isVisible());
        m_window = nullptr;
    }

    // The reset sheet from the login screen and the change-password sheet from the main screen,
    // each against the reference backend: lines, first focus, Escape, and a changed password
    // that the next login takes.
    void accountSheets() {
        AppHarness h;
        VesnaraApplication& application = h.make();
        QQmlApplicationEngine engine;
        QQuickItem* root = loadWindow(application, engine);
        QVERIFY(root);

        QQuickItem* loginEmail = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT(
            (loginEmail = control(UiText::loginEmailLabel, QAccessible::EditableText)),
            kEngineWaitMs);
        type(loginEmail, AppHarness::email);
        QVERIFY(!control(UiText::resetSheetEmailLabel, QAccessible::EditableText));
        click(control(UiText::loginForgotPassword, QAccessible::Button));
        QQuickItem* resetEmail = nullptr;
        QTRY_VERIFY(
            (resetEmail = control(UiText::resetSheetEmailLabel, QAccessible::EditableText)));
        QTRY_VERIFY(resetEmail->hasActiveFocus());
        QCOMPARE(resetEmail->property("text").toString(), AppHarness::email);
        QVERIFY(control(UiText::sheetClose, QAccessible::Button));

        click(control(UiText::resetSend, QAccessible::Button));
        const PasswordResetForm& reset = application.passwordResetForm();
        QTRY_VERIFY_WITH_TIMEOUT(!reset.isSending() && !reset.message().isEmpty(), kEngineWaitMs);
        QVERIFY(reset.error().isEmpty());
        QTRY_VERIFY(showsText(root, reset.message()));
        screenshot(u"reset-sheet"_s);
        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(!application.passwordResetForm().isOpen());
        QTRY_VERIFY(!control(UiText::resetSheetEmailLabel, QAccessible::EditableText));
        // Opened again, the sheet starts without the last answer; the close button closes it.
        const QString answer = reset.message();
        click(control(UiText::loginForgotPassword, QAccessible::Button));
        QTRY_VERIFY(control(UiText::resetSheetEmailLabel, QAccessible::EditableText));
        QVERIFY(!showsText(root, answer));
        click(control(UiText::sheetClose, QAccessible::Button));
        QTRY_VERIFY(!control(UiText::resetSheetEmailLabel, QAccessible::EditableText));
        QVERIFY(!reset.isOpen());

        QVERIFY(logIn(AppHarness::password));
        QVERIFY(!control(UiText::changePasswordCurrent, QAccessible::EditableText));
        click(control(UiText::mainChangePassword, QAccessible::Button));
        QQuickItem* current = nullptr;
        QTRY_VERIFY((current = control(UiText::changePasswordCurrent, QAccessible::EditableText)));
        QTRY_VERIFY(current->hasActiveFocus());
        QQuickItem* next = control(UiText::changePasswordNew, QAccessible::EditableText);
        QQuickItem* repeat = control(UiText::changePasswordConfirm, QAccessible::EditableText);
        QQuickItem* save = sheetButton(UiText::promptSave);
        QVERIFY(next && repeat && save);
        const ChangePasswordForm& change = application.changePasswordForm();

        // Nine characters are refused before anything is sent; the fields stay.
        type(current, AppHarness::password);
        type(next, u"lyhyt-123"_s);
        type(repeat, u"lyhyt-123"_s);
        click(save);
        QTRY_VERIFY(showsText(root, UiText::changePasswordTooShort));
        QVERIFY(change.message().isEmpty());
        QCOMPARE(next->property("text").toString(), u"lyhyt-123"_s);

        const QString changed = u"uusi-salasana-2026"_s;
        retype(next, changed);
        retype(repeat, changed);
        click(save);
        QTRY_VERIFY_WITH_TIMEOUT(!change.isChanging() && !change.message().isEmpty(),
                                 kEngineWaitMs);
        QTRY_VERIFY(showsText(root, change.message()));
        QVERIFY(!showsText(root, UiText::changePasswordTooShort));
        for (QQuickItem* field : {current, next, repeat})
            QCOMPARE(field->property("text").toString(), QString());
        screenshot(u"password-sheet"_s);
        QTest::keyClick(m_window, Qt::Key_Escape);
        QTRY_VERIFY(!application.changePasswordForm().isOpen());
        QTRY_VERIFY(!control(UiText::changePasswordCurrent, QAccessible::EditableText));

        // A session that ends under an open sheet takes the sheet with it.
        click(control(UiText::mainChangePassword, QAccessible::Button));
        QTRY_VERIFY(application.changePasswordForm().isOpen());
        application.auth().logout();
        QVERIFY(!application.changePasswordForm().isOpen());
        QTRY_VERIFY(control(UiText::loginEmailLabel, QAccessible::EditableText));
        QVERIFY(logIn(changed));
        QVERIFY(!control(UiText::changePasswordCurrent, QAccessible::EditableText));
        m_window = nullptr;
    }
};

QTEST_MAIN(AppWindowTest)
#include "tst_app_window.moc"
