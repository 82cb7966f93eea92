// Latency of the microphone path: from a sample played into the rig's virtual microphone to
// its 3200-byte frame arriving on the main thread. Measured against the audio rig's daemon;
// without PULSE_SERVER it starts a private rig of its own, and skips when none can start.
#include "BenchAudioRig.h"
#include "PulseAudioInputBackend.h"
#include "PulseContext.h"
#include "audio/MicrophoneCapture.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QCoroTask>
#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QtEndian>

#include <pulse/stream.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;
using namespace vesnara;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kRate = 48000;
constexpr int kPulses = 30;
constexpr auto kPulseSpacing = std::chrono::milliseconds(350);
constexpr qsizetype kPulseSamples = 480; // 10 ms

bool hasLoudSample(const QByteArray& frame) {
    for (qsizetype i = 0; i + 1 < frame.size(); i += 2)
        if (std::abs(qFromLittleEndian<qint16>(frame.constData() + i)) > 12000)
            return true;
    return false;
}

/// Plays into the rig's microphone feed from a libpulse playback stream with a 10 ms buffer:
/// silence, and a 10 ms pulse when asked, noting when the pulse went into the stream. The
/// figures therefore include that playback buffer.
class PulsePlayer {
public:
    explicit PulsePlayer(std::shared_ptr<PulseContext> context)
        : m_context(std::move(context)) {
        PulseContext::Lock lock(*m_context);
        const pa_sample_spec spec{PA_SAMPLE_FLOAT32LE, kRate, 1};
        m_stream = pa_stream_new(m_context->context(), "Vesnara latency pulse", &spec, nullptr);
        if (!m_stream)
            return;
        pa_stream_set_write_callback(m_stream, &PulsePlayer::onWrite, this);
        pa_stream_set_state_callback(
            m_stream,
            [](pa_stream*, void* self) { static_cast<PulsePlayer*>(self)->m_context->signal(); },
            this);
        pa_buffer_attr attr{UINT32_MAX, static_cast<uint32_t>(pa_usec_to_bytes(10000, &spec)),
                            UINT32_MAX, static_cast<uint32_t>(pa_usec_to_bytes(2000, &spec)),
                            UINT32_MAX};
        pa_stream_connect_playback(m_stream, "mic_feed", &attr, PA_STREAM_ADJUST_LATENCY, nullptr,
                                   nullptr);
        m_context->waitLocked(
            [this] { return pa_stream_get_state(m_stream) != PA_STREAM_CREATING; },
            std::chrono::seconds(3));
    }
    ~PulsePlayer() {
        PulseContext::Lock lock(*m_context);
        if (!m_stream)
            return;
        pa_stream_set_write_callback(m_stream, nullptr, nullptr);
        pa_stream_set_state_callback(m_stream, nullptr, nullptr);
        pa_stream_disconnect(m_stream);
        pa_stream_unref(m_stream);
    }

    bool isPlaying() {
        PulseContext::Lock lock(*m_context);
        return m_stream && pa_stream_get_state(m_stream) == PA_STREAM_READY;
    }
    void requestPulse() { m_pulseRequested = true; }
    /// The times the pulses went into the stream, oldest first; taken by the caller.
    std::deque<Clock::time_point> takePulses() {
        std::lock_guard guard(m_mutex);
        return std::exchange(m_pulses, {});
    }

private:
    static void onWrite(pa_stream* stream, size_t bytes, void* userdata) {
        auto* self = static_cast<PulsePlayer*>(userdata);
        std::vector<float> samples(bytes / sizeof(float), 0.0f);
        if (self->m_pulseRequested.exchange(false)) {
            std::fill_n(samples.begin(), std::min<size_t>(kPulseSamples, samples.size()), 0.8f);
            std::lock_guard guard(self->m_mutex);
            self->m_pulses.push_back(Clock::now());
        }
        pa_stream_write(stream, samples.data(), samples.size() * sizeof(float), nullptr, 0,
                        PA_SEEK_RELATIVE);
    }

    std::shared_ptr<PulseContext> m_context;
    pa_stream* m_stream = nullptr;
    std::atomic<bool> m_pulseRequested{false};
    std::mutex m_mutex;
    std::deque<Clock::time_point> m_pulses;
};

double percentile(std::vector<double> values, double p) {
    std::sort(values.begin(), values.end());
    const auto at = static_cast<size_t>(p * static_cast<double>(values.size() - 1) + 0.5);
    return values[std::min(at, values.size() - 1)];
}

