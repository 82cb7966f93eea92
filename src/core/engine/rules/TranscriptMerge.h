#pragma once

#include "backend/ServerTranscriptResponse.h"
#include "model/Timestamp.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QSet>
#include <QString>

#include <optional>

namespace vesnara {

// How final lines from the stream, the transcript poll and the final fetch join the transcript
// without duplicates. The view model owns the segments and the set of known keys; these rules
// decide and apply, and it links pins after each line added.

/// Sorts by `timestamp`, ascending and stable: lines of equal time keep their arrival order, and
/// a late line goes to its place in time rather than to the end.
void sortSegmentsByTime(QList<TranscriptSegment>& segments);

/// How a line is recognised as one the transcript already has.
enum class DuplicateCheck {
    /// By key alone: the same normalized text in the same rounded second.
    byKey,
    /// Also by text alone: any segment with the same normalized text and the same trimmed
    /// speaker label (absent counts as empty), whatever its time. For lines whose time is not
    /// the server's, so a genuine repeat of a sentence is dropped too; this is accepted.
    byKeyOrText,
};

/// A final line offered to the transcript.
struct FinalLine {
    QString text;
    Timestamp timestamp;
    std::optional<QString> speakerLabel;
    DuplicateCheck duplicateCheck = DuplicateCheck::byKey;
};

/// What adding a line takes: its key for the known set, and the segment to add.
struct SegmentAddition {
    QString key;
    /// A fresh id, the trimmed text, the line's time stamp and its label as given.
    TranscriptSegment segment;
};

/// The addition that `line` makes, or nothing when its trimmed text is empty or it is a
/// duplicate of `segments` (by its check) or of `knownSegmentKeys`.
std::optional<SegmentAddition> segmentAddition(const QList<TranscriptSegment>& segments,
                                               const QSet<QString>& knownSegmentKeys,
                                               const FinalLine& line);

/// Inserts the key, appends the segment and sorts the segments by time.
void addSegment(QList<TranscriptSegment>& segments, QSet<QString>& knownSegmentKeys,
                SegmentAddition addition);

/// A polled line as a final line: its `ts` read as an ISO 8601 date-time with a zone, with or
/// without fractional seconds, checked by key; when `ts` is absent or does not read, the time is
/// `receivedAt` and the line is also checked by text.
FinalLine polledFinalLine(const ServerTranscriptResponse::Segment& segment, Timestamp receivedAt);

} // namespace vesnara
