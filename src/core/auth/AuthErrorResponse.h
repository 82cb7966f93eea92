#pragma once

#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The error body of the auth service, in any of the spellings such services use.
struct AuthErrorResponse {
    std::optional<QString> detail = {};
    std::optional<QString> error = {};
    std::optional<QString> message = {};

    /// Throws `JsonDecodeError` for a key that is not a string.
    static AuthErrorResponse fromJson(const JsonReader& json);
};

} // namespace vesnara
