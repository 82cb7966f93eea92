import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The sessions saved on this machine, with their commands.
Card {
    id: card

    required property MainScreen screen

    title: Texts.mainSessionsCard
    surface: Theme.secondaryCardBackground
}
