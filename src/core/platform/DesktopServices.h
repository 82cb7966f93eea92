#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace vesnara {

/// The places in the desktop's settings that the permission panel sends the user to. A
/// platform opens the nearest page it has: on Linux these are pages of the sound settings.
enum class SettingsPlace {
    /// Where the microphone is allowed or chosen (Linux: the input devices).
    microphoneAccess,
    /// Where recording the computer's own audio is allowed (Linux: the output devices).
    systemAudioAccess,
    /// The general page, tried when a specific one cannot be opened.
    general,
};

/// The desktop's services as the core needs them: settings pages, opening a link or a file,
/// showing a file in the file manager, and restarting the program. Implemented per platform;
/// tests use their own. Used on the main thread only.
class DesktopServices {
public:
    virtual ~DesktopServices() = default;
    /// Opens `place`; false when nothing could be opened.
    virtual bool openSettings(SettingsPlace place) = 0;
    /// Opens `url` (a web page, or a local file) with the desktop's default handler; false when
    /// nothing took it.
    virtual bool openUrl(const QUrl& url) = 0;
    /// Shows the file at `filePath` selected in the file manager, or else opens its folder; false
    /// when neither worked.
    virtual bool revealFile(const QString& filePath) = 0;
    /// Starts a new instance of this program with the same arguments; the error's description
    /// when it could not be started.
    virtual std::optional<QString> startNewInstance() = 0;
    /// Ends this program once control returns to the event loop.
    virtual void terminate() = 0;
};

} // namespace vesnara
