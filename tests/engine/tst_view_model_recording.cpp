// Whole recordings through the view model: scripted audio from the fake sources reaches the
// reference backend, its lines come back by stream and by poll, and the stop saves the session.
#include "EngineHarness.h"

#include "audio/PcmMixer.h"
#include "storage/SessionHistoryStore.h"
#include "text/UiText.h"

#include <QtEndian>

using namespace vesnara;
using namespace vesnara::test;
using refbackend::ScriptedEvent;

namespace {

const QString kT0 = u"2026-01-02T10:00:00Z"_s;
const QString kT2 = u"2026-01-02T10:00:02Z"_s;
const QString kT4 = u"2026-01-02T10:00:04Z"_s;

/// `samples` PCM16 samples, all `value`.
QByteArray constantPCM(qint16 value, int samples) {
    QByteArray pcm(samples * 2, Qt::Uninitialized);
    for (int i = 0; i < samples; ++i)
        qToLittleEndian(value, pcm.data() + 2 * i);
    return pcm;
}

/// Whether `statuses` holds `expected` in this order (others may come between).
bool containsInOrder(const QStringList& statuses, const QStringList& expected) {
    qsizetype from = 0;
    for (const QString& text : expected) {
        from = statuses.indexOf(text, from);
        if (from < 0)
            return false;
        ++from;
    }
    return true;
}

} // namespace

class TstViewModelRecording : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void microphoneRecordingMergesStreamAndPollAndSaves();
    void systemAudioSilenceEndsWithoutTranscriptAndTellsWhy();
    void mixedModeSendsTheMixOfBothSources();
    void keepAliveSendsSilenceWhileSourcesAreDry();
};

