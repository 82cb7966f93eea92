#include "model/TranscriptSegment.h"

#include "model/JsonReader.h"
#include "model/JsonWriting.h"

using namespace Qt::StringLiterals;

namespace vesnara {

TranscriptSegment TranscriptSegment::fromJson(const JsonReader& json) {
    return TranscriptSegment{
        .id = json.requiredUuid(u"id"_s),
        .text = json.requiredString(u"text"_s),
        .timestamp = json.requiredDate(u"timestamp"_s),
        .speakerLabel = json.optionalString(u"speakerLabel"_s),
    };
}

QJsonObject TranscriptSegment::toJson() const {
    QJsonObject object{
        {u"id"_s, uuidText(id)},
        {u"text"_s, text},
        {u"timestamp"_s, jsonDate(timestamp)},
    };
    insertIfPresent(object, u"speakerLabel"_s, speakerLabel);
    return object;
}

} // namespace vesnara
