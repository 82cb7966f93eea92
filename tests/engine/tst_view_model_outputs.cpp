// Pins, exports and the history commands on the view model, against the reference backend with
// saved sessions, exports and Downloads in temporary directories.
#include "EngineHarness.h"

#include "backend/STTAPIClient.h"
#include "backend/STTSessionCreateRequest.h"
#include "engine/export/SubtitleFormats.h"
#include "engine/export/TranscriptFormats.h"
#include "storage/SessionHistoryStore.h"
#include "support/AwaitTask.h"
#include "text/UiText.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>

#include <ctime>

using namespace vesnara;
using namespace vesnara::test;
using refbackend::HttpFault;
using refbackend::ScriptedEvent;

namespace {

constexpr double kMorning = 1772615702.0; // 2026-03-04 09:15:02 UTC

Timestamp at(double offset) {
    return Timestamp::fromUnixSeconds(kMorning + offset);
}

TranscriptSegment line(const QString& text, double offset) {
    return {QUuid::createUuid(), text, at(offset), std::nullopt};
}

TranscriptPin pinAt(double offset, const QString& label, std::optional<QUuid> link = std::nullopt) {
    return {QUuid::createUuid(),          at(offset), at(offset + 1.0), label, QString(),
            TranscriptPinKind::important, link};
}

/// A saved session with two lines (stored out of time order) and two pins: one near the
/// second line, one far from every line with a link of its own.
SavedSession storedSession(const QString& id, std::optional<QUuid> farLink = std::nullopt) {
    SavedSession session;
    session.id = id;
    session.createdAt = at(-60.0);
    session.endedAt = at(120.0);
    session.language = u"sv"_s;
    session.sttModel = u"malli-b"_s;
    session.segments = {line(u"Toinen"_s, 20.0), line(u"Ensimmäinen"_s, 0.0)};
    session.pins = {pinAt(500.0, u"Kaukana"_s, farLink), pinAt(21.0, u"Lähellä"_s)};
    return session;
}

QByteArray fileBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// Records from the microphone until the server has said one line; gives the session id.
QString recordOneLine(EngineHarness& h) {
    // Said now, so that a pin added now links to it.
    h.backend().setScript(
        {ScriptedEvent::afterFrames(2, finalEvent(u"Rivi"_s, Timestamp::now().toIso8601()))});
    if (!h.startRecordingIn(AudioInputMode::microphone))
        return {};
    h.microphoneBackend.play(toneBuffers(3, 0.5f));
    if (!QTest::qWaitFor([&] { return h.viewModel->transcript()->segmentCount() == 1; },
                         kEngineWaitMs))
        return {};
    return h.viewModel->sessionId();
}

QString idOf(const TranscriptPin& pin) {
    return pin.id.toString(QUuid::WithoutBraces).toUpper();
}

/// Saves `session`, makes the view model and opens the session on screen.
TranscriptionViewModel& openSaved(EngineHarness& h, const SavedSession& session) {
    SessionHistoryStore(h.historyDirectory.path()).save(session);
    auto& vm = h.make();
    vm.history()->loadSession(session.id);
    return vm;
}

} // namespace

class TstViewModelOutputs : public QObject {
    Q_OBJECT

public:
    TstViewModelOutputs() {
        qputenv("TZ", "Europe/Helsinki");
        tzset();
    }

private Q_SLOTS:
    void pinsAreAddedOnlyWhileRecording();
    void aSecondSelectionKeepsTheLightForItsOwnPeriod();
    void renamingThroughThePrompt();
    void aLoadedSessionIsShownSortedAndLinkedInMemory();
    void pinChangesInALoadedSessionRewriteItsFile();
    void saveWritesTheTextFormattedBeforeThePanel();
    void aWriteThatFailsKeepsTheOldFile();
    void subtitlesAreSavedAndAutoExported_data();
    void subtitlesAreSavedAndAutoExported();
    void autoExportAfterAStop();
    void clipboardAndClear();
    void deletingOneSessionKeepsTheScreen();
    void deleteAllCountsTheServersRefusals();
};

