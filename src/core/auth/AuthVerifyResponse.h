#pragma once

#include "auth/AuthUser.h"

#include <optional>

namespace vesnara {

class JsonReader;

/// The auth service's answer to a token check. `ok` is read but never decides anything: the
/// presence of `user` does.
struct AuthVerifyResponse {
    std::optional<bool> ok = {};
    std::optional<AuthUser> user = {};

    /// Throws `JsonDecodeError` for a key of the wrong type or a `user` without `email`.
    static AuthVerifyResponse fromJson(const JsonReader& json);
};

} // namespace vesnara
