#include "refbackend/PasswordHash.h"

#include <QPasswordDigestor>
#include <QRandomGenerator>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend::PasswordHash {

namespace {

constexpr int kSaltBytes = 16;
constexpr int kHashBytes = 32;
const QString kScheme = u"pbkdf2-sha256"_s;

QByteArray derive(const QString& password, const QByteArray& salt, int iterations) {
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, password.toUtf8(), salt,
                                              iterations, kHashBytes);
}

// Compares in time independent of where the first difference is.
bool constantTimeEquals(const QByteArray& a, const QByteArray& b) {
    if (a.size() != b.size())
        return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

} // namespace

QString make(const QString& password, int iterations) {
    QByteArray salt(kSaltBytes, Qt::Uninitialized);
    for (auto& byte : salt)
        byte = static_cast<char>(QRandomGenerator::system()->bounded(256));
    return u"%1$%2$%3$%4"_s.arg(kScheme)
        .arg(iterations)
        .arg(QString::fromLatin1(salt.toBase64()),
             QString::fromLatin1(derive(password, salt, iterations).toBase64()));
}

bool verify(const QString& password, const QString& stored) {
    const QStringList parts = stored.split(u'$');
    if (parts.size() != 4 || parts[0] != kScheme)
        return false;
    bool ok = false;
    const int iterations = parts[1].toInt(&ok);
    if (!ok || iterations < 1 || iterations > 10'000'000)
        return false;
    const QByteArray salt = QByteArray::fromBase64(parts[2].toLatin1());
    const QByteArray expected = QByteArray::fromBase64(parts[3].toLatin1());
    if (salt.isEmpty() || expected.size() != kHashBytes)
        return false;
    return constantTimeEquals(derive(password, salt, iterations), expected);
}

} // namespace vesnara::refbackend::PasswordHash
