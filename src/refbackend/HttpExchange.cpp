#include "refbackend/HttpExchange.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

HttpReply HttpReply::json(const QJsonObject& object, int status) {
    return HttpReply{
        status, QJsonDocument(object).toJson(QJsonDocument::Compact), "application/json", {}};
}

HttpReply HttpReply::error(int status, const QString& message) {
    return json(QJsonObject{{u"error"_s, message}}, status);
}

HttpReply HttpReply::bytes(QByteArray body, QByteArray contentType, int status) {
    return HttpReply{status, std::move(body), std::move(contentType), {}};
}

} // namespace vesnara::refbackend
