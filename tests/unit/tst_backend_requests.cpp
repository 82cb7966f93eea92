#include "backend/APIClientError.h"
#include "backend/STTRequests.h"
#include "model/STTConfiguration.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkRequest>
#include <QTest>

#include <climits>
#include <functional>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

// The error `action` throws, or nothing when it succeeds. Any other exception fails the test.
std::optional<APIClientError> apiErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const APIClientError& error) {
        return error;
    }
    return std::nullopt;
}

const QString kInvalidBaseURL = u"Virheellinen backend-osoite"_s;

} // namespace

class BackendRequestsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void endpointReplacesTheBasePath_data() {
        QTest::addColumn<QString>("baseURL");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("bare host") << u"http://127.0.0.1:8787"_s << kSessionsPath
                                   << "http://127.0.0.1:8787/v1/sessions"_ba;
        QTest::newRow("path is dropped, not prefixed")
            << u"https://stt.example.com/api"_s << kHealthPath
            << "https://stt.example.com/health"_ba;
        QTest::newRow("deeper path with slash")
            << u"https://stt.example.com:8443/api/v2/"_s << kSessionsPath
            << "https://stt.example.com:8443/v1/sessions"_ba;
        QTest::newRow("IPv6 host")
            << u"http://[::1]:8787/x"_s << kHealthPath << "http://[::1]:8787/health"_ba;
        QTest::newRow("scheme and host in capitals")
            << u"HTTPS://STT.Example.COM"_s << kHealthPath << "https://stt.example.com/health"_ba;
        QTest::newRow("session resource")
            << u"http://h:1/api/"_s << sessionPath(u"s-1"_s, SessionResource::SummaryDocx)
            << "http://h:1/v1/sessions/s-1/summary/docx"_ba;
    }
    void endpointReplacesTheBasePath() {
        QFETCH(QString, baseURL);
        QFETCH(QString, path);
        QFETCH(QByteArray, expected);
        QCOMPARE(endpointURL(path, baseURL).toEncoded(), expected);
    }

    void unusableBaseURLsSendNothing_data() {
        QTest::addColumn<QString>("baseURL");
        QTest::newRow("empty") << u""_s;
        QTest::newRow("blank") << u"   "_s;
        QTest::newRow("host without scheme") << u"stt.example.com"_s;
        QTest::newRow("scheme without host") << u"http://"_s;
        QTest::newRow("space in host") << u"http://stt example.com"_s;
        QTest::newRow("padded") << u" http://stt.example.com"_s;
        QTest::newRow("line end") << u"http://stt.example.com\n"_s;
        QTest::newRow("local file") << u"file:///etc"_s;
        QTest::newRow("other scheme") << u"ftp://stt.example.com"_s;
    }
    void unusableBaseURLsSendNothing() {
        QFETCH(QString, baseURL);
        const auto endpointError = apiErrorOf([&] { endpointURL(kHealthPath, baseURL); });
        QVERIFY(endpointError);
        QCOMPARE(endpointError->kind(), APIClientError::Kind::InvalidBaseURL);
        QCOMPARE(endpointError->description(), kInvalidBaseURL);
        const auto listError = apiErrorOf([&] { sessionListURL(baseURL, std::nullopt, 10); });
        QVERIFY(listError);
        QCOMPARE(listError->description(), kInvalidBaseURL);
    }

    void sessionIdsStayOneSegment_data() {
        QTest::addColumn<QString>("sessionId");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("plain") << u"4f1c-88"_s << "http://h/v1/sessions/4f1c-88/stop"_ba;
        QTest::newRow("slash is escaped") << u"a/b"_s << "http://h/v1/sessions/a%2Fb/stop"_ba;
        QTest::newRow("climbing id")
            << u"../../health"_s << "http://h/v1/sessions/..%2F..%2Fhealth/stop"_ba;
        QTest::newRow("query and fragment marks")
            << u"a b?c=d#e%"_s << "http://h/v1/sessions/a%20b%3Fc=d%23e%25/stop"_ba;
        QTest::newRow("non-ASCII")
            << u"istunto-ä"_s << "http://h/v1/sessions/istunto-%C3%A4/stop"_ba;
        // A segment's own characters stay as they are, unlike in a query value.
        QTest::newRow("sub-delimiters, colon and at")
            << u"a+b=c&d:e@f!"_s << "http://h/v1/sessions/a+b=c&d:e@f!/stop"_ba;
    }
    void sessionIdsStayOneSegment() {
        QFETCH(QString, sessionId);
        QFETCH(QByteArray, expected);
        const QUrl url = endpointURL(sessionPath(sessionId, SessionResource::Stop), u"http://h"_s);
        QCOMPARE(url.toEncoded(), expected);
        QCOMPARE(url.query(), QString());
        QCOMPARE(url.fragment(), QString());
    }

    void idsThatCannotBeASegmentAreRefused_data() {
        QTest::addColumn<QString>("sessionId");
        QTest::newRow("empty") << u""_s;
        QTest::newRow("dot") << u"."_s;
        QTest::newRow("dot dot") << u".."_s;
    }
    void idsThatCannotBeASegmentAreRefused() {
        QFETCH(QString, sessionId);
        const auto error = apiErrorOf([&] { sessionPath(sessionId, SessionResource::Stop); });
        QVERIFY(error);
        QCOMPARE(error->kind(), APIClientError::Kind::InvalidResponse);
        QCOMPARE(error->description(), u"Virheellinen palvelinvaste"_s);
    }

    void sessionListQuery_data() {
        QTest::addColumn<int>("limit");
        QTest::addColumn<std::optional<QString>>("status");
        QTest::addColumn<QString>("expectedQuery");
        const std::optional<QString> none;
        QTest::newRow("in range, no status") << 50 << none << u"limit=50"_s;
        QTest::newRow("zero") << 0 << none << u"limit=1"_s;
        QTest::newRow("smallest int") << INT_MIN << none << u"limit=1"_s;
        QTest::newRow("lower bound") << 1 << none << u"limit=1"_s;
        QTest::newRow("upper bound") << 100 << none << u"limit=100"_s;
        QTest::newRow("just above") << 101 << none << u"limit=100"_s;
        QTest::newRow("largest int") << INT_MAX << none << u"limit=100"_s;
        QTest::newRow("status after limit")
            << 20 << std::optional(u"active"_s) << u"limit=20&status=active"_s;
        QTest::newRow("padded status")
            << 20 << std::optional(u"  active\n"_s) << u"limit=20&status=active"_s;
        QTest::newRow("blank status") << 20 << std::optional(u" \t\n"_s) << u"limit=20"_s;
        QTest::newRow("status with delimiters")
            << 20 << std::optional(u"a&b=c+d #e"_s) << u"limit=20&status=a%26b%3Dc%2Bd%20%23e"_s;
    }
    void sessionListQuery() {
        QFETCH(int, limit);
        QFETCH(std::optional<QString>, status);
        QFETCH(QString, expectedQuery);
        const QUrl url = sessionListURL(u"https://stt.example.com/api/"_s, status, limit);
        QCOMPARE(url.toString(QUrl::RemoveQuery), u"https://stt.example.com/v1/sessions"_s);
        QCOMPARE(url.query(QUrl::FullyEncoded), expectedQuery);
    }

    void streamAddressFollowsTheBackendsTls_data() {
        QTest::addColumn<QString>("wsUrl");
        QTest::addColumn<QString>("baseURL");
        QTest::addColumn<QString>("expected");
        QTest::newRow("ws behind https becomes wss")
            << u"ws://stt.example/v1/stream?s=1"_s << u"https://stt.example"_s
            << u"wss://stt.example/v1/stream?s=1"_s;
        QTest::newRow("ws behind http stays")
            << u"ws://127.0.0.1:8787/s"_s << u"http://127.0.0.1:8787"_s
            << u"ws://127.0.0.1:8787/s"_s;
        QTest::newRow("wss stays") << u"wss://a/s"_s << u"https://a"_s << u"wss://a/s"_s;
        QTest::newRow("wss behind http stays") << u"wss://a/s"_s << u"http://a"_s << u"wss://a/s"_s;
        QTest::newRow("http address is the client's to judge")
            << u"http://a/s"_s << u"https://a"_s << u"http://a/s"_s;
    }
    void streamAddressFollowsTheBackendsTls() {
        QFETCH(QString, wsUrl);
        QFETCH(QString, baseURL);
        QFETCH(QString, expected);
        QCOMPARE(sessionStreamURL(wsUrl, baseURL), expected);
    }

    void authHeaders_data() {
        QTest::addColumn<QString>("apiKey");
        QTest::addColumn<std::optional<QString>>("authToken");
        QTest::addColumn<QByteArray>("expectedKey");
        QTest::addColumn<QByteArray>("expectedToken");
        const std::optional<QString> noToken;
        QTest::newRow("trimmed") << u"  k-123\r\n"_s << std::optional(u"\ttok "_s) << "k-123"_ba
                                 << "tok"_ba;
        QTest::newRow("Unicode blanks trimmed")
            << u"\u00A0k-123\u2028"_s << std::optional(u"\u3000tok"_s) << "k-123"_ba
            << "tok"_ba;
        QTest::newRow("key only") << u"k-123"_s << noToken << "k-123"_ba << QByteArray();
        QTest::newRow("token only") << u""_s << std::optional(u"tok"_s) << QByteArray() << "tok"_ba;
        QTest::newRow("blanks send nothing")
            << u"   "_s << std::optional(u" \n "_s) << QByteArray() << QByteArray();
        QTest::newRow("nothing configured") << u""_s << noToken << QByteArray() << QByteArray();
        QTest::newRow("line break inside is not sent")
            << u"k-1\r\nX-Admin: 1"_s << std::optional(u"t\0ok"_s) << QByteArray() << QByteArray();
        QTest::newRow("non-ASCII key as UTF-8")
            << u"avain-ä"_s << noToken << "avain-\xC3\xA4"_ba << QByteArray();
    }
    void authHeaders() {
        QFETCH(QString, apiKey);
        QFETCH(std::optional<QString>, authToken);
        QFETCH(QByteArray, expectedKey);
        QFETCH(QByteArray, expectedToken);
        STTConfiguration config = STTConfiguration::defaults();
        config.apiKey = apiKey;
        config.authToken = authToken;
        QNetworkRequest request(QUrl(u"http://h/v1/sessions"_s));
        applyAuth(config, request);

        QList<QByteArray> expectedHeaders;
        if (!expectedKey.isNull())
            expectedHeaders << "x-api-key"_ba;
        if (!expectedToken.isNull())
            expectedHeaders << "x-auth-token"_ba;
        // Exactly these headers: never an empty one, never Authorization.
        QCOMPARE(request.rawHeaderList(), expectedHeaders);
        QCOMPARE(request.rawHeader("x-api-key"), expectedKey);
        QCOMPARE(request.rawHeader("x-auth-token"), expectedToken);
    }

    void responseJudgement_data() {
        QTest::addColumn<std::optional<int>>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expectedError"); // null when the answer passes
        QTest::newRow("200") << std::optional(200) << "{}"_ba << QString();
        QTest::newRow("299") << std::optional(299) << "<html/>"_ba << QString();
        QTest::newRow("success with an error key")
            << std::optional(200) << R"({"error":"x"})"_ba << QString();
        QTest::newRow("199") << std::optional(199) << QByteArray() << u"Palvelinvirhe (199)"_s;
        QTest::newRow("300") << std::optional(300) << QByteArray() << u"Palvelinvirhe (300)"_s;
        QTest::newRow("error text in Finnish")
            << std::optional(401) << R"({"error":"Väärä avain","detail":"x"})"_ba
            << u"Väärä avain"_s;
        QTest::newRow("empty error text") << std::optional(500) << R"({"error":""})"_ba << u""_s;
        QTest::newRow("detail is not read")
            << std::optional(404) << R"({"detail":"not found"})"_ba << u"Palvelinvirhe (404)"_s;
        QTest::newRow("numeric error")
            << std::optional(404) << R"({"error":42})"_ba << u"Palvelinvirhe (404)"_s;
        QTest::newRow("array body")
            << std::optional(400) << R"(["error"])"_ba << u"Palvelinvirhe (400)"_s;
        QTest::newRow("truncated JSON")
            << std::optional(500) << R"({"error":"x")"_ba << u"Palvelinvirhe (500)"_s;
        QTest::newRow("no HTTP status")
            << std::optional<int>() << R"({"error":"x"})"_ba << u"Virheellinen palvelinvaste"_s;
    }
    void responseJudgement() {
        QFETCH(std::optional<int>, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, expectedError);
        const auto error = apiErrorOf([&] { ensureSuccess(status, body); });
        QCOMPARE(error.has_value(), !expectedError.isNull());
        if (!error)
            return;
        QCOMPARE(error->description(), expectedError);
        QCOMPARE(QString::fromUtf8(error->what()), expectedError);
        QCOMPARE(error->kind(), status ? APIClientError::Kind::ServerError
                                       : APIClientError::Kind::InvalidResponse);
    }

    void updateManifestURLIsTakenWhole() {
        const QString text = u"https://dl.example.com/vesnara/latest-mac.json?channel=beta"_s;
        QCOMPARE(updateManifestURL(text).toString(), text);

        for (const QString& bad : {u""_s, u"latest-mac.json"_s, u"file:///tmp/latest-mac.json"_s,
                                   u"https://dl example.com/latest-mac.json"_s}) {
            const auto error = apiErrorOf([&] { updateManifestURL(bad); });
            QVERIFY2(error, qPrintable(bad));
            QCOMPARE(error->kind(), APIClientError::Kind::ServerError);
            QCOMPARE(error->description(), u"Virheellinen päivitysfeed URL"_s);
        }
    }

    void summaryBodyOnlyWithLines() {
        QVERIFY(!summaryRequestBody({}));
        const auto body = summaryRequestBody({{.text = u"Hei"_s, .ts = u"t"_s}});
        QVERIFY(body);
        const QJsonObject line{{u"text"_s, u"Hei"_s}, {u"ts"_s, u"t"_s}};
        QCOMPARE(QJsonDocument::fromJson(*body).object(),
                 (QJsonObject{{u"transcriptSegments"_s, QJsonArray{line}}}));
    }
};

QTEST_GUILESS_MAIN(BackendRequestsTest)
#include "tst_backend_requests.moc"
