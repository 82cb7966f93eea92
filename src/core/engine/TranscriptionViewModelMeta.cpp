// The live view of the session: the meta poll, the server's figures and the live hint, which
// may start a repair of the sources.
#include "engine/TranscriptionViewModel.h"

#include "backend/WebSocketStreamClient.h"
#include "engine/rules/RemoteSessionStop.h"
#include "engine/rules/SessionMetaRules.h"
#include "storage/AppLog.h"

using namespace Qt::StringLiterals;

namespace vesnara {

void TranscriptionViewModel::startSessionMetaPolling(QString sessionId, STTConfiguration config,
                                                     STTAPIClient apiClient) {
    const CancellationToken token = m_sessionMetaPollTask.renew();
    m_sessionMetaPollTask.hold(
        sessionMetaPollLoop(std::move(sessionId), std::move(config), std::move(apiClient), token));
}

QCoro::Task<> TranscriptionViewModel::sessionMetaPollLoop(QString sessionId,
                                                          STTConfiguration config,
                                                          STTAPIClient apiClient,
                                                          CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const auto interval = m_timing.sessionMetaPollInterval;
    while (self && !token.isCancelled()) {
        std::optional<SessionMetaResponse> meta;
        try {
            meta = co_await apiClient.getSessionMeta(config, sessionId, token);
        } catch (...) {
            // A failed poll changes nothing; only the age in the diagnostics line grows.
        }
        if (!self || token.isCancelled())
            co_return;
        if (meta)
            applySessionMeta(*meta);
        const bool slept = co_await sleepFor(interval, token);
        if (!slept)
            co_return;
    }
}

void TranscriptionViewModel::applySessionMeta(const SessionMetaResponse& meta) {
    m_meters.setLastSessionMetaReceivedAt(Timestamp::now());
    const OutgoingAudioFigures figures =
        figuresAfterSessionMeta(meta, {m_meters.audioFramesSent(), m_meters.outgoingAudioLevel(),
                                       m_meters.outgoingAudioPeak()});
    m_meters.setSentAudio(figures.audioFramesSent, figures.outgoingAudioLevel,
                          figures.outgoingAudioPeak);

    LiveHintInputs inputs;
    inputs.mode = m_sources.inputMode();
    inputs.isRecordingUnderWay = isStartingRecording() || isRecording() || isResumingRecording();
    inputs.isPaused = isPaused();
    inputs.allowSystemFallback = m_settings.allowSystemFallback();
    inputs.hasStreamClient = !m_webSocketClient.isNull();
    inputs.hasAttemptedMixedMicrophoneRestart = m_hasAttemptedMixedMicrophoneRestart;
    inputs.micFramesSeen = m_meters.microphone().frames;
    inputs.systemFramesSeen = m_meters.systemAudio().frames;
    inputs.systemRawSamplesSeen = m_meters.systemRawSamples();
    inputs.micAudioPeak = m_meters.microphone().peak;
    inputs.systemAudioPeak = m_meters.systemAudio().peak;
    inputs.rawWithoutPCMStreak = m_rawWithoutPCMStreak;
    const LiveHintDecision decision = liveHintDecision(meta, inputs);

    if (decision.rule == LiveHintRule::sessionEnded) {
        handleRemoteSessionStopped(meta, RemoteStopReason::metaStopped);
        return;
    }
    if (decision.tryStableMicrophoneFallbackFirst &&
        attemptStableMicrophoneFallback(decision.repairTrigger, m_sources.inputMode(),
                                        m_webSocketClient))
        return;

    const qint64 frames = meta.audioFrameCount.value_or(0);
    switch (decision.rule) {
    case LiveHintRule::mixedMicrophoneMissing:
        if (decision.repair == LiveRepair::mixedMicrophoneRestart) {
            AppLog::write(
                u"diag mixed mic missing frameCount=%1 systemFrames=%2 systemPeak=%3"_s.arg(frames)
                    .arg(m_meters.systemAudio().frames)
                    .arg(m_meters.systemAudio().peak));
        }
        break;
    case LiveHintRule::mixedSystemAudioMissing:
        AppLog::write(
            u"diag mixed system missing frameCount=%1 micFrames=%2 micPeak=%3"_s.arg(frames)
                .arg(m_meters.microphone().frames)
                .arg(m_meters.microphone().peak));
        break;
    case LiveHintRule::mixedMicrophoneQuiet:
        AppLog::write(u"diag mixed mic quiet frameCount=%1 micFrames=%2 micPeak=%3 systemPeak=%4"_s
                          .arg(frames)
                          .arg(m_meters.microphone().frames)
                          .arg(m_meters.microphone().peak)
                          .arg(m_meters.systemAudio().peak));
        break;
    case LiveHintRule::systemAudioWithoutPCM:
        AppLog::write(u"diag raw>0 pcm=0 raw=%1 pcm=%2"_s.arg(m_meters.systemRawSamples())
                          .arg(m_meters.systemAudio().frames));
        break;
    case LiveHintRule::noSystemAudioFrames:
        AppLog::write(u"diag no system frames frameCount=%1"_s.arg(frames));
        break;
    case LiveHintRule::sttError:
        if (meta.lastSttError && meta.lastSttError->message)
            AppLog::write(u"diag sttError=%1"_s.arg(*meta.lastSttError->message));
        break;
    default:
        break;
    }

    if (decision.hint)
        setDiagnosticHint(*decision.hint);
    m_rawWithoutPCMStreak = decision.rawWithoutPCMStreak;
    switch (decision.repair) {
    case LiveRepair::mixedMicrophoneRestart:
        attemptMixedMicrophoneRestart(decision.repairTrigger);
        break;
    case LiveRepair::systemAudioFallback:
        attemptSystemAudioFallback(decision.repairTrigger, meta);
        break;
    case LiveRepair::none:
        break;
    }
}

} // namespace vesnara
