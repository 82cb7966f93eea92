// Pause and resume, the running pause label, and the end of a recording that the server or
// the connection ended.
#include "engine/TranscriptionViewModel.h"

#include "backend/WebSocketStreamClient.h"
#include "engine/rules/EmptyResultDiagnosis.h"
#include "engine/rules/PauseRules.h"
#include "engine/rules/RemoteSessionStop.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

void TranscriptionViewModel::pauseRecording() {
    if (!isRecording() || isPaused() || isResumingRecording())
        return;
    m_resumeRecordingTimeoutTask.cancelAndClear();
    m_resumeAttemptID = QUuid::createUuid();
    setRunState(RecordingRunState::paused);
    setStatusText(UiText::statusPaused);
    startPauseTracking();
    setDiagnosticHint(UiText::hintRecordingPaused);
    AppLog::write(u"recording paused session=%1 capture=muted"_s.arg(m_sessionId));
}

void TranscriptionViewModel::resumeRecording() {
    if (!isRecording() || !isPaused() || isResumingRecording())
        return;
    if (!m_webSocketClient) {
        setStatusText(UiText::statusResumeFailedNoConnection);
        setRunState(RecordingRunState::idle);
        stopPauseTracking();
        return;
    }
    setStatusText(UiText::statusResuming);
    setRunState(RecordingRunState::resuming);
    m_resumeAttemptID = QUuid::createUuid();
    scheduleResumeRecordingTimeout(m_resumeAttemptID);
    runResumeAttempt(m_resumeAttemptID, m_sessionId, m_settings.config(), m_apiClient,
                     m_webSocketClient);
}

QCoro::Task<> TranscriptionViewModel::runResumeAttempt(QUuid attemptID, QString sessionId,
                                                       STTConfiguration config,
                                                       STTAPIClient apiClient,
                                                       QPointer<WebSocketStreamClient> wsClient) {
    const QPointer<TranscriptionViewModel> self(this);
    std::optional<SessionMetaResponse> meta;
    if (!sessionId.isEmpty()) {
        try {
            meta = co_await apiClient.getSessionMeta(config, sessionId);
        } catch (...) {
            // No answer counts as no information: the stream's state alone decides.
        }
    }
    if (!self || m_resumeAttemptID != attemptID || !isRecording() || !isPaused())
        co_return;

    switch (resumeCheckOutcome(meta, wsClient && wsClient->isActive())) {
    case ResumeCheckOutcome::sessionEnded:
        m_resumeRecordingTimeoutTask.cancelAndClear();
        handleRemoteSessionStopped(meta, RemoteStopReason::resumeMetaStopped);
        co_return;
    case ResumeCheckOutcome::streamNotRunning:
        m_resumeRecordingTimeoutTask.cancelAndClear();
        handleRemoteSessionStopped(std::nullopt, RemoteStopReason::resumeStreamInactive);
        co_return;
    case ResumeCheckOutcome::resume:
        break;
    }
    m_resumeRecordingTimeoutTask.cancelAndClear();
    m_resumeAttemptID = QUuid::createUuid();
    setRunState(RecordingRunState::recording);
    stopPauseTracking();
    setDiagnosticHint({});
    setListeningStatus(m_sources.inputMode());
    AppLog::write(u"recording resumed session=%1 mode=%2 capture=unmuted"_s.arg(
        m_sessionId, rawValue(m_sources.inputMode())));
}

void TranscriptionViewModel::scheduleResumeRecordingTimeout(QUuid attemptID) {
    const CancellationToken token = m_resumeRecordingTimeoutTask.renew();
    m_resumeRecordingTimeoutTask.hold(resumeRecordingTimeout(attemptID, token));
}

