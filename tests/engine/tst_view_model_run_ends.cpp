// How a recording ends and what outlives it: a stop whose finishing overlaps the next start,
// a server that never answers the stop, a session id that cannot name a file, and a repair of
// the sources still pending when the user stops.
#include "EngineHarness.h"

#include "backend/STTAPIClient.h"
#include "backend/STTSessionCreateRequest.h"
#include "storage/SessionHistoryStore.h"
#include "support/AwaitTask.h"
#include "text/UiText.h"

#include <QDir>
#include <QJsonDocument>

using namespace vesnara;
using namespace vesnara::test;
using refbackend::HttpFault;
using refbackend::ScriptedEvent;

namespace {

const QString kT0 = u"2026-01-02T10:00:00Z"_s;
const QString kT2 = u"2026-01-02T10:00:02Z"_s;

HttpFault delayed(const QString& path, std::chrono::milliseconds delay) {
    return {HttpFault::Kind::delay, 0, {}, delay, path};
}

/// Records from the microphone until the server has said `text`, and returns the session id.
QString recordOneLine(EngineHarness& h, const QString& text) {
    h.backend().setScript({ScriptedEvent::afterFrames(2, finalEvent(text, kT0))});
    if (!h.startRecordingIn(AudioInputMode::microphone))
        return {};
    h.microphoneBackend.play(toneBuffers(3, 0.5f));
    if (!QTest::qWaitFor([&] { return h.viewModel->transcript()->segments().size() == 1; },
                         kEngineWaitMs))
        return {};
    return h.viewModel->sessionId();
}

} // namespace

class TstViewModelRunEnds : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aStartDuringTheStopsFinishingKeepsBothRunsApart();
    void theSessionIsSavedBeforeTheServerAnswersTheStop();
    void anIdThatCannotNameAFileIsSavedUnderADerivedName();
    void aStopDuringAPendingFallbackLeavesTheSourcesClosed();
    void theServersStoppedStatusAfterTheStopEndsNothingTwice();
};

void TstViewModelRunEnds::aStartDuringTheStopsFinishingKeepsBothRunsApart() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    const QString first = recordOneLine(h, u"Ensimmäinen"_s);
    QVERIFY(!first.isEmpty());
    // A line only the server's transcript holds, so only the stop's final fetch brings it; that
    // fetch is held back until the next recording runs.
    h.backend().faults().silentStreams = true;
    h.backend().sendStreamEvent(first, finalEvent(u"Vain palvelimella"_s, kT2));
    h.backend().faults().silentStreams = false;
    h.backend().faults().httpFaults.push_back(delayed(first + u"/transcript"_s, 600ms));

    vm.stopRecording();
    QCOMPARE(vm.runState(), RecordingRunState::finishing);
    QVERIFY(vm.canStart());
    h.backend().setScript({});
    vm.startRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
    const QString second = vm.sessionId();
    QVERIFY(second != first);
    const qsizetype statusesOfSecond = h.statuses.size();

    const SessionHistoryStore store(h.historyDirectory.path());
    QTRY_VERIFY_WITH_TIMEOUT(h.stoppedSessionIds().contains(first), kEngineWaitMs);
    const auto saved = store.load(first);
    QVERIFY(saved.has_value());
    QCOMPARE(textsOf(saved->segments), (QStringList{u"Ensimmäinen"_s, u"Vain palvelimella"_s}));

    // The old run's end changed nothing of the new one: its screen, state, status and polls.
    QVERIFY(vm.transcript()->segments().isEmpty());
    QVERIFY(vm.isRecording());
    QCOMPARE(vm.sessionId(), second);
    QVERIFY2(!h.statuses.mid(statusesOfSecond).contains(UiText::statusStopped),
             qPrintable(h.statuses.join(u" | "_s)));
    const int polls = h.requestCount(second + u"/transcript"_s);
    QTRY_VERIFY_WITH_TIMEOUT(h.requestCount(second + u"/transcript"_s) > polls, kEngineWaitMs);
    h.microphoneBackend.play(toneBuffers(2, 0.5f));
    QTRY_COMPARE_WITH_TIMEOUT(h.session(second)->audioFrameCount, 2, kEngineWaitMs);
    QCOMPARE(vm.meters()->audioFramesSent(), 2);

    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
    QVERIFY(!store.load(second).has_value());
}

void TstViewModelRunEnds::theSessionIsSavedBeforeTheServerAnswersTheStop() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    const QString id = recordOneLine(h, u"Tallessa"_s);
    QVERIFY(!id.isEmpty());
    h.backend().faults().httpFaults.push_back(delayed(id + u"/stop"_s, 1500ms));

    vm.stopRecording();
    const SessionHistoryStore store(h.historyDirectory.path());
    QTRY_VERIFY_WITH_TIMEOUT(store.load(id).has_value(), kEngineWaitMs);
    // Saved while the stop request still waits for its answer.
    QCOMPARE(vm.runState(), RecordingRunState::finishing);
    QCOMPARE(vm.status()->statusText(), UiText::statusStopping);
    QCOMPARE(vm.history()->sessionHistory().size(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);
    QVERIFY(h.session(id)->isStopped());
}

