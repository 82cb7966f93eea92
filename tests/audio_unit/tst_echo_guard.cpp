// The echo guard against a made-up meeting: a remote voice, its echo in the microphone 60 ms
// later and 10 dB quieter, and a local voice, with the two sources' frames arriving as capture
// threads deliver them.
#include "FrameCollector.h"
#include "audio/EchoGuard.h"
#include "audio/EchoGuardStage.h"
#include "support/EchoScene.h"

#include <QTest>

#include <algorithm>
#include <thread>

using namespace vesnara;
using namespace vesnara::test;

namespace {

constexpr int kFrameSamples = 1600;
constexpr qint64 kEpochUs = 1'000'000'000;

enum class Arrival { inStep, referenceLate, referenceInBursts, microphoneLate, jitterAndPartials };

struct Event {
    qint64 atUs;
    bool far;
    QByteArray frame;
};

// When a frame whose last sample is due at `dueUs` reaches the guard.
qint64 arrivalOf(Arrival arrival, bool far, qint64 dueUs, std::uint32_t& random) {
    random = random * 1664525u + 1013904223u;
    const qint64 jitter = (random >> 8) % 40'000;
    switch (arrival) {
    case Arrival::inStep:
        return dueUs + 5'000;
    case Arrival::referenceLate:
        return dueUs + (far ? 150'000 : 10'000);
    case Arrival::referenceInBursts: // four frames at once, when the last is due
        return far ? (dueUs + 399'999) / 400'000 * 400'000 + 20'000 : dueUs + 10'000;
    case Arrival::microphoneLate:
        return dueUs + (far ? 5'000 : 120'000);
    case Arrival::jitterAndPartials:
        return dueUs + jitter;
    }
    return dueUs;
}

// The frames of both sources in the order they reach the guard. The system audio's frames
// vary in size where its chunker flushes partial chunks.
std::vector<Event> deliveries(const QByteArray& far, const QByteArray& near, Arrival arrival) {
    std::vector<Event> events;
    std::uint32_t random = 7;
    const auto cut = [&](const QByteArray& pcm, bool isFar) {
        qsizetype at = 0;
        qint64 previous = 0; // a capture thread delivers its frames in order
        while (at < pcm.size()) {
            random = random * 1664525u + 1013904223u;
            const qsizetype samples = isFar && arrival == Arrival::jitterAndPartials
                                          ? 320 + qsizetype((random >> 8) % 1281)
                                          : kFrameSamples;
            const QByteArray frame = pcm.mid(at, 2 * samples);
            at += frame.size();
            const qint64 dueUs = kEpochUs + at / 2 * 1'000'000 / kEchoSceneRate;
            previous = std::max(previous, arrivalOf(arrival, isFar, dueUs, random));
            events.push_back({previous, isFar, frame});
        }
    };
    cut(far, true);
    cut(near, false);
    std::stable_sort(events.begin(), events.end(),
                     [](const Event& a, const Event& b) { return a.atUs < b.atUs; });
    return events;
}

QByteArray joined(const QList<QByteArray>& frames) {
    QByteArray all;
    for (const QByteArray& frame : frames)
        all += frame;
    return all;
}

QList<QByteArray> runGuard(EchoGuard& guard, const std::vector<Event>& events) {
    QList<QByteArray> out;
    for (const Event& event : events)
        out += event.far ? guard.pushFarEnd(event.frame, event.atUs)
                         : guard.pushNearEnd(event.frame, event.atUs);
    out += guard.drain();
    return out;
}

} // namespace

Q_DECLARE_METATYPE(Arrival)

class EchoGuardTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Remote alone 0–5 s and 7–11 s, local alone 5–7 s and 11–13 s, both at once 7–9 s. After
    // the first 3 s of adaptation, the echo must be at least 15 dB down where it is alone (also
    // after the double talk, which must not have thrown the filter off), and the local voice
    // within 3 dB of its level, alone and over the remote voice.
    void cancelsTheEchoAndKeepsTheLocalVoice_data() {
        QTest::addColumn<Arrival>("arrival");
        QTest::newRow("in step") << Arrival::inStep;
        QTest::newRow("reference 150 ms late") << Arrival::referenceLate;
        QTest::newRow("reference in bursts of 400 ms") << Arrival::referenceInBursts;
        QTest::newRow("microphone 120 ms late") << Arrival::microphoneLate;
        QTest::newRow("jitter, partial reference chunks") << Arrival::jitterAndPartials;
    }
    void cancelsTheEchoAndKeepsTheLocalVoice() {
        QFETCH(Arrival, arrival);
        const std::vector<double> remote =
            onlyDuring(speechLikeSignal(13.0, 1, 120.0), {{0.0, 5.0}, {7.0, 11.0}});
        const std::vector<double> local =
            onlyDuring(speechLikeSignal(13.0, 2, 210.0), {{5.0, 9.0}, {11.0, 13.0}});
        const QByteArray far = toPcm16(remote);
        const QByteArray near = toPcm16(sum(delayed(remote, 0.06, -10.0), local));

        EchoGuard guard;
        QVERIFY(guard.isActive());
        const QList<QByteArray> out = runGuard(guard, deliveries(far, near, arrival));
        // Every sample comes back once, in frames of the sizes that went in.
        for (const QByteArray& frame : out)
            QCOMPARE(frame.size(), 2 * kFrameSamples);
        QCOMPARE(joined(out).size(), near.size());

        const std::vector<double> cleaned = fromPcm16(joined(out));
        const std::vector<double> microphone = fromPcm16(near);
        const std::vector<double> localAlone = fromPcm16(toPcm16(local));
        const double echoDrop = energyDb(microphone, 3.0, 5.0) - energyDb(cleaned, 3.0, 5.0);
        const double echoDropAfterDoubleTalk =
            energyDb(microphone, 9.2, 11.0) - energyDb(cleaned, 9.2, 11.0);
        const double localChange = energyDb(cleaned, 5.1, 7.0) - energyDb(localAlone, 5.1, 7.0);
        const double doubleTalkChange =
            energyDb(cleaned, 7.0, 9.0) - energyDb(localAlone, 7.0, 9.0);
        qInfo("echo drop %.1f dB, after double talk %.1f dB; local voice %+.2f dB alone, "
              "%+.2f dB over the remote voice",
              echoDrop, echoDropAfterDoubleTalk, localChange, doubleTalkChange);
        // One measured delay places the echo; the double talk must not move it again.
        QVERIFY2(guard.realignments() <= 1, qPrintable(QString::number(guard.realignments())));
        QVERIFY2(echoDrop >= 15.0, qPrintable(QString::number(echoDrop)));
        QVERIFY2(echoDropAfterDoubleTalk >= 15.0,
                 qPrintable(QString::number(echoDropAfterDoubleTalk)));
        QVERIFY2(std::abs(localChange) <= 3.0, qPrintable(QString::number(localChange)));
        QVERIFY2(std::abs(doubleTalkChange) <= 3.0, qPrintable(QString::number(doubleTalkChange)));
    }