void TstViewModelRecording::microphoneRecordingMergesStreamAndPollAndSaves() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.backend().setScript({ScriptedEvent::afterFrames(3, finalEvent(u" Hyvää  Päivää\n"_s, kT0)),
                           ScriptedEvent::afterFrames(5, partialEvent(u"mitä kuu"_s)),
                           ScriptedEvent::afterFrames(8, finalEvent(u"Mitä kuuluu?"_s, kT4))});
    auto& vm = h.make();

    vm.startRecording();
    QCOMPARE(vm.status()->statusText(), UiText::statusConnecting);
    QVERIFY(vm.isStartingRecording());
    QVERIFY(!vm.canStart());
    QVERIFY(vm.canStop());
    QTRY_VERIFY_WITH_TIMEOUT(vm.isRecording(), kEngineWaitMs);
    const QString id = vm.sessionId();
    QVERIFY(!id.isEmpty());
    QCOMPARE(vm.status()->statusText(), UiText::statusListeningTo(u"Sisäinen mikrofoni"_s));
    // The list on screen grows row by row; it is never reset while the recording runs.
    QAbstractItemModel* lines = vm.transcript()->segmentModel();
    QSignalSpy lineInserts(lines, &QAbstractItemModel::rowsInserted);
    QSignalSpy lineResets(lines, &QAbstractItemModel::modelReset);
    QVERIFY(vm.canPause());
    QCOMPARE(h.microphoneBackend.requestedDevices(), QList<quint32>{7});

    h.microphoneBackend.play(toneBuffers(12, 0.5f));
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, 12, kEngineWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(vm.transcript()->segments().size(), 2, kEngineWaitMs);
    QCOMPARE(vm.meters()->audioFramesSent(), 12);
    const double expectedLevel = 2.0 / std::numbers::pi * 0.5;
    QVERIFY2(std::abs(h.session(id)->averageAudioLevel() - expectedLevel) < 0.02,
             qPrintable(QString::number(h.session(id)->averageAudioLevel())));
    // The meta poll may briefly show the server's average of an earlier moment.
    QTRY_VERIFY_WITH_TIMEOUT(std::abs(vm.meters()->outgoingAudioLevel() - expectedLevel) < 0.02,
                             kEngineWaitMs);
    QVERIFY(vm.meters()->outgoingAudioPeak() >= vm.meters()->outgoingAudioLevel());
    QCOMPARE(vm.transcript()->interimText(), QString());

    // Lines that only the server's transcript holds: a case and spacing variant of the first
    // line in the same second (a duplicate) and an earlier line that must sort into its place.
    h.backend().faults().silentStreams = true;
    h.backend().sendStreamEvent(id, finalEvent(u"hyvää päivää"_s, kT0));
    h.backend().sendStreamEvent(id, finalEvent(u"Vain palvelimella"_s, kT2));
    h.backend().faults().silentStreams = false;
    QTRY_COMPARE_WITH_TIMEOUT(vm.transcript()->segments().size(), 3, kEngineWaitMs);
    const int polls = h.requestCount(u"/transcript"_s);
    QTRY_VERIFY_WITH_TIMEOUT(h.requestCount(u"/transcript"_s) >= polls + 2, kEngineWaitMs);
    QCOMPARE(textsOf(vm.transcript()->segments()),
             (QStringList{u"Hyvää  Päivää"_s, u"Vain palvelimella"_s, u"Mitä kuuluu?"_s}));
    QVERIFY(vm.transcript()->transcriptText().endsWith(u"] Mitä kuuluu?"_s));
    QCOMPARE(vm.transcript()->wordCount(), 3 + 3 + 3);
    QCOMPARE(lineInserts.size(), 3);
    QCOMPARE(lineInserts.at(2).at(1).toInt(), 1);
    QCOMPARE(lineResets.size(), 0);
    QVERIFY(!vm.canSave());

    vm.stopRecording();
    QCOMPARE(vm.status()->statusText(), UiText::statusStopping);
    QVERIFY(!vm.isRecording());
    QVERIFY(vm.canStart());
    QVERIFY(vm.canSave());
    QTRY_VERIFY(!h.microphoneBackend.isRecording());
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);
    QVERIFY(h.session(id)->isStopped());
    QCOMPARE(vm.sessionId(), id);
    QCOMPARE(vm.transcript()->segments().size(), 3);
    QCOMPARE(vm.meters()->audioFramesSent(), 0);
    QCOMPARE(vm.status()->diagnosticHint(), QString());
    QVERIFY(vm.canSummary());

    const auto saved = SessionHistoryStore(h.historyDirectory.path()).load(id);
    QVERIFY(saved.has_value());
    QCOMPARE(saved->segments, vm.transcript()->segments());
    QCOMPARE(saved->language, vm.settings()->language());
    QVERIFY(saved->createdAt <= saved->endedAt);
    QCOMPARE(vm.history()->sessionHistory().size(), 1);
    QCOMPARE(vm.history()->sessionHistory().first().id, id);

    QVERIFY2(containsInOrder(h.statuses, {UiText::statusConnecting,
                                          UiText::statusListeningTo(u"Sisäinen mikrofoni"_s),
                                          UiText::statusListening, UiText::statusStopping,
                                          UiText::statusStopped}),
             qPrintable(h.statuses.join(u" | "_s)));
}

void TstViewModelRecording::systemAudioSilenceEndsWithoutTranscriptAndTellsWhy() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::systemAudio));
    const QString id = vm.sessionId();
    QVERIFY(vm.status()->statusText().startsWith(
        UiText::statusListeningTo(u"Kaiuttimet"_s).chopped(1)));
    QVERIFY(h.systemBackend.isCapturing());
    QVERIFY(!h.microphoneBackend.isRecording());

    QList<ScriptedAudioBuffer> silence;
    for (int i = 0; i < 26; ++i)
        silence << ScriptedAudioBuffer::constant(48000, 2, 4800, 0.0f);
    h.systemBackend.play(silence);
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, 26, kEngineWaitMs);
    // Every 25th frame before the first line says whether speech is heard.
    QTRY_VERIFY_WITH_TIMEOUT(h.statuses.contains(UiText::statusWaitingForSpeech), kEngineWaitMs);
    QCOMPARE(vm.meters()->outgoingAudioLevel(), 0.0);

    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStoppedWithoutTranscript,
                              kEngineWaitMs);
    QCOMPARE(vm.status()->diagnosticHint(), UiText::hintEmptyResultSilentSystemAudio);
    QVERIFY(h.session(id)->isStopped());
    QTRY_VERIFY(!h.systemBackend.isCapturing());
    // Nothing to keep: no file for a session without lines or pins.
    QVERIFY(!SessionHistoryStore(h.historyDirectory.path()).load(id).has_value());
    QVERIFY(vm.history()->sessionHistory().isEmpty());
}

