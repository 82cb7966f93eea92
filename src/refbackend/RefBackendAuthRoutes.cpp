// The auth service's routes of the reference backend: login, token check, password flows and
// user administration by admin key.
#include "refbackend/PasswordHash.h"
#include "refbackend/RefBackend.h"
#include "refbackend/RefHttpServer.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

const QString kUserIdPattern = u"(\\d+)"_s;

QJsonObject bodyOf(const RecordedRequest& request) {
    return QJsonDocument::fromJson(request.body).object();
}

// The auth service speaks `detail` in its errors, as the clients of such services expect.
HttpReply detail(int status, const QString& text) {
    return HttpReply::json(QJsonObject{{u"detail"_s, text}}, status);
}

HttpReply message(const QString& text) {
    return HttpReply::json(QJsonObject{{u"ok"_s, true}, {u"message"_s, text}});
}

bool isAllowedRole(const QString& role) {
    return role == u"user"_s || role == u"admin"_s;
}

// Either spelling of a key, as clients of both conventions send them.
QString eitherKey(const QJsonObject& body, const QString& camel, const QString& snake) {
    return body.contains(camel) ? body.value(camel).toString() : body.value(snake).toString();
}

} // namespace

void RefBackend::addAuthRoutes() {
    auto& server = *m_server;
    server.route("POST", u"/auth/login"_s,
                 [this](const auto& request, const auto&) { return login(request); });
    server.route("POST", u"/auth/verify"_s,
                 [this](const auto& request, const auto&) { return verify(request); });
    for (const QString& path : {u"/auth/request-password-reset"_s, u"/auth/forgot-password"_s}) {
        server.route("POST", path, [this](const auto& request, const auto&) {
            return requestPasswordReset(request);
        });
    }
    for (const QString& path : {u"/auth/change-password"_s, u"/auth/change_password"_s}) {
        server.route("POST", path,
                     [this](const auto& request, const auto&) { return changePassword(request); });
    }
    server.route("GET", u"/admin/users"_s,
                 [this](const auto& request, const auto&) { return adminListUsers(request); });
    server.route("POST", u"/admin/users"_s,
                 [this](const auto& request, const auto&) { return adminCreateUser(request); });
    for (const QString& suffix : {u"/role"_s, u"/set-role"_s}) {
        server.route(
            "POST", u"/admin/users/"_s + kUserIdPattern + suffix,
            [this](const auto& request, const auto& ids) { return adminSetRole(request, ids[0]); });
    }
    server.route("POST", u"/admin/users/"_s + kUserIdPattern + u"/enable"_s,
                 [this](const auto& request, const auto& ids) {
                     return adminSetEnabled(request, ids[0], true);
                 });
    server.route("POST", u"/admin/users/"_s + kUserIdPattern + u"/disable"_s,
                 [this](const auto& request, const auto& ids) {
                     return adminSetEnabled(request, ids[0], false);
                 });
    server.route(
        "DELETE", u"/admin/users/"_s + kUserIdPattern,
        [this](const auto& request, const auto& ids) { return adminDeleteUser(request, ids[0]); });
    server.route("POST", u"/admin/users/"_s + kUserIdPattern + u"/reset-password"_s,
                 [this](const auto& request, const auto& ids) {
                     return adminResetPassword(request, ids[0]);
                 });
}

HttpReply RefBackend::login(const RecordedRequest& request) {
    const QJsonObject body = bodyOf(request);
    const auto account = m_users->authenticate(body.value(u"email"_s).toString(),
                                               body.value(u"password"_s).toString());
    if (!account)
        return detail(401, u"Väärä sähköposti tai salasana."_s);
    if (!account->isActive)
        return detail(403, u"Käyttäjätunnus on estetty."_s);
    m_users->recordLogin(account->id);
    const QString token = m_tokens.issue(account->email, m_options.tokenLifetime);
    return HttpReply::json(QJsonObject{{u"token"_s, token}, {u"user"_s, account->userJson()}});
}

std::optional<AuthAccount> RefBackend::accountOfBearer(const RecordedRequest& request) const {
    const QByteArray header = request.header("authorization");
    if (!header.startsWith("Bearer "))
        return std::nullopt;
    const auto subject = m_tokens.subjectOf(QString::fromUtf8(header.mid(7)).trimmed());
    if (!subject)
        return std::nullopt;
    const auto account = m_users->findByEmail(*subject);
    return account && account->isActive ? account : std::nullopt;
}

HttpReply RefBackend::verify(const RecordedRequest& request) {
    const auto account = accountOfBearer(request);
    if (!account)
        return detail(401, u"Sessio vanhentunut, kirjaudu uudelleen."_s);
    return HttpReply::json(QJsonObject{{u"ok"_s, true}, {u"user"_s, account->userJson()}});
}

