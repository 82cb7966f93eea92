// The supervision of the sources during a recording: a microphone that delivers nothing is
// replaced once by a stable one, a system source that gives no PCM falls back to the mixed mode,
// and the microphone picker switches a running capture.
#include "EngineHarness.h"

#include "audio/PcmMixer.h"
#include "text/UiText.h"

#include <QtEndian>

using namespace vesnara;
using namespace vesnara::test;

namespace {

constexpr quint32 kHeadset = 11;
constexpr quint32 kBuiltIn = 7;

void watchMicrophoneLiveness(EngineHarness& h) {
    h.timing.microphoneLivenessDelay = Timing{}.scaled(0.02).microphoneLivenessDelay;
}

void addHeadset(EngineHarness& h) {
    h.microphoneBackend.devices.append(
        {kHeadset, u"WH1000 Bluetooth"_s, AudioTransportKind::bluetooth, 1});
}

} // namespace

class TstViewModelSupervision : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void silentHeadsetIsReplacedOnceByTheBuiltInMicrophone();
    void systemAudioWithoutPCMFallsBackToMixedOnSecondPoll();
    void pickerSwitchesTheRunningMicrophone();
    void pickingAMicrophoneAddsItToASystemRecording();
};

void TstViewModelSupervision::silentHeadsetIsReplacedOnceByTheBuiltInMicrophone() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    addHeadset(h);
    STTConfiguration stored = h.server.config();
    stored.preferredInputDeviceID = kHeadset;
    STTConfigurationStore(h.preferences).save(stored);
    watchMicrophoneLiveness(h);
    auto& vm = h.make();
    QCOMPARE(vm.sources()->selectedInputDeviceID(), kHeadset);
    QCOMPARE(vm.sources()->recommendedInputDeviceName(), u"Sisäinen mikrofoni"_s);

    vm.startRecording();
    // The user's choice of a headset is kept and only explained.
    QCOMPARE(vm.status()->diagnosticHint(),
             UiText::hintWirelessHeadsetSelected(u"WH1000 Bluetooth"_s, u"Sisäinen mikrofoni"_s));
    QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
    const QString id = vm.sessionId();

    QTRY_COMPARE_WITH_TIMEOUT(vm.sources()->selectedInputDeviceID(), kBuiltIn, kEngineWaitMs);
    QCOMPARE(h.microphoneBackend.requestedDevices(), (QList<quint32>{kHeadset, kBuiltIn}));
    QCOMPARE(vm.status()->statusText(),
             UiText::statusMicrophoneSwitchedTo(u"Sisäinen mikrofoni"_s));
    // The meta poll may clear a hint again when it finds nothing wrong.
    QVERIFY(h.hints.contains(
        UiText::hintMicrophoneFellBackToStable(u"WH1000 Bluetooth"_s, u"Sisäinen mikrofoni"_s)));
    QCOMPARE(STTConfigurationStore(h.preferences).load().preferredInputDeviceID,
             std::optional<quint32>(kBuiltIn));

    // The replacement stays silent too: told once, not replaced again.
    QTRY_VERIFY_WITH_TIMEOUT(h.hints.contains(UiText::hintMicrophoneLivenessFailed), kEngineWaitMs);
    QCOMPARE(h.microphoneBackend.requestedDevices().size(), 2);
    QVERIFY(vm.isRecording());

    h.microphoneBackend.play(toneBuffers(3, 0.5f));
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, 3, kEngineWaitMs);
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->isStopped(), kEngineWaitMs);
}

