import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// Shown when system audio did not start: what to do, where the details are, and the commands
// that ask for the permission, open the settings or relaunch the application.
Rectangle {
    id: panel

    required property MainScreen screen

    implicitHeight: column.implicitHeight + 24
    radius: 14
    color: "transparent"
    border.color: Theme.outline

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: 12
        spacing: 8

        Label {
            Layout.fillWidth: true
            text: panel.screen.systemAudioHelpText
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Medium, 13)
            color: Theme.primaryText
        }

        Label {
            Layout.fillWidth: true
            text: Texts.systemAudioHelpWhere
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Regular, 12)
            color: Theme.secondaryText
        }

        RowLayout {
            spacing: 10

            Button {
                visible: !ViewModel.permissions.shouldSuggestSystemAudioRelaunch
                highlighted: true
                enabled: panel.screen.systemAudioGrantEnabled
                text: panel.screen.systemAudioGrantText
                font: Theme.brandFont(Theme.Medium, 13)
                Accessible.role: Accessible.Button
                Accessible.name: text
                onClicked: ViewModel.permissions.requestSystemAudioPermissionFromUI()
            }

            Button {
                visible: !ViewModel.permissions.shouldSuggestSystemAudioRelaunch
                text: Texts.systemAudioHelpOpenSettings
                font: Theme.brandFont(Theme.Medium, 13)
                Accessible.role: Accessible.Button
                Accessible.name: text
                onClicked: ViewModel.permissions.openSystemAudioSystemSettings()
            }

            Button {
                visible: ViewModel.permissions.shouldSuggestSystemAudioRelaunch
                text: Texts.permissionRelaunch
                font: Theme.brandFont(Theme.Medium, 13)
                Accessible.role: Accessible.Button
                Accessible.name: text
                onClicked: ViewModel.permissions.relaunchApplication()
            }
        }
    }
}
