#pragma once

#include "model/SavedSession.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

#include <optional>
#include <stdexcept>

namespace vesnara {

/// A session file that could not be written or removed, or an id that must not name a file.
class SessionHistoryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The finished sessions of this computer: one JSON file per session, `<id>.json`, in one
/// private directory. The directory listing is the index. A listing decodes only the files that
/// are new or changed (by size, modification and status-change time) since the last listing of
/// this object; the rest comes from what that listing learnt.
///
/// Ids come from the server, so an id that is empty, "." or "..", or contains '/', '\' or NUL
/// is refused: no file is ever read or written outside the directory.
class SessionHistoryStore {
public:
    /// `UserDirectories::sessionsDirectory()`: `$XDG_DATA_HOME/vesnara/sessions`.
    static QString defaultDirectory();

    /// Uses `directory`, or the default one; creates it if it is missing (failures are silent:
    /// the operations that follow fail or come back empty on their own).
    explicit SessionHistoryStore(std::optional<QString> directory = std::nullopt);

    const QString& directory() const { return m_directory; }
    /// Where the session with `id` is kept; nothing for a refused id.
    std::optional<QString> filePathFor(const QString& id) const;

    /// The file id to save a session with `sessionId` under: the id itself when it can name a
    /// visible file here, otherwise `derivedSafeFileId` of it (the id stays inside the file).
    static QString fileIdFor(const QString& sessionId);

    /// Writes the session atomically, replacing an earlier file of the same id.
    /// Throws `SessionHistoryError` for a refused id, an encoding or a write failure.
    void save(const SavedSession& session) { save(session, session.id); }
    /// The same, as `<fileId>.json`.
    void save(const SavedSession& session, const QString& fileId);
    /// Every readable session, newest `endedAt` first; sessions that end at the same moment keep
    /// the directory's (name) order. Unreadable, foreign and hidden files are skipped silently.
    QList<SavedSessionListItem> list() const;
    /// Nothing when the file is missing, unreadable or the id is refused.
    std::optional<SavedSession> load(const QString& id) const;
    /// Removes the session's file; a missing file is success.
    /// Throws `SessionHistoryError` for a refused id or a failed removal.
    void deleteSession(const QString& id);
    /// Removes every visible `.json` file; other files stay, failures are passed over.
    void deleteAll();

    /// What tells a file that changed since it was last read: its size and its modification
    /// and status-change times.
    struct FileStamp {
        QDateTime modified;
        QDateTime statusChanged;
        qint64 size = -1;

        static FileStamp of(const QString& path);
        friend bool operator==(const FileStamp&, const FileStamp&) = default;
    };
    /// The visible session files' names (`<id>.json`), in name order.
    QStringList sessionFileNames() const;
    /// The session in the file at `path`; nothing when it is missing or does not decode.
    static std::optional<SavedSession> readSessionFile(const QString& path);

private:
    void ensureDirectory() const;
    QStringList visibleEntries() const;

    /// What a listing learnt of one file; valid while its stamp stays the same.
    struct ListedFile {
        FileStamp stamp;
        /// Nothing for a file that did not decode.
        std::optional<SavedSessionListItem> item;
    };

    QString m_directory;
    mutable QHash<QString, ListedFile> m_listedFiles;
};

} // namespace vesnara
