// What the backend says: stream events, final lines from the stream, the poll and the final
// fetch merged without duplicates, and the transcript poll.
#include "engine/TranscriptionViewModel.h"

#include "backend/StreamEvent.h"
#include "engine/rules/RecordingStatusText.h"
#include "engine/rules/RemoteSessionStop.h"
#include "engine/rules/TranscriptMerge.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr double kPinLinkDistance = 30.0;

} // namespace

void TranscriptionViewModel::handleStreamEvent(const StreamEvent& event) {
    const Timestamp now = Timestamp::now();
    if (const auto* partial = event.as<StreamEvent::Partial>()) {
        setInterimText(partial->text);
        setLastPartialReceivedAt(now);
        if (const auto status = statusTextAfterPartial(partial->text, m_isRecording, m_isPaused))
            setStatusText(*status);
        return;
    }
    if (const auto* line = event.as<StreamEvent::Final>()) {
        const FinalLine finalLine{line->text, line->timestamp, line->speakerLabel,
                                  DuplicateCheck::byKey};
        if (auto addition = segmentAddition(m_segments, m_knownSegmentKeys, finalLine)) {
            QList<TranscriptSegment> segments = m_segments;
            addSegment(segments, m_knownSegmentKeys, std::move(*addition));
            setSegments(std::move(segments));
            linkPinsToNearestSegments(kPinLinkDistance);
        }
        setInterimText({});
        setLastFinalReceivedAt(now);
        if (m_isRecording && !m_isPaused)
            setListeningStatus(m_inputMode);
        return;
    }
    if (const auto* status = event.as<StreamEvent::Status>()) {
        if (status->model && !status->model->isEmpty())
            setSttModel(*status->model);
        const StreamStatusOutcome outcome = streamStatusOutcome(
            status->state,
            {m_isPaused, m_isStartingRecording || m_isRecording || m_isResumingRecording});
        switch (outcome.action) {
        case StreamStatusOutcome::Action::showText:
            setStatusText(outcome.text);
            break;
        case StreamStatusOutcome::Action::showListeningStatus:
            setListeningStatus(m_inputMode);
            break;
        case StreamStatusOutcome::Action::endRecording:
            handleRemoteSessionStopped(std::nullopt, RemoteStopReason::streamStatusStopped);
            break;
        }
        return;
    }
    if (const auto* error = event.as<StreamEvent::Error>()) {
        setStatusText(error->message);
        if (streamErrorEndsRecording(error->message))
            handleRemoteSessionStopped(std::nullopt, RemoteStopReason::streamError);
    }
}

void TranscriptionViewModel::appendFinalSegment(const QString& text, Timestamp timestamp,
                                                const std::optional<QString>& speakerLabel,
                                                bool allowTextOnlyDuplicateCheck) {
    const FinalLine line{text, timestamp, speakerLabel,
                         allowTextOnlyDuplicateCheck ? DuplicateCheck::byKeyOrText
                                                     : DuplicateCheck::byKey};
    auto addition = segmentAddition(m_segments, m_knownSegmentKeys, line);
    if (!addition)
        return;
    QList<TranscriptSegment> segments = m_segments;
    addSegment(segments, m_knownSegmentKeys, std::move(*addition));
    setSegments(std::move(segments));
    linkPinsToNearestSegments(kPinLinkDistance);
}

void TranscriptionViewModel::mergePolledSegments(
    const QList<ServerTranscriptResponse::Segment>& segments) {
    const Timestamp receivedAt = Timestamp::now();
    for (const auto& segment : segments) {
        const FinalLine line = polledFinalLine(segment, receivedAt);
        appendFinalSegment(line.text, line.timestamp, line.speakerLabel,
                           line.duplicateCheck == DuplicateCheck::byKeyOrText);
    }
}

void TranscriptionViewModel::startTranscriptPolling(QString sessionId, STTConfiguration config,
                                                    STTAPIClient apiClient) {
    const CancellationToken token = m_transcriptPollTask.renew();
    m_transcriptPollTask.hold(
        transcriptPollLoop(std::move(sessionId), std::move(config), std::move(apiClient), token));
}

QCoro::Task<> TranscriptionViewModel::transcriptPollLoop(QString sessionId, STTConfiguration config,
                                                         STTAPIClient apiClient,
                                                         CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const auto interval = m_timing.transcriptPollInterval;
    while (self && !token.isCancelled()) {
        std::optional<ServerTranscriptResponse> transcript;
        try {
            transcript = co_await apiClient.getTranscript(config, sessionId, token);
        } catch (...) {
            // A failed poll is silent; the next one follows at the usual pace.
        }
        if (!self || token.isCancelled())
            co_return;
        if (transcript)
            mergePolledSegments(transcript->segments);
        const bool slept = co_await sleepFor(interval, token);
        if (!slept)
            co_return;
    }
}

} // namespace vesnara
