#pragma once

#include "engine/parts/PartContext.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"
#include "storage/CheckpointStore.h"

#include <QObject>
#include <QTimer>

namespace vesnara {

class SessionTranscript;

/// The local copy of a recording in progress: every `Timing::recordingCheckpointInterval`
/// while a run is live, its lines and pins so far are written to the checkpoint store, so that
/// a process that dies loses at most one interval even when the server is gone too. The stop
/// removes the checkpoint once the saved session is written.
class RecordingCheckpoint final : public QObject {
    Q_OBJECT

public:
    /// `context` and `transcript` are kept and must outlive the object.
    RecordingCheckpoint(const PartContext& context, const SessionTranscript& transcript,
                        QObject* parent = nullptr);

    CheckpointStore& store() { return m_store; }

    /// Starts the pace when a run goes live, ends it when the run ends.
    void handleRunStateChanged();
    /// Writes the live run's checkpoint now, unless nothing changed since the last write.
    void writeNow();
    /// Forgets the checkpoint of `sessionId`: its saved session exists now.
    void discard(const QString& sessionId);

Q_SIGNALS:
    /// A checkpoint of `sessionId` holding `lineCount` lines was written.
    void written(const QString& sessionId, qsizetype lineCount);

private:
    const PartContext& m_context;
    const SessionTranscript& m_transcript;
    CheckpointStore m_store;
    QTimer m_timer;
    QString m_sessionId;
    Timestamp m_startedAt;
    QList<TranscriptSegment> m_writtenSegments;
    QList<TranscriptPin> m_writtenPins;
};

} // namespace vesnara
