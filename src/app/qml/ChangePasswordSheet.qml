import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The main screen's sheet for changing one's own password, bound to the application's form.
Sheet {
    width: 420
    visible: ChangePasswordForm.isOpen
    title: Texts.mainChangePassword
    explanation: Texts.changePasswordExplanation
    message: ChangePasswordForm.message
    error: ChangePasswordForm.error
    actionText: ChangePasswordForm.saveButtonText
    actionName: Texts.changePasswordSave
    actionEnabled: !ChangePasswordForm.isChanging
    firstField: currentField
    onCloseRequested: ChangePasswordForm.close()
    onActionTriggered: ChangePasswordForm.submit()

    TextField {
        id: currentField

        Layout.fillWidth: true
        text: ChangePasswordForm.currentPassword
        placeholderText: Texts.changePasswordCurrent
        echoMode: TextInput.Password
        inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText
        font: Theme.brandFont(Theme.Regular, 14)
        Accessible.role: Accessible.EditableText
        Accessible.name: Texts.changePasswordCurrent
        onTextEdited: ChangePasswordForm.currentPassword = text
    }

    TextField {
        Layout.fillWidth: true
        text: ChangePasswordForm.newPassword
        placeholderText: Texts.changePasswordNew
        echoMode: TextInput.Password
        inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText
        font: Theme.brandFont(Theme.Regular, 14)
        Accessible.role: Accessible.EditableText
        Accessible.name: Texts.changePasswordNew
        onTextEdited: ChangePasswordForm.newPassword = text
    }

    TextField {
        Layout.fillWidth: true
        text: ChangePasswordForm.confirmPassword
        placeholderText: Texts.changePasswordConfirm
        echoMode: TextInput.Password
        inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText
        font: Theme.brandFont(Theme.Regular, 14)
        Accessible.role: Accessible.EditableText
        Accessible.name: Texts.changePasswordConfirm
        onTextEdited: ChangePasswordForm.confirmPassword = text
    }
}
