import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A modal account sheet: heading, explanation, the form's fields, its green and red lines and
// the close and action buttons. It is up while its form says so; Escape asks the form to close,
// as the close button does, so the popup never hides itself behind the form's back.
Popup {
    id: sheet

    property string title
    property string explanation
    property string message
    property string error
    property string actionText
    property string actionName
    property bool actionEnabled: true
    property Item firstField
    default property alias fields: body.data

    signal closeRequested
    signal actionTriggered

    anchors.centerIn: parent
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose
    padding: 24

    onOpened: firstField.forceActiveFocus()

    background: Rectangle {
        radius: 14
        color: Theme.cardSurface
        border.color: Theme.outline
        border.width: 1
    }

    contentData: ColumnLayout {
        width: parent.width
        spacing: 12
        Keys.onEscapePressed: sheet.closeRequested()

        Label {
            text: sheet.title
            font: Theme.brandFont(Theme.Heavy, 22)
            color: Theme.primaryText
            Accessible.role: Accessible.Heading
            Accessible.name: sheet.title
        }

        Label {
            Layout.fillWidth: true
            text: sheet.explanation
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Regular, 13)
            color: Theme.secondaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: sheet.explanation
        }

        ColumnLayout {
            id: body

            Layout.fillWidth: true
            spacing: 10
        }

        Label {
            Layout.fillWidth: true
            visible: sheet.message.length > 0
            text: sheet.message
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Regular, 13)
            color: Theme.successText
            Accessible.role: Accessible.StaticText
            Accessible.name: sheet.message
        }

        Label {
            Layout.fillWidth: true
            visible: sheet.error.length > 0
            text: sheet.error
            wrapMode: Text.WordWrap
            font: Theme.brandFont(Theme.Regular, 13)
            color: Theme.errorText
            Accessible.role: Accessible.AlertMessage
            Accessible.name: sheet.error
        }

        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 10

            Button {
                text: Texts.sheetClose
                font: Theme.brandFont(Theme.Regular, 14)
                Accessible.role: Accessible.Button
                Accessible.name: Texts.sheetClose
                onClicked: sheet.closeRequested()
            }

            Button {
                visible: sheet.actionText.length > 0
                text: sheet.actionText
                enabled: sheet.actionEnabled
                highlighted: true
                font: Theme.brandFont(Theme.Medium, 14)
                Accessible.role: Accessible.Button
                Accessible.name: sheet.actionName
                onClicked: sheet.actionTriggered()
            }
        }
    }
}