void TstViewModelOutputs::pinsAreAddedOnlyWhileRecording() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    SessionTranscript& transcript = *vm.transcript();
    transcript.addPin(TranscriptPinKind::important, u"Ei nyt"_s, {});
    QCOMPARE(transcript.pinCount(), 0);

    QVERIFY(!recordOneLine(h).isEmpty());
    transcript.addPin(TranscriptPinKind::topicChange, u" \n "_s, u"  muistiinpano \t"_s);
    QCOMPARE(transcript.pinCount(), 1);
    const TranscriptPin added = transcript.pins().first();
    QCOMPARE(added.label, UiText::pinKindTopicChange);
    QCOMPARE(added.note, u"muistiinpano"_s);
    QCOMPARE(added.linkedSegmentId, transcript.segments().first().id);
    QVERIFY(added.createdAt >= added.timestamp);
    QCOMPARE(vm.status()->statusText(), UiText::statusPinAdded(UiText::pinKindTopicChange));
    QCOMPARE(transcript.selectedPinId(), added.id);
    QCOMPARE(transcript.highlightedPinId(), added.id);
    // The pin lights its line at once.
    QCOMPARE(transcript.segmentModel()->highlightedSegmentIds(),
             QSet<QUuid>{transcript.segments().first().id});

    vm.pauseRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.isPaused(), kEngineWaitMs);
    transcript.addRevisitPin();
    QCOMPARE(transcript.pinCount(), 2);
    QCOMPARE(transcript.pins().last().label, UiText::pinKindRevisit);

    vm.stopRecording();
    // The finishing stop still saves what the screen shows: it is neither cleared nor replaced.
    QCOMPARE(vm.runState(), RecordingRunState::finishing);
    transcript.clearTranscript();
    QCOMPARE(transcript.pinCount(), 2);
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
    transcript.addRevisitPin();
    QCOMPARE(transcript.pinCount(), 2);
    // The stop saved both pins with the session.
    const auto saved = SessionHistoryStore(h.historyDirectory.path()).load(vm.sessionId());
    QVERIFY(saved.has_value());
    QCOMPARE(saved->pins.size(), 2);
}

void TstViewModelOutputs::aSecondSelectionKeepsTheLightForItsOwnPeriod() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.timing.pinHighlightDuration = 400ms;
    auto& vm = openSaved(h, storedSession(u"valo"_s));
    SessionTranscript& transcript = *vm.transcript();
    const TranscriptPin a = transcript.pinsSortedByTimestamp().at(0);
    const TranscriptPin b = transcript.pinsSortedByTimestamp().at(1);

    QElapsedTimer clock;
    clock.start();
    transcript.selectPin(idOf(a));
    QCOMPARE(transcript.highlightedPinId(), a.id);
    QVERIFY(QTest::qWaitFor([&] { return clock.elapsed() >= 200; }, kEngineWaitMs));
    QCOMPARE(transcript.highlightedPinId(), a.id);
    const qint64 bSelectedAt = clock.elapsed();
    transcript.selectPin(idOf(b));
    QCOMPARE(transcript.highlightedPinId(), b.id);

    QTRY_VERIFY_WITH_TIMEOUT(!transcript.highlightedPinId().has_value(), kEngineWaitMs);
    // Out only after B's whole period (timers may fire a little early), well after A's.
    QVERIFY2(clock.elapsed() >= bSelectedAt + 360, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(transcript.selectedPinId(), b.id);
    // The selection alone still lights B's lines.
    QVERIFY(!transcript.segmentModel()->highlightedSegmentIds().isEmpty());

    // A blank new name changes nothing and lights nothing again.
    const qsizetype statuses = h.statuses.size();
    transcript.renamePin(idOf(b), u"  \n"_s);
    QCOMPARE(transcript.pin(b.id)->label, b.label);
    QVERIFY(!transcript.highlightedPinId().has_value());
    QCOMPARE(h.statuses.size(), statuses);
    // Unknown ids are silent too.
    transcript.selectPin(u"ei-tunniste"_s);
    transcript.renamePin(QUuid::createUuid(), u"Nimi"_s);
    QCOMPARE(transcript.selectedPinId(), b.id);
    QCOMPARE(h.statuses.size(), statuses);
}

