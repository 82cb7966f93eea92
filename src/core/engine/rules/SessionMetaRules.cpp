#include "engine/rules/SessionMetaRules.h"

#include "text/UiText.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr qint64 kMixedCheckFrames = 60;
constexpr qint64 kNoSpeechFrames = 60;
constexpr qint64 kNoTextFrames = 90;
constexpr double kQuietMicrophonePeak = 0.02;
constexpr double kSpeechAverage = 0.005;
constexpr qint64 kRawWithoutPCMPollsBeforeFallback = 2;

const QString kTriggerMixedMicrophoneNoFrames = u"mixed-mic-no-frames"_s;
const QString kTriggerRawWithoutPCM = u"raw-without-pcm"_s;
const QString kTriggerSttAudioTimeout = u"stt-audio-timeout"_s;

LiveHintDecision decided(LiveHintRule rule, std::optional<QString> hint, qint64 streak) {
    LiveHintDecision decision;
    decision.rule = rule;
    decision.hint = std::move(hint);
    decision.rawWithoutPCMStreak = streak;
    return decision;
}

LiveHintDecision mixedMicrophoneMissing(const LiveHintInputs& inputs) {
    const bool restart = !inputs.hasAttemptedMixedMicrophoneRestart;
    LiveHintDecision decision = decided(LiveHintRule::mixedMicrophoneMissing,
                                        restart ? UiText::hintMixedMicrophoneMissingRestarting
                                                : UiText::hintMixedMicrophoneMissing,
                                        inputs.rawWithoutPCMStreak);
    decision.tryStableMicrophoneFallbackFirst = inputs.hasStreamClient;
    decision.repairTrigger = kTriggerMixedMicrophoneNoFrames;
    if (restart)
        decision.repair = LiveRepair::mixedMicrophoneRestart;
    return decision;
}

LiveHintDecision systemAudioWithoutPCM(const LiveHintInputs& inputs) {
    const qint64 streak = inputs.rawWithoutPCMStreak + 1;
    if (!inputs.allowSystemFallback)
        return decided(LiveHintRule::systemAudioWithoutPCM, UiText::hintSystemAudioNoPCM, streak);
    LiveHintDecision decision = decided(LiveHintRule::systemAudioWithoutPCM,
                                        UiText::hintSystemAudioNotConvertingToPCM, streak);
    // The first poll only warns: a source may still be settling.
    if (streak >= kRawWithoutPCMPollsBeforeFallback) {
        decision.repair = LiveRepair::systemAudioFallback;
        decision.repairTrigger = kTriggerRawWithoutPCM;
    }
    return decision;
}

LiveHintDecision sttError(const QString& message, const LiveHintInputs& inputs) {
    LiveHintDecision decision =
        decided(LiveHintRule::sttError, UiText::hintSttError(message), inputs.rawWithoutPCMStreak);
    if (inputs.allowSystemFallback && inputs.mode == AudioInputMode::systemAudio &&
        message.contains(u"audio timeout"_s, Qt::CaseInsensitive)) {
        decision.repair = LiveRepair::systemAudioFallback;
        decision.repairTrigger = kTriggerSttAudioTimeout;
    }
    return decision;
}

QString ageText(std::optional<Timestamp> since, Timestamp now) {
    if (!since)
        return u"-"_s;
    const double seconds = std::max(std::trunc(now.secondsSince(*since)), 0.0);
    return QString::number(static_cast<qint64>(seconds)) + u's';
}

} // namespace

bool isTerminalSessionMeta(const SessionMetaResponse& meta) {
    const QString status = meta.status.value_or(QString()).trimmed().toLower();
    return status == u"stopped"_s || status == u"stopping"_s || meta.endedAt.has_value();
}

OutgoingAudioFigures figuresAfterSessionMeta(const SessionMetaResponse& meta,
                                             OutgoingAudioFigures figures) {
    if (meta.audioFrameCount && *meta.audioFrameCount > figures.audioFramesSent)
        figures.audioFramesSent = *meta.audioFrameCount;
    if (meta.avgAudioLevel)
        figures.outgoingAudioLevel = *meta.avgAudioLevel;
    if (meta.peakAudioLevel)
        figures.outgoingAudioPeak = std::max(figures.outgoingAudioPeak, *meta.peakAudioLevel);
    return figures;
}

LiveHintDecision liveHintDecision(const SessionMetaResponse& meta, const LiveHintInputs& in) {
    const qint64 streak = in.rawWithoutPCMStreak;
    if (in.isRecordingUnderWay && isTerminalSessionMeta(meta))
        return decided(LiveHintRule::sessionEnded, std::nullopt, streak);
    if (in.isPaused)
        return decided(LiveHintRule::paused, UiText::hintRecordingPaused, 0);

    const qint64 frames = meta.audioFrameCount.value_or(0);
    const double average = meta.avgAudioLevel.value_or(0.0);
    const bool isMixed = in.mode == AudioInputMode::microphoneAndSystem;
    const bool isSystem = in.mode == AudioInputMode::systemAudio;
    const bool noResults = meta.finalCount.value_or(0) == 0 && meta.interimCount.value_or(0) == 0;
    const QString sttErrorMessage =
        meta.lastSttError ? meta.lastSttError->message.value_or(QString()) : QString();

    if (isMixed && frames >= kMixedCheckFrames) {
        if (in.micFramesSeen == 0)
            return mixedMicrophoneMissing(in);
        if (in.systemFramesSeen == 0)
            return decided(LiveHintRule::mixedSystemAudioMissing,
                           UiText::hintMixedSystemAudioMissing, streak);
        if (in.micAudioPeak < kQuietMicrophonePeak)
            return decided(LiveHintRule::mixedMicrophoneQuiet, UiText::hintMixedMicrophoneQuiet,
                           streak);
    }
    if (noResults && frames >= kNoSpeechFrames && average < kSpeechAverage)
        return decided(LiveHintRule::noSpeechDetected, UiText::hintNoSpeechDetected, streak);
    if (noResults && frames >= kNoTextFrames && average >= kSpeechAverage)
        return decided(LiveHintRule::noTextYet, UiText::hintAudioSentNoTextYet, streak);
    if (isSystem && in.systemRawSamplesSeen >= 1 && in.systemFramesSeen == 0)
        return systemAudioWithoutPCM(in);
    if (isSystem && in.systemFramesSeen == 0 && frames >= 1)
        return decided(LiveHintRule::noSystemAudioFrames, UiText::hintNoSystemAudioFrames, streak);
    if (!sttErrorMessage.isEmpty())
        return sttError(sttErrorMessage, in);
    return decided(LiveHintRule::healthy, QString(), 0);
}

QString realtimeDiagnosticsLabel(const RealtimeDiagnostics& d, Timestamp now) {
    const auto peak = [](double value) { return QString::number(value, 'f', 3); };
    return u"Audio "_s + QString::number(d.audioFramesSent) + u" • mic "_s +
           QString::number(d.micFramesSeen) + u'/' + peak(d.micAudioPeak) + u" • sys "_s +
           QString::number(d.systemFramesSeen) + u'/' + peak(d.systemAudioPeak) + u" • partial "_s +
           ageText(d.lastPartialReceivedAt, now) + u" • final "_s +
           ageText(d.lastFinalReceivedAt, now) + u" • meta "_s +
           ageText(d.lastSessionMetaReceivedAt, now) + u" • mixDrop m:"_s +
           QString::number(d.mixedLagDropMicChunks) + u" s:"_s +
           QString::number(d.mixedLagDropSystemChunks);
}

} // namespace vesnara
