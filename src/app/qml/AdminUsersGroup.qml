import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The user administration: the admin key, loading the users, a new user and one row per user
// with its commands. Every rule is the panel's; the row buttons name their user.
CollapsibleGroup {
    id: group

    required property SettingsCard settingsCard

    title: Texts.adminUsersGroup

    Label {
        text: Texts.adminKeyCaption
        font: Theme.brandFont(Theme.Medium, 13)
        color: Theme.primaryText
    }

    SecureField {
        Layout.maximumWidth: 460
        name: Texts.adminKeyPlaceholder
        text: AdminUsersPanel.adminKey
        Accessible.name: Texts.adminKeyCaption
        onTextEdited: AdminUsersPanel.adminKey = text
    }

    Flow {
        Layout.fillWidth: true
        spacing: 8

        ActionButton {
            text: Texts.adminSaveKey
            onClicked: AdminUsersPanel.saveKey()
        }

        ActionButton {
            text: Texts.adminClearKey
            onClicked: AdminUsersPanel.clearKey()
        }

        ActionButton {
            text: AdminUsersPanel.loadButtonText
            highlighted: true
            enabled: !AdminUsersPanel.busy
            onClicked: AdminUsersPanel.loadUsers()
        }
    }

    StatusLines {
        message: AdminUsersPanel.message
        error: AdminUsersPanel.error
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: 8

        TextField {
            Layout.fillWidth: true
            placeholderText: Texts.adminNewUserEmail
            text: AdminUsersPanel.newUserEmail
            inputMethodHints: Qt.ImhEmailCharactersOnly
            font: Theme.brandFont(Theme.Regular, 13)
            Accessible.role: Accessible.EditableText
            Accessible.name: Texts.adminNewUserEmail
            onTextEdited: AdminUsersPanel.newUserEmail = text
        }

        SecureField {
            name: Texts.adminNewUserPassword
            text: AdminUsersPanel.newUserPassword
            font: Theme.brandFont(Theme.Regular, 13)
            onTextEdited: AdminUsersPanel.newUserPassword = text
        }

        ComboBox {
            Layout.preferredWidth: 100
            model: AdminUsersPanel.roleChoices
            currentIndex: group.settingsCard.entryIndex(AdminUsersPanel.roleChoices, AdminUsersPanel.newUserRole)
            font: Theme.brandFont(Theme.Regular, 13)
            Accessible.role: Accessible.ComboBox
            Accessible.name: Texts.adminNewUserRole
            onActivated: AdminUsersPanel.newUserRole = currentText
        }

        ActionButton {
            text: Texts.adminCreateUser
            enabled: !AdminUsersPanel.busy
            onClicked: AdminUsersPanel.createUser()
        }
    }

    Repeater {
        model: AdminUsersPanel.users

        delegate: RowLayout {
            id: userRow

            required property var userID
            required property string email
            required property string details
            required property bool canMakeAdmin
            required property bool canMakeUser
            required property string enabledToggleText

            Layout.fillWidth: true
            spacing: 8

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2

                Label {
                    Layout.fillWidth: true
                    text: userRow.email
                    elide: Text.ElideRight
                    font: Theme.brandFont(Theme.Medium, 12)
                    color: Theme.primaryText
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }

                Label {
                    Layout.fillWidth: true
                    text: userRow.details
                    elide: Text.ElideRight
                    font: Theme.brandFont(Theme.Regular, 11)
                    color: Theme.secondaryText
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }

            ActionButton {
                visible: userRow.canMakeAdmin
                text: Texts.adminMakeAdmin
                row: userRow.email
                onClicked: AdminUsersPanel.makeAdmin(userRow.userID)
            }

            ActionButton {
                visible: userRow.canMakeUser
                text: Texts.adminMakeUser
                row: userRow.email
                onClicked: AdminUsersPanel.makeUser(userRow.userID)
            }

            ActionButton {
                text: userRow.enabledToggleText
                row: userRow.email
                onClicked: AdminUsersPanel.toggleUserEnabled(userRow.userID)
            }

            ActionButton {
                text: Texts.adminResetPassword
                row: userRow.email
                onClicked: AdminUsersPanel.resetUserPassword(userRow.userID)
            }

            ActionButton {
                text: Texts.adminDeleteUser
                row: userRow.email
                palette.buttonText: Theme.errorText
                onClicked: AdminUsersPanel.deleteUser(userRow.userID)
            }
        }
    }
}
