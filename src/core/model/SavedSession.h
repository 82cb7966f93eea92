#pragma once

#include "model/Timestamp.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

namespace vesnara {

class JsonReader;

/// A finished session as kept on this computer, one file per session.
struct SavedSession {
    /// The server's session id; also the file's base name.
    QString id;
    Timestamp createdAt;
    /// The sort key of the history, newest first.
    Timestamp endedAt;
    QString language;
    QString sttModel;
    QList<TranscriptSegment> segments;
    /// A file without pins (written before pins existed) reads as none.
    QList<TranscriptPin> pins;

    /// Throws `JsonDecodeError`: every key but `pins` is required, and a present `pins` is strict.
    static SavedSession fromJson(const JsonReader& json);
    /// Throws `JsonEncodeError` for a time stamp that is not finite.
    QJsonObject toJson() const;
    /// The file form: UTF-8, indented, keys sorted at every level.
    QByteArray toFileBytes() const;
    /// Throws `JsonDecodeError` for bytes that are not one valid session.
    static SavedSession fromFileBytes(const QByteArray& bytes);

    friend bool operator==(const SavedSession&, const SavedSession&) = default;
};

/// The row that the history list shows for one saved session.
struct SavedSessionListItem {
    /// The id found inside the file, which may differ from the file's name.
    QString id;
    Timestamp endedAt;
    QString language;
    QString sttModel;
    qsizetype segmentCount = 0;

    static SavedSessionListItem from(const SavedSession& session);

    friend bool operator==(const SavedSessionListItem&, const SavedSessionListItem&) = default;
};

} // namespace vesnara
