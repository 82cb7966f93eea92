// Word error rate of real speech through the whole path against the same recogniser fed the
// files directly, in the same run. Every librivox clip of the speech test data is decoded twice:
// directly (the WAV's samples handed to the pocketsphinx decoder as one utterance) and end to
// end (played into the rig's virtual microphone, captured, converted and streamed by the view
// model to the in-process reference backend, and read back from the saved session). The goal is
// an end-to-end rate at most 5 points above the direct one.
#include "BenchAudioRig.h"
#include "PulseAudioInputBackend.h"
#include "PulseSystemAudioBackend.h"
#include "audio_rig/SpeechThroughRig.h"
#include "backend/HttpTransport.h"
#include "model/DeploymentDefaults.h"
#include "refbackend/PocketSphinxDecoder.h"
#include "refbackend/RefBackend.h"
#include "storage/STTConfigurationStore.h"
#include "support/InMemoryPreferences.h"
#include "support/SpeechClips.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <span>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

constexpr double kGoalPoints = 5.0;
constexpr int kWaitMs = 60000;

/// The decoder's hypothesis for the clip's samples, fed in 100 ms chunks as one utterance.
QString decodeDirectly(const SpeechClip& clip) {
    QString error;
    const auto decoder = refbackend::PocketSphinxDecoder::create(
        refbackend::PocketSphinxDecoder::defaultModelDirectory(), &error);
    if (!decoder)
        return {};
    const QByteArray pcm = wavPcm16(clip.wavPath);
    const std::span samples(reinterpret_cast<const qint16*>(pcm.constData()),
                            size_t(pcm.size() / 2));
    for (size_t at = 0; at < samples.size(); at += 1600)
        static_cast<void>(
            decoder->process(samples.subspan(at, std::min<size_t>(1600, samples.size() - at))));
    return decoder->finishUtterance();
}

struct WholePath {
    QTemporaryDir data;
    std::unique_ptr<refbackend::RefBackend> server;
    InMemoryPreferences preferences;
    HttpTransport transport;
    PulseAudioInputBackend microphoneBackend;
    PulseSystemAudioBackend systemBackend;
    QTemporaryDir history;
    std::unique_ptr<TranscriptionViewModel> vm;

    bool open() {
        refbackend::RefBackendOptions options;
        options.dataDirectory = data.path();
        options.apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
        options.recognizer = refbackend::RecognizerKind::pocketsphinx;
        server = std::make_unique<refbackend::RefBackend>(options);
        if (!server->listen())
            return false;
        static_cast<void>(QTest::qWaitFor(
            [this] { return !microphoneBackend.listInputDevices().error.has_value(); }, kWaitMs));
        STTConfiguration config = STTConfiguration::defaults();
        config.baseURL = server->baseUrl().toString();
        config.apiKey = options.apiKey;
        STTConfigurationStore(preferences).save(config);
        vm = std::make_unique<TranscriptionViewModel>(TranscriptionViewModel::Dependencies{
            preferences, transport, microphoneBackend, systemBackend, history.path(), nullptr,
            nullptr, Timing{}, nullptr});
        vm->settings()->updateAuthContext(server->issueToken(u"bench@vesnara.test"_s));
        return true;
    }
};

void BM_SpeechWordErrorRate(benchmark::State& state) {
    QString error;
    const QList<SpeechClip> clips = speechClips(librivoxDirectory(), &error);
    if (clips.isEmpty()) {
        state.SkipWithError(qPrintable(error));
        return;
    }
    if (qEnvironmentVariableIsEmpty("PULSE_SERVER")) {
        state.SkipWithError("no audio rig");
        return;
    }
    for (auto _ : state) {
        WordErrors direct;
        WordErrors wholePath;
        WholePath path;
        if (!path.open()) {
            state.SkipWithError("the reference backend did not listen");
            return;
        }
        for (const SpeechClip& clip : clips) {
            const QString heardDirectly = decodeDirectly(clip);
            const rig::ClipRecording recording =
                rig::recordClip(*path.vm, path.history.path(), clip, kWaitMs);
            if (!recording.failure.isEmpty()) {
                state.SkipWithError(qPrintable(clip.name + u": "_s + recording.failure));
                return;
            }
            const WordErrors clipDirect = wordErrors(clip.reference, heardDirectly);
            const WordErrors clipWhole = wordErrors(clip.reference, recording.heard);
            std::fprintf(
                stderr, "%s\n  reference: %s\n  direct (%.1f %%): %s\n  whole path (%.1f %%): %s\n",
                qPrintable(clip.name), qPrintable(clip.reference), clipDirect.ratePercent(),
                qPrintable(heardDirectly), clipWhole.ratePercent(), qPrintable(recording.heard));
            direct += clipDirect;
            wholePath += clipWhole;
        }
        state.counters["clips"] = double(clips.size());
        state.counters["words"] = double(direct.referenceWords);
        state.counters["direct_wer_pct"] = direct.ratePercent();
        state.counters["whole_path_wer_pct"] = wholePath.ratePercent();
        state.counters["cost_points"] = wholePath.ratePercent() - direct.ratePercent();
        state.counters["goal_points"] = kGoalPoints;
    }
}

} // namespace

BENCHMARK(BM_SpeechWordErrorRate)->Iterations(1)->Unit(benchmark::kSecond);

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    bench::OwnRig rig;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
