#pragma once

#include <QObject>
#include <QString>

#include <optional>

namespace vesnara {

class AuthManager;
class RecordingSettings;

/// The advanced connection settings of the settings card, and who may see the admin-only
/// groups there.
///
/// The speech backend's address, the API key and the update feed are the live configuration's
/// fields: typing changes them in memory and `commit` (the end of an edit) stores them the way
/// every settings change is stored. The auth service's address belongs to the login state, so
/// its field is a draft of its own that `commit` applies only when it is a usable address;
/// otherwise the form's red line says so and the address in use stays.
///
/// The administrators' groups (diagnostics, connection settings) show for an admin only; the
/// user administration panel also needs the in-app administration switched on for the process,
/// by `VESNARA_INAPP_ADMIN_ENABLED` set to exactly "1" (any other value, "true" included, and
/// its absence leave it off). The switch is read once, when the form is made.
class ConnectionSettingsForm final : public QObject {
    Q_OBJECT

    Q_PROPERTY(QString baseURL READ baseURL WRITE setBaseURL NOTIFY baseURLChanged)
    Q_PROPERTY(QString apiKey READ apiKey WRITE setAPIKey NOTIFY apiKeyChanged)
    Q_PROPERTY(QString authURL READ authURL WRITE setAuthURL NOTIFY authURLChanged)
    Q_PROPERTY(QString updateManifestURL READ updateManifestURL WRITE setUpdateManifestURL NOTIFY
                   updateManifestURLChanged)
    /// Red line of the group; "" hides it.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    /// The diagnostics and connection groups show: the user is an admin.
    Q_PROPERTY(bool adminToolsVisible READ adminToolsVisible NOTIFY adminVisibilityChanged)
    /// The user administration group shows: an admin, with the in-app administration on.
    Q_PROPERTY(bool adminUsersVisible READ adminUsersVisible NOTIFY adminVisibilityChanged)
    Q_PROPERTY(bool inAppAdminEnabled READ inAppAdminEnabled CONSTANT)

public:
    /// The environment variable that switches the in-app administration on.
    static inline const char* const inAppAdminVariable = "VESNARA_INAPP_ADMIN_ENABLED";
    /// Whether a value of that variable (nothing: not set) switches it on: exactly "1".
    static bool isInAppAdminSwitchOn(const std::optional<QString>& value);
    /// The switch as this process's environment has it.
    static bool inAppAdminEnabledInEnvironment();

    /// Both must outlive the form.
    ConnectionSettingsForm(RecordingSettings& settings, AuthManager& auth,
                           QObject* parent = nullptr);

    QString baseURL() const;
    void setBaseURL(const QString& url);
    QString apiKey() const;
    void setAPIKey(const QString& key);
    QString updateManifestURL() const;
    void setUpdateManifestURL(const QString& url);
    const QString& authURL() const { return m_authURL; }
    void setAuthURL(const QString& url);
    const QString& error() const { return m_error; }
    bool adminToolsVisible() const;
    bool adminUsersVisible() const { return adminToolsVisible() && m_inAppAdminEnabled; }
    bool inAppAdminEnabled() const { return m_inAppAdminEnabled; }

    /// The end of an edit of any field: the configuration is stored quietly (trimmed), and an
    /// auth address that differs from the one in use is applied if usable.
    Q_INVOKABLE void commit();
    /// "Oletus backend", "Oletus API key", "Oletus auth", "Oletus päivitysfeed": that field's
    /// compiled-in value, stored at once.
    Q_INVOKABLE void useDefaultBackendURL();
    Q_INVOKABLE void useDefaultAPIKey();
    Q_INVOKABLE void useDefaultAuthURL();
    Q_INVOKABLE void useDefaultUpdateManifestURL();
    /// "API key leikepöydältä": the trimmed clipboard text becomes the key; with none the
    /// status line says so and nothing changes.
    Q_INVOKABLE void useAPIKeyFromClipboard();

Q_SIGNALS:
    void baseURLChanged();
    void apiKeyChanged();
    void authURLChanged();
    void updateManifestURLChanged();
    void errorChanged();
    void adminVisibilityChanged();

private:
    void setError(const QString& error);

    RecordingSettings& m_settings;
    AuthManager& m_auth;
    const bool m_inAppAdminEnabled;
    QString m_authURL;
    QString m_error;
};

} // namespace vesnara
