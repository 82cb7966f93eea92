#include "auth/AuthVerifyResponse.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

AuthVerifyResponse AuthVerifyResponse::fromJson(const JsonReader& json) {
    AuthVerifyResponse response{.ok = json.optionalBool(u"ok"_s), .user = std::nullopt};
    const QString userKey = u"user"_s;
    if (const auto user = json.optionalObject(userKey))
        response.user = AuthUser::fromJson(JsonReader(*user, json.pathOf(userKey)));
    return response;
}

} // namespace vesnara
