#include "auth/AuthLoginResponse.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

AuthLoginResponse AuthLoginResponse::fromJson(const JsonReader& json) {
    AuthLoginResponse response{.token = json.optionalString(u"token"_s), .user = std::nullopt};
    const QString userKey = u"user"_s;
    if (const auto user = json.optionalObject(userKey))
        response.user = AuthUser::fromJson(JsonReader(*user, json.pathOf(userKey)));
    return response;
}

} // namespace vesnara
