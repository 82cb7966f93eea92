#pragma once

#include "PickerEntries.h"
#include "engine/TranscriptionViewModel.h"

#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QVariantList>

namespace vesnara {

/// What the advanced-settings card shows beyond the view model's own properties: the choices
/// of its fixed pickers, which rows and buttons apply now, and the texts that depend on state
/// (a slider's percentage, the permission hints, a button's busy wording). The mixer's setters
/// store the configuration quietly, so the preset picker follows the sliders.
class SettingsCard : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(vesnara::TranscriptionViewModel* viewModel READ viewModel WRITE setViewModel NOTIFY
                   viewModelChanged)

    /// The segmented pickers' and the export picker's entries: `{value, label}` each, `value`
    /// being the enumeration's number.
    Q_PROPERTY(QVariantList inputModes READ inputModes CONSTANT)
    Q_PROPERTY(QVariantList mixPresets READ mixPresets CONSTANT)
    Q_PROPERTY(QVariantList exportFormats READ exportFormats CONSTANT)
    Q_PROPERTY(QString versionLabel READ versionLabel CONSTANT)
    /// The source pickers' entries (`{value, label}` rows, Auto first) and the selected one.
    Q_PROPERTY(QObject* microphoneEntries READ microphoneEntries CONSTANT)
    Q_PROPERTY(int microphoneIndex READ microphoneIndex NOTIFY pickersChanged)
    Q_PROPERTY(QObject* displayEntries READ displayEntries CONSTANT)
    Q_PROPERTY(int displayIndex READ displayIndex NOTIFY pickersChanged)
    Q_PROPERTY(QObject* applicationEntries READ applicationEntries CONSTANT)
    Q_PROPERTY(int applicationIndex READ applicationIndex NOTIFY pickersChanged)

    /// The system audio rows show: the input mode takes system audio.
    Q_PROPERTY(bool showsSystemAudioRows READ showsSystemAudioRows NOTIFY stateChanged)
    /// The mixer rows show: the input mode is the microphone and system audio together.
    Q_PROPERTY(bool showsMixRows READ showsMixRows NOTIFY stateChanged)
    /// None of the presets is selected, and "Mukautettu" stands with the picker.
    Q_PROPERTY(bool isPresetCustom READ isPresetCustom NOTIFY stateChanged)
    /// The stored values as percentages; a value outside a slider's range still reads as stored.
    Q_PROPERTY(QString micGainLabel READ micGainLabel NOTIFY stateChanged)
    Q_PROPERTY(QString systemGainLabel READ systemGainLabel NOTIFY stateChanged)
    Q_PROPERTY(QString duckingStrengthLabel READ duckingStrengthLabel NOTIFY stateChanged)

    /// The permission groups: their hint ("" once granted), request button text and state.
    Q_PROPERTY(QString microphonePermissionHint READ microphonePermissionHint NOTIFY stateChanged)
    Q_PROPERTY(QString microphoneRequestText READ microphoneRequestText NOTIFY stateChanged)
    Q_PROPERTY(
        bool canRequestMicrophonePermission READ canRequestMicrophonePermission NOTIFY stateChanged)
    Q_PROPERTY(QString systemAudioPermissionHint READ systemAudioPermissionHint NOTIFY stateChanged)
    Q_PROPERTY(QString systemAudioRequestText READ systemAudioRequestText NOTIFY stateChanged)
    Q_PROPERTY(bool canRequestSystemAudioPermission READ canRequestSystemAudioPermission NOTIFY
                   stateChanged)

    Q_PROPERTY(bool canRunAudioTest READ canRunAudioTest NOTIFY stateChanged)
    Q_PROPERTY(QString restoreCrashedText READ restoreCrashedText NOTIFY stateChanged)
    Q_PROPERTY(bool canRestoreCrashed READ canRestoreCrashed NOTIFY stateChanged)
    /// "Muistio-AI: " and the memo backend's status.
    Q_PROPERTY(QString memoStatusLine READ memoStatusLine NOTIFY stateChanged)

public:
    explicit SettingsCard(QObject* parent = nullptr);

    TranscriptionViewModel* viewModel() const { return m_viewModel; }
    void setViewModel(TranscriptionViewModel* viewModel);

    static QVariantList inputModes();
    static QVariantList mixPresets();
    static QVariantList exportFormats();
    static QString versionLabel();
    /// The place of `entry` in a picker's plain list, -1 when it is not there.
    Q_INVOKABLE static int entryIndex(const QStringList& entries, const QString& entry);
    /// The export picker's entry of `format`.
    Q_INVOKABLE static int exportFormatIndex(vesnara::TranscriptExportFormat format);

    PickerEntries* microphoneEntries() { return &m_microphones; }
    int microphoneIndex() const { return m_microphones.selectedIndex(); }
    PickerEntries* displayEntries() { return &m_displays; }
    int displayIndex() const { return m_displays.selectedIndex(); }
    PickerEntries* applicationEntries() { return &m_applications; }
    int applicationIndex() const { return m_applications.selectedIndex(); }

    bool showsSystemAudioRows() const;
    bool showsMixRows() const;
    bool isPresetCustom() const;
    QString micGainLabel() const;
    QString systemGainLabel() const;
    QString duckingStrengthLabel() const;
    QString microphonePermissionHint() const;
    QString microphoneRequestText() const;
    bool canRequestMicrophonePermission() const;
    QString systemAudioPermissionHint() const;
    QString systemAudioRequestText() const;
    bool canRequestSystemAudioPermission() const;
    bool canRunAudioTest() const;
    QString restoreCrashedText() const;
    bool canRestoreCrashed() const;
    QString memoStatusLine() const;

    /// The mixer rows: each sets its value and stores the configuration without a status.
    Q_INVOKABLE void setMicGain(double gain);
    Q_INVOKABLE void setSystemGain(double gain);
    Q_INVOKABLE void setLimiterEnabled(bool enabled);
    Q_INVOKABLE void setAutoDuckEnabled(bool enabled);
    Q_INVOKABLE void setDuckingStrength(double strength);

Q_SIGNALS:
    void viewModelChanged();
    /// Any of the derived values may read differently.
    void stateChanged();
    /// The permission panel asks for the system audio help: its group opens.
    void systemAudioHelpShown();
    void pickersChanged();

private:
    /// What the permission groups read of one permission; without a view model it counts as
    /// granted, so nothing is offered.
    struct PermissionState {
        bool granted = true;
        bool shouldOpenSettings = false;
        bool requesting = false;
        bool canPrompt = false;
        /// Nothing once granted; else the settings hint when only the settings can help.
        QString hint(const QString& settingsHint, const QString& promptHint) const;
        QString requestText() const;
    };
    PermissionState microphoneState() const;
    PermissionState systemAudioState() const;
    bool canRequest(const PermissionState& state) const;
    template <typename Change> void changeMix(Change change);
    void connectPickers();

    QPointer<TranscriptionViewModel> m_viewModel;
    PickerEntries m_microphones;
    PickerEntries m_displays;
    PickerEntries m_applications;
};

} // namespace vesnara
