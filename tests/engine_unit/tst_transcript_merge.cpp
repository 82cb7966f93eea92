#include "engine/rules/SegmentKeys.h"
#include "engine/rules/TranscriptMerge.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

// 2026-03-04T10:00:00Z
constexpr double kTen = 1772618400.0;
const QString kTenIso = u"2026-03-04T10:00:00Z"_s;

Timestamp at(double offset) {
    return Timestamp::fromUnixSeconds(kTen + offset);
}

QStringList textsOf(const QList<TranscriptSegment>& segments) {
    QStringList texts;
    for (const auto& segment : segments)
        texts.append(segment.text);
    return texts;
}

// A transcript the way the view model keeps it, fed through the rules alone.
struct Transcript {
    QList<TranscriptSegment> segments;
    QSet<QString> knownSegmentKeys;

    bool offer(const FinalLine& line) {
        auto addition = segmentAddition(segments, knownSegmentKeys, line);
        if (!addition)
            return false;
        addSegment(segments, knownSegmentKeys, std::move(*addition));
        return true;
    }
    bool offerStreamLine(const QString& text, double offset,
                         std::optional<QString> label = std::nullopt) {
        return offer({text, at(offset), std::move(label), DuplicateCheck::byKey});
    }
    bool offerPolledLine(const QString& text, std::optional<QString> ts, Timestamp receivedAt,
                         std::optional<QString> label = std::nullopt) {
        return offer(polledFinalLine({text, std::move(ts), std::move(label)}, receivedAt));
    }
    QStringList texts() const { return textsOf(segments); }
};

} // namespace

class TranscriptMergeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sortIsStableAndAscending() {
        QList<TranscriptSegment> segments{
            {QUuid::createUuid(), u"c"_s, at(2.0), {}},
            {QUuid::createUuid(), u"a1"_s, at(1.0), {}},
            {QUuid::createUuid(), u"b"_s, at(1.5), {}},
            {QUuid::createUuid(), u"a2"_s, at(1.0), {}},
        };
        sortSegmentsByTime(segments);
        QCOMPARE(textsOf(segments), (QStringList{u"a1"_s, u"a2"_s, u"b"_s, u"c"_s}));
    }

    void acceptedLineIsTrimmedAndKeyed() {
        Transcript transcript;
        QVERIFY(transcript.offerStreamLine(u"  Hei kaikki \n"_s, 0.3, u" Puhuja 1 "_s));
        const TranscriptSegment& segment = transcript.segments.at(0);
        QVERIFY(!segment.id.isNull());
        QCOMPARE(segment.text, u"Hei kaikki"_s);
        QCOMPARE(segment.timestamp, at(0.3));
        QCOMPARE(segment.speakerLabel, u" Puhuja 1 "_s); // the label is kept as it came
        QCOMPARE(transcript.knownSegmentKeys, QSet<QString>{segmentKey(u"Hei kaikki"_s, at(0.3))});
    }

    void blankLineAddsNothing() {
        Transcript transcript;
        QVERIFY(!transcript.offerStreamLine(u" \n\t"_s, 0.0));
        QVERIFY(!transcript.offerPolledLine(u"  "_s, std::nullopt, at(1.0)));
        QVERIFY(transcript.segments.isEmpty());
        QVERIFY(transcript.knownSegmentKeys.isEmpty());
    }

    void streamAndPollDuplicatesByRoundedSecond_data() {
        QTest::addColumn<double>("streamOffset");
        QTest::addColumn<QString>("streamText");
        QTest::addColumn<QString>("polledText");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("10:00:00.4 against 10:00:00: one line")
            << 0.4 << u"Hei"_s << u"Hei"_s << QStringList{u"Hei"_s};
        QTest::newRow("10:00:00.6 against 10:00:00: two lines")
            << 0.6 << u"Hei"_s << u"Hei"_s << QStringList{u"Hei"_s, u"Hei"_s};
        QTest::newRow("spelling differs, first spelling kept")
            << 0.2 << u"Hyvää  Päivää"_s << u"hyvää päivää"_s << QStringList{u"Hyvää  Päivää"_s};
        QTest::newRow("different text in the same second")
            << 0.0 << u"Hei"_s << u"Moi"_s << QStringList{u"Hei"_s, u"Moi"_s};
    }
    void streamAndPollDuplicatesByRoundedSecond() {
        QFETCH(double, streamOffset);
        QFETCH(QString, streamText);
        QFETCH(QString, polledText);
        QFETCH(QStringList, expected);
        Transcript transcript;
        QVERIFY(transcript.offerStreamLine(streamText, streamOffset));
        transcript.offerPolledLine(polledText, kTenIso, at(30.0));
        QCOMPARE(transcript.texts(), expected);
    }

    void streamLinesAreNotComparedByTextAlone() {
        Transcript transcript;
        QVERIFY(transcript.offerStreamLine(u"Kyllä"_s, 0.0));
        QVERIFY(transcript.offerStreamLine(u"kyllä"_s, 5.0));
        QCOMPARE(transcript.segments.size(), 2);
    }

    void polledLineWithoutTimeIsComparedByTextAndLabel_data() {
        QTest::addColumn<std::optional<QString>>("existingLabel");
        QTest::addColumn<std::optional<QString>>("polledLabel");
        QTest::addColumn<bool>("added");
        using Label = std::optional<QString>;
        QTest::newRow("same text, no labels: dropped") << Label() << Label() << false;
        QTest::newRow("absent label equals empty label") << Label() << Label(u" "_s) << false;
        QTest::newRow("labels equal after trimming")
            << Label(u"Puhuja 1"_s) << Label(u" Puhuja 1\n"_s) << false;
        QTest::newRow("another speaker: added")
            << Label(u"Puhuja 1"_s) << Label(u"Puhuja 2"_s) << true;
    }
    void polledLineWithoutTimeIsComparedByTextAndLabel() {
        QFETCH(std::optional<QString>, existingLabel);
        QFETCH(std::optional<QString>, polledLabel);
        QFETCH(bool, added);
        Transcript transcript;
        QVERIFY(transcript.offerStreamLine(u"Hyvää Päivää"_s, 0.0, existingLabel));
        // Far from the first line's second, so only the text comparison can drop it.
        QCOMPARE(
            transcript.offerPolledLine(u" hyvää  päivää"_s, std::nullopt, at(120.0), polledLabel),
            added);
        if (added)
            QCOMPARE(transcript.segments.last().timestamp, at(120.0));
    }

    void polledTimeIsTheServers_data() {
        QTest::addColumn<std::optional<QString>>("ts");
        QTest::addColumn<double>("expectedOffset");
        QTest::addColumn<DuplicateCheck>("expectedCheck");
        using Ts = std::optional<QString>;
        QTest::newRow("internet date-time") << Ts(kTenIso) << 0.0 << DuplicateCheck::byKey;
        QTest::newRow("with a fraction")
            << Ts(u"2026-03-04T10:00:00.250Z"_s) << 0.25 << DuplicateCheck::byKey;
        QTest::newRow("with an offset")
            << Ts(u"2026-03-04T12:00:00+02:00"_s) << 0.0 << DuplicateCheck::byKey;
        QTest::newRow("absent") << Ts() << 99.0 << DuplicateCheck::byKeyOrText;
        QTest::newRow("not a date") << Ts(u"eilen"_s) << 99.0 << DuplicateCheck::byKeyOrText;
    }
    void polledTimeIsTheServers() {
        QFETCH(std::optional<QString>, ts);
        QFETCH(double, expectedOffset);
        QFETCH(DuplicateCheck, expectedCheck);
        const FinalLine line = polledFinalLine({u"Hei"_s, ts, u"P"_s}, at(99.0));
        QCOMPARE(line.text, u"Hei"_s);
        QCOMPARE(line.timestamp, at(expectedOffset));
        QCOMPARE(line.speakerLabel, u"P"_s);
        QCOMPARE(line.duplicateCheck, expectedCheck);
    }

    void latePolledLineGoesToItsPlaceInTime() {
        Transcript transcript;
        QVERIFY(transcript.offerStreamLine(u"Ensimmäinen"_s, 0.0));
        QVERIFY(transcript.offerStreamLine(u"Kolmas"_s, 20.0));
        QVERIFY(transcript.offerPolledLine(u"Toinen"_s, u"2026-03-04T10:00:10Z"_s, at(25.0)));
        QCOMPARE(transcript.texts(), (QStringList{u"Ensimmäinen"_s, u"Toinen"_s, u"Kolmas"_s}));
    }
};

QTEST_GUILESS_MAIN(TranscriptMergeTest)
#include "tst_transcript_merge.moc"
