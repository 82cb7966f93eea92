// Crash recovery through the view model against the in-process backend: what the startup run
// and the button save, skip, report and open; the checkpoint written while recording, removed
// by the stops and restored at the next start.
#include "EngineHarness.h"

#include "backend/STTAPIClient.h"
#include "backend/STTSessionCreateRequest.h"
#include "storage/AppLog.h"
#include "storage/CheckpointStore.h"
#include "storage/SessionHistoryStore.h"
#include "support/AwaitTask.h"
#include "text/UiText.h"

#include <QDir>
#include <QFile>

using namespace vesnara;
using namespace vesnara::test;
using refbackend::HttpFault;
using refbackend::ScriptedEvent;

namespace {

// 2026-01-02T10:00:00Z
constexpr double kT0 = 1767348000.0;

QString at(int second) {
    return Timestamp::fromUnixSeconds(kT0 + second).toIso8601();
}

/// A session on the server holding `lines`, a second apart; stopped unless told otherwise.
QString serverSession(EngineHarness& h, const QStringList& lines, bool stopped = true) {
    STTAPIClient client(h.transport, h.timing);
    const auto created =
        awaitTask(client.createSession(h.server.config(), {u"fi-FI"_s, u"chirp_3"_s}));
    if (!created.value)
        return {};
    const QString id = created.value->sessionId;
    for (int i = 0; i < lines.size(); ++i)
        h.backend().sendStreamEvent(id, finalEvent(lines[i], at(i)));
    if (stopped)
        h.backend().endSession(id);
    return id;
}

/// A saved session of this machine with one line.
SavedSession localSession(const QString& id) {
    const Timestamp time = Timestamp::fromUnixSeconds(kT0);
    return {id,         time,         time,
            u"fi-FI"_s, u"chirp_3"_s, {{QUuid::createUuid(), u"Jo tallessa"_s, time, std::nullopt}},
            {}};
}

HttpFault refusal(const QString& path, int status = 503) {
    return {
        HttpFault::Kind::respond, status, "{\"error\":\"Palvelu ei ole käytettävissä\"}", {}, path};
}

bool savedFileExists(EngineHarness& h, const QString& id) {
    return QFileInfo::exists(QDir(h.historyDirectory.path()).filePath(id + u".json"_s));
}

/// Waits until a run has taken and given back the lock.
bool waitForRunEnd(QSignalSpy& running) {
    return QTest::qWaitFor([&running] { return running.size() >= 2; }, kEngineWaitMs);
}

QString log() {
    return AppLog::snapshot(1 << 20);
}

/// How often the list of sessions was asked for.
int listings(EngineHarness& h) {
    int count = 0;
    for (const auto& request : h.server->requests()) {
        if (request.path == u"/v1/sessions"_s && request.method == "GET")
            ++count;
    }
    return count;
}

} // namespace

