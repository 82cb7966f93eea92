#pragma once

#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

namespace vesnara::test {

using namespace Qt::StringLiterals;

/// A line `seconds` after a fixed moment.
inline TranscriptSegment lineAt(double seconds) {
    return {QUuid::createUuid(), u"rivi"_s,
            Timestamp::fromSecondsSinceReferenceDate(800000000.0 + seconds), std::nullopt};
}

/// A pin `seconds` after the same moment, with `link` as its stored link.
inline TranscriptPin pinAt(double seconds, std::optional<QUuid> link = std::nullopt) {
    TranscriptPin pin;
    pin.id = QUuid::createUuid();
    pin.timestamp = Timestamp::fromSecondsSinceReferenceDate(800000000.0 + seconds);
    pin.linkedSegmentId = link;
    return pin;
}

} // namespace vesnara::test
