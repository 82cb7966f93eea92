import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The notice before a silent recording stops itself: the countdown's text and the button that
// keeps recording. It shows only while the engine counts down.
Rectangle {
    id: notice

    visible: ViewModel.autoStop.noticeVisible
    implicitHeight: row.implicitHeight + 24
    implicitWidth: row.implicitWidth + 24
    radius: 14
    color: "transparent"
    border.color: Theme.outline

    RowLayout {
        id: row

        anchors.fill: parent
        anchors.margins: 12
        spacing: 10

        Label {
            objectName: "autoStopNoticeText"
            Layout.fillWidth: true
            text: ViewModel.autoStop.noticeText
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Medium, 14)
            color: Theme.primaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: ViewModel.autoStop.noticeText
        }

        Button {
            text: Texts.autoStopKeepRecording
            highlighted: true
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: Texts.autoStopKeepRecording
            onClicked: ViewModel.autoStop.keepRecording()
        }
    }
}
