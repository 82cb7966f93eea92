import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// Sources, devices, the mix, formats, the connection, permissions and the support tools.
Card {
    id: card

    required property MainScreen screen

    title: Texts.mainAdvancedCard
}
