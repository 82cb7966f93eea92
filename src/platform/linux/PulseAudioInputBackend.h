#pragma once

#include "PulseContext.h"
#include "platform/AudioInputBackend.h"

#include <memory>

namespace vesnara {

class PulseRecordStream;

/// The microphone side on libpulse (PulseAudio, or PipeWire's PulseAudio server).
///
/// Devices are the sources that are not monitors, in server order, with ids hashed from the
/// source names. A record stream takes the device's own rate and channels in float32 with
/// ~20 ms fragments, never moves to another device, and reports a removed device or a lost
/// server through `onFailure`.
class PulseAudioInputBackend final : public AudioInputBackend {
public:
    /// `startLimit` bounds the wait of `startRecording` for the server and the stream.
    explicit PulseAudioInputBackend(
        std::chrono::milliseconds startLimit = std::chrono::milliseconds(3000));
    ~PulseAudioInputBackend() override;

    QList<AudioInputDevice> listInputDevices() override;
    quint32 defaultInputDeviceId() override;
    AudioInputStreamStart startRecording(quint32 deviceId,
                                         AudioInputStreamCallbacks callbacks) override;
    void stopRecording() override;

    /// The sound server's name of a listed device ("" when unknown): for logs and tests.
    QByteArray sourceName(quint32 deviceId);

private:
    std::shared_ptr<PulseContext> m_context;
    std::chrono::milliseconds m_startLimit;
    std::unique_ptr<PulseRecordStream> m_stream;
};

} // namespace vesnara
