#include "audio/PcmConversion.h"

#include "audio/PcmFrameFormat.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace vesnara {

namespace {

constexpr double kMaxOutputSamples = 16'777'216.0;

template <AudioSampleFormat F> constexpr qsizetype bytesPerSample() {
    if constexpr (F == AudioSampleFormat::int24)
        return 3;
    else if constexpr (F == AudioSampleFormat::int16)
        return 2;
    else
        return 4;
}

qsizetype bytesPerSample(AudioSampleFormat format) {
    switch (format) {
    case AudioSampleFormat::int24:
        return 3;
    case AudioSampleFormat::int16:
        return 2;
    default:
        return 4;
    }
}

template <AudioSampleFormat F> float decode(const char* p) {
    if constexpr (F == AudioSampleFormat::float32) {
        return std::bit_cast<float>(qFromLittleEndian<quint32>(p));
    } else if constexpr (F == AudioSampleFormat::int32) {
        return static_cast<float>(qFromLittleEndian<qint32>(p)) * 0x1p-31f;
    } else if constexpr (F == AudioSampleFormat::int24) {
        const auto* b = reinterpret_cast<const uchar*>(p);
        std::int32_t v = b[0] | (b[1] << 8) | (b[2] << 16);
        if (v & 0x800000)
            v -= 0x1000000;
        return static_cast<float>(static_cast<double>(v) * 0x1p-23);
    } else if constexpr (F == AudioSampleFormat::int16) {
        return static_cast<float>(qFromLittleEndian<qint16>(p)) * 0x1p-15f;
    } else {
        return static_cast<float>(
            (static_cast<double>(qFromLittleEndian<quint32>(p)) - 2147483648.0) * 0x1p-31);
    }
}

template <AudioSampleFormat F>
void downmixInterleavedAs(const char* data, int channels, std::vector<float>& mono) {
    constexpr qsizetype size = bytesPerSample<F>();
    const float divisor = static_cast<float>(channels);
    const qsizetype frames = static_cast<qsizetype>(mono.size());
    for (qsizetype i = 0; i < frames; ++i) {
        const char* frame = data + i * channels * size;
        float sum = 0.0f;
        for (int c = 0; c < channels; ++c)
            sum += decode<F>(frame + c * size);
        mono[static_cast<std::size_t>(i)] = sum / divisor;
    }
}

template <AudioSampleFormat F> void addPlaneAs(const char* data, std::vector<float>& mono) {
    constexpr qsizetype size = bytesPerSample<F>();
    for (std::size_t i = 0; i < mono.size(); ++i)
        mono[i] += decode<F>(data + static_cast<qsizetype>(i) * size);
}

template <template <AudioSampleFormat> class Op, class... Args>
void dispatch(AudioSampleFormat format, Args&&... args) {
    switch (format) {
    case AudioSampleFormat::float32:
        return Op<AudioSampleFormat::float32>::run(std::forward<Args>(args)...);
    case AudioSampleFormat::int32:
        return Op<AudioSampleFormat::int32>::run(std::forward<Args>(args)...);
    case AudioSampleFormat::int24:
        return Op<AudioSampleFormat::int24>::run(std::forward<Args>(args)...);
    case AudioSampleFormat::int16:
        return Op<AudioSampleFormat::int16>::run(std::forward<Args>(args)...);
    case AudioSampleFormat::uint32:
        return Op<AudioSampleFormat::uint32>::run(std::forward<Args>(args)...);
    case AudioSampleFormat::unsupported:
        return;
    }
}

template <AudioSampleFormat F> struct DownmixInterleaved {
    static void run(const char* data, int channels, std::vector<float>& mono) {
        downmixInterleavedAs<F>(data, channels, mono);
    }
};

template <AudioSampleFormat F> struct AddPlane {
    static void run(const char* data, std::vector<float>& mono) { addPlaneAs<F>(data, mono); }
};

/// Whether `buffer` holds `samples` samples of `sampleBytes` each, computed without overflow.
bool holds(QByteArrayView buffer, qsizetype samples, qsizetype sampleBytes) {
    return buffer.data() != nullptr && buffer.size() / sampleBytes >= samples;
}

void divideAll(std::vector<float>& mono, float divisor) {
    for (float& value : mono)
        value /= divisor;
}

/// Interleaved mono int16 at 16 kHz is already what goes out: copied as it is, bit for bit.
bool isOutputFormat(const AudioBufferView& buffer) {
    const auto& f = buffer.format;
    return sampleFormatOf(f) == AudioSampleFormat::int16 && !f.isNonInterleaved &&
           f.channelCount == 1 && f.sampleRate == PcmFrameFormat::sampleRate;
}

std::optional<QByteArray> copyOutputFormat(const AudioBufferView& buffer) {
    if (buffer.buffers.empty() || !holds(buffer.buffers.front(), buffer.frameCount, 2))
        return std::nullopt;
    return QByteArray(buffer.buffers.front().data(), buffer.frameCount * 2);
}

} // namespace

