#include "engine/rules/CrashRecoveryRules.h"

#include "engine/rules/SegmentKeys.h"
#include "model/STTConfiguration.h"
#include "storage/SessionHistoryStore.h"
#include "text/UiText.h"

#include <QSet>

#include <algorithm>

namespace vesnara {

std::optional<Timestamp> parseRecoveryDate(const std::optional<QString>& text) {
    if (!text)
        return std::nullopt;
    const QString trimmed = text->trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    return Timestamp::parseIso8601(trimmed);
}

QList<TranscriptSegment>
recoveredTranscriptSegments(const QList<ServerTranscriptResponse::Segment>& segments,
                            Timestamp now) {
    QList<TranscriptSegment> result;
    result.reserve(segments.size());
    QSet<QString> keys;
    keys.reserve(segments.size());
    double offset = 0.0;
    for (const auto& segment : segments) {
        QString text = segment.text.trimmed();
        if (text.isEmpty())
            continue;
        Timestamp time;
        if (const auto parsed = parseRecoveryDate(segment.ts)) {
            time = *parsed;
        } else {
            time = now.addingSeconds(offset);
            offset += 1.0;
        }
        const QString key = segmentKey(text, time);
        if (keys.contains(key))
            continue;
        keys.insert(key);
        result.append({QUuid::createUuid(), std::move(text), time, segment.speakerLabel});
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const auto& a, const auto& b) { return a.timestamp < b.timestamp; });
    return result;
}

QString trimmedOr(const std::optional<QString>& value, const QString& fallback) {
    const QString trimmed = value ? value->trimmed() : QString();
    return trimmed.isEmpty() ? fallback : trimmed;
}

SavedSession recoveredSession(const QString& id, const SessionMetaResponse& meta,
                              QList<TranscriptSegment> segments, const STTConfiguration& config) {
    const Timestamp createdAt =
        parseRecoveryDate(meta.createdAt).value_or(segments.first().timestamp);
    const Timestamp endedAt = parseRecoveryDate(meta.endedAt).value_or(segments.last().timestamp);
    return {id,
            createdAt,
            endedAt,
            trimmedOr(meta.language, config.defaultLanguage),
            trimmedOr(meta.sttModel, config.defaultModel),
            std::move(segments),
            {}};
}

bool isRecoverableSessionId(const QString& id) {
    // A hidden file is never listed, so its session would be fetched again at every start.
    return SessionHistoryStore::fileIdFor(id) == id;
}

RecoveryReport recoveryReport(bool startupMode, const QStringList& importedIds,
                              const std::optional<QString>& latestSeenSavedId) {
    if (startupMode) {
        if (importedIds.isEmpty())
            return {};
        return {UiText::recoveryStartupRestored(importedIds.size()), std::nullopt};
    }
    if (!importedIds.isEmpty())
        return {UiText::recoveryRestored(importedIds.first()), importedIds.first()};
    if (latestSeenSavedId)
        return {UiText::recoveryAlreadyInHistory(*latestSeenSavedId), *latestSeenSavedId};
    return {UiText::recoveryNothingFound, std::nullopt};
}

} // namespace vesnara
