#pragma once

#include "platform/DesktopServices.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace vesnara {

/// The desktop services of a Linux desktop. Settings places open the sound settings: the
/// current desktop's own page when it has one (GNOME, KDE Plasma, LXQt, Cinnamon, MATE), else a
/// mixer that runs anywhere (pavucontrol, which can open the matching tab, or pavucontrol-qt),
/// else Plasma's page outside Plasma. A program counts when it is found and starts; whether its
/// window then appears is not known here.
///
/// Links and files open through the desktop's handler (Qt's, which uses the OpenURI portal in a
/// sandbox) when a GUI application runs, else through xdg-open. A file is shown selected by the
/// file manager's `org.freedesktop.FileManager1.ShowItems` over D-Bus; without such a file
/// manager, or when it refuses, its folder is opened instead.
class LinuxDesktopServices final : public DesktopServices {
public:
    /// What the services look at; each part has the running system's value by default.
    struct Environment {
        /// Directories searched for the settings programs; nothing means `PATH`.
        std::optional<QStringList> searchPaths;
        /// The program a new instance runs; empty means this program's own file.
        QString programPath;
        /// `XDG_CURRENT_DESKTOP`'s form (`ubuntu:GNOME`); nothing means the variable itself.
        std::optional<QString> currentDesktop;
        /// The D-Bus bus where the file manager is asked to show a file; empty means the
        /// session bus.
        QString busAddress;
    };

    explicit LinuxDesktopServices(Environment environment = {});

    /// The option a relaunched instance gets, naming the process it replaces, so that it waits
    /// for that one to end instead of bringing its window to the front.
    static constexpr char16_t replacePidOption[] = u"replace-pid";
    /// `arguments` (without the program) with this process's own replace option taken out and
    /// one naming `pid` added.
    static QStringList relaunchArguments(const QStringList& arguments, qint64 pid);

    bool openSettings(SettingsPlace place) override;
    bool openUrl(const QUrl& url) override;
    bool revealFile(const QString& filePath) override;
    std::optional<QString> startNewInstance() override;
    void terminate() override;

private:
    QString findProgram(const QString& name) const;
    /// Opens `url` with the desktop's handler, else with `opener` (xdg-open; empty for none).
    static bool openWith(const QUrl& url, const QString& opener);

    Environment m_environment;
};

} // namespace vesnara
