#include "engine/rules/PinLinks.h"

#include <cmath>

namespace vesnara {

std::optional<QUuid> nearestSegmentId(const QList<TranscriptSegment>& segments, Timestamp date,
                                      double maxDistance) {
    if (segments.isEmpty())
        return std::nullopt;
    const TranscriptSegment* best = &segments.first();
    double bestDistance = std::abs(date.secondsSince(best->timestamp));
    for (const auto& segment : segments) {
        const double distance = std::abs(date.secondsSince(segment.timestamp));
        if (distance < bestDistance) {
            best = &segment;
            bestDistance = distance;
        }
    }
    if (bestDistance <= maxDistance)
        return best->id;
    return std::nullopt;
}

bool linkPinsToNearestSegments(QList<TranscriptPin>& pins, const QList<TranscriptSegment>& segments,
                               double maxDistance) {
    bool changed = false;
    for (auto& pin : pins) {
        const auto id = nearestSegmentId(segments, pin.timestamp, maxDistance);
        if (id && pin.linkedSegmentId != id) {
            pin.linkedSegmentId = *id;
            changed = true;
        }
    }
    return changed;
}

} // namespace vesnara
