#pragma once

#include "model/AudioInputMode.h"
#include "model/Timestamp.h"

#include <QString>

#include <optional>

namespace vesnara {

/// What every diagnostics file's name begins with, automatic ones included.
inline constexpr auto kDiagnosticsFilePrefix = u"vesnara-diagnoosi";

/// The archive's README, byte for byte: no line end after its last line.
QByteArray diagnosticsReadmeBytes();

/// A trigger as a file-name piece: lower case, every run outside a-z, 0-9 and "-" one "-",
/// "-" trimmed at both ends; "fallback" when nothing is left.
QString cleanDiagnosticReason(const QString& reason);

/// `<prefix>-<file stamp>.zip`.
QString diagnosticsArchiveName(const QString& prefix, const QString& fileStamp);
/// `vesnara-diagnoosi-auto-<clean reason>-<file stamp>.json`.
QString automaticDiagnosticsFileName(const QString& reason, const QString& fileStamp);

/// The newest diagnostics file directly in `directory`: visible files whose lower-cased name
/// begins with the prefix and ends in ".zip" or ".json", by modification time. Nothing for a
/// missing or unreadable directory.
std::optional<QString> latestDiagnosticsFile(const QString& directory);

/// What the support message names.
struct SupportTemplateInput {
    /// Formatted by the caller in local time as "dd.MM.yyyy HH:mm".
    QString time;
    QString sessionId;
    AudioInputMode inputMode = AudioInputMode::microphone;
    QString sttModel;
    /// Empty when no package is known.
    QString packageFileName;
};

/// The message a user sends support with the package.
QString diagnosticsSupportTemplate(const SupportTemplateInput& input);

/// "dd.MM.yyyy HH:mm" of `moment` in the local time zone.
QString supportTemplateTime(Timestamp moment);

} // namespace vesnara
