// The start of a recording against everything that can overtake it: a stop during each wait,
// the start limit, a newer start, and a start that fails half way.
#include "EngineHarness.h"

#include "async/CancellationToken.h"
#include "audio/MicrophoneCaptureError.h"
#include "audio/SystemAudioCaptureError.h"
#include "platform/PermissionProbe.h"
#include "text/UiText.h"

#include <QCoroTask>

using namespace vesnara;
using namespace vesnara::test;

namespace {

refbackend::HttpFault delayedCreateSession(std::chrono::milliseconds delay) {
    refbackend::HttpFault fault;
    fault.kind = refbackend::HttpFault::Kind::delay;
    fault.delay = delay;
    fault.pathContains = u"/v1/sessions"_s;
    return fault;
}

/// A microphone permission that has not been decided yet; the request answers after `delay`.
class SlowPermissionProbe final : public PermissionProbe {
public:
    std::chrono::milliseconds delay{200};
    bool grant = true;
    bool answered = false;

    MicrophonePermissionState microphoneState() override {
        return {u"undetermined"_s, CaptureAuthorization::notDetermined, true, u"vesnara"_s};
    }
    QCoro::Task<bool> requestRecordPermission() override {
        co_await sleepFor(delay);
        answered = true;
        co_return grant;
    }
    QCoro::Task<bool> requestCaptureAccess() override { co_return grant; }
    bool systemAudioPreflight() override { return true; }
    QCoro::Task<bool> requestSystemAudioAccess() override { co_return true; }
    QCoro::Task<SystemAudioProbeResult> probeSystemAudio() override {
        co_return SystemAudioProbeResult{true, 1, 0, {}};
    }
    SystemAudioBundleInfo systemAudioBundleInfo() override { return {}; }
};

} // namespace

class TstViewModelStartRaces : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void stopWhileCreateSessionIsInFlight();
    void stopWhilePermissionIsAsked();
    void startLimitWhileCreateSessionIsInFlight();
    void newStartWhileStaleAttemptStillWaits();
    void failedCaptureStartKeepsTheSession_data();
    void failedCaptureStartKeepsTheSession();
};

void TstViewModelStartRaces::stopWhileCreateSessionIsInFlight() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.backend().faults().httpFaults.push_back(delayedCreateSession(400ms));
    auto& vm = h.make();

    vm.startRecording();
    vm.stopRecording();
    QCOMPARE(vm.status()->statusText(), UiText::statusStopping);
    QVERIFY(vm.canStart());
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);

    // The stale attempt stops the session it got late and changes nothing visible.
    QTRY_COMPARE_WITH_TIMEOUT(h.stoppedSessionIds().size(), 1, kEngineWaitMs);
    const QString late = h.stoppedSessionIds().first();
    QTRY_VERIFY_WITH_TIMEOUT(h.session(late)->isStopped(), kEngineWaitMs);
    QCOMPARE(vm.sessionId(), QString());
    QCOMPARE(vm.status()->statusText(), UiText::statusStopped);
    QVERIFY(!vm.isRecording());
    QVERIFY(!vm.isStartingRecording());
    QVERIFY(h.microphoneBackend.requestedDevices().isEmpty());
    QVERIFY(h.backend().streamMessages(late).isEmpty());
}

void TstViewModelStartRaces::stopWhilePermissionIsAsked() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto probe = std::make_shared<SlowPermissionProbe>();
    h.viewModel = std::make_unique<TranscriptionViewModel>(TranscriptionViewModel::Dependencies{
        h.preferences, h.transport, h.microphoneBackend, h.systemBackend, h.historyDirectory.path(),
        &h.clipboard, probe, h.timing});
    auto& vm = *h.viewModel;

    vm.startRecording();
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(probe->answered, kEngineWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);
    // The attempt ended before creating anything.
    QCOMPARE(h.requestCount(u"/v1/sessions"_s), 0);
    QVERIFY(vm.sessionId().isEmpty());
    QVERIFY(!vm.isStartingRecording());
}

