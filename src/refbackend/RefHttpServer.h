#pragma once

#include "refbackend/HttpExchange.h"
#include "refbackend/RefBackendFaults.h"

#include <QAbstractHttpServer>
#include <QRegularExpression>

#include <functional>

namespace vesnara::refbackend {

/// The HTTP side of the reference backend: a small router over `QAbstractHttpServer` that
/// records every request, applies armed faults before routing, and hands WebSocket upgrades
/// on the same port to `webSocketConnected`.
class RefHttpServer final : public QAbstractHttpServer {
    Q_OBJECT

public:
    /// Path captures of the route's pattern, in order.
    using Handler = std::function<HttpReply(const RecordedRequest&, const QStringList& captures)>;

    explicit RefHttpServer(RefBackendFaults& faults, QObject* parent = nullptr);

    /// Decides whether a WebSocket upgrade request may proceed; refused ones get a 404.
    using UpgradeGate = std::function<bool(const RecordedRequest&)>;
    void setUpgradeGate(UpgradeGate gate) { m_upgradeGate = std::move(gate); }

    /// Routes `method` requests whose whole path matches `pathPattern` (a regular expression;
    /// its capture groups are passed to the handler, percent-decoded).
    void route(const QByteArray& method, const QString& pathPattern, Handler handler);

Q_SIGNALS:
    void requestRecorded(const vesnara::refbackend::RecordedRequest& request);

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

private:
    struct Route {
        QByteArray method;
        QRegularExpression pattern;
        Handler handler;
    };

    HttpReply dispatch(const RecordedRequest& request) const;
    static void send(QHttpServerResponder& responder, const HttpReply& reply);

    RefBackendFaults& m_faults;
    QList<Route> m_routes;
    UpgradeGate m_upgradeGate;
};

} // namespace vesnara::refbackend
