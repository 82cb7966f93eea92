#include "engine/parts/RecordingSettings.h"

#include "engine/AssignIfChanged.h"
#include "engine/StatusLine.h"
#include "model/DeploymentDefaults.h"
#include "platform/Clipboard.h"
#include "platform/Dialogs.h"
#include "text/UiText.h"

#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

bool isBlank(const QString& text) {
    return text.trimmed().isEmpty();
}

} // namespace

RecordingSettings::RecordingSettings(Preferences& preferences, StatusLine& status,
                                     Clipboard* clipboard, Dialogs* dialogs, QObject* parent)
    : QObject(parent)
    , m_store(preferences)
    , m_status(status)
    , m_clipboard(clipboard)
    , m_dialogs(dialogs) {
    STTConfiguration config = m_store.load();
    // Only here does a blank value turn into the default without the user asking; other values
    // keep their stored spelling until the next save trims them.
    if (isBlank(config.baseURL))
        config.baseURL = defaultBackendURL();
    if (isBlank(config.apiKey))
        config.apiKey = defaultSharedAPIKey();
    if (isBlank(config.updateManifestURL))
        config.updateManifestURL = defaultUpdateManifestURL();

    m_config = config;
    m_language = config.defaultLanguage;
    m_sttModel = config.defaultModel;
    m_allowSystemFallback = config.allowSystemFallback;
    m_mixSettings = config.mixSettings();
    m_mixedPreset = classifyMixPreset(m_mixSettings);
    m_store.save(m_config);
}

// Constants

QStringList RecordingSettings::availableLanguages() {
    return {u"fi-FI"_s, u"sv-SE"_s, u"en-US"_s};
}

QStringList RecordingSettings::availableModels() {
    return {u"chirp_3"_s, u"long"_s, u"telephony"_s, u"chirp_telephony"_s, u"short"_s};
}

QString RecordingSettings::defaultBackendURL() {
    return QString::fromUtf16(DeploymentDefaults::backendURL);
}

QString RecordingSettings::defaultSharedAPIKey() {
    return QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
}

QString RecordingSettings::defaultUpdateManifestURL() {
    return QString::fromUtf16(DeploymentDefaults::updateManifestURL);
}

// Setters

void RecordingSettings::setBaseURL(const QString& url) {
    STTConfiguration config = m_config;
    config.baseURL = url;
    setConfig(config);
}

void RecordingSettings::setAPIKey(const QString& key) {
    STTConfiguration config = m_config;
    config.apiKey = key;
    setConfig(config);
}

void RecordingSettings::setUpdateManifestURL(const QString& url) {
    STTConfiguration config = m_config;
    config.updateManifestURL = url;
    setConfig(config);
}

void RecordingSettings::setLanguage(const QString& language) {
    if (assignIfChanged(m_language, language))
        Q_EMIT languageChanged();
}

void RecordingSettings::setSttModel(const QString& model) {
    if (assignIfChanged(m_sttModel, model))
        Q_EMIT sttModelChanged();
}

void RecordingSettings::setAllowSystemFallback(bool allow) {
    if (assignIfChanged(m_allowSystemFallback, allow))
        Q_EMIT allowSystemFallbackChanged();
}

void RecordingSettings::setExportFormat(TranscriptExportFormat format) {
    if (assignIfChanged(m_exportFormat, format))
        Q_EMIT exportFormatChanged();
}

void RecordingSettings::setAutoExportEnabled(bool enabled) {
    if (assignIfChanged(m_autoExportEnabled, enabled))
        Q_EMIT autoExportEnabledChanged();
}

void RecordingSettings::setMixedMicGain(double gain) {
    if (assignIfChanged(m_mixSettings.micGain, gain))
        Q_EMIT mixedMicGainChanged();
}

void RecordingSettings::setMixedSystemGain(double gain) {
    if (assignIfChanged(m_mixSettings.systemGain, gain))
        Q_EMIT mixedSystemGainChanged();
}

void RecordingSettings::setMixedAutoDuckEnabled(bool enabled) {
    if (assignIfChanged(m_mixSettings.autoDuckEnabled, enabled))
        Q_EMIT mixedAutoDuckEnabledChanged();
}

void RecordingSettings::setMixedDuckingStrength(double strength) {
    if (assignIfChanged(m_mixSettings.duckingStrength, strength))
        Q_EMIT mixedDuckingStrengthChanged();
}

void RecordingSettings::setMixedLimiterEnabled(bool enabled) {
    if (assignIfChanged(m_mixSettings.limiterEnabled, enabled))
        Q_EMIT mixedLimiterEnabledChanged();
}

// Echo guard
void RecordingSettings::setEchoGuardEnabled(bool enabled) {
    if (m_config.echoGuardEnabled == enabled)
        return;
    storeChange([enabled](STTConfiguration& config) { config.echoGuardEnabled = enabled; });
    Q_EMIT echoGuardEnabledChanged();
}

void RecordingSettings::setConfig(const STTConfiguration& config) {
    if (m_config == config)
        return;
    const STTConfiguration before = std::exchange(m_config, config);
    if (before.baseURL != config.baseURL)
        Q_EMIT baseURLChanged();
    if (before.apiKey != config.apiKey)
        Q_EMIT apiKeyChanged();
    if (before.updateManifestURL != config.updateManifestURL)
        Q_EMIT updateManifestURLChanged();
    if (before.audioSpoolEnabled != config.audioSpoolEnabled)
        Q_EMIT audioSpoolEnabledChanged();
    if (before.autoStopSilenceMinutes != config.autoStopSilenceMinutes)
        Q_EMIT autoStopSilenceMinutesChanged();
    Q_EMIT configChanged();
}

