#include "backend/SummaryGenerateRequest.h"

#include "model/JsonReader.h"
#include "model/JsonWriting.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace vesnara {

SummaryGenerateRequest::Segment SummaryGenerateRequest::Segment::fromJson(const JsonReader& json) {
    return Segment{
        .text = json.requiredString(u"text"_s),
        .ts = json.requiredString(u"ts"_s),
        .speakerLabel = json.optionalString(u"speakerLabel"_s),
    };
}

QJsonObject SummaryGenerateRequest::Segment::toJson() const {
    QJsonObject object{
        {u"text"_s, text},
        {u"ts"_s, ts},
    };
    insertIfPresent(object, u"speakerLabel"_s, speakerLabel);
    return object;
}

SummaryGenerateRequest SummaryGenerateRequest::fromJson(const JsonReader& json) {
    return SummaryGenerateRequest{
        .transcriptSegments = json.requiredList(u"transcriptSegments"_s, &Segment::fromJson),
    };
}

QJsonObject SummaryGenerateRequest::toJson() const {
    QJsonArray segments;
    for (const Segment& segment : transcriptSegments)
        segments.append(segment.toJson());
    return QJsonObject{{u"transcriptSegments"_s, segments}};
}

} // namespace vesnara
