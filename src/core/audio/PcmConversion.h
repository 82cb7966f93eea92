#pragma once

#include "audio/AudioBufferView.h"
#include "audio/AudioStreamDescription.h"

#include <QByteArray>

#include <optional>
#include <span>

namespace vesnara {

/// The sample encodings the converters can read.
enum class AudioSampleFormat { float32, int32, int24, int16, uint32, unsupported };

/// What a stream description names, tried in this order: float with 32 bits; signed with 32, 24
/// or 16 bits; neither signed with 32 bits (unsigned, float flag or not); anything else is
/// `unsupported` (64-bit float, unsigned 16-bit, 8-bit, …).
AudioSampleFormat sampleFormatOf(const AudioStreamDescription& format);

/// Decimates mono samples (full scale ±1.0) at `sampleRate` to 16 kHz PCM16 little-endian.
///
/// Nearest-sample pick with no filter and no phase carried between calls, by design: output
/// sample k is input sample min(n - 1, floor(rate x k / 16000)), where rate is at least 1; at
/// least one sample comes out. Values of 1.0 and more give 32767, of -1.0 and less -32767, others
/// round(x x 32767) in single precision, halves away from zero; NaN gives 0. No result for no
/// input, a rate that is not a finite number, or an output of more than 2^24 samples.
std::optional<QByteArray> decimateToPCM16(std::span<const float> mono, double sampleRate);

/// Converts one microphone buffer to 16 kHz mono PCM16 (channels averaged, then
/// `decimateToPCM16`). Reads float32 (as it stands) and int16 (x 1/32768) only. Interleaved mono
/// int16 at exactly 16 kHz, what the Linux backends ask the server for, is copied unchanged.
///
/// No result, so the buffer is dropped, for: no frames or no channels, another sample format,
/// a planar buffer with fewer buffers than channels or a missing one among them, an interleaved
/// buffer without a first buffer, or any buffer that holds fewer bytes than its samples need.
std::optional<QByteArray> convertMicrophoneBufferToPCM16(const AudioBufferView& buffer);

/// Converts one system audio buffer to 16 kHz mono PCM16 (channels averaged, then
/// `decimateToPCM16`). Reads every format `sampleFormatOf` names: float32 as it stands, signed
/// 32/24/16-bit scaled by 2^-31/2^-23/2^-15, unsigned 32-bit as (x - 2^31) x 2^-31. Interleaved
/// mono int16 at exactly 16 kHz is copied unchanged.
///
/// Channels count as at least 1. Planar: the first min(buffers, channels) buffers are used,
/// missing ones skipped, and the sum divided by that number. No result for: no frames, an
/// unsupported format, no buffers, an interleaved buffer that is missing, or any buffer that holds
/// fewer bytes than its samples need.
std::optional<QByteArray> convertSystemAudioBufferToPCM16(const AudioBufferView& buffer);

} // namespace vesnara
