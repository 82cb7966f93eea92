// Construction, derived values and setters of the view model.
#include "engine/TranscriptionViewModel.h"

#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioPermissionSnapshot.h"
#include "backend/WebSocketStreamClient.h"
#include "engine/rules/SessionMetaRules.h"
#include "engine/rules/TranscriptText.h"
#include "model/DeploymentDefaults.h"
#include "platform/PermissionProbe.h"
#include "text/UiText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

bool isBlank(const QString& text) {
    return text.trimmed().isEmpty();
}

} // namespace

// Construction

TranscriptionViewModel::TranscriptionViewModel(Dependencies dependencies, QObject* parent)
    : QObject(parent)
    , m_timing(dependencies.timing)
    , m_permissions(std::move(dependencies.permissionProbe), m_timing, m_status,
                    dependencies.desktopServices)
    , m_history(dependencies.historyDirectory)
    , m_configStore(dependencies.preferences)
    , m_apiClient(dependencies.transport, dependencies.timing)
    , m_microphone(dependencies.audioInputBackend)
    , m_systemAudio(dependencies.systemAudioBackend, dependencies.timing)
    , m_clipboard(dependencies.clipboard)
    , m_desktopServices(dependencies.desktopServices)
    , m_memoAIBackendStatus(UiText::memoBackendStatusUnknown)
    , m_startAttemptID(QUuid::createUuid())
    , m_resumeAttemptID(QUuid::createUuid()) {
    m_status.setStatusText(UiText::statusReadyToStart);
    STTConfiguration config = m_configStore.load();
    if (isBlank(config.baseURL))
        config.baseURL = defaultBackendURL();
    if (isBlank(config.apiKey))
        config.apiKey = defaultSharedAPIKey();
    if (isBlank(config.updateManifestURL))
        config.updateManifestURL = defaultUpdateManifestURL();

    m_config = config;
    m_language = config.defaultLanguage;
    m_sttModel = config.defaultModel;
    m_selectedInputDeviceID = config.preferredInputDeviceID.value_or(0);
    m_selectedSystemDisplayID = config.preferredSystemDisplayID.value_or(0);
    m_selectedSystemApplicationBundleID =
        config.preferredSystemApplicationBundleID.value_or(QString());
    m_allowSystemFallback = config.allowSystemFallback;
    m_mixSettings = config.mixSettings();
    m_mixedPreset = classifyMixPreset(m_mixSettings);

    m_configStore.save(m_config);

    refreshInputDevices();
}

TranscriptionViewModel::~TranscriptionViewModel() {
    // Stopping the sources first guarantees that no capture thread posts to this object while
    // it is being destroyed.
    m_microphone.onPCMFrame = {};
    m_microphone.stop();
    m_systemAudio.onPCMFrame = {};
    m_systemAudio.onRawAudioSample = {};
    m_systemAudio.stop();
    for (StoredTask* task :
         {&m_transcriptPollTask, &m_sessionMetaPollTask, &m_audioKeepAliveTask, &m_audioTestTask,
          &m_microphoneLivenessTask, &m_pauseTickerTask, &m_startRecordingTimeoutTask,
          &m_resumeRecordingTimeoutTask, &m_pinHighlightTask})
        task->cancelAndClear();
    if (m_webSocketClient)
        m_webSocketClient->close();
}

// Derived values

bool TranscriptionViewModel::canStart() const {
    return !isStartingRecording() && !isRecording() && !isResumingRecording() &&
           !m_isAudioTestRunning;
}

bool TranscriptionViewModel::canStop() const {
    return isStartingRecording() || isRecording() || isResumingRecording();
}

bool TranscriptionViewModel::canPause() const {
    return isRecording() && !isPaused() && !isResumingRecording();
}

bool TranscriptionViewModel::canResume() const {
    return isRecording() && isPaused() && !isResumingRecording();
}

bool TranscriptionViewModel::canAddPin() const {
    return isRecording() && !isStartingRecording() && !isResumingRecording();
}

bool TranscriptionViewModel::canSave() const {
    return (!m_segments.isEmpty() || !m_pins.isEmpty()) && !isRecording();
}

bool TranscriptionViewModel::canSummary() const {
    return !m_segments.isEmpty() && !isRecording() && !m_sessionId.isEmpty();
}

QString TranscriptionViewModel::transcriptText() const {
    return vesnara::transcriptText(m_segments);
}

qsizetype TranscriptionViewModel::wordCount() const {
    return vesnara::wordCount(transcriptText());
}

QList<TranscriptPin> TranscriptionViewModel::pinsSortedByTimestamp() const {
    QList<TranscriptPin> sorted = m_pins;
    std::stable_sort(
        sorted.begin(), sorted.end(),
        [](const TranscriptPin& a, const TranscriptPin& b) { return a.timestamp < b.timestamp; });
    return sorted;
}

