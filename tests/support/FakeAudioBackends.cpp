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
    std::lock_guard control(m_control);
    joinPlayback();
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
    std::lock_guard control(m_control);
    if (m_thread.joinable())
        m_thread.join();
}

void ScriptedAudioThread::stop() {
    std::lock_guard control(m_control);
    joinPlayback();
}

void ScriptedAudioThread::joinPlayback() {
    {
        std::lock_guard lock(m_mutex);
        m_stopRequested = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void BackendCallGate::hold() {
    std::lock_guard lock(m_mutex);
    m_holding = true;
    m_passes = 0;
}

void BackendCallGate::passOne() {
    {
        std::lock_guard lock(m_mutex);
        ++m_passes;
    }
    m_changed.notify_all();
}

void BackendCallGate::release() {
    {
        std::lock_guard lock(m_mutex);
        m_holding = false;
    }
    m_changed.notify_all();
}

bool BackendCallGate::waitUntilWaiting(int count, std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this, count] { return m_waiting >= count; });
}

void BackendCallGate::enter() {
    std::unique_lock lock(m_mutex);
    ++m_waiting;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_holding || m_passes > 0; });
    if (m_holding)
        --m_passes;
    --m_waiting;
}

void FakeBackendControls::announceDevicesChanged() {
    std::lock_guard lock(m_mutex);
    if (m_devicesChanged)
        m_devicesChanged();
}

void FakeBackendControls::enter(bool isStart) {
    gate.enter();
    if (isStart && startDelay.count() > 0)
        std::this_thread::sleep_for(startDelay);
}

void FakeBackendControls::setCallback(std::function<void()> callback) {
    std::lock_guard lock(m_mutex);
    m_devicesChanged = std::move(callback);
}

AudioInputDeviceListing FakeAudioInputBackend::listInputDevices() {
    if (listingError)
        return {listingError, {}, 0};
    return {std::nullopt, devices, defaultDeviceId};
}

AudioInputStreamStart FakeAudioInputBackend::startRecording(quint32 deviceId,
                                                            AudioInputStreamCallbacks callbacks) {
    enter(true);
    m_stream.end();
    m_stream.note(u"start "_s + QString::number(deviceId));
    if (!nextStart.error)
        m_stream.run(std::move(callbacks));
    return nextStart;
}

void FakeAudioInputBackend::stopRecording() {
    enter(false);
    m_stream.note(u"stop"_s);
    m_stream.end();
}

QList<quint32> FakeAudioInputBackend::requestedDevices() const {
    QList<quint32> requested;
    for (const QString& call : m_stream.calls())
        if (call.startsWith(u"start "_s))
            requested.append(call.mid(6).toUInt());
    return requested;
}

void FakeAudioInputBackend::fail(const AudioBackendError& error) {
    m_stream.withCallbacks([&error](AudioInputStreamCallbacks& callbacks) {
        if (callbacks.onFailure)
            callbacks.onFailure(error);
    });
}

std::optional<AudioBackendError>
FakeSystemAudioBackend::startCapture(const SystemAudioCaptureTarget& target,
                                     SystemAudioStreamCallbacks callbacks) {
    enter(true);
    m_stream.end();
    m_stream.note(u"start "_s + QString::number(target.displayId));
    if (nextStartError)
        return nextStartError;
    {
        std::lock_guard lock(m_targetsMutex);
        m_startedTargets.append(target);
    }
    m_stream.run(std::move(callbacks));
    return std::nullopt;
}

void FakeSystemAudioBackend::stopCapture() {
    enter(false);
    m_stream.note(u"stop"_s);
    m_stream.end();
}

QList<SystemAudioCaptureTarget> FakeSystemAudioBackend::startedTargets() const {
    std::lock_guard lock(m_targetsMutex);
    return m_startedTargets;
}

void FakeSystemAudioBackend::stopBySelf(const AudioBackendError& error) {
    m_stream.withCallbacks([&error](SystemAudioStreamCallbacks& callbacks) {
        if (callbacks.onStopped)
            callbacks.onStopped(error);
    });
}

} // namespace vesnara::test