void TstViewModelOutputs::renamingThroughThePrompt() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = openSaved(h, storedSession(u"nimeys"_s));
    SessionTranscript& transcript = *vm.transcript();
    const TranscriptPin pin = transcript.pinsSortedByTimestamp().at(0);

    h.dialogs.promptAnswers = {u"  Uusi nimi "_s, std::nullopt, u"Liian myöhään"_s};
    transcript.promptRenamePin(idOf(pin));
    QTRY_COMPARE_WITH_TIMEOUT(h.dialogs.answered, 1, kEngineWaitMs);
    QCOMPARE(h.dialogs.prompts.first().title, UiText::promptRenamePinTitle);
    QCOMPARE(h.dialogs.prompts.first().initial, pin.label);
    QCOMPARE(h.dialogs.prompts.first().placeholder, UiText::pinKindImportant);
    QCOMPARE(transcript.pin(pin.id)->label, u"Uusi nimi"_s);
    QCOMPARE(vm.status()->statusText(), UiText::statusPinRenamed(u"Uusi nimi"_s));
    QCOMPARE(transcript.highlightedPinId(), pin.id);

    // Cancelled: nothing changes.
    transcript.promptRenamePin(idOf(pin));
    QTRY_COMPARE_WITH_TIMEOUT(h.dialogs.answered, 2, kEngineWaitMs);
    QCOMPARE(transcript.pin(pin.id)->label, u"Uusi nimi"_s);

    // The pin goes while the prompt is open: the answer finds nothing to rename.
    transcript.promptRenamePin(idOf(pin));
    transcript.deletePin(idOf(pin));
    QTRY_COMPARE_WITH_TIMEOUT(h.dialogs.answered, 3, kEngineWaitMs);
    QCOMPARE(transcript.pin(pin.id), nullptr);
    QCOMPARE(vm.status()->statusText(), UiText::statusPinDeleted);
}

void TstViewModelOutputs::aLoadedSessionIsShownSortedAndLinkedInMemory() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    const QUuid oldLink = QUuid::createUuid();
    const SavedSession session = storedSession(u"ladattava"_s, oldLink);
    SessionHistoryStore store(h.historyDirectory.path());
    store.save(session);
    const QString path = store.filePathFor(session.id).value();
    const QByteArray bytesBefore = fileBytes(path);
    auto& vm = h.make();
    QCOMPARE(vm.history()->sessionHistory().size(), 1);

    // Nothing selected, or a selection whose file does not read: nothing opens.
    vm.history()->loadSelectedSession();
    QCOMPARE(vm.transcript()->segmentCount(), 0);
    vm.history()->loadSession(u"puuttuu"_s);
    QCOMPARE(vm.transcript()->segmentCount(), 0);
    QVERIFY(vm.sessionId().isEmpty());

    vm.history()->loadSession(session.id);
    SessionTranscript& transcript = *vm.transcript();
    QCOMPARE(vm.sessionId(), session.id);
    QCOMPARE(vm.settings()->language(), u"sv"_s);
    QCOMPARE(vm.settings()->sttModel(), u"malli-b"_s);
    QCOMPARE(vm.status()->statusText(), UiText::statusSessionLoaded);
    QCOMPARE(textsOf(transcript.segments()), (QStringList{u"Ensimmäinen"_s, u"Toinen"_s}));
    const QList<TranscriptPin>& pins = transcript.pinsSortedByTimestamp();
    QCOMPARE(pins.at(0).label, u"Lähellä"_s);
    QCOMPARE(pins.at(0).linkedSegmentId, transcript.segments().at(1).id);
    // Far from every line: the old link stays, while the screen still scrolls to the nearest.
    QCOMPARE(pins.at(1).linkedSegmentId, oldLink);
    QCOMPARE(transcript.nearestSegmentIdForPin(idOf(pins.at(1))),
             transcript.segments().at(1).id.toString(QUuid::WithoutBraces));
    QVERIFY(!transcript.selectedPinId().has_value());
    QVERIFY(vm.canSave());
    // Linked in memory only.
    QCOMPARE(fileBytes(path), bytesBefore);

    // A selection whose file has gone is dropped by the next refresh; the screen stays.
    QVERIFY(QFile::remove(path));
    vm.history()->refreshSessionHistory();
    QVERIFY(vm.history()->selectedSessionHistoryId().isEmpty());
    QCOMPARE(transcript.segmentCount(), 2);
}

