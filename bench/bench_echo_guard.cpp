// The echo guard's CPU per minute of mixed audio, beside the mixer path without it: a minute of
// remote speech, its echo and a local voice in 100 ms frames, mixed pair by pair.
#include "audio/EchoGuard.h"
#include "audio/PcmMixer.h"
#include "support/EchoScene.h"

#include <benchmark/benchmark.h>

using namespace vesnara;
using namespace vesnara::test;

namespace {

constexpr qsizetype kFrameBytes = 3200; // 100 ms of 16 kHz PCM16

struct Minute {
    QList<QByteArray> system;
    QList<QByteArray> microphone;
};

const Minute& minute() {
    static const Minute frames = [] {
        const std::vector<double> remote = speechLikeSignal(60.0, 1, 120.0);
        const std::vector<double> local =
            onlyDuring(speechLikeSignal(60.0, 2, 210.0), {{20.0, 40.0}});
        const QByteArray system = toPcm16(remote);
        const QByteArray microphone = toPcm16(sum(delayed(remote, 0.06, -10.0), local));
        Minute m;
        for (qsizetype at = 0; at < system.size(); at += kFrameBytes) {
            m.system.append(system.mid(at, kFrameBytes));
            m.microphone.append(microphone.mid(at, kFrameBytes));
        }
        return m;
    }();
    return frames;
}

// Each iteration is one audio minute: the time per iteration is the CPU per audio minute.
void BM_MixerPathWithoutGuard(benchmark::State& state) {
    const Minute& m = minute();
    const MixSettings settings;
    for (auto _ : state) {
        for (qsizetype i = 0; i < m.system.size(); ++i)
            benchmark::DoNotOptimize(mixPCM16(m.microphone[i], m.system[i], settings));
    }
    state.SetLabel("per audio minute");
}
BENCHMARK(BM_MixerPathWithoutGuard)->Unit(benchmark::kMillisecond);

void BM_MixerPathWithGuard(benchmark::State& state) {
    const Minute& m = minute();
    const MixSettings settings;
    for (auto _ : state) {
        EchoGuard guard;
        qint64 at = 0;
        for (qsizetype i = 0; i < m.system.size(); ++i, at += 100'000) {
            benchmark::DoNotOptimize(guard.pushFarEnd(m.system[i], at));
            for (const QByteArray& cleaned : guard.pushNearEnd(m.microphone[i], at))
                benchmark::DoNotOptimize(mixPCM16(cleaned, m.system[i], settings));
        }
    }
    state.SetLabel("per audio minute");
}
BENCHMARK(BM_MixerPathWithGuard)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
