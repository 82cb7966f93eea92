import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A masked field of an account sheet; its name is the placeholder, the accessible name and, as
// Qt 6.4 withholds a masked field's name from an assistive technology, its description.
TextField {
    property string name

    Layout.fillWidth: true
    placeholderText: name
    echoMode: TextInput.Password
    inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText
    font: Theme.brandFont(Theme.Regular, 14)
    Accessible.role: Accessible.EditableText
    Accessible.name: name
    Accessible.description: name
}
