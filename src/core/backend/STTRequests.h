#pragma once

#include "backend/SummaryGenerateRequest.h"
#include "model/JsonReader.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

class QNetworkRequest;

namespace vesnara {

struct STTConfiguration;

// How requests to the speech backend are built and how its answers are judged, without the
// network, so that every rule can be tested alone. The client that sends the requests calls these.
// Failures are thrown as `APIClientError`.

/// The path of the health record.
inline const QString kHealthPath = QStringLiteral("/health");
/// The path of session creation and of the session list.
inline const QString kSessionsPath = QStringLiteral("/v1/sessions");

/// What is addressed below one session's path.
enum class SessionResource {
    Meta,        ///< "/v1/sessions/<id>": the meta record, and deletion
    Stop,        ///< ".../stop"
    Transcript,  ///< ".../transcript"
    Summary,     ///< ".../summary"
    SummaryDocx, ///< ".../summary/docx"
};

/// The percent-encoded path of `resource` of session `sessionId`.
///
/// The id is encoded as one path segment, '/' included, so that whatever id a server hands
/// out addresses only that session. An id that cannot be one segment (empty, "." or "..")
/// throws `invalidResponse`, since it can only have come from a broken or hostile server.
QString sessionPath(const QString& sessionId, SessionResource resource);

/// `baseURL` with its path replaced by `encodedPath` (not prefixed: a base of
/// "http://host:8787/api/" gives the same endpoint as "http://host:8787"). Scheme, user info,
/// host and port are kept, as are a query and fragment of the base.
///
/// Throws `invalidBaseURL` when `baseURL` does not parse as an absolute http or https URL
/// with a host.
QUrl endpointURL(const QString& encodedPath, const QString& baseURL);

/// The session list's URL: `limit` clamped to 1 through 100, then `status` trimmed; a blank
/// or missing status is not sent. Throws `invalidBaseURL` as `endpointURL` does.
QUrl sessionListURL(const QString& baseURL, const std::optional<QString>& status, int limit);

/// The update manifest's URL, taken whole. Throws `serverError` with the text of a bad
/// update feed address when it is not an absolute http or https URL with a host.
QUrl updateManifestURL(const QString& urlText);

/// The stream address to open for a created session: `wsUrl` as the server gave it, except
/// that a plain `ws://` address becomes `wss://` when the backend itself is reached over
/// `https://` (a server behind a TLS front end often does not know it is).
QString sessionStreamURL(const QString& wsUrl, const QString& baseURL);

/// Sets `x-api-key` and `x-auth-token` from the trimmed API key and session token of `config`.
/// A blank value sets no header, and so does one with a control character inside, which no
/// header can carry. Never sets `Authorization`.
void applyAuth(const STTConfiguration& config, QNetworkRequest& request);

/// Judges one answer of the backend. `httpStatus` is empty when the answer was not an HTTP
/// response (`invalidResponse`). A status of 200 to 299 passes. Any other throws `serverError`
/// with the `error` string of a JSON object body, exactly as sent, or else with
/// "Palvelinvirhe (<status>)"; no other key of the body is looked at.
void ensureSuccess(std::optional<int> httpStatus, const QByteArray& body);

/// The body of a memo request, or nothing when there are no lines to send: the request then
/// goes out without a body.
std::optional<QByteArray>
summaryRequestBody(const QList<SummaryGenerateRequest::Segment>& fallbackTranscriptSegments);

/// A record's compact JSON as sent in a request body.
QByteArray jsonBody(const QJsonObject& object);

/// Decodes a successful answer's body as `Record`. Throws `JsonDecodeError` for a body that
/// is not one valid record; a partial record is never returned.
template <typename Record> Record decodeResponse(const QByteArray& body) {
    return Record::fromJson(JsonReader(JsonReader::parseObject(body)));
}

} // namespace vesnara
