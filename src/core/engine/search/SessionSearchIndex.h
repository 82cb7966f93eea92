#pragma once

#include "engine/search/SearchText.h"
#include "model/SavedSession.h"
#include "storage/SessionHistoryStore.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

namespace vesnara {

/// What a search of the history looks through: per session file, the folded list label, id,
/// date and transcript. Like the history's listing it reads only the files that are new or
/// changed since its last refresh. Not thread-safe: it is meant to live on one worker, where
/// reading and folding hour-long transcripts keep off the screen's thread.
class SessionSearchIndex {
public:
    explicit SessionSearchIndex(const QString& directory);

    /// Reads the session files that are new or changed; forgets the ones that are gone.
    void refresh();
    /// The ids (as inside the files) of the indexed sessions that hold every word of `query`;
    /// all of them for a blank query.
    QSet<QString> matchingIds(const SearchQuery& query) const;
    /// How many files read as sessions.
    qsizetype size() const;

    /// The folded text of `session` that a query is matched against.
    static QByteArray foldedSession(const SavedSession& session);

private:
    struct Entry {
        SessionHistoryStore::FileStamp stamp;
        /// Empty for a file that did not decode.
        QString id;
        QByteArray folded;
    };

    SessionHistoryStore m_files;
    QHash<QString, Entry> m_entries;
};

} // namespace vesnara
