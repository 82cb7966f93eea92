import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A titled picker of the settings card. The owner says which entry is selected and acts on
// `activated`, reading `currentValue` or `currentText`.
ColumnLayout {
    id: row

    property string title
    property alias model: box.model
    property alias textRole: box.textRole
    property alias valueRole: box.valueRole
    property int selectedIndex: -1
    readonly property alias currentValue: box.currentValue
    readonly property alias currentText: box.currentText

    signal activated(int index)

    Layout.fillWidth: true
    spacing: 4

    Label {
        text: row.title
        font: Theme.brandFont(Theme.Medium, 13)
        color: Theme.primaryText
    }

    ComboBox {
        id: box

        Layout.fillWidth: true
        Layout.maximumWidth: 460
        currentIndex: row.selectedIndex
        font: Theme.brandFont(Theme.Regular, 13)
        Accessible.role: Accessible.ComboBox
        Accessible.name: row.title
        onActivated: index => row.activated(index)
    }
}
