import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The window's confirmation: heading, question, "Peruuta" and "Vahvista". The first focus is on
// the cancelling button, so a stray Return or Space does not confirm; Escape cancels.
Popup {
    id: confirmation

    anchors.centerIn: parent
    width: 440
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose
    padding: 24
    visible: WindowDialogs.confirmOpen

    onOpened: cancelButton.forceActiveFocus()

    background: Rectangle {
        radius: 14
        color: Theme.cardSurface
        border.color: Theme.outline
        border.width: 1
    }

    contentData: ColumnLayout {
        width: parent.width
        spacing: 12
        Keys.onEscapePressed: WindowDialogs.cancel()

        Label {
            Layout.fillWidth: true
            text: WindowDialogs.title
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Heavy, 20)
            color: Theme.primaryText
            Accessible.role: Accessible.Heading
            Accessible.name: WindowDialogs.title
        }

        Label {
            Layout.fillWidth: true
            text: WindowDialogs.message
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Regular, 13)
            color: Theme.secondaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: WindowDialogs.message
        }

        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 10

            Button {
                id: cancelButton

                text: Texts.promptCancel
                font: Theme.brandFont(Theme.Regular, 14)
                Accessible.role: Accessible.Button
                Accessible.name: Texts.promptCancel
                onClicked: WindowDialogs.cancel()
            }

            Button {
                text: Texts.confirmAccept
                highlighted: true
                font: Theme.brandFont(Theme.Medium, 14)
                Accessible.role: Accessible.Button
                Accessible.name: Texts.confirmAccept
                Accessible.description: WindowDialogs.title
                onClicked: WindowDialogs.accept()
            }
        }
    }
}
