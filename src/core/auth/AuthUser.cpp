#include "auth/AuthUser.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

bool AuthUser::isAdmin() const {
    return role && role->trimmed().toLower() == u"admin"_s;
}

AuthUser AuthUser::fromJson(const JsonReader& json) {
    return AuthUser{
        .id = json.optionalInteger(u"id"_s),
        .email = json.requiredString(u"email"_s),
        .role = json.optionalString(u"role"_s),
    };
}

QJsonObject AuthUser::toJson() const {
    QJsonObject object{{u"email"_s, email}};
    if (id)
        object.insert(u"id"_s, *id);
    if (role)
        object.insert(u"role"_s, *role);
    return object;
}

} // namespace vesnara
