#pragma once

#include "platform/AudioInputBackend.h"
#include "platform/SystemAudioBackend.h"

#include <QByteArray>
#include <QList>
#include <QScopeGuard>
#include <QStringList>

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
/// thread, optionally paced. `stop` ends it early and joins; afterwards no call is running. Any
/// thread may call it, one call at a time.
class ScriptedAudioThread {
public:
    ~ScriptedAudioThread() { stop(); }

    void play(QList<ScriptedAudioBuffer> buffers, std::chrono::milliseconds interval,
              std::function<void(const AudioBufferView&)> sink);
    /// Waits until every buffer has been played.
    void waitUntilPlayed();
    void stop();

private:
    /// Ends the playback early and joins it; with `m_control` held.
    void joinPlayback();

    std::mutex m_control; // play, waitUntilPlayed and stop, one at a time
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopRequested = false;
};

/// Holds a fake backend's start and stop calls at their entrance, as a sound server that does
/// not answer would, until the test lets them through.
class BackendCallGate {
public:
    /// From now on calls wait at the entrance.
    void hold();
    /// `hold` until the returned guard is gone: a test that fails half-way then leaves no call
    /// waiting for a destructor to wait on. Keep the guard after the capture object, so it goes
    /// first.
    [[nodiscard]] auto holdInScope() {
        hold();
        return qScopeGuard([this] { release(); });
    }
    /// Lets one waiting (or the next) call through.
    void passOne();
    /// Lets every call through, now and later.
    void release();
    /// Waits (at most `limit`) until `count` calls wait at the entrance; false when they do not.
    bool waitUntilWaiting(int count,
                          std::chrono::milliseconds limit = std::chrono::milliseconds(5000));

    /// Called by the backend at the entrance of a call.
    void enter();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_holding = false;
    int m_passes = 0;
    int m_waiting = 0;
};

/// The one stream of a fake backend, safe from any thread: its callbacks (each called under the
/// lock, so `end` returns only when none runs), its playback thread, and the calls made of it.
template <typename Callbacks> class FakeStream {
public:
    /// Ends the running stream, if any, and joins its playback.
    void end() {
        m_thread.stop();
        std::lock_guard lock(m_mutex);
        if (m_isRunning)
            ++m_endCount;
        m_isRunning = false;
        m_callbacks = {};
    }
    /// From now on a stream runs with `callbacks`.
    void run(Callbacks callbacks) {
        std::lock_guard lock(m_mutex);
        m_callbacks = std::move(callbacks);
        m_isRunning = true;
    }
    void note(const QString& call) {
        std::lock_guard lock(m_mutex);
        m_calls.append(call);
    }
    /// Calls `use` with the callbacks, under the lock, when a stream runs.
    template <typename Use> void withCallbacks(Use&& use) {
        std::lock_guard lock(m_mutex);
        if (m_isRunning)
            use(m_callbacks);
    }
    void deliver(const ScriptedAudioBuffer& buffer) {
        buffer.withView([this](const AudioBufferView& view) { deliverView(view); });
    }
    void play(QList<ScriptedAudioBuffer> buffers, std::chrono::milliseconds interval) {
        if (isRunning())
            m_thread.play(std::move(buffers), interval,
                          [this](const AudioBufferView& view) { deliverView(view); });
    }
    void waitUntilPlayed() { m_thread.waitUntilPlayed(); }

    bool isRunning() const {
        std::lock_guard lock(m_mutex);
        return m_isRunning;
    }
    /// How many running streams ended.
    int endCount() const {
        std::lock_guard lock(m_mutex);
        return m_endCount;
    }
    QStringList calls() const {
        std::lock_guard lock(m_mutex);
        return m_calls;
    }

private:
    void deliverView(const AudioBufferView& view) {
        withCallbacks([&view](Callbacks& callbacks) {
            if (callbacks.onBuffer)
                callbacks.onBuffer(view);
        });
    }

    mutable std::mutex m_mutex;
    Callbacks m_callbacks;
    bool m_isRunning = false;
    int m_endCount = 0;
    QStringList m_calls;
    ScriptedAudioThread m_thread;
};

/// What a fake backend does at the entrance of each start and stop, and its devices-changed
/// callback.
class FakeBackendControls {
public:
    /// Holds the start and stop calls at their entrance while the test says so.
    BackendCallGate gate;
    /// How long each start takes before it starts, as a slow server would.
    std::chrono::milliseconds startDelay{0};

