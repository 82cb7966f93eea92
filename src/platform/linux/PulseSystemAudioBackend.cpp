#include "PulseSystemAudioBackend.h"

#include "PulseDeviceClassification.h"
#include "PulseRecordStream.h"
#include "StreamSum.h"
#include "audio/PcmFrameFormat.h"

#include <algorithm>
#include <array>
#include <map>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr uint32_t kStreamRate = static_cast<uint32_t>(PcmFrameFormat::sampleRate);
constexpr qsizetype kApplicationMaxLagFrames = 800; // 50 ms at 16 kHz

const PulseSinkInfo* findSinkById(const PulseSnapshot& snapshot, quint32 id) {
    for (const auto& sink : snapshot.sinks)
        if (stableDeviceId(sink.name) == id)
            return &sink;
    return nullptr;
}

const PulseSinkInfo* findSinkByIndex(const PulseSnapshot& snapshot, uint32_t index) {
    for (const auto& sink : snapshot.sinks)
        if (sink.index == index)
            return &sink;
    return nullptr;
}

} // namespace

/// One running capture. Lives on the loop thread's side: made, used and destroyed under the
/// loop lock, so its streams' callbacks never see it half-built or gone.
class PulseSystemAudioBackend::Capture {
public:
    Capture(PulseContext& context, SystemAudioStreamCallbacks callbacks)
        : m_context(context)
        , m_callbacks(std::move(callbacks)) {}

    /// Display capture: one stream on the sink's monitor.
    std::optional<AudioBackendError> startDisplay(const PulseSinkInfo& sink) {
        PulseRecordStreamOptions options;
        options.streamName = "Vesnara system audio";
        options.sourceName = sink.monitorSourceName;
        options.sampleSpec = {PA_SAMPLE_S16LE, kStreamRate, sink.sampleSpec.channels};
        options.channelMap = sink.channelMap;
        const auto format = AudioStreamDescription::int16(kStreamRate, sink.sampleSpec.channels);
        AudioBackendError error;
        auto stream = PulseRecordStream::create(
            m_context, options,
            [this, format](QByteArrayView data, qsizetype frames) {
                deliver(format, data, frames);
            },
            [this](const AudioBackendError& e) { reportStopped(e); }, error);
        if (!stream)
            return error;
        m_streams.emplace(UINT32_MAX, Entry{std::move(stream), sink.index});
        return std::nullopt;
    }

    /// Application capture: the streams follow the snapshot from here on.
    void startApplication(const QString& key) {
        m_applicationKey = key;
        m_sum.emplace(applicationCaptureChannels, kApplicationMaxLagFrames);
        follow(m_context.snapshot());
    }

    /// Waits until every stream made so far runs or has ended. Lock held.
    bool waitUntilSettled(std::chrono::milliseconds limit) {
        m_context.waitLocked(
            [this] {
                for (const auto& [id, entry] : m_streams)
                    if (!entry.stream->isReady() && !entry.stream->hasEnded())
                        return false;
                return true;
            },
            limit);
        for (const auto& [id, entry] : m_streams)
            if (!entry.stream->isReady())
                return false;
        return true;
    }

    AudioBackendError firstFailure() const {
        for (const auto& [id, entry] : m_streams)
            if (entry.stream->hasEnded())
                return entry.stream->failure();
        return PulseContext::ownError(20, u"the capture stream did not start in time"_s);
    }

    void arm() { m_armed = true; }

    /// Snapshot listener, loop thread, lock held.
    void onSnapshotChanged() {
        const auto snapshot = m_context.snapshot();
        if (!snapshot.isConnected) {
            reportStopped(m_context.contextError());
            return;
        }
        if (m_sum)
            follow(snapshot);
    }

private:
    struct Entry {
        std::unique_ptr<PulseRecordStream> stream;
        uint32_t sink = UINT32_MAX;
    };

    void follow(const PulseSnapshot& snapshot) {
        if (m_stopped)
            return;
        std::map<uint32_t, uint32_t> wanted; // sink input -> sink
        for (const auto& input : snapshot.sinkInputs)
            if (applicationKey(input) == m_applicationKey)
                wanted.emplace(input.index, input.sink);
        // A stream that ended, or whose playback moved to another sink, is made anew.
        for (auto it = m_streams.begin(); it != m_streams.end();) {
            const auto found = wanted.find(it->first);
            if (found == wanted.end() || found->second != it->second.sink ||
                it->second.stream->hasEnded()) {
                m_sum->removeInput(it->first);
                it = m_streams.erase(it);
            } else {
                ++it;
            }
        }
        for (const auto& [inputIndex, sinkIndex] : wanted) {
            if (m_streams.contains(inputIndex))
                continue;
            const auto* sink = findSinkByIndex(snapshot, sinkIndex);
            if (!sink)
                continue;
            PulseRecordStreamOptions options;
            options.streamName = "Vesnara application audio";
            options.sourceName = sink->monitorSourceName;
            options.sampleSpec = {PA_SAMPLE_FLOAT32LE, applicationCaptureRate,
                                  applicationCaptureChannels};
            options.monitoredSinkInput = inputIndex;
            AudioBackendError error;
            const uint32_t id = inputIndex;
            auto stream = PulseRecordStream::create(
                m_context, options,
                [this, id](QByteArrayView data, qsizetype frames) { mix(id, data, frames); },
                // The playback stream ended or moved: the next snapshot change replaces it.
                [this, id](const AudioBackendError&) { m_sum->removeInput(id); }, error);
            if (!stream)
                continue;
            m_sum->addInput(id);
            m_streams.emplace(id, Entry{std::move(stream), sinkIndex});
        }
    }

