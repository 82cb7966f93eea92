#include "engine/search/SessionSearchIndex.h"

#include "engine/models/SavedSessionListModel.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace vesnara {

SessionSearchIndex::SessionSearchIndex(const QString& directory)
    : m_files(directory) {}

QByteArray SessionSearchIndex::foldedSession(const SavedSession& session) {
    // One line per field: a word of the query never spans a line break, so it cannot match
    // across two fields.
    QString text = SavedSessionListModel::sessionLabel(SavedSessionListItem::from(session));
    text += u'\n' + session.id + u'\n' +
            session.endedAt.toDateTime().toLocalTime().toString(u"yyyy-MM-dd"_s);
    qsizetype length = text.size();
    for (const TranscriptSegment& segment : session.segments)
        length += segment.text.size() + 1;
    text.reserve(length);
    for (const TranscriptSegment& segment : session.segments)
        text += u'\n' + segment.text;
    return SearchText::fold(text);
}

void SessionSearchIndex::refresh() {
    const QDir directory(m_files.directory());
    QHash<QString, Entry> entries;
    for (const QString& name : m_files.sessionFileNames()) {
        const QString path = directory.filePath(name);
        Entry entry{SessionHistoryStore::FileStamp::of(path), {}, {}};
        const auto known = m_entries.constFind(name);
        if (known != m_entries.cend() && known->stamp == entry.stamp) {
            entry = *known;
        } else if (const auto session = SessionHistoryStore::readSessionFile(path)) {
            entry.id = session->id;
            entry.folded = foldedSession(*session);
        }
        entries.insert(name, std::move(entry));
    }
    m_entries = std::move(entries);
}

QSet<QString> SessionSearchIndex::matchingIds(const SearchQuery& query) const {
    QSet<QString> ids;
    for (const Entry& entry : m_entries) {
        if (!entry.id.isEmpty() && query.matchesFolded(entry.folded))
            ids.insert(entry.id);
    }
    return ids;
}

qsizetype SessionSearchIndex::size() const {
    qsizetype decoded = 0;
    for (const Entry& entry : m_entries)
        decoded += entry.id.isEmpty() ? 0 : 1;
    return decoded;
}

} // namespace vesnara
