// The longest pause of the main thread while the sound server hangs. The rig's daemon is stopped
// (SIGSTOP) while the view model lists the microphones and the outputs and starts a recording of
// the computer's sound; a 5 ms timer on the main thread measures the largest gap between its
// ticks until the start has gone live or failed. The same calls against the running server come
// first, as the reference; the goal is a gap of at most 50 ms.
#include "BenchAudioRig.h"
#include "PulseAudioInputBackend.h"
#include "PulseSystemAudioBackend.h"
#include "backend/HttpTransport.h"
#include "engine/TranscriptionViewModel.h"
#include "model/DeploymentDefaults.h"
#include "refbackend/RefBackend.h"
#include "storage/STTConfigurationStore.h"
#include "support/InMemoryPreferences.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>
#include <functional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vesnara;

namespace {

constexpr double kGoalMs = 50.0;

/// The largest gap between the ticks of a 5 ms timer on the main thread.
class Watchdog {
public:
    Watchdog() {
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            m_maxGapMs =
                std::max(m_maxGapMs, static_cast<double>(m_sinceLastTick.nsecsElapsed()) / 1e6);
            m_sinceLastTick.restart();
        });
        m_sinceLastTick.start();
        m_timer.start();
    }
    double maxGapMs() const { return m_maxGapMs; }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceLastTick;
    double m_maxGapMs = 0.0;
};

/// Runs the event loop until `done` holds or `limitMs` passes.
bool runUntil(const std::function<bool()>& done, int limitMs) {
    QElapsedTimer elapsed;
    elapsed.start();
    while (!done() && elapsed.elapsed() < limitMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    return done();
}

/// The rig daemon's process id, from the pid file its start wrote.
std::optional<pid_t> rigDaemon() {
    QFile file(qEnvironmentVariable("VESNARA_AUDIO_RIG_DIR") + u"/pid"_s);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    bool ok = false;
    const int pid = file.readAll().trimmed().toInt(&ok);
    return ok && pid > 0 ? std::optional<pid_t>(pid) : std::nullopt;
}

/// Lists, starts system audio recording and waits until the start has settled; gives the
/// longest gap seen.
double longestGapOfTheCalls(bool hangTheServer) {
    QTemporaryDir data;
    refbackend::RefBackendOptions options;
    options.dataDirectory = data.path();
    options.apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
    refbackend::RefBackend server(options);
    if (!server.listen())
        return -1.0;
    InMemoryPreferences preferences;
    STTConfiguration config = STTConfiguration::defaults();
    config.baseURL = server.baseUrl().toString();
    config.apiKey = options.apiKey;
    STTConfigurationStore(preferences).save(config);
    HttpTransport transport;
    PulseAudioInputBackend microphoneBackend;
    PulseSystemAudioBackend systemBackend;
    QTemporaryDir history;
    Timing timing;
    timing.startRecordingLimit = 5s;
    TranscriptionViewModel vm({preferences, transport, microphoneBackend, systemBackend,
                               history.path(), nullptr, nullptr, timing, nullptr});
    vm.settings()->updateAuthContext(server.issueToken(u"bench@vesnara.test"_s));

    const auto daemon = rigDaemon();
    if (hangTheServer && daemon)
        ::kill(*daemon, SIGSTOP);
    double gap = 0.0;
    {
        Watchdog watchdog;
        static_cast<void>(runUntil([] { return false; }, 20));
        vm.sources()->refreshInputDevices();
        vm.sources()->refreshSystemAudioDisplays(true);
        vm.sources()->setInputMode(AudioInputMode::systemAudio);
        vm.startRecording();
        static_cast<void>(runUntil([&vm] { return !vm.isStartingRecording(); }, 15'000));
        gap = watchdog.maxGapMs();
    }
    if (hangTheServer && daemon)
        ::kill(*daemon, SIGCONT);
    vm.stopRecording();
    static_cast<void>(runUntil([&vm] { return vm.runState() == RecordingRunState::idle; }, 15'000));
    return gap;
}

void BM_MainThreadGapWhileTheSoundServerHangs(benchmark::State& state) {
    if (!rigDaemon()) {
        state.SkipWithError("no audio rig daemon of our own to stop");
        return;
    }
    for (auto _ : state) {
        const double responsive = longestGapOfTheCalls(false);
        const double hung = longestGapOfTheCalls(true);
        state.SetIterationTime(hung / 1000.0);
        state.counters["responsive_ms"] = responsive;
        state.counters["hung_ms"] = hung;
        state.counters["goal_ms"] = kGoalMs;
        state.counters["hung_vs_goal"] = hung / kGoalMs;
    }
}

} // namespace

BENCHMARK(BM_MainThreadGapWhileTheSoundServerHangs)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    bench::OwnRig rig;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
