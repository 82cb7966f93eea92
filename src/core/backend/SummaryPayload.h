#pragma once

#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The backend's answer to a memo request: the finished memo of one session.
struct SummaryPayload {
    /// The memo itself; the backend may leave out any part of it.
    struct SummaryContent {
        std::optional<QString> memoType = {};
        std::optional<double> confidence = {};
        std::optional<QString> title = {};
        std::optional<QString> summary = {};
        std::optional<QString> cleanTranscript = {};

        static SummaryContent fromJson(const JsonReader& json);

        friend bool operator==(const SummaryContent&, const SummaryContent&) = default;
    };

    QString sessionId;
    /// The memo's time stamp as the server wrote it.
    QString createdAt;
    SummaryContent summary;

    /// Throws `JsonDecodeError` naming the first missing or mistyped key.
    static SummaryPayload fromJson(const JsonReader& json);

    friend bool operator==(const SummaryPayload&, const SummaryPayload&) = default;
};

} // namespace vesnara
