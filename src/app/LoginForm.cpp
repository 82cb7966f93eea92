#include "LoginForm.h"

#include "auth/AuthManager.h"
#include "text/UiText.h"

namespace vesnara {

LoginForm::LoginForm(QObject* parent)
    : QObject(parent) {}

void LoginForm::setAuth(AuthManager* auth) {
    if (m_auth == auth)
        return;
    if (m_auth)
        disconnect(m_auth, nullptr, this, nullptr);
    m_auth = auth;
    if (m_auth) {
        connect(m_auth, &AuthManager::isBusyChanged, this, &LoginForm::busyChanged);
        connect(m_auth, &AuthManager::errorMessageChanged, this, &LoginForm::errorMessageChanged);
    }
    Q_EMIT authChanged();
    Q_EMIT busyChanged();
    Q_EMIT errorMessageChanged();
}

void LoginForm::setEmail(const QString& value) {
    if (m_email == value)
        return;
    m_email = value;
    Q_EMIT emailChanged();
}

void LoginForm::setPassword(const QString& value) {
    if (m_password == value)
        return;
    m_password = value;
    Q_EMIT passwordChanged();
}

void LoginForm::setRememberSession(bool value) {
    if (m_rememberSession == value)
        return;
    m_rememberSession = value;
    Q_EMIT rememberSessionChanged();
}

QString LoginForm::submitText() const {
    return m_auth && m_auth->isBusy() ? UiText::loginBusy : UiText::loginTitle;
}

bool LoginForm::canSubmit() const {
    return m_auth && !m_auth->isBusy();
}

QString LoginForm::errorMessage() const {
    return m_auth ? m_auth->errorMessage() : QString();
}

void LoginForm::appear() {
    if (m_auth)
        setRememberSession(m_auth->rememberSession());
}

void LoginForm::submit() {
    if (!canSubmit())
        return;
    submitTask(m_email, m_password, m_rememberSession);
}

void LoginForm::requestPasswordReset() {
    Q_EMIT passwordResetRequested(m_email);
}

QCoro::Task<> LoginForm::submitTask(QString email, QString password, bool rememberSession) {
    QPointer<LoginForm> self(this);
    const bool succeeded = co_await m_auth->login(email, password, rememberSession);
    if (!self)
        co_return;
    if (succeeded)
        setPassword({});
    Q_EMIT submitted(succeeded);
}

} // namespace vesnara
