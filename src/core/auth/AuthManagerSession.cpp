// Login, the start check and the requests they share.
#include "auth/AuthManager.h"

#include "auth/AuthRequestError.h"
#include "auth/AuthVerifyResponse.h"
#include "model/JsonReader.h"
#include "storage/AppLog.h"
#include "storage/Preferences.h"
#include "text/UiText.h"

#include <QJsonDocument>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

const QByteArray kJsonType = "application/json";

bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

template <typename Record> Record decodeBody(const QByteArray& body) {
    return Record::fromJson(JsonReader(JsonReader::parseObject(body)));
}

} // namespace

QCoro::Task<HttpResponse> AuthManager::sendTo(QString baseURL, QString path, QByteArray method,
                                              HttpHeaders headers, std::optional<QByteArray> body) {
    HttpRequest request;
    request.method = method;
    request.url = authEndpoint(path, baseURL);
    request.setHeader("X-Vesnara-App-Context", appContext);
    for (const auto& [name, value] : headers)
        request.setHeader(name, value);
    request.body = std::move(body);
    request.timeLimit = m_timing.httpRequestLimit;

    // Only locals from here on: the manager may be gone when the answer comes.
    HttpTransport* const transport = m_transport;
    const CancellationToken token = m_lifetime.token();
    HttpResponse response;
    try {
        response = co_await transport->send(std::move(request), token);
    } catch (const TransportError& error) {
        AppLog::write(u"authRequest method=%1 path=%2 error=transport detail=%3"_s.arg(
            QString::fromLatin1(method), path, error.detail()));
        throw AuthRequestError::offline();
    } catch (const std::exception&) {
        throw AuthRequestError::server(UiText::authConnectionFailed);
    }
    if (response.status <= 0)
        throw AuthRequestError::server(UiText::authInvalidServerResponse);
    AppLog::write(
        u"authRequest method=%1 path=%2 status=%3"_s.arg(QString::fromLatin1(method), path)
            .arg(response.status));
    co_return response;
}

QCoro::Task<HttpResponse> AuthManager::performRequest(QString path, QByteArray method,
                                                      HttpHeaders headers,
                                                      std::optional<QByteArray> body) {
    co_return co_await sendTo(m_authURL, std::move(path), std::move(method), std::move(headers),
                              std::move(body));
}

QCoro::Task<HttpResponse> AuthManager::postToCandidates(QStringList paths, HttpHeaders headers,
                                                        std::optional<QByteArray> body) {
    const QPointer<AuthManager> self(this);
    HttpResponse response;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (!self)
            throw AuthRequestError::offline();
        response = co_await performRequest(paths[i], "POST", headers, body);
        if (response.status != 404)
            break;
    }
    co_return response;
}

QCoro::Task<AuthUser> AuthManager::verifyToken(QString token, QString authURL) {
    // Named locals: GCC cannot keep brace-initialised temporaries across a co_await.
    const HttpHeaders headers{{QByteArray("Content-Type"), kJsonType},
                              {QByteArray("Authorization"), "Bearer " + token.toUtf8()}};
    const HttpResponse response =
        co_await sendTo(std::move(authURL), u"/auth/verify"_s, "POST", headers, std::nullopt);
    if (!isSuccess(response.status)) {
        throw AuthRequestError::server(
            parseServerError(response.body).value_or(UiText::authSessionExpired));
    }
    const auto verified = decodeBody<AuthVerifyResponse>(response.body);
    if (!verified.user)
        throw AuthRequestError::server(UiText::authInvalidVerifyResponse);
    co_return *verified.user;
}

QCoro::Task<AuthLoginResponse> AuthManager::loginRequest(QString email, QString password,
                                                         QString authURL) {
    const QByteArray body =
        QJsonDocument(QJsonObject{{u"email"_s, email}, {u"password"_s, password}})
            .toJson(QJsonDocument::Compact);
    const HttpHeaders headers{{QByteArray("Content-Type"), kJsonType}};
    const HttpResponse response =
        co_await sendTo(std::move(authURL), u"/auth/login"_s, "POST", headers, body);
    if (!isSuccess(response.status)) {
        throw AuthRequestError::server(
            parseServerError(response.body).value_or(UiText::authLoginFailed));
    }
    co_return decodeBody<AuthLoginResponse>(response.body);
}

