#pragma once

#include "auth/AuthUser.h"

#include <QJsonObject>
#include <QString>

namespace vesnara {

class JsonReader;

/// What is kept on disk about the last successful check of the session: who, when, and which
/// service said so. It lets a remembered session go on offline for a while.
struct StoredAuthMeta {
    AuthUser user;
    /// ISO 8601 in UTC with whole seconds, as in "2026-02-11T08:30:00Z".
    QString verifiedAt;
    /// The service that verified the session.
    QString authURL;

    /// Every key is required. Throws `JsonDecodeError` naming the first bad key.
    static StoredAuthMeta fromJson(const JsonReader& json);
    QJsonObject toJson() const;

    friend bool operator==(const StoredAuthMeta&, const StoredAuthMeta&) = default;
};

} // namespace vesnara
