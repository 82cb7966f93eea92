#include "engine/rules/PauseRules.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::ResumeCheckOutcome)
Q_DECLARE_METATYPE(std::optional<vesnara::SessionMetaResponse>)

class PauseRulesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void labelShowsMinutesThenHours_data() {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("expected");
        QTest::newRow("zero") << 0.0 << u"00:00"_s;
        QTest::newRow("fraction rounds down") << 59.99 << u"00:59"_s;
        QTest::newRow("one minute") << 60.0 << u"01:00"_s;
        QTest::newRow("just below an hour") << 3599.999 << u"59:59"_s;
        QTest::newRow("one hour") << 3600.0 << u"1:00:00"_s;
        QTest::newRow("hours are not padded") << 36000.0 + 61.0 << u"10:01:01"_s;
        QTest::newRow("negative counts as zero") << -5.0 << u"00:00"_s;
        QTest::newRow("NaN counts as zero")
            << std::numeric_limits<double>::quiet_NaN() << u"00:00"_s;
    }
    void labelShowsMinutesThenHours() {
        QFETCH(double, seconds);
        QFETCH(QString, expected);
        QCOMPARE(pauseDurationLabel(seconds), expected);
    }

    void elapsedCountsEveryPauseOfTheRecording() {
        const auto now = Timestamp::fromUnixSeconds(1772618400.0);
        QCOMPARE(pauseElapsedSeconds(0.0, std::nullopt, now), 0.0);
        QCOMPARE(pauseElapsedSeconds(0.0, now.addingSeconds(-12.5), now), 12.5);
        // The second pause goes on from the total of the first.
        QCOMPARE(pauseDurationLabel(pauseElapsedSeconds(3590.0, now.addingSeconds(-9.0), now)),
                 u"59:59"_s);
        QCOMPARE(pauseDurationLabel(pauseElapsedSeconds(3590.0, now.addingSeconds(-10.0), now)),
                 u"1:00:00"_s);
        // A clock that went back does not make the time negative.
        QCOMPARE(pauseElapsedSeconds(1.0, now.addingSeconds(5.0), now), 0.0);
    }

    void resumeCheck_data() {
        QTest::addColumn<std::optional<SessionMetaResponse>>("meta");
        QTest::addColumn<bool>("isStreamActive");
        QTest::addColumn<ResumeCheckOutcome>("expected");
        SessionMetaResponse active;
        active.status = u"active"_s;
        SessionMetaResponse stopped;
        stopped.status = u" STOPPED "_s;
        QTest::newRow("alive, stream up")
            << std::optional(active) << true << ResumeCheckOutcome::resume;
        QTest::newRow("meta failed, stream up")
            << std::optional<SessionMetaResponse>() << true << ResumeCheckOutcome::resume;
        QTest::newRow("ended session wins over a running stream")
            << std::optional(stopped) << true << ResumeCheckOutcome::sessionEnded;
        QTest::newRow("ended session, stream down")
            << std::optional(stopped) << false << ResumeCheckOutcome::sessionEnded;
        QTest::newRow("alive, stream down")
            << std::optional(active) << false << ResumeCheckOutcome::streamNotRunning;
        QTest::newRow("meta failed, stream down") << std::optional<SessionMetaResponse>() << false
                                                  << ResumeCheckOutcome::streamNotRunning;
    }
    void resumeCheck() {
        QFETCH(std::optional<SessionMetaResponse>, meta);
        QFETCH(bool, isStreamActive);
        QFETCH(ResumeCheckOutcome, expected);
        QCOMPARE(resumeCheckOutcome(meta, isStreamActive), expected);
    }
};

QTEST_GUILESS_MAIN(PauseRulesTest)
#include "tst_pause_rules.moc"
