import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A captioned text field of the connection settings; the caption is its accessible name.
ColumnLayout {
    id: field

    property string caption
    property bool secure: false
    property alias text: input.text

    signal textEdited
    signal editingFinished

    Layout.fillWidth: true
    spacing: 4

    Label {
        text: field.caption
        font: Theme.brandFont(Theme.Medium, 13)
        color: Theme.primaryText
    }

    TextField {
        id: input

        Layout.fillWidth: true
        Layout.maximumWidth: 560
        echoMode: field.secure ? TextInput.Password : TextInput.Normal
        inputMethodHints: field.secure ? Qt.ImhSensitiveData | Qt.ImhNoPredictiveText : Qt.ImhUrlCharactersOnly
        font: Theme.brandFont(Theme.Regular, 13)
        Accessible.role: Accessible.EditableText
        Accessible.name: field.caption
        onTextEdited: field.textEdited()
        onEditingFinished: field.editingFinished()
    }
}
