#include "support/TestHttp.h"

#include <QJsonDocument>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTcpServer>

namespace vesnara::test {

QJsonObject HttpAnswer::json() const {
    return QJsonDocument::fromJson(body).object();
}

HttpAnswer httpCall(QNetworkAccessManager& network, const QByteArray& method, const QUrl& url,
                    const QByteArray& body,
                    const QList<std::pair<QByteArray, QByteArray>>& headers) {
    QNetworkRequest request(url);
    if (!body.isNull())
        request.setRawHeader("Content-Type", "application/json");
    for (const auto& [name, value] : headers)
        request.setRawHeader(name, value);
    QNetworkReply* reply = network.sendCustomRequest(request, method, body);
    QSignalSpy finished(reply, &QNetworkReply::finished);
    if (!reply->isFinished() && !finished.wait(10000))
        qWarning("httpCall: no answer within 10 s from %s", qPrintable(url.toString()));
    HttpAnswer answer{reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                      reply->readAll()};
    reply->deleteLater();
    return answer;
}

quint16 closedLoopbackPort() {
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost, 0))
        return 0;
    const quint16 port = server.serverPort();
    server.close();
    return port;
}

} // namespace vesnara::test
