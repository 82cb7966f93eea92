#include "model/JsonWriting.h"

#include <cmath>

namespace vesnara {

QString uuidText(const QUuid& uuid) {
    return uuid.toString(QUuid::WithoutBraces).toUpper();
}

QJsonValue jsonDate(Timestamp timestamp) {
    return jsonFiniteNumber(QStringLiteral("date"), timestamp.secondsSinceReferenceDate());
}

QJsonValue jsonFiniteNumber(const QString& key, double value) {
    if (!std::isfinite(value))
        throw JsonEncodeError((key + QStringLiteral(": not a finite number")).toStdString());
    return QJsonValue(value);
}

void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<QString>& value) {
    if (value)
        object.insert(key, *value);
}

void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<quint32>& value) {
    if (value)
        object.insert(key, static_cast<qint64>(*value));
}

void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<QUuid>& value) {
    if (value)
        object.insert(key, uuidText(*value));
}

} // namespace vesnara
