#pragma once

#include "model/Enumerations.h"

#include <QList>
#include <QString>

namespace vesnara {

const QList<TranscriptExportFormat>& allTranscriptExportFormats();
QString label(TranscriptExportFormat format);
/// Without the dot: "txt", "json", "csv", "srt", "vtt".
QString fileExtension(TranscriptExportFormat format);

} // namespace vesnara
