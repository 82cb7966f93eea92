import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

Rectangle {
    id: screen

    color: Theme.background

    LoginForm {
        id: form

        auth: AuthManager
        onPasswordResetRequested: email => PasswordResetForm.open(email)
    }

    Component.onCompleted: {
        form.appear();
        emailField.forceActiveFocus();
    }

    Rectangle {
        anchors.centerIn: parent
        width: 440
        height: column.implicitHeight + 48
        radius: 14
        color: Theme.cardSurface
        border.color: Theme.outline
        border.width: 1

        ColumnLayout {
            id: column

            anchors.fill: parent
            anchors.margins: 24
            spacing: 12

            BrandLogo {
                logoHeight: 40
            }

            Label {
                text: Texts.loginTitle
                font: Theme.brandFont(Theme.Heavy, 28)
                color: Theme.primaryText
                Accessible.role: Accessible.Heading
            }

            Label {
                Layout.fillWidth: true
                text: Texts.loginSubtitle
                wrapMode: Text.WordWrap
                font: Theme.brandFont(Theme.Regular, 14)
                color: Theme.secondaryText
            }

            Label {
                text: Texts.loginEmailLabel
                font: Theme.brandFont(Theme.Medium, 13)
                color: Theme.secondaryText
            }

            TextField {
                id: emailField

                Layout.fillWidth: true
                text: form.email
                placeholderText: Texts.loginEmailPlaceholder
                inputMethodHints: Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase | Qt.ImhEmailCharactersOnly
                font: Theme.brandFont(Theme.Regular, 14)
                Accessible.role: Accessible.EditableText
                Accessible.name: Texts.loginEmailLabel
                onTextEdited: form.email = text
                onAccepted: form.submit()
            }

            Label {
                text: Texts.loginPasswordLabel
                font: Theme.brandFont(Theme.Medium, 13)
                color: Theme.secondaryText
            }

            TextField {
                id: passwordField

                Layout.fillWidth: true
                text: form.password
                placeholderText: Texts.loginPasswordLabel
                echoMode: TextInput.Password
                inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText
                font: Theme.brandFont(Theme.Regular, 14)
                Accessible.role: Accessible.EditableText
                Accessible.name: Texts.loginPasswordLabel
                // With an assistive technology on, Qt 6.4 withholds the name of a masked field;
                // the description still reaches it.
                Accessible.description: Texts.loginPasswordLabel
                onTextEdited: form.password = text
                onAccepted: form.submit()
            }

            CheckBox {
                text: Texts.loginRememberSession
                checked: form.rememberSession
                font: Theme.brandFont(Theme.Regular, 13)
                Accessible.role: Accessible.CheckBox
                Accessible.name: Texts.loginRememberSession
                onToggled: form.rememberSession = checked
            }

            RowLayout {
                spacing: 10

                Button {
                    text: form.submitText
                    enabled: form.canSubmit
                    highlighted: true
                    font: Theme.brandFont(Theme.Medium, 14)
                    Accessible.role: Accessible.Button
                    Accessible.name: Texts.loginTitle
                    onClicked: form.submit()
                }

                Button {
                    text: Texts.loginForgotPassword
                    flat: false
                    font: Theme.brandFont(Theme.Regular, 14)
                    Accessible.role: Accessible.Button
                    Accessible.name: Texts.loginForgotPassword
                    onClicked: form.requestPasswordReset()
                }
            }

            Label {
                objectName: "loginError"
                Layout.fillWidth: true
                visible: form.hasError
                text: form.errorMessage
                wrapMode: Text.WordWrap
                font: Theme.brandFont(Theme.Regular, 13)
                color: Theme.errorText
            }
        }
    }
}
