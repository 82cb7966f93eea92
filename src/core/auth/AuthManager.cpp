#include "auth/AuthManager.h"

#include "auth/AuthErrorResponse.h"
#include "auth/AuthRequestError.h"
#include "model/DeploymentDefaults.h"
#include "model/JsonReader.h"
#include "platform/Dialogs.h"
#include "storage/AppLog.h"
#include "storage/Preferences.h"
#include "text/UiText.h"

#include <QJsonDocument>
#include <QPointer>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace vesnara {

QString AuthManager::defaultAuthURL() {
    return QString::fromUtf16(DeploymentDefaults::authURL);
}

AuthManager::AuthManager(Preferences& preferences, HttpTransport& transport, Timing timing,
                         Clock clock, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_transport(&transport)
    , m_timing(timing)
    , m_clock(clock ? std::move(clock) : Clock(&Timestamp::now))
    , m_authURL(storedAuthURL())
    , m_rememberSession(preferences.boolean(rememberSessionKey).value_or(false)) {
    m_bootstrapTask = bootstrap();
}

AuthManager::~AuthManager() {
    m_lifetime.cancel();
}

QVariant AuthManager::currentUserValue() const {
    return m_currentUser ? QVariant::fromValue(*m_currentUser) : QVariant();
}

// Setters

void AuthManager::setIsAuthenticated(bool value) {
    if (m_isAuthenticated == value)
        return;
    m_isAuthenticated = value;
    Q_EMIT isAuthenticatedChanged();
}

void AuthManager::setIsChecking(bool value) {
    if (m_isChecking == value)
        return;
    m_isChecking = value;
    Q_EMIT isCheckingChanged();
}

void AuthManager::setIsBusy(bool value) {
    if (m_isBusy == value)
        return;
    m_isBusy = value;
    Q_EMIT isBusyChanged();
}

void AuthManager::setCurrentUser(std::optional<AuthUser> user) {
    if (m_currentUser == user)
        return;
    const bool wasAdmin = isAdmin();
    m_currentUser = std::move(user);
    Q_EMIT currentUserChanged();
    if (wasAdmin != isAdmin())
        Q_EMIT isAdminChanged();
}

void AuthManager::setErrorMessage(const QString& text) {
    if (m_errorMessage == text)
        return;
    m_errorMessage = text;
    Q_EMIT errorMessageChanged();
}

void AuthManager::setAuthURL(const QString& url) {
    if (m_authURL == url)
        return;
    m_authURL = url;
    Q_EMIT authURLChanged();
}

// Settings and stored state

QString AuthManager::storedAuthURL() const {
    if (const auto stored = m_preferences.string(authURLKey)) {
        if (const auto normalized = normalizeAuthURL(*stored))
            return *normalized;
    }
    return defaultAuthURL();
}

void AuthManager::removeStoredSession() {
    m_preferences.remove(sessionTokenKey);
    m_preferences.remove(authMetaKey);
}

void AuthManager::setRememberSession(bool value) {
    if (m_rememberSession != value) {
        m_rememberSession = value;
        Q_EMIT rememberSessionChanged();
    }
    m_preferences.setBoolean(rememberSessionKey, value);
    if (!value)
        removeStoredSession();
}

void AuthManager::useDefaultAuthURL() {
    setAuthURL(defaultAuthURL());
    m_preferences.setString(authURLKey, m_authURL);
    setErrorMessage({});
}

void AuthManager::promptForAuthURL() {
    authURLPrompt();
}

QCoro::Task<> AuthManager::authURLPrompt() {
    if (!m_dialogs)
        co_return;
    const QPointer<AuthManager> self(this);
    const std::optional<QString> entered = co_await m_dialogs->promptText(
        UiText::promptAuthURLTitle, UiText::promptAuthURLText, m_authURL, defaultAuthURL(), false);
    if (self && entered)
        applyEnteredAuthURL(*entered);
}

bool AuthManager::applyEnteredAuthURL(const QString& text) {
    const auto normalized = normalizeAuthURL(text);
    if (!normalized) {
        setErrorMessage(UiText::authInvalidURL);
        return false;
    }
    setAuthURL(*normalized);
    m_preferences.setString(authURLKey, *normalized);
    setErrorMessage({});
    return true;
}

std::optional<QString> AuthManager::currentBackendSessionToken() const {
    if (m_sessionToken && !m_sessionToken->isEmpty())
        return m_sessionToken;
    const QString stored = m_preferences.string(sessionTokenKey).value_or(QString()).trimmed();
    return stored.isEmpty() ? std::nullopt : std::optional(stored);
}

void AuthManager::logout() {
    clearAuthState(true);
    AppLog::write(u"authLogout"_s);
}

void AuthManager::clearAuthState(bool keepURL) {
    removeStoredSession();
    m_sessionToken.reset();
    setCurrentUser(std::nullopt);
    setIsAuthenticated(false);
    setErrorMessage({});
    if (keepURL) {
        setAuthURL(storedAuthURL());
    } else {
        setAuthURL(defaultAuthURL());
        m_preferences.setString(authURLKey, m_authURL);
    }
}

QString AuthManager::loadStoredAdminKey() const {
    return m_preferences.string(adminKeyStorageKey).value_or(QString());
}

void AuthManager::saveAdminKey(const QString& key) {
    const QString trimmed = key.trimmed();
    if (trimmed.isEmpty())
        m_preferences.remove(adminKeyStorageKey);
    else
        m_preferences.setString(adminKeyStorageKey, trimmed);
}

void AuthManager::clearAdminKey() {
    m_preferences.remove(adminKeyStorageKey);
}

// Rules

std::optional<QString> AuthManager::normalizeAuthURL(const QString& text) {
    QString url = text.trimmed();
    while (url.endsWith(u'/'))
        url.chop(1);
    if (url.isEmpty() || !QUrl(url, QUrl::StrictMode).isValid())
        return std::nullopt;
    return url;
}

QUrl AuthManager::authEndpoint(const QString& path, const QString& baseURL) {
    QUrl url(baseURL, QUrl::StrictMode);
    if (baseURL.isEmpty() || !url.isValid())
        throw AuthRequestError::invalidURL();
    url.setPath(path);
    if (!url.isValid())
        throw AuthRequestError::invalidURL();
    return url;
}

std::optional<QString> AuthManager::parseServerError(const QByteArray& body) {
    if (body.isEmpty())
        return std::nullopt;
    try {
        const auto error = AuthErrorResponse::fromJson(JsonReader(JsonReader::parseObject(body)));
        if (error.detail)
            return error.detail;
        if (error.error)
            return error.error;
        return error.message;
    } catch (const JsonDecodeError&) {
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(body);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

bool AuthManager::isMetaFresh(const StoredAuthMeta& meta, Timestamp now) {
    const auto verifiedAt =
        Timestamp::parseIso8601(meta.verifiedAt, Timestamp::FractionalSeconds::notAllowed);
    return verifiedAt && now.secondsSince(*verifiedAt) < kTokenTTLSeconds;
}

bool AuthManager::isMetaFresh(const StoredAuthMeta& meta) const {
    return isMetaFresh(meta, m_clock());
}

void AuthManager::saveMeta(const AuthUser& user, const QString& authURL) {
    const StoredAuthMeta meta{
        .user = user, .verifiedAt = m_clock().toIso8601(), .authURL = authURL};
    m_preferences.setBytes(authMetaKey,
                           QJsonDocument(meta.toJson()).toJson(QJsonDocument::Compact));
}

std::optional<StoredAuthMeta> AuthManager::loadMeta() const {
    const auto bytes = m_preferences.bytes(authMetaKey);
    if (!bytes)
        return std::nullopt;
    try {
        return StoredAuthMeta::fromJson(JsonReader(JsonReader::parseObject(*bytes)));
    } catch (const JsonDecodeError&) {
        return std::nullopt;
    }
}

} // namespace vesnara
