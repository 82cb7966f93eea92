pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// Side-by-side choices of which one is selected (or none); `model` holds `{value, label}`
// entries and `chosen` tells which was pressed.
RowLayout {
    id: picker

    property alias model: repeater.model
    property var selectedValue
    property string name

    signal chosen(var value)

    spacing: 0

    Repeater {
        id: repeater

        Button {
            required property var modelData

            text: modelData.label
            highlighted: modelData.value === picker.selectedValue
            font: Theme.brandFont(Theme.Medium, 13)
            Accessible.role: Accessible.Button
            Accessible.name: text
            Accessible.description: picker.name
            Accessible.checkable: true
            Accessible.checked: highlighted
            onClicked: picker.chosen(modelData.value)
        }
    }
}
