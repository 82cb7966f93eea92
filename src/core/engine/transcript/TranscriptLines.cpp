#include "engine/transcript/TranscriptLines.h"

#include "engine/rules/SegmentKeys.h"
#include "engine/rules/TranscriptText.h"

#include <QUuid>

#include <algorithm>
#include <numeric>

namespace vesnara {

TranscriptLines::LabelledText
TranscriptLines::labelledText(const QString& text, const std::optional<QString>& speakerLabel) {
    return {speakerLabel.value_or(QString()).trimmed(), normalizedSegmentText(text)};
}

std::optional<qsizetype> TranscriptLines::add(const FinalLine& line) {
    auto accepted = addition(line);
    if (!accepted)
        return std::nullopt;
    return insert(std::move(*accepted));
}

std::optional<TranscriptLines::Addition> TranscriptLines::addition(const FinalLine& line) const {
    QString text = line.text.trimmed();
    if (text.isEmpty())
        return std::nullopt;

    LabelledText byText = labelledText(text, line.speakerLabel);
    if (line.duplicateCheck == DuplicateCheck::byKeyOrText && m_labelledTexts.contains(byText))
        return std::nullopt;
    QString key = segmentKey(text, line.timestamp);
    if (m_knownSegmentKeys.contains(key))
        return std::nullopt;

    const auto place = std::upper_bound(
        m_segments.cbegin(), m_segments.cend(), line.timestamp,
        [](Timestamp time, const TranscriptSegment& segment) { return time < segment.timestamp; });
    Addition accepted;
    accepted.row = place - m_segments.cbegin();
    accepted.segment = {QUuid::createUuid(), std::move(text), line.timestamp, line.speakerLabel};
    accepted.key = std::move(key);
    accepted.labelledText = std::move(byText);
    accepted.lineText = transcriptLine(accepted.segment);
    return accepted;
}

qsizetype TranscriptLines::insert(Addition addition) {
    const qsizetype row = addition.row;
    if (m_segments.isEmpty())
        m_text = addition.lineText;
    else if (row == m_segments.size())
        m_text += u'\n' + addition.lineText;
    else
        m_text.insert(lineStart(row), addition.lineText + u'\n');
    m_wordCount += vesnara::wordCount(addition.lineText);
    m_lineLengths.insert(row, addition.lineText.size());
    m_knownSegmentKeys.insert(std::move(addition.key));
    m_labelledTexts.insert(std::move(addition.labelledText));
    m_segments.insert(row, std::move(addition.segment));
    return row;
}

qsizetype TranscriptLines::lineStart(qsizetype row) const {
    // Late lines land near the end, so count from whichever end is nearer.
    const auto lengths = m_lineLengths.cbegin();
    if (row <= m_lineLengths.size() / 2)
        return std::accumulate(lengths, lengths + row, qsizetype(0)) + row;
    const qsizetype after = std::accumulate(lengths + row, m_lineLengths.cend(), qsizetype(0)) +
                            (m_lineLengths.size() - 1 - row);
    return m_text.size() - after;
}

void TranscriptLines::reset(QList<TranscriptSegment> segments) {
    clear();
    sortSegmentsByTime(segments);
    m_segments = std::move(segments);
    m_knownSegmentKeys.reserve(m_segments.size());
    m_labelledTexts.reserve(m_segments.size());
    m_lineLengths.reserve(m_segments.size());
    QStringList lines;
    lines.reserve(m_segments.size());
    for (const TranscriptSegment& segment : std::as_const(m_segments)) {
        m_knownSegmentKeys.insert(segmentKey(segment.text, segment.timestamp));
        m_labelledTexts.insert(labelledText(segment.text, segment.speakerLabel));
        QString lineText = transcriptLine(segment);
        m_wordCount += vesnara::wordCount(lineText);
        m_lineLengths.append(lineText.size());
        lines.append(std::move(lineText));
    }
    m_text = lines.join(u'\n');
}

void TranscriptLines::clear() {
    m_segments.clear();
    m_knownSegmentKeys.clear();
    m_labelledTexts.clear();
    m_lineLengths.clear();
    m_text.clear();
    m_wordCount = 0;
}

} // namespace vesnara
