// The user's own password flows: reset by e-mail and change while logged in.
#include "auth/AuthManager.h"

#include "auth/AuthMessageResponse.h"
#include "auth/AuthRequestError.h"
#include "model/JsonReader.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QJsonDocument>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

const QByteArray kJsonType = "application/json";

bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

QByteArray jsonBody(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// `message`, else `detail` of a message record; nothing when the body is no such record.
std::optional<std::optional<QString>> messageOf(const QByteArray& body) {
    try {
        const auto decoded =
            AuthMessageResponse::fromJson(JsonReader(JsonReader::parseObject(body)));
        return decoded.message ? decoded.message : decoded.detail;
    } catch (const JsonDecodeError&) {
        return std::nullopt;
    }
}

} // namespace

QCoro::Task<QString> AuthManager::requestPasswordReset(QString email) {
    const QString address = email.trimmed().toLower();
    if (address.isEmpty())
        throw AuthRequestError::server(UiText::authEnterEmail);

    // Named locals: GCC cannot keep brace-initialised temporaries across a co_await.
    const QStringList paths{u"/auth/request-password-reset"_s, u"/auth/forgot-password"_s};
    const HttpHeaders headers{{QByteArray("Content-Type"), kJsonType}};
    const QByteArray body = jsonBody(QJsonObject{{u"email"_s, address}});
    const HttpResponse response = co_await postToCandidates(paths, headers, body);
    if (isSuccess(response.status)) {
        AppLog::write(u"authPasswordReset result=ok"_s);
        if (const auto text = messageOf(response.body))
            co_return text->value_or(UiText::authPasswordResetSent);
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString plain = decoder.decode(response.body);
        if (!decoder.hasError() && !plain.trimmed().isEmpty())
            co_return plain;
        co_return UiText::authPasswordResetSent;
    }
    AppLog::write(u"authPasswordReset result=failed status=%1"_s.arg(response.status));
    if (response.status == 404)
        throw AuthRequestError::server(UiText::authPasswordResetUnavailable);
    throw AuthRequestError::server(
        parseServerError(response.body).value_or(UiText::authPasswordResetFailed));
}

QCoro::Task<QString> AuthManager::changePassword(QString currentPassword, QString newPassword) {
    const QString current = currentPassword.trimmed();
    const QString next = newPassword.trimmed();
    if (current.isEmpty() || next.isEmpty())
        throw AuthRequestError::server(UiText::authEnterCurrentAndNewPassword);
    // Deliberately not the stored token: a user logged in offline has to log in again.
    if (!m_sessionToken || m_sessionToken->isEmpty())
        throw AuthRequestError::server(UiText::authSessionMissing);

    const QJsonObject body{
        {u"currentPassword"_s, current},
        {u"newPassword"_s, next},
        {u"current_password"_s, current},
        {u"new_password"_s, next},
    };
    const QStringList paths{u"/auth/change-password"_s, u"/auth/change_password"_s};
    const HttpHeaders headers{{QByteArray("Content-Type"), kJsonType},
                              {QByteArray("Authorization"), "Bearer " + m_sessionToken->toUtf8()}};
    const HttpResponse response = co_await postToCandidates(paths, headers, jsonBody(body));
    if (isSuccess(response.status)) {
        AppLog::write(u"authPasswordChange result=ok"_s);
        co_return messageOf(response.body)
            .value_or(std::nullopt)
            .value_or(UiText::authPasswordChanged);
    }
    AppLog::write(u"authPasswordChange result=failed status=%1"_s.arg(response.status));
    if (response.status == 404)
        throw AuthRequestError::server(UiText::authPasswordChangeUnavailable);
    throw AuthRequestError::server(
        parseServerError(response.body).value_or(UiText::authPasswordChangeFailed));
}

} // namespace vesnara
