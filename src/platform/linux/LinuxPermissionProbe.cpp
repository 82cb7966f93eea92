#include "LinuxPermissionProbe.h"

#include "PulseDeviceClassification.h"

#include <QCoreApplication>
#include <QSet>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

bool hasInput(const PulseSnapshot& snapshot) {
    return std::any_of(snapshot.sources.cbegin(), snapshot.sources.cend(),
                       [](const PulseSourceInfo& s) { return !isMonitorSource(s); });
}

} // namespace

LinuxPermissionProbe::LinuxPermissionProbe(std::chrono::milliseconds connectLimit)
    : m_context(PulseContext::acquire())
    , m_connectLimit(connectLimit) {}

MicrophonePermissionState LinuxPermissionProbe::microphoneState() {
    m_context->reconnectInBackground();
    const auto snapshot = m_context->snapshot();
    MicrophonePermissionState state;
    state.hasUsageDescription = true;
    state.bundleIdentifier = QCoreApplication::applicationName();
    if (!snapshot.isConnected) {
        state.recordPermissionText = u"denied"_s;
        state.captureAuthorization = CaptureAuthorization::denied;
    } else if (hasInput(snapshot)) {
        state.recordPermissionText = u"granted"_s;
        state.captureAuthorization = CaptureAuthorization::authorized;
    } else {
        // Reachable but without a microphone: nothing is refused, there is just nothing yet.
        state.recordPermissionText = u"undetermined"_s;
        state.captureAuthorization = CaptureAuthorization::notDetermined;
    }
    return state;
}

bool LinuxPermissionProbe::reconnectAndCheckMicrophone() {
    if (m_context->ensureConnected(m_connectLimit))
        return false;
    return hasInput(m_context->snapshot());
}

QCoro::Task<bool> LinuxPermissionProbe::requestRecordPermission() {
    co_return reconnectAndCheckMicrophone();
}

QCoro::Task<bool> LinuxPermissionProbe::requestCaptureAccess() {
    co_return reconnectAndCheckMicrophone();
}

bool LinuxPermissionProbe::systemAudioPreflight() {
    m_context->reconnectInBackground();
    const auto snapshot = m_context->snapshot();
    return snapshot.isConnected && !snapshot.sinks.isEmpty();
}

QCoro::Task<bool> LinuxPermissionProbe::requestSystemAudioAccess() {
    if (m_context->ensureConnected(m_connectLimit))
        co_return false;
    co_return !m_context->snapshot().sinks.isEmpty();
}

QCoro::Task<SystemAudioProbeResult> LinuxPermissionProbe::probeSystemAudio() {
    SystemAudioProbeResult result;
    if (const auto error = m_context->ensureConnected(m_connectLimit)) {
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
