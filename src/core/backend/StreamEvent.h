#pragma once

#include "model/Timestamp.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>

namespace vesnara {

/// One thing the audio stream reports: a transcript line in the making or finished, a state of
/// the server or of the client itself, or an error.
///
/// A call site asks for the case it handles:
/// `if (const auto* line = event.as<StreamEvent::Final>()) …`.
struct StreamEvent {
    /// The interim hypothesis of the line being spoken.
    struct Partial {
        QString text;
        friend bool operator==(const Partial&, const Partial&) = default;
    };
    /// One finished transcript line.
    struct Final {
        QString text;
        /// The server's time of the line, or the time it was received when the server gave none
        /// that could be read.
        Timestamp timestamp;
        std::optional<QString> speakerLabel;
        friend bool operator==(const Final&, const Final&) = default;
    };
    /// A state of the server ("listening", …) or of the client ("reconnecting"). The stream gives
    /// it no meaning of its own.
    struct Status {
        QString state;
        std::optional<QString> model;
        friend bool operator==(const Status&, const Status&) = default;
    };
    /// An error the server reported, or the final loss of the connection.
    struct Error {
        QString message;
        friend bool operator==(const Error&, const Error&) = default;
    };

    /// The state of the status the client emits itself when it schedules a reconnect.
    static const QString reconnectingState;

    std::variant<Partial, Final, Status, Error> payload;

    /// Reads one text message of the server: a JSON object whose text `type` is "partial",
    /// "final", "status" or "error". Anything else (not JSON, not an object, no text `type`, an
    /// unknown `type`) gives nothing and is to be ignored. Fields of the wrong JSON type count
    /// as absent: `text` and `state` are then empty, `message` is the catalogue's unknown error.
    /// A final line's `ts` is read as an ISO 8601 date-time with a zone, with or without
    /// fractional seconds; when it is absent or does not read, the line gets `receivedAt`.
    static std::optional<StreamEvent> fromServerMessage(const QString& text, Timestamp receivedAt);
    /// A binary message is read as text when its bytes are valid UTF-8; otherwise it gives
    /// nothing.
    static std::optional<StreamEvent> fromServerMessage(const QByteArray& bytes,
                                                        Timestamp receivedAt);

    /// The case's payload, or null when the event is another case.
    template <typename Case> const Case* as() const { return std::get_if<Case>(&payload); }

    friend bool operator==(const StreamEvent&, const StreamEvent&) = default;
};

/// How audio frames travel on the stream.
enum class AudioTransportMode {
    binary,     ///< each frame is one binary message of its bytes
    base64JSON, ///< each frame is a text message {"type":"audio","audioBase64":…}
};

} // namespace vesnara
