#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The backend's own transcript of a session: its final lines in the server's order.
struct ServerTranscriptResponse {
    /// One final line as the server keeps it.
    struct Segment {
        QString text;
        /// The line's time stamp as the server wrote it; not necessarily readable as a date.
        std::optional<QString> ts = {};
        std::optional<QString> speakerLabel = {};

        static Segment fromJson(const JsonReader& json);

        friend bool operator==(const Segment&, const Segment&) = default;
    };

    QString sessionId;
    QList<Segment> segments;

    /// Throws `JsonDecodeError` naming the first missing or mistyped key; one bad line fails
    /// the whole transcript.
    static ServerTranscriptResponse fromJson(const JsonReader& json);

    friend bool operator==(const ServerTranscriptResponse&,
                           const ServerTranscriptResponse&) = default;
};

} // namespace vesnara