QString TranscriptionViewModel::selectedInputDeviceName() const {
    if (m_selectedInputDeviceID == 0)
        return UiText::automaticSource;
    for (const auto& device : m_availableInputDevices) {
        if (device.id == m_selectedInputDeviceID)
            return device.name;
    }
    return UiText::unknownInputDevice;
}

bool TranscriptionViewModel::isSelectedInputDeviceVirtual() const {
    for (const auto& device : m_availableInputDevices) {
        if (m_selectedInputDeviceID != 0 && device.id == m_selectedInputDeviceID)
            return device.isVirtual;
    }
    return false;
}

QString TranscriptionViewModel::selectedSystemDisplayName() const {
    if (m_selectedSystemDisplayID == 0)
        return UiText::automaticSource;
    for (const auto& display : m_availableSystemDisplays) {
        if (display.id == m_selectedSystemDisplayID)
            return display.name;
    }
    return UiText::unknownSystemDisplay;
}

QString TranscriptionViewModel::micStatusLabel() const {
    const QString systemName = m_systemAudio.activeSourceName().isEmpty()
                                   ? UiText::systemAudioSourceFallbackName
                                   : m_systemAudio.activeSourceName();
    switch (m_inputMode) {
    case AudioInputMode::microphone:
        return selectedInputDeviceName();
    case AudioInputMode::systemAudio:
        return systemName;
    case AudioInputMode::microphoneAndSystem:
        return selectedInputDeviceName() + u" + "_s + systemName;
    }
    return selectedInputDeviceName();
}

// Constants

QStringList TranscriptionViewModel::availableLanguages() {
    return {u"fi-FI"_s, u"sv-SE"_s, u"en-US"_s};
}

QStringList TranscriptionViewModel::availableModels() {
    return {u"chirp_3"_s, u"long"_s, u"telephony"_s, u"chirp_telephony"_s, u"short"_s};
}

QString TranscriptionViewModel::defaultBackendURL() {
    return QString::fromUtf16(DeploymentDefaults::backendURL);
}

QString TranscriptionViewModel::defaultSharedAPIKey() {
    return QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
}

QString TranscriptionViewModel::defaultUpdateManifestURL() {
    return QString::fromUtf16(DeploymentDefaults::updateManifestURL);
}

// Public setters

#define VESNARA_ASSIGN_AND_NOTIFY(field, value, signal)                                            \
    do {                                                                                           \
        if ((field) == (value))                                                                    \
            return;                                                                                \
        (field) = (value);                                                                         \
        Q_EMIT signal();                                                                           \
    } while (false)

void TranscriptionViewModel::setLanguage(const QString& language) {
    VESNARA_ASSIGN_AND_NOTIFY(m_language, language, languageChanged);
}

void TranscriptionViewModel::setSttModel(const QString& model) {
    VESNARA_ASSIGN_AND_NOTIFY(m_sttModel, model, sttModelChanged);
}

void TranscriptionViewModel::setExportFormat(TranscriptExportFormat format) {
    VESNARA_ASSIGN_AND_NOTIFY(m_exportFormat, format, exportFormatChanged);
}

void TranscriptionViewModel::setAutoExportEnabled(bool enabled) {
    VESNARA_ASSIGN_AND_NOTIFY(m_autoExportEnabled, enabled, autoExportEnabledChanged);
}

void TranscriptionViewModel::setAllowSystemFallback(bool allow) {
    VESNARA_ASSIGN_AND_NOTIFY(m_allowSystemFallback, allow, allowSystemFallbackChanged);
}

void TranscriptionViewModel::setSelectedInputDeviceID(quint32 id) {
    if (m_selectedInputDeviceID == id)
        return;
    m_selectedInputDeviceID = id;
    Q_EMIT selectedInputDeviceIDChanged();
    Q_EMIT sourceLabelsChanged();
}

void TranscriptionViewModel::setSelectedSystemDisplayID(quint32 id) {
    if (m_selectedSystemDisplayID == id)
        return;
    m_selectedSystemDisplayID = id;
    Q_EMIT selectedSystemDisplayIDChanged();
    Q_EMIT sourceLabelsChanged();
}

void TranscriptionViewModel::setSelectedSystemApplicationBundleID(const QString& bundleID) {
    VESNARA_ASSIGN_AND_NOTIFY(m_selectedSystemApplicationBundleID, bundleID,
                              selectedSystemApplicationBundleIDChanged);
}

void TranscriptionViewModel::setInputMode(AudioInputMode mode) {
    if (m_inputMode == mode)
        return;
    m_inputMode = mode;
    Q_EMIT inputModeChanged();
    Q_EMIT sourceLabelsChanged();
}

void TranscriptionViewModel::setMixedMicGain(double gain) {
    VESNARA_ASSIGN_AND_NOTIFY(m_mixSettings.micGain, gain, mixedMicGainChanged);
}

void TranscriptionViewModel::setMixedSystemGain(double gain) {
    VESNARA_ASSIGN_AND_NOTIFY(m_mixSettings.systemGain, gain, mixedSystemGainChanged);
}

