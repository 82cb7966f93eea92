import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The recording safety settings: the outage spool and the auto-stop's minutes (0 turns it off).
// Each change is stored at once by the settings part.
ColumnLayout {
    spacing: 8

    Label {
        text: Texts.safetySettingsTitle
        font: Theme.brandFont(Theme.Medium, 14)
        color: Theme.primaryText
    }

    CheckBox {
        text: Texts.audioSpoolSetting
        checked: ViewModel.settings.audioSpoolEnabled
        font: Theme.brandFont(Theme.Regular, 13)
        Accessible.role: Accessible.CheckBox
        Accessible.name: Texts.audioSpoolSetting
        onToggled: ViewModel.settings.audioSpoolEnabled = checked
    }

    RowLayout {
        spacing: 10

        Label {
            Layout.fillWidth: true
            text: Texts.autoStopSetting
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Regular, 13)
            color: Theme.primaryText
        }

        SpinBox {
            from: 0
            to: ViewModel.settings.maxAutoStopSilenceMinutes
            editable: true
            value: ViewModel.settings.autoStopSilenceMinutes
            font: Theme.brandFont(Theme.Regular, 13)
            Accessible.role: Accessible.SpinBox
            Accessible.name: Texts.autoStopSetting
            onValueModified: ViewModel.settings.autoStopSilenceMinutes = value
        }
    }
}
