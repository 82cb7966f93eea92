// CPU time of the recording engine per minute of mixed recording (microphone and system audio).
//
// The view model runs with its real capture classes, PCM conversion, mixer, HTTP client and
// WebSocket stream; only the sound server is replaced by the fake backends of the tests. The
// reference backend runs as a process of its own, so getrusage(RUSAGE_SELF) counts this
// process alone: the main thread, Qt's network thread, the log thread and the two playback
// threads of the fakes. Those threads only wait and hand buffers over; the conversion and
// chunking they run is the capture path's real work on a real audio thread.
//
// One minute is 600 buffers of 100 ms per source. By default they are played ten times faster
// than real time with every interval of the engine scaled by the same factor, so the polls and
// timers run as often per minute of audio as at real pace. VESNARA_BENCH_REALTIME=1 plays the
// same minute at real pace, to check the accelerated figure against a true minute.
#include "backend/HttpTransport.h"
#include "engine/TranscriptionViewModel.h"
#include "model/DeploymentDefaults.h"
#include "storage/STTConfigurationStore.h"
#include "support/FakeAudioBackends.h"
#include "support/InMemoryPreferences.h"
#include "text/UiText.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTimer>
#include <QUuid>

#include <sys/resource.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <numbers>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

constexpr int kBuffersPerMinute = 600;
constexpr double kAudioMinutes = kBuffersPerMinute * 0.1 / 60.0;
// Buffers in one period of the scripted signal; the minute cycles through them.
constexpr int kCycleBuffers = 10;

struct Pace {
    /// The factor applied to every interval of the engine.
    double factor;
    /// The gap between two buffers of one source.
    std::chrono::milliseconds interval;
};

struct CpuTimes {
    double user = 0.0;
    double system = 0.0;

    double total() const { return user + system; }
    CpuTimes operator-(const CpuTimes& other) const {
        return {user - other.user, system - other.system};
    }
    CpuTimes& operator+=(const CpuTimes& other) {
        user += other.user;
        system += other.system;
        return *this;
    }
};

CpuTimes processCpu() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return {seconds(usage.ru_utime), seconds(usage.ru_stime)};
}

/// One second of a voiced, syllable-like sound as ten 100 ms buffers of 48 kHz stereo float: a
/// fundamental with two harmonics under an envelope of `syllablesPerSecond`.
QList<ScriptedAudioBuffer> speechLikeCycle(double fundamental, int syllablesPerSecond) {
    QList<ScriptedAudioBuffer> cycle;
    for (int b = 0; b < kCycleBuffers; ++b) {
        QList<float> samples;
        samples.reserve(4800 * 2);
        for (int i = 0; i < 4800; ++i) {
            const double t = (b * 4800 + i) / 48000.0;
            const double phase = 2.0 * std::numbers::pi * fundamental * t;
            const double voice =
                std::sin(phase) + 0.5 * std::sin(2.0 * phase) + 0.25 * std::sin(3.0 * phase);
            const double envelope =
                0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * syllablesPerSecond * t);
            const auto value = static_cast<float>(0.2 * envelope * voice);
            samples << value << value;
        }
        cycle << ScriptedAudioBuffer::float32Interleaved(48000, 2, samples);
    }
    return cycle;
}

QList<ScriptedAudioBuffer> oneMinuteOf(const QList<ScriptedAudioBuffer>& cycle) {
    QList<ScriptedAudioBuffer> buffers;
    buffers.reserve(kBuffersPerMinute);
    for (int i = 0; i < kBuffersPerMinute; ++i)
        buffers << cycle[i % cycle.size()];
    return buffers;
}

/// Tells the main thread when a stream's playback thread has handed over its last buffer. The
/// notice is posted after the frames that buffer produced and goes to the same thread, so when
/// it runs every frame has reached the view model.
struct PlaybackEnd {
    QObject* receiver = nullptr;
    std::function<void()> onPlayed;

