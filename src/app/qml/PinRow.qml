import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// One pin: its time, title and note, with the commands that show, rename and delete it. The
// buttons carry the pin's title in their description, since every row has the same three.
Rectangle {
    id: row

    required property var model
    required property string timeLabel
    required property string pinDisplayTitle
    required property string note
    required property bool hasNote
    required property bool isActive
    required property string rowDescription

    implicitHeight: content.implicitHeight + 20
    radius: 8
    color: isActive ? Theme.pinActiveBackground : Theme.pinSurface
    border.color: isActive ? Theme.pinActiveOutline : Theme.outline

    RowLayout {
        id: content

        anchors.fill: parent
        anchors.margins: 10
        spacing: 10

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2

            Label {
                text: row.timeLabel
                font: Theme.brandFont(Theme.Regular, 12)
                color: Theme.secondaryText
            }

            Label {
                Layout.fillWidth: true
                text: row.pinDisplayTitle
                elide: Text.ElideRight
                font: Theme.brandFont(Theme.Medium, 13)
                color: Theme.primaryText
            }

            Label {
                Layout.fillWidth: true
                visible: row.hasNote
                text: row.note
                wrapMode: Text.WordWrap
                font: Theme.brandFont(Theme.Regular, 12)
                color: Theme.secondaryText
            }
        }

        Button {
            text: Texts.mainShowPin
            font: Theme.brandFont(Theme.Medium, 13)
            Accessible.role: Accessible.Button
            Accessible.name: text
            Accessible.description: row.rowDescription
            onClicked: ViewModel.transcript.selectPin(row.model.id)
        }

        Button {
            text: Texts.mainRenamePin
            font: Theme.brandFont(Theme.Medium, 13)
            Accessible.role: Accessible.Button
            Accessible.name: text
            Accessible.description: row.rowDescription
            onClicked: ViewModel.transcript.promptRenamePin(row.model.id)
        }

        Button {
            text: Texts.mainDelete
            font: Theme.brandFont(Theme.Medium, 13)
            Accessible.role: Accessible.Button
            Accessible.name: text
            Accessible.description: row.rowDescription
            onClicked: ViewModel.transcript.deletePin(row.model.id)
        }
    }
}
