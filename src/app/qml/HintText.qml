import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A line of explanation in the settings card, wrapped to the card's width.
Label {
    property bool small: false

    Layout.fillWidth: true
    wrapMode: Text.WordWrap
    font: Theme.brandFont(Theme.Regular, small ? 11 : 12)
    color: Theme.secondaryText
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
