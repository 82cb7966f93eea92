#include "refbackend/RefHttpServer.h"

#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

QByteArray methodName(QHttpServerRequest::Method method) {
    switch (method) {
    case QHttpServerRequest::Method::Get:
        return "GET";
    case QHttpServerRequest::Method::Put:
        return "PUT";
    case QHttpServerRequest::Method::Delete:
        return "DELETE";
    case QHttpServerRequest::Method::Post:
        return "POST";
    case QHttpServerRequest::Method::Head:
        return "HEAD";
    case QHttpServerRequest::Method::Options:
        return "OPTIONS";
    case QHttpServerRequest::Method::Patch:
        return "PATCH";
    default:
        return "OTHER";
    }
}

RecordedRequest record(const QHttpServerRequest& request) {
    RecordedRequest recorded;
    recorded.method = methodName(request.method());
    recorded.path = request.url().path(QUrl::FullyEncoded);
    recorded.query = request.query();
    for (const auto& [name, value] : request.headers())
        recorded.headers.insert(name.toLower(), value);
    recorded.body = request.body();
    recorded.remoteAddress = request.remoteAddress();
    return recorded;
}

} // namespace

RefHttpServer::RefHttpServer(RefBackendFaults& faults, QObject* parent)
    : QAbstractHttpServer(parent)
    , m_faults(faults) {}

void RefHttpServer::route(const QByteArray& method, const QString& pathPattern, Handler handler) {
    m_routes.append(
        Route{method, QRegularExpression(u"^"_s + pathPattern + u"$"_s), std::move(handler)});
}

HttpReply RefHttpServer::dispatch(const RecordedRequest& request) const {
    if (m_faults.notFoundPaths.contains(request.path))
        return HttpReply::error(404, u"Not found"_s);

    bool pathKnown = false;
    for (const Route& route : m_routes) {
        const auto match = route.pattern.match(request.path);
        if (!match.hasMatch())
            continue;
        pathKnown = true;
        if (route.method != request.method)
            continue;
        QStringList captures;
        for (int i = 1; i <= match.lastCapturedIndex(); ++i)
            captures << QUrl::fromPercentEncoding(match.captured(i).toUtf8());
        return route.handler(request, captures);
    }
    return pathKnown ? HttpReply::error(405, u"Method not allowed"_s)
                     : HttpReply::error(404, u"Not found"_s);
}

void RefHttpServer::send(QHttpServerResponder& responder, const HttpReply& reply) {
    const auto status = static_cast<QHttpServerResponder::StatusCode>(reply.status);
    responder.writeStatusLine(status);
    responder.writeHeader("Content-Type", reply.contentType);
    responder.writeHeader("Content-Length", QByteArray::number(reply.body.size()));
    for (const auto& [name, value] : reply.extraHeaders)
        responder.writeHeader(name, value);
    responder.writeBody(reply.body);
}

bool RefHttpServer::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    const RecordedRequest recorded = record(request);
    Q_EMIT requestRecorded(recorded);

    // An upgrade that is let through must not be answered here: the server switches the
    // socket to the WebSocket protocol after we return. A refused one goes to missingHandler.
    if (recorded.header("upgrade").compare("websocket", Qt::CaseInsensitive) == 0)
        return m_upgradeGate && m_upgradeGate(recorded);

    auto responder = std::make_shared<QHttpServerResponder>(makeResponder(request, socket));
    const auto fault = m_faults.takeFaultFor(recorded.path);
    if (!fault) {
        send(*responder, dispatch(recorded));
        return true;
    }

    switch (fault->kind) {
    case HttpFault::Kind::respond:
        send(*responder, HttpReply::bytes(fault->body, "application/json", fault->status));
        break;
    case HttpFault::Kind::drop:
        socket->abort();
        break;
    case HttpFault::Kind::delay: {
        // The socket may go away while we wait (the client gave up): answer only if it is there.
        QPointer<QTcpSocket> guard(socket);
        QTimer::singleShot(fault->delay, this, [this, guard, responder, recorded] {
            if (guard && guard->state() == QAbstractSocket::ConnectedState)
                send(*responder, dispatch(recorded));
        });
        break;
    }
    }
    return true;
}

void RefHttpServer::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) {
    auto responder = makeResponder(request, socket);
    send(responder, HttpReply::error(404, u"Not found"_s));
}

} // namespace vesnara::refbackend
