#include "forms/PasswordResetForm.h"

#include "auth/AuthManager.h"
#include "forms/FormRules.h"
#include "text/UiText.h"

#include <QPointer>

namespace vesnara {

PasswordResetForm::PasswordResetForm(AuthManager& auth, QObject* parent)
    : QObject(parent)
    , m_auth(auth) {}

void PasswordResetForm::setEmail(const QString& email) {
    forms::assignAndNotify(this, m_email, email, &PasswordResetForm::emailChanged);
}

QString PasswordResetForm::sendButtonText() const {
    return m_isSending ? UiText::resetSending : UiText::resetSend;
}

void PasswordResetForm::open(const QString& loginEmail) {
    setEmail(loginEmail);
    setLines({}, {});
    setIsOpen(true);
}

void PasswordResetForm::close() {
    setIsOpen(false);
}

void PasswordResetForm::send() {
    if (m_isSending)
        return;
    const QString email = m_email.trimmed();
    if (email.isEmpty()) {
        setLines({}, UiText::authEnterEmail);
        return;
    }
    setIsSending(true);
    setLines({}, {});
    sendRequest(email);
}

QCoro::Task<> PasswordResetForm::sendRequest(QString email) {
    const QPointer<PasswordResetForm> self(this);
    QString message;
    std::exception_ptr failure;
    try {
        message = co_await m_auth.requestPasswordReset(email);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    setIsSending(false);
    if (failure)
        setLines({}, forms::failureText(failure, UiText::resetRequestFailed));
    else
        setLines(message, {});
    Q_EMIT finished();
}

void PasswordResetForm::setIsOpen(bool open) {
    forms::assignAndNotify(this, m_isOpen, open, &PasswordResetForm::isOpenChanged);
}

void PasswordResetForm::setIsSending(bool sending) {
    forms::assignAndNotify(this, m_isSending, sending, &PasswordResetForm::isSendingChanged);
}

void PasswordResetForm::setLines(const QString& message, const QString& error) {
    forms::assignAndNotify(this, m_message, message, &PasswordResetForm::messageChanged);
    forms::assignAndNotify(this, m_error, error, &PasswordResetForm::errorChanged);
}

} // namespace vesnara
