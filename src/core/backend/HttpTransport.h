#pragma once

#include "async/CancellationToken.h"
#include "model/Timing.h"
#include "model/UserFacingError.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

class QNetworkAccessManager;

namespace vesnara {

/// Header fields as name and value; names compare without regard to case.
using HttpHeaders = QList<std::pair<QByteArray, QByteArray>>;

/// One HTTP request as a client builds it. Nothing here knows which service it goes to.
struct HttpRequest {
    QByteArray method = "GET";
    QUrl url;
    HttpHeaders headers;
    /// No body sends none at all, not even `Content-Length`; an empty array sends an empty
    /// body. A `Content-Type` header may be set either way.
    std::optional<QByteArray> body = {};
    /// The longest the transfer may stall before it fails as timed out.
    Timing::Duration timeLimit = Timing{}.httpRequestLimit;

    /// Replaces any field of the same name.
    void setHeader(const QByteArray& name, const QByteArray& value);
    /// The value of the field, or nothing when it is not set.
    std::optional<QByteArray> header(const QByteArray& name) const;
};

/// An answer of the server, whatever its status: a 404 or a 503 is a response too.
struct HttpResponse {
    int status = 0;
    QByteArray body;
    HttpHeaders headers;

    /// The value of the field, or nothing when the server did not send it.
    std::optional<QByteArray> header(const QByteArray& name) const;
};

/// A request that got no HTTP answer at all: nothing reached the server or nothing came back.
/// `what()` is the network layer's English detail.
class TransportError : public UserFacingError {
public:
    enum class Kind {
        ConnectionRefused, ///< nothing listens at the address
        HostNotFound,      ///< the host name did not resolve
        TimedOut,          ///< the transfer stalled longer than the request's limit
        Tls,               ///< no secure connection could be set up
        ConnectionLost,    ///< the server closed the connection without an answer
        Cancelled,         ///< the caller's token was cancelled, or the transport went away
        Other,             ///< any other network failure (proxy, redirect loop, no route, …)
    };

    TransportError(Kind kind, const QString& detail);

    Kind kind() const { return m_kind; }
    /// The Finnish text for the user.
    QString description() const override;
    /// What the network layer said, in English, for the log.
    const QString& detail() const { return m_detail; }

private:
    Kind m_kind;
    QString m_detail;
};

/// Sends HTTP requests over one `QNetworkAccessManager` that it owns. Redirects are followed
/// unless they would go from https to http. Used from the thread that created it (the main
/// thread); any number of requests may be in flight at once.
class HttpTransport {
public:
    HttpTransport();
    /// Requests still in flight end as cancelled on a later turn of the event loop.
    ~HttpTransport();
    HttpTransport(const HttpTransport&) = delete;
    HttpTransport& operator=(const HttpTransport&) = delete;

    /// Sends `request` and waits for the whole answer. Returns the response of any HTTP status;
    /// throws `TransportError` when there is none. Cancelling `token` aborts the request and
    /// throws `Cancelled`, also when the answer has already arrived; a token cancelled before
    /// the call sends nothing.
    QCoro::Task<HttpResponse> send(HttpRequest request, CancellationToken token = {});

    /// Requests sent and not yet answered, failed or aborted.
    int requestsInFlight() const;

    /// Called with every request just before it goes out (for a log or a test).
    void setSendObserver(std::function<void(const HttpRequest&)> observer);

private:
    std::unique_ptr<QNetworkAccessManager> m_manager;
    std::function<void(const HttpRequest&)> m_observer;
};

} // namespace vesnara