    std::function<void(const AudioBufferView&)>
    wrap(std::function<void(const AudioBufferView&)> sink) const {
        auto count = std::make_shared<int>(0); // touched by one playback thread only
        return [sink = std::move(sink), count, receiver = receiver,
                onPlayed = onPlayed](const AudioBufferView& buffer) {
            sink(buffer);
            if (++*count == kBuffersPerMinute && onPlayed)
                QMetaObject::invokeMethod(receiver, onPlayed, Qt::QueuedConnection);
        };
    }
};

class TimedMicrophone final : public FakeAudioInputBackend {
public:
    PlaybackEnd end;
    AudioInputStreamStart startRecording(quint32 deviceId,
                                         AudioInputStreamCallbacks callbacks) override {
        callbacks.onBuffer = end.wrap(std::move(callbacks.onBuffer));
        return FakeAudioInputBackend::startRecording(deviceId, std::move(callbacks));
    }
};

class TimedSystemAudio final : public FakeSystemAudioBackend {
public:
    PlaybackEnd end;
    std::optional<AudioBackendError> startCapture(const SystemAudioCaptureTarget& target,
                                                  SystemAudioStreamCallbacks callbacks) override {
        callbacks.onBuffer = end.wrap(std::move(callbacks.onBuffer));
        return FakeSystemAudioBackend::startCapture(target, std::move(callbacks));
    }
};

/// Runs the event loop until `done` holds, checked whenever `signal` fires, or `limit` passes.
template <typename Sender, typename Signal>
bool runUntil(const Sender& sender, Signal signal, const std::function<bool()>& done,
              std::chrono::milliseconds limit) {
    if (done())
        return true;
    QEventLoop loop;
    QObject::connect(&sender, signal, &loop, [&] {
        if (done())
            loop.quit();
    });
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    loop.exec();
    return done();
}

void runEventLoopFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

/// A GET answered within the event loop; nothing when the request failed at any level.
std::optional<QByteArray> fetch(QNetworkAccessManager& network, QNetworkRequest request) {
    request.setTransferTimeout(2000);
    std::unique_ptr<QNetworkReply> reply(network.get(request));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    if (reply->error() != QNetworkReply::NoError)
        return std::nullopt;
    return reply->readAll();
}

quint16 freeLoopbackPort() {
    // The backend prints the port it took for --port 0 but nothing waits for that line;
    // a port that was free a moment ago is simpler.
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0))
        return 0;
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}

/// The reference backend as a child process on a free loopback port, with a data directory
/// of its own and a session token it accepts.
class RefBackendProcess {
public:
    RefBackendProcess()
        : m_port(freeLoopbackPort())
        , m_token(QUuid::createUuid().toString(QUuid::WithoutBraces)) {
        m_process.setProgram(QStringLiteral(VESNARA_REFBACKEND_EXECUTABLE));
        m_process.setArguments({u"--port"_s, QString::number(m_port), u"--token"_s, m_token,
                                u"--recognizer"_s, u"scripted"_s, u"--data-dir"_s,
                                m_dataDirectory.path()});
        m_process.setStandardOutputFile(QProcess::nullDevice());
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start();
    }
    ~RefBackendProcess() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    RefBackendProcess(const RefBackendProcess&) = delete;
    RefBackendProcess& operator=(const RefBackendProcess&) = delete;

    QUrl baseUrl() const { return QUrl(u"http://127.0.0.1:%1"_s.arg(m_port)); }
    const QString& token() const { return m_token; }

    /// Whether /health answered before the deadline while the process kept running.
    bool waitUntilHealthy(QNetworkAccessManager& network) {
        if (m_port == 0 || !m_process.waitForStarted(5000))
            return false;
        const QDeadlineTimer deadline(10s);
        while (!deadline.hasExpired() && m_process.state() == QProcess::Running) {
            if (fetch(network, QNetworkRequest(baseUrl().resolved(QUrl(u"/health"_s)))))
                return true;
            runEventLoopFor(20ms); // not listening yet
        }
        return false;
    }

