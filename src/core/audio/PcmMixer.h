#pragma once

#include "model/MixPreset.h"

#include <QByteArray>

namespace vesnara {

/// Mixes a microphone frame and a system audio frame (both PCM16 little-endian mono) into one.
///
/// Only the common length is mixed (the shorter byte length, less a last odd byte); when that
/// is 0 the result is `mic` as it is if non-empty, else `system` as it is. Gains and the ducking
/// strength are clamped to their bounds. The microphone's level over its whole buffer ducks the
/// system signal by one factor per frame (no ducking below a level of 0.012, full from 0.087,
/// never below a factor of 0.12). The sum is scaled by a fixed headroom of 0.62; the soft limiter
/// (tanh, scaled so 1.0 stays 1.0) clips to 32767 / -32768, without it the clip is at ±32767.
QByteArray mixPCM16(const QByteArray& mic, const QByteArray& system, const MixSettings& settings);

} // namespace vesnara
