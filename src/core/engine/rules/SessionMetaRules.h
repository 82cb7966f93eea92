#pragma once

#include "backend/SessionMetaResponse.h"
#include "model/AudioInputMode.h"
#include "model/Timestamp.h"

#include <QString>

#include <optional>

namespace vesnara {

// What the server's view of a running session means: whether it has ended, how it updates the
// figures of sent audio, and which live hint (and which repair of the audio sources) it calls
// for. The order of the hint rules is the priority of what the user is told.

/// Whether the server says the session has ended: `status` trimmed and lower-cased is "stopped"
/// or "stopping" (an absent status counts as empty), or `endedAt` is present.
bool isTerminalSessionMeta(const SessionMetaResponse& meta);

/// The figures of sent audio that the view model shows.
struct OutgoingAudioFigures {
    qint64 audioFramesSent = 0;
    double outgoingAudioLevel = 0.0;
    double outgoingAudioPeak = 0.0;

    friend bool operator==(const OutgoingAudioFigures&, const OutgoingAudioFigures&) = default;
};

/// The figures after a meta answer: the server's frame count where it is larger (the count
/// never goes down), the server's average level where present, and the peak raised to the
/// server's where that is higher.
OutgoingAudioFigures figuresAfterSessionMeta(const SessionMetaResponse& meta,
                                             OutgoingAudioFigures figures);

/// What the view model knows locally when a meta answer arrives.
struct LiveHintInputs {
    AudioInputMode mode = AudioInputMode::microphone;
    /// A recording is starting, running or resuming.
    bool isRecordingUnderWay = false;
    bool isPaused = false;
    bool allowSystemFallback = true;
    /// A stream client exists, so the stable microphone may take over.
    bool hasStreamClient = false;
    bool hasAttemptedMixedMicrophoneRestart = false;
    qint64 micFramesSeen = 0;
    qint64 systemFramesSeen = 0;
    qint64 systemRawSamplesSeen = 0;
    double micAudioPeak = 0.0;
    double systemAudioPeak = 0.0;
    /// Consecutive polls in which system audio samples arrived but no PCM came out.
    qint64 rawWithoutPCMStreak = 0;
};

/// The rule that decided, in the order they are tried.
enum class LiveHintRule {
    sessionEnded,            ///< terminal meta during a recording: a remote stop, nothing else
    paused,                  ///< paused: the pause hint
    mixedMicrophoneMissing,  ///< mixed, 60+ server frames, no microphone frame
    mixedSystemAudioMissing, ///< mixed, 60+ server frames, no system frame
    mixedMicrophoneQuiet,    ///< mixed, 60+ server frames, microphone peak below 0.02
    noSpeechDetected,        ///< no results, 60+ frames, average below 0.005
    noTextYet,               ///< no results, 90+ frames, average at least 0.005
    systemAudioWithoutPCM,   ///< system mode, raw samples but no PCM frame
    noSystemAudioFrames,     ///< system mode, server frames but no PCM frame
    sttError,                ///< the server's recogniser reported an error
    healthy,                 ///< none of these: the hint is cleared
};

/// A repair of the audio sources that a hint starts.
enum class LiveRepair { none, mixedMicrophoneRestart, systemAudioFallback };

/// What one meta answer does to the live hint.
struct LiveHintDecision {
    LiveHintRule rule = LiveHintRule::healthy;
    /// Try the stable microphone first; when it reports that it has taken over, nothing else of
    /// this decision is applied.
    bool tryStableMicrophoneFallbackFirst = false;
    /// The new hint; nothing leaves the hint as it is.
    std::optional<QString> hint;
    LiveRepair repair = LiveRepair::none;
    /// The trigger named to the repair (and to the stable microphone fallback).
    QString repairTrigger;
    /// The new count of polls with raw system samples and no PCM.
    qint64 rawWithoutPCMStreak = 0;

    friend bool operator==(const LiveHintDecision&, const LiveHintDecision&) = default;
};

/// The first rule that fits decides. Frames and average are the server's (absent means 0), so
/// a frame that did not arrive does not count; "no results" means neither a final nor an
/// interim result. The streak is cleared only by a pause and by a healthy answer.
LiveHintDecision liveHintDecision(const SessionMetaResponse& meta, const LiveHintInputs& inputs);

/// What the diagnostics line shows.
struct RealtimeDiagnostics {
    qint64 audioFramesSent = 0;
    qint64 micFramesSeen = 0;
    double micAudioPeak = 0.0;
    qint64 systemFramesSeen = 0;
    double systemAudioPeak = 0.0;
    std::optional<Timestamp> lastPartialReceivedAt;
    std::optional<Timestamp> lastFinalReceivedAt;
    std::optional<Timestamp> lastSessionMetaReceivedAt;
    qint64 mixedLagDropMicChunks = 0;
    qint64 mixedLagDropSystemChunks = 0;
};

/// "Audio <frames> • mic <frames>/<peak> • sys <frames>/<peak> • partial <age> • final <age> •
/// meta <age> • mixDrop m:<dropped> s:<dropped>", peaks with three decimals, each age the whole
/// seconds since then (truncated, at least 0) followed by "s", or "-" when there is none.
QString realtimeDiagnosticsLabel(const RealtimeDiagnostics& diagnostics, Timestamp now);

} // namespace vesnara
