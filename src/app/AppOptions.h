#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace vesnara {

/// What the program's command line can change. Every option is optional; without any the
/// program uses what the user stored and, failing that, the compiled-in endpoints.
struct AppOptions {
    /// One origin for both the speech backend and the auth service (`--backend-url`), as the
    /// reference backend serves both: stored as the user's own choice before anything starts.
    std::optional<QString> backendURL;
    /// The running instance this launch replaces (`--replace-pid`, what the relaunch command
    /// passes): waited for until it has ended instead of being brought to the front.
    std::optional<qint64> replacePid;

    /// The options of `arguments` (the program's name first), or the English text explaining
    /// what is wrong. `--help` and `--version` are answered by the program before this.
    static std::variant<AppOptions, QString> parse(const QStringList& arguments);
};

} // namespace vesnara
