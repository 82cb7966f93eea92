#include "refbackend/UserStore.h"

#include "model/JsonReader.h"
#include "model/Timestamp.h"
#include "refbackend/PasswordHash.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

QString normalizedEmail(const QString& email) {
    return email.trimmed().toLower();
}

QString now() {
    return Timestamp::now().toIso8601();
}

void insertOptional(QJsonObject& json, const QString& key, const std::optional<QString>& value) {
    json.insert(key, value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null));
}

} // namespace

QJsonObject AuthAccount::userJson() const {
    return QJsonObject{{u"id"_s, id}, {u"email"_s, email}, {u"role"_s, role}};
}

QJsonObject AuthAccount::adminJson() const {
    QJsonObject json{{u"id"_s, id},
                     {u"email"_s, email},
                     {u"role"_s, role},
                     {u"is_active"_s, isActive},
                     {u"created_at"_s, createdAt},
                     {u"updated_at"_s, updatedAt}};
    insertOptional(json, u"disabled_at"_s, disabledAt);
    insertOptional(json, u"last_login_at"_s, lastLoginAt);
    return json;
}

UserStore::UserStore(QString dataDirectory)
    : m_path(QDir(dataDirectory).filePath(u"users.json"_s)) {
    load();
}

std::optional<AuthAccount> UserStore::create(const QString& email, const QString& password,
                                             const QString& role) {
    const QString address = normalizedEmail(email);
    if (address.isEmpty() || findByEmail(address))
        return std::nullopt;
    AuthAccount account;
    account.id = m_nextId++;
    account.email = address;
    account.role = role;
    account.passwordHash = PasswordHash::make(password);
    account.createdAt = account.updatedAt = now();
    m_accounts.append(account);
    save();
    return account;
}

std::optional<AuthAccount> UserStore::authenticate(const QString& email,
                                                   const QString& password) const {
    const auto account = findByEmail(email);
    if (!account || !PasswordHash::verify(password, account->passwordHash))
        return std::nullopt;
    return account;
}

std::optional<AuthAccount> UserStore::findById(qint64 id) const {
    for (const auto& account : m_accounts) {
        if (account.id == id)
            return account;
    }
    return std::nullopt;
}

std::optional<AuthAccount> UserStore::findByEmail(const QString& email) const {
    const QString address = normalizedEmail(email);
    for (const auto& account : m_accounts) {
        if (account.email == address)
            return account;
    }
    return std::nullopt;
}

AuthAccount* UserStore::find(qint64 id) {
    for (auto& account : m_accounts) {
        if (account.id == id)
            return &account;
    }
    return nullptr;
}

bool UserStore::setPassword(qint64 id, const QString& password) {
    AuthAccount* account = find(id);
    if (!account)
        return false;
    account->passwordHash = PasswordHash::make(password);
    account->updatedAt = now();
    save();
    return true;
}

bool UserStore::setRole(qint64 id, const QString& role) {
    AuthAccount* account = find(id);
    if (!account)
        return false;
    account->role = role;
    account->updatedAt = now();
    save();
    return true;
}

bool UserStore::setActive(qint64 id, bool active) {
    AuthAccount* account = find(id);
    if (!account)
        return false;
    account->isActive = active;
    account->disabledAt = active ? std::nullopt : std::optional(now());
    account->updatedAt = now();
    save();
    return true;
}

bool UserStore::recordLogin(qint64 id) {
    AuthAccount* account = find(id);
    if (!account)
        return false;
    account->lastLoginAt = now();
    save();
    return true;
}

bool UserStore::remove(qint64 id) {
    const auto removed =
        m_accounts.removeIf([id](const auto& account) { return account.id == id; });
    if (removed > 0)
        save();
    return removed > 0;
}

void UserStore::load() {
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QJsonArray users =
        QJsonDocument::fromJson(file.readAll()).object().value(u"users"_s).toArray();
    for (const auto& value : users) {
        try {
            const JsonReader json(value.toObject());
            AuthAccount account;
            account.id = json.requiredInteger(u"id"_s);
            account.email = json.requiredString(u"email"_s);
            account.role = json.requiredString(u"role"_s);
            account.isActive = json.requiredBool(u"is_active"_s);
            account.passwordHash = json.requiredString(u"password_hash"_s);
            account.createdAt = json.optionalString(u"created_at"_s).value_or(QString());
            account.updatedAt = json.optionalString(u"updated_at"_s).value_or(QString());
            account.disabledAt = json.optionalString(u"disabled_at"_s);
            account.lastLoginAt = json.optionalString(u"last_login_at"_s);
            m_nextId = std::max(m_nextId, account.id + 1);
            m_accounts.append(account);
        } catch (const JsonDecodeError&) {
            // A damaged entry is left out rather than costing every other account.
        }
    }
}

void UserStore::save() const {
    QJsonArray users;
    for (const auto& account : m_accounts) {
        QJsonObject json = account.adminJson();
        json.insert(u"password_hash"_s, account.passwordHash);
        users.append(json);
    }
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(QJsonObject{{u"users"_s, users}}).toJson());
        file.commit();
    }
}

} // namespace vesnara::refbackend
