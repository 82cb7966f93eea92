#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The body of a memo request: the local transcript, which the backend uses when its own
/// transcript of the session is missing.
struct SummaryGenerateRequest {
    /// One line of the local transcript.
    struct Segment {
        QString text;
        /// The line's time stamp as text.
        QString ts;
        /// Left out when the speaker is unknown.
        std::optional<QString> speakerLabel = {};

        static Segment fromJson(const JsonReader& json);
        QJsonObject toJson() const;

        friend bool operator==(const Segment&, const Segment&) = default;
    };

    QList<Segment> transcriptSegments;

    /// Throws `JsonDecodeError` naming the first missing or mistyped key.
    static SummaryGenerateRequest fromJson(const JsonReader& json);
    QJsonObject toJson() const;

    friend bool operator==(const SummaryGenerateRequest&, const SummaryGenerateRequest&) = default;
};

} // namespace vesnara
