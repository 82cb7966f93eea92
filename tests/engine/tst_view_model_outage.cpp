// A stream outage during a recording: the audio captured while the stream is down reaches the
// server after the reconnect, in order and once, and an outage past the retry budget ends the
// recording as before with the held audio freed.
#include "EngineHarness.h"

#include "backend/WebSocketStreamClient.h"
#include "refbackend/WavWriter.h"
#include "text/UiText.h"

#include <QPointer>
#include <QtEndian>

using namespace vesnara;
using namespace vesnara::test;
using refbackend::ScriptedEvent;

namespace {

// Each 100 ms buffer of the fake microphone becomes one frame of 3200 bytes.
constexpr int kFrameBytes = 3200;
constexpr int kBeforeFrames = 30;  // 3 s before the outage
constexpr int kOutageFrames = 100; // 10 s while the stream is down
constexpr int kAfterFrames = 30;   // 3 s after it
constexpr float kBeforeAmplitude = 0.2f;
constexpr float kOutageAmplitude = 0.4f;
constexpr float kAfterAmplitude = 0.6f;

QString at(int second) {
    return u"2026-01-02T10:00:%1Z"_s.arg(second, 2, 10, QChar(u'0'));
}

/// The mean absolute level of each 3200-byte block of the server's audio.
QList<double> blockLevels(const QByteArray& pcm) {
    QList<double> levels;
    for (qsizetype offset = 0; offset + kFrameBytes <= pcm.size(); offset += kFrameBytes) {
        double sum = 0.0;
        for (qsizetype i = offset; i < offset + kFrameBytes; i += 2)
            sum += std::abs(qFromLittleEndian<qint16>(pcm.constData() + i)) / 32768.0;
        levels << sum / (kFrameBytes / 2);
    }
    return levels;
}

qsizetype longestZeroRun(const QByteArray& pcm) {
    qsizetype longest = 0;
    qsizetype run = 0;
    for (qsizetype i = 0; i + 1 < pcm.size(); i += 2) {
        run = qFromLittleEndian<qint16>(pcm.constData() + i) == 0 ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    return longest;
}

/// Which phase a block's level belongs to: 0 before, 1 during, 2 after the outage.
int phaseOf(double level) {
    const double during = 2.0 / 3.1416 * kOutageAmplitude;
    if (level < during * 0.75)
        return 0;
    return level < during * 1.25 ? 1 : 2;
}

} // namespace

class TstViewModelOutage : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void audioOfAnOutageReachesTheServerAfterTheReconnect_data();
    void audioOfAnOutageReachesTheServerAfterTheReconnect();
    void aServerThatNeverAnswersTheStartStillGetsTheHeldAudio();
    void anOutagePastTheRetryBudgetEndsTheRecordingAndFreesTheSpool();
};

void TstViewModelOutage::audioOfAnOutageReachesTheServerAfterTheReconnect_data() {
    QTest::addColumn<bool>("spool");
    QTest::addColumn<int>("capacitySeconds");
    QTest::addColumn<int>("keptFrames");
    QTest::newRow("spool on") << true << 120 << kOutageFrames;
    QTest::newRow("spool full: the oldest dropped, the loss said") << true << 2 << 20;
    QTest::newRow("spool off drops the outage as before") << false << 120 << 0;
}