void TranscriptionViewModel::setMixedAutoDuckEnabled(bool enabled) {
    VESNARA_ASSIGN_AND_NOTIFY(m_mixSettings.autoDuckEnabled, enabled, mixedAutoDuckEnabledChanged);
}

void TranscriptionViewModel::setMixedDuckingStrength(double strength) {
    VESNARA_ASSIGN_AND_NOTIFY(m_mixSettings.duckingStrength, strength, mixedDuckingStrengthChanged);
}

void TranscriptionViewModel::setMixedLimiterEnabled(bool enabled) {
    VESNARA_ASSIGN_AND_NOTIFY(m_mixSettings.limiterEnabled, enabled, mixedLimiterEnabledChanged);
}

// Private setters

void TranscriptionViewModel::notifyRunStateChanged() {
    Q_EMIT commandAvailabilityChanged();
}

void TranscriptionViewModel::setConfig(const STTConfiguration& config) {
    VESNARA_ASSIGN_AND_NOTIFY(m_config, config, configChanged);
}

void TranscriptionViewModel::setMixSettings(const MixSettings& settings) {
    setMixedMicGain(settings.micGain);
    setMixedSystemGain(settings.systemGain);
    setMixedAutoDuckEnabled(settings.autoDuckEnabled);
    setMixedDuckingStrength(settings.duckingStrength);
    setMixedLimiterEnabled(settings.limiterEnabled);
}

void TranscriptionViewModel::setMixedPreset(MixPreset preset) {
    VESNARA_ASSIGN_AND_NOTIFY(m_mixedPreset, preset, mixedPresetChanged);
}

void TranscriptionViewModel::setRunState(RecordingRunState state) {
    if (m_runState == state)
        return;
    const RecordingRunFlags before = flagsOf(m_runState);
    const RecordingRunFlags after = flagsOf(state);
    m_runState = state;
    // Every flag is set before any signal goes out, so a receiver never reads a mixed state.
    Q_EMIT runStateChanged();
    if (before.isRecording != after.isRecording)
        Q_EMIT isRecordingChanged();
    if (before.isStartingRecording != after.isStartingRecording)
        Q_EMIT isStartingRecordingChanged();
    if (before.isResumingRecording != after.isResumingRecording)
        Q_EMIT isResumingRecordingChanged();
    if (before.isPaused != after.isPaused)
        Q_EMIT isPausedChanged();
    notifyRunStateChanged();
}

void TranscriptionViewModel::setStatusText(const QString& text) {
    m_status.setStatusText(text);
}

void TranscriptionViewModel::setPauseElapsedLabel(const QString& label) {
    VESNARA_ASSIGN_AND_NOTIFY(m_pauseElapsedLabel, label, pauseElapsedLabelChanged);
}

void TranscriptionViewModel::setDiagnosticHint(const QString& hint) {
    m_status.setDiagnosticHint(hint);
}

void TranscriptionViewModel::setFallbackNoticeVisible(bool visible) {
    VESNARA_ASSIGN_AND_NOTIFY(m_fallbackNoticeVisible, visible, fallbackNoticeVisibleChanged);
}

void TranscriptionViewModel::setInterimText(const QString& text) {
    VESNARA_ASSIGN_AND_NOTIFY(m_interimText, text, interimTextChanged);
}

void TranscriptionViewModel::setSegments(QList<TranscriptSegment> segments) {
    if (m_segments == segments)
        return;
    m_segments = std::move(segments);
    Q_EMIT segmentsChanged();
    notifyRunStateChanged();
}

void TranscriptionViewModel::setPins(QList<TranscriptPin> pins) {
    if (m_pins == pins)
        return;
    m_pins = std::move(pins);
    Q_EMIT pinsChanged();
    notifyRunStateChanged();
}

void TranscriptionViewModel::setSelectedPinId(std::optional<QUuid> id) {
    VESNARA_ASSIGN_AND_NOTIFY(m_selectedPinId, id, selectedPinIdChanged);
}

void TranscriptionViewModel::setHighlightedPinId(std::optional<QUuid> id) {
    VESNARA_ASSIGN_AND_NOTIFY(m_highlightedPinId, id, highlightedPinIdChanged);
}

void TranscriptionViewModel::setSessionId(const QString& id) {
    if (m_sessionId == id)
        return;
    m_sessionId = id;
    Q_EMIT sessionIdChanged();
    notifyRunStateChanged();
}

void TranscriptionViewModel::setIsAudioTestRunning(bool value) {
    if (m_isAudioTestRunning == value)
        return;
    m_isAudioTestRunning = value;
    Q_EMIT isAudioTestRunningChanged();
    Q_EMIT commandAvailabilityChanged();
}

void TranscriptionViewModel::setAvailableInputDevices(QList<AudioInputDeviceOption> devices) {
    if (m_availableInputDevices == devices)
        return;
    m_availableInputDevices = std::move(devices);
    Q_EMIT availableInputDevicesChanged();
    Q_EMIT sourceLabelsChanged();
}

#undef VESNARA_ASSIGN_AND_NOTIFY

} // namespace vesnara
