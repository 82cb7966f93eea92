// What the backend says: stream events, final lines from the stream, the poll and the final
// fetch merged without duplicates, and the transcript poll.
#include "engine/TranscriptionViewModel.h"

#include "backend/StreamEvent.h"
#include "engine/rules/RecordingStatusText.h"
#include "engine/rules/RemoteSessionStop.h"
#include "engine/rules/TranscriptMerge.h"

using namespace Qt::StringLiterals;

namespace vesnara {

void TranscriptionViewModel::handleStreamEvent(const std::shared_ptr<RecordingRun>& run,
                                               const StreamEvent& event) {
    // A stream keeps delivering what was on its way when it was closed: a run that has left the
    // screen, or ended without finishing, keeps only its final lines.
    if (run != m_run || m_runState == RecordingRunState::idle) {
        if (const auto* line = event.as<StreamEvent::Final>())
            addFinalLine(run,
                         {line->text, line->timestamp, line->speakerLabel, DuplicateCheck::byKey});
        return;
    }
    const Timestamp now = Timestamp::now();
    if (const auto* partial = event.as<StreamEvent::Partial>()) {
        m_transcript.setInterimText(partial->text);
        m_meters.setLastPartialReceivedAt(now);
        if (const auto status = statusTextAfterPartial(partial->text, isRecording(), isPaused()))
            setStatusText(*status);
        return;
    }
    if (const auto* line = event.as<StreamEvent::Final>()) {
        addFinalLine(run, {line->text, line->timestamp, line->speakerLabel, DuplicateCheck::byKey});
        m_transcript.setInterimText({});
        m_meters.setLastFinalReceivedAt(now);
        if (isRecording() && !isPaused())
            setListeningStatus(m_sources.inputMode());
        return;
    }
    if (const auto* status = event.as<StreamEvent::Status>()) {
        if (status->model && !status->model->isEmpty())
            m_settings.setSttModel(*status->model);
        const StreamStatusOutcome outcome = streamStatusOutcome(
            status->state,
            {isPaused(), isStartingRecording() || isRecording() || isResumingRecording()});
        switch (outcome.action) {
        case StreamStatusOutcome::Action::showText:
            setStatusText(outcome.text);
            break;
        case StreamStatusOutcome::Action::showListeningStatus:
            setListeningStatus(m_sources.inputMode());
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

void TranscriptionViewModel::addFinalLine(const std::shared_ptr<RecordingRun>& run,
                                          const FinalLine& line) {
    if (run && run->isDetached()) {
        run->detached->lines.add(line);
        return;
    }
    // A run that ended without finishing (a failed start, a remote stop) has left the screen to
    // whatever came next.
    if (run == m_run)
        m_transcript.addFinalLine(line);
}

void TranscriptionViewModel::mergePolledSegments(
    const std::shared_ptr<RecordingRun>& run,
    const QList<ServerTranscriptResponse::Segment>& segments) {
    const Timestamp receivedAt = Timestamp::now();
    QList<FinalLine> lines;
    lines.reserve(segments.size());
    for (const auto& segment : segments)
        lines << polledFinalLine(segment, receivedAt);
    if (run && run->isDetached()) {
        for (const FinalLine& line : lines)
            run->detached->lines.add(line);
    } else if (run == m_run) {
        m_transcript.mergeLines(lines);
    }
}

void TranscriptionViewModel::startTranscriptPolling(std::shared_ptr<RecordingRun> run,
                                                    STTConfiguration config,
                                                    STTAPIClient apiClient) {
    const CancellationToken token = m_transcriptPollTask.renew();
    m_transcriptPollTask.hold(
        transcriptPollLoop(std::move(run), std::move(config), std::move(apiClient), token));
}

QCoro::Task<> TranscriptionViewModel::transcriptPollLoop(std::shared_ptr<RecordingRun> run,
                                                         STTConfiguration config,
                                                         STTAPIClient apiClient,
                                                         CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const auto interval = m_timing.transcriptPollInterval;
    const QString sessionId = run->sessionId;
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
            mergePolledSegments(run, transcript->segments);
        const bool slept = co_await sleepFor(interval, token);
        if (!slept)
            co_return;
    }
}

} // namespace vesnara
