import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The system audio permission: its state, a hint while it is missing, the check, the request
// (or, after a grant in this run, the relaunch) and the sound settings. The group opens by
// itself when the permission panel asks for its help.
CollapsibleGroup {
    id: group

    required property SettingsCard settingsCard

    title: Texts.settingsSystemAudioPermissions
    open: ViewModel.permissions.showSystemAudioPermissionHelp

    Connections {
        target: group.settingsCard

        function onSystemAudioHelpShown() {
            group.open = true;
        }
    }

    Label {
        Layout.fillWidth: true
        text: ViewModel.permissions.systemAudioPermissionSummary
        wrapMode: Text.WordWrap
        font: Theme.brandFont(Theme.Medium, 13)
        color: Theme.primaryText
    }

    HintText {
        small: true
        text: ViewModel.permissions.systemAudioPermissionDetails
    }

    HintText {
        visible: !ViewModel.permissions.isSystemAudioPermissionGranted
        text: group.settingsCard.systemAudioPermissionHint
    }

    Flow {
        Layout.fillWidth: true
        spacing: 8

        ActionButton {
            text: Texts.permissionCheckStatus
            row: group.title
            onClicked: ViewModel.permissions.refreshSystemAudioPermissionStatus(true, false)
        }

        ActionButton {
            visible: !ViewModel.permissions.shouldSuggestSystemAudioRelaunch
            text: group.settingsCard.systemAudioRequestText
            row: group.title
            enabled: group.settingsCard.canRequestSystemAudioPermission
            onClicked: ViewModel.permissions.requestSystemAudioPermissionFromUI()
        }

        ActionButton {
            text: Texts.permissionOpenSettings
            row: group.title
            onClicked: ViewModel.permissions.openSystemAudioSystemSettings()
        }

        ActionButton {
            visible: ViewModel.permissions.shouldSuggestSystemAudioRelaunch
            text: Texts.permissionRelaunch
            row: group.title
            onClicked: ViewModel.permissions.relaunchApplication()
        }
    }
}
