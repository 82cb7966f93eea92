#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// One user as the auth service's administration lists it. Its JSON keys are snake_case,
/// unlike every other record of the client.
struct AuthAdminUser {
    qint64 id = 0;
    QString email;
    /// "user" when the service sent none or something that is not a string.
    QString role = QStringLiteral("user");
    bool isActive = true;
    std::optional<QString> createdAt = {};
    std::optional<QString> updatedAt = {};
    std::optional<QString> disabledAt = {};
    std::optional<QString> lastLoginAt = {};

    /// `id` (integer) and `email` (string) are required and fail the record with
    /// `JsonDecodeError`. The rest is tolerant: `is_active` is a boolean, else an integer where
    /// anything but 0 is true, else true; a time stamp that is not a string is left out.
    static AuthAdminUser fromJson(const JsonReader& json);
    /// The same snake_case keys; time stamps without a value are left out.
    QJsonObject toJson() const;

    friend bool operator==(const AuthAdminUser&, const AuthAdminUser&) = default;
};

/// The administration's user list.
struct AuthAdminUsersResponse {
    QList<AuthAdminUser> users;

    /// `users` is required; one user that fails fails the whole list.
    static AuthAdminUsersResponse fromJson(const JsonReader& json);
};

} // namespace vesnara
