import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The logged-in user's screen: the top bar, the heading and the four cards, one file each.
Rectangle {
    id: view

    color: Theme.background

    MainScreen {
        id: mainScreen

        auth: AuthManager
        viewModel: ViewModel
    }

    Component.onCompleted: mainScreen.appear()

    ScrollView {
        id: scroll

        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            width: Math.min(scroll.availableWidth - 48, 1100)
            x: (scroll.availableWidth - width) / 2
            spacing: 24

            Item {
                Layout.preferredHeight: 6
            }

            TopBar {
                Layout.fillWidth: true
                screen: mainScreen
            }

            ColumnLayout {
                spacing: 6

                Label {
                    text: Texts.mainHeading
                    font: Theme.brandFont(Theme.Black, 40)
                    color: Theme.primaryText
                    Accessible.role: Accessible.Heading
                }

                Label {
                    text: Texts.mainSubtitle
                    font: Theme.brandFont(Theme.Regular, 16)
                    color: Theme.secondaryText
                }
            }

            ControlCard {
                Layout.fillWidth: true
                screen: mainScreen
            }

            TranscriptCard {
                Layout.fillWidth: true
                screen: mainScreen
            }

            AdvancedCard {
                Layout.fillWidth: true
                screen: mainScreen
            }

            SessionsCard {
                Layout.fillWidth: true
                screen: mainScreen
            }

            Item {
                Layout.preferredHeight: 6
            }
        }
    }
}
