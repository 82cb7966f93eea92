#pragma once

#include "model/MixPreset.h"
#include "model/STTConfiguration.h"
#include "model/TranscriptExportFormat.h"
#include "storage/STTConfigurationStore.h"

#include <QCoroTask>
#include <QObject>
#include <QStringList>

#include <optional>

namespace vesnara {

class Clipboard;
class Dialogs;
class Preferences;
class StatusLine;

/// The settings of recording: how to reach the speech backend, the language and model of a new
/// session, the export choices, the system audio fallback and the mixer. It holds the live
/// configuration record (with the signed-in user's token in memory only) and its mirrors, and
/// writes them back through `saveConfig`.
///
/// The record is exposed to the screens field by field; the session token never is. The
/// preferred sources are written by the sources part as the user picks them, so the record and
/// the pickers never disagree.
class RecordingSettings final : public QObject {
    Q_OBJECT

    // Connection: edited in memory, stored by `saveConfig`.
    Q_PROPERTY(QString baseURL READ baseURL WRITE setBaseURL NOTIFY baseURLChanged)
    Q_PROPERTY(QString apiKey READ apiKey WRITE setAPIKey NOTIFY apiKeyChanged)
    Q_PROPERTY(QString updateManifestURL READ updateManifestURL WRITE setUpdateManifestURL NOTIFY
                   updateManifestURLChanged)

    // A new session
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(QString sttModel READ sttModel WRITE setSttModel NOTIFY sttModelChanged)
    Q_PROPERTY(bool allowSystemFallback READ allowSystemFallback WRITE setAllowSystemFallback NOTIFY
                   allowSystemFallbackChanged)

    // Export; not stored, each run begins from the defaults.
    Q_PROPERTY(vesnara::TranscriptExportFormat exportFormat READ exportFormat WRITE setExportFormat
                   NOTIFY exportFormatChanged)
    Q_PROPERTY(bool autoExportEnabled READ autoExportEnabled WRITE setAutoExportEnabled NOTIFY
                   autoExportEnabledChanged)

    // Mixer: the sliders' values, taken by the next mixed chunk; bounds apply at `saveConfig`.
    Q_PROPERTY(
        double mixedMicGain READ mixedMicGain WRITE setMixedMicGain NOTIFY mixedMicGainChanged)
    Q_PROPERTY(double mixedSystemGain READ mixedSystemGain WRITE setMixedSystemGain NOTIFY
                   mixedSystemGainChanged)
    Q_PROPERTY(bool mixedAutoDuckEnabled READ mixedAutoDuckEnabled WRITE setMixedAutoDuckEnabled
                   NOTIFY mixedAutoDuckEnabledChanged)
    Q_PROPERTY(double mixedDuckingStrength READ mixedDuckingStrength WRITE setMixedDuckingStrength
                   NOTIFY mixedDuckingStrengthChanged)
    Q_PROPERTY(bool mixedLimiterEnabled READ mixedLimiterEnabled WRITE setMixedLimiterEnabled NOTIFY
                   mixedLimiterEnabledChanged)
    Q_PROPERTY(vesnara::MixPreset mixedPreset READ mixedPreset NOTIFY mixedPresetChanged)
    // Echo guard: stored at once, taken by the next mixed recording.
    Q_PROPERTY(bool echoGuardEnabled READ echoGuardEnabled WRITE setEchoGuardEnabled NOTIFY
                   echoGuardEnabledChanged)

    // Recording safety: stored at once as they change.
    Q_PROPERTY(bool audioSpoolEnabled READ audioSpoolEnabled WRITE setAudioSpoolEnabled NOTIFY
                   audioSpoolEnabledChanged)
    Q_PROPERTY(int autoStopSilenceMinutes READ autoStopSilenceMinutes WRITE
                   setAutoStopSilenceMinutes NOTIFY autoStopSilenceMinutesChanged)
    Q_PROPERTY(int maxAutoStopSilenceMinutes READ maxAutoStopSilenceMinutes CONSTANT)

    // Constants
    Q_PROPERTY(QStringList availableLanguages READ availableLanguages CONSTANT)
    Q_PROPERTY(QStringList availableModels READ availableModels CONSTANT)
    Q_PROPERTY(QString defaultBackendURL READ defaultBackendURL CONSTANT)
    Q_PROPERTY(QString defaultSharedAPIKey READ defaultSharedAPIKey CONSTANT)
    Q_PROPERTY(QString defaultUpdateManifestURL READ defaultUpdateManifestURL CONSTANT)

public:
    /// Loads the stored record, fills a blank endpoint or key with the compiled-in default,
    /// sets the mirrors and the preset from it and stores it back at once. Everything
    /// referenced must outlive the object; `clipboard` and `dialogs` may be null (no clipboard
    /// text, every prompt cancelled).
    RecordingSettings(Preferences& preferences, StatusLine& status, Clipboard* clipboard,
                      Dialogs* dialogs, QObject* parent = nullptr);

    /// The live record, session token included: what every request is given.
    const STTConfiguration& config() const { return m_config; }
    const QString& baseURL() const { return m_config.baseURL; }
    void setBaseURL(const QString& url);
    const QString& apiKey() const { return m_config.apiKey; }
    void setAPIKey(const QString& key);
    const QString& updateManifestURL() const { return m_config.updateManifestURL; }
    void setUpdateManifestURL(const QString& url);