void TstViewModelOutputs::pinChangesInALoadedSessionRewriteItsFile() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    const SavedSession session = storedSession(u"kirjoitettava"_s);
    auto& vm = openSaved(h, session);
    const SessionHistoryStore store(h.historyDirectory.path());
    SessionTranscript& transcript = *vm.transcript();
    const TranscriptPin far = transcript.pinsSortedByTimestamp().at(1);
    const TranscriptPin near = transcript.pinsSortedByTimestamp().at(0);

    transcript.deletePin(idOf(far));
    QCOMPARE(vm.status()->statusText(), UiText::statusPinDeleted);
    auto saved = store.load(session.id);
    QVERIFY(saved.has_value());
    QCOMPARE(saved->id, session.id);
    QCOMPARE(saved->createdAt, session.createdAt);
    QCOMPARE(saved->endedAt, session.endedAt);
    QCOMPARE(saved->pins.size(), 1);
    QCOMPARE(saved->pins.first().id, near.id);
    QCOMPARE(saved->segments, transcript.segments());

    transcript.renamePin(idOf(near), u"Uusi"_s);
    saved = store.load(session.id);
    QCOMPARE(saved->pins.first().label, u"Uusi"_s);

    // The file has gone: the change stays on screen, nothing is written, no error shows.
    QVERIFY(QFile::remove(store.filePathFor(session.id).value()));
    transcript.renamePin(idOf(near), u"Vielä uudempi"_s);
    QCOMPARE(transcript.pin(near.id)->label, u"Vielä uudempi"_s);
    QCOMPARE(vm.status()->statusText(), UiText::statusPinRenamed(u"Vielä uudempi"_s));
    QVERIFY(!store.load(session.id).has_value());
    QVERIFY(vm.status()->diagnosticHint().isEmpty());
}

void TstViewModelOutputs::saveWritesTheTextFormattedBeforeThePanel() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    const SavedSession session = storedSession(u"tallennus"_s);
    SessionHistoryStore(h.historyDirectory.path()).save(session);
    QTemporaryDir target;
    h.filePanels.saveDirectory = target.path();
    auto& vm = h.make();
    // Nothing to save: no panel.
    vm.transcript()->saveTranscript();
    QCOMPARE(h.filePanels.proposedNames.size(), 0);

    vm.history()->loadSession(session.id);
    vm.settings()->setExportFormat(TranscriptExportFormat::csv);
    const QString expected = formatCSV(vm.transcript()->segments(), vm.transcript()->pins());
    vm.transcript()->saveTranscript();
    // What is on screen changes while the panel is open; the file has what was there.
    vm.transcript()->clearTranscript();
    QTRY_COMPARE_WITH_TIMEOUT(h.filePanels.answered, 1, kEngineWaitMs);
    QCOMPARE(h.filePanels.proposedNames, QStringList{u"tallennus.csv"_s});
    QCOMPARE(h.filePanels.filters, QStringList{u"CSV (*.csv)"_s});
    const QByteArray written = fileBytes(QDir(target.path()).filePath(u"tallennus.csv"_s));
    QCOMPARE(written, expected.toUtf8());
    QVERIFY(!written.startsWith("\xEF\xBB\xBF"));
    QCOMPARE(vm.status()->statusText(), UiText::statusTranscriptSaved(u"tallennus.csv"_s));

    // A cancelled panel writes nothing and says nothing.
    vm.history()->loadSession(session.id);
    h.filePanels.saveDirectory.reset();
    vm.transcript()->saveTranscript();
    QTRY_COMPARE_WITH_TIMEOUT(h.filePanels.answered, 2, kEngineWaitMs);
    QCOMPARE(vm.status()->statusText(), UiText::statusSessionLoaded);
}