/// Posts frames to the main thread, as the application does, and times the pulses there.
class LatencyProbe : public QObject {
public:
    explicit LatencyProbe(PulsePlayer& player)
        : m_player(player) {}
    std::deque<Clock::time_point> pendingPulses;
    std::vector<double> latenciesMs;
    bool sawAudio = false;

    void post(QByteArray frame) {
        QMetaObject::invokeMethod(
            this, [this, frame = std::move(frame)] { onFrame(frame); }, Qt::QueuedConnection);
    }

private:
    void onFrame(const QByteArray& frame) {
        sawAudio = true;
        for (const auto pulse : m_player.takePulses())
            pendingPulses.push_back(pulse);
        if (pendingPulses.empty() || !hasLoudSample(frame))
            return;
        const auto elapsed = Clock::now() - pendingPulses.front();
        pendingPulses.pop_front();
        latenciesMs.push_back(std::chrono::duration<double, std::milli>(elapsed).count());
    }

    PulsePlayer& m_player;
};

/// Catches here: an exception left in a task nobody awaits would be lost, and the loop never quit.
QCoro::Task<> settle(QCoro::Task<> task, QEventLoop& loop, bool& ended, QString& failure) {
    try {
        co_await std::move(task);
    } catch (const std::exception& e) {
        failure = QString::fromUtf8(e.what());
    } catch (...) {
        failure = u"not a std::exception"_s;
    }
    ended = true;
    loop.quit();
}

/// Runs `task` on a local event loop until it ends; what it threw, or empty.
QString runToEnd(QCoro::Task<> task) {
    QEventLoop loop;
    bool ended = false;
    QString failure;
    settle(std::move(task), loop, ended, failure);
    if (!ended)
        loop.exec();
    return failure;
}

void BM_MicrophoneCaptureLatency(benchmark::State& state) {
    PulseAudioInputBackend backend;
    MicrophoneCapture capture(backend);
    // The connection to the server is made in the background: wait for the first listing.
    std::optional<QList<AudioInputDeviceOption>> devices;
    for (int i = 0; i < 500 && !(devices = capture.listAvailableInputDevices()); ++i)
        QThread::msleep(10);
    std::optional<quint32> builtIn;
    for (const auto& device : devices.value_or(QList<AudioInputDeviceOption>{}))
        if (device.name == u"Built-in Microphone"_s)
            builtIn = device.id;
    if (!builtIn) {
        state.SkipWithError("no audio rig: its \"Built-in Microphone\" is not listed");
        return;
    }
    capture.preferredInputDeviceID = builtIn;
    PulsePlayer player(PulseContext::acquire());
    if (!player.isPlaying()) {
        state.SkipWithError("the playback stream into mic_feed did not start");
        return;
    }
    LatencyProbe probe(player);
    capture.onPCMFrame = [&probe](QByteArray frame) { probe.post(std::move(frame)); };

    for (auto _ : state) {
        if (const QString failure = runToEnd(capture.startAsync()); !failure.isEmpty()) {
            state.SkipWithError((u"the capture did not start: "_s + failure).toUtf8().constData());
            break;
        }
        QEventLoop loop;
        QTimer pulses;
        // A pulse every 350 ms, far beyond the longest latency, once audio flows.
        QObject::connect(&pulses, &QTimer::timeout, &loop, [&] {
            if (static_cast<int>(probe.latenciesMs.size()) >= kPulses)
                loop.quit();
            else if (probe.sawAudio)
                player.requestPulse();
        });
        QTimer::singleShot(kPulses * kPulseSpacing + std::chrono::seconds(10), &loop,
                           &QEventLoop::quit);
        pulses.start(kPulseSpacing);
        loop.exec();
        runToEnd(capture.stopAsync());
        if (probe.latenciesMs.size() < kPulses / 2) {
            state.SkipWithError("too few pulses came back from the virtual microphone");
            break;
        }
        const double median = percentile(probe.latenciesMs, 0.5);
        state.SetIterationTime(median / 1000.0);
        state.counters["median_ms"] = median;
        state.counters["p99_ms"] = percentile(probe.latenciesMs, 0.99);
        state.counters["pulses"] = static_cast<double>(probe.latenciesMs.size());
    }
}

} // namespace

BENCHMARK(BM_MicrophoneCaptureLatency)
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
