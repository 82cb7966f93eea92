// Settings: saving the configuration, the default endpoints, the clipboard key, the session
// token and the mixer presets.
#include "engine/TranscriptionViewModel.h"

#include "platform/Clipboard.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

void TranscriptionViewModel::saveConfig(bool showStatus) {
    STTConfiguration config = m_config;
    config.baseURL = config.baseURL.trimmed();
    config.apiKey = config.apiKey.trimmed();
    config.updateManifestURL = config.updateManifestURL.trimmed();
    config.defaultLanguage = m_language;
    config.defaultModel = m_sttModel;
    config.preferredInputDeviceID = preferredDeviceId(m_selectedInputDeviceID);
    config.preferredSystemDisplayID = preferredDeviceId(m_selectedSystemDisplayID);
    config.preferredSystemApplicationBundleID =
        preferredApplicationId(m_selectedSystemApplicationBundleID);
    config.allowSystemFallback = m_allowSystemFallback;
    const MixSettings clamped = m_mixSettings.clamped();
    config.setMixSettings(clamped);

    setMixSettings(clamped);
    setMixedPreset(classifyMixPreset(clamped));
    setConfig(config);
    m_configStore.save(m_config);
    if (showStatus)
        setStatusText(UiText::settingsSaved);
}

void TranscriptionViewModel::useDefaultBackendURL() {
    STTConfiguration config = m_config;
    config.baseURL = defaultBackendURL();
    setConfig(config);
    saveConfig(true);
}

void TranscriptionViewModel::useDefaultSharedAPIKey() {
    STTConfiguration config = m_config;
    config.apiKey = defaultSharedAPIKey();
    setConfig(config);
    saveConfig(true);
}

void TranscriptionViewModel::useDefaultUpdateManifestURL() {
    STTConfiguration config = m_config;
    config.updateManifestURL = defaultUpdateManifestURL();
    setConfig(config);
    saveConfig(true);
}

void TranscriptionViewModel::useAPIKeyFromClipboard() {
    const QString key = m_clipboard ? m_clipboard->text().value_or(QString()).trimmed() : QString();
    if (key.isEmpty()) {
        setStatusText(UiText::noAPIKeyOnClipboard);
        return;
    }
    STTConfiguration config = m_config;
    config.apiKey = key;
    setConfig(config);
    saveConfig(true);
}

void TranscriptionViewModel::updateAuthContext(const QString& sessionToken) {
    const QString token = sessionToken.trimmed();
    STTConfiguration config = m_config;
    config.authToken = token.isEmpty() ? std::nullopt : std::optional(token);
    setConfig(config);
}

void TranscriptionViewModel::applyMixPreset(MixPreset preset) {
    const std::optional<MixSettings> settings = settingsOf(preset);
    if (!settings)
        return;
    setMixSettings(*settings);
    setMixedPreset(preset);
    saveConfig(false);
    setStatusText(UiText::mixPresetApplied(label(preset)));
}

} // namespace vesnara
