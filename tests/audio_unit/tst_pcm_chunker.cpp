#include "audio/PcmChunker.h"

#include <QTest>

using namespace vesnara;
using namespace std::chrono_literals;

namespace {

QByteArray ramp(qsizetype size, int start = 0) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((start + i) % 251);
    return bytes;
}

QList<int> sizesOf(const QList<QByteArray>& chunks) {
    QList<int> sizes;
    for (const auto& chunk : chunks)
        sizes.append(static_cast<int>(chunk.size()));
    return sizes;
}

} // namespace

class PcmChunkerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void microphoneEmitsExactFramesInOrder() {
        MicrophoneChunker chunker;
        const QByteArray audio = ramp(3 * 1364);
        QList<QByteArray> out;
        for (int i = 0; i < 3; ++i)
            out += chunker.append(QByteArrayView(audio).sliced(i * 1364, 1364));
        QCOMPARE(sizesOf(out), QList<int>{3200});
        QCOMPARE(out.first(), audio.first(3200));
        QCOMPARE(chunker.pendingBytes(), 892);

        const auto more = chunker.append(ramp(5508, 3 * 1364));
        QCOMPARE(sizesOf(more), (QList<int>{3200, 3200}));
        QCOMPARE(more.first().first(892), audio.sliced(3200));
        QCOMPARE(chunker.pendingBytes(), 0);

        chunker.append(ramp(100));
        chunker.clear();
        QCOMPARE(chunker.pendingBytes(), 0);
    }

    // Each step appends <bytes> at <ms>; the table lists what comes out of each step.
    void systemAudioFlushesPartialsAfterTheLatency_data() {
        QTest::addColumn<QList<int>>("bytes");
        QTest::addColumn<QList<int>>("atMs");
        QTest::addColumn<QList<QList<int>>>("emitted");
        QTest::addColumn<int>("pendingAfter");

        QTest::newRow("first 640 goes out at once, the next waits 180 ms")
            << QList<int>{682, 682, 682} << QList<int>{0, 100, 280}
            << QList<QList<int>>{{682}, {}, {1364}} << 0;
        QTest::newRow("exactly 180 ms counts")
            << QList<int>{700, 700} << QList<int>{0, 180} << QList<QList<int>>{{700}, {700}} << 0;
        QTest::newRow("179 ms does not")
            << QList<int>{700, 700} << QList<int>{0, 179} << QList<QList<int>>{{700}, {}} << 700;
        QTest::newRow("below 640 waits however long")
            << QList<int>{639, 1} << QList<int>{0, 60'000} << QList<QList<int>>{{}, {640}} << 0;
        QTest::newRow("full frame then 100 bytes wait")
            << QList<int>{3300} << QList<int>{0} << QList<QList<int>>{{3200}} << 100;
        QTest::newRow("a full frame restarts the wait")
            << QList<int>{3200, 700, 10} << QList<int>{0, 100, 180}
            << QList<QList<int>>{{3200}, {}, {710}} << 0;
        QTest::newRow("full frames and a partial in one step")
            << QList<int>{7000} << QList<int>{0} << QList<QList<int>>{{3200, 3200}} << 600;
    }
    void systemAudioFlushesPartialsAfterTheLatency() {
        QFETCH(QList<int>, bytes);
        QFETCH(QList<int>, atMs);
        QFETCH(QList<QList<int>>, emitted);
        QFETCH(int, pendingAfter);

        SystemAudioChunker chunker(180ms);
        const auto t0 = SystemAudioChunker::Clock::time_point() + 1000h;
        QByteArray all;
        QByteArray out;
        for (qsizetype i = 0; i < bytes.size(); ++i) {
            const QByteArray piece = ramp(bytes[i], static_cast<int>(all.size()));
            all += piece;
            const auto chunks = chunker.append(piece, t0 + std::chrono::milliseconds(atMs[i]));
            QCOMPARE(sizesOf(chunks), emitted[i]);
            for (const auto& chunk : chunks)
                out += chunk;
        }
        QCOMPARE(chunker.pendingBytes(), pendingAfter);
        QCOMPARE(out, all.first(out.size()));
    }

    void resetForgetsPendingAudioAndTheLastEmission() {
        SystemAudioChunker chunker(180ms);
        const auto t0 = SystemAudioChunker::Clock::time_point() + 1000h;
        QCOMPARE(chunker.append(ramp(700), t0).size(), 1);
        chunker.append(ramp(300), t0 + 10ms);
        chunker.reset();
        QCOMPARE(chunker.pendingBytes(), 0);
        QCOMPARE(sizesOf(chunker.append(ramp(640), t0 + 20ms)), QList<int>{640});
    }
};

QTEST_GUILESS_MAIN(PcmChunkerTest)
#include "tst_pcm_chunker.moc"
