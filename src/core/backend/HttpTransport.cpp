#include "backend/HttpTransport.h"

#include "text/UiText.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

std::optional<QByteArray> findHeader(const HttpHeaders& headers, const QByteArray& name) {
    for (const auto& [fieldName, value] : headers) {
        if (fieldName.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return std::nullopt;
}

// Marks a reply that the transport itself aborted on its way out.
constexpr char kAbortedByTransport[] = "vesnaraAbortedByTransport";

QNetworkReply* start(QNetworkAccessManager& manager, const HttpRequest& request) {
    QNetworkRequest networkRequest(request.url);
    for (const auto& [name, value] : request.headers)
        networkRequest.setRawHeader(name, value);
    networkRequest.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                                QNetworkRequest::NoLessSafeRedirectPolicy);
    networkRequest.setTransferTimeout(static_cast<int>(request.timeLimit.count()));

    if (!request.body) {
        if (request.method == "GET")
            return manager.get(networkRequest);
        if (request.method == "DELETE")
            return manager.deleteResource(networkRequest);
        // A custom verb sends no body and no form Content-Type, which a plain post would add.
        // It would send no Content-Length either, and HTTP/1.1 front ends may answer 411 to a
        // body-less POST without one.
        networkRequest.setRawHeader("Content-Length", "0");
        return manager.sendCustomRequest(networkRequest, request.method);
    }
    if (request.method == "POST")
        return manager.post(networkRequest, *request.body);
    if (request.method == "PUT")
        return manager.put(networkRequest, *request.body);
    return manager.sendCustomRequest(networkRequest, request.method, *request.body);
}

TransportError::Kind kindOf(QNetworkReply::NetworkError error) {
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
        return TransportError::Kind::ConnectionRefused;
    case QNetworkReply::HostNotFoundError:
        return TransportError::Kind::HostNotFound;
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError:
        // The transfer limit aborts the reply as a cancellation would; our own aborts (token,
        // shutdown) are told apart before this.
        return TransportError::Kind::TimedOut;
    case QNetworkReply::SslHandshakeFailedError:
        return TransportError::Kind::Tls;
    case QNetworkReply::RemoteHostClosedError:
        return TransportError::Kind::ConnectionLost;
    default:
        return TransportError::Kind::Other;
    }
}

bool isNetworkLayerError(QNetworkReply::NetworkError error) {
    // Qt numbers network and proxy failures below 200; above are answers the server gave.
    return error != QNetworkReply::NoError && error < 200;
}

} // namespace

void HttpRequest::setHeader(const QByteArray& name, const QByteArray& value) {
    headers.removeIf(
        [&name](const auto& field) { return field.first.compare(name, Qt::CaseInsensitive) == 0; });
    headers.append({name, value});
}

std::optional<QByteArray> HttpRequest::header(const QByteArray& name) const {
    return findHeader(headers, name);
}

std::optional<QByteArray> HttpResponse::header(const QByteArray& name) const {
    return findHeader(headers, name);
}

TransportError::TransportError(Kind kind, const QString& detail)
    : UserFacingError(detail.toStdString())
    , m_kind(kind)
    , m_detail(detail) {}

QString TransportError::description() const {
    switch (m_kind) {
    case Kind::ConnectionRefused:
        return UiText::networkConnectionRefused;
    case Kind::HostNotFound:
        return UiText::networkHostNotFound;
    case Kind::TimedOut:
        return UiText::networkTimedOut;
    case Kind::Tls:
        return UiText::networkTlsFailed;
    case Kind::ConnectionLost:
        return UiText::networkConnectionLost;
    case Kind::Cancelled:
        return UiText::networkCancelled;
    case Kind::Other:
        return UiText::networkFailed;
    }
    return UiText::networkFailed;
}

HttpTransport::HttpTransport()
    : m_manager(std::make_unique<QNetworkAccessManager>()) {}

HttpTransport::~HttpTransport() {
    // Destroying the manager would delete its replies without a finished signal, leaving
    // their awaiting tasks suspended for good. Abort them on the next turn instead, and let
    // the manager go after them.
    for (QNetworkReply* reply : m_manager->findChildren<QNetworkReply*>()) {
        if (!reply->isRunning())
            continue;
        reply->setProperty(kAbortedByTransport, true);
        QMetaObject::invokeMethod(reply, &QNetworkReply::abort, Qt::QueuedConnection);
    }
    m_manager.release()->deleteLater();
}

int HttpTransport::requestsInFlight() const {
    int running = 0;
    for (const QNetworkReply* reply : m_manager->findChildren<QNetworkReply*>())
        running += reply->isRunning() ? 1 : 0;
    return running;
}

void HttpTransport::setSendObserver(std::function<void(const HttpRequest&)> observer) {
    m_observer = std::move(observer);
}

QCoro::Task<HttpResponse> HttpTransport::send(HttpRequest request, CancellationToken token) {
    if (token.isCancelled())
        throw TransportError(TransportError::Kind::Cancelled, u"cancelled before sending"_s);
    if (m_observer)
        m_observer(request);

    // `this` may be gone when the reply finishes: only locals are used after the wait.
    QPointer<QNetworkAccessManager> manager = m_manager.get();
    QNetworkReply* const started = start(*manager, request);
    // The reply is the manager's child, so it is tracked rather than owned.
    const QPointer<QNetworkReply> reply = started;
    const auto release = qScopeGuard([reply] {
        if (reply)
            reply->deleteLater();
    });
    // Queued, so that the reply finishes on a later turn and never inside the canceller.
    token.onCancelled(
        started, [started] { started->abort(); }, Qt::QueuedConnection);

    co_await started;

    if (!manager || !reply || token.isCancelled() || reply->property(kAbortedByTransport).toBool())
        throw TransportError(TransportError::Kind::Cancelled, u"cancelled"_s);
    const QNetworkReply::NetworkError error = reply->error();
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (isNetworkLayerError(error) || !status.isValid()) {
        throw TransportError(kindOf(error), u"%1 (%2)"_s.arg(reply->errorString()).arg(int(error)));
    }

    HttpResponse response;
    response.status = status.toInt();
    response.body = reply->readAll();
    for (const auto& [name, value] : reply->rawHeaderPairs())
        response.headers.append({name, value});
    co_return response;
}

} // namespace vesnara
