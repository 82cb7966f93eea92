import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The live lines, the interim text and the pinned moments.
Card {
    id: card

    required property MainScreen screen

    title: Texts.mainTranscriptCard

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 360
        radius: 10
        color: "transparent"
        border.color: Theme.outline

        Label {
            anchors.centerIn: parent
            visible: lines.count === 0
            text: Texts.mainTranscriptEmpty
            font: Theme.brandFont(Theme.Regular, 14)
            color: Theme.secondaryText
        }

        ListView {
            id: lines

            objectName: "transcriptLines"
            anchors.fill: parent
            anchors.margins: 12
            clip: true
            spacing: 12
            model: ViewModel.transcript.segments

            delegate: RowLayout {
                required property string timeLabel
                required property string text

                width: ListView.view.width
                spacing: 10

                Label {
                    text: parent.timeLabel
                    font: Theme.monoFont(12)
                    color: Theme.secondaryText
                }

                Label {
                    Layout.fillWidth: true
                    text: parent.text
                    wrapMode: Text.WordWrap
                    font: Theme.brandFont(Theme.Regular, 15)
                    color: Theme.primaryText
                }
            }
        }
    }
}
