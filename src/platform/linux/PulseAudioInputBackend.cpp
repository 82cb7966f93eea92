#include "PulseAudioInputBackend.h"

#include "PulseDeviceClassification.h"
#include "PulseRecordStream.h"
#include "audio/PcmFrameFormat.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr uint32_t kStreamRate = static_cast<uint32_t>(PcmFrameFormat::sampleRate);

/// Stream callbacks that fire only once their stream runs; touched under the loop lock only.
struct ArmedCallbacks {
    AudioInputStreamCallbacks callbacks;
    bool armed = false;
};

const PulseSourceInfo* findInput(const PulseSnapshot& snapshot, quint32 deviceId) {
    for (const auto& source : snapshot.sources)
        if (!isMonitorSource(source) && stableDeviceId(source.name) == deviceId)
            return &source;
    return nullptr;
}

const PulseSourceInfo* findByName(const PulseSnapshot& snapshot, const QByteArray& name) {
    for (const auto& source : snapshot.sources)
        if (source.name == name)
            return &source;
    return nullptr;
}

} // namespace

PulseAudioInputBackend::PulseAudioInputBackend(std::chrono::milliseconds startLimit)
    : m_context(PulseContext::acquire())
    , m_startLimit(startLimit) {
    PulseContext::Lock lock(*m_context);
    m_listenerId = m_context->addListenerLocked([this](unsigned changes) {
        constexpr unsigned listed =
            PulseChange::sources | PulseChange::defaults | PulseChange::connection;
        if ((changes & listed) != 0 && m_devicesChanged)
            m_devicesChanged();
    });
}

PulseAudioInputBackend::~PulseAudioInputBackend() {
    stopRecording();
    PulseContext::Lock lock(*m_context);
    m_context->removeListenerLocked(m_listenerId);
}

AudioInputDeviceListing PulseAudioInputBackend::listInputDevices() {
    AudioInputDeviceListing listing;
    PulseSnapshot snapshot;
    if (auto error = m_context->connectedSnapshot(snapshot)) {
        listing.error = std::move(error);
        return listing;
    }
    for (const auto& source : snapshot.sources) {
        if (isMonitorSource(source) || source.sampleSpec.channels == 0)
            continue;
        listing.devices.append(
            {stableDeviceId(source.name),
             source.description.isEmpty() ? QString::fromUtf8(source.name) : source.description,
             classifySource(source), source.sampleSpec.channels});
    }
    const auto* source = findByName(snapshot, snapshot.defaultSourceName);
    listing.defaultDeviceId =
        source && !isMonitorSource(*source) ? stableDeviceId(source->name) : 0;
    return listing;
}

void PulseAudioInputBackend::setDevicesChangedCallback(std::function<void()> callback) {
    PulseContext::Lock lock(*m_context);
    m_devicesChanged = std::move(callback);
}

QByteArray PulseAudioInputBackend::sourceName(quint32 deviceId) {
    const auto snapshot = m_context->snapshot();
    const auto* source = findInput(snapshot, deviceId);
    return source ? source->name : QByteArray();
}

AudioInputStreamStart PulseAudioInputBackend::startRecording(quint32 deviceId,
                                                             AudioInputStreamCallbacks callbacks) {
    const auto deadline = PulseContext::Clock::now() + m_startLimit;
    stopRecording();
    AudioInputStreamStart result;
    if (const auto error = m_context->waitUntilConnected(m_startLimit)) {
        result.error = *error;
        return result;
    }
    const auto snapshot = m_context->snapshot();
    const PulseSourceInfo* source = deviceId != 0 ? findInput(snapshot, deviceId) : nullptr;
    if (!source) {
        result.isOnRequestedDevice = deviceId == 0;
        source = findByName(snapshot, snapshot.defaultSourceName);
    }
    if (!source) {
        result.error = PulseContext::ownError(10, u"no input device"_s);
        return result;
    }
    result.format = AudioStreamDescription::int16(kStreamRate, source->sampleSpec.channels);
    if (source->sampleSpec.channels == 0)
        return result;

    PulseRecordStreamOptions options;
    options.streamName = "Vesnara microphone";
    options.sourceName = source->name;
    options.sampleSpec = {PA_SAMPLE_S16LE, kStreamRate, source->sampleSpec.channels};
    options.channelMap = source->channelMap;

    // Shared with the loop thread and only touched under the loop lock. Armed once the stream
    // runs: a stream that fails while starting reports through the result alone.
    auto shared = std::make_shared<ArmedCallbacks>();
    shared->callbacks = std::move(callbacks);
    const auto format = result.format;
    auto onData = [shared, format](QByteArrayView data, qsizetype frames) {
        if (!shared->armed || !shared->callbacks.onBuffer)
            return;
        const std::array<QByteArrayView, 1> buffers{data};
        AudioBufferView view;
        view.format = format;
        view.frameCount = frames;
        view.buffers = buffers;
        view.isDataReady = !data.isNull();
        shared->callbacks.onBuffer(view);
    };
    auto onFailure = [shared](const AudioBackendError& error) {
        if (shared->armed && shared->callbacks.onFailure)
            shared->callbacks.onFailure(error);
    };

    PulseContext::Lock lock(*m_context);
    AudioBackendError error;
    auto stream = PulseRecordStream::create(*m_context, options, std::move(onData),
                                            std::move(onFailure), error);
    if (!stream) {
        result.error = error;
        return result;
    }
    const auto* raw = stream.get();
    const auto remaining = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - PulseContext::Clock::now());
    m_context->waitLocked([raw] { return raw->isReady() || raw->hasEnded(); },
                          std::max(remaining, std::chrono::milliseconds(0)));
    if (!stream->isReady()) {
        result.error =
            stream->hasEnded()
                ? stream->failure()
                : PulseContext::ownError(11, u"the record stream did not start in time"_s);
        return result;
    }
    shared->armed = true;
    m_stream = std::move(stream);
    return result;
}

void PulseAudioInputBackend::stopRecording() {
    if (!m_stream)
        return;
    PulseContext::Lock lock(*m_context);
    m_stream.reset();
}

} // namespace vesnara
