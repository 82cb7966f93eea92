// The outage spool's ring buffer within its byte budget, and the pace of sending it back.
#include "backend/AudioSpool.h"

#include <QTest>

using namespace std::chrono_literals;

namespace vesnara {

namespace {

/// A frame of `bytes` bytes whose every byte is `tag`, so order can be read back.
QByteArray frame(qsizetype bytes, char tag) {
    return QByteArray(bytes, tag);
}

QByteArray tagsOf(AudioSpool& spool) {
    QByteArray tags;
    while (!spool.isEmpty())
        tags.append(spool.pop().at(0));
    return tags;
}

} // namespace

class AudioSpoolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void capacityIsWholeSamplesOfTheDuration_data() {
        QTest::addColumn<qint64>("milliseconds");
        QTest::addColumn<qint64>("bytes");
        QTest::newRow("two minutes") << qint64(120'000) << qint64(3'840'000);
        // 1 ms is 32 bytes; 0.03 ms would be one byte, half a sample.
        QTest::newRow("rounds to whole samples") << qint64(1) << qint64(32);
        QTest::newRow("negative") << qint64(-5) << qint64(0);
    }
    void capacityIsWholeSamplesOfTheDuration() {
        QFETCH(qint64, milliseconds);
        QFETCH(qint64, bytes);
        QCOMPARE(AudioSpool::capacityFor(std::chrono::milliseconds(milliseconds)), bytes);
    }

    // Within the budget every frame comes back in order; past it the oldest go first, whole,
    // and the loss is counted once.
    void keepsTheNewestFramesWithinItsBudget_data() {
        QTest::addColumn<qint64>("capacity");
        QTest::addColumn<QList<int>>("frameBytes");
        QTest::addColumn<QByteArray>("kept");
        QTest::addColumn<qint64>("dropped");
        QTest::newRow("fits") << qint64(10) << QList<int>{4, 4, 2} << QByteArray("abc")
                              << qint64(0);
        QTest::newRow("oldest dropped")
            << qint64(10) << QList<int>{4, 4, 4} << QByteArray("bc") << qint64(4);
        QTest::newRow("several dropped for a large one")
            << qint64(10) << QList<int>{2, 2, 2, 8} << QByteArray("cd") << qint64(4);
        QTest::newRow("one larger than the budget keeps its newest samples")
            << qint64(6) << QList<int>{2, 9} << QByteArray("b") << qint64(5);
        QTest::newRow("no budget keeps nothing")
            << qint64(0) << QList<int>{4, 2} << QByteArray() << qint64(6);
    }
    void keepsTheNewestFramesWithinItsBudget() {
        QFETCH(qint64, capacity);
        QFETCH(QList<int>, frameBytes);
        QFETCH(QByteArray, kept);
        QFETCH(qint64, dropped);
        AudioSpool spool(capacity);
        qint64 droppedByPushes = 0;
        char tag = 'a';
        for (int bytes : frameBytes) {
            droppedByPushes += spool.push(frame(bytes, tag++));
            QVERIFY(spool.bytes() <= capacity);
        }
        QCOMPARE(droppedByPushes, dropped);
        QCOMPARE(spool.droppedBytes(), dropped);
        QCOMPARE(spool.takeDroppedBytes(), dropped);
        QCOMPARE(spool.droppedBytes(), qint64(0));
        QCOMPARE(tagsOf(spool), kept);
        QCOMPARE(spool.bytes(), qint64(0));
    }

    void clearFreesEverythingAndForgetsTheLoss() {
        AudioSpool spool(AudioSpool::capacityFor(1000ms));
        for (int i = 0; i < 20; ++i)
            spool.push(frame(3200, 'x'));
        QVERIFY(spool.droppedBytes() > 0);
        spool.clear();
        QCOMPARE(spool.bytes(), qint64(0));
        QCOMPARE(spool.frameCount(), std::size_t(0));
        QCOMPARE(spool.droppedBytes(), qint64(0));
        QVERIFY(spool.pop().isEmpty());
        QCOMPARE(spool.capacity(), qint64(32'000));
    }

    // A frame may go once the audio before it has "played" at the catch-up speed.
    void releaseOffsetsFollowTheCatchUpSpeed_data() {
        QTest::addColumn<qint64>("bytesBefore");
        QTest::addColumn<qint64>("perAudioSecondMs");
        QTest::addColumn<qint64>("offsetMicros");
        QTest::newRow("first frame at once") << qint64(0) << qint64(250) << qint64(0);
        QTest::newRow("after one 100 ms frame at 4x")
            << qint64(3200) << qint64(250) << qint64(25'000);
        QTest::newRow("ten seconds at 4x") << qint64(320'000) << qint64(250) << qint64(2'500'000);
        QTest::newRow("a full spool at 4x")
            << qint64(3'840'000) << qint64(250) << qint64(30'000'000);
        QTest::newRow("no pace sends at once") << qint64(320'000) << qint64(0) << qint64(0);
    }
    void releaseOffsetsFollowTheCatchUpSpeed() {
        QFETCH(qint64, bytesBefore);
        QFETCH(qint64, perAudioSecondMs);
        QFETCH(qint64, offsetMicros);
        QCOMPARE(
            spoolReleaseOffset(bytesBefore, std::chrono::milliseconds(perAudioSecondMs)).count(),
            offsetMicros);
    }

    void lossIsReportedInWholeSecondsRoundedUp_data() {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<qint64>("seconds");
        QTest::newRow("none") << qint64(0) << qint64(0);
        QTest::newRow("exactly two seconds") << qint64(64'000) << qint64(2);
        QTest::newRow("just over") << qint64(64'002) << qint64(3);
    }
    void lossIsReportedInWholeSecondsRoundedUp() {
        QFETCH(qint64, bytes);
        QFETCH(qint64, seconds);
        QCOMPARE(spoolSecondsCeil(bytes), seconds);
    }
};

} // namespace vesnara

QTEST_GUILESS_MAIN(vesnara::AudioSpoolTest)
#include "tst_audio_spool.moc"