    /// The number of audio frames the server counted for `sessionId`.
    std::optional<qint64> audioFrameCount(QNetworkAccessManager& network,
                                          const QString& sessionId) {
        QNetworkRequest request(baseUrl().resolved(QUrl(u"/v1/sessions/"_s + sessionId)));
        request.setRawHeader("x-api-key",
                             QString::fromUtf16(DeploymentDefaults::sharedAPIKey).toUtf8());
        request.setRawHeader("x-auth-token", m_token.toUtf8());
        const auto body = fetch(network, request);
        if (!body)
            return std::nullopt;
        const QJsonValue count =
            QJsonDocument::fromJson(*body).object().value(u"audioFrameCount"_s);
        if (!count.isDouble())
            return std::nullopt;
        return count.toInteger();
    }

private:
    QTemporaryDir m_dataDirectory;
    quint16 m_port;
    QString m_token;
    QProcess m_process;
};

struct RecordingFigures {
    /// While the minute of audio played.
    CpuTimes recordingCpu;
    double recordingWallSeconds = 0.0;
    /// The start (session, stream) and the stop (flush wait, last fetch, save) together.
    CpuTimes startStopCpu;
    int metaPolls = 0;
    qint64 serverFrames = 0;
};

struct BenchSetup {
    RefBackendProcess& server;
    QNetworkAccessManager& network;
    HttpTransport& transport;
    Pace pace;
    QList<ScriptedAudioBuffer> microphoneMinute;
    QList<ScriptedAudioBuffer> systemMinute;
};

/// One mixed recording of a minute of audio; the reason when it did not run through.
std::optional<QString> recordOneMinute(BenchSetup& setup, RecordingFigures& figures) {
    InMemoryPreferences preferences;
    STTConfiguration config = STTConfiguration::defaults();
    config.baseURL = setup.server.baseUrl().toString();
    config.apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
    config.authToken = setup.server.token();
    STTConfigurationStore(preferences).save(config);

    TimedMicrophone microphone;
    microphone.devices = {{7, u"Sisäinen mikrofoni"_s, AudioTransportKind::builtIn, 1}};
    microphone.defaultDeviceId = 7;
    TimedSystemAudio systemAudio;
    systemAudio.content.displays = {{3, u"Kaiuttimet"_s}};
    QTemporaryDir historyDirectory;

    Timing timing = Timing{}.scaled(setup.pace.factor);
    // Time-outs are not paces: scaled down they would only fail a slow start.
    timing.httpRequestLimit = Timing{}.httpRequestLimit;
    timing.startRecordingLimit = Timing{}.startRecordingLimit;
    timing.resumeRecordingLimit = Timing{}.resumeRecordingLimit;

    auto vm = std::make_unique<TranscriptionViewModel>(
        TranscriptionViewModel::Dependencies{preferences, setup.transport, microphone, systemAudio,
                                             historyDirectory.path(), nullptr, nullptr, timing});
    vm->settings()->updateAuthContext(setup.server.token());
    vm->sources()->setInputMode(AudioInputMode::microphoneAndSystem);
    int metaPolls = 0;
    QObject::connect(vm->meters(), &RecordingMeters::lastSessionMetaReceivedAtChanged, vm.get(),
                     [&metaPolls] { ++metaPolls; });

    QEventLoop recording;
    int sourcesPlayed = 0;
    const auto onPlayed = [&] {
        if (++sourcesPlayed == 2)
            recording.quit();
    };
    microphone.end = {vm.get(), onPlayed};
    systemAudio.end = {vm.get(), onPlayed};

    const CpuTimes beforeStart = processCpu();
    vm->startRecording();
    if (!runUntil(
            *vm, &TranscriptionViewModel::isRecordingChanged, [&] { return vm->isRecording(); },
            15s))
        return u"the recording did not start: "_s + vm->status()->statusText();
    const CpuTimes atStart = processCpu();
    metaPolls = 0;

    QElapsedTimer wall;
    wall.start();
    microphone.play(setup.microphoneMinute, setup.pace.interval);
    systemAudio.play(setup.systemMinute, setup.pace.interval);
    QObject::connect(vm.get(), &TranscriptionViewModel::isRecordingChanged, &recording,
                     &QEventLoop::quit);
    QTimer::singleShot(2 * kBuffersPerMinute * setup.pace.interval + 10s, &recording,
                       &QEventLoop::quit);
    recording.exec();
    const CpuTimes atEnd = processCpu();
    figures.recordingWallSeconds = static_cast<double>(wall.nsecsElapsed()) / 1e9;
    figures.recordingCpu = atEnd - atStart;
    figures.metaPolls = metaPolls;
    if (sourcesPlayed != 2 || !vm->isRecording())
        return u"the recording did not run through the minute: "_s + vm->status()->statusText();

    const QString sessionId = vm->sessionId();
    vm->stopRecording();
    if (!runUntil(
            *vm->status(), &StatusLine::statusTextChanged,
            [&] {
                return vm->status()->statusText() == UiText::statusStopped ||
                       vm->status()->statusText() == UiText::statusStoppedWithoutTranscript;
            },
            15s))
        return u"the stop did not finish: "_s + vm->status()->statusText();
    figures.startStopCpu = (atStart - beforeStart);
    figures.startStopCpu += processCpu() - atEnd;

    vm.reset();
    // Cancelled polls report their end on a later turn of the event loop.
    const QDeadlineTimer idle(5s);
    while (setup.transport.requestsInFlight() > 0 && !idle.hasExpired())
        runEventLoopFor(5ms);

    const auto frames = setup.server.audioFrameCount(setup.network, sessionId);
    if (!frames)
        return u"the server did not report the session's frames"_s;
    figures.serverFrames = *frames;
    return std::nullopt;
}

