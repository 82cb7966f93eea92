#include "backend/SummaryPayload.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

SummaryPayload::SummaryContent SummaryPayload::SummaryContent::fromJson(const JsonReader& json) {
    return SummaryContent{
        .memoType = json.optionalString(u"memoType"_s),
        .confidence = json.optionalDouble(u"confidence"_s),
        .title = json.optionalString(u"title"_s),
        .summary = json.optionalString(u"summary"_s),
        .cleanTranscript = json.optionalString(u"cleanTranscript"_s),
    };
}

SummaryPayload SummaryPayload::fromJson(const JsonReader& json) {
    const QString summaryKey = u"summary"_s;
    return SummaryPayload{
        .sessionId = json.requiredString(u"sessionId"_s),
        .createdAt = json.requiredString(u"createdAt"_s),
        .summary = SummaryContent::fromJson(
            JsonReader(json.requiredObject(summaryKey), json.pathOf(summaryKey))),
    };
}

} // namespace vesnara
