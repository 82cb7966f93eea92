#include "engine/parts/TranscriptExports.h"

#include "engine/RunStatus.h"
#include "engine/StatusLine.h"
#include "engine/export/ExportFileNames.h"
#include "engine/export/TextFileWriting.h"
#include "engine/export/TranscriptFormats.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionTranscript.h"
#include "platform/Clipboard.h"
#include "platform/FilePanels.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace vesnara {

TranscriptExports::TranscriptExports(SessionTranscript& transcript, const PartContext& context)
    : m_transcript(transcript)
    , m_context(context) {}

bool TranscriptExports::isRecording() const {
    return flagsOf(m_context.run.runState()).isRecording;
}

void TranscriptExports::saveTranscript() {
    if ((m_transcript.segmentCount() == 0 && m_transcript.pinCount() == 0) || isRecording())
        return;
    const TranscriptExportFormat format = m_context.settings.exportFormat();
    const TranscriptExportInput input = m_transcript.exportInput();
    saveThroughPanel(&m_transcript, exportPanelFileName(input.sessionId, format),
                     exportFileFilter(format), formatTranscript(format, input));
}

QCoro::Task<> TranscriptExports::saveThroughPanel(QPointer<SessionTranscript> owner,
                                                  QString proposedName, QString filter,
                                                  QString text) {
    FilePanels* panels = m_context.filePanels;
    if (!panels)
        co_return;
    const std::optional<QString> path =
        co_await panels->chooseSaveFile(std::move(proposedName), std::move(filter));
    // This object lives as long as its owner.
    if (!owner || !path || path->isEmpty())
        co_return;
    if (const auto error = writeTextFileAtomically(*path, text)) {
        AppLog::write(u"transcript save failed error=%1"_s.arg(*error));
        m_context.status.setStatusText(UiText::statusTranscriptSaveFailed);
        co_return;
    }
    m_context.status.setStatusText(UiText::statusTranscriptSaved(QFileInfo(*path).fileName()));
}

void TranscriptExports::autoExportAfterStopIfEnabled() {
    if (!m_context.settings.autoExportEnabled())
        return;
    if (m_transcript.segmentCount() == 0 && m_transcript.pinCount() == 0)
        return;
    const TranscriptExportFormat format = m_context.settings.exportFormat();
    const TranscriptExportInput input = m_transcript.exportInput();
    const QString text = formatTranscript(format, input);
    const QString fileName = autoExportFileName(input.sessionId, format, m_context.clock());
    const QString path = QDir(m_context.places.downloadsDirectory).filePath(fileName);
    if (const auto error = writeTextFileAtomically(path, text)) {
        AppLog::write(u"auto-export failed file=%1 error=%2"_s.arg(fileName, *error));
        m_context.status.setStatusText(UiText::statusAutoExportFailed);
        return;
    }
    m_context.status.setStatusText(UiText::statusAutoExported(fileName));
}

void TranscriptExports::copyTranscriptToClipboard() {
    const QString& text = m_transcript.transcriptText();
    if (text.isEmpty() || !m_context.clipboard)
        return;
    m_context.clipboard->setText(text);
    m_context.status.setStatusText(UiText::statusCopiedToClipboard);
}

void TranscriptExports::copySessionIdToClipboard() {
    const QString id = m_context.run.sessionId().trimmed();
    if (id.isEmpty() || !m_context.clipboard)
        return;
    m_context.clipboard->setText(id);
    m_context.status.setStatusText(UiText::statusSessionIdCopied);
}

} // namespace vesnara
