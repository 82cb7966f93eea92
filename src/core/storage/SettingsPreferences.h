#pragma once

#include "storage/Preferences.h"

#include <QSettings>

#include <memory>

namespace vesnara {

/// Preferences kept by `QSettings` in an INI file: the user's own
/// (`UserDirectories::settingsFile()`, `$XDG_CONFIG_HOME/vesnara/Vesnara.conf`), or one of the
/// caller's choice.
class SettingsPreferences final : public Preferences {
public:
    /// The user's own preferences.
    SettingsPreferences();
    /// Preferences in an INI file at `filePath`.
    explicit SettingsPreferences(const QString& filePath);
    ~SettingsPreferences() override;

    std::optional<QByteArray> bytes(const QString& key) const override;
    void setBytes(const QString& key, const QByteArray& value) override;
    std::optional<QString> string(const QString& key) const override;
    void setString(const QString& key, const QString& value) override;
    std::optional<bool> boolean(const QString& key) const override;
    void setBoolean(const QString& key, bool value) override;
    void remove(const QString& key) override;

    /// Writes pending changes to disk now rather than at the next event loop turn or at exit.
    void sync();

private:
    std::unique_ptr<QSettings> m_settings;
};

} // namespace vesnara
