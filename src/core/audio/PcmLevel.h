#pragma once

#include <QByteArrayView>

namespace vesnara {

/// The level of a PCM frame: the mean of |sample| / 32768 over its signed 16-bit little-endian
/// samples, from 0.0 to 1.0 (all -32768 gives exactly 1.0). Not RMS, not smoothed: every level
/// threshold of the program is on this scale. A last odd byte is ignored; fewer than 2 bytes
/// give 0.0.
double estimatePCM16Level(QByteArrayView frame);

} // namespace vesnara
