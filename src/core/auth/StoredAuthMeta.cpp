#include "auth/StoredAuthMeta.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

StoredAuthMeta StoredAuthMeta::fromJson(const JsonReader& json) {
    const QString userKey = u"user"_s;
    return StoredAuthMeta{
        .user = AuthUser::fromJson(JsonReader(json.requiredObject(userKey), json.pathOf(userKey))),
        .verifiedAt = json.requiredString(u"verifiedAt"_s),
        .authURL = json.requiredString(u"authURL"_s),
    };
}

QJsonObject StoredAuthMeta::toJson() const {
    return QJsonObject{
        {u"user"_s, user.toJson()},
        {u"verifiedAt"_s, verifiedAt},
        {u"authURL"_s, authURL},
    };
}

} // namespace vesnara
