#pragma once

#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The backend's health record: whether it works, and whether its speech and memo services
/// are configured.
struct HealthResponse {
    /// The state of memo generation; every part may be missing.
    struct MemoAIStatus {
        std::optional<bool> configured = {};
        std::optional<QString> model = {};

        static MemoAIStatus fromJson(const JsonReader& json);

        friend bool operator==(const MemoAIStatus&, const MemoAIStatus&) = default;
    };

    /// The backend's own verdict.
    bool ok = false;
    /// The server's time as it wrote it.
    QString time;
    std::optional<bool> openAIConfigured = {};
    std::optional<QString> openAIModel = {};
    /// An older backend sends none.
    std::optional<MemoAIStatus> memoAI = {};

    /// `ok` and `time` are required. Throws `JsonDecodeError` naming the first missing or
    /// mistyped key.
    static HealthResponse fromJson(const JsonReader& json);

    friend bool operator==(const HealthResponse&, const HealthResponse&) = default;
};

} // namespace vesnara
