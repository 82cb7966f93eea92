#pragma once

#include "model/SavedSession.h"

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
/// private directory. The directory listing is the index; there is no cache.
///
/// Ids come from the server, so an id that is empty, "." or "..", or contains '/', '\' or NUL
/// is refused: no file is ever read or written outside the directory.
class SessionHistoryStore {
public:
    /// `<user data directory>/Vesnara-Mac/sessions`, or the same below the temporary directory
    /// when the platform names no data directory.
    static QString defaultDirectory();

    /// Uses `directory`, or the default one; creates it if it is missing (failures are silent:
    /// the operations that follow fail or come back empty on their own).
    explicit SessionHistoryStore(std::optional<QString> directory = std::nullopt);

    const QString& directory() const { return m_directory; }
    /// Where the session with `id` is kept; nothing for a refused id.
    std::optional<QString> filePathFor(const QString& id) const;

    /// Writes the session atomically, replacing an earlier file of the same id.
    /// Throws `SessionHistoryError` for a refused id, an encoding or a write failure.
    void save(const SavedSession& session);
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

private:
    void ensureDirectory() const;
    QStringList visibleEntries() const;

    QString m_directory;
};

} // namespace vesnara