void TstViewModelOutage::audioOfAnOutageReachesTheServerAfterTheReconnect() {
    QFETCH(bool, spool);
    QFETCH(int, capacitySeconds);
    QFETCH(int, keptFrames);
    const bool overflows = keptFrames < kOutageFrames && spool;
    EngineHarness h;
    QVERIFY(h.server.isListening());
    // Back-off long enough that the outage's audio is played well within the retry budget
    // (5.5 s), short enough that the reconnect follows the outage at once.
    h.timing.streamReconnectBaseDelay = 100ms;
    h.timing.streamReconnectMaxDelay = 1000ms;
    h.timing.audioSpoolPerAudioSecond = 50ms;
    h.timing.audioSpoolCapacity = std::chrono::seconds(capacitySeconds);
    // A line keyed on a frame of each phase: before, in the middle of the outage, at its end
    // and after it. The server counts those frames only if they reach it.
    h.backend().setScript(
        {ScriptedEvent::afterFrames(20, finalEvent(u"Ennen katkoa"_s, at(2))),
         ScriptedEvent::afterFrames(80, finalEvent(u"Katkon aikana"_s, at(8))),
         ScriptedEvent::afterFrames(125, finalEvent(u"Katkon lopussa"_s, at(12))),
         ScriptedEvent::afterFrames(150, finalEvent(u"Katkon jälkeen"_s, at(15)))});
    auto& vm = h.make();
    vm.settings()->setAudioSpoolEnabled(spool);
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    const QString id = vm.sessionId();
    QPointer<WebSocketStreamClient> client = vm.findChild<WebSocketStreamClient*>();
    QVERIFY(client);
    QCOMPARE(client->isAudioSpoolEnabled(), spool);
    QSignalSpy drains(client.get(), &WebSocketStreamClient::audioSpoolDrainStarted);

    h.microphoneBackend.play(toneBuffers(kBeforeFrames, kBeforeAmplitude), 2ms);
    h.microphoneBackend.waitUntilPlayed();
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, kBeforeFrames, kEngineWaitMs);

    // The stream goes down until the test lifts the outage; 10 s of audio is captured meanwhile.
    h.backend().cutStreams(id, 1h);
    QTRY_VERIFY_WITH_TIMEOUT(h.statuses.contains(UiText::statusReconnecting), kEngineWaitMs);
    h.microphoneBackend.play(toneBuffers(kOutageFrames, kOutageAmplitude), 2ms);
    h.microphoneBackend.waitUntilPlayed();
    QTRY_COMPARE_WITH_TIMEOUT(vm.meters()->audioFramesSent(), kBeforeFrames + kOutageFrames,
                              kEngineWaitMs);
    QCOMPARE(client->spooledBytes(), qint64(keptFrames) * kFrameBytes);
    QCOMPARE(h.session(id)->audioFrameCount, kBeforeFrames);
    QVERIFY(vm.isRecording());

    // The network returns. Live audio follows at once and queues behind the held audio; with a
    // full spool it waits for the drain, so no later frame pushes out more of the outage.
    QSignalSpy reopened(&h.backend(), &refbackend::RefBackend::streamOpened);
    h.backend().faults().streamsRefusedUntil.reset();
    if (overflows)
        QTRY_VERIFY_WITH_TIMEOUT(drains.size() == 1 && client->spooledBytes() == 0, kEngineWaitMs);
    if (!spool) // what is captured before the stream is back is lost without the spool
        QTRY_VERIFY_WITH_TIMEOUT(!reopened.isEmpty(), kEngineWaitMs);
    h.microphoneBackend.play(toneBuffers(kAfterFrames, kAfterAmplitude), 2ms);
    h.microphoneBackend.waitUntilPlayed();

    const int expectedFrames = kBeforeFrames + keptFrames + kAfterFrames;
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, expectedFrames, kEngineWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(client->spooledBytes(), 0, kEngineWaitMs);
    // Each frame counted once: by the engine as it left, by the client as it went on the wire
    // (without the spool, the outage's frames went onto the dead connection).
    QCOMPARE(vm.meters()->audioFramesSent(), kBeforeFrames + kOutageFrames + kAfterFrames);
    QCOMPARE(client->audioFramesSent(), spool ? expectedFrames : expectedFrames + kOutageFrames);

    const auto wav = refbackend::WavWriter::read(h.backend().audioPath(id));
    QVERIFY(wav);
    QCOMPARE(wav->sampleRate, 16000);
    QCOMPARE(wav->pcm.size(), qsizetype(expectedFrames) * kFrameBytes);
    QVERIFY2(longestZeroRun(wav->pcm) < 16, "a run of silence where the outage was");
    // In capture order: the phases never step back.
    QList<int> phases;
    for (double level : blockLevels(wav->pcm))
        phases << phaseOf(level);
    QVERIFY(std::is_sorted(phases.begin(), phases.end()));
    QCOMPARE(phases.count(1), keptFrames);

    QCOMPARE(drains.size(), spool ? 1 : 0);
    const qint64 droppedBytes = qint64(kOutageFrames - keptFrames) * kFrameBytes;
    if (spool) {
        QVERIFY(drains.first().at(0).toLongLong() >= qint64(keptFrames) * kFrameBytes);
        QCOMPARE(drains.first().at(1).toLongLong(), overflows ? droppedBytes : 0);
    }
    // The loss is said once, in whole seconds.
    QCOMPARE(h.statuses.count(UiText::audioSpoolLoss(8)), overflows ? 1 : 0);
    QStringList lines{u"Ennen katkoa"_s};
    if (spool && !overflows)
        lines << u"Katkon aikana"_s << u"Katkon lopussa"_s << u"Katkon jälkeen"_s;
    if (overflows) // 80 frames reach the server in all: the second line's frame is the last
        lines << u"Katkon aikana"_s;
    QTRY_COMPARE_WITH_TIMEOUT(textsOf(vm.transcript()->segments()), lines, kEngineWaitMs);
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
}

