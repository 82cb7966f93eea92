#pragma once

#include "platform/PermissionProbe.h"

#include <QCoroTask>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

namespace vesnara {

/// What the permission panel shows about system audio, decided from plain inputs.
struct SystemAudioPermissionSnapshot {
    /// One line for the user.
    QString summaryText;
    /// "probe=<true|false|->, CGPreflight=<true|false>, bundle=<identifier or ->, path=<path>,
    /// screenUsageDesc=<ok|missing>, audioUsageDesc=<ok|missing>".
    QString detailText;
    bool isGranted = false;
    bool canRequestPrompt = false;
    bool shouldOpenSystemSettings = false;

    /// The decision table: the probe's result wins over the preflight when there is one; both
    /// usage descriptions must be present; after a prompt in this run the user is sent to the
    /// settings rather than asked again.
    static SystemAudioPermissionSnapshot from(bool preflight, std::optional<bool> probeResult,
                                              const SystemAudioBundleInfo& bundle,
                                              bool hasRequestedPermissionThisRun);

    friend bool operator==(const SystemAudioPermissionSnapshot&,
                           const SystemAudioPermissionSnapshot&) = default;
};

/// How a request from the permission panel ends: the flags to set (`nullopt`: leave as it is)
/// and the status line.
struct SystemAudioPermissionRequestOutcome {
    std::optional<bool> shouldSuggestRelaunch;
    bool showPermissionHelp = false;
    QString statusText;

    friend bool operator==(const SystemAudioPermissionRequestOutcome&,
                           const SystemAudioPermissionRequestOutcome&) = default;
};

/// Decides the outcome of a panel request from the preflight before it (`grantedBefore`), the
/// request's own result and the snapshot taken after it. A grant made during this run asks for
/// a relaunch, since capture starts to work only in a new process on the platform that has such
/// a grant.
SystemAudioPermissionRequestOutcome
decideSystemAudioPermissionRequest(bool grantedBefore, bool requestResult,
                                   const SystemAudioPermissionSnapshot& snapshot);

/// The system audio permission of one process: the probe, the request flow that shows the
/// system's prompt at most once per run, and the snapshots. Lives as long as the capture object
/// that owns it; used on the main thread only.
class SystemAudioPermission {
public:
    /// `probeRetryDelay` is the wait between the probes after a prompt: a grant takes a moment to
    /// reach the listing of shareable sources.
    explicit SystemAudioPermission(
        std::shared_ptr<PermissionProbe> probe,
        std::chrono::milliseconds probeRetryDelay = std::chrono::milliseconds(350));

    /// True once the system's prompt has been shown in this run; never cleared.
    bool hasRequestedPermissionThisRun() const { return m_hasRequestedPermissionThisRun; }

    /// Lists the shareable sources; true when that works and lists at least one display. Logged.
    QCoro::Task<bool> permissionProbe();
    /// Probes; if that fails, shows the prompt (once per run) and probes up to three times.
    QCoro::Task<bool> requestPermission();
    /// The snapshot from the given preflight and probe results; a missing preflight is read now.
    SystemAudioPermissionSnapshot permissionSnapshot(std::optional<bool> preflightResult,
                                                     std::optional<bool> probeResult);
    /// The snapshot from a fresh preflight and an awaited probe.
    QCoro::Task<SystemAudioPermissionSnapshot> currentPermissionSnapshot();

private:
    std::shared_ptr<PermissionProbe> m_probe;
    std::chrono::milliseconds m_probeRetryDelay;
    bool m_hasRequestedPermissionThisRun = false;
};

} // namespace vesnara
