#include "backend/STTAPIClient.h"

#include "backend/HttpTransport.h"
#include "backend/STTRequests.h"

#include <QNetworkRequest>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

const QByteArray kJsonType = "application/json";

// The credentials `applyAuth` would set, as plain header fields.
HttpHeaders authHeaders(const STTConfiguration& config) {
    QNetworkRequest scratch;
    applyAuth(config, scratch);
    HttpHeaders headers;
    for (const QByteArray& name : scratch.rawHeaderList())
        headers.append({name, scratch.rawHeader(name)});
    return headers;
}

HttpRequest authorizedRequest(const STTConfiguration& config, QByteArray method, QUrl url,
                              Timing::Duration limit) {
    HttpRequest request;
    request.method = std::move(method);
    request.url = std::move(url);
    request.headers = authHeaders(config);
    request.timeLimit = limit;
    return request;
}

// The body of a 2xx answer; any other status throws as `ensureSuccess` says.
QCoro::Task<QByteArray> successBody(HttpTransport* transport, HttpRequest request,
                                    CancellationToken token) {
    const HttpResponse response = co_await transport->send(std::move(request), token);
    ensureSuccess(response.status, response.body);
    co_return response.body;
}

} // namespace

STTAPIClient::STTAPIClient(HttpTransport& transport, Timing timing)
    : m_transport(&transport)
    , m_timing(timing) {}

QCoro::Task<STTSessionCreateResponse> STTAPIClient::createSession(STTConfiguration config,
                                                                  STTSessionCreateRequest body,
                                                                  CancellationToken token) {
    HttpRequest request = authorizedRequest(
        config, "POST", endpointURL(kSessionsPath, config.baseURL), m_timing.httpRequestLimit);
    request.setHeader("Content-Type", kJsonType);
    request.body = jsonBody(body.toJson());
    co_return decodeResponse<STTSessionCreateResponse>(
        co_await successBody(m_transport, std::move(request), token));
}

QCoro::Task<> STTAPIClient::stopSession(STTConfiguration config, QString sessionId,
                                        CancellationToken token) {
    try {
        HttpRequest request = authorizedRequest(
            config, "POST",
            endpointURL(sessionPath(sessionId, SessionResource::Stop), config.baseURL),
            m_timing.httpRequestLimit);
        co_await m_transport->send(std::move(request), token);
    } catch (...) {
        // Callers go on as if the stop had been delivered; there is nothing they could do.
    }
}

QCoro::Task<SummaryPayload>
STTAPIClient::generateSummary(STTConfiguration config, QString sessionId,
                              QList<SummaryGenerateRequest::Segment> fallbackTranscriptSegments,
                              CancellationToken token) {
    HttpRequest request = authorizedRequest(
        config, "POST",
        endpointURL(sessionPath(sessionId, SessionResource::Summary), config.baseURL),
        m_timing.memoRequestLimit);
    request.setHeader("Content-Type", kJsonType);
    request.body = summaryRequestBody(fallbackTranscriptSegments);
    co_return decodeResponse<SummaryPayload>(
        co_await successBody(m_transport, std::move(request), token));
}

QCoro::Task<QByteArray> STTAPIClient::downloadSummaryDocx(STTConfiguration config,
                                                          QString sessionId,
                                                          CancellationToken token) {
    HttpRequest request = authorizedRequest(
        config, "GET",
        endpointURL(sessionPath(sessionId, SessionResource::SummaryDocx), config.baseURL),
        m_timing.httpRequestLimit);
    co_return co_await successBody(m_transport, std::move(request), token);
}

QCoro::Task<ServerTranscriptResponse>
STTAPIClient::getTranscript(STTConfiguration config, QString sessionId, CancellationToken token) {
    HttpRequest request = authorizedRequest(
        config, "GET",
        endpointURL(sessionPath(sessionId, SessionResource::Transcript), config.baseURL),
        m_timing.httpRequestLimit);
    co_return decodeResponse<ServerTranscriptResponse>(
        co_await successBody(m_transport, std::move(request), token));
}

QCoro::Task<SessionMetaResponse>
STTAPIClient::getSessionMeta(STTConfiguration config, QString sessionId, CancellationToken token) {
    HttpRequest request = authorizedRequest(
        config, "GET", endpointURL(sessionPath(sessionId, SessionResource::Meta), config.baseURL),
        m_timing.httpRequestLimit);
    co_return decodeResponse<SessionMetaResponse>(
        co_await successBody(m_transport, std::move(request), token));
}

QCoro::Task<QList<SessionMetaResponse>> STTAPIClient::listSessions(STTConfiguration config,
                                                                   std::optional<QString> status,
                                                                   int limit,
                                                                   CancellationToken token) {
    HttpRequest request = authorizedRequest(
        config, "GET", sessionListURL(config.baseURL, status, limit), m_timing.httpRequestLimit);
    co_return decodeResponse<SessionListResponse>(
        co_await successBody(m_transport, std::move(request), token))
        .items;
}

QCoro::Task<> STTAPIClient::deleteSession(STTConfiguration config, QString sessionId,
                                          CancellationToken token) {
    HttpRequest request = authorizedRequest(
        config, "DELETE",
        endpointURL(sessionPath(sessionId, SessionResource::Meta), config.baseURL),
        m_timing.httpRequestLimit);
    co_await successBody(m_transport, std::move(request), token);
}

QCoro::Task<HealthResponse> STTAPIClient::health(STTConfiguration config, CancellationToken token) {
    HttpRequest request;
    request.url = endpointURL(kHealthPath, config.baseURL);
    request.timeLimit = m_timing.httpRequestLimit;
    co_return decodeResponse<HealthResponse>(
        co_await successBody(m_transport, std::move(request), token));
}

QCoro::Task<AppUpdateManifest> STTAPIClient::fetchUpdateManifest(QString urlText,
                                                                 CancellationToken token) {
    HttpRequest request;
    request.url = updateManifestURL(urlText);
    request.timeLimit = m_timing.httpRequestLimit;
    co_return decodeResponse<AppUpdateManifest>(
        co_await successBody(m_transport, std::move(request), token));
}

} // namespace vesnara
