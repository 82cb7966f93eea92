#pragma once

#include <QString>

namespace vesnara {

/// Whether an id that came from outside (a server, a file) may become a file's base name in one
/// of our directories: not empty, not "." or "..", and free of '/', '\' and NUL, so that
/// `<directory>/<id>.<extension>` always names a file directly inside the directory.
bool isSafeFileId(const QString& id);

/// A file id for `id` that is always safe and visible in a listing: "session-" and 16 hex digits
/// of the id's SHA-256, the same for the same id.
QString derivedSafeFileId(const QString& id);

} // namespace vesnara
