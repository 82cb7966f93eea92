#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace vesnara {

/// Where the brand's files may be and what the application finds at start. The font files and
/// the logo are not part of the source tree: a deployment puts them into one of the candidate
/// directories, flat or in a `Fonts/` subdirectory.
class StartupDiagnostics {
public:
    /// What the search looks at; `current()` reads the running process.
    struct Environment {
        QString bundleId;
        QString version;
        QString build;
        /// Resources compiled into the QML module (a `:/` path).
        QString moduleResources;
        /// The directory of the program's file.
        QString applicationDirectory;
        /// `$XDG_DATA_HOME`, or its default `~/.local/share`.
        QString dataHome;
        /// The entries of `$XDG_DATA_DIRS`, or its default.
        QStringList dataDirectories;

        static Environment current();
    };

    /// The font files, registered in this order.
    static const QStringList fontFiles;
    static const QString logoFile;

    /// The candidate directories in search order, each path once (its first place kept).
    static QStringList candidates(const Environment& environment);
    /// The first existing file: each candidate in order, each variant in order; a variant in
    /// `Fonts/` is followed directly by the bare file name.
    static std::optional<QString> locate(const QStringList& candidates,
                                         const QStringList& variants);
    /// The variants searched for one file name: the name, and for a font `Fonts/<name>` too.
    static QStringList variantsOf(const QString& fileName);

    /// The lines of the start's resource scan, in the order they are logged.
    static QStringList resourceStatusLines(const Environment& environment);
    /// Writes `resourceStatusLines` to the application log.
    static void logPreUIResourceStatus(const Environment& environment);

    /// Registers every font file found with the font database, once per process; a file that
    /// is missing or does not load is skipped. Gives false when fonts were already registered.
    static bool registerFonts(const Environment& environment);
    /// The logo's file, when a candidate has it.
    static std::optional<QString> logoPath(const Environment& environment);
};

} // namespace vesnara
