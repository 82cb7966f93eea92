// Word error rate and the speech test data reader the accuracy test and benchmark rest on.
#include "support/SpeechClips.h"

#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;
using namespace vesnara::test;

namespace {

QByteArray chunk(const QByteArray& id, const QByteArray& body) {
    char size[4];
    qToLittleEndian<quint32>(quint32(body.size()), size);
    QByteArray bytes = id + QByteArray(size, 4) + body;
    if (body.size() % 2)
        bytes.append('\0');
    return bytes;
}

QByteArray format(quint16 channels, quint32 rate, quint16 bits) {
    QByteArray body(16, '\0');
    qToLittleEndian<quint16>(1, body.data());
    qToLittleEndian<quint16>(channels, body.data() + 2);
    qToLittleEndian<quint32>(rate, body.data() + 4);
    qToLittleEndian<quint16>(bits, body.data() + 14);
    return chunk("fmt ", body);
}

bool write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class WordErrorRateTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void countsTheCheapestAlignment_data() {
        QTest::addColumn<QString>("reference");
        QTest::addColumn<QString>("hypothesis");
        QTest::addColumn<int>("errors");
        QTest::addColumn<int>("words");
        QTest::newRow("same") << u"he was not ill"_s << u"he was not ill"_s << 0 << 4;
        QTest::newRow("one substituted") << u"he was not ill"_s << u"he was knot ill"_s << 1 << 4;
        QTest::newRow("one dropped") << u"he was not ill"_s << u"he not ill"_s << 1 << 4;
        QTest::newRow("one added") << u"he was not ill"_s << u"he was not very ill"_s << 1 << 4;
        QTest::newRow("shifted by one word")
            << u"a b c d e"_s << u"b c d e f"_s << 2 << 5; // not five substitutions
        QTest::newRow("nothing heard") << u"he was not ill"_s << QString() << 4 << 4;
        QTest::newRow("case, punctuation and spacing")
            << u"He was NOT, ill."_s << u"  he was\tnot ill "_s << 0 << 4;
        QTest::newRow("apostrophes belong to the word")
            << u"don't 'go'"_s << u"dont go"_s << 1 << 2;
        QTest::newRow("hyphens split words") << u"ill-disposed"_s << u"ill disposed"_s << 0 << 2;
        QTest::newRow("words only in the hypothesis") << QString() << u"extra words"_s << 2 << 0;
    }
    void countsTheCheapestAlignment() {
        QFETCH(QString, reference);
        QFETCH(QString, hypothesis);
        QFETCH(int, errors);
        QFETCH(int, words);
        const WordErrors counted = wordErrors(reference, hypothesis);
        QCOMPARE(counted.errors, errors);
        QCOMPARE(counted.referenceWords, words);
    }

    void ratesAddUpOverClips() {
        WordErrors total;
        total += wordErrors(u"one two three four"_s, u"one two three four"_s);
        total += wordErrors(u"five six three four"_s, u"five"_s);
        QCOMPARE(total.ratePercent(), 100.0 * 3 / 8);
        QCOMPARE(WordErrors{}.ratePercent(), 0.0);
        QCOMPARE((WordErrors{1, 0}.ratePercent()), 100.0);
    }

    void readsTheReferenceTranscripts() {
        QTemporaryDir dir;
        QVERIFY(write(dir.filePath(u"transcription"_s),
                      "<s> he was not an ill disposed young man </s> (clip-a)\n"
                      "no markers here (clip-b)\n"
                      "<s> a clip without its sound </s> (clip-c)\n"
                      "a line without a name\n"));
        QVERIFY(write(dir.filePath(u"clip-a.wav"_s), {}));
        QVERIFY(write(dir.filePath(u"clip-b.wav"_s), {}));
        QString error;
        const QList<SpeechClip> clips = speechClips(dir.path(), &error);
        QCOMPARE(clips.size(), qsizetype(2));
        QCOMPARE(clips[0].name, u"clip-a"_s);
        QCOMPARE(clips[0].reference, u"he was not an ill disposed young man"_s);
        QCOMPARE(clips[0].wavPath, dir.filePath(u"clip-a.wav"_s));
        QCOMPARE(clips[1].reference, u"no markers here"_s);

        QVERIFY(speechClips(dir.filePath(u"elsewhere"_s), &error).isEmpty());
        QVERIFY2(error.contains(u"elsewhere/transcription"_s), qPrintable(error));
    }

    void readsMono16BitSound_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QByteArray>("pcm");
        QTest::addColumn<int>("rate");
        const QByteArray pcm("\x01\x02\x03\x04", 4);
        QTest::newRow("plain") << QByteArray("RIFF\0\0\0\0WAVE", 12) + format(1, 16000, 16) +
                                      chunk("data", pcm)
                               << pcm << 16000;
        QTest::newRow("odd-sized chunk before the data")
            << QByteArray("RIFF\0\0\0\0WAVE", 12) + format(1, 16000, 16) + chunk("LIST", "abc") +
                   chunk("data", pcm)
            << pcm << 16000;
        QTest::newRow("stereo") << QByteArray("RIFF\0\0\0\0WAVE", 12) + format(2, 16000, 16) +
                                       chunk("data", pcm)
                                << QByteArray() << 16000;
        QTest::newRow("data longer than the file")
            << QByteArray("RIFF\0\0\0\0WAVE", 12) + format(1, 16000, 16) +
                   chunk("data", pcm).chopped(2)
            << QByteArray() << 16000;
        QTest::newRow("not a WAV") << QByteArray("ID3 tagged mp3") << QByteArray() << 0;
    }
    void readsMono16BitSound() {
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, pcm);
        QFETCH(int, rate);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"clip.wav"_s);
        QVERIFY(write(path, file));
        int readRate = 0;
        QCOMPARE(wavPcm16(path, &readRate), pcm);
        QCOMPARE(readRate, rate);
    }
};

QTEST_GUILESS_MAIN(WordErrorRateTest)
#include "tst_word_error_rate.moc"
