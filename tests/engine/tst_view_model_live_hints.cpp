// The live hints of the meta poll: the server's view of a running session against what the
// sources delivered, with the rules in their order of priority.
#include "EngineHarness.h"

#include "text/UiText.h"

using namespace vesnara;
using namespace vesnara::test;

class TstViewModelLiveHints : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void silentMicrophoneSaysNoSpeech();
    void mixedWithoutMicrophoneFramesNamesTheMicrophoneFirst();
    void systemBuffersWithoutPCMAreNamed();
};

void TstViewModelLiveHints::silentMicrophoneSaysNoSpeech() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    const QString id = vm.sessionId();

    QList<ScriptedAudioBuffer> silence;
    for (int i = 0; i < 61; ++i)
        silence << ScriptedAudioBuffer::constant(48000, 2, 4800, 0.0f);
    h.microphoneBackend.play(silence);
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, 61, kEngineWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->diagnosticHint(), UiText::hintNoSpeechDetected,
                              kEngineWaitMs);
    QVERIFY(vm.meters()->lastSessionMetaReceivedAt().has_value());
    QVERIFY(vm.meters()->realtimeDiagnosticsLabel().startsWith(
        u"Audio 61 • mic 61/0.000 • sys 0/0.000"_s));

    vm.pauseRecording();
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintRecordingPaused);
    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStoppedWithoutTranscript,
                              kEngineWaitMs);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintEmptyResultSilentMicrophone);
}

void TstViewModelLiveHints::mixedWithoutMicrophoneFramesNamesTheMicrophoneFirst() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::microphoneAndSystem));
    const QString id = vm.sessionId();

    // The microphone delivers nothing; system audio flows alone from its third chunk on, and
    // the recogniser returns nothing, so the rules for a quiet or textless recording fit too.
    h.systemBackend.play(toneBuffers(64, 0.5f));
    QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->audioFrameCount >= 60, kEngineWaitMs);
    // The microphone rule wins over the quiet-microphone rule; its repairs escalate from the
    // stable microphone to a plain restart to telling the user.
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->diagnosticHint(), UiText::hintMixedMicrophoneMissing,
                              kEngineWaitMs);
    const QStringList expected{
        UiText::hintMicrophoneFellBackToStable(UiText::automaticSource, u"Sisäinen mikrofoni"_s),
        UiText::hintMixedMicrophoneMissingRestarting, UiText::hintMicrophoneRestarted,
        UiText::hintMixedMicrophoneMissing};
    QStringList seen = h.hints;
    seen.removeAll(QString());
    seen.removeDuplicates();
    QVERIFY2(seen.mid(0, expected.size()) == expected, qPrintable(seen.join(u" | "_s)));
    QVERIFY(!h.hints.contains(UiText::hintMixedMicrophoneQuiet));
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->isStopped(), kEngineWaitMs);
}

void TstViewModelLiveHints::systemBuffersWithoutPCMAreNamed() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::systemAudio));

    h.systemBackend.play(buffersWithoutPCM(5));
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->diagnosticHint(),
                              UiText::hintSystemAudioNotConvertingToPCM, kEngineWaitMs);
    QCOMPARE(vm.meters()->audioFramesSent(), 0);
    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);
    QCOMPARE(vm.status()->diagnosticHint(), QString());
}

QTEST_GUILESS_MAIN(TstViewModelLiveHints)
#include "tst_view_model_live_hints.moc"
