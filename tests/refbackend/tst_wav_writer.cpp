#include "refbackend/WavWriter.h"
#include "support/TestFiles.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <optional>

using namespace Qt::StringLiterals;
using vesnara::refbackend::WavInfo;
using vesnara::refbackend::WavWriter;
using vesnara::test::readFile;
using vesnara::test::writeFile;

namespace {

// `value` as little-endian bytes.
template <typename T> QByteArray le(T value) {
    QByteArray bytes(sizeof(T), '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

// Built field by field here rather than by the writer, so a wrong field there shows up.
QByteArray canonicalWav(int rate, int channels, int bits, const QByteArray& pcm) {
    const int blockAlign = channels * bits / 8;
    return "RIFF" + le<quint32>(quint32(36 + pcm.size())) + "WAVEfmt " + le<quint32>(16) +
           le<quint16>(1) + le<quint16>(quint16(channels)) + le<quint32>(quint32(rate)) +
           le<quint32>(quint32(rate * blockAlign)) + le<quint16>(quint16(blockAlign)) +
           le<quint16>(quint16(bits)) + "data" + le<quint32>(quint32(pcm.size())) + pcm;
}

QByteArray samples(int count, int seed = 1) {
    QByteArray pcm;
    for (int i = 0; i < count; ++i)
        pcm += le<quint16>(quint16(i * 257 + seed));
    return pcm;
}

QByteArray patched(QByteArray bytes, int offset, const QByteArray& with) {
    bytes.replace(offset, with.size(), with);
    return bytes;
}

} // namespace

class WavWriterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_dir.emplace(); }
    void cleanup() { m_dir.reset(); }

    void fileIsCanonicalAndReadableAfterEveryAppend() {
        WavWriter writer(path(), 16000, 1);
        QVERIFY(writer.open());
        QCOMPARE(readFile(path()), canonicalWav(16000, 1, 16, {}));

        QByteArray written;
        for (const int count : {1, 160, 3, 1600}) {
            const QByteArray chunk = samples(count, count);
            QVERIFY(writer.append(chunk));
            written += chunk;
            QCOMPARE(writer.dataBytes(), written.size());
            QCOMPARE(readFile(path()), canonicalWav(16000, 1, 16, written));
            const auto info = WavWriter::read(path());
            QVERIFY(info);
            QCOMPARE(info->pcm, written);
        }
    }

    void openContinuesAFileOfOurs() {
        const QByteArray first = samples(100, 1);
        const QByteArray second = samples(50, 2);
        {
            WavWriter writer(path(), 8000, 2);
            QVERIFY(writer.open());
            QVERIFY(writer.append(first));
        }
        WavWriter writer(path(), 8000, 2);
        QVERIFY(writer.open());
        QCOMPARE(writer.dataBytes(), first.size());
        QVERIFY(writer.append(second));
        QCOMPARE(readFile(path()), canonicalWav(8000, 2, 16, first + second));
    }

    void openKeepsTheWholeFramesOfAnInterruptedAppend() {
        // The header still states 4 bytes; 5 more were written before the sizes were.
        const QByteArray stated = samples(2);
        writeFile(path(), canonicalWav(16000, 1, 16, stated) + samples(2, 9) + "x");
        WavWriter writer(path());
        QVERIFY(writer.open());
        QCOMPARE(writer.dataBytes(), 8);
        const auto info = WavWriter::read(path());
        QVERIFY(info);
        QCOMPARE(info->pcm, stated + samples(2, 9));
    }

    void openLeavesOtherFilesAlone_data() {
        QTest::addColumn<QByteArray>("existing");
        QTest::newRow("not a WAV file") << QByteArray("hello, this is not audio at all, really");
        QTest::newRow("shorter than a header") << canonicalWav(16000, 1, 16, {}).left(30);
        QTest::newRow("other sample rate") << canonicalWav(44100, 1, 16, samples(4));
        QTest::newRow("stereo") << canonicalWav(16000, 2, 16, samples(4));
        QTest::newRow("8-bit") << canonicalWav(16000, 1, 8, QByteArray(4, 'a'));
    }
    void openLeavesOtherFilesAlone() {
        QFETCH(QByteArray, existing);
        writeFile(path(), existing);
        WavWriter writer(path(), 16000, 1);
        QVERIFY(!writer.open());
        QVERIFY(!writer.append(samples(2)));
        QCOMPARE(readFile(path()), existing);
    }

