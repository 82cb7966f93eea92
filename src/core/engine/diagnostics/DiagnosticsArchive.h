#pragma once

#include "engine/diagnostics/DiagnosticPayload.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <stdexcept>

namespace vesnara {

/// An archive that could not be written; the message names the step and the cause.
class DiagnosticsArchiveError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One file at the archive's top level.
struct DiagnosticsArchiveEntry {
    QString name;
    QByteArray bytes;
};

/// The package's files in their order: the payload, the transcript on screen, the log, the
/// server's transcript and meta when the payload has them, the README. Throws `JsonEncodeError`
/// when the payload cannot be encoded.
QList<DiagnosticsArchiveEntry> diagnosticsArchiveEntries(const DiagnosticExportPayload& payload,
                                                         const QString& transcriptText,
                                                         const QString& logText);

/// Writes `entries` as a zip at `targetPath`, replacing a file already there. Nothing is left at
/// the target when it fails. Throws `DiagnosticsArchiveError`.
void writeDiagnosticsArchive(const QString& targetPath,
                             const QList<DiagnosticsArchiveEntry>& entries);

/// The whole package as `<prefix>-<file stamp>.zip` in `directory`; its path. The payload is
/// encoded before anything is made on disk. Throws `JsonEncodeError` or
/// `DiagnosticsArchiveError`.
QString createDiagnosticsArchive(const DiagnosticExportPayload& payload,
                                 const QString& transcriptText, const QString& logText,
                                 const QString& directory, const QString& prefix,
                                 const QString& fileStamp);

} // namespace vesnara
