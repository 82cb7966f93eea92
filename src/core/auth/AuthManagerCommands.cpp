// The commands the screens call: QML cannot await a task, so each one starts its task and
// reports through a signal once it ends.
#include "auth/AuthManager.h"

#include "text/UserErrorDescription.h"

#include <QPointer>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QCoro::Task<> reportAdminRequest(QPointer<AuthManager> self, QString action, QCoro::Task<> task) {
    QString error;
    try {
        co_await std::move(task);
    } catch (...) {
        error = userErrorDescription(std::current_exception());
    }
    if (self)
        Q_EMIT self->adminRequestFinished(action, error);
}

QCoro::Task<> reportBootstrap(QPointer<AuthManager> self, QCoro::Task<> task) {
    try {
        co_await std::move(task);
    } catch (...) {
        // The start check clears what it cannot verify; nothing is left to report.
    }
    if (self)
        Q_EMIT self->bootstrapFinished();
}

QCoro::Task<> reportLogin(QPointer<AuthManager> self, QCoro::Task<bool> task) {
    bool succeeded = false;
    try {
        succeeded = co_await std::move(task);
    } catch (...) {
        // A failed login has already said why in `errorMessage`.
    }
    if (self)
        Q_EMIT self->loginFinished(succeeded);
}

/// The password flows give the text to show, also when they fail.
template <typename Signal>
QCoro::Task<> reportMessage(QPointer<AuthManager> self, Signal signal, QCoro::Task<QString> task) {
    QString message;
    try {
        message = co_await std::move(task);
    } catch (...) {
        message = userErrorDescription(std::current_exception());
    }
    if (self)
        Q_EMIT(self->*signal)(message);
}

QCoro::Task<> reportUsers(QPointer<AuthManager> self, QCoro::Task<QList<AuthAdminUser>> task) {
    QVariantList users;
    QString error;
    try {
        const QList<AuthAdminUser> listed = co_await std::move(task);
        for (const auto& user : listed)
            users << AuthManager::toVariantMap(user);
    } catch (...) {
        error = userErrorDescription(std::current_exception());
    }
    if (self)
        Q_EMIT self->adminUsersListed(users, error);
}

} // namespace

void AuthManager::startBootstrap() {
    reportBootstrap(this, bootstrap());
}

void AuthManager::startLogin(const QString& email, const QString& password, bool rememberSession) {
    reportLogin(this, login(email, password, rememberSession));
}

void AuthManager::startPasswordReset(const QString& email) {
    reportMessage(this, &AuthManager::passwordResetFinished, requestPasswordReset(email));
}

void AuthManager::startPasswordChange(const QString& currentPassword, const QString& newPassword) {
    reportMessage(this, &AuthManager::passwordChangeFinished,
                  changePassword(currentPassword, newPassword));
}

void AuthManager::startAdminListUsers(const QString& adminKey) {
    reportUsers(this, adminListUsers(adminKey));
}

void AuthManager::startAdminCreateUser(const QString& email, const QString& password,
                                       const QString& role, const QString& adminKey) {
    reportAdminRequest(this, u"createUser"_s, adminCreateUser(email, password, role, adminKey));
}

void AuthManager::startAdminSetUserRole(qint64 userID, const QString& role,
                                        const QString& adminKey) {
    reportAdminRequest(this, u"setUserRole"_s, adminSetUserRole(userID, role, adminKey));
}

void AuthManager::startAdminSetUserEnabled(qint64 userID, bool enabled, const QString& adminKey) {
    reportAdminRequest(this, u"setUserEnabled"_s, adminSetUserEnabled(userID, enabled, adminKey));
}

void AuthManager::startAdminDeleteUser(qint64 userID, const QString& adminKey) {
    reportAdminRequest(this, u"deleteUser"_s, adminDeleteUser(userID, adminKey));
}

void AuthManager::startAdminResetPassword(qint64 userID, const QString& password,
                                          const QString& adminKey) {
    reportAdminRequest(this, u"resetPassword"_s, adminResetPassword(userID, password, adminKey));
}

QVariantMap AuthManager::toVariantMap(const AuthAdminUser& user) {
    const auto text = [](const std::optional<QString>& value) { return value.value_or(QString()); };
    return {{u"id"_s, user.id},
            {u"email"_s, user.email},
            {u"role"_s, user.role},
            {u"isActive"_s, user.isActive},
            {u"createdAt"_s, text(user.createdAt)},
            {u"updatedAt"_s, text(user.updatedAt)},
            {u"disabledAt"_s, text(user.disabledAt)},
            {u"lastLoginAt"_s, text(user.lastLoginAt)}};
}

} // namespace vesnara
