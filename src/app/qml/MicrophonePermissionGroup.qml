import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The microphone permission: its state, a hint while it is missing, the check, the request and
// the sound settings.
CollapsibleGroup {
    id: group

    required property SettingsCard settingsCard

    title: Texts.settingsMicrophonePermissions

    Label {
        Layout.fillWidth: true
        text: ViewModel.permissions.microphonePermissionSummary
        wrapMode: Text.WordWrap
        font: Theme.brandFont(Theme.Medium, 13)
        color: Theme.primaryText
    }

    HintText {
        small: true
        text: ViewModel.permissions.microphonePermissionDetails
    }

    HintText {
        visible: !ViewModel.permissions.isMicrophonePermissionGranted
        text: group.settingsCard.microphonePermissionHint
    }

    Flow {
        Layout.fillWidth: true
        spacing: 8

        ActionButton {
            text: Texts.permissionCheckStatus
            row: group.title
            onClicked: ViewModel.permissions.refreshMicrophonePermissionStatus(true)
        }

        ActionButton {
            text: group.settingsCard.microphoneRequestText
            row: group.title
            enabled: group.settingsCard.canRequestMicrophonePermission
            onClicked: ViewModel.permissions.requestMicrophonePermissionFromUI()
        }

        ActionButton {
            text: Texts.permissionOpenSettings
            row: group.title
            onClicked: ViewModel.permissions.openMicrophoneSystemSettings()
        }
    }
}
