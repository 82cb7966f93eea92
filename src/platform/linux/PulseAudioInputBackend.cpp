#include "PulseAudioInputBackend.h"

#include "PulseDeviceClassification.h"
#include "PulseRecordStream.h"

#include <array>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

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
    , m_startLimit(startLimit) {}

PulseAudioInputBackend::~PulseAudioInputBackend() {
    stopRecording();
}

QList<AudioInputDevice> PulseAudioInputBackend::listInputDevices() {
    m_context->reconnectInBackground();
    QList<AudioInputDevice> devices;
    for (const auto& source : m_context->snapshot().sources) {
        if (isMonitorSource(source) || source.sampleSpec.channels == 0)
            continue;
        devices.append(
            {stableDeviceId(source.name),
             source.description.isEmpty() ? QString::fromUtf8(source.name) : source.description,
             classifySource(source), source.sampleSpec.channels});
    }
    return devices;
}

quint32 PulseAudioInputBackend::defaultInputDeviceId() {
    const auto snapshot = m_context->snapshot();
    const auto* source = findByName(snapshot, snapshot.defaultSourceName);
    return source && !isMonitorSource(*source) ? stableDeviceId(source->name) : 0;
}

QByteArray PulseAudioInputBackend::sourceName(quint32 deviceId) {
    const auto snapshot = m_context->snapshot();
    const auto* source = findInput(snapshot, deviceId);
    return source ? source->name : QByteArray();
}

AudioInputStreamStart PulseAudioInputBackend::startRecording(quint32 deviceId,
                                                             AudioInputStreamCallbacks callbacks) {
    stopRecording();
    AudioInputStreamStart result;
    if (const auto error = m_context->ensureConnected(m_startLimit)) {
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
    result.format =
        AudioStreamDescription::float32(source->sampleSpec.rate, source->sampleSpec.channels);
    if (source->sampleSpec.channels == 0)
        return result;

    PulseRecordStreamOptions options;
    options.streamName = "Vesnara microphone";
    options.sourceName = source->name;
    options.sampleSpec = {PA_SAMPLE_FLOAT32LE, source->sampleSpec.rate,
                          source->sampleSpec.channels};
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
    m_context->waitLocked([raw] { return raw->isReady() || raw->hasEnded(); }, m_startLimit);
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
