#pragma once

#include "engine/rules/TranscriptMerge.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QSet>
#include <QString>

#include <optional>
#include <utility>

namespace vesnara {

/// The final lines of one transcript, in time order, with what it takes to tell a line it
/// already has: the known keys and the texts by speaker. Adding a line costs what the line
/// costs, not what the transcript holds: the duplicate checks are hash look-ups, the line is
/// inserted at its place in time, and the plain text and its word count are kept up to date by
/// splicing in the one new line.
///
/// A value type: copying it (a finishing run's own copy) shares the storage until either side
/// changes.
class TranscriptLines {
public:
    /// A line accepted but not yet inserted: for a list model, which must announce the row
    /// before the lines change. Insert it before anything else changes the lines.
    struct Addition {
        qsizetype row = 0;
        TranscriptSegment segment;

    private:
        friend class TranscriptLines;
        QString key;
        std::pair<QString, QString> labelledText;
        QString lineText;
    };

    TranscriptLines() = default;

    /// Adds `line` as `segmentAddition` and `addSegment` would: trimmed, dropped when blank or a
    /// duplicate by its check, otherwise inserted after every line of the same or an earlier
    /// time (the order an append and a stable sort by time give). Returns the row it went to.
    std::optional<qsizetype> add(const FinalLine& line);
    /// The first half of `add`: what adding `line` would do, changing nothing.
    std::optional<Addition> addition(const FinalLine& line) const;
    /// The second half of `add`. Returns the row.
    qsizetype insert(Addition addition);

    /// Replaces the lines with `segments` (a loaded session), sorted by time with a stable sort,
    /// and rebuilds the keys and texts as if each line had been added.
    void reset(QList<TranscriptSegment> segments);
    void clear();

    const QList<TranscriptSegment>& segments() const { return m_segments; }
    /// One key a line, as `segmentKey` makes them.
    const QSet<QString>& knownSegmentKeys() const { return m_knownSegmentKeys; }
    qsizetype size() const { return m_segments.size(); }
    bool isEmpty() const { return m_segments.isEmpty(); }
    const TranscriptSegment& at(qsizetype row) const { return m_segments.at(row); }

    /// The same text as `transcriptText(segments())`. Each line's clock is read in the local
    /// time zone when the line is added.
    const QString& transcriptText() const { return m_text; }
    /// The same count as `wordCount(transcriptText())`.
    qsizetype wordCount() const { return m_wordCount; }

private:
    /// (trimmed speaker label, normalized text): how a line is recognised by text alone.
    using LabelledText = std::pair<QString, QString>;
    static LabelledText labelledText(const QString& text,
                                     const std::optional<QString>& speakerLabel);

    qsizetype lineStart(qsizetype row) const;

    QList<TranscriptSegment> m_segments;
    QSet<QString> m_knownSegmentKeys;
    QSet<LabelledText> m_labelledTexts;
    /// The length of each row's line in `m_text`, without its line end.
    QList<qsizetype> m_lineLengths;
    QString m_text;
    qsizetype m_wordCount = 0;
};

} // namespace vesnara
