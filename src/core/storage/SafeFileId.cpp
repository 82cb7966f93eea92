#include "storage/SafeFileId.h"

#include <QCryptographicHash>

namespace vesnara {

bool isSafeFileId(const QString& id) {
    if (id.isEmpty() || id == QLatin1String(".") || id == QLatin1String(".."))
        return false;
    for (const QChar c : id) {
        if (c == u'/' || c == u'\\' || c == QChar::Null)
            return false;
    }
    return true;
}

QString derivedSafeFileId(const QString& id) {
    const QByteArray digest = QCryptographicHash::hash(id.toUtf8(), QCryptographicHash::Sha256);
    return QLatin1String("session-") + QString::fromLatin1(digest.toHex().left(16));
}

} // namespace vesnara