    // A system audio source that stops (a dead capture, an application that closed) must not
    // hold the microphone back: once its reference is older than the longest hold (500 ms),
    // each microphone frame comes out with the push that brought it.
    void aStoppedReferenceHoldsNothingBack() {
        EchoGuard guard;
        const QByteArray frame = toPcm16(speechLikeSignal(0.1, 3, 150.0));
        qint64 at = kEpochUs;
        qsizetype out = 0;
        for (int i = 0; i < 10; ++i, at += 100'000) {
            out += guard.pushFarEnd(frame, at).size();
            out += guard.pushNearEnd(frame, at).size();
        }
        for (int i = 0; i < 6; ++i, at += 100'000)
            out += guard.pushNearEnd(frame, at).size();
        for (int i = 0; i < 10; ++i, at += 100'000)
            QCOMPARE(guard.pushNearEnd(frame, at).size(), 1);
        QCOMPARE(out + guard.drain().size(), 16);
    }

    // A canceller that cannot start leaves the microphone's frames as they are, byte for byte.
    void aGuardThatCannotStartPassesFramesThrough() {
        EchoGuardTuning broken;
        broken.filterSamples = 0;
        EchoGuard guard(broken);
        QVERIFY(!guard.isActive());
        const QByteArray frame = toPcm16(speechLikeSignal(0.1, 4, 150.0)) + '\x01';
        QCOMPARE(guard.pushFarEnd(frame, kEpochUs), QList<QByteArray>{});
        QCOMPARE(guard.pushNearEnd(frame, kEpochUs), QList<QByteArray>{frame});
        QCOMPARE(guard.drain(), QList<QByteArray>{});

        FrameCollector collector;
        EchoGuardStage stage(collector.sink(), broken);
        QVERIFY(!stage.isActive());
    }

    // The stage takes frames from two capture threads at once and hands every cleaned
    // microphone frame, in order, to the sink on its own thread; after `close` nothing more.
    void theStageHandsOutEveryFrameInOrderOnItsThread() {
        FrameCollector collector;
        auto stage = std::make_shared<EchoGuardStage>(collector.sink());
        QVERIFY(stage->isActive());
        const auto nearHook = nearEndHook(stage);
        FrameCollector systemFrames;
        const auto farHook = farEndHook(stage, systemFrames.sink());

        QList<QByteArray> sent;
        for (int i = 0; i < 30; ++i)
            sent.append(toPcm16(speechLikeSignal(0.1, 10 + std::uint32_t(i), 150.0)));
        std::thread system([&] {
            for (const QByteArray& frame : sent)
                farHook(frame);
        });
        std::thread microphone([&] {
            for (const QByteArray& frame : sent)
                nearHook(frame);
        });
        system.join();
        microphone.join();
        stage->close();
        nearHook(sent.first());

        QCOMPARE(systemFrames.frames(), sent);
        QCOMPARE(collector.sizes(), QList<int>(sent.size(), int(sent.first().size())));
        const QList<std::thread::id> threads = collector.threads();
        QVERIFY(std::all_of(threads.cbegin(), threads.cend(), [&](std::thread::id id) {
            return id == threads.first() && id != std::this_thread::get_id();
        }));
    }
};

QTEST_GUILESS_MAIN(EchoGuardTest)
#include "tst_echo_guard.moc"
