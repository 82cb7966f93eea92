#pragma once

#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QSet>
#include <QUuid>

#include <optional>

namespace vesnara {

/// A line closer to the lit pin than this many seconds is lit with it.
inline constexpr double kPinHighlightNearby = 1.0;

/// The pin whose lines are lit: the highlighted one, else the selected one.
std::optional<QUuid> activePinId(const std::optional<QUuid>& selectedPinId,
                                 const std::optional<QUuid>& highlightedPinId);

/// The line nearest to the pin `pinId` at any distance (strictly smaller wins, the earliest
/// line on a tie), what the screen scrolls to; nothing without that pin or without lines. A
/// stored link is not consulted.
std::optional<QUuid> nearestSegmentIdForPin(const QList<TranscriptSegment>& segments,
                                            const QList<TranscriptPin>& pins, const QUuid& pinId);

/// Every line that the pin `pinId` lights: those less than `kPinHighlightNearby` seconds from
/// it, and its nearest line. Found in one pass over `segments`, in any order; empty without the
/// pin.
QSet<QUuid> highlightedSegmentIds(const QList<TranscriptSegment>& segments,
                                  const QList<TranscriptPin>& pins,
                                  const std::optional<QUuid>& pinId);

/// Whether one line is lit, answered for that line alone: each call looks for the nearest line
/// anew. `highlightedSegmentIds` gives the same answers for a whole list at once.
bool isSegmentHighlighted(const TranscriptSegment& segment,
                          const QList<TranscriptSegment>& segments,
                          const QList<TranscriptPin>& pins,
                          const std::optional<QUuid>& selectedPinId,
                          const std::optional<QUuid>& highlightedPinId);

} // namespace vesnara
