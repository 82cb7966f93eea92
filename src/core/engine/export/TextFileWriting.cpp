#include "engine/export/TextFileWriting.h"

#include <QSaveFile>

namespace vesnara {

std::optional<QString> writeTextFileAtomically(const QString& path, const QString& text) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    const QByteArray bytes = text.toUtf8();
    if (file.write(bytes) != bytes.size()) {
        const QString error = file.errorString();
        file.cancelWriting();
        return error;
    }
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

} // namespace vesnara
