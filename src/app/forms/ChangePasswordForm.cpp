#include "forms/ChangePasswordForm.h"

#include "auth/AuthManager.h"
#include "forms/FormRules.h"
#include "text/UiText.h"

#include <QPointer>

namespace vesnara {

ChangePasswordForm::ChangePasswordForm(AuthManager& auth, QObject* parent)
    : QObject(parent)
    , m_auth(auth) {}

void ChangePasswordForm::setCurrentPassword(const QString& password) {
    forms::assignAndNotify(this, m_currentPassword, password,
                           &ChangePasswordForm::currentPasswordChanged);
}

void ChangePasswordForm::setNewPassword(const QString& password) {
    forms::assignAndNotify(this, m_newPassword, password, &ChangePasswordForm::newPasswordChanged);
}

void ChangePasswordForm::setConfirmPassword(const QString& password) {
    forms::assignAndNotify(this, m_confirmPassword, password,
                           &ChangePasswordForm::confirmPasswordChanged);
}

QString ChangePasswordForm::saveButtonText() const {
    return m_isChanging ? UiText::changePasswordSaving : UiText::promptSave;
}

void ChangePasswordForm::open() {
    clearFields();
    setLines({}, {});
    setIsOpen(true);
}

void ChangePasswordForm::close() {
    setIsOpen(false);
}

QString ChangePasswordForm::checkFields(const QString& current, const QString& next,
                                        const QString& repeat) {
    if (current.isEmpty() || next.isEmpty())
        return UiText::authEnterCurrentAndNewPassword;
    if (next != repeat)
        return UiText::changePasswordMismatch;
    if (forms::visibleCharacterCount(next) < kMinimumPasswordLength)
        return UiText::changePasswordTooShort;
    return {};
}

void ChangePasswordForm::submit() {
    if (m_isChanging)
        return;
    setLines({}, {});
    const QString current = m_currentPassword.trimmed();
    const QString next = m_newPassword.trimmed();
    const QString refusal = checkFields(current, next, m_confirmPassword.trimmed());
    if (!refusal.isEmpty()) {
        setLines({}, refusal);
        return;
    }
    setIsChanging(true);
    sendChange(current, next);
}

QCoro::Task<> ChangePasswordForm::sendChange(QString current, QString next) {
    const QPointer<ChangePasswordForm> self(this);
    QString message;
    std::exception_ptr failure;
    try {
        message = co_await m_auth.changePassword(current, next);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    setIsChanging(false);
    if (failure) {
        setLines({}, forms::failureText(failure, UiText::authPasswordChangeFailed));
    } else {
        setLines(message, {});
        clearFields();
    }
    Q_EMIT finished();
}

void ChangePasswordForm::clearFields() {
    setCurrentPassword({});
    setNewPassword({});
    setConfirmPassword({});
}

void ChangePasswordForm::setIsOpen(bool open) {
    forms::assignAndNotify(this, m_isOpen, open, &ChangePasswordForm::isOpenChanged);
}

void ChangePasswordForm::setIsChanging(bool changing) {
    forms::assignAndNotify(this, m_isChanging, changing, &ChangePasswordForm::isChangingChanged);
}

void ChangePasswordForm::setLines(const QString& message, const QString& error) {
    forms::assignAndNotify(this, m_message, message, &ChangePasswordForm::messageChanged);
    forms::assignAndNotify(this, m_error, error, &ChangePasswordForm::errorChanged);
}

} // namespace vesnara
