#pragma once

#include <QCoroTask>
#include <QObject>
#include <QString>

namespace vesnara {

class AuthManager;

/// The sheet for changing one's own password: three masked fields, a green and a red line and
/// a busy flag of its own. The form checks, in this order, that both passwords are given, that
/// the repetition matches and that the new one has at least 10 characters, all after trimming;
/// only then is anything sent. The service itself checks no length.
class ChangePasswordForm final : public QObject {
    Q_OBJECT

    Q_PROPERTY(bool isOpen READ isOpen NOTIFY isOpenChanged)
    Q_PROPERTY(QString currentPassword READ currentPassword WRITE setCurrentPassword NOTIFY
                   currentPasswordChanged)
    Q_PROPERTY(QString newPassword READ newPassword WRITE setNewPassword NOTIFY newPasswordChanged)
    Q_PROPERTY(QString confirmPassword READ confirmPassword WRITE setConfirmPassword NOTIFY
                   confirmPasswordChanged)
    Q_PROPERTY(bool isChanging READ isChanging NOTIFY isChangingChanged)
    /// Green line; "" hides it.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    /// Red line; "" hides it.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    /// "Tallenna", or "Tallennetaan..." while a change runs (the button is disabled then).
    Q_PROPERTY(QString saveButtonText READ saveButtonText NOTIFY isChangingChanged)

public:
    /// The shortest new password the form takes, in characters after trimming.
    static constexpr qsizetype kMinimumPasswordLength = 10;

    /// `auth` must outlive the form.
    explicit ChangePasswordForm(AuthManager& auth, QObject* parent = nullptr);

    bool isOpen() const { return m_isOpen; }
    const QString& currentPassword() const { return m_currentPassword; }
    void setCurrentPassword(const QString& password);
    const QString& newPassword() const { return m_newPassword; }
    void setNewPassword(const QString& password);
    const QString& confirmPassword() const { return m_confirmPassword; }
    void setConfirmPassword(const QString& password);
    bool isChanging() const { return m_isChanging; }
    const QString& message() const { return m_message; }
    const QString& error() const { return m_error; }
    QString saveButtonText() const;

    /// Opens the sheet with the three fields and both lines empty.
    Q_INVOKABLE void open();
    Q_INVOKABLE void close();
    /// Checks the fields and sends the change. A success empties the three fields and shows
    /// the service's text; a failure keeps them. Does nothing while a change runs.
    Q_INVOKABLE void submit();

Q_SIGNALS:
    void isOpenChanged();
    void currentPasswordChanged();
    void newPasswordChanged();
    void confirmPasswordChanged();
    void isChangingChanged();
    void messageChanged();
    void errorChanged();
    /// A change sent to the service ended, either way.
    void finished();

private:
    /// The first rule the trimmed fields break, or "" when they may be sent.
    static QString checkFields(const QString& current, const QString& next, const QString& repeat);
    QCoro::Task<> sendChange(QString current, QString next);
    void clearFields();
    void setIsOpen(bool open);
    void setIsChanging(bool changing);
    void setLines(const QString& message, const QString& error);

    AuthManager& m_auth;
    bool m_isOpen = false;
    QString m_currentPassword;
    QString m_newPassword;
    QString m_confirmPassword;
    bool m_isChanging = false;
    QString m_message;
    QString m_error;
};

} // namespace vesnara
