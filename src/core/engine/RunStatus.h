#pragma once

#include "engine/rules/RecordingRunState.h"

#include <QString>

namespace vesnara {

/// The run's own figures that a diagnostics report shows beside the meters.
struct RunFigures {
    qint64 rawWithoutPCMStreak = 0;
    bool hasAttemptedSystemFallback = false;
    bool hasAttemptedMixedMicrophoneRestart = false;
    bool hasAttemptedMicrophoneDeviceFallback = false;
};

/// What the view model's parts may read of the recording run, without reaching into the view
/// model: a part that must not act while a recording runs asks here.
class RunStatus {
public:
    virtual ~RunStatus() = default;
    virtual RecordingRunState runState() const = 0;
    /// The session on screen: the recording's, or the loaded one's; empty when none.
    virtual const QString& sessionId() const = 0;
    virtual RunFigures runFigures() const = 0;
};

} // namespace vesnara
