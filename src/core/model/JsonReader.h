#pragma once

#include "model/Timestamp.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>
#include <stdexcept>
#include <type_traits>

namespace vesnara {

class JsonReader;
/// What `JsonReader::requiredList` gives for a decoder of one element.
template <typename Decode>
using DecodedList = QList<std::invoke_result_t<Decode&, const JsonReader&>>;

/// A JSON document or record that could not be decoded. `key()` names the offending key
/// ("segments[2].text"), or is empty when the document itself is not a JSON object.
class JsonDecodeError : public std::runtime_error {
public:
    JsonDecodeError(const QString& key, const QString& problem);
    const QString& key() const { return m_key; }
    QString description() const { return QString::fromUtf8(what()); }

private:
    QString m_key;
};

/// Typed reads from one JSON object, shared by every record's codec.
///
/// `required…` throws `JsonDecodeError` when the key is missing, null or of another JSON type.
/// `optional…` gives nothing for a missing or null key and still throws for another type:
/// a present value of the wrong type fails the whole record. Unknown keys are ignored.
class JsonReader {
public:
    explicit JsonReader(QJsonObject object, QString path = {});

    /// Parses `bytes` as a JSON object; throws `JsonDecodeError` for anything else.
    static QJsonObject parseObject(const QByteArray& bytes);

    QString requiredString(const QString& key) const;
    std::optional<QString> optionalString(const QString& key) const;
    double requiredDouble(const QString& key) const;
    std::optional<double> optionalDouble(const QString& key) const;
    bool requiredBool(const QString& key) const;
    std::optional<bool> optionalBool(const QString& key) const;
    qint64 requiredInteger(const QString& key) const;
    std::optional<qint64> optionalInteger(const QString& key) const;
    std::optional<quint32> optionalUInt32(const QString& key) const;
    /// A UUID in its 36-character text form, in either case.
    QUuid requiredUuid(const QString& key) const;
    std::optional<QUuid> optionalUuid(const QString& key) const;
    /// A date stored as seconds since 2001-01-01T00:00:00Z.
    Timestamp requiredDate(const QString& key) const;
    QJsonObject requiredObject(const QString& key) const;
    std::optional<QJsonObject> optionalObject(const QString& key) const;
    QJsonArray requiredArray(const QString& key) const;
    std::optional<QJsonArray> optionalArray(const QString& key) const;

    /// Decodes every element of an array of objects with `decode(JsonReader)`; the first element
    /// that fails fails the whole list.
    template <typename Decode>
    DecodedList<Decode> requiredList(const QString& key, Decode decode) const {
        return decodeList(key, requiredArray(key), decode);
    }
    template <typename Decode>
    std::optional<DecodedList<Decode>> optionalList(const QString& key, Decode decode) const {
        if (const auto array = optionalArray(key))
            return decodeList(key, *array, decode);
        return std::nullopt;
    }

    /// The path of a key below this object, as used in error messages.
    QString pathOf(const QString& key) const;
    [[noreturn]] void fail(const QString& key, const QString& problem) const;

private:
    template <typename Decode>
    DecodedList<Decode> decodeList(const QString& key, const QJsonArray& array,
                                   Decode& decode) const {
        DecodedList<Decode> result;
        result.reserve(array.size());
        for (qsizetype i = 0; i < array.size(); ++i) {
            const QString elementPath = pathOf(key) + u'[' + QString::number(i) + u']';
            if (!array.at(i).isObject())
                throw JsonDecodeError(elementPath, QStringLiteral("expected an object"));
            result.append(decode(JsonReader(array.at(i).toObject(), elementPath)));
        }
        return result;
    }

    std::optional<QJsonValue> present(const QString& key) const;
    QJsonValue demanded(const QString& key) const;

    QJsonObject m_object;
    QString m_path;
};

} // namespace vesnara
