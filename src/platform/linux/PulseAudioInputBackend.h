#pragma once

#include "PulseContext.h"
#include "platform/AudioInputBackend.h"

#include <memory>

namespace vesnara {

class PulseRecordStream;

/// The microphone side on libpulse (PulseAudio, or PipeWire's PulseAudio server).
///
/// Devices are the sources that are not monitors, in server order, with ids hashed from the
/// source names. A record stream asks the server for 16 kHz signed 16-bit samples in the
/// device's own channels and layout (the server's resampler filters before the rate drops; the
/// channels are averaged in our code, so the level does not depend on the server's downmix),
/// with ~20 ms fragments; it never moves to another device, and reports a removed device or a
/// lost server through `onFailure`.
class PulseAudioInputBackend final : public AudioInputBackend {
public:
    /// `startLimit` bounds the wait of `startRecording` for the connection and the stream
    /// together.
    explicit PulseAudioInputBackend(
        std::chrono::milliseconds startLimit = std::chrono::milliseconds(3000));
    ~PulseAudioInputBackend() override;

    AudioInputDeviceListing listInputDevices() override;
    void setDevicesChangedCallback(std::function<void()> callback) override;
    AudioInputStreamStart startRecording(quint32 deviceId,
                                         AudioInputStreamCallbacks callbacks) override;
    void stopRecording() override;

    /// The sound server's name of a listed device ("" when unknown): for logs and tests.
    QByteArray sourceName(quint32 deviceId);

private:
    std::shared_ptr<PulseContext> m_context;
    std::chrono::milliseconds m_startLimit;
    std::unique_ptr<PulseRecordStream> m_stream;
    int m_listenerId = 0;
    // Touched under the loop lock only.
    std::function<void()> m_devicesChanged;
};

} // namespace vesnara
