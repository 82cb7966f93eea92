#include "backend/STTRequests.h"

#include "backend/APIClientError.h"
#include "model/STTConfiguration.h"
#include "text/UiText.h"

#include <QJsonDocument>
#include <QNetworkRequest>
#include <QUrlQuery>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

std::optional<QUrl> absoluteHttpURL(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    // The network layer would also read file: and data: URLs; the backend is only ever HTTP.
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    if (url.scheme() != u"http"_s && url.scheme() != u"https"_s)
        return std::nullopt;
    return url;
}

QUrl baseURLOrThrow(const QString& baseURL) {
    const auto url = absoluteHttpURL(baseURL);
    if (!url)
        throw APIClientError::invalidBaseURL();
    return *url;
}

QUrl withPath(QUrl url, const QString& encodedPath) {
    url.setPath(encodedPath, QUrl::TolerantMode);
    if (!url.isValid())
        throw APIClientError::invalidBaseURL();
    return url;
}

bool hasControlCharacter(const QString& text) {
    return std::any_of(text.cbegin(), text.cend(),
                       [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7F; });
}

void setHeaderIfUsable(QNetworkRequest& request, const QByteArray& name, const QString& value) {
    const QString trimmed = value.trimmed();
    if (trimmed.isEmpty() || hasControlCharacter(trimmed))
        return;
    request.setRawHeader(name, trimmed.toUtf8());
}

QString queryValue(const QString& value) {
    // Pre-encoded so that '&', '=', '+' and '#' in a value reach the server as themselves.
    return QString::fromLatin1(QUrl::toPercentEncoding(value));
}

/// One path segment: everything but its own characters (unreserved, sub-delimiters, ':' and '@')
/// percent-encoded, so '/', '?', '#', '%', spaces and non-ASCII never change the path's shape.
QString pathSegment(const QString& value) {
    return QString::fromLatin1(QUrl::toPercentEncoding(value, "!$&'()*+,;=:@"));
}

} // namespace

QString sessionPath(const QString& sessionId, SessionResource resource) {
    if (sessionId.isEmpty() || sessionId == u"."_s || sessionId == u".."_s)
        throw APIClientError::invalidResponse();
    const QString base = kSessionsPath + u'/' + pathSegment(sessionId);
    switch (resource) {
    case SessionResource::Meta:
        return base;
    case SessionResource::Stop:
        return base + u"/stop"_s;
    case SessionResource::Transcript:
        return base + u"/transcript"_s;
    case SessionResource::Summary:
        return base + u"/summary"_s;
    case SessionResource::SummaryDocx:
        return base + u"/summary/docx"_s;
    }
    Q_UNREACHABLE();
    return base;
}

QUrl endpointURL(const QString& encodedPath, const QString& baseURL) {
    return withPath(baseURLOrThrow(baseURL), encodedPath);
}

QUrl sessionListURL(const QString& baseURL, const std::optional<QString>& status, int limit) {
    QUrl url = withPath(baseURLOrThrow(baseURL), kSessionsPath);
    QUrlQuery query;
    query.addQueryItem(u"limit"_s, QString::number(std::clamp(limit, 1, 100)));
    const QString trimmedStatus = status.value_or(QString()).trimmed();
    if (!trimmedStatus.isEmpty())
        query.addQueryItem(u"status"_s, queryValue(trimmedStatus));
    url.setQuery(query);
    return url;
}

QUrl updateManifestURL(const QString& urlText) {
    const auto url = absoluteHttpURL(urlText);
    if (!url)
        throw APIClientError::serverError(UiText::backendInvalidUpdateManifestURL);
    return *url;
}

QString sessionStreamURL(const QString& wsUrl, const QString& baseURL) {
    if (wsUrl.startsWith(u"ws://"_s) && baseURL.startsWith(u"https://"_s))
        return u"wss://"_s + wsUrl.mid(5);
    return wsUrl;
}

void applyAuth(const STTConfiguration& config, QNetworkRequest& request) {
    setHeaderIfUsable(request, "x-api-key"_ba, config.apiKey);
    setHeaderIfUsable(request, "x-auth-token"_ba, config.authToken.value_or(QString()));
}

void ensureSuccess(std::optional<int> httpStatus, const QByteArray& body) {
    if (!httpStatus)
        throw APIClientError::invalidResponse();
    if (*httpStatus >= 200 && *httpStatus <= 299)
        return;
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (document.isObject()) {
        const QJsonValue error = document.object().value(u"error"_s);
        if (error.isString())
            throw APIClientError::serverError(error.toString());
    }
    throw APIClientError::serverError(UiText::backendServerErrorStatus(*httpStatus));
}

std::optional<QByteArray>
summaryRequestBody(const QList<SummaryGenerateRequest::Segment>& fallbackTranscriptSegments) {
    if (fallbackTranscriptSegments.isEmpty())
        return std::nullopt;
    return jsonBody(SummaryGenerateRequest{fallbackTranscriptSegments}.toJson());
}

QByteArray jsonBody(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace vesnara
