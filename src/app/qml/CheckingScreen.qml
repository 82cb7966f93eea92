import QtQuick
import QtQuick.Controls.Basic
import Vesnara

Rectangle {
    color: Theme.background

    Column {
        anchors.centerIn: parent
        spacing: 14

        BusyIndicator {
            anchors.horizontalCenter: parent.horizontalCenter
            running: true
            Accessible.name: Texts.checkingLogin
        }

        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: Texts.checkingLogin
            font: Theme.brandFont(Theme.Regular, 14)
            color: Theme.secondaryText
        }
    }
}