class TstViewModelCrashRecovery : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_directory.emplace();
        AppLog::setLogFilePath(m_directory->filePath(u"test.log"_s));
    }
    void cleanup() {
        AppLog::setLogFilePath(AppLog::defaultLogPath());
        m_directory.reset();
    }

    // Known sessions cost no request and blank ones write no file; neither counts toward the six.
    void theStartupRunSavesSixSkippingKnownAndBlankSessions() {
        EngineHarness h;
        QVERIFY(h.server.isListening());
        QStringList withLines;
        for (int i = 1; i <= 7; ++i)
            withLines << serverSession(h, {u"Rivi %1"_s.arg(i), u"Toinen"_s});
        const QString blank = serverSession(h, {u"  "_s, u"\n"_s});
        const QString known = serverSession(h, {u"Tunnettu"_s});
        const QString active = serverSession(h, {u"Käynnissä"_s}, false);
        SessionHistoryStore(h.historyDirectory.path()).save(localSession(known));

        auto& vm = h.make();
        QSignalSpy running(vm.support(), &SupportTools::isCrashRecoveryRunningChanged);
        vm.support()->runStartupCrashRecoveryIfNeeded();
        QVERIFY(waitForRunEnd(running));
        QTRY_COMPARE(h.statuses, QStringList{UiText::recoveryStartupRestored(6)});

        // Newest first: the oldest one is left over once six are saved.
        for (int i = 1; i < 7; ++i)
            QVERIFY2(savedFileExists(h, withLines[i]), qPrintable(withLines[i]));
        QVERIFY(!savedFileExists(h, withLines[0]));
        QVERIFY(!savedFileExists(h, blank));
        QVERIFY(!savedFileExists(h, active));
        QCOMPARE(h.requestCount(known + u"/transcript"_s), 0);
        QCOMPARE(h.requestCount(withLines[0] + u"/transcript"_s), 0);
        QCOMPARE(vm.history()->sessionHistory().size(), qsizetype(7));
        QCOMPARE(vm.history()->store().load(known)->segments.first().text, u"Jo tallessa"_s);

        const auto recovered = vm.history()->store().load(withLines[6]);
        QVERIFY(recovered);
        QCOMPARE(textsOf(recovered->segments), (QStringList{u"Rivi 7"_s, u"Toinen"_s}));
        QCOMPARE(recovered->segments.first().timestamp, Timestamp::fromUnixSeconds(kT0));
        QCOMPARE(recovered->language, u"fi-FI"_s);

        const auto listingQueries = [&h] {
            QList<QUrlQuery> queries;
            for (const auto& request : h.server->requests()) {
                if (request.path == u"/v1/sessions"_s && request.method == "GET")
                    queries << request.query;
            }
            return queries;
        };
        QCOMPARE(listingQueries().size(), 1);
        QCOMPARE(listingQueries().first().queryItemValue(u"status"_s), u"stopped"_s);
        QCOMPARE(listingQueries().first().queryItemValue(u"limit"_s), u"12"_s);

        // Once per process, whatever came of it.
        vm.support()->runStartupCrashRecoveryIfNeeded();
        QCOMPARE(running.size(), 2);
        QCOMPARE(listingQueries().size(), 1);
    }

    void theListingIsAskedForWithinItsBounds_data() {
        QTest::addColumn<int>("fetchLimit");
        QTest::addColumn<QString>("asked");
        QTest::newRow("the button's 20") << 20 << u"20"_s;
        QTest::newRow("300 asks for 100") << 300 << u"100"_s;
        QTest::newRow("0 asks for 1") << 0 << u"1"_s;
    }
    void theListingIsAskedForWithinItsBounds() {
        QFETCH(int, fetchLimit);
        QFETCH(QString, asked);
        EngineHarness h;
        auto& vm = h.make();
        const auto outcome =
            awaitTask(vm.support()->recoverStoppedSessionsFromServer(fetchLimit, 1, true));
        QVERIFY(outcome.value);
        QCOMPARE(h.server->requests().last().path, u"/v1/sessions"_s);
        QCOMPARE(h.server->requests().last().query.queryItemValue(u"limit"_s), asked);
    }

    void aFailingSessionIsLoggedAndTheRunGoesOn() {
        EngineHarness h;
        const QString first = serverSession(h, {u"Yksi"_s});
        const QString refused = serverSession(h, {u"Kaksi"_s});
        const QString unwritable = serverSession(h, {u"Kolme"_s});
        const QString last = serverSession(h, {u"Neljä"_s});
        h.backend().faults().httpFaults.push_back(refusal(refused + u"/transcript"_s, 500));
        // A directory where the file should go: the save fails.
        QVERIFY(QDir(h.historyDirectory.path()).mkdir(unwritable + u".json"_s));

        auto& vm = h.make();
        QSignalSpy running(vm.support(), &SupportTools::isCrashRecoveryRunningChanged);
        vm.support()->runStartupCrashRecoveryIfNeeded();
        QVERIFY(waitForRunEnd(running));
        QTRY_COMPARE(h.statuses, QStringList{UiText::recoveryStartupRestored(2)});
        QVERIFY(savedFileExists(h, first));
        QVERIFY(savedFileExists(h, last));
        QVERIFY(!vm.history()->store().load(refused));
        QTRY_VERIFY(log().contains(
            u"crash recovery transcript fetch failed session=%1 error="_s.arg(refused)));
        QVERIFY(log().contains(u"crash recovery save failed session=%1 error="_s.arg(unwritable)));
    }

    void aRefusedListingEndsTheRun_data() {
        QTest::addColumn<bool>("startupMode");
        QTest::newRow("at startup: silent") << true;
        QTest::newRow("by the button: said") << false;
    }
    void aRefusedListingEndsTheRun() {
        QFETCH(bool, startupMode);
        EngineHarness h;
        const QString waiting = serverSession(h, {u"Odottaa"_s});
        h.backend().faults().httpFaults.push_back(refusal(u"/v1/sessions"_s));
        auto& vm = h.make();
        QSignalSpy running(vm.support(), &SupportTools::isCrashRecoveryRunningChanged);
        if (startupMode)
            vm.support()->runStartupCrashRecoveryIfNeeded();
        else
            vm.support()->restoreLatestCrashedSessionFromDiagnostics();
        QVERIFY(waitForRunEnd(running));
        QVERIFY(!vm.support()->isCrashRecoveryRunning());
        if (startupMode) {
            QVERIFY(h.statuses.isEmpty());
        } else {
            QCOMPARE(h.statuses.size(), 2);
            QCOMPARE(h.statuses[0], UiText::recoveryRunning);
            QVERIFY2(h.statuses[1].startsWith(UiText::recoveryFailed({})),
                     qPrintable(h.statuses[1]));
            QVERIFY(h.statuses[1].size() > UiText::recoveryFailed({}).size());
        }
        QVERIFY(!savedFileExists(h, waiting));
        QTRY_VERIFY(log().contains(u"crash recovery failed error="_s));
    }

    void theButtonSavesAndOpensTheLatestOnly() {
        EngineHarness h;
        const QString older = serverSession(h, {u"Vanhempi"_s});
        const QString latest = serverSession(h, {u"Uusin"_s});
        auto& vm = h.make();
        QSignalSpy running(vm.support(), &SupportTools::isCrashRecoveryRunningChanged);
        const auto press = [&] {
            running.clear();
            h.statuses.clear();
            vm.support()->restoreLatestCrashedSessionFromDiagnostics();
            return waitForRunEnd(running);
        };
        // The restored session is opened through the history, as a click on it would.
        const auto shown = [&](const QString& id, const QString& line) {
            return vm.sessionId() == id && vm.history()->selectedSessionHistoryId() == id &&
                   vm.transcript()->transcriptText().endsWith(line);
        };
        QVERIFY(press());
        QCOMPARE(h.statuses, (QStringList{UiText::recoveryRunning, UiText::statusSessionLoaded,
                                          UiText::recoveryRestored(latest)}));
        QVERIFY(shown(latest, u"Uusin"_s));
        QVERIFY(!savedFileExists(h, older));
        QCOMPARE(vm.history()->sessionHistory().size(), qsizetype(1));

        // Again: the latest is known, so the next one down is saved and opened.
        QVERIFY(press());
        QCOMPARE(h.statuses.last(), UiText::recoveryRestored(older));
        QVERIFY(shown(older, u"Vanhempi"_s));

        // Both known: nothing is fetched and the latest opens from the disk.
        const int transcripts = h.requestCount(u"/transcript"_s);
        QVERIFY(press());
        QCOMPARE(h.statuses, (QStringList{UiText::recoveryRunning, UiText::statusSessionLoaded,
                                          UiText::recoveryAlreadyInHistory(latest)}));
        QVERIFY(shown(latest, u"Uusin"_s));
        QCOMPARE(h.requestCount(u"/transcript"_s), transcripts);
    }

    void theButtonFindsNothing() {
        EngineHarness h;
        auto& vm = h.make();
        bool opened = false;
        vm.support()->setSavedSessionOpener([&opened](const QString&) { opened = true; });
        QSignalSpy running(vm.support(), &SupportTools::isCrashRecoveryRunningChanged);
        vm.support()->restoreLatestCrashedSessionFromDiagnostics();
        QVERIFY(waitForRunEnd(running));
        QCOMPARE(h.statuses, (QStringList{UiText::recoveryRunning, UiText::recoveryNothingFound}));
        QVERIFY(!opened);
    }

    // Ids the server makes up never become paths, and a blank one is no id at all.
    void unsafeServerIdsAreLoggedAndSkipped() {
        EngineHarness h;
        h.backend().faults().httpFaults.push_back(
            {HttpFault::Kind::respond,
             200,
             R"({"items":[{"id":"../../ulos","status":"stopped"},{"id":"  "},{"id":".piilossa"},{}]})",
             {},
             u"/v1/sessions"_s});
        auto& vm = h.make();
        QSignalSpy running(vm.support(), &SupportTools::isCrashRecoveryRunningChanged);
        vm.support()->restoreLatestCrashedSessionFromDiagnostics();
        QVERIFY(waitForRunEnd(running));
        QCOMPARE(h.statuses.last(), UiText::recoveryNothingFound);
        QCOMPARE(h.requestCount(u"/transcript"_s), 0);
        QVERIFY(QDir(h.historyDirectory.path())
                    .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                    .isEmpty());
        QTRY_VERIFY(log().contains(u"crash recovery skipped unsafe id session=..%2F..%2Fulos"_s));
        QVERIFY(log().contains(u"crash recovery skipped unsafe id session=.piilossa"_s));
    }

    void theButtonWaitsItsTurn_data() {
        QTest::addColumn<QString>("obstacle");
        QTest::newRow("a recording") << u"recording"_s;
        QTest::newRow("no login") << u"login"_s;
        QTest::newRow("the startup run") << u"startup"_s;
    }
    void theButtonWaitsItsTurn() {
        QFETCH(QString, obstacle);
        EngineHarness h;
        const QString waiting = serverSession(h, {u"Odottaa"_s});
        auto& vm = h.make();
        QString expected;
        if (obstacle == u"recording"_s) {
            QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
            expected = UiText::recoveryStopRecordingFirst;
        } else if (obstacle == u"login"_s) {
            vm.settings()->updateAuthContext({});
            expected = UiText::recoveryNeedsLogin;
        } else {
            h.backend().faults().httpFaults.push_back(
                {HttpFault::Kind::delay, 0, {}, 300ms, u"/v1/sessions"_s});
            vm.support()->runStartupCrashRecoveryIfNeeded();
            QVERIFY(vm.support()->isCrashRecoveryRunning());
        }
        h.statuses.clear();
        vm.support()->restoreLatestCrashedSessionFromDiagnostics();
        if (expected.isEmpty()) {
            QVERIFY(h.statuses.isEmpty());
            QTRY_VERIFY_WITH_TIMEOUT(!vm.support()->isCrashRecoveryRunning(), kEngineWaitMs);
            QCOMPARE(h.statuses, QStringList{UiText::recoveryStartupRestored(1)});
            QCOMPARE(listings(h), 1);
        } else {
            QCOMPARE(h.statuses, QStringList{expected});
            QVERIFY(!vm.support()->isCrashRecoveryRunning());
            QCOMPARE(listings(h), 0);
            QVERIFY(!savedFileExists(h, waiting));
        }
    }

    // While recording the lines go to a checkpoint that the history never lists; the stop's
    // saved session replaces it, and a save that fails leaves it for the next start.
    void theCheckpointFollowsTheRecordingUntilTheStop_data() {
        QTest::addColumn<bool>("saveFails");
        QTest::newRow("saved") << false;
        QTest::newRow("the save fails") << true;
    }
    void theCheckpointFollowsTheRecordingUntilTheStop() {
        QFETCH(bool, saveFails);
        EngineHarness h;
        h.timing.recordingCheckpointInterval = 10ms;
        auto& vm = h.make();
        CheckpointStore checkpoints(h.historyDirectory.path());
        h.backend().setScript({ScriptedEvent::afterFrames(2, finalEvent(u"Eka"_s, at(0))),
                               ScriptedEvent::afterFrames(4, finalEvent(u"Toka"_s, at(1)))});
        QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
        const QString id = vm.sessionId();
        h.microphoneBackend.play(toneBuffers(6, 0.5f));
        QTRY_VERIFY_WITH_TIMEOUT(vm.transcript()->segmentCount() == 2, kEngineWaitMs);
        const auto checkpointLines = [&] {
            const auto entries = checkpoints.entries();
            return entries.size() == 1 && entries.first().session
                       ? entries.first().session->segments.size()
                       : qsizetype(-1);
        };
        QTRY_COMPARE_WITH_TIMEOUT(checkpointLines(), qsizetype(2), kEngineWaitMs);
        QCOMPARE(checkpoints.entries().first().session->id, id);
        vm.history()->refreshSessionHistory();
        QVERIFY(vm.history()->sessionHistory().isEmpty());

        if (saveFails)
            QVERIFY(QDir(h.historyDirectory.path()).mkdir(id + u".json"_s));
        vm.stopRecording();
        QTRY_COMPARE_WITH_TIMEOUT(vm.runState(), RecordingRunState::idle, kEngineWaitMs);
        QCOMPARE(vm.history()->store().load(id).has_value(), !saveFails);
        QCOMPARE(checkpointLines(), saveFails ? qsizetype(2) : qsizetype(-1));
    }

    void aRemoteStopRemovesTheCheckpointOnceTheServerHasTheLines() {
        EngineHarness h;
        h.timing.recordingCheckpointInterval = 10ms;
        auto& vm = h.make();
        CheckpointStore checkpoints(h.historyDirectory.path());
        h.backend().setScript({ScriptedEvent::afterFrames(2, finalEvent(u"Eka"_s, at(0)))});
        QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
        const QString id = vm.sessionId();
        h.microphoneBackend.play(toneBuffers(3, 0.5f));
        QTRY_COMPARE_WITH_TIMEOUT(checkpoints.entries().size(), qsizetype(1), kEngineWaitMs);

        h.backend().endSession(id);
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(checkpoints.entries().isEmpty(), kEngineWaitMs);
        QVERIFY(!savedFileExists(h, id));
    }

    // What the server did not bring back comes from the checkpoints; what it did, or what the
    // history already has, is not saved twice.
    void theStartupRunRestoresLeftCheckpoints() {
        EngineHarness h;
        const QString fromServer = serverSession(h, {u"Palvelimelta"_s, u"Kokonaan"_s});
        CheckpointStore checkpoints(h.historyDirectory.path());
        SavedSession orphan = localSession(u"orpo"_s);
        orphan.segments.first().text = u"Vain täällä"_s;
        const Timestamp pinnedAt = Timestamp::fromUnixSeconds(kT0);
        orphan.pins = {{QUuid::createUuid(),
                        pinnedAt,
                        pinnedAt,
                        u"Pinni"_s,
                        {},
                        TranscriptPinKind::important,
                        std::nullopt}};
        checkpoints.write(orphan);
        SavedSession behind = localSession(fromServer);
        checkpoints.write(behind);
        checkpoints.write(localSession(u"tallessa"_s));
        SessionHistoryStore(h.historyDirectory.path()).save(localSession(u"tallessa"_s));
        QFile broken(QDir(checkpoints.directory()).filePath(u"rikki.json"_s));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("{\"id\":");
        broken.close();

        auto& vm = h.make();
        QCOMPARE(vm.history()->sessionHistory().size(), qsizetype(1));
        QSignalSpy running(vm.support(), &SupportTools::isCrashRecoveryRunningChanged);
        vm.support()->runStartupCrashRecoveryIfNeeded();
        QVERIFY(waitForRunEnd(running));
        QTRY_COMPARE(h.statuses, QStringList{UiText::recoveryStartupRestored(2)});
        QCOMPARE(vm.history()->sessionHistory().size(), qsizetype(3));
        QCOMPARE(vm.history()->store().load(u"orpo"_s), orphan);
        QCOMPARE(textsOf(vm.history()->store().load(fromServer)->segments),
                 (QStringList{u"Palvelimelta"_s, u"Kokonaan"_s}));
        QVERIFY(checkpoints.entries().isEmpty());
        QTRY_VERIFY(log().contains(
            u"crash recovery restored from checkpoint session=orpo lines=1 pins=1"_s));
        QVERIFY(log().contains(u"crash recovery checkpoint superseded session="_s + fromServer));
        QVERIFY(log().contains(u"crash recovery checkpoint unreadable file="_s));
    }

private:
    std::optional<QTemporaryDir> m_directory;
};

QTEST_GUILESS_MAIN(TstViewModelCrashRecovery)
#include "tst_view_model_crash_recovery.moc"
