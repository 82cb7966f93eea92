import QtQuick
import QtQuick.Controls.Basic
import Vesnara

// A bordered button of the settings card. Its text is its accessible name; `row` names the row
// or group it acts on, for a button that repeats.
Button {
    property string row

    font: Theme.brandFont(Theme.Regular, 13)
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: row
}
