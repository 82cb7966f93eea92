import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// One saved session: its label and id, with the commands that load and delete it. The buttons
// carry the session's label in their description, since every row has the same two.
Rectangle {
    id: row

    required property var model
    required property string sessionLabel
    required property string rowDescription

    implicitHeight: content.implicitHeight + 20
    radius: 8
    color: Theme.pinSurface
    border.color: Theme.outline

    RowLayout {
        id: content

        anchors.fill: parent
        anchors.margins: 10
        spacing: 10

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2

            Label {
                Layout.fillWidth: true
                text: row.sessionLabel
                elide: Text.ElideRight
                font: Theme.brandFont(Theme.Regular, 13)
                color: Theme.primaryText
            }

            Label {
                Layout.fillWidth: true
                text: row.model.id
                elide: Text.ElideMiddle
                font: Theme.monoFont(11)
                color: Theme.secondaryText
            }
        }

        Button {
            text: Texts.mainLoadSession
            font: Theme.brandFont(Theme.Medium, 13)
            Accessible.role: Accessible.Button
            Accessible.name: text
            Accessible.description: row.rowDescription
            onClicked: ViewModel.history.loadSession(row.model.id)
        }

        Button {
            text: Texts.mainDelete
            font: Theme.brandFont(Theme.Medium, 13)
            palette.active.buttonText: Theme.destructiveText
            palette.inactive.buttonText: Theme.destructiveText
            Accessible.role: Accessible.Button
            Accessible.name: text
            Accessible.description: row.rowDescription
            onClicked: ViewModel.history.deleteSession(row.model.id)
        }
    }
}
