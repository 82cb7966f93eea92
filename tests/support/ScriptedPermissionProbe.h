#pragma once

#include "async/CancellationToken.h"
#include "platform/PermissionProbe.h"

#include <chrono>
#include <deque>

namespace vesnara::test {

using namespace Qt::StringLiterals;

/// A platform whose answers the test scripts: each request pops the next scripted state.
class ScriptedPermissionProbe final : public PermissionProbe {
public:
    MicrophonePermissionState micState;
    std::deque<MicrophonePermissionState> micStatesAfterRequest;
    bool recordRequestResult = false;
    bool captureRequestResult = false;
    int recordRequests = 0;
    int captureRequests = 0;

    bool preflight = false;
    std::deque<SystemAudioProbeResult> probeResults;
    bool systemAccessResult = false;
    int systemAccessRequests = 0;
    int probes = 0;
    SystemAudioBundleInfo bundle{u"fi.vesnara.app"_s, u"/opt/vesnara"_s, true, true};
    /// When set, every request first waits this long on the event loop, as a prompt would.
    std::chrono::milliseconds requestDelay{0};

    MicrophonePermissionState microphoneState() override { return micState; }
    QCoro::Task<bool> requestRecordPermission() override {
        ++recordRequests;
        co_await delay();
        advance();
        co_return recordRequestResult;
    }
    QCoro::Task<bool> requestCaptureAccess() override {
        ++captureRequests;
        co_await delay();
        advance();
        co_return captureRequestResult;
    }
    bool systemAudioPreflight() override { return preflight; }
    QCoro::Task<bool> requestSystemAudioAccess() override {
        ++systemAccessRequests;
        co_await delay();
        co_return systemAccessResult;
    }
    QCoro::Task<SystemAudioProbeResult> probeSystemAudio() override {
        ++probes;
        SystemAudioProbeResult result;
        if (!probeResults.empty()) {
            result = probeResults.front();
            if (probeResults.size() > 1)
                probeResults.pop_front();
        }
        co_return result;
    }
    SystemAudioBundleInfo systemAudioBundleInfo() override { return bundle; }

private:
    QCoro::Task<> delay() {
        if (requestDelay.count() > 0)
            co_await sleepFor(requestDelay);
    }
    void advance() {
        if (micStatesAfterRequest.empty())
            return;
        micState = micStatesAfterRequest.front();
        micStatesAfterRequest.pop_front();
    }
};

} // namespace vesnara::test
