#pragma once

#include "engine/rules/TranscriptMerge.h"

namespace vesnara::test {

/// 09:15:02 UTC in winter: 11:15:02 in Helsinki, the zone these tests run in.
inline constexpr double kMorning = 1772615702.0;

inline Timestamp at(double offset) {
    return Timestamp::fromUnixSeconds(kMorning + offset);
}

/// A stream line, checked by key alone.
inline FinalLine streamLine(const QString& text, double offset,
                            std::optional<QString> label = std::nullopt) {
    return {text, at(offset), std::move(label), DuplicateCheck::byKey};
}

} // namespace vesnara::test
