#pragma once

namespace vesnara {

/// The layout of the samples a capture backend delivers: the few fields of a stream description
/// that conversion to 16 kHz mono PCM16 needs. Samples are always little-endian; a 24-bit sample
/// is three packed bytes. What the flags and bits name is decided by `sampleFormatOf`
/// (PcmConversion.h); a combination that names nothing is delivered as it is and dropped there.
struct AudioStreamDescription {
    /// Frames per second; conversion treats anything below 1 as 1.
    double sampleRate = 0.0;
    /// Samples per frame.
    int channelCount = 0;
    int bitsPerChannel = 0;
    bool isFloat = false;
    bool isSignedInteger = false;
    /// Planar ("non-interleaved"): one buffer per channel. Otherwise one buffer holds the frames
    /// with their channels side by side.
    bool isNonInterleaved = false;

    static AudioStreamDescription float32(double rate, int channels, bool planar = false) {
        return {rate, channels, 32, true, false, planar};
    }
    static AudioStreamDescription int16(double rate, int channels, bool planar = false) {
        return {rate, channels, 16, false, true, planar};
    }
    static AudioStreamDescription int24(double rate, int channels, bool planar = false) {
        return {rate, channels, 24, false, true, planar};
    }
    static AudioStreamDescription int32(double rate, int channels, bool planar = false) {
        return {rate, channels, 32, false, true, planar};
    }
    static AudioStreamDescription uint32(double rate, int channels, bool planar = false) {
        return {rate, channels, 32, false, false, planar};
    }

    friend bool operator==(const AudioStreamDescription&, const AudioStreamDescription&) = default;
};

} // namespace vesnara
