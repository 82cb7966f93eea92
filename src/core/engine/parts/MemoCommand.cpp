#include "engine/parts/MemoCommand.h"

#include "engine/RunStatus.h"
#include "engine/StatusLine.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionTranscript.h"
#include "engine/rules/MemoRules.h"
#include "platform/FilePanels.h"
#include "storage/AppLog.h"
#include "storage/AtomicFile.h"
#include "text/UiText.h"
#include "text/UserErrorDescription.h"

#include <QFileInfo>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace vesnara {

MemoCommand::MemoCommand(const PartContext& context, const SessionTranscript& transcript,
                         QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_transcript(transcript) {}

MemoCommand::~MemoCommand() {
    m_runs.cancel();
}

bool MemoCommand::canSummary() const {
    return m_transcript.segmentCount() > 0 && !flagsOf(m_context.run.runState()).isRecording &&
           !m_context.run.sessionId().isEmpty();
}

void MemoCommand::generateSummaryDocx() {
    if (!canSummary())
        return;
    m_context.status.setStatusText(UiText::memoGenerating);
    const QString sessionId = m_context.run.sessionId();
    AppLog::write(u"memo start sessionId=%1 lines=%2"_s.arg(
        sessionId, QString::number(m_transcript.segmentCount())));
    // The task is left to finish on its own; it checks after every wait that this object lives.
    static_cast<void>(run(m_context.apiClient, m_context.settings.config(), sessionId,
                          makeSummaryFallbackSegments(m_transcript.segments()), m_runs.token()));
}

QCoro::Task<> MemoCommand::run(STTAPIClient apiClient, STTConfiguration config, QString sessionId,
                               QList<SummaryGenerateRequest::Segment> fallbackSegments,
                               CancellationToken token) {
    const QPointer<MemoCommand> self(this);
    QByteArray document;
    std::exception_ptr failure;
    try {
        // Only the success matters: the memo's text reaches the user in the document.
        const SummaryPayload generated = co_await apiClient.generateSummary(
            config, sessionId, std::move(fallbackSegments), token);
        Q_UNUSED(generated);
        QByteArray downloaded = co_await apiClient.downloadSummaryDocx(config, sessionId, token);
        document = std::move(downloaded);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || token.isCancelled())
        co_return;
    if (failure) {
        const QString description = userErrorDescription(failure);
        AppLog::write(u"memo failed sessionId=%1 error=%2"_s.arg(sessionId, description));
        m_context.status.setStatusText(UiText::memoGenerationFailed(description));
        co_return;
    }

    std::optional<QString> path;
    if (FilePanels* panels = m_context.filePanels) {
        std::optional<QString> chosen =
            co_await panels->chooseSaveFile(memoFileName(sessionId), UiText::memoFileFilter);
        path = std::move(chosen);
    }
    if (!self || token.isCancelled())
        co_return;
    if (!path || path->isEmpty()) {
        // Nothing is kept: the same command fetches the document again.
        m_context.status.setStatusText(UiText::memoReady);
        co_return;
    }
    if (const auto error = writeFileAtomically(*path, document)) {
        AppLog::write(u"memo save failed sessionId=%1 error=%2"_s.arg(sessionId, *error));
        m_context.status.setStatusText(UiText::memoSaveFailed);
        co_return;
    }
    AppLog::write(
        u"memo saved sessionId=%1 bytes=%2"_s.arg(sessionId, QString::number(document.size())));
    m_context.status.setStatusText(UiText::memoSaved(QFileInfo(*path).fileName()));
}

} // namespace vesnara
