#pragma once

#include <QJsonObject>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include <optional>

namespace vesnara {

class JsonReader;

/// The signed-in user as the auth service describes it. QML reads it through its properties:
/// `id` is null when the service sent none, `role` is "" then.
struct AuthUser {
    Q_GADGET
    Q_PROPERTY(QVariant id READ idValue)
    Q_PROPERTY(QString email MEMBER email)
    Q_PROPERTY(QString role READ roleValue)

public:
    std::optional<qint64> id = {};
    QString email;
    /// "admin" or "user" as the service spells it; compared trimmed and lower-cased.
    std::optional<QString> role = {};

    /// True when `role`, trimmed and lower-cased, is "admin".
    bool isAdmin() const;
    QVariant idValue() const { return id ? QVariant(*id) : QVariant(); }
    QString roleValue() const { return role.value_or(QString()); }

    /// `email` is required; `id` (an integer) and `role` (a string) may be missing or null.
    static AuthUser fromJson(const JsonReader& json);
    /// Absent fields are left out.
    QJsonObject toJson() const;

    friend bool operator==(const AuthUser&, const AuthUser&) = default;
};

} // namespace vesnara
