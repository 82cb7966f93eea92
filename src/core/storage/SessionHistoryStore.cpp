#include "storage/SessionHistoryStore.h"

#include "model/JsonReader.h"
#include "model/JsonWriting.h"
#include "storage/AtomicFile.h"
#include "storage/SafeFileId.h"
#include "storage/UserDirectories.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

const QString kExtension = u"json"_s;

bool hasSessionExtension(const QString& fileName) {
    return QFileInfo(fileName).suffix() == kExtension;
}

} // namespace

std::optional<SavedSession> SessionHistoryStore::readSessionFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    try {
        return SavedSession::fromFileBytes(file.readAll());
    } catch (const JsonDecodeError&) {
        return std::nullopt;
    }
}

SessionHistoryStore::FileStamp SessionHistoryStore::FileStamp::of(const QString& path) {
    const QFileInfo info(path);
    return {info.lastModified(), info.metadataChangeTime(), info.size()};
}

QString SessionHistoryStore::defaultDirectory() {
    return UserDirectories::sessionsDirectory();
}

SessionHistoryStore::SessionHistoryStore(std::optional<QString> directory)
    : m_directory(directory.value_or(defaultDirectory())) {
    ensureDirectory();
}

std::optional<QString> SessionHistoryStore::filePathFor(const QString& id) const {
    if (!isSafeFileId(id))
        return std::nullopt;
    return QDir(m_directory).filePath(id + u'.' + kExtension);
}

void SessionHistoryStore::ensureDirectory() const {
    if (!QFileInfo::exists(m_directory))
        QDir().mkpath(m_directory);
}

QStringList SessionHistoryStore::visibleEntries() const {
    // Without QDir::Hidden, dot files are left out. Name order stands for "the listing order"
    // so that equal end times come out the same on every file system.
    return QDir(m_directory)
        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
}

QStringList SessionHistoryStore::sessionFileNames() const {
    QStringList names = visibleEntries();
    names.removeIf([](const QString& name) { return !hasSessionExtension(name); });
    return names;
}

QString SessionHistoryStore::fileIdFor(const QString& sessionId) {
    if (isSafeFileId(sessionId) && !sessionId.startsWith(u'.'))
        return sessionId;
    return derivedSafeFileId(sessionId);
}

void SessionHistoryStore::save(const SavedSession& session, const QString& fileId) {
    const auto path = filePathFor(fileId);
    if (!path)
        throw SessionHistoryError("refused session id: \"" + fileId.toStdString() + '"');
    ensureDirectory();

    QByteArray bytes;
    try {
        bytes = session.toFileBytes();
    } catch (const JsonEncodeError& error) {
        throw SessionHistoryError(std::string("cannot encode session: ") + error.what());
    }

    m_listedFiles.remove(QFileInfo(*path).fileName());
    if (const auto error = writeFileAtomically(*path, bytes))
        throw SessionHistoryError("cannot write " + path->toStdString() + ": " +
                                  error->toStdString());
}

QList<SavedSessionListItem> SessionHistoryStore::list() const {
    ensureDirectory();
    const QDir directory(m_directory);
    QList<SavedSessionListItem> items;
    QHash<QString, ListedFile> listed;
    for (const QString& name : sessionFileNames()) {
        const QString path = directory.filePath(name);
        ListedFile file{FileStamp::of(path), std::nullopt};
        const auto known = m_listedFiles.constFind(name);
        if (known != m_listedFiles.cend() && known->stamp == file.stamp) {
            file.item = known->item;
        } else if (const auto session = readSessionFile(path)) {
            file.item = SavedSessionListItem::from(*session);
        }
        if (file.item)
            items.append(*file.item);
        listed.insert(name, std::move(file));
    }
    m_listedFiles = std::move(listed);
    std::stable_sort(items.begin(), items.end(),
                     [](const auto& a, const auto& b) { return a.endedAt > b.endedAt; });
    return items;
}

std::optional<SavedSession> SessionHistoryStore::load(const QString& id) const {
    const auto path = filePathFor(id);
    if (!path)
        return std::nullopt;
    return readSessionFile(*path);
}

void SessionHistoryStore::deleteSession(const QString& id) {
    const auto path = filePathFor(id);
    if (!path)
        throw SessionHistoryError("refused session id: \"" + id.toStdString() + '"');
    m_listedFiles.remove(QFileInfo(*path).fileName());
    QFile file(*path);
    if (!file.exists())
        return;
    if (!file.remove())
        throw SessionHistoryError("cannot remove " + path->toStdString() + ": " +
                                  file.errorString().toStdString());
}

void SessionHistoryStore::deleteAll() {
    m_listedFiles.clear();
    ensureDirectory();
    const QDir directory(m_directory);
    for (const QString& name : visibleEntries()) {
        if (hasSessionExtension(name))
            QFile::remove(directory.filePath(name));
    }
}

} // namespace vesnara
