#pragma once

#include "model/Timestamp.h"

#include <QJsonObject>
#include <QString>
#include <QUuid>

#include <optional>

namespace vesnara {

class JsonReader;

/// One final transcript line; immutable once accepted.
struct TranscriptSegment {
    /// Made locally when the line is accepted; lines from the server carry none of their own.
    QUuid id;
    /// Trimmed of white space and line ends at both ends.
    QString text;
    /// The server's time of the line, or the local time when the server gave none that could be
    /// read.
    Timestamp timestamp;
    std::optional<QString> speakerLabel;

    /// Throws `JsonDecodeError` naming the first missing or mistyped key.
    static TranscriptSegment fromJson(const JsonReader& json);
    /// Throws `JsonEncodeError` for a time stamp that is not finite.
    QJsonObject toJson() const;

    friend bool operator==(const TranscriptSegment&, const TranscriptSegment&) = default;
};

} // namespace vesnara
