#include "auth/AuthAdminUser.h"

#include "model/JsonReader.h"
#include "model/JsonWriting.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

// The service may send a wrong type for these fields; that loses the value, not the record.
template <typename Read> auto tolerant(Read read) -> decltype(read()) {
    try {
        return read();
    } catch (const JsonDecodeError&) {
        return std::nullopt;
    }
}

bool readActive(const JsonReader& json) {
    const QString key = u"is_active"_s;
    if (const auto flag = tolerant([&] { return json.optionalBool(key); }))
        return *flag;
    if (const auto number = tolerant([&] { return json.optionalInteger(key); }))
        return *number != 0;
    return true;
}

} // namespace

AuthAdminUser AuthAdminUser::fromJson(const JsonReader& json) {
    const auto text = [&json](const QString& key) {
        return tolerant([&] { return json.optionalString(key); });
    };
    return AuthAdminUser{
        .id = json.requiredInteger(u"id"_s),
        .email = json.requiredString(u"email"_s),
        .role = text(u"role"_s).value_or(u"user"_s),
        .isActive = readActive(json),
        .createdAt = text(u"created_at"_s),
        .updatedAt = text(u"updated_at"_s),
        .disabledAt = text(u"disabled_at"_s),
        .lastLoginAt = text(u"last_login_at"_s),
    };
}

QJsonObject AuthAdminUser::toJson() const {
    QJsonObject object{
        {u"id"_s, id},
        {u"email"_s, email},
        {u"role"_s, role},
        {u"is_active"_s, isActive},
    };
    insertIfPresent(object, u"created_at"_s, createdAt);
    insertIfPresent(object, u"updated_at"_s, updatedAt);
    insertIfPresent(object, u"disabled_at"_s, disabledAt);
    insertIfPresent(object, u"last_login_at"_s, lastLoginAt);
    return object;
}

AuthAdminUsersResponse AuthAdminUsersResponse::fromJson(const JsonReader& json) {
    return AuthAdminUsersResponse{.users = json.requiredList(u"users"_s, &AuthAdminUser::fromJson)};
}

} // namespace vesnara
