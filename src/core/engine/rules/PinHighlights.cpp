#include "engine/rules/PinHighlights.h"

#include "engine/rules/PinLinks.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vesnara {

namespace {

const TranscriptPin* findPin(const QList<TranscriptPin>& pins, const std::optional<QUuid>& id) {
    if (!id)
        return nullptr;
    const auto found = std::find_if(pins.cbegin(), pins.cend(),
                                    [&](const TranscriptPin& pin) { return pin.id == *id; });
    return found == pins.cend() ? nullptr : &*found;
}

} // namespace

std::optional<QUuid> activePinId(const std::optional<QUuid>& selectedPinId,
                                 const std::optional<QUuid>& highlightedPinId) {
    return highlightedPinId ? highlightedPinId : selectedPinId;
}

std::optional<QUuid> nearestSegmentIdForPin(const QList<TranscriptSegment>& segments,
                                            const QList<TranscriptPin>& pins, const QUuid& pinId) {
    const TranscriptPin* pin = findPin(pins, pinId);
    if (!pin)
        return std::nullopt;
    return nearestSegmentId(segments, pin->timestamp, std::numeric_limits<double>::infinity());
}

QSet<QUuid> highlightedSegmentIds(const QList<TranscriptSegment>& segments,
                                  const QList<TranscriptPin>& pins,
                                  const std::optional<QUuid>& pinId) {
    QSet<QUuid> lit;
    const TranscriptPin* pin = findPin(pins, pinId);
    if (!pin || segments.isEmpty())
        return lit;
    const TranscriptSegment* nearest = nullptr;
    double nearestDistance = 0.0;
    for (const TranscriptSegment& segment : segments) {
        const double distance = std::abs(pin->timestamp.secondsSince(segment.timestamp));
        if (distance < kPinHighlightNearby)
            lit.insert(segment.id);
        if (!nearest || distance < nearestDistance) {
            nearest = &segment;
            nearestDistance = distance;
        }
    }
    lit.insert(nearest->id);
    return lit;
}

bool isSegmentHighlighted(const TranscriptSegment& segment,
                          const QList<TranscriptSegment>& segments,
                          const QList<TranscriptPin>& pins,
                          const std::optional<QUuid>& selectedPinId,
                          const std::optional<QUuid>& highlightedPinId) {
    const TranscriptPin* pin = findPin(pins, activePinId(selectedPinId, highlightedPinId));
    if (!pin)
        return false;
    if (std::abs(pin->timestamp.secondsSince(segment.timestamp)) < kPinHighlightNearby)
        return true;
    return nearestSegmentIdForPin(segments, pins, pin->id) == segment.id;
}

} // namespace vesnara