void TstViewModelOutputs::aWriteThatFailsKeepsTheOldFile() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    QTemporaryDir target;
    // The longest name a file may have: an atomic write has no room for its temporary file
    // beside it, whoever runs the test.
    const QString path = QDir(target.path()).filePath(QString(255, u'a'));
    QVERIFY(writeBytes(path, "vanha sisältö"));
    h.filePanels.answers = {path};
    auto& vm = openSaved(h, storedSession(u"epaonnistuu"_s));
    vm.transcript()->saveTranscript();
    QTRY_COMPARE_WITH_TIMEOUT(h.filePanels.answered, 1, kEngineWaitMs);
    QCOMPARE(vm.status()->statusText(), UiText::statusTranscriptSaveFailed);
    QCOMPARE(fileBytes(path), QByteArray("vanha sisältö"));
    QCOMPARE(QDir(target.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    QCOMPARE(vm.transcript()->segmentCount(), 2);
}

void TstViewModelOutputs::subtitlesAreSavedAndAutoExported_data() {
    QTest::addColumn<TranscriptExportFormat>("format");
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("filter");
    QTest::newRow("SubRip") << TranscriptExportFormat::srt << u"srt"_s
                            << u"SRT-tekstitys (*.srt)"_s;
    QTest::newRow("WebVTT") << TranscriptExportFormat::vtt << u"vtt"_s
                            << u"WebVTT-tekstitys (*.vtt)"_s;
}

// The subtitle formats go wherever the format setting is used: the panel's name and filter,
// the saved file, and the automatic export after a stop.
void TstViewModelOutputs::subtitlesAreSavedAndAutoExported() {
    QFETCH(TranscriptExportFormat, format);
    QFETCH(QString, extension);
    QFETCH(QString, filter);
    EngineHarness h;
    QVERIFY(h.server.isListening());
    QTemporaryDir target;
    h.filePanels.saveDirectory = target.path();
    auto& vm = openSaved(h, storedSession(u"tekstitys"_s));
    vm.settings()->setExportFormat(format);
    const QString expected =
        format == TranscriptExportFormat::srt
            ? formatSRT(vm.transcript()->segments(), vm.transcript()->pins())
            : formatWebVTT(vm.transcript()->segments(), vm.transcript()->pins());
    QVERIFY(expected.contains(u"Ensimmäinen"_s));
    vm.transcript()->saveTranscript();
    QTRY_COMPARE_WITH_TIMEOUT(h.filePanels.answered, 1, kEngineWaitMs);
    const QString fileName = u"tekstitys."_s + extension;
    QCOMPARE(h.filePanels.proposedNames, QStringList{fileName});
    QCOMPARE(h.filePanels.filters, QStringList{filter});
    QCOMPARE(fileBytes(QDir(target.path()).filePath(fileName)), expected.toUtf8());

    vm.settings()->setAutoExportEnabled(true);
    vm.transcript()->autoExportAfterStopIfEnabled();
    const QStringList files = QDir(h.downloads.path()).entryList(QDir::Files);
    QCOMPARE(files.size(), 1);
    QVERIFY2(files.first().endsWith(u'.' + extension), qPrintable(files.first()));
    QCOMPARE(fileBytes(QDir(h.downloads.path()).filePath(files.first())), expected.toUtf8());
}

void TstViewModelOutputs::autoExportAfterAStop() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    const QDir downloads(h.downloads.path());
    // Enabled with an empty transcript: no file and no text.
    vm.settings()->setAutoExportEnabled(true);
    const qsizetype statuses = h.statuses.size();
    vm.transcript()->autoExportAfterStopIfEnabled();
    QCOMPARE(downloads.entryList(QDir::Files).size(), 0);
    QCOMPARE(h.statuses.size(), statuses);

    vm.settings()->setExportFormat(TranscriptExportFormat::json);
    const QString id = recordOneLine(h);
    QVERIFY(!id.isEmpty());
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
    const QStringList files = downloads.entryList(QDir::Files);
    QCOMPARE(files.size(), 1);
    QVERIFY2(
        QRegularExpression(u"^"_s + QRegularExpression::escape(id) + u"-\\d{8}-\\d{6}\\.json$"_s)
            .match(files.first())
            .hasMatch(),
        qPrintable(files.first()));
    QVERIFY(h.statuses.contains(UiText::statusAutoExported(files.first())));
    QCOMPARE(fileBytes(downloads.filePath(files.first())),
             formatJSON(vm.transcript()->exportInput()).toUtf8());
}

