#pragma once

#include <QString>

namespace vesnara {

/// Where the user's own files live: the XDG base directories under the application's lower-case
/// name. A base variable that is unset, empty or relative is ignored (as the XDG rules say) for
/// its default below the home directory; without a home, the temporary directory stands in.
class UserDirectories {
public:
    UserDirectories() = delete;

    /// `$XDG_CONFIG_HOME/vesnara/Vesnara.conf` (`~/.config/…`).
    static QString settingsFile();
    /// `$XDG_DATA_HOME/vesnara/sessions` (`~/.local/share/…`).
    static QString sessionsDirectory();
    /// `$XDG_STATE_HOME/vesnara/desktop.log` (`~/.local/state/…`).
    static QString logFile();
};

} // namespace vesnara
