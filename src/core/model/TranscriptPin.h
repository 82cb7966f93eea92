#pragma once

#include "model/Timestamp.h"
#include "model/TranscriptPinKind.h"

#include <QJsonObject>
#include <QString>
#include <QUuid>

#include <optional>

namespace vesnara {

class JsonReader;

/// A user's marker at a moment of the recording.
struct TranscriptPin {
    QUuid id;
    /// The moment in the recording that the pin marks.
    Timestamp timestamp;
    /// When the pin was made.
    Timestamp createdAt;
    QString label;
    /// Free text; may be empty.
    QString note;
    TranscriptPinKind kind = TranscriptPinKind::important;
    /// The nearest transcript line within the allowed distance, if any.
    std::optional<QUuid> linkedSegmentId;

    /// Throws `JsonDecodeError` naming the first missing or mistyped key, or an unknown kind.
    static TranscriptPin fromJson(const JsonReader& json);
    /// Throws `JsonEncodeError` for a time stamp that is not finite.
    QJsonObject toJson() const;

    friend bool operator==(const TranscriptPin&, const TranscriptPin&) = default;
};

} // namespace vesnara
