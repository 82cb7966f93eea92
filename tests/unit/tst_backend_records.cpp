#include "backend/AppUpdateManifest.h"
#include "backend/HealthResponse.h"
#include "backend/STTRequests.h"
#include "backend/STTSessionCreateRequest.h"
#include "backend/STTSessionCreateResponse.h"
#include "backend/ServerTranscriptResponse.h"
#include "backend/SessionMetaResponse.h"
#include "backend/SummaryGenerateRequest.h"
#include "backend/SummaryPayload.h"

#include <QHash>
#include <QJsonDocument>
#include <QTest>

#include <functional>

Q_DECLARE_METATYPE(vesnara::SummaryPayload::SummaryContent)
Q_DECLARE_METATYPE(vesnara::HealthResponse)
Q_DECLARE_METATYPE(vesnara::SessionMetaResponse)
Q_DECLARE_METATYPE(vesnara::AppUpdateManifest)

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

// URLs in the raw JSON below are written with JSON's "\/" escape: moc would read a plain
// double slash inside a raw string as the start of a comment.

QJsonObject parse(const char* json) {
    return QJsonDocument::fromJson(QByteArray(json)).object();
}

// Decodes a body as the named record and discards it; only whether and how it fails matters.
void decodeAs(const QString& record, const QByteArray& body) {
    const QHash<QString, std::function<void(const QByteArray&)>> decoders{
        {u"createRequest"_s, [](auto& b) { decodeResponse<STTSessionCreateRequest>(b); }},
        {u"createResponse"_s, [](auto& b) { decodeResponse<STTSessionCreateResponse>(b); }},
        {u"summaryRequest"_s, [](auto& b) { decodeResponse<SummaryGenerateRequest>(b); }},
        {u"summaryPayload"_s, [](auto& b) { decodeResponse<SummaryPayload>(b); }},
        {u"transcript"_s, [](auto& b) { decodeResponse<ServerTranscriptResponse>(b); }},
        {u"health"_s, [](auto& b) { decodeResponse<HealthResponse>(b); }},
        {u"sessionMeta"_s, [](auto& b) { decodeResponse<SessionMetaResponse>(b); }},
        {u"sessionList"_s, [](auto& b) { decodeResponse<SessionListResponse>(b); }},
        {u"manifest"_s, [](auto& b) { decodeResponse<AppUpdateManifest>(b); }},
    };
    QVERIFY2(decoders.contains(record), qPrintable(record));
    decoders.value(record)(body);
}

} // namespace

class BackendRecordsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void createRequestIsWrittenAsTheBackendReadsIt() {
        const STTSessionCreateRequest request{.language = u"fi-FI"_s, .sttModel = u"chirp_3"_s};
        const QJsonObject written = request.toJson();
        QCOMPARE(written, parse(R"({"language":"fi-FI","enableInterim":true,"sttModel":"chirp_3",
                                    "enableSpeakerDiarization":false,"speakerCount":0})"));
        QCOMPARE(STTSessionCreateRequest::fromJson(JsonReader(written)), request);
    }

    void summaryRequestLeavesOutUnknownSpeakers() {
        const SummaryGenerateRequest request{{
            {.text = u"Aloitetaan."_s, .ts = u"2026-02-11T10:00:00Z"_s, .speakerLabel = u"S1"_s},
            {.text = u"Selvä."_s, .ts = u"2026-02-11T10:00:04Z"_s, .speakerLabel = std::nullopt},
        }};
        const QJsonObject written = request.toJson();
        QCOMPARE(written, parse(R"({"transcriptSegments":[
            {"text":"Aloitetaan.","ts":"2026-02-11T10:00:00Z","speakerLabel":"S1"},
            {"text":"Selvä.","ts":"2026-02-11T10:00:04Z"}]})"));
        QCOMPARE(SummaryGenerateRequest::fromJson(JsonReader(written)), request);
    }

    void createResponseKeepsTheSessionAndStreamAddress() {
        const auto response = decodeResponse<STTSessionCreateResponse>(
            R"({"sessionId":"s-1","wsUrl":"ws:\/\/127.0.0.1:8787/v1/stream/s-1","token":"t",
                "expiresIn":600})");
        QCOMPARE(response,
                 (STTSessionCreateResponse{.sessionId = u"s-1"_s,
                                           .wsUrl = u"ws://127.0.0.1:8787/v1/stream/s-1"_s,
                                           .token = u"t"_s}));
    }

    void summaryPayloadDecodes_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<SummaryPayload::SummaryContent>("expected");
        QTest::newRow("full memo")
            << R"({"sessionId":"s-1","createdAt":"2026-02-11T10:30:00.5Z","summary":{
                   "memoType":"meeting","confidence":0.82,"title":"Viikkopalaveri",
                   "summary":"Päätettiin aikataulu.","cleanTranscript":"Aloitetaan."}})"_ba
            << SummaryPayload::SummaryContent{.memoType = u"meeting"_s,
                                              .confidence = 0.82,
                                              .title = u"Viikkopalaveri"_s,
                                              .summary = u"Päätettiin aikataulu."_s,
                                              .cleanTranscript = u"Aloitetaan."_s};
        QTest::newRow("empty memo")
            << R"({"sessionId":"s-1","createdAt":"2026-02-11T10:30:00.5Z","summary":{}})"_ba
            << SummaryPayload::SummaryContent{};
        QTest::newRow("memo of nulls")
            << R"({"sessionId":"s-1","createdAt":"2026-02-11T10:30:00.5Z",
                "summary":{"memoType":null,"confidence":null,"title":null}})"_ba
            << SummaryPayload::SummaryContent{};
    }
    void summaryPayloadDecodes() {
        QFETCH(QByteArray, body);
        QFETCH(SummaryPayload::SummaryContent, expected);
        const auto payload = decodeResponse<SummaryPayload>(body);
        QCOMPARE(payload.sessionId, u"s-1"_s);
        // Time stamps of this interface stay text, fraction and all.
        QCOMPARE(payload.createdAt, u"2026-02-11T10:30:00.5Z"_s);
        QCOMPARE(payload.summary, expected);
    }

    void transcriptKeepsServerOrderAndOptionalParts() {
        const auto transcript = decodeResponse<ServerTranscriptResponse>(
            R"({"sessionId":"s-1","segments":[
                {"text":"Toinen","ts":"2026-02-11T10:00:05Z","speakerLabel":"S2"},
                {"text":"Ensimmäinen","ts":null,"isFinal":true},
                {"text":""}]})");
        using Segment = ServerTranscriptResponse::Segment;
        QCOMPARE(transcript, (ServerTranscriptResponse{
                                 .sessionId = u"s-1"_s,
                                 .segments = {
                                     Segment{u"Toinen"_s, u"2026-02-11T10:00:05Z"_s, u"S2"_s},
                                     Segment{u"Ensimmäinen"_s, std::nullopt, std::nullopt},
                                     Segment{u""_s, std::nullopt, std::nullopt},
                                 }}));
        QVERIFY(decodeResponse<ServerTranscriptResponse>(R"({"sessionId":"s","segments":[]})")
                    .segments.isEmpty());
    }

    void healthDecodes_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<HealthResponse>("expected");
        QTest::newRow("current backend")
            << R"({"ok":true,"time":"2026-02-11T08:30:00.123Z","openAIConfigured":true,
                   "openAIModel":"gpt-4o-transcribe","memoAI":{"configured":false,"model":"m"}})"_ba
            << HealthResponse{.ok = true,
                              .time = u"2026-02-11T08:30:00.123Z"_s,
                              .openAIConfigured = true,
                              .openAIModel = u"gpt-4o-transcribe"_s,
                              .memoAI = HealthResponse::MemoAIStatus{false, u"m"_s}};
        QTest::newRow("older backend without memoAI")
            << R"({"ok":false,"time":"t","uptime":12})"_ba
            << HealthResponse{.ok = false, .time = u"t"_s};
        QTest::newRow("memoAI without its flag")
            << R"({"ok":true,"time":"t","openAIConfigured":false,"memoAI":{}})"_ba
            << HealthResponse{.ok = true,
                              .time = u"t"_s,
                              .openAIConfigured = false,
                              .memoAI = HealthResponse::MemoAIStatus{}};
        QTest::newRow("memoAI null") << R"({"ok":true,"time":"t","memoAI":null})"_ba
                                     << HealthResponse{.ok = true, .time = u"t"_s};
    }
    void healthDecodes() {
        QFETCH(QByteArray, body);
        QFETCH(HealthResponse, expected);
        QCOMPARE(decodeResponse<HealthResponse>(body), expected);
    }

    void sessionMetaDecodes_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<SessionMetaResponse>("expected");
        QTest::newRow("empty object") << "{}"_ba << SessionMetaResponse{};
        QTest::newRow("all null")
            << R"({"id":null,"status":null,"audioBytes":null,"avgAudioLevel":null,
                   "lastSttError":null})"_ba
            << SessionMetaResponse{};
        QTest::newRow("full record")
            << R"({"id":"s-1","status":"active","createdAt":"2026-02-11T10:00:00Z",
                   "endedAt":"2026-02-11T11:00:00Z","language":"fi-FI","sttModel":"chirp_3",
                   "audioFrameCount":36000,"audioBytes":115200000,"avgAudioLevel":0.031,
                   "peakAudioLevel":1,"interimCount":410,"finalCount":97,"segmentCount":97,
                   "lastSttError":{"at":"2026-02-11T10:15:00Z","code":14,"message":"unavailable"},
                   "owner":"someone"})"_ba
            << SessionMetaResponse{.id = u"s-1"_s,
                                   .status = u"active"_s,
                                   .createdAt = u"2026-02-11T10:00:00Z"_s,
                                   .endedAt = u"2026-02-11T11:00:00Z"_s,
                                   .language = u"fi-FI"_s,
                                   .sttModel = u"chirp_3"_s,
                                   .audioFrameCount = 36000,
                                   .audioBytes = 115200000,
                                   .avgAudioLevel = 0.031,
                                   .peakAudioLevel = 1.0,
                                   .interimCount = 410,
                                   .finalCount = 97,
                                   .segmentCount = 97,
                                   .lastSttError = SessionMetaResponse::SessionErrorInfo{
                                       u"2026-02-11T10:15:00Z"_s, 14, u"unavailable"_s}};
        QTest::newRow("integer written as a whole double")
            << R"({"audioBytes":3200.0})"_ba << SessionMetaResponse{.audioBytes = 3200};
        QTest::newRow("empty error info")
            << R"({"lastSttError":{}})"_ba
            << SessionMetaResponse{.lastSttError = SessionMetaResponse::SessionErrorInfo{}};
    }
    void sessionMetaDecodes() {
        QFETCH(QByteArray, body);
        QFETCH(SessionMetaResponse, expected);
        QCOMPARE(decodeResponse<SessionMetaResponse>(body), expected);
    }

    void sessionListKeepsItsItems() {
        const auto list = decodeResponse<SessionListResponse>(
            R"({"items":[{"id":"a","status":"active"},{},{"id":"c","finalCount":2}],"next":null})");
        QCOMPARE(list.items.size(), 3);
        QCOMPARE(list.items.at(0).status, u"active"_s);
        QCOMPARE(list.items.at(1), SessionMetaResponse{});
        QCOMPARE(list.items.at(2).finalCount, 2);
        QVERIFY(decodeResponse<SessionListResponse>(R"({"items":[]})").items.isEmpty());
    }

    void manifestDecodes_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<AppUpdateManifest>("expected");
        QTest::newRow("version only")
            << R"({"version":"1.2.3"})"_ba << AppUpdateManifest{.version = u"1.2.3"_s};
        QTest::newRow("full manifest")
            << R"({"app":"Vesnara","channel":"stable","version":"1.10.0","buildNumber":"214",
                   "publishedAt":"2026-02-01T12:00:00Z","minimumSystemVersion":"13.0",
                   "downloadURL":"https:\/\/dl.example.com/vesnara/","releaseNotesURL":"https:\/\/r",
                   "artifacts":{"dmg":{"file":"v.dmg","sha256":"ab12","size":52428800,"url":"u"},
                                "zip":{"file":"v.zip"}}})"_ba
            << AppUpdateManifest{
                   .app = u"Vesnara"_s,
                   .channel = u"stable"_s,
                   .version = u"1.10.0"_s,
                   .buildNumber = u"214"_s,
                   .publishedAt = u"2026-02-01T12:00:00Z"_s,
                   .minimumSystemVersion = u"13.0"_s,
                   .downloadURL = u"https://dl.example.com/vesnara/"_s,
                   .releaseNotesURL = u"https://r"_s,
                   .artifacts = AppUpdateManifest::Artifacts{
                       .dmg = AppUpdateManifest::Artifact{u"v.dmg"_s, u"ab12"_s, 52428800, u"u"_s},
                       .zip = AppUpdateManifest::Artifact{.file = u"v.zip"_s}}};
        QTest::newRow("empty artifacts")
            << R"({"version":"2.0","artifacts":{"zip":null}})"_ba
            << AppUpdateManifest{.version = u"2.0"_s, .artifacts = AppUpdateManifest::Artifacts{}};
    }
    void manifestDecodes() {
        QFETCH(QByteArray, body);
        QFETCH(AppUpdateManifest, expected);
        QCOMPARE(decodeResponse<AppUpdateManifest>(body), expected);
    }

    void malformedRecordsFailNamingTheKey_data() {
        QTest::addColumn<QString>("record");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expectedKey");
        const auto row = [](const char* name, const QString& record, const char* body,
                            const QString& key) {
            QTest::newRow(name) << record << QByteArray(body) << key;
        };
        // A body that is no JSON object at all names no key.
        row("not JSON", u"sessionMeta"_s, "<html>502</html>", u""_s);
        row("empty body", u"sessionMeta"_s, "", u""_s);
        row("array body", u"sessionList"_s, R"([{"id":"a"}])", u""_s);

        row("request count fractional", u"createRequest"_s,
            R"({"language":"fi","enableInterim":true,"sttModel":"m",
                "enableSpeakerDiarization":false,"speakerCount":1.5})",
            u"speakerCount"_s);
        row("create without token", u"createResponse"_s, R"({"sessionId":"s","wsUrl":"ws:\/\/h"})",
            u"token"_s);
        row("create with null id", u"createResponse"_s,
            R"({"sessionId":null,"wsUrl":"ws:\/\/h","token":"t"})", u"sessionId"_s);
        row("summary segment without ts", u"summaryRequest"_s,
            R"({"transcriptSegments":[{"text":"a"}]})", u"transcriptSegments[0].ts"_s);
        row("memo missing", u"summaryPayload"_s, R"({"sessionId":"s","createdAt":"c"})",
            u"summary"_s);
        row("memo confidence as text", u"summaryPayload"_s,
            R"({"sessionId":"s","createdAt":"c","summary":{"confidence":"high"}})",
            u"summary.confidence"_s);
        row("transcript without segments", u"transcript"_s, R"({"sessionId":"s"})", u"segments"_s);
        row("segments as object", u"transcript"_s, R"({"sessionId":"s","segments":{}})",
            u"segments"_s);
        row("second line without text", u"transcript"_s,
            R"({"sessionId":"s","segments":[{"text":"a"},{"ts":"t"}]})", u"segments[1].text"_s);
        row("line not an object", u"transcript"_s, R"({"sessionId":"s","segments":["a"]})",
            u"segments[0]"_s);
        row("line time as number", u"transcript"_s,
            R"({"sessionId":"s","segments":[{"text":"a","ts":12}]})", u"segments[0].ts"_s);
        row("health without time", u"health"_s, R"({"ok":true})", u"time"_s);
        row("health verdict as text", u"health"_s, R"({"ok":"true","time":"t"})", u"ok"_s);
        row("memo flag as text", u"health"_s,
            R"({"ok":true,"time":"t","memoAI":{"configured":"yes"}})", u"memoAI.configured"_s);
        row("memo status as array", u"health"_s, R"({"ok":true,"time":"t","memoAI":[]})",
            u"memoAI"_s);
        row("meta frames fractional", u"sessionMeta"_s, R"({"audioFrameCount":1.5})",
            u"audioFrameCount"_s);
        row("meta error code as text", u"sessionMeta"_s, R"({"lastSttError":{"code":"E14"}})",
            u"lastSttError.code"_s);
        row("list without items", u"sessionList"_s, R"({"sessions":[]})", u"items"_s);
        row("list item mistyped", u"sessionList"_s, R"({"items":[{"id":"a"},{"status":3}]})",
            u"items[1].status"_s);
        row("manifest without version", u"manifest"_s, R"({"downloadURL":"https:\/\/h/"})",
            u"version"_s);
        row("unused manifest field mistyped", u"manifest"_s,
            R"({"version":"1.0","minimumSystemVersion":13})", u"minimumSystemVersion"_s);
        row("artifact without file", u"manifest"_s,
            R"({"version":"1.0","artifacts":{"dmg":{"url":"u"}}})", u"artifacts.dmg.file"_s);
        row("artifact size as text", u"manifest"_s,
            R"({"version":"1.0","artifacts":{"zip":{"file":"f","size":"12"}}})",
            u"artifacts.zip.size"_s);
    }
    void malformedRecordsFailNamingTheKey() {
        QFETCH(QString, record);
        QFETCH(QByteArray, body);
        QFETCH(QString, expectedKey);
        try {
            decodeAs(record, body);
            QFAIL("decoding should have failed");
        } catch (const JsonDecodeError& error) {
            QCOMPARE(error.key(), expectedKey);
        }
    }
};

QTEST_GUILESS_MAIN(BackendRecordsTest)
#include "tst_backend_records.moc"
