#include "engine/rules/MemoRules.h"

#include "storage/SafeFileId.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

QList<SummaryGenerateRequest::Segment>
makeSummaryFallbackSegments(const QList<TranscriptSegment>& segments) {
    QList<SummaryGenerateRequest::Segment> result;
    result.reserve(segments.size());
    for (const TranscriptSegment& segment : segments)
        result.append({segment.text, segment.timestamp.toIso8601(), segment.speakerLabel});
    return result;
}

QString memoFileName(const QString& sessionId) {
    // The id comes from the server: it names the file only when it cannot reach another folder.
    return isSafeFileId(sessionId) ? sessionId + u"-muistio.docx"_s
                                   : UiText::memoDefaultFileName + u".docx"_s;
}

} // namespace vesnara