void TstViewModelOutage::aServerThatNeverAnswersTheStartStillGetsTheHeldAudio() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.timing.streamReconnectBaseDelay = 100ms;
    h.timing.streamReconnectMaxDelay = 1000ms;
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    const QString id = vm.sessionId();

    // From now on the server hears but never speaks: no start is ever confirmed again.
    h.backend().faults().silentStreams = true;
    h.backend().cutStreams(id, 1h);
    QTRY_VERIFY_WITH_TIMEOUT(h.statuses.contains(UiText::statusReconnecting), kEngineWaitMs);
    h.microphoneBackend.play(toneBuffers(kOutageFrames, kOutageAmplitude), 2ms);
    h.microphoneBackend.waitUntilPlayed();
    QTRY_COMPARE_WITH_TIMEOUT(vm.meters()->audioFramesSent(), kOutageFrames, kEngineWaitMs);
    h.backend().faults().streamsRefusedUntil.reset();

    // The held audio goes once the new connection has stood for its grace.
    QTRY_COMPARE_WITH_TIMEOUT(h.session(id)->audioFrameCount, kOutageFrames, kEngineWaitMs);
    QVERIFY(vm.isRecording());
    vm.stopRecording();
    QTRY_VERIFY_WITH_TIMEOUT(vm.runState() == RecordingRunState::idle, kEngineWaitMs);
}

void TstViewModelOutage::anOutagePastTheRetryBudgetEndsTheRecordingAndFreesTheSpool() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.timing.streamReconnectBaseDelay = 40ms;
    h.timing.streamReconnectMaxDelay = 200ms;
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    const QString id = vm.sessionId();
    QPointer<WebSocketStreamClient> client = vm.findChild<WebSocketStreamClient*>();
    QVERIFY(client);

    h.backend().cutStreams(id, 1h);
    QTRY_VERIFY_WITH_TIMEOUT(h.statuses.contains(UiText::statusReconnecting), kEngineWaitMs);
    h.microphoneBackend.play(toneBuffers(20, kOutageAmplitude), 2ms);
    h.microphoneBackend.waitUntilPlayed();
    QTRY_VERIFY_WITH_TIMEOUT(!client || client->spooledBytes() > 0, kEngineWaitMs);
    QVERIFY2(client, "the budget ran out before the audio was held");

    QSignalSpy destroyed(client.get(), &QObject::destroyed);
    QTRY_VERIFY_WITH_TIMEOUT(!vm.isRecording(), 10'000);
    QCOMPARE(vm.status()->statusText(), UiText::statusConnectionLost);
    // As before: the text stays, nothing is saved, the server is not told to stop.
    QCOMPARE(vm.transcript()->segments().size(), 0);
    QVERIFY(h.stoppedSessionIds().isEmpty());
    QVERIFY(!client || client->spooledBytes() == 0);
    QTRY_VERIFY_WITH_TIMEOUT(!client, kEngineWaitMs);
}

QTEST_MAIN(TstViewModelOutage)
#include "tst_view_model_outage.moc"
