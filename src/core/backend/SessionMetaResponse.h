#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The backend's view of one session: its state, and counters of what it has received so far.
/// Every field may be missing, the id included; time stamps are kept as the server wrote them.
struct SessionMetaResponse {
    /// The last failure of the backend's speech engine in this session.
    struct SessionErrorInfo {
        std::optional<QString> at = {};
        std::optional<qint64> code = {};
        std::optional<QString> message = {};

        static SessionErrorInfo fromJson(const JsonReader& json);

        friend bool operator==(const SessionErrorInfo&, const SessionErrorInfo&) = default;
    };

    std::optional<QString> id = {};
    /// The session's state as the server names it.
    std::optional<QString> status = {};
    std::optional<QString> createdAt = {};
    std::optional<QString> endedAt = {};
    std::optional<QString> language = {};
    std::optional<QString> sttModel = {};
    std::optional<qint64> audioFrameCount = {};
    std::optional<qint64> audioBytes = {};
    /// Levels as the server measured them, on the scale 0.0 to 1.0.
    std::optional<double> avgAudioLevel = {};
    std::optional<double> peakAudioLevel = {};
    std::optional<qint64> interimCount = {};
    std::optional<qint64> finalCount = {};
    std::optional<qint64> segmentCount = {};
    std::optional<SessionErrorInfo> lastSttError = {};

    /// `{}` decodes to a record with every field empty; a present value of the wrong type
    /// throws `JsonDecodeError` naming its key.
    static SessionMetaResponse fromJson(const JsonReader& json);

    friend bool operator==(const SessionMetaResponse&, const SessionMetaResponse&) = default;
};

/// The backend's list of sessions.
struct SessionListResponse {
    QList<SessionMetaResponse> items;

    /// `items` is required; one bad item fails the whole list with `JsonDecodeError`.
    static SessionListResponse fromJson(const JsonReader& json);

    friend bool operator==(const SessionListResponse&, const SessionListResponse&) = default;
};

} // namespace vesnara
