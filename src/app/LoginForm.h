#pragma once

#include "auth/AuthManager.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>

namespace vesnara {

/// The login screen's form: its fields, the remember toggle and what submitting does. The rules
/// of the login itself are `AuthManager`'s; this keeps what the screen adds: Return in either
/// field and the button submit alike, the fields are sent as typed, and only a successful login
/// clears the password (a failed one leaves both fields for the user to correct).
class LoginForm : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(vesnara::AuthManager* auth READ auth WRITE setAuth NOTIFY authChanged)
    Q_PROPERTY(QString email READ email WRITE setEmail NOTIFY emailChanged)
    Q_PROPERTY(QString password READ password WRITE setPassword NOTIFY passwordChanged)
    Q_PROPERTY(bool rememberSession READ rememberSession WRITE setRememberSession NOTIFY
                   rememberSessionChanged)
    /// The submit button's text: "Kirjaudu", or "Kirjaudutaan..." while a login runs.
    Q_PROPERTY(QString submitText READ submitText NOTIFY busyChanged)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY busyChanged)
    /// The service's or the form's error, "" when there is none.
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(bool hasError READ hasError NOTIFY errorMessageChanged)

public:
    explicit LoginForm(QObject* parent = nullptr);

    AuthManager* auth() const { return m_auth; }
    void setAuth(AuthManager* auth);
    const QString& email() const { return m_email; }
    void setEmail(const QString& value);
    const QString& password() const { return m_password; }
    void setPassword(const QString& value);
    bool rememberSession() const { return m_rememberSession; }
    void setRememberSession(bool value);
    QString submitText() const;
    bool canSubmit() const;
    QString errorMessage() const;
    bool hasError() const { return !errorMessage().isEmpty(); }

    /// The screen appeared: the toggle takes the stored remember setting.
    Q_INVOKABLE void appear();
    /// Logs in with the fields; ignored while a login runs. `submitted` reports the outcome.
    Q_INVOKABLE void submit();
    /// "Unohtuiko salasana?": asks for the reset sheet with the address typed so far.
    Q_INVOKABLE void requestPasswordReset();

Q_SIGNALS:
    void authChanged();
    void emailChanged();
    void passwordChanged();
    void rememberSessionChanged();
    void busyChanged();
    void errorMessageChanged();
    void submitted(bool succeeded);
    void passwordResetRequested(const QString& email);

private:
    QCoro::Task<> submitTask(QString email, QString password, bool rememberSession);

    QPointer<AuthManager> m_auth;
    QString m_email;
    QString m_password;
    bool m_rememberSession = false;
};

} // namespace vesnara
