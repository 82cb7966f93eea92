#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace vesnara::refbackend {

/// One account of the auth side.
struct AuthAccount {
    qint64 id = 0;
    /// Trimmed and lower-cased; unique.
    QString email;
    /// "user" or "admin".
    QString role = QStringLiteral("user");
    bool isActive = true;
    QString passwordHash;
    QString createdAt;
    QString updatedAt;
    std::optional<QString> disabledAt;
    std::optional<QString> lastLoginAt;

    /// `{"id","email","role"}`, what login and verify answer with.
    QJsonObject userJson() const;
    /// The administration list's snake_case form; never the hash.
    QJsonObject adminJson() const;
};

/// The accounts of the auth side, kept in `<data>/users.json` (written atomically on each change).
class UserStore {
public:
    explicit UserStore(QString dataDirectory);

    /// Nothing when the e-mail is taken or empty.
    std::optional<AuthAccount> create(const QString& email, const QString& password,
                                      const QString& role);
    /// The account whose password matches, active or not; nothing otherwise.
    std::optional<AuthAccount> authenticate(const QString& email, const QString& password) const;
    std::optional<AuthAccount> findById(qint64 id) const;
    std::optional<AuthAccount> findByEmail(const QString& email) const;
    const QList<AuthAccount>& all() const { return m_accounts; }

    bool setPassword(qint64 id, const QString& password);
    bool setRole(qint64 id, const QString& role);
    bool setActive(qint64 id, bool active);
    bool recordLogin(qint64 id);
    bool remove(qint64 id);

private:
    AuthAccount* find(qint64 id);
    void load();
    void save() const;

    QString m_path;
    QList<AuthAccount> m_accounts;
    qint64 m_nextId = 1;
};

} // namespace vesnara::refbackend
