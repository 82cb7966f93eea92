// What the memo, the update check and the connection test make of their inputs: the lines sent
// along, the proposed file name, version order, which download addresses may open, and the
// health record read as the memo service's status and the status line.
#include "backend/HealthResponse.h"
#include "engine/rules/BackendCheckRules.h"
#include "engine/rules/MemoRules.h"
#include "text/UiText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vesnara;

Q_DECLARE_METATYPE(vesnara::HealthResponse)
Q_DECLARE_METATYPE(std::optional<QString>)

namespace {

using MemoAI = HealthResponse::MemoAIStatus;

HealthResponse healthOf(std::optional<MemoAI> memoAI, std::optional<bool> openAIConfigured = {},
                        std::optional<QString> openAIModel = {}) {
    return HealthResponse{.ok = true,
                          .time = u"2026-02-11T08:30:00Z"_s,
                          .openAIConfigured = openAIConfigured,
                          .openAIModel = std::move(openAIModel),
                          .memoAI = std::move(memoAI)};
}

} // namespace

class SupportRulesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fallbackLinesKeepOrderTextAndSpeakerWithUtcSeconds() {
        QCOMPARE(makeSummaryFallbackSegments({}), {});
        const QList<TranscriptSegment> segments{
            {QUuid::createUuid(), u"Budjetti hyväksyttiin"_s,
             *Timestamp::parseIso8601(u"2026-03-04T09:15:02.750Z"_s), u"Puhuja 1"_s},
            {QUuid::createUuid(), u"Seuraava kohta"_s,
             *Timestamp::parseIso8601(u"2026-03-04T08:00:00Z"_s), std::nullopt},
        };
        const QList<SummaryGenerateRequest::Segment> expected{
            {u"Budjetti hyväksyttiin"_s, u"2026-03-04T09:15:02Z"_s, u"Puhuja 1"_s},
            {u"Seuraava kohta"_s, u"2026-03-04T08:00:00Z"_s, std::nullopt},
        };
        QCOMPARE(makeSummaryFallbackSegments(segments), expected);
    }

    void memoFileNameFallsBackForIdsThatCannotNameAFile_data() {
        QTest::addColumn<QString>("sessionId");
        QTest::addColumn<QString>("expected");
        QTest::newRow("plain") << u"sess-42"_s << u"sess-42-muistio.docx"_s;
        QTest::newRow("spaces and letters kept") << u"Kokous ä 1"_s << u"Kokous ä 1-muistio.docx"_s;
        QTest::newRow("slash") << u"../etc/x"_s << u"muistio.docx"_s;
        QTest::newRow("backslash") << u"a\\b"_s << u"muistio.docx"_s;
        QTest::newRow("dot-dot") << u".."_s << u"muistio.docx"_s;
        QTest::newRow("empty") << QString() << u"muistio.docx"_s;
    }
    void memoFileNameFallsBackForIdsThatCannotNameAFile() {
        QFETCH(QString, sessionId);
        QFETCH(QString, expected);
        QCOMPARE(memoFileName(sessionId), expected);
    }

    void versionsCompareNumberByNumber_data() {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("expected");
        QTest::newRow("numeric, not textual") << u"1.10.0"_s << u"1.9.9"_s << 1;
        QTest::newRow("numeric, the other way") << u"1.9.9"_s << u"1.10.0"_s << -1;
        QTest::newRow("missing pieces count as 0") << u"2.0"_s << u"2.0.0"_s << 0;
        QTest::newRow("a longer version is newer") << u"1.2.3.1"_s << u"1.2.3"_s << 1;
        QTest::newRow("pre-release suffix drops its piece") << u"1.2.3-beta"_s << u"1.2.0"_s << 0;
        QTest::newRow("later pieces move up") << u"1.x.3"_s << u"1.3"_s << 0;
        QTest::newRow("moved up, then compared") << u"1.x.3"_s << u"1.2.9"_s << 1;
        QTest::newRow("empty pieces dropped") << u"1..2."_s << u"1.2"_s << 0;
        QTest::newRow("signs allowed") << u"+2.-1"_s << u"2"_s << -1;
        QTest::newRow("a bare sign is no number") << u"1.+.5"_s << u"1.5"_s << 0;
        QTest::newRow("white space is no number") << u"1. 2"_s << u"1"_s << 0;
        QTest::newRow("too large for 64 bits is no number")
            << u"99999999999999999999.1"_s << u"1"_s << 0;
        QTest::newRow("both empty") << QString() << QString() << 0;
        QTest::newRow("nothing readable against zero") << u"beta"_s << u"0.0"_s << 0;
        QTest::newRow("anything positive beats a missing version")
            << u"0.0.1"_s << currentAppVersion(QString()) << 1;
    }
    void versionsCompareNumberByNumber() {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, expected);
        QCOMPARE(compareSemanticVersion(a, b), expected);
    }

    void runningVersionIsZeroWhenTheBuildNamesNone() {
        QCOMPARE(currentAppVersion(QString()), u"0.0.0"_s);
        QCOMPARE(currentAppVersion(u"1.4.2"_s), u"1.4.2"_s);
    }

    void onlyWebAddressesWithAHostMayOpen_data() {
        QTest::addColumn<std::optional<QString>>("downloadURL");
        QTest::addColumn<bool>("opens");
        QTest::newRow("https") << std::optional(u"https://lataus.example/v.zip"_s) << true;
        QTest::newRow("http with port")
            << std::optional(u"http://127.0.0.1:8787/updates/"_s) << true;
        QTest::newRow("scheme in capitals") << std::optional(u"HTTPS://lataus.example/"_s) << true;
        QTest::newRow("absent") << std::optional<QString>() << false;
        QTest::newRow("empty") << std::optional(QString()) << false;
        QTest::newRow("local file") << std::optional(u"file:///etc/passwd"_s) << false;
        QTest::newRow("script") << std::optional(u"javascript:alert(1)"_s) << false;
        QTest::newRow("other scheme") << std::optional(u"ftp://lataus.example/v.zip"_s) << false;
        QTest::newRow("no host") << std::optional(u"https://"_s) << false;
        QTest::newRow("relative") << std::optional(u"lataus/v.zip"_s) << false;
        QTest::newRow("not a URL") << std::optional(u"http://exa mple.com/"_s) << false;
    }
    void onlyWebAddressesWithAHostMayOpen() {
        QFETCH(std::optional<QString>, downloadURL);
        QFETCH(bool, opens);
        const std::optional<QUrl> url = openableDownloadUrl(downloadURL);
        QCOMPARE(url.has_value(), opens);
        if (opens)
            QCOMPARE(url->toString().toLower(), downloadURL->toLower());
    }

    void memoStatusPrefersTheMemoRecordFieldByField_data() {
        QTest::addColumn<HealthResponse>("health");
        QTest::addColumn<QString>("expected");
        QTest::newRow("memo record with model, trimmed")
            << healthOf(MemoAI{true, u" gpt-memo\n"_s}, false, u"whisper"_s)
            << u"Käytössä (gpt-memo)"_s;
        QTest::newRow("memo record's flag wins over the older one")
            << healthOf(MemoAI{false, u"gpt-memo"_s}, true) << u"Ei konfiguroitu"_s;
        QTest::newRow("flag missing in the memo record: the older flag")
            << healthOf(MemoAI{std::nullopt, u"gpt-memo"_s}, true) << u"Käytössä (gpt-memo)"_s;
        QTest::newRow("model missing in the memo record: the older model")
            << healthOf(MemoAI{true, std::nullopt}, std::nullopt, u"whisper"_s)
            << u"Käytössä (whisper)"_s;
        QTest::newRow("only the older fields")
            << healthOf(std::nullopt, true, u"whisper"_s) << u"Käytössä (whisper)"_s;
        QTest::newRow("blank model") << healthOf(std::nullopt, true, u" \n\t"_s) << u"Käytössä"_s;
        QTest::newRow("no model") << healthOf(MemoAI{true, std::nullopt}) << u"Käytössä"_s;
        QTest::newRow("only the older flag, off")
            << healthOf(std::nullopt, false, u"whisper"_s) << u"Ei konfiguroitu"_s;
        QTest::newRow("no flag anywhere") << healthOf(std::nullopt, std::nullopt, u"whisper"_s)
                                          << u"Ei tiedossa (vanha backend)"_s;
        QTest::newRow("empty memo record, no older flag")
            << healthOf(MemoAI{}) << u"Ei tiedossa (vanha backend)"_s;
    }
    void memoStatusPrefersTheMemoRecordFieldByField() {
        QFETCH(HealthResponse, health);
        QFETCH(QString, expected);
        QCOMPARE(memoBackendStatus(health), expected);
    }

    void statusLineShowsTheServerTimeToTheSecond_data() {
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("time");
        QTest::addColumn<QString>("expected");
        QTest::newRow("fraction and zone cut")
            << true << u"2026-02-11T08:30:00.123Z"_s << u"Yhteys ok (2026-02-11T08:30:00)"_s;
        QTest::newRow("exactly 19")
            << true << u"2026-02-11T08:30:00"_s << u"Yhteys ok (2026-02-11T08:30:00)"_s;
        QTest::newRow("shorter shows whole") << true << u"08:30"_s << u"Yhteys ok (08:30)"_s;
        QTest::newRow("empty") << true << QString() << u"Yhteys ok ()"_s;
        // A combined letter counts as one character and is never split.
        QTest::newRow("combined letters")
            << true
            << u"e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"
               u"e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"_s
            << u"Yhteys ok (e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"
               u"e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301)"_s;
        QTest::newRow("not ok") << false << u"2026-02-11T08:30:00Z"_s
                                << u"Yhteystesti epäonnistui"_s;
    }
    void statusLineShowsTheServerTimeToTheSecond() {
        QFETCH(bool, ok);
        QFETCH(QString, time);
        QFETCH(QString, expected);
        HealthResponse health = healthOf(std::nullopt);
        health.ok = ok;
        health.time = time;
        QCOMPARE(connectionTestStatus(health), expected);
    }
};

QTEST_GUILESS_MAIN(SupportRulesTest)
#include "tst_support_rules.moc"
