// Pause and resume against the reference backend, and recordings that the server or the
// stream ends: the text stays, nothing is saved, and no stale step changes what is shown.
#include "EngineHarness.h"

#include "storage/SessionHistoryStore.h"
#include "text/UiText.h"

using namespace vesnara;
using namespace vesnara::test;
using refbackend::ScriptedEvent;

namespace {

const QString kT0 = u"2026-01-02T10:00:00Z"_s;

QList<QByteArray> binaryPayloads(EngineHarness& h, const QString& id) {
    QList<QByteArray> payloads;
    for (const auto& message : h.backend().streamMessages(id)) {
        if (message.binary)
            payloads << message.payload;
    }
    return payloads;
}

/// Starts a recording with one line from the server after the first frame.
QString startWithOneLine(EngineHarness& h) {
    h.backend().setScript({ScriptedEvent::afterFrames(1, finalEvent(u"Ensimmäinen"_s, kT0))});
    auto& vm = *h.viewModel;
    vm.startRecording();
    if (!QTest::qWaitFor([&vm] { return vm.isRecording(); }, kEngineWaitMs))
        return {};
    h.microphoneBackend.play(toneBuffers(3, 0.5f));
    if (!QTest::qWaitFor([&vm] { return vm.transcript()->segments().size() == 1; }, kEngineWaitMs))
        return {};
    return vm.sessionId();
}

} // namespace

class TstViewModelPause : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pauseSendsSilenceAndResumeGoesOn();
    void serverEndsSessionWhilePaused();
    void resumeFindsTheSessionEnded();
    void resumeLimitBeatsLateMetaAnswer();
    void streamErrorEndsRecordingAndKeepsText();
    void closedStreamReconnectsThenGivesUp();
};

void TstViewModelPause::pauseSendsSilenceAndResumeGoesOn() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    const QString id = startWithOneLine(h);
    QVERIFY(!id.isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, 3, kEngineWaitMs);

    vm.pauseRecording();
    QVERIFY(vm.isPaused());
    QCOMPARE(vm.status()->statusText(), UiText::statusPaused);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintRecordingPaused);
    QCOMPARE(vm.pauseElapsedLabel(), u"00:00"_s);
    QVERIFY(vm.canResume());
    QVERIFY(!vm.canPause());
    QVERIFY(vm.canAddPin());

    // The sources go on; what leaves is silence of the same length, plus the keep-alive's.
    h.microphoneBackend.play(toneBuffers(4, 0.5f));
    QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->audioFrameCount >= 3 + 4, kEngineWaitMs);
    const QList<QByteArray> payloads = binaryPayloads(h, id);
    for (qsizetype i = 0; i < payloads.size(); ++i) {
        QCOMPARE(payloads[i].size(), 3200);
        QCOMPARE(payloads[i] == QByteArray(3200, '\0'), i >= 3);
    }

    vm.resumeRecording();
    QCOMPARE(vm.status()->statusText(), UiText::statusResuming);
    QVERIFY(vm.isResumingRecording());
    QVERIFY(!vm.canPause());
    QTRY_VERIFY_WITH_TIMEOUT(!vm.isResumingRecording(), kEngineWaitMs);
    QVERIFY(!vm.isPaused());
    QVERIFY(vm.isRecording());
    QCOMPARE(vm.status()->statusText(), UiText::statusListeningTo(u"Sisäinen mikrofoni"_s));
    QCOMPARE(vm.status()->diagnosticHint(), QString());
    QCOMPARE(vm.pauseElapsedLabel(), QString());

    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);
}

void TstViewModelPause::serverEndsSessionWhilePaused() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    const QString id = startWithOneLine(h);
    QVERIFY(!id.isEmpty());
    vm.pauseRecording();

    h.backend().endSession(id);
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusConnectionLost,
                              kEngineWaitMs);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintSessionClosedByServer);
    QVERIFY(!vm.isRecording());
    QVERIFY(!vm.isPaused());
    QCOMPARE(vm.transcript()->segments().size(), 1);
    QCOMPARE(vm.sessionId(), id);
    QVERIFY(vm.canSave());
    QVERIFY(vm.canSummary());
    QTRY_VERIFY(!h.microphoneBackend.isRecording());
    // No stop request and no saved file on this path.
    QVERIFY(h.stoppedSessionIds().isEmpty());
    QVERIFY(!SessionHistoryStore(h.historyDirectory.path()).load(id).has_value());
}