void mixedRecordingCpu(benchmark::State& state, Pace pace) {
    RefBackendProcess server;
    QNetworkAccessManager network;
    if (!server.waitUntilHealthy(network)) {
        state.SkipWithError("the reference backend did not answer /health");
        return;
    }
    HttpTransport transport;
    BenchSetup setup{server,
                     network,
                     transport,
                     pace,
                     oneMinuteOf(speechLikeCycle(180.0, 4)),
                     oneMinuteOf(speechLikeCycle(120.0, 3))};

    RecordingFigures total;
    int recordings = 0;
    for (auto _ : state) {
        RecordingFigures figures;
        if (const auto error = recordOneMinute(setup, figures)) {
            state.SkipWithError(error->toUtf8().constData());
            break;
        }
        state.SetIterationTime(figures.recordingWallSeconds);
        total.recordingCpu += figures.recordingCpu;
        total.recordingWallSeconds += figures.recordingWallSeconds;
        total.startStopCpu += figures.startStopCpu;
        total.metaPolls += figures.metaPolls;
        total.serverFrames += figures.serverFrames;
        ++recordings;
    }
    if (recordings == 0)
        return;

    const double minutes = recordings * kAudioMinutes;
    const double cpuPerMinute = total.recordingCpu.total() / minutes;
    state.counters["cpu_s_per_audio_min"] = cpuPerMinute;
    state.counters["user_s_per_audio_min"] = total.recordingCpu.user / minutes;
    state.counters["sys_s_per_audio_min"] = total.recordingCpu.system / minutes;
    // The share of one core the engine takes while recording at real pace.
    state.counters["core_pct"] = 100.0 * cpuPerMinute / 60.0;
    state.counters["wall_s"] = total.recordingWallSeconds / recordings;
    state.counters["start_stop_cpu_ms"] = 1000.0 * total.startStopCpu.total() / recordings;
    state.counters["meta_polls_per_min"] = total.metaPolls / minutes;
    // 600 when every microphone frame found its system partner and went out mixed.
    state.counters["server_frames"] = static_cast<double>(total.serverFrames) / recordings;
    state.SetLabel(pace.factor < 1.0 ? "mixed mode, 1 min of audio at 10x pace"
                                     : "mixed mode, 1 min of audio at real pace");
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const bool realtime = qEnvironmentVariableIntValue("VESNARA_BENCH_REALTIME") == 1;
    const Pace pace = realtime ? Pace{1.0, 100ms} : Pace{0.1, 10ms};
    benchmark::RegisterBenchmark(
        realtime ? "BM_MixedRecordingCpu/realtime" : "BM_MixedRecordingCpu/accelerated",
        [pace](benchmark::State& state) { mixedRecordingCpu(state, pace); })
        ->Iterations(realtime ? 1 : 3)
        ->UseManualTime()
        ->Unit(benchmark::kSecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
