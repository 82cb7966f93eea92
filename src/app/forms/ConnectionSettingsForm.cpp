#include "forms/ConnectionSettingsForm.h"

#include "auth/AuthManager.h"
#include "engine/parts/RecordingSettings.h"
#include "forms/FormRules.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

bool ConnectionSettingsForm::isInAppAdminSwitchOn(const std::optional<QString>& value) {
    return value == u"1"_s;
}

bool ConnectionSettingsForm::inAppAdminEnabledInEnvironment() {
    if (!qEnvironmentVariableIsSet(inAppAdminVariable))
        return false;
    return isInAppAdminSwitchOn(qEnvironmentVariable(inAppAdminVariable));
}

ConnectionSettingsForm::ConnectionSettingsForm(RecordingSettings& settings, AuthManager& auth,
                                               QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_auth(auth)
    , m_inAppAdminEnabled(inAppAdminEnabledInEnvironment())
    , m_authURL(auth.authURL()) {
    connect(&settings, &RecordingSettings::baseURLChanged, this,
            &ConnectionSettingsForm::baseURLChanged);
    connect(&settings, &RecordingSettings::apiKeyChanged, this,
            &ConnectionSettingsForm::apiKeyChanged);
    connect(&settings, &RecordingSettings::updateManifestURLChanged, this,
            &ConnectionSettingsForm::updateManifestURLChanged);
    connect(&auth, &AuthManager::authURLChanged, this, [this] {
        setAuthURL(m_auth.authURL());
        setError({});
    });
    connect(&auth, &AuthManager::isAdminChanged, this,
            &ConnectionSettingsForm::adminVisibilityChanged);
}

QString ConnectionSettingsForm::baseURL() const {
    return m_settings.baseURL();
}

void ConnectionSettingsForm::setBaseURL(const QString& url) {
    m_settings.setBaseURL(url);
}

QString ConnectionSettingsForm::apiKey() const {
    return m_settings.apiKey();
}

void ConnectionSettingsForm::setAPIKey(const QString& key) {
    m_settings.setAPIKey(key);
}

QString ConnectionSettingsForm::updateManifestURL() const {
    return m_settings.updateManifestURL();
}

void ConnectionSettingsForm::setUpdateManifestURL(const QString& url) {
    m_settings.setUpdateManifestURL(url);
}

void ConnectionSettingsForm::setAuthURL(const QString& url) {
    forms::assignAndNotify(this, m_authURL, url, &ConnectionSettingsForm::authURLChanged);
}

bool ConnectionSettingsForm::adminToolsVisible() const {
    return m_auth.isAdmin();
}

void ConnectionSettingsForm::commit() {
    m_settings.saveConfig(false);
    if (m_authURL != m_auth.authURL()) {
        // Checked here first so that a refused address does not reach the login screen's error.
        if (!AuthManager::normalizeAuthURL(m_authURL)) {
            setError(UiText::authInvalidURL);
            return;
        }
        m_auth.applyEnteredAuthURL(m_authURL);
        // A text that normalises to the address in use changes nothing there; show it as used.
        setAuthURL(m_auth.authURL());
    }
    setError({});
}

void ConnectionSettingsForm::useDefaultBackendURL() {
    m_settings.useDefaultBackendURL();
}

void ConnectionSettingsForm::useDefaultAPIKey() {
    m_settings.useDefaultSharedAPIKey();
}

void ConnectionSettingsForm::useDefaultAuthURL() {
    m_auth.useDefaultAuthURL();
    setAuthURL(m_auth.authURL());
    setError({});
}

void ConnectionSettingsForm::useDefaultUpdateManifestURL() {
    m_settings.useDefaultUpdateManifestURL();
}

void ConnectionSettingsForm::useAPIKeyFromClipboard() {
    m_settings.useAPIKeyFromClipboard();
}

void ConnectionSettingsForm::setError(const QString& error) {
    forms::assignAndNotify(this, m_error, error, &ConnectionSettingsForm::errorChanged);
}

} // namespace vesnara
