// The stop of a recording: the sources stop at once, then the stream is flushed, the server's
// transcript merged, the session stopped on the server and saved here.
#include "engine/TranscriptionViewModel.h"

#include "backend/WebSocketStreamClient.h"
#include "engine/rules/EmptyResultDiagnosis.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr double kPinLinkDistance = 30.0;

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
    if (!m_isRecording && !m_isStartingRecording && !m_isResumingRecording)
        return;
    setIsRecording(false);
    setIsStartingRecording(false);
    setIsResumingRecording(false);
    setIsPaused(false);
    m_startRecordingTimeoutTask.cancelAndClear();
    m_resumeRecordingTimeoutTask.cancelAndClear();
    m_startAttemptID = QUuid::createUuid();
    m_resumeAttemptID = QUuid::createUuid();
    stopPauseTracking();
    setStatusText(UiText::statusStopping);
    m_audioKeepAliveTask.cancelAndClear();
    deactivateLiveCapture();
    AppLog::write(u"stopRecording session=%1"_s.arg(m_sessionId));

    const Timestamp now = Timestamp::now();
    finishStop(m_webSocketClient, m_sessionId, m_recordingStartedAt.value_or(now), now, m_segments,
               m_language, m_sttModel, m_config, m_apiClient);
}

QCoro::Task<> TranscriptionViewModel::finishStop(QPointer<WebSocketStreamClient> wsClient,
                                                 QString sessionId, Timestamp startedAt,
                                                 Timestamp endedAt,
                                                 QList<TranscriptSegment> segmentsAtStop,
                                                 QString language, QString sttModel,
                                                 STTConfiguration config, STTAPIClient apiClient) {
    const QPointer<TranscriptionViewModel> self(this);
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
            mergePolledSegments(transcript->segments);
    }

    m_transcriptPollTask.cancelAndClear();
    m_sessionMetaPollTask.cancelAndClear();
    m_audioKeepAliveTask.cancelAndClear();
    m_microphoneLivenessTask.cancelAndClear();

    if (!sessionId.isEmpty()) {
        co_await apiClient.stopSession(config, sessionId);
        if (!self)
            co_return;
    }

    const QList<TranscriptSegment> segments = m_segments.isEmpty() ? segmentsAtStop : m_segments;
    linkPinsToNearestSegments(kPinLinkDistance);
    const QList<TranscriptPin> pins = m_pins;
    const SentAudioFigures figures{m_audioFramesSent, m_outgoingAudioLevel, m_outgoingAudioPeak};
    const AudioInputMode mode = m_inputMode;

    if (!sessionId.isEmpty() && (!segments.isEmpty() || !pins.isEmpty())) {
        const SavedSession session{sessionId, startedAt, endedAt, language,
                                   sttModel,  segments,  pins};
        try {
            m_historyStore.save(session);
        } catch (...) {
            // A failed save is not shown; the transcript stays on screen for a manual export.
        }
        refreshSessionHistory();
    }
    autoExportAfterStopIfEnabled();
    resetRunFigures();

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
}

void TranscriptionViewModel::resetRunFigures() {
    setDiagnosticHint({});
    setAudioFramesSent(0);
    setOutgoingAudioLevel(0.0);
    setOutgoingAudioPeak(0.0);
    m_lastLocalAudioAt.reset();
    m_mixerQueues = MixerQueues{};
    m_micFramesSeen = 0;
    m_systemFramesSeen = 0;
    m_micAudioLevel = 0.0;
    m_micAudioPeak = 0.0;
    m_systemAudioLevel = 0.0;
    m_systemAudioPeak = 0.0;
    m_systemRawSamplesSeen = 0;
    m_rawWithoutPCMStreak = 0;
    m_hasAttemptedSystemFallback = false;
    m_hasAttemptedMixedMicrophoneRestart = false;
    m_hasAttemptedMicrophoneDeviceFallback = false;
    m_hasAutoExportedFallbackDiagnostics = false;
    setFallbackNoticeVisible(false);
    setIsPaused(false);
    Q_EMIT realtimeDiagnosticsChanged();
}

std::optional<QUuid> TranscriptionViewModel::nearestSegmentId(Timestamp date,
                                                              double maxDistance) const {
    if (m_segments.isEmpty())
        return std::nullopt;
    const TranscriptSegment* best = &m_segments.first();
    double bestDistance = std::abs(date.secondsSince(best->timestamp));
    for (const auto& segment : m_segments) {
        const double distance = std::abs(date.secondsSince(segment.timestamp));
        if (distance < bestDistance) {
            best = &segment;
            bestDistance = distance;
        }
    }
    if (bestDistance <= maxDistance)
        return best->id;
    return std::nullopt;
}

void TranscriptionViewModel::linkPinsToNearestSegments(double maxDistance) {
    if (m_pins.isEmpty() || m_segments.isEmpty())
        return;
    QList<TranscriptPin> linked = m_pins;
    for (auto& pin : linked) {
        if (const auto id = nearestSegmentId(pin.timestamp, maxDistance))
            pin.linkedSegmentId = *id;
    }
    setPins(std::move(linked));
}

void TranscriptionViewModel::autoExportAfterStopIfEnabled() {
    // The automatic export after a stop comes with the transcript exports.
}

void TranscriptionViewModel::autoExportFallbackDiagnostics(const QString& trigger,
                                                           const SessionMetaResponse& sessionMeta) {
    // The automatic diagnostics file after a fallback comes with the diagnostics package.
    Q_UNUSED(trigger);
    Q_UNUSED(sessionMeta);
}

} // namespace vesnara
