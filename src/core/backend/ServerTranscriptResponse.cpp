#include "backend/ServerTranscriptResponse.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

ServerTranscriptResponse::Segment
ServerTranscriptResponse::Segment::fromJson(const JsonReader& json) {
    return Segment{
        .text = json.requiredString(u"text"_s),
        .ts = json.optionalString(u"ts"_s),
        .speakerLabel = json.optionalString(u"speakerLabel"_s),
    };
}

ServerTranscriptResponse ServerTranscriptResponse::fromJson(const JsonReader& json) {
    return ServerTranscriptResponse{
        .sessionId = json.requiredString(u"sessionId"_s),
        .segments = json.requiredList(u"segments"_s, &Segment::fromJson),
    };
}

} // namespace vesnara
