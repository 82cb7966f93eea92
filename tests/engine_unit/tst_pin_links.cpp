// Which line a pin belongs to: the nearest within 30 seconds, the earliest on a tie.
#include "engine/rules/PinLinks.h"

#include "PinTestLines.h"

#include <QRandomGenerator>
#include <QTest>

using namespace vesnara;
using namespace vesnara::test;
using namespace Qt::StringLiterals;

class TstPinLinks : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nearestLine_data() {
        QTest::addColumn<double>("pinAt");
        // Index into lines at 0, 10 and 20 s; -1 for none.
        QTest::addColumn<int>("expected");
        QTest::newRow("exact") << 10.0 << 1;
        QTest::newRow("closer to the later") << 16.0 << 2;
        QTest::newRow("tie goes to the earlier") << 15.0 << 1;
        QTest::newRow("before the first") << -30.0 << 0;
        QTest::newRow("just beyond reach") << 50.001 << -1;
        QTest::newRow("at the edge of reach") << 50.0 << 2;
    }
    void nearestLine() {
        QFETCH(double, pinAt);
        QFETCH(int, expected);
        const QList<TranscriptSegment> lines{lineAt(0), lineAt(10), lineAt(20)};
        const auto found =
            nearestSegmentId(lines, Timestamp::fromSecondsSinceReferenceDate(800000000.0 + pinAt));
        QCOMPARE(found, expected < 0 ? std::nullopt : std::optional(lines[expected].id));
    }

    void binarySearchAgreesWithTheLinearRule() {
        // Lines in time order with runs of equal times, pins anywhere around and between them.
        QRandomGenerator random(20261124);
        for (int round = 0; round < 50; ++round) {
            QList<TranscriptSegment> lines;
            double t = 0.0;
            const int count = random.bounded(0, 40);
            for (int i = 0; i < count; ++i) {
                t += random.bounded(4) == 0 ? 0.0 : random.bounded(50) / 2.0;
                lines << lineAt(t);
            }
            for (int p = 0; p < 20; ++p) {
                const auto at = Timestamp::fromSecondsSinceReferenceDate(
                    800000000.0 - 40.0 + random.bounded(static_cast<int>(t) + 80) +
                    random.bounded(4) / 4.0);
                QCOMPARE(nearestSegmentIdInTimeOrder(lines, at), nearestSegmentId(lines, at));
            }
        }
    }

    void aPinOutOfReachKeepsItsOldLink() {
        const QUuid old = QUuid::createUuid();
        const QList<TranscriptSegment> lines{lineAt(0)};
        QList<TranscriptPin> pins{pinAt(100, old), pinAt(5)};
        QVERIFY(linkPinsToNearestSegments(pins, lines));
        QCOMPARE(pins[0].linkedSegmentId, std::optional(old));
        QCOMPARE(pins[1].linkedSegmentId, std::optional(lines[0].id));
        QVERIFY(!linkPinsToNearestSegments(pins, lines));
        QVERIFY(!linkPinsToNearestSegments(pins, {}));
    }
};

QTEST_GUILESS_MAIN(TstPinLinks)
#include "tst_pin_links.moc"
