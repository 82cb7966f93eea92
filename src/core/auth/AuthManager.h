#pragma once

#include "async/CancellationToken.h"
#include "auth/AuthAdminUser.h"
#include "auth/AuthLoginResponse.h"
#include "auth/AuthUser.h"
#include "auth/StoredAuthMeta.h"
#include "backend/HttpTransport.h"
#include "model/Timestamp.h"
#include "model/Timing.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace vesnara {

class Dialogs;
class Preferences;

/// The client of the auth service and the owner of who is logged in: login, the check of a
/// remembered session at start (with an offline grace of 14 days after the last successful
/// check), what is kept in the preferences, the user's own password flows and the user
/// administration by admin key.
///
/// One instance lives on the main thread for the life of the process; screens observe its
/// properties, which change only there and notify only on a real change. The start check
/// (`bootstrap`) begins by itself at construction and never blocks: `isChecking` is true until
/// it ends.
///
/// Commands never throw. The login and the start check report into `errorMessage` (or clear
/// silently); the password flows and the administration operations leave the login state
/// alone and throw `AuthRequestError` (and, for a user list that does not decode,
/// `JsonDecodeError`) for the sheet that called them to show. Every request carries
/// `X-Vesnara-App-Context: vesnara-mac` and the request limit of `Timing`. No password, token or
/// key is ever written to the log.
class AuthManager final : public QObject {
    Q_OBJECT

