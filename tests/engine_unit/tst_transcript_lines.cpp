#include "TranscriptTestLines.h"

#include "engine/rules/SegmentKeys.h"
#include "engine/rules/TranscriptMerge.h"
#include "engine/rules/TranscriptText.h"
#include "engine/transcript/TranscriptLines.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

// What the segments say, without their random ids.
struct LineContent {
    QString text;
    Timestamp timestamp;
    std::optional<QString> speakerLabel;
    friend bool operator==(const LineContent&, const LineContent&) = default;
};

QList<LineContent> contentOf(const QList<TranscriptSegment>& segments) {
    QList<LineContent> content;
    for (const auto& segment : segments)
        content.append({segment.text, segment.timestamp, segment.speakerLabel});
    return content;
}

// A line drawn from small pools, so that equal times, same-second keys, texts that differ only
// in case or spacing, labels that differ only in blanks and blank lines all come up often.
FinalLine randomLine(QRandomGenerator& random) {
    static const QStringList texts{u"Hei"_s,           u"hei "_s,   u"Hyvää päivää"_s,
                                   u"hyvää  PÄIVÄÄ"_s, u"Kyllä."_s, u"Ei ole."_s,
                                   u" \n "_s,          u""_s,       u"Jatketaan\tsitten"_s};
    static const QList<std::optional<QString>> labels{std::nullopt, u""_s, u"Puhuja 1"_s,
                                                      u" Puhuja 1 "_s, u"Puhuja 2"_s};
    // Whole, half and quarter seconds over two minutes: many ties and many rounding collisions.
    const double offset = random.bounded(480) * 0.25;
    return {texts.at(random.bounded(texts.size())), at(offset),
            labels.at(random.bounded(labels.size())),
            random.bounded(2) == 0 ? DuplicateCheck::byKey : DuplicateCheck::byKeyOrText};
}

} // namespace

class TranscriptLinesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("TZ", "Europe/Helsinki"); }

    // The same decisions, order, keys, text and word count as the free rules, line by line.
    void decidesAsTheFreeRules_data() {
        QTest::addColumn<quint32>("seed");
        QTest::addColumn<int>("lineCount");
        for (quint32 seed : {1u, 2u, 3u, 42u, 2026u})
            QTest::addRow("seed %u", seed) << seed << 400;
    }
    void decidesAsTheFreeRules() {
        QFETCH(quint32, seed);
        QFETCH(int, lineCount);
        QRandomGenerator random(seed);
        QList<TranscriptSegment> segments;
        QSet<QString> keys;
        TranscriptLines lines;
        for (int i = 0; i < lineCount; ++i) {
            const FinalLine line = randomLine(random);
            auto addition = segmentAddition(segments, keys, line);
            std::optional<qsizetype> expectedRow;
            if (addition) {
                const QUuid id = addition->segment.id;
                addSegment(segments, keys, std::move(*addition));
                expectedRow = std::find_if(segments.cbegin(), segments.cend(),
                                           [&](const auto& s) { return s.id == id; }) -
                              segments.cbegin();
            }
            QCOMPARE(lines.add(line), expectedRow);
        }
        QCOMPARE(contentOf(lines.segments()), contentOf(segments));
        QCOMPARE(lines.knownSegmentKeys(), keys);
        QCOMPARE(lines.transcriptText(), transcriptText(segments));
        QCOMPARE(lines.wordCount(), wordCount(transcriptText(segments)));
        QVERIFY(segments.size() > 20); // the pools leave enough lines to make the order matter
    }

    void textAndWordsFollowInsertsAnywhere_data() {
        QTest::addColumn<QList<FinalLine>>("added");
        QTest::addColumn<QString>("text");
        QTest::addColumn<qsizetype>("words");
        QTest::newRow("before the first, between, after the last")
            << QList<FinalLine>{streamLine(u"Toinen rivi"_s, 10.0),
                                streamLine(u"Neljäs"_s, 30.0, u"Puhuja 1"_s),
                                streamLine(u"Ensimmäinen"_s, 0.0),
                                streamLine(u"Kolmas  rivi tässä"_s, 20.0, u""_s)}
            << u"[11:15:02] Ensimmäinen\n"
               u"[11:15:12] Toinen rivi\n"
               u"[11:15:22] [] Kolmas  rivi tässä\n"
               u"[11:15:32] [Puhuja 1] Neljäs"_s
            << qsizetype(14);
        QTest::newRow("equal times keep their arrival order")
            << QList<FinalLine>{streamLine(u"B"_s, 5.0), streamLine(u"C"_s, 5.0),
                                streamLine(u"A"_s, 0.0), streamLine(u"D"_s, 5.0)}
            << u"[11:15:02] A\n[11:15:07] B\n[11:15:07] C\n[11:15:07] D"_s << qsizetype(8);
        QTest::newRow("the second of two, then the first")
            << QList<FinalLine>{streamLine(u"Jälkimmäinen"_s, 1.0), streamLine(u"Edellinen"_s, 0.0)}
            << u"[11:15:02] Edellinen\n[11:15:03] Jälkimmäinen"_s << qsizetype(4);
        QTest::newRow("a line end inside a line counts as a blank")
            << QList<FinalLine>{streamLine(u"yksi\nkaksi"_s, 2.0), streamLine(u"nolla"_s, 1.0)}
            << u"[11:15:03] nolla\n[11:15:04] yksi\nkaksi"_s << qsizetype(5);
    }
    void textAndWordsFollowInsertsAnywhere() {
        QFETCH(QList<FinalLine>, added);
        QFETCH(QString, text);
        QFETCH(qsizetype, words);
        TranscriptLines lines;
        for (const FinalLine& line : added)
            QVERIFY(lines.add(line));
        QCOMPARE(lines.transcriptText(), text);
        QCOMPARE(lines.wordCount(), words);
    }

    void resetSortsAndRebuildsWhatTheMergeWouldHave() {
        const QUuid late = QUuid::createUuid();
        const QUuid firstOfTwo = QUuid::createUuid();
        const QUuid secondOfTwo = QUuid::createUuid();
        TranscriptLines lines;
        QVERIFY(lines.add(streamLine(u"Vanha"_s, 99.0)));
        lines.reset({
            {late, u"Myöhäinen"_s, at(40.0), u"Puhuja 2"_s},
            {firstOfTwo, u"Hyvää Päivää"_s, at(10.0), std::nullopt},
            {secondOfTwo, u"Toinen"_s, at(10.0), u"Puhuja 1"_s},
        });
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines.at(0).id, firstOfTwo);
        QCOMPARE(lines.at(1).id, secondOfTwo);
        QCOMPARE(lines.at(2).id, late);
        QCOMPARE(lines.knownSegmentKeys(), (QSet<QString>{segmentKey(u"Myöhäinen"_s, at(40.0)),
                                                          segmentKey(u"Hyvää Päivää"_s, at(10.0)),
                                                          segmentKey(u"Toinen"_s, at(10.0))}));
        QCOMPARE(lines.transcriptText(), transcriptText(lines.segments()));
        QCOMPARE(lines.wordCount(), 11);

        // The loaded lines are known by key and, for lines without a server time, by text.
        QVERIFY(!lines.add(streamLine(u"hyvää päivää"_s, 10.2)));
        QVERIFY(!lines.add({u"HYVÄÄ päivää"_s, at(500.0), u" "_s, DuplicateCheck::byKeyOrText}));
        QCOMPARE(lines.add(streamLine(u"Välissä"_s, 20.0)), qsizetype(2));
        QCOMPARE(lines.transcriptText(), transcriptText(lines.segments()));

        lines.clear();
        QVERIFY(lines.isEmpty());
        QVERIFY(lines.knownSegmentKeys().isEmpty());
        QCOMPARE(lines.transcriptText(), QString());
        QCOMPARE(lines.wordCount(), 0);
        QVERIFY(lines.add({u"Hyvää päivää"_s, at(500.0), {}, DuplicateCheck::byKeyOrText}));
    }

    void aCopyGoesItsOwnWay() {
        TranscriptLines screen;
        QVERIFY(screen.add(streamLine(u"Yhteinen"_s, 0.0)));
        TranscriptLines detached = screen;
        QVERIFY(detached.add(streamLine(u"Vain kopiossa"_s, 1.0)));
        QVERIFY(screen.add(streamLine(u"Vain kopiossa"_s, 1.0)));
        QVERIFY(!detached.add(streamLine(u"Vain kopiossa"_s, 1.0)));
        QCOMPARE(screen.size(), 2);
        QCOMPARE(detached.size(), 2);
        QCOMPARE(screen.transcriptText(), detached.transcriptText());
    }
};

QTEST_GUILESS_MAIN(TranscriptLinesTest)
#include "tst_transcript_lines.moc"
