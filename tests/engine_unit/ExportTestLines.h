#pragma once

#include "TranscriptTestLines.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

namespace vesnara::test {

/// A transcript line `offset` seconds after the fixed morning.
inline TranscriptSegment line(const QString& text, double offset,
                              std::optional<QString> speakerLabel = std::nullopt) {
    return {QUuid::createUuid(), text, at(offset), std::move(speakerLabel)};
}

/// A pin made at the moment it marks.
inline TranscriptPin pin(TranscriptPinKind kind, const QString& label, const QString& note,
                         double offset) {
    return {QUuid::createUuid(), at(offset), at(offset), label, note, kind, std::nullopt};
}

} // namespace vesnara::test