void TstViewModelRecording::mixedModeSendsTheMixOfBothSources() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    // Echo guard off: the microphone reaches the mixer byte for byte, as it was captured.
    vm.settings()->setEchoGuardEnabled(false);
    QVERIFY(h.startRecordingIn(AudioInputMode::microphoneAndSystem));
    const QString id = vm.sessionId();
    // Mixed mode names the selected microphone as the picker does ("Auto" for none).
    QCOMPARE(vm.status()->statusText(),
             UiText::statusListeningTo(UiText::automaticSource + u" + "_s +
                                       vm.sources()->micStatusLabel().section(u" + "_s, 1)));
    QVERIFY(vm.status()->statusText().contains(u" + Kaiuttimet"_s));
    QVERIFY(h.microphoneBackend.isRecording());
    QVERIFY(h.systemBackend.isCapturing());

    // A constant 0.25 converts to the sample 8192 on both sides.
    h.playOnBothSources(8, 0.25f);
    QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->audioFrameCount >= 8, kEngineWaitMs);

    const QByteArray alone = constantPCM(8192, 1600);
    const QByteArray mixed = mixPCM16(alone, alone, vm.settings()->config().mixSettings());
    QVERIFY(mixed != alone);
    int mixedFrames = 0;
    for (const auto& message : h.backend().streamMessages(id)) {
        if (!message.binary)
            continue;
        QVERIFY2(message.payload == mixed || message.payload == alone,
                 "a frame that is neither the mix nor one source alone");
        if (message.payload == mixed)
            ++mixedFrames;
    }
    QVERIFY(mixedFrames >= 1);

    vm.stopRecording();
    QTRY_VERIFY(!h.microphoneBackend.isRecording());
    QTRY_VERIFY(!h.systemBackend.isCapturing());
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStoppedWithoutTranscript,
                              kEngineWaitMs);
    const qint64 frames = h.session(id)->audioFrameCount;
    QCOMPARE(vm.status()->diagnosticHint(),
             frames < 10 ? UiText::hintEmptyResultTooShort : UiText::hintEmptyResultNoText);
}

void TstViewModelRecording::keepAliveSendsSilenceWhileSourcesAreDry() {
    EngineHarness h(true);
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    const QString id = vm.sessionId();

    // Nothing goes out before the first real frame: three meta polls span several keep-alive
    // ticks, and the server has still received nothing.
    const QString metaPath = u"/v1/sessions/"_s + id;
    QTRY_VERIFY_WITH_TIMEOUT(h.requestCount(metaPath) >= 3, kEngineWaitMs);
    QCOMPARE(h.session(id)->audioFrameCount, 0);

    h.microphoneBackend.play(toneBuffers(3, 0.5f));
    QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->audioFrameCount >= 6, kEngineWaitMs);
    int silentFrames = 0;
    for (const auto& message : h.backend().streamMessages(id)) {
        if (message.binary && message.payload == QByteArray(3200, '\0'))
            ++silentFrames;
    }
    QVERIFY(silentFrames >= 3);
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(h.session(id)->isStopped(), kEngineWaitMs);
}

QTEST_GUILESS_MAIN(TstViewModelRecording)
#include "tst_view_model_recording.moc"
