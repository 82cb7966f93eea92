import QtQuick
import QtQuick.Controls.Basic
import Vesnara

// A labelled on/off row of the settings card.
Switch {
    font: Theme.brandFont(Theme.Regular, 13)
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
}
