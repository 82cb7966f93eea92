#include "engine/rules/TranscriptMerge.h"

#include "engine/rules/SegmentKeys.h"

#include <QUuid>

#include <algorithm>

namespace vesnara {

void sortSegmentsByTime(QList<TranscriptSegment>& segments) {
    std::stable_sort(segments.begin(), segments.end(),
                     [](const TranscriptSegment& a, const TranscriptSegment& b) {
                         return a.timestamp < b.timestamp;
                     });
}

std::optional<SegmentAddition> segmentAddition(const QList<TranscriptSegment>& segments,
                                               const QSet<QString>& knownSegmentKeys,
                                               const FinalLine& line) {
    const QString text = line.text.trimmed();
    if (text.isEmpty())
        return std::nullopt;

    if (line.duplicateCheck == DuplicateCheck::byKeyOrText) {
        const QString normalized = normalizedSegmentText(text);
        const QString label = line.speakerLabel.value_or(QString()).trimmed();
        const bool sameLineExists =
            std::any_of(segments.cbegin(), segments.cend(), [&](const TranscriptSegment& s) {
                return s.speakerLabel.value_or(QString()).trimmed() == label &&
                       normalizedSegmentText(s.text) == normalized;
            });
        if (sameLineExists)
            return std::nullopt;
    }

    QString key = segmentKey(text, line.timestamp);
    if (knownSegmentKeys.contains(key))
        return std::nullopt;
    return SegmentAddition{std::move(key),
                           {QUuid::createUuid(), text, line.timestamp, line.speakerLabel}};
}

void addSegment(QList<TranscriptSegment>& segments, QSet<QString>& knownSegmentKeys,
                SegmentAddition addition) {
    knownSegmentKeys.insert(std::move(addition.key));
    segments.append(std::move(addition.segment));
    sortSegmentsByTime(segments);
}

FinalLine polledFinalLine(const ServerTranscriptResponse::Segment& segment, Timestamp receivedAt) {
    const auto time = Timestamp::parseIso8601(segment.ts.value_or(QString()));
    return {segment.text, time.value_or(receivedAt), segment.speakerLabel,
            time ? DuplicateCheck::byKey : DuplicateCheck::byKeyOrText};
}

} // namespace vesnara
