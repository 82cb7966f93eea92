// A forgotten recording stops itself: silence on every source with no new line shows a notice
// that counts down and then stops and saves as the stop command does, unless the user keeps
// recording, a line or sound comes back, the recording is paused, or the setting is off.
#include "EngineHarness.h"

#include "storage/SessionHistoryStore.h"
#include "text/UiText.h"

using namespace vesnara;
using namespace vesnara::test;
using refbackend::ScriptedEvent;

namespace {

const QString kT0 = u"2026-01-02T10:00:00Z"_s;
const QString kT9 = u"2026-01-02T10:00:09Z"_s;

/// One minute of the setting lasts `minute`; the countdown is three ticks of `tick`.
void scaleAutoStop(EngineHarness& h, std::chrono::milliseconds minute,
                   std::chrono::milliseconds tick = 100ms) {
    h.timing.autoStopMinute = minute;
    h.timing.autoStopCountdown = tick * 3;
    h.timing.autoStopCountdownTick = tick;
}

/// What the notice showed, recorded as it changed (polling could miss a tick).
struct NoticeRecorder {
    QStringList texts;
    QList<int> countdown;
    int shown = 0;

    explicit NoticeRecorder(AutoStop* autoStop) {
        QObject::connect(autoStop, &AutoStop::noticeTextChanged, autoStop,
                         [this, autoStop] { texts << autoStop->noticeText(); });
        QObject::connect(autoStop, &AutoStop::secondsLeftChanged, autoStop,
                         [this, autoStop] { countdown << autoStop->secondsLeft(); });
        QObject::connect(autoStop, &AutoStop::noticeVisibleChanged, autoStop, [this, autoStop] {
            if (autoStop->noticeVisible())
                ++shown;
        });
    }
};

} // namespace

class TstViewModelAutoStop : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void silenceShowsTheNoticeThenStopsAndSaves();
    void theNoticeGoesAwayAndTheSilenceCountsAgain_data();
    void theNoticeGoesAwayAndTheSilenceCountsAgain();
    void neverStopsAPausedRecordingOrWithTheSettingOff_data();
    void neverStopsAPausedRecordingOrWithTheSettingOff();
};

void TstViewModelAutoStop::silenceShowsTheNoticeThenStopsAndSaves() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    scaleAutoStop(h, 500ms);
    h.backend().setScript({ScriptedEvent::afterFrames(2, finalEvent(u"Aloitetaan"_s, kT0))});
    auto& vm = h.make();
    vm.settings()->setAutoStopSilenceMinutes(2);
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    const QString id = vm.sessionId();
    AutoStop* autoStop = vm.autoStop();
    QVERIFY(!autoStop->noticeVisible());
    const NoticeRecorder notice(autoStop);

    // Speech, a line, then nothing more from the microphone.
    h.microphoneBackend.play(toneBuffers(3, 0.3f));
    QTRY_COMPARE_WITH_TIMEOUT(vm.transcript()->segments().size(), 1, kEngineWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
    QCOMPARE(notice.shown, 1);
    QCOMPARE(notice.texts.value(0), UiText::autoStopNotice(2, 3));
    QCOMPARE(notice.texts.value(2), UiText::autoStopNotice(2, 1));
    QVERIFY(!autoStop->noticeVisible());
    QCOMPARE(autoStop->noticeText(), QString());
    // Stopped as the stop command does: the server told, the session saved here.
    QCOMPARE(h.stoppedSessionIds(), QStringList{id});
    const auto saved = SessionHistoryStore(h.historyDirectory.path()).load(id);
    QVERIFY(saved.has_value());
    QCOMPARE(textsOf(saved->segments), QStringList{u"Aloitetaan"_s});
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::autoStopStatus, kEngineWaitMs);
    // The countdown went 3, 2, 1 before the stop, then back to nothing.
    QCOMPARE(notice.countdown, (QList<int>{3, 2, 1, 0}));
}

