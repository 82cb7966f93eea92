#include "support/AwaitTask.h"

#include "backend/APIClientError.h"
#include "backend/HttpTransport.h"
#include "backend/STTAPIClient.h"
#include "model/JsonReader.h"
#include "support/RefBackendFixture.h"
#include "support/TestHttp.h"

#include <QJsonDocument>
#include <QTcpServer>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vesnara;
using namespace vesnara::test;
using refbackend::HttpFault;

namespace {

HttpFault respond(const QString& path, int status, const QByteArray& body) {
    HttpFault fault;
    fault.kind = HttpFault::Kind::respond;
    fault.pathContains = path;
    fault.status = status;
    fault.body = body;
    return fault;
}

HttpFault delay(const QString& path, std::chrono::milliseconds by) {
    HttpFault fault;
    fault.kind = HttpFault::Kind::delay;
    fault.pathContains = path;
    fault.delay = by;
    return fault;
}

// The description of the `APIClientError` the task threw, or a text that matches no real one.
template <typename Outcome> QString apiErrorText(const Outcome& outcome) {
    const auto error = outcome.template errorAs<APIClientError>();
    return error ? error->description() : u"<no APIClientError>"_s;
}

template <typename Outcome>
std::optional<APIClientError::Kind> apiErrorKind(const Outcome& outcome) {
    const auto error = outcome.template errorAs<APIClientError>();
    return error ? std::optional(error->kind()) : std::nullopt;
}

template <typename Outcome> QString decodeErrorKey(const Outcome& outcome) {
    const auto error = outcome.template errorAs<JsonDecodeError>();
    return error ? error->key() : u"<no JsonDecodeError>"_s;
}

STTSessionCreateRequest finnishSession() {
    return STTSessionCreateRequest{u"fi"_s, u"scripted"_s};
}

} // namespace

class STTAPIClientTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_fixture = std::make_unique<RefBackendFixture>();
        QVERIFY2(m_fixture->isListening(), qPrintable(m_fixture->backend().errorString()));
        m_transport = std::make_unique<HttpTransport>();
        m_sent.clear();
        m_transport->setSendObserver(
            [this](const HttpRequest& request) { m_sent.append(request); });
        m_client = std::make_unique<STTAPIClient>(*m_transport);
    }
    void cleanup() {
        m_client.reset();
        m_transport.reset();
        m_fixture.reset();
    }

    void aSessionIdStaysOneSegment() {
        const auto outcome = awaitTask(m_client->getSessionMeta(config(), u"a/../b"_s));
        const auto error = outcome.errorAs<APIClientError>();
        QVERIFY(error);
        QCOMPARE(error->description(), u"Sessiota ei löydy"_s);
        QCOMPARE(backend().requests().last().path, u"/v1/sessions/a%2F..%2Fb"_s);
    }

    void credentialsAreSentTrimmedOrNotAtAll() {
        STTConfiguration padded = config();
        padded.apiKey = u"  "_s + padded.apiKey + u"\n"_s;
        padded.authToken = u"\t"_s + m_fixture->token() + u" "_s;
        QVERIFY(awaitTask(m_client->createSession(padded, finnishSession())).value);
        const auto& trimmed = backend().requests().last();
        QCOMPARE(trimmed.header("x-api-key"), config().apiKey.toUtf8());
        QCOMPARE(trimmed.header("x-auth-token"), m_fixture->token().toUtf8());
        QVERIFY(!trimmed.hasHeader("authorization"));

        STTConfiguration blank = config();
        blank.apiKey = u"  \n"_s;
        blank.authToken = u" "_s;
        const auto refused = awaitTask(m_client->createSession(blank, finnishSession()));
        QCOMPARE(apiErrorText(refused), u"Virheellinen tai puuttuva API-avain"_s);
        QVERIFY(!backend().requests().last().hasHeader("x-api-key"));
        QVERIFY(!backend().requests().last().hasHeader("x-auth-token"));

        blank.apiKey = config().apiKey;
        blank.authToken = std::nullopt;
        const auto noToken = awaitTask(m_client->createSession(blank, finnishSession()));
        QCOMPARE(apiErrorText(noToken), u"Kirjautuminen vaaditaan"_s);
        QVERIFY(!backend().requests().last().hasHeader("x-auth-token"));

        backend().tokens().revoke(m_fixture->token());
        const auto revoked = awaitTask(m_client->createSession(config(), finnishSession()));
        QCOMPARE(apiErrorText(revoked), u"Kirjautuminen vaaditaan"_s);
    }

    void unusableAddressesSendNothing() {
        STTConfiguration config = this->config();
        config.baseURL = u"stt.example.com"_s;
        const auto meta = awaitTask(m_client->getSessionMeta(config, u"s1"_s));
        QCOMPARE(apiErrorKind(meta), std::optional(APIClientError::Kind::InvalidBaseURL));
        const auto list = awaitTask(m_client->listSessions(config, std::nullopt, 5));
        QCOMPARE(apiErrorText(list), u"Virheellinen backend-osoite"_s);
        const auto manifest = awaitTask(m_client->fetchUpdateManifest(u"latest-mac.json"_s));
        QCOMPARE(apiErrorKind(manifest), std::optional(APIClientError::Kind::ServerError));
        QCOMPARE(apiErrorText(manifest), u"Virheellinen päivitysfeed URL"_s);
        QVERIFY(m_sent.isEmpty());
    }

    void answersAreDecodedStrictly() {
        backend().faults().httpFaults.push_back(
            respond(u"/health"_s, 200, "{\"ok\":true,\"openAIConfigured\":false}"));
        QCOMPARE(decodeErrorKey(awaitTask(m_client->health(config()))), u"time"_s);

        backend().faults().httpFaults.push_back(
            respond(u"/v1/sessions"_s, 201, "{\"sessionId\":\"s1\",\"wsUrl\":\"ws://h/\"}"));
        QCOMPARE(decodeErrorKey(awaitTask(m_client->createSession(config(), finnishSession()))),
                 u"token"_s);

        backend().faults().httpFaults.push_back(respond(u"/v1/sessions"_s, 200, "not json"));
        QVERIFY(awaitTask(m_client->listSessions(config(), std::nullopt, 5))
                    .errorAs<JsonDecodeError>());

        backend().faults().httpFaults.push_back(respond(u"/v1/sessions/s1"_s, 200, "{}"));
        const auto meta = awaitTask(m_client->getSessionMeta(config(), u"s1"_s));
        QVERIFY(meta.value);
        QCOMPARE(*meta.value, SessionMetaResponse{});

        backend().faults().httpFaults.push_back(
            respond(u"/health"_s, 200, "{\"ok\":true,\"time\":\"2024-01-01T00:00:00Z\"}"));
        const auto older = awaitTask(m_client->health(config()));
        QVERIFY(older.value);
        QVERIFY(!older.value->memoAI);
    }

    void stopSessionNeverFails() {
        STTConfiguration unreachable = config();
        const quint16 port = closedLoopbackPort();
        QVERIFY(port != 0);
        unreachable.baseURL = u"http://127.0.0.1:%1"_s.arg(port);
        const auto closed = awaitTask(m_client->stopSession(unreachable, u"s1"_s));
        QVERIFY(closed.finished);
        QVERIFY(!closed.error);
        QCOMPARE(m_sent.size(), 1);

        STTConfiguration invalid = config();
        invalid.baseURL = u"::"_s;
        QVERIFY(!awaitTask(m_client->stopSession(invalid, u"s1"_s)).error);

        const auto unknown = awaitTask(m_client->stopSession(config(), u"no-such-session"_s));
        QVERIFY(!unknown.error);
        QCOMPARE(backend().requests().last().path, u"/v1/sessions/no-such-session/stop"_s);

        backend().faults().httpFaults.push_back(respond(u"/stop"_s, 500, "{\"error\":\"x\"}"));
        QVERIFY(!awaitTask(m_client->stopSession(config(), u"s1"_s)).error);

        CancellationSource source;
        source.cancel();
        QVERIFY(!awaitTask(m_client->stopSession(config(), u"s1"_s, source.token())).error);
    }

    void noAnswerIsNotARefusal() {
        STTConfiguration unreachable = config();
        unreachable.baseURL = u"http://127.0.0.1:%1"_s.arg(closedLoopbackPort());
        const auto refused = awaitTask(m_client->health(unreachable));
        const auto transportError = refused.errorAs<TransportError>();
        QVERIFY(transportError);
        QCOMPARE(transportError->kind(), TransportError::Kind::ConnectionRefused);
        QVERIFY(!refused.errorAs<APIClientError>());

        backend().faults().httpFaults.push_back(respond(u"/health"_s, 503, {}));
        const auto unavailable = awaitTask(m_client->health(config()));
        QVERIFY(!unavailable.errorAs<TransportError>());
        QCOMPARE(apiErrorText(unavailable), u"Palvelinvirhe (503)"_s);
    }

    void cancellingAbortsAWaitingRequest() {
        backend().faults().httpFaults.push_back(delay(u"/transcript"_s, 10s));
        CancellationSource source;
        const auto outcome = startTask(m_client->getTranscript(config(), u"s1"_s, source.token()));
        QTRY_COMPARE(backend().requests().size(), 1);
        source.cancel();
        waitFor(outcome, 5s);
        QVERIFY(outcome->finished);
        const auto error = outcome->errorAs<TransportError>();
        QVERIFY(error);
        QCOMPARE(error->kind(), TransportError::Kind::Cancelled);
    }

    void theMemoRequestHasTheLongLimitAndFallbackLinesOnlyWhenThereAreAny() {
        const auto created = awaitTask(m_client->createSession(config(), finnishSession()));
        QVERIFY(created.value);
        const QString id = created.value->sessionId;
        QVERIFY(awaitTask(m_client->generateSummary(config(), id, {})).value);
        const auto bare = backend().requests().last();
        QCOMPARE(bare.method, "POST"_ba);
        QCOMPARE(bare.path, u"/v1/sessions/%1/summary"_s.arg(id));
        QCOMPARE(bare.header("content-type"), "application/json"_ba);
        QCOMPARE(bare.header("content-length"), "0"_ba);
        QVERIFY(bare.body.isEmpty());

        const QList<SummaryGenerateRequest::Segment> lines{
            {u"Aloitetaan budjetista."_s, u"2024-05-02T08:00:01Z"_s, u"Anna"_s},
            {u"Päätetään aikataulusta."_s, u"2024-05-02T08:00:09Z"_s}};
        QVERIFY(awaitTask(m_client->generateSummary(config(), id, lines)).value);
        const auto withLines = backend().requests().last();
        QCOMPARE(withLines.header("content-type"), "application/json"_ba);
        const auto sent = SummaryGenerateRequest::fromJson(
            JsonReader(QJsonDocument::fromJson(withLines.body).object()));
        QCOMPARE(sent.transcriptSegments, lines);

        QVERIFY(awaitTask(m_client->downloadSummaryDocx(config(), id)).value);
        QCOMPARE(m_sent.size(), 4);
        QCOMPARE(m_sent[0].timeLimit, Timing::Duration(60s));
        QCOMPARE(m_sent[1].timeLimit, Timing::Duration(900s));
        QCOMPARE(m_sent[2].timeLimit, Timing::Duration(900s));
        QCOMPARE(m_sent[3].timeLimit, Timing::Duration(60s));

        // The limits at work, scaled down: a slow memo is waited for, a slow poll is not.
        Timing quick;
        quick.httpRequestLimit = 150ms;
        quick.memoRequestLimit = 5s;
        STTAPIClient client(*m_transport, quick);
        backend().faults().httpFaults.push_back(delay(u"/summary"_s, 600ms));
        QVERIFY(awaitTask(client.generateSummary(config(), id, {})).value);
        backend().faults().httpFaults.push_back(delay(u"/transcript"_s, 3s));
        const auto poll = awaitTask(client.getTranscript(config(), id));
        const auto error = poll.errorAs<TransportError>();
        QVERIFY(error);
        QCOMPARE(error->kind(), TransportError::Kind::TimedOut);
    }

    // The base address has a path of its own, which the client replaces.
    void aSessionFromStartToDeletion() {
        STTConfiguration config = this->config();
        config.baseURL += u"/api/v9/"_s;
        const auto health = awaitTask(m_client->health(config));
        QVERIFY(health.value && health.value->ok && health.value->memoAI);
        const auto manifest = awaitTask(m_client->fetchUpdateManifest(
            backend().baseUrl().toString() + u"/updates/latest-mac.json"_s));
        QVERIFY(manifest.value && !manifest.value->version.isEmpty());
        QCOMPARE(backend().requests().size(), 2);
        for (const auto& request : backend().requests()) {
            QVERIFY2(!request.hasHeader("x-api-key") && !request.hasHeader("x-auth-token"),
                     "health and the manifest carry no credentials");
        }

        const auto created = awaitTask(m_client->createSession(config, finnishSession()));
        QVERIFY(created.value);
        const QString id = created.value->sessionId;
        QVERIFY(created.value->wsUrl.startsWith(u"ws://"_s));

        const auto active = awaitTask(m_client->getSessionMeta(config, id));
        QCOMPARE(active.value->status, std::optional(u"active"_s));

        QVERIFY(!awaitTask(m_client->stopSession(config, id)).error);
        QCOMPARE(backend().requests().last().path, u"/v1/sessions/%1/stop"_s.arg(id));
        const auto stopped = awaitTask(m_client->getSessionMeta(config, id));
        QVERIFY(stopped.value);
        QCOMPARE(stopped.value->id, std::optional(id));
        QCOMPARE(stopped.value->status, std::optional(u"stopped"_s));
        QVERIFY(stopped.value->endedAt);
        QCOMPARE(stopped.value->language, std::optional(u"fi"_s));

        const auto transcript = awaitTask(m_client->getTranscript(config, id));
        QVERIFY(transcript.value);
        QCOMPARE(transcript.value->sessionId, id);
        QVERIFY(transcript.value->segments.isEmpty());

        const auto memo = awaitTask(m_client->generateSummary(
            config, id, {{u"Sovittiin seuraava tapaaminen."_s, u"2024-05-02T08:00:01Z"_s}}));
        QVERIFY(memo.value);
        QCOMPARE(memo.value->sessionId, id);
        QVERIFY(!memo.value->createdAt.isEmpty());

        // The list's query goes out clamped, with the status trimmed.
        const auto listed = awaitTask(m_client->listSessions(config, u" stopped\n"_s, 500));
        QVERIFY(listed.value);
        QCOMPARE(backend().requests().last().query.toString(QUrl::FullyEncoded),
                 u"limit=100&status=stopped"_s);
        QCOMPARE(listed.value->size(), 1);
        QCOMPARE(listed.value->first().id, std::optional(id));
        const auto none = awaitTask(m_client->listSessions(config, u"active"_s, 0));
        QVERIFY(none.value && none.value->isEmpty());
        QCOMPARE(backend().requests().last().query.toString(QUrl::FullyEncoded),
                 u"limit=1&status=active"_s);

        QVERIFY(!awaitTask(m_client->deleteSession(config, id)).error);
        QCOMPARE(backend().requests().last().method, "DELETE"_ba);
        const auto gone = awaitTask(m_client->getSessionMeta(config, id));
        QCOMPARE(apiErrorText(gone), u"Sessiota ei löydy"_s);
    }

private:
    refbackend::RefBackend& backend() { return m_fixture->backend(); }
    STTConfiguration config() const { return m_fixture->config(); }

    std::unique_ptr<RefBackendFixture> m_fixture;
    std::unique_ptr<HttpTransport> m_transport;
    std::unique_ptr<STTAPIClient> m_client;
    QList<HttpRequest> m_sent;
};

QTEST_GUILESS_MAIN(STTAPIClientTest)
#include "tst_stt_api_client.moc"
