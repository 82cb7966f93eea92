#pragma once

#include "PulseContext.h"
#include "platform/PermissionProbe.h"

#include <memory>

namespace vesnara {

/// The permission facilities of a plain Linux desktop, where no OS permission guards the
/// microphone or the system audio: access is granted while the sound server is reachable and
/// lists the device (an input for the microphone, an output for system audio), and denied when
/// the server cannot be reached or was lost; while the first connection is under way the
/// microphone reads undetermined. The synchronous reads only look at the snapshot (starting a
/// reconnection when the last one failed) and never wait. Nothing prompts; usage descriptions count
/// as present. A "request" reconnects to the server (waiting at most `connectLimit`, off the
/// calling thread) and looks again.
class LinuxPermissionProbe final : public PermissionProbe {
public:
    explicit LinuxPermissionProbe(
        std::chrono::milliseconds connectLimit = std::chrono::milliseconds(2000));

    MicrophonePermissionState microphoneState() override;
    QCoro::Task<bool> requestRecordPermission() override;
    QCoro::Task<bool> requestCaptureAccess() override;
    bool systemAudioPreflight() override;
    QCoro::Task<bool> requestSystemAudioAccess() override;
    QCoro::Task<SystemAudioProbeResult> probeSystemAudio() override;
    SystemAudioBundleInfo systemAudioBundleInfo() override;

private:
    /// Connects when not connected; the reason when there is no connection.
    QCoro::Task<std::optional<AudioBackendError>> connect();
    QCoro::Task<bool> reconnectAndCheckMicrophone();
    std::shared_ptr<PulseContext> m_context;
    std::chrono::milliseconds m_connectLimit;
};

} // namespace vesnara