void RecordingSettings::setMixSettings(const MixSettings& settings) {
    setMixedMicGain(settings.micGain);
    setMixedSystemGain(settings.systemGain);
    setMixedAutoDuckEnabled(settings.autoDuckEnabled);
    setMixedDuckingStrength(settings.duckingStrength);
    setMixedLimiterEnabled(settings.limiterEnabled);
}

void RecordingSettings::setMixedPreset(MixPreset preset) {
    if (assignIfChanged(m_mixedPreset, preset))
        Q_EMIT mixedPresetChanged();
}

// Commands

void RecordingSettings::saveConfig(bool showStatus) {
    STTConfiguration config = m_config;
    config.baseURL = config.baseURL.trimmed();
    config.apiKey = config.apiKey.trimmed();
    config.updateManifestURL = config.updateManifestURL.trimmed();
    config.defaultLanguage = m_language;
    config.defaultModel = m_sttModel;
    config.allowSystemFallback = m_allowSystemFallback;
    const MixSettings clamped = m_mixSettings.clamped();
    config.setMixSettings(clamped);

    setMixSettings(clamped);
    setMixedPreset(classifyMixPreset(clamped));
    setConfig(config);
    m_store.save(m_config);
    if (showStatus)
        m_status.setStatusText(UiText::settingsSaved);
}

void RecordingSettings::useDefaultBackendURL() {
    setBaseURL(defaultBackendURL());
    saveConfig(true);
}

void RecordingSettings::useDefaultSharedAPIKey() {
    setAPIKey(defaultSharedAPIKey());
    saveConfig(true);
}

void RecordingSettings::useDefaultUpdateManifestURL() {
    setUpdateManifestURL(defaultUpdateManifestURL());
    saveConfig(true);
}

void RecordingSettings::useAPIKeyFromClipboard() {
    const QString key = m_clipboard ? m_clipboard->text().value_or(QString()).trimmed() : QString();
    if (key.isEmpty()) {
        m_status.setStatusText(UiText::noAPIKeyOnClipboard);
        return;
    }
    setAPIKey(key);
    saveConfig(true);
}

void RecordingSettings::updateAuthContext(const QString& sessionToken) {
    const QString token = sessionToken.trimmed();
    STTConfiguration config = m_config;
    config.authToken = token.isEmpty() ? std::nullopt : std::optional(token);
    setConfig(config);
}

void RecordingSettings::applyMixPreset(MixPreset preset) {
    const std::optional<MixSettings> settings = settingsOf(preset);
    if (!settings)
        return;
    setMixSettings(*settings);
    setMixedPreset(preset);
    saveConfig(false);
    m_status.setStatusText(UiText::mixPresetApplied(label(preset)));
}

void RecordingSettings::promptForBackendURL() {
    promptFor(PromptedField::baseURL);
}

void RecordingSettings::promptForAPIKey() {
    promptFor(PromptedField::apiKey);
}

void RecordingSettings::promptForUpdateManifestURL() {
    promptFor(PromptedField::updateManifestURL);
}

QCoro::Task<> RecordingSettings::promptFor(PromptedField field) {
    if (!m_dialogs)
        co_return;
    const QPointer<RecordingSettings> self(this);
    std::optional<QString> entered;
    switch (field) {
    case PromptedField::baseURL:
        entered = co_await m_dialogs->promptText(UiText::promptBackendURLTitle,
                                                 UiText::promptBackendURLText, m_config.baseURL,
                                                 UiText::promptBackendURLPlaceholder, false);
        break;
    case PromptedField::apiKey:
        entered =
            co_await m_dialogs->promptText(UiText::promptAPIKeyTitle, UiText::promptAPIKeyText,
                                           m_config.apiKey, UiText::promptAPIKeyPlaceholder, true);
        break;
    case PromptedField::updateManifestURL:
        entered = co_await m_dialogs->promptText(
            UiText::promptUpdateManifestURLTitle, UiText::promptUpdateManifestURLText,
            m_config.updateManifestURL, UiText::promptUpdateManifestURLPlaceholder, false);
        break;
    }
    if (!self || !entered)
        co_return;
    const QString value = entered->trimmed();
    switch (field) {
    case PromptedField::baseURL:
        setBaseURL(value);
        break;
    case PromptedField::apiKey:
        setAPIKey(value);
        break;
    case PromptedField::updateManifestURL:
        setUpdateManifestURL(value);
        break;
    }
    saveConfig(true);
}

// The preferred sources

template <typename Change> void RecordingSettings::storeChange(Change change) {
    STTConfiguration config = m_config;
    change(config);
    setConfig(config);
    m_store.save(m_config);
}

void RecordingSettings::storePreferredInputDevice(std::optional<quint32> id) {
    storeChange([&id](STTConfiguration& config) { config.preferredInputDeviceID = id; });
}

void RecordingSettings::storePreferredSystemDisplay(std::optional<quint32> id) {
    storeChange([&id](STTConfiguration& config) { config.preferredSystemDisplayID = id; });
}

void RecordingSettings::storePreferredSystemApplication(std::optional<QString> bundleID) {
    storeChange([&bundleID](STTConfiguration& config) {
        config.preferredSystemApplicationBundleID = std::move(bundleID);
    });
}

// Recording safety

void RecordingSettings::setAudioSpoolEnabled(bool enabled) {
    if (enabled != m_config.audioSpoolEnabled)
        storeChange([enabled](STTConfiguration& config) { config.audioSpoolEnabled = enabled; });
}

void RecordingSettings::setAutoStopSilenceMinutes(int minutes) {
    const int clamped = std::clamp(minutes, 0, STTConfiguration::maxAutoStopSilenceMinutes);
    if (clamped != m_config.autoStopSilenceMinutes)
        storeChange(
            [clamped](STTConfiguration& config) { config.autoStopSilenceMinutes = clamped; });
}

} // namespace vesnara
