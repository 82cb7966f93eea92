#pragma once

#include <QString>

#include <optional>

namespace vesnara {

/// Writes `text` as UTF-8 without a byte-order mark to `path`, atomically: the file is either
/// the new text or stays as it was. Replaces an existing file. Gives the failure's description
/// (for the log), nothing on success.
std::optional<QString> writeTextFileAtomically(const QString& path, const QString& text);

} // namespace vesnara
