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

    SecureField {
        id: currentField

        name: Texts.changePasswordCurrent
        text: ChangePasswordForm.currentPassword
        onTextEdited: ChangePasswordForm.currentPassword = text
    }

    SecureField {
        name: Texts.changePasswordNew
        text: ChangePasswordForm.newPassword
        onTextEdited: ChangePasswordForm.newPassword = text
    }

    SecureField {
        name: Texts.changePasswordConfirm
        text: ChangePasswordForm.confirmPassword
        onTextEdited: ChangePasswordForm.confirmPassword = text
    }
}
