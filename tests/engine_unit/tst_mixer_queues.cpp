#include "audio/PcmMixer.h"
#include "engine/rules/MixerQueues.h"

#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::MixedBacklogTrim)

namespace {

// `bytes` bytes of one repeated sample (a last odd byte is the sample's low byte).
QByteArray chunk(qsizetype bytes, qint16 sample) {
    QByteArray data(bytes, Qt::Uninitialized);
    for (qsizetype i = 0; i < bytes; ++i) {
        char pair[2];
        qToLittleEndian(sample, pair);
        data[i] = pair[i % 2];
    }
    return data;
}

const MixSettings kSettings;

} // namespace

class MixerQueuesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void equalChunksArePairedAndMixed() {
        const QByteArray mic = chunk(3200, 1000);
        const QByteArray system = chunk(3200, -2000);
        MixerQueues queues{{mic}, {system}};
        QCOMPARE(drainMixedFrames(queues, kSettings),
                 QList<QByteArray>{mixPCM16(mic, system, kSettings)});
        QVERIFY(queues.pendingMicChunks.isEmpty());
        QVERIFY(queues.pendingSystemChunks.isEmpty());
    }

    void longerChunksTailWaitsForTheNextPartner() {
        const QByteArray mic = chunk(3200, 1000);
        const QByteArray system = chunk(640, 3000);
        MixerQueues queues{{mic}, {system}};
        const auto frames = drainMixedFrames(queues, kSettings);
        QCOMPARE(frames, QList<QByteArray>{mixPCM16(mic.first(640), system, kSettings)});
        QCOMPARE(queues.pendingMicChunks, QList<QByteArray>{mic.sliced(640)});
        QVERIFY(queues.pendingSystemChunks.isEmpty());

        // The tail pairs with the next system chunk, before the microphone's later chunks.
        const QByteArray nextMic = chunk(3200, 7);
        const QByteArray nextSystem = chunk(3200, 5);
        queues.pendingMicChunks.append(nextMic);
        queues.pendingSystemChunks.append(nextSystem);
        // The system chunk's own tail then pairs with the next microphone chunk.
        QCOMPARE(
            drainMixedFrames(queues, kSettings),
            (QList<QByteArray>{mixPCM16(mic.sliced(640), nextSystem.first(2560), kSettings),
                               mixPCM16(nextMic.first(640), nextSystem.sliced(2560), kSettings)}));
        QCOMPARE(queues.pendingMicChunks, QList<QByteArray>{nextMic.sliced(640)});
        QVERIFY(queues.pendingSystemChunks.isEmpty());
    }

    void oddByteLeftOverIsDroppedWithItsPartner() {
        // The odd byte goes back as a chunk of its own; paired with the system chunk's tail it
        // is too short to mix, and both are dropped.
        const QByteArray mic = chunk(641, 100);
        const QByteArray system = chunk(3200, 200);
        MixerQueues queues{{mic, chunk(3200, 300)}, {system}};
        QCOMPARE(drainMixedFrames(queues, kSettings),
                 QList<QByteArray>{mixPCM16(mic.first(640), system.first(640), kSettings)});
        QCOMPARE(queues.pendingMicChunks, QList<QByteArray>{chunk(3200, 300)});
        QVERIFY(queues.pendingSystemChunks.isEmpty());
    }

    void pairTooShortToMixIsDropped() {
        MixerQueues queues{{chunk(1, 5)}, {chunk(3200, 5)}};
        QVERIFY(drainMixedFrames(queues, kSettings).isEmpty());
        QVERIFY(queues.pendingMicChunks.isEmpty());
        QVERIFY(queues.pendingSystemChunks.isEmpty());
    }

    void lonelyQueueWaitsForTwoChunksThenSendsAlone_data() {
        QTest::addColumn<bool>("micIsAlone");
        QTest::newRow("microphone alone") << true;
        QTest::newRow("system audio alone") << false;
    }
    void lonelyQueueWaitsForTwoChunksThenSendsAlone() {
        QFETCH(bool, micIsAlone);
        MixerQueues queues;
        QList<QByteArray>& alone =
            micIsAlone ? queues.pendingMicChunks : queues.pendingSystemChunks;
        alone = {chunk(3200, 1), chunk(3200, 2)};
        QVERIFY(drainMixedFrames(queues, kSettings).isEmpty());
        QCOMPARE(alone.size(), 2);
        // A third arrives: the oldest goes out unmixed.
        alone.append(chunk(3200, 3));
        QCOMPARE(drainMixedFrames(queues, kSettings), QList<QByteArray>{chunk(3200, 1)});
        QCOMPARE(alone, (QList<QByteArray>{chunk(3200, 2), chunk(3200, 3)}));
    }

    void drainSendsEveryFrameItCanInOrder() {
        const QByteArray a = chunk(3200, 1), b = chunk(3200, 2), c = chunk(3200, 3),
                         d = chunk(3200, 4);
        const QByteArray s = chunk(3200, 9);
        MixerQueues queues{{a, b, c, d}, {s}};
        // The first pair is mixed; then the microphone queue holds 3 and sends alone to 2.
        QCOMPARE(drainMixedFrames(queues, kSettings),
                 (QList<QByteArray>{mixPCM16(a, s, kSettings), b}));
        QCOMPARE(queues.pendingMicChunks, (QList<QByteArray>{c, d}));
    }

    void backlogKeepsTheNewestThreeWhileTheOtherQueueWaits_data() {
        QTest::addColumn<int>("micChunks");
        QTest::addColumn<int>("systemChunks");
        QTest::addColumn<MixedBacklogTrim>("expected");
        QTest::newRow("8 microphone chunks: below the limit")
            << 8 << 1 << MixedBacklogTrim{0, 8, 0, 1};
        QTest::newRow("9 microphone chunks") << 9 << 1 << MixedBacklogTrim{6, 3, 0, 1};
        QTest::newRow("12 system chunks") << 1 << 12 << MixedBacklogTrim{0, 1, 9, 3};
        QTest::newRow("both long") << 10 << 9 << MixedBacklogTrim{7, 3, 6, 3};
        QTest::newRow("other queue empty: nothing dropped")
            << 20 << 0 << MixedBacklogTrim{0, 20, 0, 0};
    }
    void backlogKeepsTheNewestThreeWhileTheOtherQueueWaits() {
        QFETCH(int, micChunks);
        QFETCH(int, systemChunks);
        QFETCH(MixedBacklogTrim, expected);
        MixerQueues queues;
        for (int i = 0; i < micChunks; ++i)
            queues.pendingMicChunks.append(chunk(2, qint16(i)));
        for (int i = 0; i < systemChunks; ++i)
            queues.pendingSystemChunks.append(chunk(2, qint16(100 + i)));
        queues.mixedLagDropMicChunks = 1;
        queues.mixedLagDropSystemChunks = 2;

        QCOMPARE(trimMixedBacklogIfNeeded(queues), expected);
        QCOMPARE(queues.mixedLagDropMicChunks, 1 + expected.micDropped);
        QCOMPARE(queues.mixedLagDropSystemChunks, 2 + expected.systemDropped);
        if (expected.micDropped > 0)
            QCOMPARE(queues.pendingMicChunks.first(), chunk(2, qint16(micChunks - 3)));
        if (expected.systemDropped > 0)
            QCOMPARE(queues.pendingSystemChunks.first(), chunk(2, qint16(100 + systemChunks - 3)));
    }
};

QTEST_GUILESS_MAIN(MixerQueuesTest)
#include "tst_mixer_queues.moc"
