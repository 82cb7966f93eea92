#pragma once

#include "backend/SummaryGenerateRequest.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QString>

namespace vesnara {

// The memo's inputs taken from the transcript on screen.

/// The lines sent along with a memo request, in order: the text and speaker as they stand, the
/// time as ISO 8601 in UTC to the second.
QList<SummaryGenerateRequest::Segment>
makeSummaryFallbackSegments(const QList<TranscriptSegment>& segments);

/// "<sessionId>-muistio.docx"; a session id that cannot name a file gives "muistio.docx".
QString memoFileName(const QString& sessionId);

} // namespace vesnara
