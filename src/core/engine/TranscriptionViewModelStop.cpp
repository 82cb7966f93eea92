// The stop of a recording: the sources stop at once, then the stream is flushed, the server's
// transcript merged, the session stopped on the server and saved here.
#include "engine/TranscriptionViewModel.h"

#include "backend/WebSocketStreamClient.h"
#include "engine/rules/EmptyResultDiagnosis.h"
#include "engine/rules/PinLinks.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

/// A level as a plain decimal number for the log: no exponent, no trailing zeros.
QString plainDecimal(double value) {
    QString text = QString::number(value, 'f', 6);
    while (text.endsWith(u'0'))
        text.chop(1);
    if (text.endsWith(u'.'))
        text.chop(1);
    return text;
}

} // namespace

void TranscriptionViewModel::stopRecording() {
    if (!isLive(m_runState))
        return;
    setStatusText(UiText::statusStopping);
    endRun(RunEnd::stoppedByUser);
    AppLog::write(u"stopRecording session=%1"_s.arg(m_sessionId));

    finishStop(m_run, m_webSocketClient, Timestamp::now(), m_transcript.segments(),
               m_settings.language(), m_settings.sttModel(), m_settings.config(), m_apiClient);
}

void TranscriptionViewModel::endRun(RunEnd end) {
    m_startAttemptID = QUuid::createUuid();
    m_resumeAttemptID = QUuid::createUuid();
    m_startRecordingTimeoutTask.cancelAndClear();
    m_resumeRecordingTimeoutTask.cancelAndClear();
    setRunState(end == RunEnd::stoppedByUser ? RecordingRunState::finishing
                                             : RecordingRunState::idle);
    stopPauseTracking();
    // Nothing of the run may act on the sources once it has ended: a meta poll answered during
    // the stop's flush would otherwise reopen the microphone.
    m_audioKeepAliveTask.cancelAndClear();
    m_sessionMetaPollTask.cancelAndClear();
    m_transcriptPollTask.cancelAndClear();
    deactivateLiveCapture();
    if (end != RunEnd::stoppedByUser)
        releaseStreamClient();
}

QCoro::Task<> TranscriptionViewModel::finishStop(std::shared_ptr<RecordingRun> run,
                                                 QPointer<WebSocketStreamClient> wsClient,
                                                 Timestamp endedAt,
                                                 QList<TranscriptSegment> segmentsAtStop,
                                                 QString language, QString sttModel,
                                                 STTConfiguration config, STTAPIClient apiClient) {
    const QPointer<TranscriptionViewModel> self(this);
    const QString sessionId = run->sessionId;
    if (wsClient && wsClient->isActive())
        wsClient->sendStop();

    // The client stays open during the wait, so the server's last lines still arrive.
    co_await sleepFor(m_timing.stopFlushWait);
    if (!self)
        co_return;
    if (m_webSocketClient == wsClient)
        m_webSocketClient = nullptr;
    disposeStreamClient(wsClient);

    if (!sessionId.isEmpty()) {
        std::optional<ServerTranscriptResponse> transcript;
        try {
            transcript = co_await apiClient.getTranscript(config, sessionId);
        } catch (...) {
            // The final fetch is best effort; the lines already on screen are saved anyway.
        }
        if (!self)
            co_return;
        if (transcript)
            mergePolledSegments(run, transcript->segments);
    }

    // Saved before the server is told: a stop request that never answers must not cost the
    // lines on this machine.
    const bool isOnScreen = !run->isDetached();
    QList<TranscriptSegment> segments;
    QList<TranscriptPin> pins;
    if (isOnScreen) {
        m_transcript.linkPins();
        segments = m_transcript.segments().isEmpty() ? segmentsAtStop : m_transcript.segments();
        pins = m_transcript.pins();
    } else {
        segments = run->detached->lines.segments();
        pins = run->detached->pins;
        linkPinsToNearestSegments(pins, segments);
    }
    std::optional<QString> saveNotice;
    if (!sessionId.isEmpty() && (!segments.isEmpty() || !pins.isEmpty()))
        saveNotice = m_history.saveFinishedSession(
            {sessionId, run->startedAt, endedAt, language, sttModel, segments, pins});
    // The checkpoint goes only once the saved file holds what it held.
    if (!sessionId.isEmpty() && saveNotice != UiText::hintSessionSaveFailed)
        m_support.discardRecordingCheckpoint(sessionId);

    if (!sessionId.isEmpty()) {
        co_await apiClient.stopSession(config, sessionId);
        if (!self)
            co_return;
    }
    // A newer recording has the screen: its figures, status and hint are not this run's.
    if (run != m_run || m_runState != RecordingRunState::finishing)
        co_return;

    const SentAudioFigures figures{m_meters.audioFramesSent(), m_meters.outgoingAudioLevel(),
                                   m_meters.outgoingAudioPeak()};
    const AudioInputMode mode = m_sources.inputMode();
    m_transcript.autoExportAfterStopIfEnabled();
    resetRunFigures();
    setRunState(RecordingRunState::idle);

    if (const auto hint = emptyResultHintAfterStop(segments.size(), figures, mode)) {
        setDiagnosticHint(*hint);
        AppLog::write(u"stopRecording completed without transcript session=%1 audioFrames=%2 "
                      u"avg=%3 peak=%4 mode=%5"_s.arg(sessionId)
                          .arg(figures.audioFrames)
                          .arg(plainDecimal(figures.averageLevel), plainDecimal(figures.peakLevel),
                               rawValue(mode)));
        setStatusText(UiText::statusStoppedWithoutTranscript);
    } else {
        setStatusText(UiText::statusStopped);
    }
    if (saveNotice)
        setDiagnosticHint(*saveNotice);
}

void TranscriptionViewModel::resetRunFigures() {
    setDiagnosticHint({});
    m_meters.reset();
    m_lastLocalAudioAt.reset();
    m_mixerQueues = MixerQueues{};
    m_rawWithoutPCMStreak = 0;
    m_hasAttemptedSystemFallback = false;
    m_hasAttemptedMixedMicrophoneRestart = false;
    m_hasAttemptedMicrophoneDeviceFallback = false;
    m_support.resetAutomaticDiagnostics();
    setFallbackNoticeVisible(false);
}

} // namespace vesnara
