import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The status, the recording commands and the counters.
Card {
    id: card

    required property MainScreen screen

    title: Texts.mainControlCard

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: statusRow.implicitHeight + 24
        radius: 14
        color: "transparent"
        border.color: Theme.outline

        RowLayout {
            id: statusRow

            anchors.fill: parent
            anchors.margins: 12
            spacing: 10

            Rectangle {
                objectName: "statusDot"
                implicitWidth: 10
                implicitHeight: 10
                radius: 5
                color: card.screen.statusDotColor
            }

            Label {
                objectName: "statusText"
                Layout.fillWidth: true
                text: ViewModel.status.statusText
                wrapMode: Text.WordWrap
                font: Theme.brandFont(Theme.Medium, 14)
                color: Theme.primaryText
            }
        }
    }

    RowLayout {
        spacing: 10

        Button {
            text: Texts.mainStart
            enabled: ViewModel.canStart
            highlighted: true
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: Texts.mainStart
            onClicked: ViewModel.startRecording()
        }

        Button {
            text: Texts.mainStop
            enabled: ViewModel.canStop
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: Texts.mainStop
            onClicked: ViewModel.stopRecording()
        }
    }
}
