// The audio test on the view model: the sources of the chosen mode run for the test's time,
// what they deliver is measured, nothing reaches the server, and the verdict is shown.
#include "EngineHarness.h"

#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace vesnara;
using namespace vesnara::test;

namespace {

/// The frames are delivered right after the test starts its sources; the test's own time only
/// has to outlast the event loop handing them over.
std::unique_ptr<EngineHarness> harnessForAudioTest() {
    auto h = std::make_unique<EngineHarness>();
    h->timing.audioTestDuration = 1s;
    return h;
}

void deliver(FakeAudioInputBackend& backend, int count, float amplitude) {
    for (const auto& buffer : toneBuffers(count, amplitude))
        backend.deliver(buffer);
}

void deliver(FakeSystemAudioBackend& backend, int count, float amplitude) {
    for (const auto& buffer : toneBuffers(count, amplitude))
        backend.deliver(buffer);
}

bool waitForVerdict(TranscriptionViewModel& vm) {
    return QTest::qWaitFor([&vm] { return !vm.support()->isAudioTestRunning(); }, kEngineWaitMs);
}

} // namespace

class ViewModelAudioTestTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void microphoneTestMeasuresWithoutTheServer() {
        auto h = harnessForAudioTest();
        auto& vm = h->make();
        vm.support()->runAudioQualityTest();
        QVERIFY(vm.support()->isAudioTestRunning());
        QVERIFY(!vm.canStart());
        QCOMPARE(vm.status()->statusText(), UiText::audioTestRunning);
        QTRY_VERIFY(h->microphoneBackend.isRecording());
        QVERIFY(!h->systemBackend.isCapturing());
        deliver(h->microphoneBackend, 4, 0.5f);

        // A second press while it runs changes nothing.
        vm.support()->runAudioQualityTest();
        QCOMPARE(h->microphoneBackend.requestedDevices().size(), 1);

        QVERIFY(waitForVerdict(vm));
        QCOMPARE(vm.status()->statusText(), UiText::audioTestLevelOk);
        QVERIFY2(vm.status()->diagnosticHint().startsWith(
                     u"Äänitesti: frameja 4, mic 4, systeemi 0, avg "_s),
                 qPrintable(vm.status()->diagnosticHint()));
        QVERIFY(vm.status()->diagnosticHint().endsWith(UiText::audioTestAdviceSourceWorks));
        QTRY_VERIFY(!h->microphoneBackend.isRecording());
        QVERIFY(vm.canStart());
        QVERIFY(h->createdSessionIds().isEmpty());
        QCOMPARE(vm.meters()->audioFramesSent(), 0);
    }

    void mixedTestNamesTheSilentSourceAndTheQuietLevel() {
        QTemporaryDir logDirectory;
        AppLog::setLogFilePath(logDirectory.filePath(u"desktop.log"_s));
        auto h = harnessForAudioTest();
        auto& vm = h->make();
        vm.sources()->setInputMode(AudioInputMode::microphoneAndSystem);

        // Only the microphone delivers, at a good level.
        vm.support()->runAudioQualityTest();
        QTRY_VERIFY(h->microphoneBackend.isRecording());
        QTRY_VERIFY(h->systemBackend.isCapturing());
        deliver(h->microphoneBackend, 3, 0.4f);
        QVERIFY(waitForVerdict(vm));
        QCOMPARE(vm.status()->statusText(), UiText::audioTestLevelOk);
        QVERIFY(vm.status()->diagnosticHint().contains(u"mic 3, systeemi 0"_s));
        QVERIFY(vm.status()->diagnosticHint().endsWith(UiText::audioTestAdviceMixedSystemSilent));
        QTRY_VERIFY(!h->microphoneBackend.isRecording());
        QTRY_VERIFY(!h->systemBackend.isCapturing());
        // The log names the mode as the user knows it.
        QVERIFY(AppLog::snapshot(1 << 20).contains(u"audioTest start mode=Mikki + systeemiääni"_s));
        AppLog::setLogFilePath(AppLog::defaultLogPath());

        // Both deliver near silence: the level advice wins over the mixed one.
        vm.support()->runAudioQualityTest();
        QTRY_VERIFY(h->microphoneBackend.isRecording());
        QTRY_VERIFY(h->systemBackend.isCapturing());
        deliver(h->microphoneBackend, 2, 0.001f);
        deliver(h->systemBackend, 2, 0.001f);
        QVERIFY(waitForVerdict(vm));
        QCOMPARE(vm.status()->statusText(), UiText::audioTestVeryQuiet);
        QVERIFY(vm.status()->diagnosticHint().endsWith(UiText::audioTestAdviceRaiseLevel));
    }

    void sourcesThatDeliverNothingGiveZeroFigures() {
        auto h = harnessForAudioTest();
        auto& vm = h->make();
        vm.sources()->setInputMode(AudioInputMode::systemAudio);
        vm.support()->runAudioQualityTest();
        QVERIFY(waitForVerdict(vm));
        QCOMPARE(vm.status()->statusText(), UiText::audioTestNoAudio);
        QCOMPARE(vm.status()->diagnosticHint(),
                 UiText::audioTestSummary(0, 0, 0, u"0.000"_s, u"0.000"_s,
                                          UiText::audioTestAdviceNoSystemAudio));
    }

    void failedSourceEndsTheTestAndStopsWhatStarted() {
        auto h = harnessForAudioTest();
        h->systemBackend.nextStartError = AudioBackendError{u"pulseaudio"_s, 3, u"No sink"_s};
        auto& vm = h->make();
        vm.sources()->setInputMode(AudioInputMode::microphoneAndSystem);
        vm.support()->runAudioQualityTest();
        QVERIFY(waitForVerdict(vm));
        QVERIFY2(vm.status()->statusText().startsWith(UiText::audioTestFailed({})),
                 qPrintable(vm.status()->statusText()));
        QVERIFY(vm.status()->diagnosticHint().isEmpty());
        // The microphone had started before the system source failed.
        QCOMPARE(h->microphoneBackend.requestedDevices().size(), 1);
        QTRY_VERIFY(!h->microphoneBackend.isRecording());
    }

    void testIsRefusedDuringARecording() {
        EngineHarness h;
        auto& vm = h.make();
        QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
        const int starts = h.microphoneBackend.requestedDevices().size();
        vm.support()->runAudioQualityTest();
        QCOMPARE(vm.status()->statusText(), UiText::audioTestStopRecordingFirst);
        QVERIFY(!vm.support()->isAudioTestRunning());
        QCOMPARE(h.microphoneBackend.requestedDevices().size(), starts);
        const QString id = vm.sessionId();
        vm.stopRecording();
        QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->isStopped(), kEngineWaitMs);
    }
};

QTEST_GUILESS_MAIN(ViewModelAudioTestTest)
#include "tst_view_model_audio_test.moc"
