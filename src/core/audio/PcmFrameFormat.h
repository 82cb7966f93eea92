#pragma once

#include <QtGlobal>

namespace vesnara {

/// The audio the program sends: signed 16-bit little-endian mono at 16 kHz, no header.
namespace PcmFrameFormat {

inline constexpr double sampleRate = 16000.0;
/// A normal frame: 1600 samples, 100 ms. The microphone emits only these.
inline constexpr qsizetype targetChunkBytes = 3200;
/// The shortest partial frame system audio emits: 320 samples, 20 ms.
inline constexpr qsizetype minChunkBytes = 640;

} // namespace PcmFrameFormat

} // namespace vesnara
