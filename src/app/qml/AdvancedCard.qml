import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// Sources, devices, the mix, formats, the connection, permissions and the support tools, top to
// bottom. The system audio rows show only for a mode that takes system audio, the mixer rows
// only for both sources together, and the last three groups only for an administrator.
Card {
    id: card

    required property MainScreen screen

    title: Texts.mainAdvancedCard

    Component.onCompleted: AdminUsersPanel.applyAdminGate(ConnectionSettingsForm.inAppAdminEnabled)

    SettingsCard {
        id: settingsCard

        viewModel: ViewModel
    }

    SegmentedPicker {
        model: settingsCard.inputModes
        selectedValue: ViewModel.sources.inputMode
        onChosen: value => ViewModel.sources.inputMode = value
    }

    HintText {
        text: Texts.settingsInputModeHint
    }

    ToggleRow {
        text: Texts.settingsSystemFallback
        checked: ViewModel.settings.allowSystemFallback
        onToggled: ViewModel.settings.allowSystemFallback = checked
    }

    PickerRow {
        id: languagePicker

        title: Texts.settingsLanguage
        model: ViewModel.settings.availableLanguages
        selectedIndex: settingsCard.entryIndex(ViewModel.settings.availableLanguages, ViewModel.settings.language)
        onActivated: ViewModel.settings.language = languagePicker.currentText
    }

    PickerRow {
        id: modelPicker

        title: Texts.settingsModel
        model: ViewModel.settings.availableModels
        selectedIndex: settingsCard.entryIndex(ViewModel.settings.availableModels, ViewModel.settings.sttModel)
        onActivated: ViewModel.settings.sttModel = modelPicker.currentText
    }

    PickerRow {
        id: microphonePicker

        title: Texts.settingsMicrophone
        textRole: "label"
        valueRole: "value"
        model: settingsCard.microphoneEntries
        selectedIndex: settingsCard.microphoneIndex
        onActivated: ViewModel.sources.setPreferredInputDevice(microphonePicker.currentValue)
    }

    ActionButton {
        text: Texts.settingsRefreshDevices
        onClicked: ViewModel.sources.refreshInputDevices()
    }

    MicrophonePermissionGroup {
        settingsCard: settingsCard
    }

    ColumnLayout {
        Layout.fillWidth: true
        visible: settingsCard.showsSystemAudioRows
        spacing: 14

        PickerRow {
            id: displayPicker

            title: Texts.settingsSystemAudioSource
            textRole: "label"
            valueRole: "value"
            model: settingsCard.displayEntries
            selectedIndex: settingsCard.displayIndex
            onActivated: ViewModel.sources.setPreferredSystemDisplay(displayPicker.currentValue)
        }

        ActionButton {
            text: Texts.settingsRefreshDisplays
            onClicked: ViewModel.sources.refreshSystemAudioDisplays(true)
        }

        PickerRow {
            id: applicationPicker

            title: Texts.settingsApplication
            textRole: "label"
            valueRole: "value"
            model: settingsCard.applicationEntries
            selectedIndex: settingsCard.applicationIndex
            onActivated: ViewModel.sources.setPreferredSystemApplication(applicationPicker.currentValue)
        }

        ActionButton {
            text: Texts.settingsRefreshApplications
            onClicked: ViewModel.sources.refreshSystemAudioApplications(true)
        }

        SystemAudioPermissionGroup {
            settingsCard: settingsCard
        }
    }

    ColumnLayout {
        Layout.fillWidth: true
        visible: settingsCard.showsMixRows
        spacing: 14

        ColumnLayout {
            spacing: 4

            Label {
                text: Texts.settingsMixPreset
                font: Theme.brandFont(Theme.Medium, 13)
                color: Theme.primaryText
            }

            RowLayout {
                spacing: 12

                SegmentedPicker {
                    model: settingsCard.mixPresets
                    name: Texts.settingsMixPreset
                    selectedValue: ViewModel.settings.mixedPreset
                    onChosen: value => ViewModel.settings.applyMixPreset(value)
                }

                Label {
                    visible: settingsCard.isPresetCustom
                    text: Texts.settingsMixPresetCustom
                    font: Theme.brandFont(Theme.Regular, 13)
                    color: Theme.secondaryText
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }

        SliderRow {
            title: Texts.settingsMicGain
            from: 0.3
            to: 1.8
            value: ViewModel.settings.mixedMicGain
            valueLabel: settingsCard.micGainLabel
            onMoved: value => settingsCard.setMicGain(value)
        }

        SliderRow {
            title: Texts.settingsSystemGain
            from: 0.3
            to: 1.8
            value: ViewModel.settings.mixedSystemGain
            valueLabel: settingsCard.systemGainLabel
            onMoved: value => settingsCard.setSystemGain(value)
        }

        ToggleRow {
            text: Texts.settingsLimiter
            checked: ViewModel.settings.mixedLimiterEnabled
            onToggled: settingsCard.setLimiterEnabled(checked)
        }

        ToggleRow {
            text: Texts.settingsAutoDucking
            checked: ViewModel.settings.mixedAutoDuckEnabled
            onToggled: settingsCard.setAutoDuckEnabled(checked)
        }

        SliderRow {
            title: Texts.settingsDuckingStrength
            from: 0
            to: 0.9
            value: ViewModel.settings.mixedDuckingStrength
            valueLabel: settingsCard.duckingStrengthLabel
            onMoved: value => settingsCard.setDuckingStrength(value)
        }

        ToggleRow {
            text: Texts.settingsEchoGuard
            checked: ViewModel.settings.echoGuardEnabled
            onToggled: ViewModel.settings.echoGuardEnabled = checked
        }
    }

    HintText {
        visible: ViewModel.sources.isSelectedInputDeviceVirtual
        text: Texts.settingsVirtualInputHint
        color: Theme.errorText
    }

    PickerRow {
        id: exportPicker

        title: Texts.settingsExportFormat
        textRole: "label"
        valueRole: "value"
        model: settingsCard.exportFormats
        selectedIndex: settingsCard.exportFormatIndex(ViewModel.settings.exportFormat)
        onActivated: ViewModel.settings.exportFormat = exportPicker.currentValue
    }

    ToggleRow {
        text: Texts.settingsAutoExport
        checked: ViewModel.settings.autoExportEnabled
        onToggled: ViewModel.settings.autoExportEnabled = checked
    }

    RecordingSafetySettings {
        Layout.fillWidth: true
    }

    HintText {
        text: Shortcuts.globalStatusText
    }

    ActionsRow {
        settingsCard: settingsCard
    }

    DiagnosticsGroup {
        visible: ConnectionSettingsForm.adminToolsVisible
        settingsCard: settingsCard
    }

    AdminUsersGroup {
        visible: ConnectionSettingsForm.adminUsersVisible
        settingsCard: settingsCard
    }

    ConnectionSettingsGroup {
        visible: ConnectionSettingsForm.adminToolsVisible
    }
}