    void appendRefusesWhatIsNotWholeFrames() {
        WavWriter closed(path(u"closed.wav"_s));
        QVERIFY(!closed.append(samples(2)));
        QVERIFY(!QFile::exists(path(u"closed.wav"_s)));

        WavWriter stereo(path(), 16000, 2);
        QVERIFY(stereo.open());
        QVERIFY(!stereo.append(samples(1)));
        QVERIFY(!stereo.append(samples(3).left(5)));
        QVERIFY(stereo.append(samples(2)));
        QCOMPARE(readFile(path()), canonicalWav(16000, 2, 16, samples(2)));
    }

    void readAcceptsCanonicalPcm_data() {
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("pcm");
        QTest::newRow("16 kHz mono, empty") << 16000 << 1 << 16 << QByteArray();
        QTest::newRow("44.1 kHz stereo") << 44100 << 2 << 16 << samples(8);
        QTest::newRow("8-bit, odd length") << 8000 << 1 << 8 << QByteArray("abc");
        QTest::newRow("24-bit") << 48000 << 1 << 24 << QByteArray(9, 'z');
    }
    void readAcceptsCanonicalPcm() {
        QFETCH(int, rate);
        QFETCH(int, channels);
        QFETCH(int, bits);
        QFETCH(QByteArray, pcm);
        writeFile(path(), canonicalWav(rate, channels, bits, pcm));
        const auto info = WavWriter::read(path());
        QVERIFY(info);
        QCOMPARE(info->sampleRate, rate);
        QCOMPARE(info->channels, channels);
        QCOMPARE(info->bitsPerSample, bits);
        QCOMPARE(info->pcm, pcm);
    }

    void readRejectsEverythingElse_data() {
        const QByteArray good = canonicalWav(16000, 1, 16, samples(10));
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("header only, cut") << good.left(43);
        QTest::newRow("junk") << QByteArray(200, '\x7f');
        QTest::newRow("RIFF size too big") << patched(good, 4, le<quint32>(100));
        QTest::newRow("not WAVE") << patched(good, 8, "AVI ");
        QTest::newRow("fmt chunk of 18 bytes") << patched(good, 16, le<quint32>(18));
        QTest::newRow("IEEE float") << patched(good, 20, le<quint16>(3));
        QTest::newRow("no channels") << patched(good, 22, le<quint16>(0));
        QTest::newRow("rate 0") << patched(good, 24, le<quint32>(0));
        QTest::newRow("byte rate wrong") << patched(good, 28, le<quint32>(16000));
        QTest::newRow("block align wrong") << patched(good, 32, le<quint16>(4));
        QTest::newRow("12 bits") << patched(good, 34, le<quint16>(12));
        QTest::newRow("LIST before data") << patched(good, 36, "LIST");
        QTest::newRow("truncated data") << good.left(good.size() - 2);
        QTest::newRow("trailing bytes") << good + "ab";
        QTest::newRow("half a sample")
            << patched(patched(good, 40, le<quint32>(19)), 4, le<quint32>(36 + 19)).left(44 + 19);
    }
    void readRejectsEverythingElse() {
        QFETCH(QByteArray, bytes);
        writeFile(path(), bytes);
        QVERIFY(!WavWriter::read(path()));
    }

    void readSurvivesDamagedFiles() {
        const QByteArray good = canonicalWav(16000, 1, 16, samples(32));
        QRandomGenerator random(20260304);
        for (int round = 0; round < 500; ++round) {
            QByteArray damaged = good.left(random.bounded(good.size() + 1));
            for (int flips = random.bounded(1, 4); flips > 0 && !damaged.isEmpty(); --flips)
                damaged[random.bounded(damaged.size())] = char(random.bounded(256));
            writeFile(path(), damaged);
            const auto info = WavWriter::read(path());
            if (info)
                QCOMPARE(44 + info->pcm.size(), damaged.size());
        }
        QVERIFY(!WavWriter::read(path(u"missing.wav"_s)));
    }

private:
    QString path(const QString& name = u"audio.wav"_s) const { return m_dir->filePath(name); }

    std::optional<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(WavWriterTest)
#include "tst_wav_writer.moc"