void TstViewModelAutoStop::theNoticeGoesAwayAndTheSilenceCountsAgain_data() {
    QTest::addColumn<QString>("what");
    QTest::newRow("keep recording") << u"keep"_s;
    QTest::newRow("a new line") << u"line"_s;
    QTest::newRow("sound on the microphone") << u"sound"_s;
}

void TstViewModelAutoStop::theNoticeGoesAwayAndTheSilenceCountsAgain() {
    QFETCH(QString, what);
    EngineHarness h;
    QVERIFY(h.server.isListening());
    // A countdown long enough for the reset to arrive within it on a busy machine.
    scaleAutoStop(h, 600ms, 1000ms);
    auto& vm = h.make();
    vm.settings()->setAutoStopSilenceMinutes(1);
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    const QString id = vm.sessionId();
    AutoStop* autoStop = vm.autoStop();
    QSignalSpy recordingChanges(&vm, &TranscriptionViewModel::isRecordingChanged);
    const NoticeRecorder notice(autoStop);

    QTRY_VERIFY_WITH_TIMEOUT(autoStop->noticeVisible(), kEngineWaitMs);
    if (what == u"keep"_s) {
        autoStop->keepRecording();
    } else if (what == u"line"_s) {
        h.backend().sendStreamEvent(id, finalEvent(u"Vielä täällä"_s, kT9));
    } else {
        h.microphoneBackend.play(toneBuffers(1, 0.3f));
    }
    QTRY_VERIFY_WITH_TIMEOUT(!autoStop->noticeVisible(), kEngineWaitMs);
    QVERIFY(vm.isRecording());

    // The silence is counted from the reset: the notice comes back, full length, and the
    // recording never ended in between.
    QTRY_COMPARE_WITH_TIMEOUT(notice.shown, 2, kEngineWaitMs);
    QCOMPARE(recordingChanges.size(), 0);
    // Each showing starts the countdown from its full length.
    QCOMPARE(notice.countdown.count(3), 2);
    vm.stopRecording();
    QVERIFY(!autoStop->noticeVisible());
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
}

void TstViewModelAutoStop::neverStopsAPausedRecordingOrWithTheSettingOff_data() {
    QTest::addColumn<bool>("pause");
    QTest::addColumn<int>("minutes");
    QTest::newRow("paused with the notice showing") << true << 1;
    QTest::newRow("setting off") << false << 0;
}

void TstViewModelAutoStop::neverStopsAPausedRecordingOrWithTheSettingOff() {
    QFETCH(bool, pause);
    QFETCH(int, minutes);
    EngineHarness h;
    QVERIFY(h.server.isListening());
    scaleAutoStop(h, 100ms);
    auto& vm = h.make();
    vm.settings()->setAutoStopSilenceMinutes(minutes);
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    AutoStop* autoStop = vm.autoStop();
    if (pause) {
        QTRY_VERIFY_WITH_TIMEOUT(autoStop->noticeVisible(), kEngineWaitMs);
        vm.pauseRecording();
        QVERIFY(vm.isPaused());
        QVERIFY(!autoStop->noticeVisible());
    }
    QSignalSpy notices(autoStop, &AutoStop::noticeVisibleChanged);
    QSignalSpy recordingChanges(&vm, &TranscriptionViewModel::isRecordingChanged);

    // Many times the silence and the countdown together: nothing shows and nothing stops.
    QVERIFY(!notices.wait(2000));
    QVERIFY(vm.isRecording());
    QCOMPARE(recordingChanges.size(), 0);
    QVERIFY(!autoStop->noticeVisible());

    if (pause) {
        // A resumed recording is watched again from its resume.
        vm.resumeRecording();
        QTRY_VERIFY_WITH_TIMEOUT(!vm.isResumingRecording(), kEngineWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(autoStop->noticeVisible(), kEngineWaitMs);
    }
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
}

QTEST_MAIN(TstViewModelAutoStop)
#include "tst_view_model_auto_stop.moc"
