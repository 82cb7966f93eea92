#include "storage/SafeFileId.h"

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

} // namespace vesnara