void TstViewModelRunEnds::anIdThatCannotNameAFileIsSavedUnderADerivedName() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    // A real session streams the lines; the server's answer to the client's create names it by
    // an id that would climb out of the sessions directory.
    STTAPIClient api(h.transport, h.timing);
    const auto created =
        awaitTask(api.createSession(h.server.config(), {u"fi-FI"_s, u"chirp_3"_s}));
    QVERIFY(created.value.has_value());
    const QString unsafeId = u"../escape"_s;
    const QByteArray body = QJsonDocument(QJsonObject{{u"sessionId"_s, unsafeId},
                                                      {u"wsUrl"_s, created.value->wsUrl},
                                                      {u"token"_s, u"t"_s}})
                                .toJson();
    h.backend().faults().httpFaults.push_back(
        {HttpFault::Kind::respond, 201, body, 0ms, u"/v1/sessions"_s});
    auto& vm = h.make();

    const QString id = recordOneLine(h, u"Turvassa"_s);
    QCOMPARE(id, unsafeId);
    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);

    const QString fileId = SessionHistoryStore::fileIdFor(unsafeId);
    QVERIFY(fileId != unsafeId);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintSessionSavedUnderName(fileId + u".json"_s));
    const QDir sessions(h.historyDirectory.path());
    QCOMPARE(sessions.entryList(QDir::Files), QStringList{fileId + u".json"_s});
    QVERIFY(!QFileInfo::exists(sessions.filePath(u"../escape.json"_s)));
    const auto saved = SessionHistoryStore(sessions.path()).load(fileId);
    QVERIFY(saved.has_value());
    QCOMPARE(saved->id, unsafeId);
    QCOMPARE(textsOf(saved->segments), QStringList{u"Turvassa"_s});
    QCOMPARE(vm.history()->sessionHistory().size(), 1);
    QCOMPARE(vm.history()->sessionHistory().first().id, unsafeId);
}

void TstViewModelRunEnds::aStopDuringAPendingFallbackLeavesTheSourcesClosed() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.permissionProbe = std::make_shared<ScriptedPermissionProbe>();
    h.permissionProbe->micState = {u"undetermined"_s, CaptureAuthorization::notDetermined, true,
                                   u"fi.vesnara.app"_s};
    h.permissionProbe->recordRequestResult = true;
    h.permissionProbe->captureRequestResult = true;
    // The prompt is answered long before the stop has finished.
    h.permissionProbe->requestDelay = 200ms;
    h.timing.stopFlushWait = 1s;
    auto& vm = h.make();
    const auto preferredBefore = STTConfigurationStore(h.preferences).load().preferredInputDeviceID;
    QVERIFY(h.startRecordingIn(AudioInputMode::systemAudio));

    // Buffers that never become PCM make the meta poll fall back to the microphone, which first
    // asks for permission.
    h.systemBackend.play(buffersWithoutPCM(3));
    QTRY_COMPARE_WITH_TIMEOUT(h.permissionProbe->recordRequests, 1, kEngineWaitMs);

    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
    QTRY_VERIFY(!h.microphoneBackend.isRecording());
    QTRY_VERIFY(!h.systemBackend.isCapturing());
    QVERIFY(h.microphoneBackend.requestedDevices().isEmpty());
    QCOMPARE(vm.sources()->inputMode(), AudioInputMode::systemAudio);
    QVERIFY(!vm.fallbackNoticeVisible());
    QCOMPARE(STTConfigurationStore(h.preferences).load().preferredInputDeviceID, preferredBefore);
}

void TstViewModelRunEnds::theServersStoppedStatusAfterTheStopEndsNothingTwice() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    const QString id = recordOneLine(h, u"Viimeinen"_s);
    QVERIFY(!id.isEmpty());
    // The server answers the client's stop message with its own "stopped", and a last line,
    // while the stop still waits for the flush.
    QObject::connect(&h.backend(), &refbackend::RefBackend::streamMessageReceived, &h.backend(),
                     [&h](const QString& session, const refbackend::StreamMessage& message) {
                         if (message.binary || !message.payload.contains("\"stop\""))
                             return;
                         h.backend().sendStreamEvent(
                             session,
                             QJsonObject{{u"type"_s, u"status"_s}, {u"state"_s, u"stopped"_s}});
                         h.backend().sendStreamEvent(session, finalEvent(u"Jälkisana"_s, kT2));
                     });
    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);
    QVERIFY(vm.canStart());
    QCOMPARE(textsOf(vm.transcript()->segments()), (QStringList{u"Viimeinen"_s, u"Jälkisana"_s}));
    // Stopped by the user, not by the server: saved here and stopped there, no connection lost.
    QTRY_VERIFY_WITH_TIMEOUT(h.stoppedSessionIds().contains(id), kEngineWaitMs);
    const auto saved = SessionHistoryStore(h.historyDirectory.path()).load(id);
    QVERIFY(saved);
    QCOMPARE(textsOf(saved->segments), (QStringList{u"Viimeinen"_s, u"Jälkisana"_s}));
    QVERIFY(!h.statuses.contains(UiText::statusConnectionLost));
}

QTEST_GUILESS_MAIN(TstViewModelRunEnds)
#include "tst_view_model_run_ends.moc"
