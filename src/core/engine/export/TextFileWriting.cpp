#include "engine/export/TextFileWriting.h"

#include "storage/AtomicFile.h"

namespace vesnara {

std::optional<QString> writeTextFileAtomically(const QString& path, const QString& text) {
    return writeFileAtomically(path, text.toUtf8());
}

} // namespace vesnara
