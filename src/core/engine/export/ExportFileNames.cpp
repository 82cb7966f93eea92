#include "engine/export/ExportFileNames.h"

#include "model/TranscriptExportFormat.h"
#include "storage/SafeFileId.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

QString exportBaseName(const QString& sessionId) {
    return isSafeFileId(sessionId) ? sessionId : UiText::exportDefaultFileName;
}

QString exportPanelFileName(const QString& sessionId, TranscriptExportFormat format) {
    return exportBaseName(sessionId) + u'.' + fileExtension(format);
}

QString autoExportFileName(const QString& sessionId, TranscriptExportFormat format, Timestamp now) {
    return exportBaseName(sessionId) + u'-' + now.fileStampText() + u'.' + fileExtension(format);
}

QString exportFileFilter(TranscriptExportFormat format) {
    return label(format) + u" (*."_s + fileExtension(format) + u')';
}

} // namespace vesnara
