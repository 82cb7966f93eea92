#include "auth/AuthMessageResponse.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

AuthMessageResponse AuthMessageResponse::fromJson(const JsonReader& json) {
    return AuthMessageResponse{
        .ok = json.optionalBool(u"ok"_s),
        .detail = json.optionalString(u"detail"_s),
        .message = json.optionalString(u"message"_s),
    };
}

} // namespace vesnara
