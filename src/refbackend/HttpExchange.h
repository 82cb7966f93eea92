#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUrlQuery>

namespace vesnara::refbackend {

/// One HTTP request as the reference backend saw it; also what tests inspect.
struct RecordedRequest {
    QByteArray method;
    QString path;
    QUrlQuery query;
    /// Header names lower-cased; a repeated header keeps its last value.
    QHash<QByteArray, QByteArray> headers;
    QByteArray body;
    QHostAddress remoteAddress;

    bool hasHeader(const QByteArray& name) const { return headers.contains(name.toLower()); }
    QByteArray header(const QByteArray& name) const { return headers.value(name.toLower()); }
};

/// What a route answers.
struct HttpReply {
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json";
    QList<std::pair<QByteArray, QByteArray>> extraHeaders;

    static HttpReply json(const QJsonObject& object, int status = 200);
    /// `{"error": message}`, the error form every client of ours reads.
    static HttpReply error(int status, const QString& message);
    static HttpReply bytes(QByteArray body, QByteArray contentType, int status = 200);
};

} // namespace vesnara::refbackend
