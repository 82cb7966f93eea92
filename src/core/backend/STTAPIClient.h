#pragma once

#include "async/CancellationToken.h"
#include "backend/AppUpdateManifest.h"
#include "backend/HealthResponse.h"
#include "backend/STTSessionCreateRequest.h"
#include "backend/STTSessionCreateResponse.h"
#include "backend/ServerTranscriptResponse.h"
#include "backend/SessionMetaResponse.h"
#include "backend/SummaryGenerateRequest.h"
#include "backend/SummaryPayload.h"
#include "model/STTConfiguration.h"
#include "model/Timing.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

class HttpTransport;

/// The client of the speech backend's REST interface: sessions, their transcript, meta and
/// memo, the session list, the health record and the update manifest.
///
/// It keeps no state between calls: each call takes the configuration of that moment, so a
/// setting saved between two calls applies to the next. Calls may overlap freely. Every
/// request has the ordinary time limit of `Timing`, memo generation the memo limit.
///
/// Failures are thrown: `APIClientError` (bad base URL, the server's refusal with its `error`
/// text or "Palvelinvirhe (<status>)"), `TransportError` (no answer, time-out, cancellation)
/// and `JsonDecodeError` (a 2xx answer that is not the expected record). Nothing is retried.
class STTAPIClient {
public:
    /// `transport` must outlive the client.
    explicit STTAPIClient(HttpTransport& transport, Timing timing = {});

    QCoro::Task<STTSessionCreateResponse> createSession(STTConfiguration config,
                                                        STTSessionCreateRequest request,
                                                        CancellationToken token = {});

    /// Waits until the request has ended, then returns normally whatever happened: a bad base
    /// URL, no answer, a refusal and a cancellation are all swallowed.
    QCoro::Task<> stopSession(STTConfiguration config, QString sessionId,
                              CancellationToken token = {});

    /// Asks the backend to write the memo; the local lines go along as a fallback, and with
    /// no lines the request carries no body (still typed as JSON).
    QCoro::Task<SummaryPayload>
    generateSummary(STTConfiguration config, QString sessionId,
                    QList<SummaryGenerateRequest::Segment> fallbackTranscriptSegments,
                    CancellationToken token = {});

    /// The memo as a DOCX file, the body's bytes as they came.
    QCoro::Task<QByteArray> downloadSummaryDocx(STTConfiguration config, QString sessionId,
                                                CancellationToken token = {});

    QCoro::Task<ServerTranscriptResponse> getTranscript(STTConfiguration config, QString sessionId,
                                                        CancellationToken token = {});

    QCoro::Task<SessionMetaResponse> getSessionMeta(STTConfiguration config, QString sessionId,
                                                    CancellationToken token = {});

    /// At most `limit` sessions (clamped to 1 through 100), only those of `status` when one is
    /// given and not blank.
    QCoro::Task<QList<SessionMetaResponse>> listSessions(STTConfiguration config,
                                                         std::optional<QString> status, int limit,
                                                         CancellationToken token = {});

    QCoro::Task<> deleteSession(STTConfiguration config, QString sessionId,
                                CancellationToken token = {});

    /// The health record, asked for with no credentials at all.
    QCoro::Task<HealthResponse> health(STTConfiguration config, CancellationToken token = {});

    /// The update manifest at the whole URL `urlText`, asked for with no credentials. A URL
    /// that is not absolute http or https throws `serverError` before anything is sent.
    QCoro::Task<AppUpdateManifest> fetchUpdateManifest(QString urlText,
                                                       CancellationToken token = {});

private:
    HttpTransport* m_transport;
    Timing m_timing;
};

} // namespace vesnara