void TstViewModelStartRaces::startLimitWhileCreateSessionIsInFlight() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.backend().faults().httpFaults.push_back(
        delayedCreateSession(h.timing.startRecordingLimit * 2));
    auto& vm = h.make();

    vm.startRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStartTimedOut,
                              kEngineWaitMs);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintStartTimedOut);
    QVERIFY(!vm.isStartingRecording());
    QVERIFY(vm.canStart());

    QTRY_COMPARE_WITH_TIMEOUT(h.stoppedSessionIds().size(), 1, kEngineWaitMs);
    const QString late = h.stoppedSessionIds().first();
    QTRY_VERIFY_WITH_TIMEOUT(h.session(late)->isStopped(), kEngineWaitMs);
    QCOMPARE(vm.sessionId(), QString());
    QCOMPARE(vm.status()->statusText(), UiText::statusStartTimedOut);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintStartTimedOut);
}

void TstViewModelStartRaces::newStartWhileStaleAttemptStillWaits() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.backend().faults().httpFaults.push_back(delayedCreateSession(400ms));
    auto& vm = h.make();

    vm.startRecording();
    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);
    vm.startRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
    const QString current = vm.sessionId();

    QTRY_COMPARE_WITH_TIMEOUT(h.stoppedSessionIds().size(), 1, kEngineWaitMs);
    const QString stale = h.stoppedSessionIds().first();
    QVERIFY(stale != current);
    QTRY_VERIFY_WITH_TIMEOUT(h.session(stale)->isStopped(), kEngineWaitMs);
    QVERIFY(!h.session(current)->isStopped());
    QCOMPARE(vm.sessionId(), current);
    QVERIFY(vm.isRecording());
    QCOMPARE(vm.status()->statusText(), UiText::statusListeningTo(u"Sisäinen mikrofoni"_s));

    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(h.session(current)->isStopped(), kEngineWaitMs);
}

void TstViewModelStartRaces::failedCaptureStartKeepsTheSession_data() {
    QTest::addColumn<AudioInputMode>("mode");
    QTest::addColumn<bool>("microphoneFails");
    QTest::addColumn<QString>("failure");
    const QString microphone =
        MicrophoneCaptureError(MicrophoneCaptureError::Kind::engineNotReady).description();
    const QString system =
        SystemAudioCaptureError(SystemAudioCaptureError::Kind::streamSetupFailed).description();
    QTest::newRow("microphone") << AudioInputMode::microphone << true << microphone;
    QTest::newRow("mixed, microphone fails")
        << AudioInputMode::microphoneAndSystem << true << microphone;
    QTest::newRow("mixed, system audio fails")
        << AudioInputMode::microphoneAndSystem << false << system;
}

void TstViewModelStartRaces::failedCaptureStartKeepsTheSession() {
    QFETCH(AudioInputMode, mode);
    QFETCH(bool, microphoneFails);
    QFETCH(QString, failure);
    EngineHarness h;
    QVERIFY(h.server.isListening());
    const AudioBackendError error{u"test"_s, 1, u"no stream"_s};
    if (microphoneFails)
        h.microphoneBackend.nextStart.error = error;
    else
        h.systemBackend.nextStartError = error;
    auto& vm = h.make();

    vm.sources()->setInputMode(mode);
    vm.startRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), failure, kEngineWaitMs);
    QVERIFY(!vm.isStartingRecording());
    QVERIFY(!vm.isRecording());
    QVERIFY(vm.canStart());
    // Whatever source did start is closed again.
    QTRY_VERIFY(!h.microphoneBackend.isRecording());
    QTRY_VERIFY(!h.systemBackend.isCapturing());
    const QString id = vm.sessionId();
    QVERIFY(!id.isEmpty());

    // The armed start limit was disarmed: no status change and no stop request follow it.
    QSignalSpy statusChanges(vm.status(), &StatusLine::statusTextChanged);
    QVERIFY(!statusChanges.wait(static_cast<int>(h.timing.startRecordingLimit.count()) * 2));
    QCOMPARE(vm.status()->statusText(), failure);
    QVERIFY(h.stoppedSessionIds().isEmpty());
    QVERIFY(!h.session(id)->isStopped());
}

QTEST_GUILESS_MAIN(TstViewModelStartRaces)
#include "tst_view_model_start_races.moc"
