import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// A card of the main screen: a titled surface with an outline and a soft shadow drawn by a
// plain rectangle (shader effects do not render on the software backend).
Item {
    id: card

    property string title
    default property alias content: body.data
    property color surface: Theme.cardSurface
    property real shadowOpacity: Theme.cardShadowOpacity
    /// Stands at the end of the title's row (a card's own command).
    property Item headerItem

    implicitHeight: column.implicitHeight + 48
    implicitWidth: column.implicitWidth + 48

    Rectangle {
        anchors.fill: parent
        anchors.topMargin: 8
        anchors.bottomMargin: -8
        radius: 18
        color: "black"
        opacity: card.shadowOpacity / 3
    }

    Rectangle {
        anchors.fill: parent
        radius: 18
        color: card.surface
        border.color: Theme.outline
        border.width: 1
    }

    Binding {
        target: card.headerItem
        property: "parent"
        value: header
        when: card.headerItem !== null
    }

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: 24
        spacing: 14

        RowLayout {
            id: header

            Layout.fillWidth: true
            spacing: 12

            Label {
                text: card.title
                font: Theme.brandFont(Theme.Heavy, 28)
                color: Theme.primaryText
                Accessible.role: Accessible.Heading
            }

            Row {
                spacing: 4

                Repeater {
                    model: Theme.sectionBars

                    Rectangle {
                        required property color modelData

                        width: 6
                        height: 28
                        radius: 4
                        color: modelData
                    }
                }
            }

            Item {
                Layout.fillWidth: true
            }
        }

        ColumnLayout {
            id: body

            Layout.fillWidth: true
            spacing: 14
        }
    }
}
