import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The window's text prompt: heading, explanation, one field, "Peruuta" and "Tallenna". It is up
// while a command awaits its answer; Escape cancels as the cancel button does, and Return in
// the field saves.
Popup {
    id: prompt

    anchors.centerIn: parent
    width: 440
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose
    padding: 24
    visible: WindowDialogs.promptOpen

    onOpened: field.forceActiveFocus()

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
            visible: WindowDialogs.message.length > 0
            text: WindowDialogs.message
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Regular, 13)
            color: Theme.secondaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: WindowDialogs.message
        }

        TextField {
            id: field

            objectName: "promptField"
            Layout.fillWidth: true
            text: WindowDialogs.text
            placeholderText: WindowDialogs.placeholder
            echoMode: WindowDialogs.masked ? TextInput.Password : TextInput.Normal
            inputMethodHints: WindowDialogs.masked ? Qt.ImhSensitiveData | Qt.ImhNoPredictiveText
                                                   : Qt.ImhNone
            font: Theme.brandFont(Theme.Regular, 14)
            Accessible.role: Accessible.EditableText
            Accessible.name: WindowDialogs.title
            // Qt 6.4 withholds a masked field's name from an assistive technology: the title
            // goes in the description then.
            Accessible.description: WindowDialogs.masked ? WindowDialogs.title : WindowDialogs.message
            onAccepted: WindowDialogs.accept(text)
        }

        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 10

            Button {
                text: Texts.promptCancel
                font: Theme.brandFont(Theme.Regular, 14)
                Accessible.role: Accessible.Button
                Accessible.name: Texts.promptCancel
                onClicked: WindowDialogs.cancel()
            }

            Button {
                text: Texts.promptSave
                highlighted: true
                font: Theme.brandFont(Theme.Medium, 14)
                Accessible.role: Accessible.Button
                Accessible.name: Texts.promptSave
                onClicked: WindowDialogs.accept(field.text)
            }
        }
    }
}
