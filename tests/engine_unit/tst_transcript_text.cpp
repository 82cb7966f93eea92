#include "engine/rules/TranscriptText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

// 09:15:02 UTC in winter: 11:15:02 in Helsinki.
constexpr double kMorning = 1772615702.0;

TranscriptSegment line(const QString& text, double unixSeconds,
                       std::optional<QString> speakerLabel = std::nullopt) {
    return {QUuid::createUuid(), text, Timestamp::fromUnixSeconds(unixSeconds),
            std::move(speakerLabel)};
}

} // namespace

class TranscriptTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("TZ", "Europe/Helsinki"); }

    void linesCarryTheLocalClockAndTheLabel() {
        const QList<TranscriptSegment> segments{
            line(u"Aloitetaan."_s, kMorning),
            line(u"Hyvä on."_s, kMorning + 61.9, u"Puhuja 1"_s),
            line(u"Kuka puhuu?"_s, kMorning + 3600.0, u""_s),
        };
        QCOMPARE(transcriptText(segments), u"[11:15:02] Aloitetaan.\n"
                                           u"[11:16:03] [Puhuja 1] Hyvä on.\n"
                                           u"[12:15:02] [] Kuka puhuu?"_s);
        QCOMPARE(transcriptText({}), QString());
    }

    void wordsAreRunsBetweenWhiteSpace_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qsizetype>("expected");
        QTest::newRow("empty") << QString() << qsizetype(0);
        QTest::newRow("only white space") << u" \n\t "_s << qsizetype(0);
        QTest::newRow("runs of blanks and ends") << u"  yksi   kaksi\tkolme \n"_s << qsizetype(3);
        QTest::newRow("punctuation is part of a word") << u"no - niin!"_s << qsizetype(3);
        QTest::newRow("non-breaking space separates") << u"yksi\u00A0kaksi"_s << qsizetype(2);
    }
    void wordsAreRunsBetweenWhiteSpace() {
        QFETCH(QString, text);
        QFETCH(qsizetype, expected);
        QCOMPARE(wordCount(text), expected);
    }

    void timeMarksAndLabelsCountAsWords() {
        const QList<TranscriptSegment> segments{
            line(u"Tässä on neljä sanaa"_s, kMorning),
            line(u"kaksi sanaa"_s, kMorning + 1.0, u"Puhuja 1"_s),
        };
        // 1 + 4, then 1 + 2 (label) + 2.
        QCOMPARE(wordCount(transcriptText(segments)), qsizetype(10));
    }
};

QTEST_GUILESS_MAIN(TranscriptTextTest)
#include "tst_transcript_text.moc"
