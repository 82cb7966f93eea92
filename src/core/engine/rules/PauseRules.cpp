#include "engine/rules/PauseRules.h"

#include "engine/rules/SessionMetaRules.h"

#include <algorithm>
#include <cmath>

namespace vesnara {

QString pauseDurationLabel(double seconds) {
    // Written so that a NaN counts as 0 as well.
    const auto whole = static_cast<qint64>(seconds > 0.0 ? std::floor(seconds) : 0.0);
    const qint64 hours = whole / 3600;
    const qint64 minutes = whole % 3600 / 60;
    const qint64 secs = whole % 60;
    if (whole < 3600)
        return QString::asprintf("%02lld:%02lld", minutes, secs);
    return QString::asprintf("%lld:%02lld:%02lld", hours, minutes, secs);
}

double pauseElapsedSeconds(double accumulatedPausedDuration,
                           std::optional<Timestamp> pauseStartedAt, Timestamp now) {
    const double running = pauseStartedAt ? now.secondsSince(*pauseStartedAt) : 0.0;
    return std::max(accumulatedPausedDuration + running, 0.0);
}

ResumeCheckOutcome resumeCheckOutcome(const std::optional<SessionMetaResponse>& meta,
                                      bool isStreamActive) {
    if (meta && isTerminalSessionMeta(*meta))
        return ResumeCheckOutcome::sessionEnded;
    return isStreamActive ? ResumeCheckOutcome::resume : ResumeCheckOutcome::streamNotRunning;
}

} // namespace vesnara
