#pragma once

#include "auth/AuthUser.h"

#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The auth service's answer to a login. Either part may be missing; the login decides what
/// a missing part means.
struct AuthLoginResponse {
    std::optional<QString> token = {};
    std::optional<AuthUser> user = {};

    /// Throws `JsonDecodeError` for a key of the wrong type or a `user` without `email`.
    static AuthLoginResponse fromJson(const JsonReader& json);
};

} // namespace vesnara