    // Login state
    Q_PROPERTY(bool isAuthenticated READ isAuthenticated NOTIFY isAuthenticatedChanged)
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged)
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY isBusyChanged)
    /// An `AuthUser`, or null when nobody is logged in.
    Q_PROPERTY(QVariant currentUser READ currentUserValue NOTIFY currentUserChanged)
    Q_PROPERTY(bool isAdmin READ isAdmin NOTIFY isAdminChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    // Settings
    Q_PROPERTY(QString authURL READ authURL NOTIFY authURLChanged)
    Q_PROPERTY(bool rememberSession READ rememberSession WRITE setRememberSession NOTIFY
                   rememberSessionChanged)

public:
    /// "Now", injectable so that the offline grace can be tested at its edge.
    using Clock = std::function<Timestamp()>;

    /// How long after the last successful check a remembered session works offline: 14 days.
    static constexpr double kTokenTTLSeconds = 1'209'600.0;

    // Preferences keys
    static inline const QString authURLKey = QStringLiteral("vesnara.auth.url");
    static inline const QString authMetaKey = QStringLiteral("vesnara.auth.meta");
    static inline const QString rememberSessionKey =
        QStringLiteral("vesnara.auth.remember_session");
    static inline const QString sessionTokenKey = QStringLiteral("vesnara.auth.session_token");
    static inline const QString adminKeyStorageKey = QStringLiteral("vesnara.auth.admin_key");

    /// The value of `X-Vesnara-App-Context` on every request.
    static inline const QByteArray appContext = QByteArrayLiteral("vesnara-mac");

    /// The compiled-in auth service (an origin with no path).
    static QString defaultAuthURL();

    /// `preferences` and `transport` must outlive the manager. Starts `bootstrap`.
    AuthManager(Preferences& preferences, HttpTransport& transport, Timing timing = {},
                Clock clock = {}, QObject* parent = nullptr);
    /// Requests still in flight are cancelled; their tasks end without touching anything.
    ~AuthManager() override;

    // Observable state
    bool isAuthenticated() const { return m_isAuthenticated; }
    bool isChecking() const { return m_isChecking; }
    bool isBusy() const { return m_isBusy; }
    const std::optional<AuthUser>& currentUser() const { return m_currentUser; }
    QVariant currentUserValue() const;
    /// True when the current user's role, trimmed and lower-cased, is "admin".
    bool isAdmin() const { return m_currentUser && m_currentUser->isAdmin(); }
    const QString& errorMessage() const { return m_errorMessage; }
    const QString& authURL() const { return m_authURL; }
    bool rememberSession() const { return m_rememberSession; }

    // Login and session keeping (AuthManagerSession.cpp)
    /// The start check: with remembering off nothing is sent and a stored session is dropped;
    /// a stored token is verified with the service that issued it; when that service cannot be
    /// reached and the last check is younger than 14 days the user is logged in offline; any
    /// other outcome clears the stored session without a message.
    QCoro::Task<> bootstrap();
    /// Logs in with the trimmed, lower-cased address and the trimmed password. Gives true on
    /// success; on failure `errorMessage` says why. A given `rememberSession` is applied first
    /// and stays applied even when the login fails.
    QCoro::Task<bool> login(QString email, QString password,
                            std::optional<bool> rememberSession = std::nullopt);
    /// Forgets the session; the remember setting, the auth URL and the admin key stay.
    void logout();
    /// Stores the setting; turning it off removes the stored token and meta at once, so the
    /// current session ends with the process.
    void setRememberSession(bool value);
    /// Goes back to the compiled-in service and stores it.
    void useDefaultAuthURL();
    /// Where `promptForAuthURL` asks; without dialogs every prompt counts as cancelled. Must
    /// outlive the manager.
    void setDialogs(Dialogs* dialogs) { m_dialogs = dialogs; }
    /// Prompts for the auth service's address with the current one in the field and the
    /// compiled-in one as placeholder; "Tallenna" applies the text as `applyEnteredAuthURL`.
    Q_INVOKABLE void promptForAuthURL();
    /// The logic of the auth URL prompt: the entered text is trimmed and normalised, then
    /// stored and used; an unusable text sets `errorMessage` to "Virheellinen auth-osoite" and
    /// changes nothing. Gives whether the text was taken.
    bool applyEnteredAuthURL(const QString& text);
    /// The token for the speech backend: the one in memory, else the stored one trimmed (a user
    /// logged in offline has only that); nothing when neither has any text.
    std::optional<QString> currentBackendSessionToken() const;

    // Admin key storage
    /// The stored admin key, or "".
    QString loadStoredAdminKey() const;
    /// Stores the trimmed key; a blank key removes the stored one.
    void saveAdminKey(const QString& key);
    void clearAdminKey();

    // Password flows (AuthManagerPasswords.cpp); both leave `isBusy` and `errorMessage` alone.
    /// Asks the service to send reset instructions to the address. Gives the text to show.
    QCoro::Task<QString> requestPasswordReset(QString email);
    /// Changes the password of the user logged in with a token in memory (not offline). Gives
    /// the text to show. A refusal, also 401, does not log the user out.
    QCoro::Task<QString> changePassword(QString currentPassword, QString newPassword);

    // User administration (AuthManagerAdmin.cpp). Each checks its input first, in a fixed
    // order, and then sends nothing when a check fails; the trimmed key goes as `X-Admin-Key`.
    QCoro::Task<QList<AuthAdminUser>> adminListUsers(QString adminKey);
    /// `role` is "user" or "admin" after trimming and lower-casing.
    QCoro::Task<> adminCreateUser(QString email, QString password, QString role, QString adminKey);
    /// Tries `/role`, then `/set-role` when the first answers 404.
    QCoro::Task<> adminSetUserRole(qint64 userID, QString role, QString adminKey);
    /// Sends no body and no `Content-Type`.
    QCoro::Task<> adminSetUserEnabled(qint64 userID, bool enabled, QString adminKey);
    QCoro::Task<> adminDeleteUser(qint64 userID, QString adminKey);
    QCoro::Task<> adminResetPassword(qint64 userID, QString password, QString adminKey);

    // Commands for the screens (AuthManagerCommands.cpp): each starts the task above and reports
    // through its signal, since QML cannot await a task. `adminRequestFinished` carries the
    // action's name and an error text, empty on success.
    Q_INVOKABLE void startBootstrap();
    Q_INVOKABLE void startLogin(const QString& email, const QString& password,
                                bool rememberSession);
    Q_INVOKABLE void startPasswordReset(const QString& email);
    Q_INVOKABLE void startPasswordChange(const QString& currentPassword,
                                         const QString& newPassword);
    Q_INVOKABLE void startAdminListUsers(const QString& adminKey);
    Q_INVOKABLE void startAdminCreateUser(const QString& email, const QString& password,
                                          const QString& role, const QString& adminKey);
    Q_INVOKABLE void startAdminSetUserRole(qint64 userID, const QString& role,
                                           const QString& adminKey);
    Q_INVOKABLE void startAdminSetUserEnabled(qint64 userID, bool enabled, const QString& adminKey);
    Q_INVOKABLE void startAdminDeleteUser(qint64 userID, const QString& adminKey);
    Q_INVOKABLE void startAdminResetPassword(qint64 userID, const QString& password,
                                             const QString& adminKey);
    /// One listed user as the screens read it.
    static QVariantMap toVariantMap(const AuthAdminUser& user);

    // Rules (AuthManager.cpp)
    /// Trimmed, with every trailing "/" removed; nothing when that leaves no text or no URL.
    /// The scheme is not checked.
    static std::optional<QString> normalizeAuthURL(const QString& text);
    /// `baseURL` with its path replaced by `path`. Throws `AuthRequestError::invalidURL`.
    static QUrl authEndpoint(const QString& path, const QString& baseURL);
    /// The service's words in an error body: the first present of `detail`, `error`,
    /// `message` (even ""), else a body that is no such record as UTF-8 text; nothing for an
    /// empty body, a record without these keys, or bytes that are not UTF-8.
    static std::optional<QString> parseServerError(const QByteArray& body);
    /// Whether `meta` was verified less than 14 days before `now` (a check in the future
    /// counts as fresh); false when its time cannot be read.
    static bool isMetaFresh(const StoredAuthMeta& meta, Timestamp now);
    bool isMetaFresh(const StoredAuthMeta& meta) const;
    /// Stores the meta of a successful check made now; a failure to encode is swallowed.
    void saveMeta(const AuthUser& user, const QString& authURL);
    /// The stored meta; nothing when it is absent or does not decode.
    std::optional<StoredAuthMeta> loadMeta() const;
    /// Removes the stored token and meta and forgets the session. With `keepURL` the auth URL
    /// is read back from the preferences (else the default), without writing; otherwise it
    /// becomes the default and is stored.
    void clearAuthState(bool keepURL);

Q_SIGNALS:
    void isAuthenticatedChanged();
    void isCheckingChanged();
    void isBusyChanged();
    void currentUserChanged();
    void isAdminChanged();
    void errorMessageChanged();
    void authURLChanged();
    void rememberSessionChanged();
    void bootstrapFinished();
    void loginFinished(bool succeeded);
    void passwordResetFinished(const QString& message);
    void passwordChangeFinished(const QString& message);
    /// Each user as `toVariantMap` gives it; `error` is empty on success.
    void adminUsersListed(const QVariantList& users, const QString& error);
    void adminRequestFinished(const QString& action, const QString& error);

private:
    // Setters that notify only on a real change.
    void setIsAuthenticated(bool value);
    void setIsChecking(bool value);
    void setIsBusy(bool value);
    void setCurrentUser(std::optional<AuthUser> user);
    void setErrorMessage(const QString& text);
    void setAuthURL(const QString& url);
    QString storedAuthURL() const;
    void removeStoredSession();

    // Requests (AuthManagerSession.cpp)
    /// One request to `baseURL` + `path`; any HTTP status comes back. Transport failures throw
    /// `AuthRequestError::offline`.
    QCoro::Task<HttpResponse> sendTo(QString baseURL, QString path, QByteArray method,
                                     HttpHeaders headers, std::optional<QByteArray> body);
    /// `sendTo` with the current `authURL`.
    QCoro::Task<HttpResponse> performRequest(QString path, QByteArray method, HttpHeaders headers,
                                             std::optional<QByteArray> body);
    /// POSTs to each path in turn while the answer is 404; gives the first other answer, or
    /// the last 404.
    QCoro::Task<HttpResponse> postToCandidates(QStringList paths, HttpHeaders headers,
                                               std::optional<QByteArray> body);
    QCoro::Task<AuthUser> verifyToken(QString token, QString authURL);
    QCoro::Task<AuthLoginResponse> loginRequest(QString email, QString password, QString authURL);
    QCoro::Task<> authURLPrompt();

    Preferences& m_preferences;
    Dialogs* m_dialogs = nullptr;
    HttpTransport* m_transport;
    Timing m_timing;
    Clock m_clock;
    /// Cancelled at destruction, so requests in flight end early.
    CancellationSource m_lifetime;
    std::optional<QCoro::Task<>> m_bootstrapTask;

    bool m_isAuthenticated = false;
    bool m_isChecking = true;
    bool m_isBusy = false;
    std::optional<AuthUser> m_currentUser;
    QString m_errorMessage;
    QString m_authURL;
    bool m_rememberSession = false;
    /// Memory only; a session logged in offline has none.
    std::optional<QString> m_sessionToken;
};

} // namespace vesnara
