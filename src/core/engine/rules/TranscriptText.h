#pragma once

#include "model/TranscriptSegment.h"

#include <QList>
#include <QString>

namespace vesnara {

/// One segment's line of `transcriptText`, without a line end.
QString transcriptLine(const TranscriptSegment& segment);

/// The transcript as plain text, as shown and copied: one line per segment,
/// "[HH:mm:ss] text", or "[HH:mm:ss] [label] text" when the segment has a speaker label (a
/// present but empty label gives "[]"). The clock is the local time zone's. Lines are joined by
/// one newline with none at the end; no segments give empty text.
QString transcriptText(const QList<TranscriptSegment>& segments);

/// The number of non-empty runs between white space in `text`. Applied to `transcriptText`,
/// the time marks count as words too.
qsizetype wordCount(const QString& text);

} // namespace vesnara
