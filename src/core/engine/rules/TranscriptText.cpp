#include "engine/rules/TranscriptText.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace vesnara {

QString transcriptLine(const TranscriptSegment& segment) {
    QString line = u'[' + segment.timestamp.clockText() + u"] "_s;
    if (segment.speakerLabel)
        line += u'[' + *segment.speakerLabel + u"] "_s;
    return line + segment.text;
}

QString transcriptText(const QList<TranscriptSegment>& segments) {
    QStringList lines;
    lines.reserve(segments.size());
    for (const TranscriptSegment& segment : segments)
        lines.append(transcriptLine(segment));
    return lines.join(u'\n');
}

qsizetype wordCount(const QString& text) {
    qsizetype count = 0;
    bool inWord = false;
    for (const QChar c : text) {
        const bool isSpace = c.isSpace();
        if (!isSpace && !inWord)
            ++count;
        inWord = !isSpace;
    }
    return count;
}

} // namespace vesnara
