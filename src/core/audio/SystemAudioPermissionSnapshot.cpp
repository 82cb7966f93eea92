#include "audio/SystemAudioPermissionSnapshot.h"

#include "async/CancellationToken.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QString boolText(bool value) {
    return value ? u"true"_s : u"false"_s;
}
QString usageText(bool present) {
    return present ? u"ok"_s : u"missing"_s;
}

} // namespace

SystemAudioPermissionSnapshot
SystemAudioPermissionSnapshot::from(bool preflight, std::optional<bool> probeResult,
                                    const SystemAudioBundleInfo& bundle,
                                    bool hasRequestedPermissionThisRun) {
    const bool effective = probeResult.value_or(preflight);
    const bool usage =
        bundle.hasScreenCaptureUsageDescription && bundle.hasAudioCaptureUsageDescription;

    SystemAudioPermissionSnapshot s;
    if (!usage)
        s.summaryText = UiText::systemAudioPermissionSummaryMissingUsage;
    else if (effective)
        s.summaryText = UiText::systemAudioPermissionSummaryGranted;
    else if (hasRequestedPermissionThisRun)
        s.summaryText = UiText::systemAudioPermissionSummaryMissingOrDenied;
    else
        s.summaryText = UiText::systemAudioPermissionSummaryNotYetGranted;
    s.isGranted = effective;
    s.canRequestPrompt = usage && !effective;
    s.shouldOpenSystemSettings = !effective;
    s.detailText =
        QStringList{
            u"probe="_s + (probeResult ? boolText(*probeResult) : u"-"_s),
            u"CGPreflight="_s + boolText(preflight),
            u"bundle="_s + (bundle.bundleIdentifier.isEmpty() ? u"-"_s : bundle.bundleIdentifier),
            u"path="_s + bundle.bundlePath,
            u"screenUsageDesc="_s + usageText(bundle.hasScreenCaptureUsageDescription),
            u"audioUsageDesc="_s + usageText(bundle.hasAudioCaptureUsageDescription),
        }
            .join(u", "_s);
    return s;
}

SystemAudioPermissionRequestOutcome
decideSystemAudioPermissionRequest(bool grantedBefore, bool requestResult,
                                   const SystemAudioPermissionSnapshot& snapshot) {
    if (!grantedBefore && snapshot.isGranted)
        return {true, true, UiText::systemAudioPermissionGrantedRelaunch};
    if (!requestResult && !snapshot.isGranted && snapshot.shouldOpenSystemSettings)
        return {std::nullopt, true, UiText::systemAudioPermissionMissing};
    if (!requestResult && !snapshot.isGranted)
        return {std::nullopt, true, UiText::systemAudioPermissionNotObtained};
    return {false, false, UiText::systemAudioPermissionInUse};
}

SystemAudioPermission::SystemAudioPermission(std::shared_ptr<PermissionProbe> probe,
                                             std::chrono::milliseconds probeRetryDelay)
    : m_probe(std::move(probe))
    , m_probeRetryDelay(probeRetryDelay) {}

QCoro::Task<bool> SystemAudioPermission::permissionProbe() {
    const auto probe = m_probe;
    const auto result = co_await probe->probeSystemAudio();
    if (!result.succeeded) {
        AppLog::write(u"systemAudio permissionProbe error "_s + result.errorDetails);
        co_return false;
    }
    const bool granted = result.displayCount > 0;
    AppLog::write(u"systemAudio permissionProbe displays="_s +
                  QString::number(result.displayCount) + u" apps="_s +
                  QString::number(result.applicationCount) + u" result="_s + boolText(granted));
    co_return granted;
}

QCoro::Task<bool> SystemAudioPermission::requestPermission() {
    const bool granted = co_await permissionProbe();
    if (granted) {
        AppLog::write(u"systemAudio requestPermission probe already granted"_s);
        co_return true;
    }
    if (m_hasRequestedPermissionThisRun) {
        const bool result = co_await permissionProbe();
        AppLog::write(u"systemAudio requestPermission skippedPrompt sameRun result="_s +
                      boolText(result));
        co_return result;
    }
    m_hasRequestedPermissionThisRun = true;
    const auto probe = m_probe;
    const bool prompted = co_await probe->requestSystemAudioAccess();
    AppLog::write(u"systemAudio requestPermission CGRequestScreenCaptureAccess="_s +
                  boolText(prompted));
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (attempt > 0 || !prompted)
            co_await sleepFor(m_probeRetryDelay);
        const bool granted = co_await permissionProbe();
        if (granted) {
            AppLog::write(u"systemAudio requestPermission grantedAfterRetry=true"_s);
            co_return true;
        }
    }
    AppLog::write(u"systemAudio requestPermission finalResult=false"_s);
    co_return false;
}

SystemAudioPermissionSnapshot
SystemAudioPermission::permissionSnapshot(std::optional<bool> preflightResult,
                                          std::optional<bool> probeResult) {
    const bool preflight = preflightResult ? *preflightResult : m_probe->systemAudioPreflight();
    return SystemAudioPermissionSnapshot::from(
        preflight, probeResult, m_probe->systemAudioBundleInfo(), m_hasRequestedPermissionThisRun);
}

QCoro::Task<SystemAudioPermissionSnapshot> SystemAudioPermission::currentPermissionSnapshot() {
    const bool preflight = m_probe->systemAudioPreflight();
    const bool probed = co_await permissionProbe();
    co_return permissionSnapshot(preflight, probed);
}

} // namespace vesnara
