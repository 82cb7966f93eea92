#include "forms/AdminUsersPanel.h"

#include "auth/AuthManager.h"
#include "forms/FormRules.h"
#include "platform/Dialogs.h"
#include "text/UiText.h"

#include <QCollator>
#include <QLocale>
#include <QPointer>

#include <algorithm>

namespace vesnara {

namespace {

/// Ascending by e-mail as a Finnish reader orders words (å, ä, ö after z), ignoring case;
/// users with equal addresses keep the service's order.
QList<AuthAdminUser> sortedByEmail(QList<AuthAdminUser> users) {
    QCollator collator(QLocale(QLocale::Finnish, QLocale::Finland));
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(users.begin(), users.end(),
                     [&collator](const AuthAdminUser& a, const AuthAdminUser& b) {
                         return collator.compare(a.email, b.email) < 0;
                     });
    return users;
}

} // namespace

AdminUsersPanel::AdminUsersPanel(AuthManager& auth, Dialogs* dialogs, QObject* parent)
    : QObject(parent)
    , m_auth(auth)
    , m_dialogs(dialogs) {}

void AdminUsersPanel::setAdminKey(const QString& key) {
    forms::assignAndNotify(this, m_adminKey, key, &AdminUsersPanel::adminKeyChanged);
}

QString AdminUsersPanel::loadButtonText() const {
    return busy() ? UiText::adminLoadingUsers : UiText::adminLoadUsers;
}

void AdminUsersPanel::setNewUserEmail(const QString& email) {
    forms::assignAndNotify(this, m_newUserEmail, email, &AdminUsersPanel::newUserEmailChanged);
}

void AdminUsersPanel::setNewUserPassword(const QString& password) {
    forms::assignAndNotify(this, m_newUserPassword, password,
                           &AdminUsersPanel::newUserPasswordChanged);
}

void AdminUsersPanel::setNewUserRole(const QString& role) {
    forms::assignAndNotify(this, m_newUserRole, role, &AdminUsersPanel::newUserRoleChanged);
}

QStringList AdminUsersPanel::roleChoices() {
    return {userRole, adminRole};
}

std::optional<QString> AdminUsersPanel::normalizedAdminKey() {
    const QString key = m_adminKey.trimmed();
    if (key.isEmpty()) {
        setLines({}, UiText::adminEnterKey);
        return std::nullopt;
    }
    return key;
}

void AdminUsersPanel::applyAdminGate(bool inAppAdminEnabled) {
    if (!inAppAdminEnabled) {
        m_auth.clearAdminKey();
        setAdminKey({});
    } else if (m_adminKey.trimmed().isEmpty()) {
        setAdminKey(m_auth.loadStoredAdminKey());
    }
}

void AdminUsersPanel::reset() {
    m_users.setUsers({});
    setAdminKey({});
    setNewUserEmail({});
    setNewUserPassword({});
    setNewUserRole(userRole);
    setLines({}, {});
}

void AdminUsersPanel::saveKey() {
    const auto key = normalizedAdminKey();
    if (!key)
        return;
    rememberKey(*key);
    setLines(UiText::adminKeySaved, {});
}

void AdminUsersPanel::clearKey() {
    m_auth.clearAdminKey();
    setAdminKey({});
    setLines(UiText::adminKeyCleared, {});
}

void AdminUsersPanel::loadUsers() {
    if (busy())
        return;
    startLoad();
}

void AdminUsersPanel::startLoad() {
    const auto key = normalizedAdminKey();
    if (!key)
        return;
    beginRequest();
    loadTask(*key);
}

QCoro::Task<> AdminUsersPanel::loadTask(QString key) {
    const QPointer<AdminUsersPanel> self(this);
    QList<AuthAdminUser> listed;
    std::exception_ptr failure;
    try {
        listed = co_await m_auth.adminListUsers(key);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure) {
        setLines({}, forms::failureText(failure, UiText::adminListUsersFailed));
    } else {
        rememberKey(key);
        m_users.setUsers(sortedByEmail(std::move(listed)));
        setLines(UiText::adminUsersLoaded, {});
    }
    endRequest();
    Q_EMIT requestFinished();
}

void AdminUsersPanel::createUser() {
    if (busy())
        return;
    const auto key = normalizedAdminKey();
    if (!key)
        return;
    const QString email = m_newUserEmail.trimmed();
    const QString password = m_newUserPassword.trimmed();
    if (email.isEmpty() || password.isEmpty()) {
        setLines({}, UiText::adminEnterNewUser);
        return;
    }
    beginRequest();
    runCommand(*key, m_auth.adminCreateUser(email, password, m_newUserRole, *key),
               UiText::adminUserCreated(email), UiText::adminCreateUserFailed,
               Then::emptyNewUserAndReload);
}

void AdminUsersPanel::setUserRole(qint64 userID, const QString& role) {
    const auto key = normalizedAdminKey();
    if (!key)
        return;
    beginRequest();
    runCommand(*key, m_auth.adminSetUserRole(userID, role, *key), UiText::adminRoleUpdated,
               UiText::adminRoleUpdateFailed, Then::reload);
}

void AdminUsersPanel::toggleUserEnabled(qint64 userID) {
    const auto key = normalizedAdminKey();
    if (!key)
        return;
    const AuthAdminUser* user = m_users.findUser(userID);
    if (!user)
        return;
    const bool enable = !user->isActive;
    beginRequest();
    runCommand(*key, m_auth.adminSetUserEnabled(userID, enable, *key),
               enable ? UiText::adminUserEnabled : UiText::adminUserDisabled,
               UiText::adminUserStateFailed, Then::nothing);
}

void AdminUsersPanel::resetUserPassword(qint64 userID) {
    const auto key = normalizedAdminKey();
    if (key)
        resetPasswordTask(userID, *key);
}

QCoro::Task<> AdminUsersPanel::resetPasswordTask(qint64 userID, QString key) {
    if (!m_dialogs)
        co_return;
    const QPointer<AdminUsersPanel> self(this);
    const std::optional<QString> entered = co_await m_dialogs->promptText(
        UiText::adminResetPasswordTitle, UiText::adminResetPasswordText, QString(),
        UiText::adminNewPasswordPlaceholder, true);
    if (!self || !entered)
        co_return;
    const QString password = entered->trimmed();
    if (password.isEmpty())
        co_return;
    beginRequest();
    co_await runCommand(key, m_auth.adminResetPassword(userID, password, key),
                        UiText::adminPasswordReset, UiText::adminResetPasswordFailed,
                        Then::nothing);
}

void AdminUsersPanel::deleteUser(qint64 userID) {
    const auto key = normalizedAdminKey();
    if (key)
        deleteTask(userID, *key);
}

QCoro::Task<> AdminUsersPanel::deleteTask(qint64 userID, QString key) {
    if (!m_dialogs)
        co_return;
    const QPointer<AdminUsersPanel> self(this);
    const bool confirmed =
        co_await m_dialogs->confirm(UiText::adminDeleteUserTitle, UiText::adminDeleteUserText);
    if (!self || !confirmed)
        co_return;
    beginRequest();
    co_await runCommand(key, m_auth.adminDeleteUser(userID, key), UiText::adminUserDeleted,
                        UiText::adminDeleteUserFailed, Then::reload);
}

QCoro::Task<> AdminUsersPanel::runCommand(QString key, QCoro::Task<> request, QString successText,
                                          QString fallbackText, Then then) {
    const QPointer<AdminUsersPanel> self(this);
    std::exception_ptr failure;
    try {
        co_await std::move(request);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure) {
        setLines({}, forms::failureText(failure, fallbackText));
    } else {
        rememberKey(key);
        setLines(successText, {});
        if (then == Then::emptyNewUserAndReload) {
            setNewUserEmail({});
            setNewUserPassword({});
        }
        // The reload starts before this request counts as ended, so `busy` stays on between.
        if (then != Then::nothing)
            startLoad();
    }
    endRequest();
    Q_EMIT requestFinished();
}

void AdminUsersPanel::beginRequest() {
    setLines({}, {});
    if (m_requestsRunning++ == 0)
        Q_EMIT busyChanged();
}

void AdminUsersPanel::endRequest() {
    if (--m_requestsRunning == 0)
        Q_EMIT busyChanged();
}

void AdminUsersPanel::rememberKey(const QString& key) {
    m_auth.saveAdminKey(key);
    setAdminKey(key);
}

void AdminUsersPanel::setLines(const QString& message, const QString& error) {
    forms::assignAndNotify(this, m_message, message, &AdminUsersPanel::messageChanged);
    forms::assignAndNotify(this, m_error, error, &AdminUsersPanel::errorChanged);
}

} // namespace vesnara
