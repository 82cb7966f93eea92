#include "engine/rules/PinLinks.h"

#include <algorithm>
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

std::optional<QUuid> nearestSegmentIdInTimeOrder(const QList<TranscriptSegment>& segments,
                                                 Timestamp date, double maxDistance) {
    const auto byTime = [](const TranscriptSegment& segment, Timestamp time) {
        return segment.timestamp < time;
    };
    const auto after = std::lower_bound(segments.cbegin(), segments.cend(), date, byTime);
    const TranscriptSegment* best = after == segments.cend() ? nullptr : &*after;
    if (after != segments.cbegin()) {
        // The earliest line of the run of equal times just before `date`: it wins a tie with
        // everything after it.
        const auto before =
            std::lower_bound(segments.cbegin(), after, std::prev(after)->timestamp, byTime);
        if (!best || std::abs(date.secondsSince(before->timestamp)) <=
                         std::abs(date.secondsSince(best->timestamp)))
            best = &*before;
    }
    if (best && std::abs(date.secondsSince(best->timestamp)) <= maxDistance)
        return best->id;
    return std::nullopt;
}

bool linkPinsToNearestSegments(QList<TranscriptPin>& pins, const QList<TranscriptSegment>& segments,
                               double maxDistance) {
    bool changed = false;
    for (auto& pin : pins) {
        const auto id = nearestSegmentIdInTimeOrder(segments, pin.timestamp, maxDistance);
        if (id && pin.linkedSegmentId != id) {
            pin.linkedSegmentId = *id;
            changed = true;
        }
    }
    return changed;
}

} // namespace vesnara
