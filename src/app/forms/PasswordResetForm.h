#pragma once

#include <QCoroTask>
#include <QObject>
#include <QString>

namespace vesnara {

class AuthManager;

/// The sheet for a forgotten password on the login screen: one address field, a green and a
/// red line, and a busy flag of its own (the login's `isBusy` and `errorMessage` stay
/// untouched). The sheet stays open after a success so that the user reads the answer.
class PasswordResetForm final : public QObject {
    Q_OBJECT

    Q_PROPERTY(bool isOpen READ isOpen NOTIFY isOpenChanged)
    Q_PROPERTY(QString email READ email WRITE setEmail NOTIFY emailChanged)
    Q_PROPERTY(bool isSending READ isSending NOTIFY isSendingChanged)
    /// Green line; "" hides it.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    /// Red line; "" hides it.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    /// "Lähetä", or "Lähetetään..." while a request runs (the button is disabled then).
    Q_PROPERTY(QString sendButtonText READ sendButtonText NOTIFY isSendingChanged)

public:
    /// `auth` must outlive the form.
    explicit PasswordResetForm(AuthManager& auth, QObject* parent = nullptr);

    bool isOpen() const { return m_isOpen; }
    const QString& email() const { return m_email; }
    void setEmail(const QString& email);
    bool isSending() const { return m_isSending; }
    const QString& message() const { return m_message; }
    const QString& error() const { return m_error; }
    QString sendButtonText() const;

    /// Opens the sheet with the address typed in the login form and both lines cleared.
    Q_INVOKABLE void open(const QString& loginEmail);
    /// Closes the sheet; a request in flight still reports into the lines.
    Q_INVOKABLE void close();
    /// Sends the trimmed address; a blank one is refused in the red line and nothing is sent.
    /// Does nothing while a request runs.
    Q_INVOKABLE void send();

Q_SIGNALS:
    void isOpenChanged();
    void emailChanged();
    void isSendingChanged();
    void messageChanged();
    void errorChanged();
    /// A request ended, either way.
    void finished();

private:
    QCoro::Task<> sendRequest(QString email);
    void setIsOpen(bool open);
    void setIsSending(bool sending);
    void setLines(const QString& message, const QString& error);

    AuthManager& m_auth;
    bool m_isOpen = false;
    QString m_email;
    bool m_isSending = false;
    QString m_message;
    QString m_error;
};

} // namespace vesnara
