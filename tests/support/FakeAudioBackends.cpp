#include "FakeAudioBackends.h"

#include <QtEndian>

#include <vector>

using namespace Qt::StringLiterals;

namespace vesnara::test {

namespace {

QByteArray float32Bytes(const QList<float>& samples) {
    QByteArray bytes(samples.size() * 4, Qt::Uninitialized);
    for (qsizetype i = 0; i < samples.size(); ++i)
        qToLittleEndian(samples[i], bytes.data() + 4 * i);
    return bytes;
}

} // namespace

ScriptedAudioBuffer ScriptedAudioBuffer::float32Interleaved(double rate, int channels,
                                                            const QList<float>& samples) {
    return {AudioStreamDescription::float32(rate, channels),
            channels > 0 ? samples.size() / channels : 0,
            {float32Bytes(samples)},
            true};
}

ScriptedAudioBuffer ScriptedAudioBuffer::float32Planar(double rate,
                                                       const QList<QList<float>>& channels) {
    ScriptedAudioBuffer buffer{
        AudioStreamDescription::float32(rate, static_cast<int>(channels.size()), true),
        channels.isEmpty() ? 0 : channels.first().size(),
        {},
        true};
    for (const auto& plane : channels)
        buffer.buffers.append(float32Bytes(plane));
    return buffer;
}

ScriptedAudioBuffer ScriptedAudioBuffer::int16Interleaved(double rate, int channels,
                                                          const QList<qint16>& samples) {
    QByteArray bytes(samples.size() * 2, Qt::Uninitialized);
    for (qsizetype i = 0; i < samples.size(); ++i)
        qToLittleEndian(samples[i], bytes.data() + 2 * i);
    return {AudioStreamDescription::int16(rate, channels),
            channels > 0 ? samples.size() / channels : 0,
            {bytes},
            true};
}

ScriptedAudioBuffer ScriptedAudioBuffer::constant(double rate, int channels, qsizetype frames,
                                                  float value) {
    return float32Interleaved(rate, channels, QList<float>(frames * channels, value));
}

void ScriptedAudioBuffer::withView(const std::function<void(const AudioBufferView&)>& use) const {
    std::vector<QByteArrayView> views;
    for (const QByteArray& bytes : buffers)
        views.push_back(bytes.isNull() ? QByteArrayView() : QByteArrayView(bytes));
    use(AudioBufferView{format, frameCount, views, isDataReady});
}

void ScriptedAudioThread::play(QList<ScriptedAudioBuffer> buffers,
                               std::chrono::milliseconds interval,
                               std::function<void(const AudioBufferView&)> sink) {
    stop();
    m_stopRequested = false;
    m_thread = std::thread([this, buffers = std::move(buffers), interval, sink = std::move(sink)] {
        for (const ScriptedAudioBuffer& buffer : buffers) {
            {
                std::unique_lock lock(m_mutex);
                if (interval.count() > 0)
                    m_wake.wait_for(lock, interval, [this] { return m_stopRequested; });
                if (m_stopRequested)
                    return;
            }
            buffer.withView(sink);
        }
    });
}

void ScriptedAudioThread::waitUntilPlayed() {
    if (m_thread.joinable())
        m_thread.join();
}

void ScriptedAudioThread::stop() {
    {
        std::lock_guard lock(m_mutex);
        m_stopRequested = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

AudioInputStreamStart FakeAudioInputBackend::startRecording(quint32 deviceId,
                                                            AudioInputStreamCallbacks callbacks) {
    stopRecording();
    m_requestedDevices.append(deviceId);
    if (!nextStart.error) {
        m_callbacks = std::move(callbacks);
        m_isRecording = true;
    }
    return nextStart;
}

void FakeAudioInputBackend::stopRecording() {
    m_thread.stop();
    if (m_isRecording)
        ++m_stopCount;
    m_isRecording = false;
    m_callbacks = {};
}

void FakeAudioInputBackend::deliver(const ScriptedAudioBuffer& buffer) {
    if (m_isRecording && m_callbacks.onBuffer)
        buffer.withView(m_callbacks.onBuffer);
}

void FakeAudioInputBackend::play(QList<ScriptedAudioBuffer> buffers,
                                 std::chrono::milliseconds interval) {
    if (m_isRecording)
        m_thread.play(std::move(buffers), interval, m_callbacks.onBuffer);
}

void FakeAudioInputBackend::fail(const AudioBackendError& error) {
    if (m_isRecording && m_callbacks.onFailure)
        m_callbacks.onFailure(error);
}

std::optional<AudioBackendError>
FakeSystemAudioBackend::startCapture(const SystemAudioCaptureTarget& target,
                                     SystemAudioStreamCallbacks callbacks) {
    stopCapture();
    if (nextStartError)
        return nextStartError;
    m_startedTargets.append(target);
    m_callbacks = std::move(callbacks);
    m_isCapturing = true;
    return std::nullopt;
}

void FakeSystemAudioBackend::stopCapture() {
    m_thread.stop();
    if (m_isCapturing)
        ++m_stopCount;
    m_isCapturing = false;
    m_callbacks = {};
}

void FakeSystemAudioBackend::deliver(const ScriptedAudioBuffer& buffer) {
    if (m_isCapturing && m_callbacks.onBuffer)
        buffer.withView(m_callbacks.onBuffer);
}

void FakeSystemAudioBackend::play(QList<ScriptedAudioBuffer> buffers,
                                  std::chrono::milliseconds interval) {
    if (m_isCapturing)
        m_thread.play(std::move(buffers), interval, m_callbacks.onBuffer);
}

void FakeSystemAudioBackend::stopBySelf(const AudioBackendError& error) {
    if (m_isCapturing && m_callbacks.onStopped)
        m_callbacks.onStopped(error);
}

} // namespace vesnara::test
