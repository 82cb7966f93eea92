#include "engine/rules/SegmentKeys.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

// 2026-03-04T10:00:00Z
constexpr double kTen = 1772618400.0;

} // namespace

class SegmentKeysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void normalizesCaseAndWhiteSpace_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("case and double blank") << u"Hyvää  Päivää"_s << u"hyvää päivää"_s;
        QTest::newRow("tabs, newlines, ends") << u"\t Hyvää\n\r päivää \n"_s << u"hyvää päivää"_s;
        QTest::newRow("non-breaking and ideographic spaces")
            << u"Hyvää\u00A0\u3000päivää\u2003"_s << u"hyvää päivää"_s;
        QTest::newRow("only white space") << u" \n\t "_s << QString();
        QTest::newRow("capital letters beyond ASCII") << u"ÅÄÖ ÜSSß"_s << u"åäö üssß"_s;
    }
    void normalizesCaseAndWhiteSpace() {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(normalizedSegmentText(text), expected);
    }

    void keyRoundsToTheNearestSecondHalvesAwayFromZero_data() {
        QTest::addColumn<double>("unixSeconds");
        QTest::addColumn<QString>("expected");
        QTest::newRow("10:00:00.0") << kTen << u"1772618400|hei"_s;
        QTest::newRow("10:00:00.4 rounds down") << kTen + 0.4 << u"1772618400|hei"_s;
        QTest::newRow("10:00:00.5 rounds up") << kTen + 0.5 << u"1772618401|hei"_s;
        QTest::newRow("09:59:59.5 rounds up to 10:00:00") << kTen - 0.5 << u"1772618400|hei"_s;
        QTest::newRow("before 1970, half goes away from zero") << -1.5 << u"-2|hei"_s;
    }
    void keyRoundsToTheNearestSecondHalvesAwayFromZero() {
        QFETCH(double, unixSeconds);
        QFETCH(QString, expected);
        QCOMPARE(segmentKey(u"Hei"_s, Timestamp::fromUnixSeconds(unixSeconds)), expected);
    }

    void linesDifferingOnlyInSpellingShareAKey() {
        const auto at = Timestamp::fromUnixSeconds(kTen + 0.2);
        QCOMPARE(segmentKey(u"Hyvää  Päivää"_s, at), segmentKey(u" hyvää päivää"_s, at));
        QVERIFY(segmentKey(u"Hyvää päivää"_s, at) != segmentKey(u"Hyvää päivää!"_s, at));
        QVERIFY(segmentKey(u"Hyvää päivää"_s, at) !=
                segmentKey(u"Hyvää päivää"_s, at.addingSeconds(1.0)));
    }
};

QTEST_GUILESS_MAIN(SegmentKeysTest)
#include "tst_segment_keys.moc"
