#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace vesnara {

struct HealthResponse;

// What the update check and the connection test make of the server's answers.

/// The running version, "0.0.0" when the build names none.
QString currentAppVersion(const QString& applicationVersion);

/// 1 when `a` is newer, -1 when `b` is, 0 when they are equal. Both are split at '.' and each
/// piece is read whole as a signed decimal number; a piece that does not read is dropped and the
/// rest move up, and a missing number counts as 0. So "1.2" equals "1.2.0", "1.x.3" reads as
/// 1.3, and a pre-release suffix such as "1.2.3-beta" (1.2) is not ordered at all.
int compareSemanticVersion(const QString& a, const QString& b);

/// The manifest's download address when it may be handed to the desktop: an absolute http or
/// https URL with a host. Anything else (a local file, another scheme, text that is no URL) is
/// never opened.
std::optional<QUrl> openableDownloadUrl(const std::optional<QString>& downloadURL);

/// What the health record says of memo generation: the `memoAI` record's flag and model, each
/// falling back to the older `openAI…` fields when missing.
QString memoBackendStatus(const HealthResponse& health);

/// The status line after a health answer: the server's time cut to its first 19 characters (a
/// date and time to the second) when it is well, else the failure text.
QString connectionTestStatus(const HealthResponse& health);

} // namespace vesnara
