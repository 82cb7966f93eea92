#include "model/TranscriptPin.h"

#include "model/JsonReader.h"
#include "model/JsonWriting.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

TranscriptPinKind readKind(const JsonReader& json) {
    const QString value = json.requiredString(u"kind"_s);
    const auto kind = transcriptPinKindFromJsonValue(value);
    if (!kind)
        json.fail(u"kind"_s, u"unknown pin kind \""_s + value + u'"');
    return *kind;
}

} // namespace

TranscriptPin TranscriptPin::fromJson(const JsonReader& json) {
    return TranscriptPin{
        .id = json.requiredUuid(u"id"_s),
        .timestamp = json.requiredDate(u"timestamp"_s),
        .createdAt = json.requiredDate(u"createdAt"_s),
        .label = json.requiredString(u"label"_s),
        .note = json.requiredString(u"note"_s),
        .kind = readKind(json),
        .linkedSegmentId = json.optionalUuid(u"linkedSegmentId"_s),
    };
}

QJsonObject TranscriptPin::toJson() const {
    QJsonObject object{
        {u"id"_s, uuidText(id)},
        {u"timestamp"_s, jsonDate(timestamp)},
        {u"createdAt"_s, jsonDate(createdAt)},
        {u"label"_s, label},
        {u"note"_s, note},
        {u"kind"_s, jsonValue(kind)},
    };
    insertIfPresent(object, u"linkedSegmentId"_s, linkedSegmentId);
    return object;
}

} // namespace vesnara
