#include "backend/StreamEvent.h"

#include "text/UiText.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

std::optional<QString> optionalText(const QJsonObject& object, const QString& key) {
    const QJsonValue value = object.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

} // namespace

const QString StreamEvent::reconnectingState = u"reconnecting"_s;

std::optional<StreamEvent> StreamEvent::fromServerMessage(const QString& text,
                                                          Timestamp receivedAt) {
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject message = document.object();
    const auto type = optionalText(message, u"type"_s);
    if (!type)
        return std::nullopt;

    if (*type == u"partial"_s)
        return StreamEvent{Partial{optionalText(message, u"text"_s).value_or(QString())}};
    if (*type == u"final"_s) {
        const auto ts = optionalText(message, u"ts"_s);
        const auto timestamp = ts ? Timestamp::parseIso8601(*ts) : std::nullopt;
        return StreamEvent{Final{optionalText(message, u"text"_s).value_or(QString()),
                                 timestamp.value_or(receivedAt),
                                 optionalText(message, u"speakerLabel"_s)}};
    }
    if (*type == u"status"_s) {
        return StreamEvent{Status{optionalText(message, u"state"_s).value_or(QString()),
                                  optionalText(message, u"sttModel"_s)}};
    }
    if (*type == u"error"_s)
        return StreamEvent{
            Error{optionalText(message, u"message"_s).value_or(UiText::streamUnknownError)}};
    return std::nullopt;
}

std::optional<StreamEvent> StreamEvent::fromServerMessage(const QByteArray& bytes,
                                                          Timestamp receivedAt) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return fromServerMessage(text, receivedAt);
}

} // namespace vesnara