HttpReply RefBackend::requestPasswordReset(const RecordedRequest& request) {
    if (bodyOf(request).value(u"email"_s).toString().trimmed().isEmpty())
        return detail(400, u"Sähköpostiosoite puuttuu."_s);
    // The same answer whether or not the address exists, so that it reveals no accounts.
    return message(u"Jos osoite on rekisteröity, palautusohje on lähetetty."_s);
}

HttpReply RefBackend::changePassword(const RecordedRequest& request) {
    const auto account = accountOfBearer(request);
    if (!account)
        return detail(401, u"Sessio vanhentunut, kirjaudu uudelleen."_s);
    const QJsonObject body = bodyOf(request);
    const QString current = eitherKey(body, u"currentPassword"_s, u"current_password"_s);
    const QString next = eitherKey(body, u"newPassword"_s, u"new_password"_s);
    if (next.isEmpty())
        return detail(400, u"Uusi salasana puuttuu."_s);
    if (!PasswordHash::verify(current, account->passwordHash))
        return detail(400, u"Nykyinen salasana on väärä."_s);
    m_users->setPassword(account->id, next);
    return message(u"Salasana vaihdettu."_s);
}

std::optional<HttpReply> RefBackend::refuseWithoutAdminKey(const RecordedRequest& request) const {
    if (m_options.adminKey.isEmpty())
        return detail(403, u"Käyttäjähallinta ei ole käytössä."_s);
    if (QString::fromUtf8(request.header("x-admin-key")) != m_options.adminKey)
        return detail(401, u"Virheellinen admin-avain."_s);
    return std::nullopt;
}

HttpReply RefBackend::adminListUsers(const RecordedRequest& request) {
    if (auto refusal = refuseWithoutAdminKey(request))
        return *refusal;
    QJsonArray users;
    for (const auto& account : m_users->all())
        users.append(account.adminJson());
    return HttpReply::json(QJsonObject{{u"users"_s, users}});
}

HttpReply RefBackend::adminCreateUser(const RecordedRequest& request) {
    if (auto refusal = refuseWithoutAdminKey(request))
        return *refusal;
    const QJsonObject body = bodyOf(request);
    const QString role = body.value(u"role"_s).toString(u"user"_s);
    const QString password = body.value(u"password"_s).toString();
    if (!isAllowedRole(role))
        return detail(400, u"Virheellinen rooli."_s);
    if (password.isEmpty())
        return detail(400, u"Salasana puuttuu."_s);
    const auto account = m_users->create(body.value(u"email"_s).toString(), password, role);
    if (!account)
        return detail(409, u"Sähköpostiosoite on jo käytössä tai puuttuu."_s);
    return HttpReply::json(QJsonObject{{u"ok"_s, true}, {u"user"_s, account->adminJson()}}, 201);
}

HttpReply RefBackend::adminSetRole(const RecordedRequest& request, const QString& id) {
    if (auto refusal = refuseWithoutAdminKey(request))
        return *refusal;
    const QString role = bodyOf(request).value(u"role"_s).toString();
    if (!isAllowedRole(role))
        return detail(400, u"Virheellinen rooli."_s);
    if (!m_users->setRole(id.toLongLong(), role))
        return detail(404, u"Käyttäjää ei löydy."_s);
    return message(u"Rooli päivitetty."_s);
}

HttpReply RefBackend::adminSetEnabled(const RecordedRequest& request, const QString& id,
                                      bool enabled) {
    if (auto refusal = refuseWithoutAdminKey(request))
        return *refusal;
    const auto account = m_users->findById(id.toLongLong());
    if (!account || !m_users->setActive(account->id, enabled))
        return detail(404, u"Käyttäjää ei löydy."_s);
    if (!enabled)
        m_tokens.revokeAllOf(account->email);
    return message(enabled ? u"Käyttäjä aktivoitu."_s : u"Käyttäjä estetty."_s);
}

HttpReply RefBackend::adminDeleteUser(const RecordedRequest& request, const QString& id) {
    if (auto refusal = refuseWithoutAdminKey(request))
        return *refusal;
    const auto account = m_users->findById(id.toLongLong());
    if (!account || !m_users->remove(account->id))
        return detail(404, u"Käyttäjää ei löydy."_s);
    m_tokens.revokeAllOf(account->email);
    return message(u"Käyttäjä poistettu."_s);
}

HttpReply RefBackend::adminResetPassword(const RecordedRequest& request, const QString& id) {
    if (auto refusal = refuseWithoutAdminKey(request))
        return *refusal;
    const QString password = bodyOf(request).value(u"password"_s).toString();
    if (password.isEmpty())
        return detail(400, u"Salasana puuttuu."_s);
    if (!m_users->setPassword(id.toLongLong(), password))
        return detail(404, u"Käyttäjää ei löydy."_s);
    return message(u"Salasana nollattu."_s);
}

} // namespace vesnara::refbackend
