#pragma once

// The application as the program builds it, with the platform's boundary faked: the in-process
// reference backend with one user, fake audio devices, preferences in memory, the desktop's
// services scripted. The brand's files are searched only in a private empty directory.

#include "GlobalShortcutsPortal.h"
#include "VesnaraApplication.h"
#include "auth/AuthManager.h"
#include "engine/EngineHarness.h"
#include "refbackend/UserStore.h"
#include "storage/STTConfigurationStore.h"

#include <QTemporaryDir>

namespace vesnara::test {

struct AppHarness {
    static inline const QString email = u"demo@vesnara.test"_s;
    static inline const QString password = u"demo-salasana"_s;

    RefBackendFixture server;
    InMemoryPreferences preferences;
    FakeAudioInputBackend microphoneBackend;
    FakeSystemAudioBackend systemBackend;
    FakeClipboard clipboard;
    FakeDesktopServices desktop;
    ScriptedDialogs dialogs;
    ScriptedFilePanels filePanels;
    QTemporaryDir historyDirectory;
    QTemporaryDir downloads;
    QTemporaryDir temporary;
    QTemporaryDir resources;
    // Settings card: a scripted permission platform; none means both sources are permitted.
    std::shared_ptr<PermissionProbe> permissionProbe;
    std::unique_ptr<VesnaraApplication> application;
    // The window's questions
    /// True: the dialogs and file panels are the window's own QML ones instead of the scripted
    /// `dialogs` and `filePanels`.
    bool windowQuestions = false;
    // Keyboard shortcuts
    /// The global shortcuts portal; none: no desktop portal at all, so that a test never binds
    /// shortcuts on the desktop it runs in.
    GlobalShortcutsPortal* globalShortcuts = nullptr;
    GlobalShortcutsPortal noGlobalShortcuts{QDBusConnection(u"vesnara-test-no-bus"_s)};

    AppHarness() {
        microphoneBackend.devices = {{7, u"Sisäinen mikrofoni"_s, AudioTransportKind::builtIn, 1}};
        microphoneBackend.defaultDeviceId = 7;
        systemBackend.content.displays = {{3, u"Kaiuttimet"_s}};
        server->users().create(email, password, u"user"_s);
        STTConfigurationStore(preferences).save(server.config());
    }
    ~AppHarness() { application.reset(); }
    AppHarness(const AppHarness&) = delete;
    AppHarness& operator=(const AppHarness&) = delete;

    QString backendURL() {
        return *AuthManager::normalizeAuthURL(server.backend().baseUrl().toString());
    }

    /// The brand's files are looked for only below `resources`.
    StartupDiagnostics::Environment resourceEnvironment() const {
        StartupDiagnostics::Environment environment;
        environment.bundleId = u"vesnara"_s;
        environment.version = u"0.1.0"_s;
        environment.build = u"7"_s;
        environment.applicationDirectory = resources.filePath(u"bin"_s);
        environment.dataHome = resources.filePath(u"data"_s);
        return environment;
    }

    /// The application against this backend, as `vesnara --backend-url <backend>` builds it.
    VesnaraApplication& make() {
        const auto options = AppOptions::parse({u"vesnara"_s, u"--backend-url"_s, backendURL()});
        VesnaraApplication::Platform platform;
        platform.preferences = &preferences;
        platform.audioInputBackend = &microphoneBackend;
        platform.systemAudioBackend = &systemBackend;
        platform.permissionProbe = permissionProbe;
        platform.desktopServices = &desktop;
        platform.clipboard = &clipboard;
        if (!windowQuestions) {
            platform.dialogs = &dialogs;
            platform.filePanels = &filePanels;
        }
        platform.historyDirectory = historyDirectory.path();
        platform.downloadsDirectory = downloads.path();
        platform.temporaryDirectory = temporary.path();
        platform.timing = Timing{}.scaled(0.02);
        platform.timing.httpRequestLimit = 10s;
        platform.timing.keepAliveSilenceAfter = 1h;
        platform.timing.microphoneLivenessDelay = 1h;
        platform.resources = resourceEnvironment();
        platform.globalShortcuts = globalShortcuts ? globalShortcuts : &noGlobalShortcuts;
        application = std::make_unique<VesnaraApplication>(std::get<AppOptions>(options),
                                                           std::move(platform));
        return *application;
    }

    /// The application after its start check, nobody logged in; null when the check hung.
    VesnaraApplication* makeChecked() {
        VesnaraApplication& made = make();
        const bool checked =
            QTest::qWaitFor([&made] { return !made.auth().isChecking(); }, kEngineWaitMs);
        return checked ? &made : nullptr;
    }
};

} // namespace vesnara::test
