#include "storage/CheckpointStore.h"

#include "model/JsonReader.h"
#include "model/JsonWriting.h"
#include "storage/AtomicFile.h"
#include "storage/SessionHistoryStore.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace vesnara {

CheckpointStore::CheckpointStore(const QString& historyDirectory)
    : m_directory(QDir(historyDirectory).filePath(u"checkpoints"_s)) {}

QString CheckpointStore::filePathFor(const QString& sessionId) const {
    return QDir(m_directory).filePath(SessionHistoryStore::fileIdFor(sessionId) + u".json"_s);
}

void CheckpointStore::write(const SavedSession& session) {
    QByteArray bytes;
    try {
        bytes = session.toFileBytes();
    } catch (const JsonEncodeError& error) {
        throw SessionHistoryError(std::string("cannot encode checkpoint: ") + error.what());
    }
    QDir().mkpath(m_directory);
    const QString path = filePathFor(session.id);
    if (const auto error = writeFileAtomically(path, bytes))
        throw SessionHistoryError("cannot write " + path.toStdString() + ": " +
                                  error->toStdString());
}

bool CheckpointStore::remove(const QString& sessionId) {
    QFile file(filePathFor(sessionId));
    return !file.exists() || file.remove();
}

QList<CheckpointStore::Entry> CheckpointStore::entries() const {
    QList<Entry> found;
    const QDir directory(m_directory);
    for (const QString& name : directory.entryList({u"*.json"_s}, QDir::Files, QDir::Name)) {
        Entry entry{directory.filePath(name), std::nullopt};
        QFile file(entry.path);
        if (file.open(QIODevice::ReadOnly)) {
            try {
                entry.session = SavedSession::fromFileBytes(file.readAll());
            } catch (const JsonDecodeError&) {
            }
        }
        found.append(std::move(entry));
    }
    return found;
}

} // namespace vesnara
