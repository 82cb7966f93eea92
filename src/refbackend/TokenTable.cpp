#include "refbackend/TokenTable.h"

#include <QRandomGenerator>

namespace vesnara::refbackend {

QString TokenTable::issue(const QString& subject, std::chrono::seconds lifetime) {
    QByteArray bytes(32, Qt::Uninitialized);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(bytes.data()),
                                          bytes.size() / int(sizeof(quint32)));
    const QString token = QString::fromLatin1(bytes.toHex());
    insert(token, subject, lifetime);
    return token;
}

void TokenTable::insert(const QString& token, const QString& subject,
                        std::chrono::seconds lifetime) {
    m_tokens.insert(token,
                    Entry{subject, QDateTime::currentDateTimeUtc().addSecs(lifetime.count())});
}

std::optional<QString> TokenTable::subjectOf(const QString& token) const {
    const auto it = m_tokens.constFind(token);
    if (token.isEmpty() || it == m_tokens.constEnd())
        return std::nullopt;
    if (it->expiresAt <= QDateTime::currentDateTimeUtc())
        return std::nullopt;
    return it->subject;
}

void TokenTable::revoke(const QString& token) {
    m_tokens.remove(token);
}

void TokenTable::revokeAllOf(const QString& subject) {
    for (auto it = m_tokens.begin(); it != m_tokens.end();)
        it = it->subject == subject ? m_tokens.erase(it) : std::next(it);
}

void TokenTable::expire(const QString& token) {
    if (auto it = m_tokens.find(token); it != m_tokens.end())
        it->expiresAt = QDateTime::currentDateTimeUtc().addSecs(-1);
}

} // namespace vesnara::refbackend
