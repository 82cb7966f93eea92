#include "backend/STTSessionCreateResponse.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

STTSessionCreateResponse STTSessionCreateResponse::fromJson(const JsonReader& json) {
    return STTSessionCreateResponse{
        .sessionId = json.requiredString(u"sessionId"_s),
        .wsUrl = json.requiredString(u"wsUrl"_s),
        .token = json.requiredString(u"token"_s),
    };
}

} // namespace vesnara
