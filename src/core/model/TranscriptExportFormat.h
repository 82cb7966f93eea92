#pragma once

#include <QList>
#include <QString>

namespace vesnara {

/// The file formats a transcript is exported in. Not persisted: every launch starts with `txt`.
enum class TranscriptExportFormat { txt, json, csv };

const QList<TranscriptExportFormat>& allTranscriptExportFormats();
QString label(TranscriptExportFormat format);
/// Without the dot: "txt", "json", "csv".
QString fileExtension(TranscriptExportFormat format);

} // namespace vesnara
