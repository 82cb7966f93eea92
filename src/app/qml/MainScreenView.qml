import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The logged-in user's screen: the top bar, the heading and the four cards, one file each.
// The toolkit's controls keep a light palette of their own whatever the scheme, so the screen
// hands them the theme's colours; each group is set apart so that a disabled control keeps its
// own greyed text.
Rectangle {
    id: view

    color: Theme.background

    palette.window: Theme.cardSurface
    palette.base: Theme.fieldBackground
    palette.button: Theme.controlButton
    palette.light: Theme.controlButton
    palette.midlight: Theme.controlButton
    palette.mid: Theme.controlPressed
    palette.highlight: Theme.focusHighlight
    palette.highlightedText: Theme.prominentText
    palette.placeholderText: Theme.placeholderText
    palette.brightText: Theme.prominentText
    palette.active.windowText: Theme.primaryText
    palette.inactive.windowText: Theme.primaryText
    palette.disabled.windowText: Theme.controlDisabledText
    palette.active.text: Theme.primaryText
    palette.inactive.text: Theme.primaryText
    palette.disabled.text: Theme.controlDisabledText
    palette.active.buttonText: Theme.controlButtonText
    palette.inactive.buttonText: Theme.controlButtonText
    palette.disabled.buttonText: Theme.controlDisabledText
    palette.active.dark: Theme.prominentButton
    palette.inactive.dark: Theme.prominentButton
    palette.disabled.dark: Theme.prominentButtonDisabled

    MainScreen {
        id: mainScreen

        auth: AuthManager
        viewModel: ViewModel
    }

    Component.onCompleted: mainScreen.appear()

    WindowShortcuts {}

    ScrollView {
        id: scroll

        objectName: "mainScroll"
        anchors.fill: parent
        contentWidth: availableWidth
        ScrollBar.vertical.policy: ScrollBar.AlwaysOn

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
