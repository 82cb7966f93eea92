import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// "Toiminnot": the audio test, copying, the connection and update checks and saving the
// settings, with the version, the memo service and the stream's figures below.
ColumnLayout {
    id: actions

    required property SettingsCard settingsCard

    Layout.fillWidth: true
    spacing: 8

    Label {
        text: Texts.settingsActions
        font: Theme.brandFont(Theme.Medium, 15)
        color: Theme.primaryText
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Flow {
        Layout.fillWidth: true
        spacing: 8

        ActionButton {
            text: Texts.settingsAudioTest
            enabled: actions.settingsCard.canRunAudioTest
            onClicked: ViewModel.support.runAudioQualityTest()
        }

        ActionButton {
            text: Texts.settingsCopy
            row: Texts.copyTranscriptDescription
            onClicked: ViewModel.transcript.copyTranscriptToClipboard()
        }

        ActionButton {
            text: Texts.settingsTestConnection
            onClicked: ViewModel.support.testBackendConnection()
        }

        ActionButton {
            text: Texts.settingsCheckUpdates
            onClicked: ViewModel.support.checkForUpdates()
        }

        ActionButton {
            text: Texts.settingsSave
            onClicked: ViewModel.settings.saveConfig(true)
        }
    }

    HintText {
        small: true
        text: actions.settingsCard.versionLabel
    }

    HintText {
        small: true
        text: actions.settingsCard.memoStatusLine
    }

    HintText {
        small: true
        text: ViewModel.meters.realtimeDiagnosticsLabel
    }
}