    const QString& language() const { return m_language; }
    void setLanguage(const QString& language);
    const QString& sttModel() const { return m_sttModel; }
    void setSttModel(const QString& model);
    bool allowSystemFallback() const { return m_allowSystemFallback; }
    void setAllowSystemFallback(bool allow);
    TranscriptExportFormat exportFormat() const { return m_exportFormat; }
    void setExportFormat(TranscriptExportFormat format);
    bool autoExportEnabled() const { return m_autoExportEnabled; }
    void setAutoExportEnabled(bool enabled);

    const MixSettings& mixSettings() const { return m_mixSettings; }
    double mixedMicGain() const { return m_mixSettings.micGain; }
    void setMixedMicGain(double gain);
    double mixedSystemGain() const { return m_mixSettings.systemGain; }
    void setMixedSystemGain(double gain);
    bool mixedAutoDuckEnabled() const { return m_mixSettings.autoDuckEnabled; }
    void setMixedAutoDuckEnabled(bool enabled);
    double mixedDuckingStrength() const { return m_mixSettings.duckingStrength; }
    void setMixedDuckingStrength(double strength);
    bool mixedLimiterEnabled() const { return m_mixSettings.limiterEnabled; }
    void setMixedLimiterEnabled(bool enabled);
    // Echo guard
    bool echoGuardEnabled() const { return m_config.echoGuardEnabled; }
    void setEchoGuardEnabled(bool enabled);
    MixPreset mixedPreset() const { return m_mixedPreset; }

    bool audioSpoolEnabled() const { return m_config.audioSpoolEnabled; }
    void setAudioSpoolEnabled(bool enabled);
    int autoStopSilenceMinutes() const { return m_config.autoStopSilenceMinutes; }
    /// Clamped to 0 (off) … `STTConfiguration::maxAutoStopSilenceMinutes`.
    void setAutoStopSilenceMinutes(int minutes);
    static int maxAutoStopSilenceMinutes() { return STTConfiguration::maxAutoStopSilenceMinutes; }

    static QStringList availableLanguages();
    static QStringList availableModels();
    static QString defaultBackendURL();
    static QString defaultSharedAPIKey();
    static QString defaultUpdateManifestURL();

    /// Trims the endpoints and the key, takes the mirrors into the record (the mixer values
    /// clamped and written back to the sliders), classifies the preset and stores the record;
    /// "Asetukset tallennettu" with `showStatus`.
    Q_INVOKABLE void saveConfig(bool showStatus);
    Q_INVOKABLE void useDefaultBackendURL();
    Q_INVOKABLE void useDefaultSharedAPIKey();
    Q_INVOKABLE void useDefaultUpdateManifestURL();
    /// Takes the trimmed clipboard text as the API key and saves; with no text on the clipboard
    /// only says so.
    Q_INVOKABLE void useAPIKeyFromClipboard();
    /// Puts the signed-in user's session token (trimmed; blank means none) into the record in
    /// memory, from which every request sends it. Nothing is stored.
    Q_INVOKABLE void updateAuthContext(const QString& sessionToken);
    /// Sets the preset's five mixer values, saves silently and names the preset in the status
    /// line; `custom` changes nothing.
    Q_INVOKABLE void applyMixPreset(vesnara::MixPreset preset);

    /// Prompts for one setting with its current value; only "Tallenna" acts: the trimmed text
    /// (empty allowed) goes into the record and `saveConfig(true)` follows.
    Q_INVOKABLE void promptForBackendURL();
    Q_INVOKABLE void promptForAPIKey();
    Q_INVOKABLE void promptForUpdateManifestURL();

    /// The sources the user picked, stored at once as they change (nothing: automatic / all).
    void storePreferredInputDevice(std::optional<quint32> id);
    void storePreferredSystemDisplay(std::optional<quint32> id);
    void storePreferredSystemApplication(std::optional<QString> bundleID);

Q_SIGNALS:
    /// Any field of the record changed, the token included.
    void configChanged();
    void baseURLChanged();
    void apiKeyChanged();
    void updateManifestURLChanged();
    void languageChanged();
    void sttModelChanged();
    void allowSystemFallbackChanged();
    void exportFormatChanged();
    void autoExportEnabledChanged();
    void mixedMicGainChanged();
    void mixedSystemGainChanged();
    void mixedAutoDuckEnabledChanged();
    void mixedDuckingStrengthChanged();
    void mixedLimiterEnabledChanged();
    void echoGuardEnabledChanged(); // echo guard
    void mixedPresetChanged();
    void audioSpoolEnabledChanged();
    void autoStopSilenceMinutesChanged();

private:
    /// Which text setting a prompt edits.
    enum class PromptedField { baseURL, apiKey, updateManifestURL };
    QCoro::Task<> promptFor(PromptedField field);
    /// Replaces the record, signalling each field that changed.
    void setConfig(const STTConfiguration& config);
    void setMixSettings(const MixSettings& settings);
    void setMixedPreset(MixPreset preset);
    /// Changes the stored record in one place and writes it through the store, without the
    /// normalisation of `saveConfig`.
    template <typename Change> void storeChange(Change change);

    STTConfigurationStore m_store;
    StatusLine& m_status;
    Clipboard* m_clipboard;
    Dialogs* m_dialogs;

    STTConfiguration m_config;
    QString m_language;
    QString m_sttModel;
    bool m_allowSystemFallback = true;
    TranscriptExportFormat m_exportFormat = TranscriptExportFormat::txt;
    bool m_autoExportEnabled = false;
    MixSettings m_mixSettings;
    MixPreset m_mixedPreset = MixPreset::custom;
};

} // namespace vesnara
