// User administration by admin key.
#include "auth/AuthManager.h"

#include "auth/AuthRequestError.h"
#include "model/JsonReader.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

const QByteArray kJsonType = "application/json";

bool isAllowedRole(const QString& role) {
    return role == u"user"_s || role == u"admin"_s;
}

QByteArray jsonBody(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QString requireKey(const QString& adminKey) {
    const QString key = adminKey.trimmed();
    if (key.isEmpty())
        throw AuthRequestError::server(UiText::adminEnterKey);
    return key;
}

HttpHeaders keyHeaders(const QString& key, bool jsonBody) {
    HttpHeaders headers{{"X-Admin-Key", key.toUtf8()}};
    if (jsonBody)
        headers.append({"Content-Type", kJsonType});
    return headers;
}

QString userPath(qint64 userID, const QString& suffix = {}) {
    return u"/admin/users/"_s + QString::number(userID) + suffix;
}

// A 2xx passes; any other status throws the service's words or `failureText`.
void ensureSuccess(const QString& operation, const HttpResponse& response,
                   const QString& failureText) {
    if (response.status >= 200 && response.status <= 299)
        return;
    AppLog::write(
        u"authAdmin operation=%1 result=failed status=%2"_s.arg(operation).arg(response.status));
    throw AuthRequestError::server(
        AuthManager::parseServerError(response.body).value_or(failureText));
}

} // namespace

QCoro::Task<QList<AuthAdminUser>> AuthManager::adminListUsers(QString adminKey) {
    const QString key = requireKey(adminKey);
    const HttpResponse response =
        co_await performRequest(u"/admin/users"_s, "GET", keyHeaders(key, false), std::nullopt);
    ensureSuccess(u"list"_s, response, UiText::adminListUsersFailed);
    co_return AuthAdminUsersResponse::fromJson(JsonReader(JsonReader::parseObject(response.body)))
        .users;
}

QCoro::Task<> AuthManager::adminCreateUser(QString email, QString password, QString role,
                                           QString adminKey) {
    const QString address = email.trimmed().toLower();
    const QString secret = password.trimmed();
    const QString normalizedRole = role.trimmed().toLower();
    if (address.isEmpty() || secret.isEmpty())
        throw AuthRequestError::server(UiText::authEnterEmailAndPassword);
    if (!isAllowedRole(normalizedRole))
        throw AuthRequestError::server(UiText::adminInvalidRole);
    const QString key = requireKey(adminKey);

    const QByteArray body = jsonBody(
        QJsonObject{{u"email"_s, address}, {u"password"_s, secret}, {u"role"_s, normalizedRole}});
    const HttpResponse response =
        co_await performRequest(u"/admin/users"_s, "POST", keyHeaders(key, true), body);
    ensureSuccess(u"create"_s, response, UiText::adminCreateUserFailed);
    AppLog::write(u"authAdmin operation=create result=ok role=%1"_s.arg(normalizedRole));
}

QCoro::Task<> AuthManager::adminSetUserRole(qint64 userID, QString role, QString adminKey) {
    const QString normalizedRole = role.trimmed().toLower();
    if (!isAllowedRole(normalizedRole))
        throw AuthRequestError::server(UiText::adminInvalidRole);
    const QString key = requireKey(adminKey);

    // Named locals: GCC cannot keep brace-initialised temporaries across a co_await.
    const QStringList paths{userPath(userID, u"/role"_s), userPath(userID, u"/set-role"_s)};
    const QByteArray body = jsonBody(QJsonObject{{u"role"_s, normalizedRole}});
    const HttpResponse response = co_await postToCandidates(paths, keyHeaders(key, true), body);
    if (response.status == 404) {
        AppLog::write(u"authAdmin operation=setRole result=unavailable"_s);
        throw AuthRequestError::server(UiText::adminSetRoleUnavailable);
    }
    ensureSuccess(u"setRole"_s, response, UiText::adminSetRoleFailed);
    AppLog::write(
        u"authAdmin operation=setRole result=ok user=%1 role=%2"_s.arg(userID).arg(normalizedRole));
}

QCoro::Task<> AuthManager::adminSetUserEnabled(qint64 userID, bool enabled, QString adminKey) {
    const QString key = requireKey(adminKey);
    const HttpResponse response =
        co_await performRequest(userPath(userID, enabled ? u"/enable"_s : u"/disable"_s), "POST",
                                keyHeaders(key, false), std::nullopt);
    ensureSuccess(enabled ? u"enable"_s : u"disable"_s, response,
                  enabled ? UiText::adminEnableUserFailed : UiText::adminDisableUserFailed);
    AppLog::write(
        u"authAdmin operation=%1 result=ok user=%2"_s.arg(enabled ? u"enable"_s : u"disable"_s)
            .arg(userID));
}

QCoro::Task<> AuthManager::adminDeleteUser(qint64 userID, QString adminKey) {
    const QString key = requireKey(adminKey);
    const HttpResponse response =
        co_await performRequest(userPath(userID), "DELETE", keyHeaders(key, false), std::nullopt);
    ensureSuccess(u"delete"_s, response, UiText::adminDeleteUserFailed);
    AppLog::write(u"authAdmin operation=delete result=ok user=%1"_s.arg(userID));
}

QCoro::Task<> AuthManager::adminResetPassword(qint64 userID, QString password, QString adminKey) {
    const QString secret = password.trimmed();
    if (secret.isEmpty())
        throw AuthRequestError::server(UiText::adminEnterNewPassword);
    const QString key = requireKey(adminKey);

    const QByteArray body = jsonBody(QJsonObject{{u"password"_s, secret}});
    const HttpResponse response = co_await performRequest(userPath(userID, u"/reset-password"_s),
                                                          "POST", keyHeaders(key, true), body);
    ensureSuccess(u"resetPassword"_s, response, UiText::adminResetPasswordFailed);
    AppLog::write(u"authAdmin operation=resetPassword result=ok user=%1"_s.arg(userID));
}

} // namespace vesnara
