#pragma once

#include <QString>

#include <optional>

namespace vesnara {

/// Where files that no panel asked about go: automatic exports into the user's Downloads,
/// archives being put together into the temporary directory.
struct LocalPlaces {
    QString downloadsDirectory;
    QString temporaryDirectory;

    /// The given directories, else the standard ones; Downloads falls back to the temporary
    /// directory on a system that has none.
    static LocalPlaces resolve(std::optional<QString> downloads, std::optional<QString> temporary);
};

} // namespace vesnara
