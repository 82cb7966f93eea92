#include "SettingsCard.h"

#include "engine/parts/AudioSources.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SupportTools.h"
#include "model/AudioInputMode.h"
#include "model/DeploymentDefaults.h"
#include "model/MixPreset.h"
#include "model/TranscriptExportFormat.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

template <typename Enum> QVariantList choices(const QList<Enum>& values) {
    QVariantList entries;
    entries.reserve(values.size());
    for (const Enum value : values)
        entries.append(
            QVariantMap{{u"value"_s, static_cast<int>(value)}, {u"label"_s, label(value)}});
    return entries;
}

} // namespace

SettingsCard::SettingsCard(QObject* parent)
    : QObject(parent) {
    m_microphones.setAutoValue(quint32(0));
    m_displays.setAutoValue(quint32(0));
    m_applications.setAutoValue(QString());
    for (PickerEntries* entries : {&m_microphones, &m_displays, &m_applications})
        connect(entries, &PickerEntries::selectionChanged, this, &SettingsCard::pickersChanged);
}

void SettingsCard::setViewModel(TranscriptionViewModel* viewModel) {
    if (m_viewModel == viewModel)
        return;
    if (m_viewModel) {
        for (QObject* part : std::initializer_list<QObject*>{
                 m_viewModel, m_viewModel->settings(), m_viewModel->sources(),
                 m_viewModel->permissions(), m_viewModel->support(),
                 m_viewModel->sources()->inputDeviceModel()})
            disconnect(part, nullptr, this, nullptr);
    }
    m_viewModel = viewModel;
    connectPickers();
    if (m_viewModel) {
        const auto changed = [this] { Q_EMIT stateChanged(); };
        TranscriptionViewModel* vm = m_viewModel;
        connect(vm, &TranscriptionViewModel::isRecordingChanged, this, changed);
        RecordingSettings* settings = vm->settings();
        for (auto signal :
             {&RecordingSettings::mixedMicGainChanged, &RecordingSettings::mixedSystemGainChanged,
              &RecordingSettings::mixedDuckingStrengthChanged,
              &RecordingSettings::mixedPresetChanged})
            connect(settings, signal, this, changed);
        connect(vm->sources(), &AudioSources::inputModeChanged, this, changed);
        PermissionPanel* permissions = vm->permissions();
        for (auto signal : {&PermissionPanel::microphonePermissionChanged,
                            &PermissionPanel::isRequestingMicrophonePermissionChanged,
                            &PermissionPanel::systemAudioPermissionChanged,
                            &PermissionPanel::isRequestingSystemAudioPermissionChanged})
            connect(permissions, signal, this, changed);
        connect(permissions, &PermissionPanel::showSystemAudioPermissionHelpChanged, this,
                [this, permissions] {
                    if (permissions->showSystemAudioPermissionHelp())
                        Q_EMIT systemAudioHelpShown();
                });
        SupportTools* support = vm->support();
        for (auto signal : {&SupportTools::isAudioTestRunningChanged,
                            &SupportTools::isCrashRecoveryRunningChanged,
                            &SupportTools::memoAIBackendStatusChanged})
            connect(support, signal, this, changed);
    }
    Q_EMIT viewModelChanged();
    Q_EMIT stateChanged();
}

void SettingsCard::connectPickers() {
    AudioSources* sources = m_viewModel ? m_viewModel->sources() : nullptr;
    m_microphones.setSource(sources ? sources->inputDeviceModel() : nullptr);
    m_displays.setSource(sources ? sources->systemDisplayModel() : nullptr);
    m_applications.setSource(sources ? sources->systemApplicationModel() : nullptr);
    if (!sources)
        return;
    const auto labels = [this, sources] {
        m_microphones.setAutoLabel(sources->inputDeviceModel()->autoDeviceLabel());
        m_displays.setAutoLabel(sources->systemDisplayModel()->autoLabel());
        m_applications.setAutoLabel(sources->systemApplicationModel()->autoLabel());
    };
    const auto selections = [this, sources] {
        m_microphones.setSelectedValue(sources->selectedInputDeviceID());
        m_displays.setSelectedValue(sources->selectedSystemDisplayID());
        m_applications.setSelectedValue(sources->selectedSystemApplicationBundleID());
    };
    labels();
    selections();
    connect(sources->inputDeviceModel(), &InputDeviceListModel::autoDeviceLabelChanged, this,
            labels);
    for (auto signal : {&AudioSources::selectedInputDeviceIDChanged,
                        &AudioSources::selectedSystemDisplayIDChanged,
                        &AudioSources::selectedSystemApplicationBundleIDChanged})
        connect(sources, signal, this, selections);
}

QVariantList SettingsCard::inputModes() {
    return choices(allAudioInputModes());
}

QVariantList SettingsCard::mixPresets() {
    return choices(selectableMixPresets());
}

QVariantList SettingsCard::exportFormats() {
    return choices(allTranscriptExportFormats());
}

int SettingsCard::entryIndex(const QStringList& entries, const QString& entry) {
    return static_cast<int>(entries.indexOf(entry));
}

int SettingsCard::exportFormatIndex(TranscriptExportFormat format) {
    return static_cast<int>(allTranscriptExportFormats().indexOf(format));
}

