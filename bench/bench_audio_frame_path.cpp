#include "audio/PcmChunker.h"
#include "audio/PcmConversion.h"
#include "audio/PcmLevel.h"
#include "audio/PcmMixer.h"

#include <benchmark/benchmark.h>

#include <QtEndian>

#include <cmath>
#include <vector>

using namespace vesnara;
using namespace std::chrono_literals;

namespace {

// 100 ms of 48 kHz stereo float, as a sound server delivers it: ten 480-frame buffers.
constexpr qsizetype kFramesPerBuffer = 480;
constexpr int kBuffersPerFrame = 10;

QByteArray interleavedTone(qsizetype frames) {
    QByteArray bytes(frames * 2 * 4, Qt::Uninitialized);
    for (qsizetype i = 0; i < frames * 2; ++i) {
        const float value = 0.3f * static_cast<float>(std::sin(0.0576 * static_cast<double>(i)));
        qToLittleEndian(value, bytes.data() + 4 * i);
    }
    return bytes;
}

void convertAndChunk(benchmark::State& state, bool system) {
    const QByteArray bytes = interleavedTone(kFramesPerBuffer);
    const QByteArrayView views[] = {bytes};
    const AudioBufferView buffer{AudioStreamDescription::float32(48000, 2), kFramesPerBuffer, views,
                                 true};
    MicrophoneChunker micChunker;
    SystemAudioChunker systemChunker(180ms);
    const auto now = SystemAudioChunker::Clock::now();
    qsizetype emitted = 0;
    for (auto _ : state) {
        for (int i = 0; i < kBuffersPerFrame; ++i) {
            const auto pcm = system ? convertSystemAudioBufferToPCM16(buffer)
                                    : convertMicrophoneBufferToPCM16(buffer);
            const auto chunks = system ? systemChunker.append(*pcm, now) : micChunker.append(*pcm);
            emitted += chunks.size();
        }
    }
    benchmark::DoNotOptimize(emitted);
    state.SetLabel("per 100 ms frame (10 buffers of 480 frames)");
}

void BM_MicrophoneConvertAndChunk(benchmark::State& state) {
    convertAndChunk(state, false);
}
BENCHMARK(BM_MicrophoneConvertAndChunk);

void BM_SystemAudioConvertAndChunk(benchmark::State& state) {
    convertAndChunk(state, true);
}
BENCHMARK(BM_SystemAudioConvertAndChunk);

QByteArray pcmTone(double frequency) {
    QByteArray bytes(3200, Qt::Uninitialized);
    for (int i = 0; i < 1600; ++i)
        qToLittleEndian(static_cast<qint16>(9000 * std::sin(frequency * i)), bytes.data() + 2 * i);
    return bytes;
}

void BM_MixAndLevel(benchmark::State& state) {
    const QByteArray mic = pcmTone(0.11);
    const QByteArray system = pcmTone(0.07);
    const MixSettings settings{1.0, 1.0, true, 0.45, state.range(0) != 0};
    for (auto _ : state) {
        const QByteArray mixed = mixPCM16(mic, system, settings);
        benchmark::DoNotOptimize(estimatePCM16Level(mixed));
    }
    state.SetLabel(state.range(0) ? "limiter on, per frame" : "limiter off, per frame");
}
BENCHMARK(BM_MixAndLevel)->Arg(1)->Arg(0);

// The whole path of one 100 ms frame with both sources running.
void BM_FullFramePath(benchmark::State& state) {
    const QByteArray bytes = interleavedTone(kFramesPerBuffer);
    const QByteArrayView views[] = {bytes};
    const AudioBufferView buffer{AudioStreamDescription::float32(48000, 2), kFramesPerBuffer, views,
                                 true};
    MicrophoneChunker micChunker;
    SystemAudioChunker systemChunker(180ms);
    const auto now = SystemAudioChunker::Clock::now();
    QList<QByteArray> micFrames;
    QList<QByteArray> systemFrames;
    const MixSettings settings{1.0, 1.0, true, 0.45, true};
    for (auto _ : state) {
        for (int i = 0; i < kBuffersPerFrame; ++i) {
            micFrames += micChunker.append(*convertMicrophoneBufferToPCM16(buffer));
            systemFrames += systemChunker.append(*convertSystemAudioBufferToPCM16(buffer), now);
        }
        while (!micFrames.isEmpty() && !systemFrames.isEmpty()) {
            const QByteArray mixed =
                mixPCM16(micFrames.takeFirst(), systemFrames.takeFirst(), settings);
            benchmark::DoNotOptimize(estimatePCM16Level(mixed));
        }
    }
    state.SetLabel("convert + chunk both sources, mix, level: per 100 ms frame");
}
BENCHMARK(BM_FullFramePath);

} // namespace

BENCHMARK_MAIN();
