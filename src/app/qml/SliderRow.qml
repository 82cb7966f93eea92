import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A mixer slider: its title, the slider in steps of 0.05 and the stored value as a percentage.
// A stored value beyond the range puts the handle at the end while the label reads the value.
ColumnLayout {
    id: row

    property string title
    property real value
    property real from
    property real to
    property string valueLabel

    signal moved(real value)

    Layout.fillWidth: true
    spacing: 2

    Label {
        text: row.title
        font: Theme.brandFont(Theme.Medium, 13)
        color: Theme.primaryText
    }

    RowLayout {
        spacing: 12

        Slider {
            Layout.fillWidth: true
            Layout.maximumWidth: 420
            from: row.from
            to: row.to
            stepSize: 0.05
            snapMode: Slider.SnapAlways
            value: row.value
            Accessible.role: Accessible.Slider
            Accessible.name: row.title
            onMoved: row.moved(value)
        }

        Label {
            text: row.valueLabel
            font.pixelSize: 12
            color: Theme.primaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