    void mix(uint32_t id, QByteArrayView data, qsizetype frames) {
        const auto* samples = data.isNull() ? nullptr : reinterpret_cast<const float*>(data.data());
        const auto sum = m_sum->push(id, samples, frames);
        if (sum.empty())
            return;
        const auto bytes = QByteArrayView(reinterpret_cast<const char*>(sum.data()),
                                          static_cast<qsizetype>(sum.size() * sizeof(float)));
        deliver(AudioStreamDescription::float32(applicationCaptureRate, applicationCaptureChannels),
                bytes, static_cast<qsizetype>(sum.size()) / applicationCaptureChannels);
    }

    void deliver(const AudioStreamDescription& format, QByteArrayView data, qsizetype frames) {
        if (!m_armed || m_stopped || !m_callbacks.onBuffer)
            return;
        const std::array<QByteArrayView, 1> buffers{data};
        AudioBufferView view;
        view.format = format;
        view.frameCount = frames;
        view.buffers = buffers;
        view.isDataReady = !data.isNull();
        m_callbacks.onBuffer(view);
    }

    void reportStopped(const AudioBackendError& error) {
        if (m_stopped)
            return;
        m_stopped = true;
        if (m_armed && m_callbacks.onStopped)
            m_callbacks.onStopped(error);
    }

    PulseContext& m_context;
    SystemAudioStreamCallbacks m_callbacks;
    QString m_applicationKey;
    std::optional<StreamSum> m_sum;
    std::map<uint32_t, Entry> m_streams;
    bool m_armed = false;
    bool m_stopped = false;
};

PulseSystemAudioBackend::PulseSystemAudioBackend(std::chrono::milliseconds startLimit)
    : m_context(PulseContext::acquire())
    , m_startLimit(startLimit) {
    PulseContext::Lock lock(*m_context);
    m_devicesListenerId = m_context->addListenerLocked([this](unsigned changes) {
        constexpr unsigned listed =
            PulseChange::sinks | PulseChange::sinkInputs | PulseChange::connection;
        if ((changes & listed) != 0 && m_devicesChanged)
            m_devicesChanged();
    });
}

PulseSystemAudioBackend::~PulseSystemAudioBackend() {
    stopCapture();
    PulseContext::Lock lock(*m_context);
    m_context->removeListenerLocked(m_devicesListenerId);
}

SystemAudioContent PulseSystemAudioBackend::shareableContent() {
    SystemAudioContent content;
    PulseSnapshot snapshot;
    if (auto error = m_context->connectedSnapshot(snapshot)) {
        content.error = std::move(error);
        return content;
    }
    for (const auto& sink : snapshot.sinks)
        content.displays.append({stableDeviceId(sink.name), sink.description});
    for (const auto& input : snapshot.sinkInputs) {
        const auto key = applicationKey(input);
        if (key.isEmpty())
            continue;
        auto existing = std::find_if(content.applications.begin(), content.applications.end(),
                                     [&key](const auto& a) { return a.bundleIdentifier == key; });
        if (existing == content.applications.end()) {
            const auto name = input.applicationName.trimmed();
            content.applications.append({key, name.isEmpty() ? key : name, {}});
            existing = std::prev(content.applications.end());
        }
        if (input.processId > 0 && !existing->processIds.contains(input.processId))
            existing->processIds.append(input.processId);
    }
    return content;
}

void PulseSystemAudioBackend::setDevicesChangedCallback(std::function<void()> callback) {
    PulseContext::Lock lock(*m_context);
    m_devicesChanged = std::move(callback);
}

std::optional<AudioBackendError>
PulseSystemAudioBackend::startCapture(const SystemAudioCaptureTarget& target,
                                      SystemAudioStreamCallbacks callbacks) {
    const auto deadline = PulseContext::Clock::now() + m_startLimit;
    stopCapture();
    if (auto error = m_context->waitUntilConnected(m_startLimit))
        return error;
    const auto snapshot = m_context->snapshot();
    const auto* sink = findSinkById(snapshot, target.displayId);
    if (!sink)
        return PulseContext::ownError(21,
                                      u"no output with id "_s + QString::number(target.displayId));

    PulseContext::Lock lock(*m_context);
    auto capture = std::make_unique<Capture>(*m_context, std::move(callbacks));
    const auto application = target.applicationBundleIdentifier.trimmed();
    if (application.isEmpty()) {
        if (auto error = capture->startDisplay(*sink))
            return error;
    } else {
        capture->startApplication(application);
    }
    const auto remaining = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - PulseContext::Clock::now());
    if (!capture->waitUntilSettled(std::max(remaining, std::chrono::milliseconds(0))) &&
        application.isEmpty())
        return capture->firstFailure();
    capture->arm();
    auto* raw = capture.get();
    m_listenerId = m_context->addListenerLocked([raw](unsigned) { raw->onSnapshotChanged(); });
    m_capture = std::move(capture);
    return std::nullopt;
}

void PulseSystemAudioBackend::stopCapture() {
    if (!m_capture)
        return;
    PulseContext::Lock lock(*m_context);
    m_context->removeListenerLocked(m_listenerId);
    m_capture.reset();
}

} // namespace vesnara
