#pragma once

#include "async/CancellationToken.h"
#include "backend/STTAPIClient.h"
#include "backend/SummaryGenerateRequest.h"
#include "engine/parts/PartContext.h"
#include "model/STTConfiguration.h"

#include <QCoroTask>
#include <QObject>

namespace vesnara {

class SessionTranscript;

/// The memo of a finished session: the backend writes it, the client fetches it as a Word
/// document and saves it where the user chooses. A run keeps no flag of its own, so a second
/// press starts a second run beside the first; the status line is its only trace.
class MemoCommand final : public QObject {
    Q_OBJECT

public:
    /// `context` and `transcript` must outlive the object.
    MemoCommand(const PartContext& context, const SessionTranscript& transcript,
                QObject* parent = nullptr);
    /// Runs still under way stop at their next wait and change nothing more.
    ~MemoCommand() override;

    /// Lines on screen, no recording, and a session to ask about.
    bool canSummary() const;
    /// Silent unless `canSummary`. Takes the session, the configuration and the lines now: what
    /// changes afterwards does not touch the run.
    void generateSummaryDocx();

private:
    QCoro::Task<> run(STTAPIClient apiClient, STTConfiguration config, QString sessionId,
                      QList<SummaryGenerateRequest::Segment> fallbackSegments,
                      CancellationToken token);

    const PartContext& m_context;
    const SessionTranscript& m_transcript;
    CancellationSource m_runs;
};

} // namespace vesnara
