#pragma once

#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The success body of the password flows and of administration: a flag and a text.
struct AuthMessageResponse {
    std::optional<bool> ok = {};
    std::optional<QString> detail = {};
    std::optional<QString> message = {};

    /// Throws `JsonDecodeError` for a key of the wrong type.
    static AuthMessageResponse fromJson(const JsonReader& json);
};

} // namespace vesnara