void TstViewModelPause::resumeFindsTheSessionEnded() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.timing.sessionMetaPollInterval = 1h;
    auto& vm = h.make();
    const QString id = startWithOneLine(h);
    QVERIFY(!id.isEmpty());
    vm.pauseRecording();

    // The stream does not report the end; only the check before the resume finds it.
    h.backend().faults().silentStreams = true;
    h.backend().endSession(id);
    vm.resumeRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusSessionClosedDuringPause,
                              kEngineWaitMs);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintSessionClosedByServer);
    QVERIFY(!vm.isRecording());
    QVERIFY(!vm.isResumingRecording());
    QCOMPARE(vm.transcript()->segments().size(), 1);
}

void TstViewModelPause::resumeLimitBeatsLateMetaAnswer() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.timing.sessionMetaPollInterval = 1h;
    h.timing.transcriptPollInterval = 1h;
    auto& vm = h.make();
    const QString id = startWithOneLine(h);
    QVERIFY(!id.isEmpty());
    // The polls' first round is over; the next request for the session is the resume's.
    QTRY_VERIFY_WITH_TIMEOUT(h.requestCount(u"/v1/sessions/"_s + id) >= 1 &&
                                 h.requestCount(u"/transcript"_s) >= 1,
                             kEngineWaitMs);
    vm.pauseRecording();

    refbackend::HttpFault lateMeta;
    lateMeta.kind = refbackend::HttpFault::Kind::delay;
    lateMeta.delay = h.timing.resumeRecordingLimit * 3;
    lateMeta.pathContains = id;
    h.backend().faults().httpFaults.push_back(lateMeta);
    vm.resumeRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusResumeTimedOut,
                              kEngineWaitMs);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintResumeTimedOut);
    QVERIFY(vm.isPaused());
    QVERIFY(!vm.isResumingRecording());
    QVERIFY(vm.canResume());

    // The late answer finds its resume superseded and changes nothing.
    QSignalSpy statusChanges(vm.status(), &StatusLine::statusTextChanged);
    QVERIFY(!statusChanges.wait(static_cast<int>(lateMeta.delay.count()) * 2));
    QVERIFY(vm.isPaused());
    QVERIFY(vm.isRecording());

    vm.resumeRecording();
    QTRY_VERIFY_WITH_TIMEOUT(!vm.isPaused(), kEngineWaitMs);
    QVERIFY(vm.isRecording());
}

void TstViewModelPause::streamErrorEndsRecordingAndKeepsText() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    const QString id = startWithOneLine(h);
    QVERIFY(!id.isEmpty());

    // Not the client's own wording: the match ignores case.
    h.backend().sendStreamEvent(
        id, QJsonObject{{u"type"_s, u"error"_s}, {u"message"_s, u"ÄÄNEN LÄHETYS epäonnistui"_s}});
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusConnectionLost,
                              kEngineWaitMs);
    QVERIFY(h.statuses.contains(u"ÄÄNEN LÄHETYS epäonnistui"_s));
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintSessionClosedByServer);
    QVERIFY(!vm.isRecording());
    QCOMPARE(vm.transcript()->segments().size(), 1);
    QVERIFY(!h.session(id)->isStopped());
}

void TstViewModelPause::closedStreamReconnectsThenGivesUp() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    const QString id = startWithOneLine(h);
    QVERIFY(!id.isEmpty());
    QSignalSpy opened(&h.backend(), &refbackend::RefBackend::streamOpened);

    // The server drops the stream once: the client reconnects and the recording goes on.
    h.backend().closeStreams(id);
    QVERIFY(opened.wait(kEngineWaitMs));
    h.microphoneBackend.play(toneBuffers(2, 0.5f));
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, 3 + 2, kEngineWaitMs);
    QVERIFY(vm.isRecording());

    // Now every reconnect is refused; after the client gives up the recording ends.
    h.backend().faults().streamConnectionsToRefuse = 1000;
    h.backend().closeStreams(id);
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusConnectionLost,
                              kEngineWaitMs);
    QVERIFY(h.statuses.contains(UiText::statusReconnecting));
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintSessionClosedByServer);
    QVERIFY(!vm.isRecording());
    QCOMPARE(vm.transcript()->segments().size(), 1);
    QTRY_VERIFY(!h.microphoneBackend.isRecording());
}

QTEST_GUILESS_MAIN(TstViewModelPause)
#include "tst_view_model_pause.moc"
