// Which lines a selected pin lights, and where the screen scrolls for a pin.
#include "engine/rules/PinHighlights.h"

#include "PinTestLines.h"

#include <QRandomGenerator>
#include <QTest>

using namespace vesnara;
using namespace vesnara::test;
using namespace Qt::StringLiterals;

namespace {

QList<TranscriptSegment> linesAt(const QList<double>& seconds) {
    QList<TranscriptSegment> lines;
    for (double s : seconds)
        lines << lineAt(s);
    return lines;
}

/// The indexes of `lines` whose ids are in `ids`.
QList<int> indexesOf(const QList<TranscriptSegment>& lines, const QSet<QUuid>& ids) {
    QList<int> indexes;
    for (int i = 0; i < lines.size(); ++i) {
        if (ids.contains(lines[i].id))
            indexes << i;
    }
    return indexes;
}

} // namespace

class PinHighlightsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void litLines_data() {
        QTest::addColumn<QList<double>>("lines");
        QTest::addColumn<double>("pinSeconds");
        QTest::addColumn<QList<int>>("lit");
        QTest::newRow("within a second on both sides, and the nearest")
            << QList<double>{0.0, 9.2, 10.3, 10.9, 12.0} << 10.0 << QList<int>{1, 2, 3};
        QTest::newRow("exactly a second away is not near")
            << QList<double>{9.0, 11.0, 20.0} << 10.0 << QList<int>{0};
        QTest::newRow("far from every line: the nearest alone")
            << QList<double>{0.0, 100.0, 200.0} << 140.0 << QList<int>{1};
        QTest::newRow("a tie goes to the earlier line in the list")
            << QList<double>{20.0, 0.0} << 10.0 << QList<int>{0};
        QTest::newRow("lines out of time order")
            << QList<double>{30.0, 10.5, 9.6, 50.0} << 10.0 << QList<int>{1, 2};
        QTest::newRow("no lines") << QList<double>{} << 10.0 << QList<int>{};
    }
    void litLines() {
        QFETCH(QList<double>, lines);
        QFETCH(double, pinSeconds);
        QFETCH(QList<int>, lit);
        const QList<TranscriptSegment> segments = linesAt(lines);
        // A stored link elsewhere changes nothing.
        const QList<TranscriptPin> pins{pinAt(pinSeconds, QUuid::createUuid())};
        QCOMPARE(indexesOf(segments, highlightedSegmentIds(segments, pins, pins[0].id)), lit);
        for (int i = 0; i < segments.size(); ++i)
            QCOMPARE(isSegmentHighlighted(segments[i], segments, pins, pins[0].id, std::nullopt),
                     lit.contains(i));
    }

    void activePin_data() {
        QTest::addColumn<int>("selected");
        QTest::addColumn<int>("highlighted");
        // The pin whose lines light, -1 for none.
        QTest::addColumn<int>("active");
        QTest::newRow("nothing chosen") << -1 << -1 << -1;
        QTest::newRow("selected only") << 0 << -1 << 0;
        QTest::newRow("the highlight wins") << 0 << 1 << 1;
        QTest::newRow("an unknown pin lights nothing") << 2 << -1 << -1;
    }
    void activePin() {
        QFETCH(int, selected);
        QFETCH(int, highlighted);
        QFETCH(int, active);
        const QList<TranscriptSegment> segments = linesAt({0.0, 50.0});
        const QList<TranscriptPin> pins{pinAt(0.0), pinAt(50.0)};
        const auto idOf = [&](int index) -> std::optional<QUuid> {
            if (index < 0)
                return std::nullopt;
            return index < pins.size() ? pins[index].id : QUuid::createUuid();
        };
        const QSet<QUuid> lit =
            highlightedSegmentIds(segments, pins, activePinId(idOf(selected), idOf(highlighted)));
        QCOMPARE(indexesOf(segments, lit), active < 0 ? QList<int>{} : QList<int>{active});
    }

    void scrollTargetIsTheNearestAtAnyDistance() {
        const QList<TranscriptSegment> segments = linesAt({0.0, 10.0});
        const TranscriptPin far = pinAt(500.0, segments[0].id);
        QCOMPARE(nearestSegmentIdForPin(segments, {far}, far.id), segments[1].id);
        QCOMPARE(nearestSegmentIdForPin({}, {far}, far.id), std::nullopt);
        QCOMPARE(nearestSegmentIdForPin(segments, {far}, QUuid::createUuid()), std::nullopt);
    }

    void onePassAgreesWithEachRowAlone() {
        QRandomGenerator random(7);
        for (int round = 0; round < 50; ++round) {
            QList<double> seconds;
            const int count = random.bounded(1, 40);
            for (int i = 0; i < count; ++i)
                seconds << random.bounded(600) / 10.0; // many equal and near times
            const QList<TranscriptSegment> segments = linesAt(seconds);
            const QList<TranscriptPin> pins{pinAt(random.bounded(700) / 10.0 - 5.0)};
            const QSet<QUuid> lit = highlightedSegmentIds(segments, pins, pins[0].id);
            for (const TranscriptSegment& segment : segments)
                QCOMPARE(lit.contains(segment.id),
                         isSegmentHighlighted(segment, segments, pins, std::nullopt, pins[0].id));
        }
    }
};

QTEST_GUILESS_MAIN(PinHighlightsTest)
#include "tst_pin_highlights.moc"
