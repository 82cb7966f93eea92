#include "LinuxPermissionProbe.h"

#include "PulseDeviceClassification.h"

#include "async/CancellationToken.h"

#include <QCoreApplication>
#include <QSet>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr std::chrono::milliseconds kConnectPollInterval{10};

bool hasInput(const PulseSnapshot& snapshot) {
    return std::any_of(snapshot.sources.cbegin(), snapshot.sources.cend(),
                       [](const PulseSourceInfo& s) { return !isMonitorSource(s); });
}

} // namespace

LinuxPermissionProbe::LinuxPermissionProbe(std::chrono::milliseconds connectLimit)
    : m_context(PulseContext::acquire())
    , m_connectLimit(connectLimit) {}

MicrophonePermissionState LinuxPermissionProbe::microphoneState() {
    static_cast<void>(m_context->ensureConnected());
    const auto snapshot = m_context->snapshot();
    MicrophonePermissionState state;
    state.hasUsageDescription = true;
    state.bundleIdentifier = QCoreApplication::applicationName();
    if (!snapshot.isConnected && snapshot.connectionFailed) {
        state.recordPermissionText = u"denied"_s;
        state.captureAuthorization = CaptureAuthorization::denied;
    } else if (hasInput(snapshot)) {
        state.recordPermissionText = u"granted"_s;
        state.captureAuthorization = CaptureAuthorization::authorized;
    } else {
        // Still making the first connection, or reachable without a microphone: nothing is
        // refused, there is just nothing yet.
        state.recordPermissionText = u"undetermined"_s;
        state.captureAuthorization = CaptureAuthorization::notDetermined;
    }
    return state;
}

QCoro::Task<std::optional<AudioBackendError>> LinuxPermissionProbe::connect() {
    // Connecting may wait up to the limit for a server that does not answer; that wait happens
    // on a thread of its own so the interface stays responsive. The thread holds the context and
    // the outcome, so either side may finish first.
    struct Outcome {
        std::atomic<bool> done = false;
        std::optional<AudioBackendError> error;
    };
    const auto outcome = std::make_shared<Outcome>();
    std::thread([context = m_context, limit = m_connectLimit, outcome] {
        outcome->error = context->waitUntilConnected(limit);
        outcome->done.store(true, std::memory_order_release);
    }).detach();
    while (!outcome->done.load(std::memory_order_acquire))
        co_await sleepFor(kConnectPollInterval);
    co_return outcome->error;
}

QCoro::Task<bool> LinuxPermissionProbe::reconnectAndCheckMicrophone() {
    const auto error = co_await connect();
    if (error)
        co_return false;
    co_return hasInput(m_context->snapshot());
}

QCoro::Task<bool> LinuxPermissionProbe::requestRecordPermission() {
    return reconnectAndCheckMicrophone();
}

QCoro::Task<bool> LinuxPermissionProbe::requestCaptureAccess() {
    return reconnectAndCheckMicrophone();
}

bool LinuxPermissionProbe::systemAudioPreflight() {
    static_cast<void>(m_context->ensureConnected());
    const auto snapshot = m_context->snapshot();
    return snapshot.isConnected && !snapshot.sinks.isEmpty();
}

QCoro::Task<bool> LinuxPermissionProbe::requestSystemAudioAccess() {
    const auto error = co_await connect();
    if (error)
        co_return false;
    co_return !m_context->snapshot().sinks.isEmpty();
}

QCoro::Task<SystemAudioProbeResult> LinuxPermissionProbe::probeSystemAudio() {
    SystemAudioProbeResult result;
    const auto error = co_await connect();
    if (error) {
        result.errorDetails = error->details();
        co_return result;
    }
    const auto snapshot = m_context->snapshot();
    QSet<QString> applications;
    for (const auto& input : snapshot.sinkInputs)
        if (const auto key = applicationKey(input); !key.isEmpty())
            applications.insert(key);
    result.succeeded = true;
    result.displayCount = static_cast<int>(snapshot.sinks.size());
    result.applicationCount = static_cast<int>(applications.size());
    co_return result;
}

SystemAudioBundleInfo LinuxPermissionProbe::systemAudioBundleInfo() {
    return {QCoreApplication::applicationName(), QCoreApplication::applicationFilePath(), true,
            true};
}

} // namespace vesnara
