#include "auth/AuthErrorResponse.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

AuthErrorResponse AuthErrorResponse::fromJson(const JsonReader& json) {
    return AuthErrorResponse{
        .detail = json.optionalString(u"detail"_s),
        .error = json.optionalString(u"error"_s),
        .message = json.optionalString(u"message"_s),
    };
}

} // namespace vesnara
