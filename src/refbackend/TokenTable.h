#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>

#include <chrono>
#include <optional>

namespace vesnara::refbackend {

/// Live session tokens of the auth side: random, opaque, with an expiry. The speech side accepts
/// exactly the tokens that are live here.
class TokenTable {
public:
    /// A new random token for `subject` (a user's e-mail) that lives for `lifetime`.
    QString issue(const QString& subject, std::chrono::seconds lifetime);
    /// Registers a token chosen by the operator (`--token`), valid for `lifetime`.
    void insert(const QString& token, const QString& subject, std::chrono::seconds lifetime);
    /// The token's subject while it is live; nothing for unknown, revoked or expired tokens.
    std::optional<QString> subjectOf(const QString& token) const;
    void revoke(const QString& token);
    /// Revokes every token of `subject` (a disabled or deleted account).
    void revokeAllOf(const QString& subject);
    /// Makes the token expire now, as if its lifetime had passed.
    void expire(const QString& token);

private:
    struct Entry {
        QString subject;
        QDateTime expiresAt;
    };
    QHash<QString, Entry> m_tokens;
};

} // namespace vesnara::refbackend