QString SettingsCard::versionLabel() {
    return UiText::settingsVersionLabel(QString::fromUtf16(DeploymentDefaults::applicationVersion),
                                        QString::fromUtf16(DeploymentDefaults::applicationBuild));
}

bool SettingsCard::showsSystemAudioRows() const {
    return m_viewModel && usesSystemAudio(m_viewModel->sources()->inputMode());
}

bool SettingsCard::showsMixRows() const {
    return m_viewModel &&
           m_viewModel->sources()->inputMode() == AudioInputMode::microphoneAndSystem;
}

bool SettingsCard::isPresetCustom() const {
    return m_viewModel && m_viewModel->settings()->mixedPreset() == MixPreset::custom;
}

QString SettingsCard::micGainLabel() const {
    return m_viewModel ? UiText::settingsPercent(m_viewModel->settings()->mixedMicGain())
                       : QString();
}

QString SettingsCard::systemGainLabel() const {
    return m_viewModel ? UiText::settingsPercent(m_viewModel->settings()->mixedSystemGain())
                       : QString();
}

QString SettingsCard::duckingStrengthLabel() const {
    return m_viewModel ? UiText::settingsPercent(m_viewModel->settings()->mixedDuckingStrength())
                       : QString();
}

SettingsCard::PermissionState SettingsCard::microphoneState() const {
    if (!m_viewModel)
        return {};
    const PermissionPanel& p = *m_viewModel->permissions();
    return {p.isMicrophonePermissionGranted(), p.shouldOpenMicrophoneSystemSettings(),
            p.isRequestingMicrophonePermission(), p.canRequestMicrophonePermissionPrompt()};
}

SettingsCard::PermissionState SettingsCard::systemAudioState() const {
    if (!m_viewModel)
        return {};
    const PermissionPanel& p = *m_viewModel->permissions();
    return {p.isSystemAudioPermissionGranted(), p.shouldOpenSystemAudioSystemSettings(),
            p.isRequestingSystemAudioPermission(), p.canRequestSystemAudioPermissionPrompt()};
}

bool SettingsCard::canRequest(const PermissionState& state) const {
    return m_viewModel && !m_viewModel->isRecording() && !state.requesting && !state.granted &&
           state.canPrompt;
}

QString SettingsCard::PermissionState::hint(const QString& settingsHint,
                                            const QString& promptHint) const {
    if (granted)
        return {};
    return shouldOpenSettings ? settingsHint : promptHint;
}

QString SettingsCard::PermissionState::requestText() const {
    return requesting ? UiText::permissionRequesting : UiText::permissionRequest;
}

QString SettingsCard::microphonePermissionHint() const {
    return microphoneState().hint(UiText::microphonePermissionSettingsHint,
                                  UiText::microphonePermissionPromptHint);
}

QString SettingsCard::microphoneRequestText() const {
    return microphoneState().requestText();
}

bool SettingsCard::canRequestMicrophonePermission() const {
    return canRequest(microphoneState());
}

QString SettingsCard::systemAudioPermissionHint() const {
    return systemAudioState().hint(UiText::systemAudioPermissionSettingsHint,
                                   UiText::systemAudioPermissionPromptHint);
}

QString SettingsCard::systemAudioRequestText() const {
    return systemAudioState().requestText();
}

bool SettingsCard::canRequestSystemAudioPermission() const {
    return canRequest(systemAudioState());
}

bool SettingsCard::canRunAudioTest() const {
    return m_viewModel && !m_viewModel->isRecording() &&
           !m_viewModel->support()->isAudioTestRunning();
}

QString SettingsCard::restoreCrashedText() const {
    const bool restoring = m_viewModel && m_viewModel->support()->isCrashRecoveryRunning();
    return restoring ? UiText::diagnosticsRestoring : UiText::diagnosticsRestoreCrashed;
}

bool SettingsCard::canRestoreCrashed() const {
    return m_viewModel && !m_viewModel->isRecording() &&
           !m_viewModel->support()->isCrashRecoveryRunning();
}

QString SettingsCard::memoStatusLine() const {
    return m_viewModel ? UiText::settingsMemoStatus(m_viewModel->support()->memoAIBackendStatus())
                       : QString();
}

template <typename Change> void SettingsCard::changeMix(Change change) {
    if (!m_viewModel)
        return;
    RecordingSettings& settings = *m_viewModel->settings();
    change(settings);
    settings.saveConfig(false);
}

void SettingsCard::setMicGain(double gain) {
    changeMix([gain](RecordingSettings& s) { s.setMixedMicGain(gain); });
}

void SettingsCard::setSystemGain(double gain) {
    changeMix([gain](RecordingSettings& s) { s.setMixedSystemGain(gain); });
}

void SettingsCard::setLimiterEnabled(bool enabled) {
    changeMix([enabled](RecordingSettings& s) { s.setMixedLimiterEnabled(enabled); });
}

void SettingsCard::setAutoDuckEnabled(bool enabled) {
    changeMix([enabled](RecordingSettings& s) { s.setMixedAutoDuckEnabled(enabled); });
}

void SettingsCard::setDuckingStrength(double strength) {
    changeMix([strength](RecordingSettings& s) { s.setMixedDuckingStrength(strength); });
}

} // namespace vesnara
