#pragma once

#include "model/Enumerations.h"
#include "model/Timestamp.h"

#include <QString>

namespace vesnara {

/// The base name of an export: the session id, or "transkriptio" when there is none or it
/// could not name a file (a server's id never becomes a path).
QString exportBaseName(const QString& sessionId);

/// The name a save panel proposes: "<base>.<extension>".
QString exportPanelFileName(const QString& sessionId, TranscriptExportFormat format);

/// The name of an automatic export at `now`: "<base>-<yyyyMMdd-HHmmss>.<extension>", the stamp
/// in the local time zone.
QString autoExportFileName(const QString& sessionId, TranscriptExportFormat format, Timestamp now);

/// The panel's filter for `format`, as in "TXT (*.txt)".
QString exportFileFilter(TranscriptExportFormat format);

} // namespace vesnara