QCoro::Task<> TranscriptionViewModel::resumeRecordingTimeout(QUuid attemptID,
                                                             CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const bool slept = co_await sleepFor(m_timing.resumeRecordingLimit, token);
    if (!slept || token.isCancelled() || !self)
        co_return;
    if (m_resumeAttemptID != attemptID || !isRecording() || !isPaused())
        co_return;
    m_resumeAttemptID = QUuid::createUuid();
    setRunState(RecordingRunState::paused);
    setStatusText(UiText::statusResumeTimedOut);
    setDiagnosticHint(UiText::hintResumeTimedOut);
    AppLog::write(u"resumeRecording timeout session=%1 mode=%2"_s.arg(
        m_sessionId, rawValue(m_sources.inputMode())));
}

// Pause tracking

void TranscriptionViewModel::startPauseTracking() {
    if (!isPaused())
        return;
    m_pauseStartedAt = Timestamp::now();
    updatePauseElapsedLabel();
    const CancellationToken token = m_pauseTickerTask.renew();
    m_pauseTickerTask.hold(pauseTickerLoop(token));
}

QCoro::Task<> TranscriptionViewModel::pauseTickerLoop(CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const auto interval = m_timing.pauseTickerInterval;
    while (!token.isCancelled()) {
        const bool slept = co_await sleepFor(interval, token);
        if (!slept || !self)
            co_return;
        if (isPaused())
            updatePauseElapsedLabel();
    }
}

void TranscriptionViewModel::updatePauseElapsedLabel() {
    if (!isPaused()) {
        setPauseElapsedLabel({});
        return;
    }
    setPauseElapsedLabel(pauseDurationLabel(
        pauseElapsedSeconds(m_accumulatedPausedDuration, m_pauseStartedAt, Timestamp::now())));
}

void TranscriptionViewModel::stopPauseTracking() {
    if (m_pauseStartedAt)
        m_accumulatedPausedDuration += Timestamp::now().secondsSince(*m_pauseStartedAt);
    m_pauseStartedAt.reset();
    m_pauseTickerTask.cancelAndClear();
    setPauseElapsedLabel({});
}

void TranscriptionViewModel::resetPauseTracking() {
    m_accumulatedPausedDuration = 0.0;
    m_pauseStartedAt.reset();
    m_pauseTickerTask.cancelAndClear();
    setPauseElapsedLabel({});
}

// Remote stop

void TranscriptionViewModel::handleRemoteSessionStopped(
    std::optional<SessionMetaResponse> sessionMeta, const QString& reason) {
    if (!isLive(m_runState))
        return;
    const QString status = sessionMeta && sessionMeta->status ? *sessionMeta->status : u"unknown"_s;
    AppLog::write(u"remote session stopped reason=%1 session=%2 status=%3"_s.arg(
        reason, m_sessionId, status));
    const QString sessionId = m_sessionId;
    const STTConfiguration config = m_settings.config();

    endRun(RunEnd::stoppedRemotely);
    setStatusText(remoteStopStatusText(reason));
    setDiagnosticHint(UiText::hintSessionClosedByServer);
    if (!sessionId.isEmpty())
        fetchTranscriptAfterRemoteStop(m_run, sessionId, config, m_apiClient,
                                       std::move(sessionMeta));
}

QCoro::Task<> TranscriptionViewModel::fetchTranscriptAfterRemoteStop(
    std::shared_ptr<RecordingRun> run, QString sessionId, STTConfiguration config,
    STTAPIClient apiClient, std::optional<SessionMetaResponse> sessionMeta) {
    const QPointer<TranscriptionViewModel> self(this);
    std::optional<ServerTranscriptResponse> transcript;
    try {
        transcript = co_await apiClient.getTranscript(config, sessionId);
    } catch (...) {
        co_return;
    }
    if (!self)
        co_return;
    // The server holds the ended session's lines: the next start recovers them from there. A
    // failed fetch keeps the checkpoint, the only other copy.
    m_support.discardRecordingCheckpoint(sessionId);
    if (run != m_run)
        co_return;
    mergePolledSegments(run, transcript->segments);
    if (!sessionMeta)
        co_return;
    if (const auto hint = emptyResultHintAfterRemoteStop(m_transcript.segmentCount(), *sessionMeta,
                                                         m_sources.inputMode()))
        setDiagnosticHint(*hint);
}

} // namespace vesnara
