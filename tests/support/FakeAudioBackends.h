#pragma once

#include "platform/AudioInputBackend.h"
#include "platform/SystemAudioBackend.h"

#include <QByteArray>
#include <QList>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace vesnara::test {

/// One buffer of scripted audio that owns its bytes and lends them out as an `AudioBufferView`.
struct ScriptedAudioBuffer {
    AudioStreamDescription format;
    qsizetype frameCount = 0;
    /// One per plane, or one interleaved; a null QByteArray stands for a missing data pointer.
    QList<QByteArray> buffers;
    bool isDataReady = true;

    static ScriptedAudioBuffer float32Interleaved(double rate, int channels,
                                                  const QList<float>& samples);
    static ScriptedAudioBuffer float32Planar(double rate, const QList<QList<float>>& channels);
    static ScriptedAudioBuffer int16Interleaved(double rate, int channels,
                                                const QList<qint16>& samples);
    /// `frames` frames of `channels` float32 interleaved samples, all `value`.
    static ScriptedAudioBuffer constant(double rate, int channels, qsizetype frames, float value);

    /// Calls `use` with a view of this buffer, valid during the call.
    void withView(const std::function<void(const AudioBufferView&)>& use) const;
};

/// Plays a list of buffers into a callback on a thread of its own, like a sound server's audio
/// thread, optionally paced. `stop` ends it early and joins; afterwards no call is running.
class ScriptedAudioThread {
public:
    ~ScriptedAudioThread() { stop(); }

    void play(QList<ScriptedAudioBuffer> buffers, std::chrono::milliseconds interval,
              std::function<void(const AudioBufferView&)> sink);
    /// Waits until every buffer has been played.
    void waitUntilPlayed();
    void stop();

private:
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopRequested = false;
};

/// An `AudioInputBackend` that lists the devices it is given and plays scripted buffers.
class FakeAudioInputBackend : public AudioInputBackend {
public:
    QList<AudioInputDevice> devices;
    quint32 defaultDeviceId = 0;
    /// What the next `startRecording` reports; its format is that of the scripted buffers.
    AudioInputStreamStart nextStart{std::nullopt, AudioStreamDescription::float32(48000, 2), true};

    QList<AudioInputDevice> listInputDevices() override { return devices; }
    quint32 defaultInputDeviceId() override { return defaultDeviceId; }
    AudioInputStreamStart startRecording(quint32 deviceId,
                                         AudioInputStreamCallbacks callbacks) override;
    void stopRecording() override;

    bool isRecording() const { return m_isRecording; }
    /// The device each `startRecording` asked for, in order.
    const QList<quint32>& requestedDevices() const { return m_requestedDevices; }
    int stopCount() const { return m_stopCount; }

    /// Delivers `buffer` on the calling thread, as the audio thread would; nothing when stopped.
    void deliver(const ScriptedAudioBuffer& buffer);
    /// Plays `buffers` on an audio thread of its own; `stopRecording` ends and joins it.
    void play(QList<ScriptedAudioBuffer> buffers,
              std::chrono::milliseconds interval = std::chrono::milliseconds(0));
    void waitUntilPlayed() { m_thread.waitUntilPlayed(); }
    /// Reports that the stream died.
    void fail(const AudioBackendError& error);

private:
    AudioInputStreamCallbacks m_callbacks;
    bool m_isRecording = false;
    QList<quint32> m_requestedDevices;
    int m_stopCount = 0;
    ScriptedAudioThread m_thread;
};

/// A `SystemAudioBackend` that lists the content it is given and plays scripted buffers.
class FakeSystemAudioBackend : public SystemAudioBackend {
public:
    SystemAudioContent content;
    /// What the next `startCapture` fails with; nothing means it runs.
    std::optional<AudioBackendError> nextStartError;

    SystemAudioContent shareableContent() override { return content; }
    std::optional<AudioBackendError> startCapture(const SystemAudioCaptureTarget& target,
                                                  SystemAudioStreamCallbacks callbacks) override;
    void stopCapture() override;

    bool isCapturing() const { return m_isCapturing; }
    /// The target of each `startCapture` that ran, in order.
    const QList<SystemAudioCaptureTarget>& startedTargets() const { return m_startedTargets; }
    int stopCount() const { return m_stopCount; }

    void deliver(const ScriptedAudioBuffer& buffer);
    void play(QList<ScriptedAudioBuffer> buffers,
              std::chrono::milliseconds interval = std::chrono::milliseconds(0));
    void waitUntilPlayed() { m_thread.waitUntilPlayed(); }
    void stopBySelf(const AudioBackendError& error);

private:
    SystemAudioStreamCallbacks m_callbacks;
    bool m_isCapturing = false;
    QList<SystemAudioCaptureTarget> m_startedTargets;
    int m_stopCount = 0;
    ScriptedAudioThread m_thread;
};

} // namespace vesnara::test
