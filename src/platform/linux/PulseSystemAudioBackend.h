#pragma once

#include "PulseContext.h"
#include "platform/SystemAudioBackend.h"

#include <memory>

namespace vesnara {

/// The system-audio side on libpulse.
///
/// "Displays" are the sinks (outputs), with ids hashed from the sink names so that a stored
/// choice survives a server restart; capturing one records its monitor as 16 kHz signed 16-bit
/// samples in the sink's own channels and layout, so the server's resampler filters before the
/// rate drops. "Applications" are the playback streams grouped by process binary (else
/// application name); capturing one records each of its streams through
/// `pa_stream_set_monitor_stream` on the monitor of the sink it plays to, at 16 kHz stereo in
/// float32 (headroom for the sum), and sums them. Streams that start, end or move while the
/// capture runs are followed through subscription events.
class PulseSystemAudioBackend final : public SystemAudioBackend {
public:
    /// `startLimit` bounds the wait of `startCapture` for the connection and the streams
    /// together.
    explicit PulseSystemAudioBackend(
        std::chrono::milliseconds startLimit = std::chrono::milliseconds(3000));
    ~PulseSystemAudioBackend() override;

    SystemAudioContent shareableContent() override;
    void setDevicesChangedCallback(std::function<void()> callback) override;
    std::optional<AudioBackendError> startCapture(const SystemAudioCaptureTarget& target,
                                                  SystemAudioStreamCallbacks callbacks) override;
    void stopCapture() override;

    /// The rate and channels that application captures are delivered in.
    static constexpr uint32_t applicationCaptureRate = 16000;
    static constexpr uint8_t applicationCaptureChannels = 2;

private:
    class Capture;
    std::shared_ptr<PulseContext> m_context;
    std::chrono::milliseconds m_startLimit;
    std::unique_ptr<Capture> m_capture;
    int m_listenerId = 0;
    int m_devicesListenerId = 0;
    // Touched under the loop lock only.
    std::function<void()> m_devicesChanged;
};

} // namespace vesnara
