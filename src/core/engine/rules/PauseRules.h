#pragma once

#include "backend/SessionMetaResponse.h"
#include "model/Timestamp.h"

#include <QString>

#include <optional>

namespace vesnara {

// How a pause is counted and shown, and what the check before a resume concludes.

/// The pause time as shown: whole seconds (rounded down, never negative) as "mm:ss" below an
/// hour and "h:mm:ss" from an hour on.
QString pauseDurationLabel(double seconds);

/// The paused time of a recording: the finished pauses plus the running one since
/// `pauseStartedAt` (none when no pause runs), never negative.
double pauseElapsedSeconds(double accumulatedPausedDuration,
                           std::optional<Timestamp> pauseStartedAt, Timestamp now);

/// What the check before a resume concludes from the session's meta (none when the call failed
/// or there is no session) and the stream's state.
enum class ResumeCheckOutcome {
    resume,           ///< the recording goes on
    sessionEnded,     ///< the server ended the session: a remote stop with the meta
    streamNotRunning, ///< the stream is down: a remote stop without meta
};

/// A meta that says the session ended comes first; a failed meta call counts as no
/// information, and the stream's state alone decides.
ResumeCheckOutcome resumeCheckOutcome(const std::optional<SessionMetaResponse>& meta,
                                      bool isStreamActive);

} // namespace vesnara
