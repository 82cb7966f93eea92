#pragma once

#include "model/Timestamp.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QUuid>

#include <optional>

namespace vesnara {

/// How far, in seconds, a pin may be from a line to be linked to it.
inline constexpr double kPinLinkDistance = 30.0;

/// The line nearest to `date`: the strictly smallest distance wins, so on a tie the earliest
/// line in the list does; nothing when there are no lines or the nearest is farther than
/// `maxDistance` seconds.
std::optional<QUuid> nearestSegmentId(const QList<TranscriptSegment>& segments, Timestamp date,
                                      double maxDistance = kPinLinkDistance);

/// The same answer as `nearestSegmentId` for lines in time order (as a transcript keeps them),
/// found by binary search.
std::optional<QUuid> nearestSegmentIdInTimeOrder(const QList<TranscriptSegment>& segments,
                                                 Timestamp date,
                                                 double maxDistance = kPinLinkDistance);

/// Links each pin to its nearest line of `segments`, which are in time order; a pin with no line
/// near enough keeps its earlier link. True when a link changed.
bool linkPinsToNearestSegments(QList<TranscriptPin>& pins, const QList<TranscriptSegment>& segments,
                               double maxDistance = kPinLinkDistance);

} // namespace vesnara
