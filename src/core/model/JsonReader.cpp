#include "model/JsonReader.h"

#include <QJsonDocument>
#include <QRegularExpression>

#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QString describe(const QString& key, const QString& problem) {
    return key.isEmpty() ? problem : key + u": "_s + problem;
}

bool isIntegral(double value) {
    return std::isfinite(value) && std::trunc(value) == value;
}

std::optional<QUuid> parseUuidText(const QString& text) {
    static const QRegularExpression pattern(
        u"^[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}$"_s);
    if (!pattern.match(text).hasMatch())
        return std::nullopt;
    return QUuid::fromString(text);
}

} // namespace

JsonDecodeError::JsonDecodeError(const QString& key, const QString& problem)
    : std::runtime_error(describe(key, problem).toStdString())
    , m_key(key) {}

JsonReader::JsonReader(QJsonObject object, QString path)
    : m_object(std::move(object))
    , m_path(std::move(path)) {}

QJsonObject JsonReader::parseObject(const QByteArray& bytes) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        throw JsonDecodeError({}, u"not valid JSON: "_s + error.errorString());
    if (!document.isObject())
        throw JsonDecodeError({}, u"expected a JSON object"_s);
    return document.object();
}

QString JsonReader::pathOf(const QString& key) const {
    return m_path.isEmpty() ? key : m_path + u'.' + key;
}

void JsonReader::fail(const QString& key, const QString& problem) const {
    throw JsonDecodeError(pathOf(key), problem);
}

std::optional<QJsonValue> JsonReader::present(const QString& key) const {
    const QJsonValue value = m_object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    return value;
}

QJsonValue JsonReader::demanded(const QString& key) const {
    const auto value = present(key);
    if (!value)
        fail(key, u"missing"_s);
    return *value;
}

std::optional<QString> JsonReader::optionalString(const QString& key) const {
    const auto value = present(key);
    if (!value)
        return std::nullopt;
    if (!value->isString())
        fail(key, u"expected a string"_s);
    return value->toString();
}

QString JsonReader::requiredString(const QString& key) const {
    demanded(key);
    return *optionalString(key);
}

std::optional<double> JsonReader::optionalDouble(const QString& key) const {
    const auto value = present(key);
    if (!value)
        return std::nullopt;
    if (!value->isDouble())
        fail(key, u"expected a number"_s);
    return value->toDouble();
}

double JsonReader::requiredDouble(const QString& key) const {
    demanded(key);
    return *optionalDouble(key);
}

std::optional<bool> JsonReader::optionalBool(const QString& key) const {
    const auto value = present(key);
    if (!value)
        return std::nullopt;
    if (!value->isBool())
        fail(key, u"expected true or false"_s);
    return value->toBool();
}

bool JsonReader::requiredBool(const QString& key) const {
    demanded(key);
    return *optionalBool(key);
}

std::optional<qint64> JsonReader::optionalInteger(const QString& key) const {
    const auto number = optionalDouble(key);
    if (!number)
        return std::nullopt;
    // Integers beyond 2^53 lose precision as doubles; no field of ours gets near that.
    if (!isIntegral(*number) || std::abs(*number) > 9007199254740992.0)
        fail(key, u"expected an integer"_s);
    return m_object.value(key).toInteger();
}

qint64 JsonReader::requiredInteger(const QString& key) const {
    demanded(key);
    return *optionalInteger(key);
}

std::optional<quint32> JsonReader::optionalUInt32(const QString& key) const {
    const auto number = optionalInteger(key);
    if (!number)
        return std::nullopt;
    if (*number < 0 || *number > 0xFFFFFFFFLL)
        fail(key, u"expected an unsigned 32-bit integer"_s);
    return static_cast<quint32>(*number);
}

std::optional<QUuid> JsonReader::optionalUuid(const QString& key) const {
    const auto text = optionalString(key);
    if (!text)
        return std::nullopt;
    const auto uuid = parseUuidText(*text);
    if (!uuid)
        fail(key, u"expected a UUID"_s);
    return uuid;
}

QUuid JsonReader::requiredUuid(const QString& key) const {
    demanded(key);
    return *optionalUuid(key);
}

Timestamp JsonReader::requiredDate(const QString& key) const {
    return Timestamp::fromSecondsSinceReferenceDate(requiredDouble(key));
}

std::optional<QJsonObject> JsonReader::optionalObject(const QString& key) const {
    const auto value = present(key);
    if (!value)
        return std::nullopt;
    if (!value->isObject())
        fail(key, u"expected an object"_s);
    return value->toObject();
}

QJsonObject JsonReader::requiredObject(const QString& key) const {
    demanded(key);
    return *optionalObject(key);
}

std::optional<QJsonArray> JsonReader::optionalArray(const QString& key) const {
    const auto value = present(key);
    if (!value)
        return std::nullopt;
    if (!value->isArray())
        fail(key, u"expected an array"_s);
    return value->toArray();
}

QJsonArray JsonReader::requiredArray(const QString& key) const {
    demanded(key);
    return *optionalArray(key);
}

} // namespace vesnara