AudioSampleFormat sampleFormatOf(const AudioStreamDescription& format) {
    if (format.isFloat && format.bitsPerChannel == 32)
        return AudioSampleFormat::float32;
    if (format.isSignedInteger) {
        switch (format.bitsPerChannel) {
        case 32:
            return AudioSampleFormat::int32;
        case 24:
            return AudioSampleFormat::int24;
        case 16:
            return AudioSampleFormat::int16;
        default:
            return AudioSampleFormat::unsupported;
        }
    }
    return format.bitsPerChannel == 32 ? AudioSampleFormat::uint32 : AudioSampleFormat::unsupported;
}

std::optional<QByteArray> decimateToPCM16(std::span<const float> mono, double sampleRate) {
    if (mono.empty() || !std::isfinite(sampleRate))
        return std::nullopt;
    const double rate = std::max(sampleRate, 1.0);
    const auto n = static_cast<qsizetype>(mono.size());
    const double wanted = std::floor(static_cast<double>(n) * PcmFrameFormat::sampleRate / rate);
    if (wanted > kMaxOutputSamples)
        return std::nullopt;
    const qsizetype outCount = std::max<qsizetype>(1, static_cast<qsizetype>(wanted));

    QByteArray out(outCount * 2, Qt::Uninitialized);
    char* o = out.data();
    for (qsizetype k = 0; k < outCount; ++k) {
        const auto pick = static_cast<qsizetype>(
            std::floor(rate * static_cast<double>(k) / PcmFrameFormat::sampleRate));
        const float x = mono[static_cast<std::size_t>(std::min(n - 1, pick))];
        qint16 sample = 0;
        if (x >= 1.0f)
            sample = 32767;
        else if (!std::isnan(x))
            sample = static_cast<qint16>(std::round(std::max(x, -1.0f) * 32767.0f));
        qToLittleEndian(sample, o + 2 * k);
    }
    return out;
}

std::optional<QByteArray> convertMicrophoneBufferToPCM16(const AudioBufferView& buffer) {
    const qsizetype frames = buffer.frameCount;
    const int channels = buffer.format.channelCount;
    if (frames <= 0 || channels <= 0)
        return std::nullopt;
    const AudioSampleFormat format = sampleFormatOf(buffer.format);
    if (format != AudioSampleFormat::float32 && format != AudioSampleFormat::int16)
        return std::nullopt;
    if (isOutputFormat(buffer))
        return copyOutputFormat(buffer);
    const qsizetype sampleBytes = bytesPerSample(format);

    std::vector<float> mono(static_cast<std::size_t>(frames), 0.0f);
    if (buffer.format.isNonInterleaved) {
        if (buffer.buffers.size() < static_cast<std::size_t>(channels))
            return std::nullopt;
        const auto planes = buffer.buffers.first(static_cast<std::size_t>(channels));
        if (!std::ranges::all_of(
                planes, [&](QByteArrayView plane) { return holds(plane, frames, sampleBytes); }))
            return std::nullopt;
        for (const QByteArrayView plane : planes)
            dispatch<AddPlane>(format, plane.data(), mono);
        divideAll(mono, static_cast<float>(channels));
    } else {
        if (buffer.buffers.empty() || frames > buffer.buffers.front().size() / channels ||
            !holds(buffer.buffers.front(), frames * channels, sampleBytes))
            return std::nullopt;
        dispatch<DownmixInterleaved>(format, buffer.buffers.front().data(), channels, mono);
    }
    return decimateToPCM16(mono, buffer.format.sampleRate);
}

std::optional<QByteArray> convertSystemAudioBufferToPCM16(const AudioBufferView& buffer) {
    const qsizetype frames = buffer.frameCount;
    if (frames <= 0)
        return std::nullopt;
    const AudioSampleFormat format = sampleFormatOf(buffer.format);
    if (format == AudioSampleFormat::unsupported || buffer.buffers.empty())
        return std::nullopt;
    if (isOutputFormat(buffer))
        return copyOutputFormat(buffer);
    const qsizetype sampleBytes = bytesPerSample(format);
    const int channels = std::max(buffer.format.channelCount, 1);

    std::vector<float> mono(static_cast<std::size_t>(frames), 0.0f);
    if (buffer.format.isNonInterleaved) {
        const auto used = buffer.buffers.first(
            std::min(buffer.buffers.size(), static_cast<std::size_t>(channels)));
        for (const QByteArrayView plane : used) {
            if (plane.data() == nullptr)
                continue;
            if (!holds(plane, frames, sampleBytes))
                return std::nullopt;
            dispatch<AddPlane>(format, plane.data(), mono);
        }
        divideAll(mono, static_cast<float>(used.size()));
    } else {
        const QByteArrayView data = buffer.buffers.front();
        if (frames > data.size() / channels || !holds(data, frames * channels, sampleBytes))
            return std::nullopt;
        dispatch<DownmixInterleaved>(format, data.data(), channels, mono);
    }
    return decimateToPCM16(mono, buffer.format.sampleRate);
}

} // namespace vesnara
