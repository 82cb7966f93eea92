import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The row above the heading: the logo, the signed-in user, the account buttons and the badge.
RowLayout {
    id: bar

    required property MainScreen screen

    Layout.fillWidth: true
    spacing: 12

    BrandLogo {
        logoHeight: 34
    }

    Item {
        Layout.fillWidth: true
    }

    Label {
        text: bar.screen.userEmail
        font: Theme.brandFont(Theme.Regular, 12)
        color: Theme.secondaryText
    }

    Button {
        text: Texts.shortcutsShow
        font: Theme.brandFont(Theme.Regular, 13)
        ToolTip.text: Shortcuts.sheetTooltip
        ToolTip.visible: hovered
        ToolTip.delay: Theme.toolTipDelay
        Accessible.role: Accessible.Button
        Accessible.name: text
        onClicked: Shortcuts.openSheet()
    }

    Button {
        text: Texts.mainChangePassword
        font: Theme.brandFont(Theme.Regular, 13)
        Accessible.role: Accessible.Button
        Accessible.name: Texts.mainChangePassword
        onClicked: ChangePasswordForm.open()
    }

    Button {
        text: Texts.mainLogout
        font: Theme.brandFont(Theme.Regular, 13)
        Accessible.role: Accessible.Button
        Accessible.name: Texts.mainLogout
        onClicked: bar.screen.logout()
    }

    Rectangle {
        implicitWidth: badge.implicitWidth + 24
        implicitHeight: badge.implicitHeight + 12
        radius: height / 2
        color: Theme.realtimeBadgeBackground

        Label {
            id: badge

            anchors.centerIn: parent
            text: Texts.mainRealtimeBadge
            font: Theme.brandFont(Theme.Medium, 13)
            color: Theme.realtimeBadgeForeground
        }
    }
}
