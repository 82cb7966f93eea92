#pragma once

#include "forms/AdminUsersModel.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace vesnara {

class AuthManager;
class Dialogs;

/// The user administration panel: the admin key field, the new user row and the listed users
/// with their commands, all authorised by the admin key.
///
/// Every command first trims the key field (a blank one is refused in the red line), then runs
/// its own checks and, when they pass, sends its request with `busy` set and both lines
/// cleared. A success stores the key it used and writes it back trimmed into the field, so a
/// key that worked is remembered without "Tallenna avain". Creating, changing a role and
/// deleting reload the list afterwards, and the reload's text is the one left showing;
/// blocking or activating a user does not, so the row keeps its old state until the next load.
///
/// `busy` is true while any of the panel's requests runs; only "Lataa käyttäjät" and "Luo"
/// wait for it (they do nothing meanwhile). The row and key commands may overlap, and the last
/// to finish sets the lines. Nothing here touches the login's `errorMessage`.
class AdminUsersPanel final : public QObject {
    Q_OBJECT

    Q_PROPERTY(QString adminKey READ adminKey WRITE setAdminKey NOTIFY adminKeyChanged)
    /// Green line; "" hides it.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    /// Red line; "" hides it.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    /// "Lataa käyttäjät", or "Haetaan..." while busy.
    Q_PROPERTY(QString loadButtonText READ loadButtonText NOTIFY busyChanged)
    Q_PROPERTY(
        QString newUserEmail READ newUserEmail WRITE setNewUserEmail NOTIFY newUserEmailChanged)
    Q_PROPERTY(QString newUserPassword READ newUserPassword WRITE setNewUserPassword NOTIFY
                   newUserPasswordChanged)
    /// "user" (the initial choice) or "admin".
    Q_PROPERTY(QString newUserRole READ newUserRole WRITE setNewUserRole NOTIFY newUserRoleChanged)
    /// The entries of the new user's role picker, in order.
    Q_PROPERTY(QStringList roleChoices READ roleChoices CONSTANT)
    /// The listed users, sorted by e-mail.
    Q_PROPERTY(vesnara::AdminUsersModel* users READ users CONSTANT)

public:
    /// `auth` must outlive the panel, and so must `dialogs` unless it is null (then every
    /// confirmation and prompt counts as cancelled).
    AdminUsersPanel(AuthManager& auth, Dialogs* dialogs, QObject* parent = nullptr);

    const QString& adminKey() const { return m_adminKey; }
    void setAdminKey(const QString& key);
    const QString& message() const { return m_message; }
    const QString& error() const { return m_error; }
    bool busy() const { return m_requestsRunning > 0; }
    QString loadButtonText() const;
    const QString& newUserEmail() const { return m_newUserEmail; }
    void setNewUserEmail(const QString& email);
    const QString& newUserPassword() const { return m_newUserPassword; }
    void setNewUserPassword(const QString& password);
    const QString& newUserRole() const { return m_newUserRole; }
    void setNewUserRole(const QString& role);
    static QStringList roleChoices();
    AdminUsersModel* users() { return &m_users; }

    /// The first step of every command: the key field trimmed, or nothing after showing
    /// "Syötä admin-avain." in the red line when the trimmed key is blank.
    std::optional<QString> normalizedAdminKey();

    /// What the main screen does with the key each time it appears: with the in-app
    /// administration on, a blank field is filled with the stored key; with it off the stored
    /// key is erased and the field emptied.
    Q_INVOKABLE void applyAdminGate(bool inAppAdminEnabled);

    /// Back to the panel of a fresh screen: no users, empty fields and lines. The stored key
    /// stays; requests still running report as usual.
    void reset();

    /// "Tallenna avain": stores the trimmed key.
    Q_INVOKABLE void saveKey();
    /// "Tyhjennä avain": erases the stored key and empties the field.
    Q_INVOKABLE void clearKey();

    Q_INVOKABLE void loadUsers();
    /// Creates the user of the new user row (trimmed e-mail and password, both required) and
    /// empties those two fields after a success.
    Q_INVOKABLE void createUser();
    Q_INVOKABLE void setUserRole(qint64 userID, const QString& role);
    Q_INVOKABLE void makeAdmin(qint64 userID) { setUserRole(userID, adminRole); }
    Q_INVOKABLE void makeUser(qint64 userID) { setUserRole(userID, userRole); }
    /// Blocks a user the list shows as active, activates one it shows as blocked; a user the
    /// list does not have is left alone.
    Q_INVOKABLE void toggleUserEnabled(qint64 userID);
    /// Asks for the new password; a cancelled or blank answer stops without a word.
    Q_INVOKABLE void resetUserPassword(qint64 userID);
    /// Asks for confirmation first; a declined one stops without a word.
    Q_INVOKABLE void deleteUser(qint64 userID);

    static inline const QString userRole = QStringLiteral("user");
    static inline const QString adminRole = QStringLiteral("admin");

Q_SIGNALS:
    void adminKeyChanged();
    void messageChanged();
    void errorChanged();
    void busyChanged();
    void newUserEmailChanged();
    void newUserPasswordChanged();
    void newUserRoleChanged();
    /// One of the panel's requests ended, either way (a reload that follows reports on its own).
    void requestFinished();

private:
    /// What follows a successful command.
    enum class Then { nothing, reload, emptyNewUserAndReload };

    void startLoad();
    QCoro::Task<> loadTask(QString key);
    QCoro::Task<> runCommand(QString key, QCoro::Task<> request, QString successText,
                             QString fallbackText, Then then);
    QCoro::Task<> resetPasswordTask(qint64 userID, QString key);
    QCoro::Task<> deleteTask(qint64 userID, QString key);
    /// A request starts: `busy`, both lines cleared.
    void beginRequest();
    void endRequest();
    /// After a success: the key is stored and written back trimmed.
    void rememberKey(const QString& key);
    void setLines(const QString& message, const QString& error);

    AuthManager& m_auth;
    Dialogs* m_dialogs;
    AdminUsersModel m_users;
    QString m_adminKey;
    QString m_message;
    QString m_error;
    int m_requestsRunning = 0;
    QString m_newUserEmail;
    QString m_newUserPassword;
    QString m_newUserRole = userRole;
};

} // namespace vesnara