    /// Calls the devices-changed callback, as the server's events would.
    void announceDevicesChanged();

protected:
    /// Passes the gate; for a start also waits out `startDelay`.
    void enter(bool isStart);
    void setCallback(std::function<void()> callback);

private:
    std::mutex m_mutex;
    std::function<void()> m_devicesChanged;
};

/// An `AudioInputBackend` that lists the devices it is given and plays scripted buffers.
///
/// `MicrophoneCapture` calls the stream members from its worker thread, so everything here is
/// safe to call from any thread. Set the public fields before the call that reads them is made
/// (the worker then sees them); a callback runs under the backend's lock, so `stopRecording`
/// returns only when none runs.
class FakeAudioInputBackend : public AudioInputBackend, public FakeBackendControls {
public:
    QList<AudioInputDevice> devices;
    quint32 defaultDeviceId = 0;
    /// Set: the listing fails with it (the devices are then not listed).
    std::optional<AudioBackendError> listingError;
    /// What the next `startRecording` reports; its format is that of the scripted buffers.
    AudioInputStreamStart nextStart{std::nullopt, AudioStreamDescription::float32(48000, 2), true};

    AudioInputDeviceListing listInputDevices() override;
    void setDevicesChangedCallback(std::function<void()> callback) override {
        setCallback(std::move(callback));
    }
    AudioInputStreamStart startRecording(quint32 deviceId,
                                         AudioInputStreamCallbacks callbacks) override;
    void stopRecording() override;

    bool isRecording() const { return m_stream.isRunning(); }
    /// The device each `startRecording` asked for, in order.
    QList<quint32> requestedDevices() const;
    int stopCount() const { return m_stream.endCount(); }
    /// "start <device>" and "stop" for each call that got past the gate, in order (a start's own
    /// stop of the running stream is not listed).
    QStringList calls() const { return m_stream.calls(); }

    /// Delivers `buffer` on the calling thread, as the audio thread would; nothing when stopped.
    void deliver(const ScriptedAudioBuffer& buffer) { m_stream.deliver(buffer); }
    /// Plays `buffers` on an audio thread of its own; `stopRecording` ends and joins it.
    void play(QList<ScriptedAudioBuffer> buffers,
              std::chrono::milliseconds interval = std::chrono::milliseconds(0)) {
        m_stream.play(std::move(buffers), interval);
    }
    void waitUntilPlayed() { m_stream.waitUntilPlayed(); }
    /// Reports that the stream died.
    void fail(const AudioBackendError& error);

private:
    FakeStream<AudioInputStreamCallbacks> m_stream;
};

/// A `SystemAudioBackend` that lists the content it is given and plays scripted buffers. Safe to
/// call from any thread, like `FakeAudioInputBackend`.
class FakeSystemAudioBackend : public SystemAudioBackend, public FakeBackendControls {
public:
    SystemAudioContent content;
    /// What the next `startCapture` fails with; nothing means it runs.
    std::optional<AudioBackendError> nextStartError;

    SystemAudioContent shareableContent() override { return content; }
    void setDevicesChangedCallback(std::function<void()> callback) override {
        setCallback(std::move(callback));
    }
    std::optional<AudioBackendError> startCapture(const SystemAudioCaptureTarget& target,
                                                  SystemAudioStreamCallbacks callbacks) override;
    void stopCapture() override;

    bool isCapturing() const { return m_stream.isRunning(); }
    /// The target of each `startCapture` that ran, in order.
    QList<SystemAudioCaptureTarget> startedTargets() const;
    int stopCount() const { return m_stream.endCount(); }
    /// "start <display>" and "stop" for each call that got past the gate, in order (a start's own
    /// stop of the running capture is not listed).
    QStringList calls() const { return m_stream.calls(); }

    void deliver(const ScriptedAudioBuffer& buffer) { m_stream.deliver(buffer); }
    void play(QList<ScriptedAudioBuffer> buffers,
              std::chrono::milliseconds interval = std::chrono::milliseconds(0)) {
        m_stream.play(std::move(buffers), interval);
    }
    void waitUntilPlayed() { m_stream.waitUntilPlayed(); }
    void stopBySelf(const AudioBackendError& error);

private:
    FakeStream<SystemAudioStreamCallbacks> m_stream;
    mutable std::mutex m_targetsMutex;
    QList<SystemAudioCaptureTarget> m_startedTargets;
};

} // namespace vesnara::test