void TstViewModelSupervision::systemAudioWithoutPCMFallsBackToMixedOnSecondPoll() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::systemAudio));
    const QString id = vm.sessionId();
    QTRY_VERIFY(!h.microphoneBackend.isRecording());

    h.systemBackend.play(buffersWithoutPCM(3));
    QSignalSpy hints(vm.status(), &StatusLine::diagnosticHintChanged);
    QTRY_VERIFY_WITH_TIMEOUT(vm.fallbackNoticeVisible(), kEngineWaitMs);
    // The first poll warned, the second fell back.
    QVERIFY(!hints.isEmpty());
    QCOMPARE(vm.sources()->inputMode(), AudioInputMode::microphoneAndSystem);
    // The automatic diagnostics file may name itself in the hint, before or after this one.
    QVERIFY(vm.status()->diagnosticHint().startsWith(UiText::hintSystemFallbackActivated));
    QTRY_COMPARE_WITH_TIMEOUT(QDir(h.downloads.path()).entryList(QDir::Files).size(), 1,
                              kEngineWaitMs);
    QVERIFY(vm.support()->lastDiagnosticsFileName().startsWith(
        u"vesnara-diagnoosi-auto-raw-without-pcm-"_s));
    QVERIFY(vm.status()->statusText().startsWith(u"Kuuntelen... (Auto + Kaiuttimet"_s));
    QVERIFY(h.microphoneBackend.isRecording());
    QVERIFY(h.systemBackend.isCapturing());

    // Microphone frames wait for a partner that never comes, then go out alone.
    h.microphoneBackend.play(toneBuffers(5, 0.5f));
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, 3, kEngineWaitMs);
    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStoppedWithoutTranscript,
                              kEngineWaitMs);
    QVERIFY(!vm.fallbackNoticeVisible());
}

void TstViewModelSupervision::pickerSwitchesTheRunningMicrophone() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.microphoneBackend.devices.append({21, u"USB-mikrofoni"_s, AudioTransportKind::usb, 1});
    auto& vm = h.make();
    vm.sources()->setPreferredInputDevice(kBuiltIn);
    QCOMPARE(vm.status()->statusText(), UiText::statusMicrophoneUpdated);
    vm.startRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);

    vm.sources()->setPreferredInputDevice(kBuiltIn);
    QCOMPARE(h.microphoneBackend.requestedDevices(), QList<quint32>{kBuiltIn});

    vm.sources()->setPreferredInputDevice(21);
    QTRY_COMPARE_WITH_TIMEOUT(h.microphoneBackend.requestedDevices(),
                              (QList<quint32>{kBuiltIn, 21}), kEngineWaitMs);
    // The restart reports once its task is back on this thread; the next meta poll may speak
    // over the hint already.
    QTRY_VERIFY_WITH_TIMEOUT(
        h.statuses.contains(UiText::statusMicrophoneSwitchedTo(u"USB-mikrofoni"_s)), kEngineWaitMs);
    QVERIFY(h.hints.contains(UiText::hintMicrophoneSwitchedInRecording));

    vm.sources()->setPreferredInputDevice(0);
    QTRY_COMPARE_WITH_TIMEOUT(h.microphoneBackend.requestedDevices().size(), 3, kEngineWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(
        h.statuses.contains(UiText::statusMicrophoneSwitchedTo(UiText::automaticSource)),
        kEngineWaitMs);
    vm.stopRecording();
}

void TstViewModelSupervision::pickingAMicrophoneAddsItToASystemRecording() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::systemAudio));
    const QString id = vm.sessionId();

    vm.sources()->setPreferredInputDevice(kBuiltIn);
    QTRY_COMPARE_WITH_TIMEOUT(vm.sources()->inputMode(), AudioInputMode::microphoneAndSystem,
                              kEngineWaitMs);
    QVERIFY(h.statuses.contains(UiText::statusAddingMicrophone));
    // The next meta poll may speak over the hint already.
    QVERIFY(h.hints.contains(UiText::hintMicrophoneJoinedRecording));
    QVERIFY(h.microphoneBackend.isRecording());

    // Both sources are rewired for mixing: paired chunks leave as one frame.
    h.playOnBothSources(4, 0.25f);
    QByteArray alone(3200, Qt::Uninitialized);
    for (int i = 0; i < 1600; ++i)
        qToLittleEndian(qint16(8192), alone.data() + 2 * i);
    const QByteArray mixed = mixPCM16(alone, alone, vm.settings()->config().mixSettings());
    const auto hasMixedFrame = [&h, &id, &mixed] {
        for (const auto& message : h.backend().streamMessages(id)) {
            if (message.binary && message.payload == mixed)
                return true;
        }
        return false;
    };
    QTRY_VERIFY_WITH_TIMEOUT(hasMixedFrame(), kEngineWaitMs);
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->isStopped(), kEngineWaitMs);
}

QTEST_GUILESS_MAIN(TstViewModelSupervision)
#include "tst_view_model_supervision.moc"
