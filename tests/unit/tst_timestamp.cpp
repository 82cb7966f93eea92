#include "model/Timestamp.h"

#include <QTest>
#include <QTimeZone>

#include <cmath>

using namespace Qt::StringLiterals;
using vesnara::Timestamp;

class TimestampTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void referenceDateIsTheStartOf2001() {
        const QDateTime start(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
        QCOMPARE(Timestamp::fromDateTime(start).secondsSinceReferenceDate(), 0.0);
        QCOMPARE(Timestamp::fromUnixSeconds(978307200.5).secondsSinceReferenceDate(), 0.5);
        QCOMPARE(Timestamp::fromSecondsSinceReferenceDate(-1.0).toDateTime(),
                 QDateTime(QDate(2000, 12, 31), QTime(23, 59, 59), QTimeZone::utc()));
    }

    void iso8601WritesWholeUtcSeconds_data() {
        QTest::addColumn<double>("unixSeconds");
        QTest::addColumn<QString>("expected");
        QTest::newRow("whole") << 1772615702.0 << u"2026-03-04T09:15:02Z"_s;
        QTest::newRow("fraction dropped, not rounded")
            << 1772615702.999 << u"2026-03-04T09:15:02Z"_s;
        QTest::newRow("before 1970") << -0.5 << u"1969-12-31T23:59:59Z"_s;
    }
    void iso8601WritesWholeUtcSeconds() {
        QFETCH(double, unixSeconds);
        QFETCH(QString, expected);
        QCOMPARE(Timestamp::fromUnixSeconds(unixSeconds).toIso8601(), expected);
        const auto back = Timestamp::parseIso8601(expected);
        QVERIFY(back);
        QCOMPARE(back->unixSeconds(), std::floor(unixSeconds));
    }

    void iso8601Parses_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("unixSeconds");
        QTest::newRow("plain") << u"2026-03-04T09:15:02Z"_s << 1772615702.0;
        QTest::newRow("milliseconds") << u"2026-03-04T09:15:02.250Z"_s << 1772615702.25;
        QTest::newRow("microseconds") << u"2026-03-04T09:15:02.000500Z"_s << 1772615702.0005;
        QTest::newRow("positive offset") << u"2026-03-04T11:15:02+02:00"_s << 1772615702.0;
        QTest::newRow("negative offset, no colon") << u"2026-03-04T04:15:02-0500"_s << 1772615702.0;
    }
    void iso8601Parses() {
        QFETCH(QString, text);
        QFETCH(double, unixSeconds);
        const auto parsed = Timestamp::parseIso8601(text);
        QVERIFY(parsed);
        QCOMPARE(parsed->unixSeconds(), unixSeconds);
    }

    void iso8601RejectsWhatIsNotADateTimeWithZone_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("no zone") << u"2026-03-04T09:15:02"_s;
        QTest::newRow("date only") << u"2026-03-04"_s;
        QTest::newRow("trailing text") << u"2026-03-04T09:15:02Z tail"_s;
        QTest::newRow("month 13") << u"2026-13-04T09:15:02Z"_s;
        QTest::newRow("February 30") << u"2026-02-30T09:15:02Z"_s;
        QTest::newRow("hour 24") << u"2026-03-04T24:00:00Z"_s;
        QTest::newRow("empty fraction") << u"2026-03-04T09:15:02.Z"_s;
        QTest::newRow("offset hour 25") << u"2026-03-04T09:15:02+25:00"_s;
    }
    void iso8601RejectsWhatIsNotADateTimeWithZone() {
        QFETCH(QString, text);
        QVERIFY(!Timestamp::parseIso8601(text));
    }

    void iso8601WithoutFractionsRefusesOnlyTheFraction() {
        const auto strict = Timestamp::FractionalSeconds::notAllowed;
        const auto plain = Timestamp::parseIso8601(u"2026-03-04T11:15:02+02:00"_s, strict);
        QVERIFY(plain);
        QCOMPARE(plain->unixSeconds(), 1772615702.0);
        QVERIFY(!Timestamp::parseIso8601(u"2026-03-04T09:15:02.123Z"_s, strict));
        QVERIFY(Timestamp::parseIso8601(u"2026-03-04T09:15:02.123Z"_s)); // the default reads it
    }

    void localFormatsFollowTheLocalZone() {
        qputenv("TZ", "Europe/Helsinki");
        const Timestamp t = Timestamp::fromUnixSeconds(1772615702.0); // 09:15:02 UTC, winter
        QCOMPARE(t.clockText(), u"11:15:02"_s);
        QCOMPARE(t.fileStampText(), u"20260304-111502"_s);
    }
};

QTEST_GUILESS_MAIN(TimestampTest)
#include "tst_timestamp.moc"
