import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A group's green and red lines; each shows only with something to say.
ColumnLayout {
    id: lines

    property string message
    property string error

    Layout.fillWidth: true
    spacing: 4

    Label {
        Layout.fillWidth: true
        visible: lines.message.length > 0
        text: lines.message
        wrapMode: Text.WordWrap
        font: Theme.brandFont(Theme.Regular, 13)
        color: Theme.successText
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    Label {
        Layout.fillWidth: true
        visible: lines.error.length > 0
        text: lines.error
        wrapMode: Text.WordWrap
        font: Theme.brandFont(Theme.Regular, 13)
        color: Theme.errorText
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
