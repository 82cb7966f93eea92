#include "model/SavedSession.h"

#include "model/JsonReader.h"
#include "model/JsonWriting.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

template <typename Record> QJsonArray toJsonArray(const QList<Record>& records) {
    QJsonArray array;
    for (const auto& record : records)
        array.append(record.toJson());
    return array;
}

} // namespace

SavedSession SavedSession::fromJson(const JsonReader& json) {
    return SavedSession{
        .id = json.requiredString(u"id"_s),
        .createdAt = json.requiredDate(u"createdAt"_s),
        .endedAt = json.requiredDate(u"endedAt"_s),
        .language = json.requiredString(u"language"_s),
        .sttModel = json.requiredString(u"sttModel"_s),
        .segments = json.requiredList(u"segments"_s, &TranscriptSegment::fromJson),
        .pins =
            json.optionalList(u"pins"_s, &TranscriptPin::fromJson).value_or(QList<TranscriptPin>{}),
    };
}

QJsonObject SavedSession::toJson() const {
    return QJsonObject{
        {u"id"_s, id},
        {u"createdAt"_s, jsonDate(createdAt)},
        {u"endedAt"_s, jsonDate(endedAt)},
        {u"language"_s, language},
        {u"sttModel"_s, sttModel},
        {u"segments"_s, toJsonArray(segments)},
        {u"pins"_s, toJsonArray(pins)},
    };
}

QByteArray SavedSession::toFileBytes() const {
    // QJsonObject keeps its keys sorted, so every level is written in key order.
    return QJsonDocument(toJson()).toJson(QJsonDocument::Indented);
}

SavedSession SavedSession::fromFileBytes(const QByteArray& bytes) {
    return fromJson(JsonReader(JsonReader::parseObject(bytes)));
}

SavedSessionListItem SavedSessionListItem::from(const SavedSession& session) {
    return SavedSessionListItem{
        .id = session.id,
        .endedAt = session.endedAt,
        .language = session.language,
        .sttModel = session.sttModel,
        .segmentCount = session.segments.size(),
    };
}

} // namespace vesnara
