// How a crashed session's server transcript becomes a saved session, and what a recovery run
// reports.
#include "engine/rules/CrashRecoveryRules.h"
#include "model/STTConfiguration.h"
#include "text/UiText.h"

#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

using Line = ServerTranscriptResponse::Segment;

// 2026-03-04T10:00:00Z
constexpr double kTen = 1772618400.0;
const Timestamp kNow = Timestamp::fromUnixSeconds(kTen + 3600.0);

Timestamp at(double secondsAfterTen) {
    return Timestamp::fromUnixSeconds(kTen + secondsAfterTen);
}

QStringList textsOf(const QList<TranscriptSegment>& segments) {
    QStringList texts;
    for (const auto& segment : segments)
        texts << segment.text;
    return texts;
}

/// Seconds after 10:00, to the millisecond the wire carries.
QList<double> secondsOf(const QList<TranscriptSegment>& segments) {
    QList<double> seconds;
    for (const auto& segment : segments)
        seconds << std::round((segment.timestamp.unixSeconds() - kTen) * 1000.0) / 1000.0;
    return seconds;
}

} // namespace

class CrashRecoveryRulesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsServerDates_data() {
        QTest::addColumn<std::optional<QString>>("text");
        QTest::addColumn<std::optional<double>>("expected");
        QTest::newRow("with a fraction")
            << std::optional(u"2026-03-04T10:00:02.250Z"_s) << std::optional(2.25);
        QTest::newRow("whole seconds")
            << std::optional(u"2026-03-04T10:00:02Z"_s) << std::optional(2.0);
        QTest::newRow("an offset")
            << std::optional(u"2026-03-04T12:00:02+02:00"_s) << std::optional(2.0);
        QTest::newRow("white space around")
            << std::optional(u" \n2026-03-04T10:00:02Z\t"_s) << std::optional(2.0);
        QTest::newRow("absent") << std::optional<QString>() << std::optional<double>();
        QTest::newRow("blank") << std::optional(u"  "_s) << std::optional<double>();
        QTest::newRow("no zone") << std::optional(u"2026-03-04T10:00:02"_s)
                                 << std::optional<double>();
        QTest::newRow("not a date") << std::optional(u"eilen"_s) << std::optional<double>();
    }
    void readsServerDates() {
        QFETCH(std::optional<QString>, text);
        QFETCH(std::optional<double>, expected);
        const auto parsed = parseRecoveryDate(text);
        QCOMPARE(parsed.has_value(), expected.has_value());
        if (expected)
            QCOMPARE(parsed->unixSeconds() - kTen, *expected);
    }

    void rebuildsTheServersLines_data() {
        QTest::addColumn<QList<Line>>("lines");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QList<double>>("seconds");
        const double now = kNow.unixSeconds() - kTen;
        QTest::newRow("trimmed, blank lines dropped")
            << QList<Line>{{u"  Hei \n"_s, u"2026-03-04T10:00:01Z"_s},
                           {u" \n\t"_s, u"2026-03-04T10:00:02Z"_s},
                           {QString(), std::nullopt}}
            << QStringList{u"Hei"_s} << QList<double>{1.0};
        QTest::newRow("same text and second twice: one line")
            << QList<Line>{{u"Hei maailma"_s, u"2026-03-04T10:00:01.100Z"_s},
                           {u"hei  MAAILMA"_s, u"2026-03-04T10:00:01.300Z"_s},
                           {u"Hei maailma"_s, u"2026-03-04T10:00:05Z"_s}}
            << QStringList{u"Hei maailma"_s, u"Hei maailma"_s} << QList<double>{1.1, 5.0};
        // Blank and unreadable times alike take the next fallback second; a skipped blank line
        // takes none.
        QTest::newRow("no times: from now, a second apart, in server order")
            << QList<Line>{{u"yksi"_s, std::nullopt},
                           {u"  "_s, std::nullopt},
                           {u"kaksi"_s, u" "_s},
                           {u"kolme"_s, u"huomenna"_s}}
            << QStringList{u"yksi"_s, u"kaksi"_s, u"kolme"_s}
            << QList<double>{now, now + 1.0, now + 2.0};
        QTest::newRow("repeated text without times stays: the seconds differ")
            << QList<Line>{{u"joo"_s, std::nullopt}, {u"joo"_s, std::nullopt}}
            << QStringList{u"joo"_s, u"joo"_s} << QList<double>{now, now + 1.0};
        QTest::newRow("sorted by time, equal times in server order")
            << QList<Line>{{u"c"_s, u"2026-03-04T10:00:09Z"_s},
                           {u"a"_s, u"2026-03-04T10:00:03Z"_s},
                           {u"b1"_s, u"2026-03-04T10:00:05Z"_s},
                           {u"b2"_s, u"2026-03-04T10:00:05Z"_s},
                           {u"ilman aikaa"_s, std::nullopt}}
            << QStringList{u"a"_s, u"b1"_s, u"b2"_s, u"c"_s, u"ilman aikaa"_s}
            << QList<double>{3.0, 5.0, 5.0, 9.0, now};
        QTest::newRow("no lines") << QList<Line>{} << QStringList{} << QList<double>{};
    }
    void rebuildsTheServersLines() {
        QFETCH(QList<Line>, lines);
        QFETCH(QStringList, texts);
        QFETCH(QList<double>, seconds);
        const auto segments = recoveredTranscriptSegments(lines, kNow);
        QCOMPARE(textsOf(segments), texts);
        QCOMPARE(secondsOf(segments), seconds);
    }

    void linesKeepTheirSpeakerAndGetTheirOwnIds() {
        const auto segments =
            recoveredTranscriptSegments({{u"a"_s, u"2026-03-04T10:00:01Z"_s, u"Puhuja 1"_s},
                                         {u"b"_s, u"2026-03-04T10:00:02Z"_s, std::nullopt}},
                                        kNow);
        QCOMPARE(segments.size(), qsizetype(2));
        QCOMPARE(segments[0].speakerLabel, std::optional(u"Puhuja 1"_s));
        QCOMPARE(segments[1].speakerLabel, std::optional<QString>());
        QVERIFY(!segments[0].id.isNull());
        QVERIFY(segments[0].id != segments[1].id);
    }

    void theSessionFallsBackToItsLinesAndTheDefaults_data() {
        QTest::addColumn<SessionMetaResponse>("meta");
        QTest::addColumn<double>("createdAt");
        QTest::addColumn<double>("endedAt");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("model");
        SessionMetaResponse full;
        full.createdAt = u"2026-03-04T09:59:00Z"_s;
        full.endedAt = u"2026-03-04T10:05:00.500Z"_s;
        full.language = u" en-US "_s;
        full.sttModel = u"long"_s;
        QTest::newRow("the server's values") << full << -60.0 << 300.5 << u"en-US"_s << u"long"_s;
        SessionMetaResponse blank;
        blank.createdAt = u"   "_s;
        blank.endedAt = u"ei tiedossa"_s;
        blank.language = u" \n"_s;
        QTest::newRow("blank and unreadable: the lines and the defaults")
            << blank << 2.0 << 7.0 << u"sv-FI"_s << u"oletusmalli"_s;
        QTest::newRow("nothing at all")
            << SessionMetaResponse{} << 2.0 << 7.0 << u"sv-FI"_s << u"oletusmalli"_s;
    }
    void theSessionFallsBackToItsLinesAndTheDefaults() {
        QFETCH(SessionMetaResponse, meta);
        QFETCH(double, createdAt);
        QFETCH(double, endedAt);
        QFETCH(QString, language);
        QFETCH(QString, model);
        STTConfiguration config;
        config.defaultLanguage = u"sv-FI"_s;
        config.defaultModel = u"oletusmalli"_s;
        const QList<TranscriptSegment> segments{{QUuid::createUuid(), u"a"_s, at(2.0), {}},
                                                {QUuid::createUuid(), u"b"_s, at(7.0), {}}};
        const SavedSession session = recoveredSession(u"s1"_s, meta, segments, config);
        QCOMPARE(session.id, u"s1"_s);
        QCOMPARE(session.createdAt.unixSeconds() - kTen, createdAt);
        QCOMPARE(session.endedAt.unixSeconds() - kTen, endedAt);
        QCOMPARE(session.language, language);
        QCOMPARE(session.sttModel, model);
        QCOMPARE(session.segments, segments);
        QVERIFY(session.pins.isEmpty());
    }

    void onlyIdsThatNameAVisibleFileAreRecovered_data() {
        QTest::addColumn<QString>("id");
        QTest::addColumn<bool>("recoverable");
        QTest::newRow("uuid") << u"7b0c8a2e-1f00-4c1e-9d7e-3f1a2b3c4d5e"_s << true;
        QTest::newRow("spaces and letters beyond ASCII") << u"istunto ä 1"_s << true;
        QTest::newRow("a path") << u"../../etc/passwd"_s << false;
        QTest::newRow("a slash") << u"a/b"_s << false;
        QTest::newRow("a backslash") << u"a\\b"_s << false;
        QTest::newRow("a NUL") << u"a\0b"_s << false;
        QTest::newRow("dot dot") << u".."_s << false;
        QTest::newRow("hidden") << u".piilossa"_s << false;
    }
    void onlyIdsThatNameAVisibleFileAreRecovered() {
        QFETCH(QString, id);
        QFETCH(bool, recoverable);
        QCOMPARE(isRecoverableSessionId(id), recoverable);
    }

    void reportsEachOutcome_data() {
        QTest::addColumn<bool>("startupMode");
        QTest::addColumn<QStringList>("imported");
        QTest::addColumn<std::optional<QString>>("latestSaved");
        QTest::addColumn<RecoveryReport>("expected");
        QTest::newRow("startup, saved two")
            << true << QStringList{u"a"_s, u"b"_s} << std::optional<QString>()
            << RecoveryReport{UiText::recoveryStartupRestored(2), std::nullopt};
        QTest::newRow("startup, nothing: silent")
            << true << QStringList{} << std::optional(u"a"_s) << RecoveryReport{};
        QTest::newRow("button, saved one: opened")
            << false << QStringList{u"a"_s} << std::optional(u"b"_s)
            << RecoveryReport{UiText::recoveryRestored(u"a"_s), u"a"_s};
        QTest::newRow("button, latest already saved: opened")
            << false << QStringList{} << std::optional(u"b"_s)
            << RecoveryReport{UiText::recoveryAlreadyInHistory(u"b"_s), u"b"_s};
        QTest::newRow("button, nothing")
            << false << QStringList{} << std::optional<QString>()
            << RecoveryReport{UiText::recoveryNothingFound, std::nullopt};
    }
    void reportsEachOutcome() {
        QFETCH(bool, startupMode);
        QFETCH(QStringList, imported);
        QFETCH(std::optional<QString>, latestSaved);
        QFETCH(RecoveryReport, expected);
        const RecoveryReport report = recoveryReport(startupMode, imported, latestSaved);
        QCOMPARE(report.statusText, expected.statusText);
        QCOMPARE(report.sessionToOpen, expected.sessionToOpen);
    }
};

QTEST_GUILESS_MAIN(CrashRecoveryRulesTest)
#include "tst_crash_recovery_rules.moc"
