#pragma once

#include "AppOptions.h"
#include "StartupDiagnostics.h"
#include "model/Timing.h"

#include <QObject>

#include <memory>
#include <optional>

class QQmlApplicationEngine;

namespace vesnara {

class AdminUsersPanel;
class AudioInputBackend;
class AuthManager;
class ChangePasswordForm;
class Clipboard;
class ConnectionSettingsForm;
class DesktopServices;
class Dialogs;
class FilePanels;
class GlobalShortcutsPortal;
class HttpTransport;
class PasswordResetForm;
class PermissionProbe;
class QmlDialogs;
class QmlFilePanels;
class Preferences;
class Shortcuts;
class SystemAudioBackend;
class TranscriptionViewModel;

/// The application's composition root: it owns the preferences, the HTTP transport, the Linux
/// services, `AuthManager` and the view model for the life of the process, and loads the one
/// window. Tests give it their own platform parts (fake audio, preferences in memory) and load
/// the very same QML. One instance at a time: QML's singletons hand out its objects.
class VesnaraApplication final : public QObject {
    Q_OBJECT

public:
    /// Platform parts to use instead of the Linux ones; each that is left empty is made here.
    /// Whatever is given must outlive the application.
    struct Platform {
        Preferences* preferences = nullptr;
        AudioInputBackend* audioInputBackend = nullptr;
        SystemAudioBackend* systemAudioBackend = nullptr;
        /// Nothing: the Linux probe; a null pointer: both sources count as permitted.
        std::optional<std::shared_ptr<PermissionProbe>> permissionProbe;
        DesktopServices* desktopServices = nullptr;
        Clipboard* clipboard = nullptr;
        Dialogs* dialogs = nullptr;
        FilePanels* filePanels = nullptr;
        std::optional<QString> historyDirectory;
        std::optional<QString> downloadsDirectory;
        std::optional<QString> temporaryDirectory;
        Timing timing = {};
        /// Where the brand's files are searched; nothing: the running process's places.
        std::optional<StartupDiagnostics::Environment> resources;
        // Keyboard shortcuts
        /// The desktop's global shortcuts portal; nothing: the portal on the session bus.
        GlobalShortcutsPortal* globalShortcuts = nullptr;
    };

    /// Logs the resource scan, registers the fonts, applies the options to the preferences and
    /// builds the two long-lived objects; `AuthManager`'s start check begins at once.
    VesnaraApplication(AppOptions options, Platform platform, QObject* parent = nullptr);
    /// The Linux platform throughout.
    explicit VesnaraApplication(AppOptions options = {});
    ~VesnaraApplication() override;

    static VesnaraApplication* instance();

    AuthManager& auth();
    TranscriptionViewModel& viewModel();
    HttpTransport& transport();
    /// The account sheets' forms; both close whenever the login state changes.
    PasswordResetForm& passwordResetForm();
    ChangePasswordForm& changePasswordForm();
    // The window's questions
    /// The prompt and confirm dialogs and the save panel of the window's QML. The core uses them
    /// unless the platform gave dialogs or file panels of its own; either way QML binds to them.
    QmlDialogs& windowDialogs();
    QmlFilePanels& windowFilePanels();
    /// The settings card's user administration panel and connection settings; the panel
    /// starts empty again whenever the login state changes.
    AdminUsersPanel& adminUsersPanel();
    ConnectionSettingsForm& connectionSettingsForm();
    /// The window's keyboard shortcuts, also bound system-wide where the desktop allows.
    Shortcuts& shortcuts();
    /// The brand logo's file, when a deployment provides one.
    const std::optional<QString>& logoPath() const { return m_logoPath; }

    /// Loads the window into `engine`: the module's types, the logo's image provider and the
    /// root QML. Gives false when the window did not come up.
    bool load(QQmlApplicationEngine& engine);

private:
    /// Answers an open prompt, confirm or save panel as cancelled.
    void cancelWindowQuestions();

    struct Parts;
    std::unique_ptr<Parts> m_parts;
    std::optional<QString> m_logoPath;
};

} // namespace vesnara
