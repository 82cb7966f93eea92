import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The forgotten password's sheet of the login screen, bound to the application's reset form.
Sheet {
    width: 440
    visible: PasswordResetForm.isOpen
    title: Texts.resetSheetTitle
    explanation: Texts.resetSheetExplanation
    message: PasswordResetForm.message
    error: PasswordResetForm.error
    actionText: PasswordResetForm.sendButtonText
    actionName: Texts.resetSend
    actionEnabled: !PasswordResetForm.isSending
    firstField: emailField
    onCloseRequested: PasswordResetForm.close()
    onActionTriggered: PasswordResetForm.send()

    TextField {
        id: emailField

        Layout.fillWidth: true
        text: PasswordResetForm.email
        placeholderText: Texts.loginEmailPlaceholder
        inputMethodHints: Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase | Qt.ImhEmailCharactersOnly
        font: Theme.brandFont(Theme.Regular, 14)
        Accessible.role: Accessible.EditableText
        Accessible.name: Texts.resetSheetEmailLabel
        onTextEdited: PasswordResetForm.email = text
    }
}
