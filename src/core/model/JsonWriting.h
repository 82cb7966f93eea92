#pragma once

#include "model/Timestamp.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QUuid>

#include <optional>
#include <stdexcept>

namespace vesnara {

/// A record that cannot be written as JSON (a number that is not finite).
class JsonEncodeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Upper-case text form with dashes, as every stored and sent UUID.
QString uuidText(const QUuid& uuid);
/// Seconds since 2001-01-01T00:00:00Z as a JSON number, exactly as held.
QJsonValue jsonDate(Timestamp timestamp);
/// A finite number; throws `JsonEncodeError` naming `key` for NaN or infinity.
QJsonValue jsonFiniteNumber(const QString& key, double value);

/// Inserts `value` under `key` only when it is present: optional keys without a value are
/// left out of what we write.
void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<QString>& value);
void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<quint32>& value);
void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<QUuid>& value);

} // namespace vesnara