QCoro::Task<> AuthManager::bootstrap() {
    const QPointer<AuthManager> self(this);
    setIsChecking(true);
    setErrorMessage({});

    if (!m_rememberSession) {
        // A session that was not to be remembered is not even looked at.
        removeStoredSession();
        m_sessionToken.reset();
        setCurrentUser(std::nullopt);
        setIsAuthenticated(false);
        setIsChecking(false);
        AppLog::write(u"authBootstrap result=notRemembered"_s);
        co_return;
    }

    const std::optional<QString> token = m_preferences.string(sessionTokenKey);
    const std::optional<StoredAuthMeta> meta = loadMeta();
    if (!token || token->isEmpty()) {
        clearAuthState(true);
        setIsChecking(false);
        AppLog::write(u"authBootstrap result=noSession"_s);
        co_return;
    }
    // The service that issued the token is the one that must check it.
    if (meta) {
        if (const auto issuer = normalizeAuthURL(meta->authURL)) {
            setAuthURL(*issuer);
            m_preferences.setString(authURLKey, *issuer);
        }
    }

    std::optional<AuthUser> user;
    bool offline = false;
    try {
        user = co_await verifyToken(*token, m_authURL);
    } catch (const AuthRequestError& error) {
        offline = error.kind() == AuthRequestError::Kind::offline;
    } catch (...) {
        // An answer that does not decode: the session cannot be trusted.
    }
    if (!self)
        co_return;

    if (user) {
        m_sessionToken = *token;
        setCurrentUser(*user);
        setIsAuthenticated(true);
        setErrorMessage({});
        saveMeta(*user, m_authURL);
        setIsChecking(false);
        AppLog::write(u"authBootstrap result=verified"_s);
        co_return;
    }
    if (offline && meta && isMetaFresh(*meta)) {
        // The token stays stored for the speech backend; memory holds none.
        setCurrentUser(meta->user);
        setIsAuthenticated(true);
        setErrorMessage({});
        setIsChecking(false);
        AppLog::write(u"authBootstrap result=offlineGrace"_s);
        co_return;
    }
    clearAuthState(true);
    setIsChecking(false);
    AppLog::write(
        u"authBootstrap result=cleared offline=%1"_s.arg(offline ? u"true"_s : u"false"_s));
}

QCoro::Task<bool> AuthManager::login(QString email, QString password,
                                     std::optional<bool> rememberSession) {
    const QPointer<AuthManager> self(this);
    const QString address = email.trimmed().toLower();
    const QString secret = password.trimmed();
    if (address.isEmpty() || secret.isEmpty()) {
        setErrorMessage(UiText::authEnterEmailAndPassword);
        co_return false;
    }
    if (rememberSession)
        setRememberSession(*rememberSession);
    setIsBusy(true);
    setErrorMessage({});

    std::optional<AuthLoginResponse> response;
    QString failure;
    try {
        response = co_await loginRequest(address, secret, m_authURL);
    } catch (const AuthRequestError& error) {
        failure = error.description();
    } catch (...) {
        failure = UiText::authLoginFailed;
    }
    if (!self)
        co_return false;

    if (response && (!response->token || response->token->isEmpty())) {
        response.reset();
        failure = UiText::authInvalidLoginResponse;
    }
    if (!response) {
        setErrorMessage(failure);
        setIsBusy(false);
        AppLog::write(u"authLogin result=failed"_s);
        co_return false;
    }

    const AuthUser user =
        response->user.value_or(AuthUser{.id = std::nullopt, .email = address, .role = u"user"_s});
    m_sessionToken = *response->token;
    if (m_rememberSession) {
        m_preferences.setString(sessionTokenKey, *m_sessionToken);
        saveMeta(user, m_authURL);
    } else {
        removeStoredSession();
    }
    setCurrentUser(user);
    setIsAuthenticated(true);
    setErrorMessage({});
    setIsBusy(false);
    AppLog::write(u"authLogin result=ok remember=%1 admin=%2"_s.arg(
        m_rememberSession ? u"true"_s : u"false"_s, user.isAdmin() ? u"true"_s : u"false"_s));
    co_return true;
}

} // namespace vesnara