void TstViewModelOutputs::clipboardAndClear() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    const SavedSession session = storedSession(u" leike "_s);
    SessionHistoryStore store(h.historyDirectory.path());
    store.save(session);
    SavedSession pinsOnly = storedSession(u"pinnit"_s);
    pinsOnly.segments.clear();
    store.save(pinsOnly);
    auto& vm = h.make();
    SessionTranscript& transcript = *vm.transcript();
    transcript.copySessionIdToClipboard();
    QVERIFY(!h.clipboard.content.has_value());

    // Pins alone can be saved but not copied.
    vm.history()->loadSession(pinsOnly.id);
    QVERIFY(vm.canSave());
    transcript.copyTranscriptToClipboard();
    QVERIFY(!h.clipboard.content.has_value());

    vm.history()->loadSession(session.id);
    transcript.copyTranscriptToClipboard();
    QCOMPARE(h.clipboard.content, transcript.transcriptText());
    QCOMPARE(vm.status()->statusText(), UiText::statusCopiedToClipboard);
    transcript.copySessionIdToClipboard();
    QCOMPARE(h.clipboard.content, u"leike"_s);
    QCOMPARE(vm.status()->statusText(), UiText::statusSessionIdCopied);

    transcript.selectPin(idOf(transcript.pins().first()));
    transcript.setInterimText(u"kesken"_s);
    vm.status()->setDiagnosticHint(u"vihje"_s);
    transcript.clearTranscript();
    QCOMPARE(transcript.segmentCount(), 0);
    QCOMPARE(transcript.pinCount(), 0);
    QVERIFY(transcript.interimText().isEmpty());
    QVERIFY(!transcript.selectedPinId().has_value());
    QVERIFY(!transcript.highlightedPinId().has_value());
    QVERIFY(transcript.lines().knownSegmentKeys().isEmpty());
    QVERIFY(vm.sessionId().isEmpty());
    QVERIFY(vm.status()->diagnosticHint().isEmpty());
    QCOMPARE(vm.status()->statusText(), UiText::statusTranscriptCleared);
    QVERIFY(!vm.canSave());
    // Files and the history stay.
    QCOMPARE(vm.history()->sessionHistory().size(), 2);
    QVERIFY(store.load(session.id).has_value());
}

void TstViewModelOutputs::deletingOneSessionKeepsTheScreen() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    SessionHistoryStore store(h.historyDirectory.path());
    store.save(storedSession(u"vain-paikallinen"_s));
    auto& vm = h.make();
    vm.history()->loadSession(u"vain-paikallinen"_s);

    // The server knows no such session: deleted here all the same.
    vm.history()->deleteSession(u"vain-paikallinen"_s);
    QCOMPARE(vm.status()->statusText(), UiText::statusDeletingSession);
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusSessionDeletedLocally,
                              kEngineWaitMs);
    QVERIFY(!store.load(u"vain-paikallinen"_s).has_value());
    QVERIFY(vm.history()->selectedSessionHistoryId().isEmpty());
    QVERIFY(vm.history()->sessionHistory().isEmpty());
    QCOMPARE(vm.transcript()->segmentCount(), 2);
    QCOMPARE(vm.sessionId(), u"vain-paikallinen"_s);
    QCOMPARE(h.requestCount(u"/v1/sessions/vain-paikallinen"_s), 1);
}

void TstViewModelOutputs::deleteAllCountsTheServersRefusals() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    STTAPIClient api(h.transport, h.timing);
    SessionHistoryStore store(h.historyDirectory.path());
    QStringList ids;
    for (int i = 0; i < 3; ++i) {
        const auto created =
            awaitTask(api.createSession(h.server.config(), {u"fi-FI"_s, u"chirp_3"_s}));
        QVERIFY(created.value.has_value());
        ids << created.value->sessionId;
        store.save(storedSession(ids.last()));
    }
    auto& vm = h.make();
    QCOMPARE(vm.history()->sessionHistory().size(), 3);
    vm.history()->setSelectedSessionHistoryId(ids.at(1));
    for (const QString& refused : {ids.at(0), ids.at(2)})
        h.backend().faults().httpFaults.push_back(
            {HttpFault::Kind::respond, 500, {}, 0ms, u"/v1/sessions/"_s + refused});

    vm.history()->deleteAllSessions();
    QCOMPARE(vm.status()->statusText(), UiText::statusDeletingAllSessions);
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(),
                              u"Kaikki sessiot poistettu paikallisesti (2 palvelinpoistoa "
                              u"epäonnistui)"_s,
                              kEngineWaitMs);
    QVERIFY(vm.history()->sessionHistory().isEmpty());
    QVERIFY(vm.history()->selectedSessionHistoryId().isEmpty());
    QCOMPARE(QDir(h.historyDirectory.path()).entryList(QDir::Files).size(), 0);
    QVERIFY(h.session(ids.at(0)).has_value());
    QVERIFY(!h.session(ids.at(1)).has_value());
    QVERIFY(h.session(ids.at(2)).has_value());

    // An empty history asks the server nothing.
    const qsizetype requests = h.server->requests().size();
    vm.history()->deleteAllSessions();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusAllSessionsDeleted,
                              kEngineWaitMs);
    QCOMPARE(h.server->requests().size(), requests);
}

QTEST_GUILESS_MAIN(TstViewModelOutputs)
#include "tst_view_model_outputs.moc"
