#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace vesnara {

/// Writes the whole of `bytes` to `path` atomically: the file is either the new content or stays
/// as it was. Replaces an existing file. Gives the failure's description, nothing on success.
std::optional<QString> writeFileAtomically(const QString& path, const QByteArray& bytes);

} // namespace vesnara
