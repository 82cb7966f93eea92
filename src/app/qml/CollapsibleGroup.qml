import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A group of the settings card that opens and closes under its title; closed at first.
ColumnLayout {
    id: group

    property string title
    property bool open: false
    default property alias content: body.data

    Layout.fillWidth: true
    spacing: 8

    Button {
        id: header

        flat: true
        leftPadding: 4
        Accessible.role: Accessible.Button
        Accessible.name: group.title
        Accessible.checkable: true
        Accessible.checked: group.open
        onClicked: group.open = !group.open

        contentItem: RowLayout {
            spacing: 8

            Label {
                // A disclosure triangle, turned down while open.
                text: "▸"
                rotation: group.open ? 90 : 0
                font.pixelSize: 12
                color: Theme.secondaryText
                Accessible.ignored: true
            }

            Label {
                text: group.title
                font: Theme.brandFont(Theme.Medium, 14)
                color: Theme.primaryText
                Accessible.ignored: true
            }
        }
    }

    Rectangle {
        Layout.fillWidth: true
        visible: group.open
        implicitHeight: body.implicitHeight + 28
        radius: 12
        color: Theme.secondaryCardBackground
        border.color: Theme.outline

        ColumnLayout {
            id: body

            anchors.fill: parent
            anchors.margins: 14
            spacing: 10
        }
    }
}
