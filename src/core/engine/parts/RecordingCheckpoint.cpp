#include "engine/parts/RecordingCheckpoint.h"

#include "engine/RunStatus.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionHistory.h"
#include "engine/parts/SessionTranscript.h"
#include "storage/AppLog.h"

using namespace Qt::StringLiterals;

namespace vesnara {

RecordingCheckpoint::RecordingCheckpoint(const PartContext& context,
                                         const SessionTranscript& transcript, QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_transcript(transcript)
    , m_store(context.history.store().directory()) {
    m_timer.setInterval(context.timing.recordingCheckpointInterval);
    connect(&m_timer, &QTimer::timeout, this, &RecordingCheckpoint::writeNow);
}

void RecordingCheckpoint::handleRunStateChanged() {
    if (!isLive(m_context.run.runState())) {
        m_timer.stop();
        return;
    }
    if (m_timer.isActive())
        return;
    m_sessionId.clear();
    m_startedAt = m_context.clock();
    m_writtenSegments.clear();
    m_writtenPins.clear();
    m_timer.start();
}

void RecordingCheckpoint::writeNow() {
    const RecordingRunFlags flags = flagsOf(m_context.run.runState());
    const QString& sessionId = m_context.run.sessionId();
    if (!flags.isRecording || sessionId.isEmpty())
        return;
    if (sessionId != m_sessionId) {
        m_sessionId = sessionId;
        m_writtenSegments.clear();
        m_writtenPins.clear();
    }
    const QList<TranscriptSegment>& segments = m_transcript.segments();
    const QList<TranscriptPin>& pins = m_transcript.pins();
    if (segments.isEmpty() && pins.isEmpty())
        return;
    // Lists shared with the last write compare equal at once; a full comparison is still far
    // cheaper than encoding and writing again.
    if (segments == m_writtenSegments && pins == m_writtenPins)
        return;
    try {
        m_store.write({sessionId, m_startedAt, m_context.clock(), m_context.settings.language(),
                       m_context.settings.sttModel(), segments, pins});
    } catch (const SessionHistoryError& error) {
        AppLog::write(u"checkpoint write failed session=%1 error=%2"_s.arg(
            sessionId, QString::fromStdString(error.what())));
        return;
    }
    m_writtenSegments = segments;
    m_writtenPins = pins;
    Q_EMIT written(sessionId, segments.size());
}

void RecordingCheckpoint::discard(const QString& sessionId) {
    if (!m_store.remove(sessionId))
        AppLog::write(u"checkpoint removal failed session=%1"_s.arg(sessionId));
}

} // namespace vesnara
