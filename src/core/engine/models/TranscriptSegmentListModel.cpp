#include "engine/models/TranscriptSegmentListModel.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

TranscriptSegmentListModel::TranscriptSegmentListModel(QObject* parent)
    : ListModelBase(parent) {}

int TranscriptSegmentListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_lines.size());
}

QVariant TranscriptSegmentListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.parent().isValid() || index.column() != 0 || index.row() < 0 ||
        index.row() >= m_lines.size())
        return {};
    const TranscriptSegment& segment = m_lines.at(index.row());
    switch (role) {
    case IdRole:
        return segment.id.toString(QUuid::WithoutBraces);
    case Qt::DisplayRole:
    case TextRole:
        return segment.text;
    case TimestampRole:
        return segment.timestamp.toDateTime();
    case TimeLabelRole:
        return segment.timestamp.clockText();
    case SpeakerLabelRole:
        return segment.speakerLabel.value_or(QString());
    case HasSpeakerLabelRole:
        return segment.speakerLabel.has_value();
    case IsHighlightedRole:
        return m_highlightedIds.contains(segment.id);
    case IsSearchMatchRole:
        return std::binary_search(m_matchRows.cbegin(), m_matchRows.cend(), index.row());
    case IsCurrentMatchRole:
        return index.row() == m_currentMatchRow;
    default:
        return {};
    }
}

QHash<int, QByteArray> TranscriptSegmentListModel::roleNames() const {
    return {
        {IdRole, "id"},
        {TextRole, "text"},
        {TimestampRole, "timestamp"},
        {TimeLabelRole, "timeLabel"},
        {SpeakerLabelRole, "speakerLabel"},
        {HasSpeakerLabelRole, "hasSpeakerLabel"},
        {IsHighlightedRole, "isHighlighted"},
        {IsSearchMatchRole, "isSearchMatch"},
        {IsCurrentMatchRole, "isCurrentMatch"},
    };
}

std::optional<qsizetype> TranscriptSegmentListModel::rowOf(const QUuid& id) const {
    const QList<TranscriptSegment>& segments = m_lines.segments();
    for (qsizetype row = 0; row < segments.size(); ++row) {
        if (segments.at(row).id == id)
            return row;
    }
    return std::nullopt;
}

std::optional<qsizetype> TranscriptSegmentListModel::insertLine(const FinalLine& line) {
    auto addition = m_lines.addition(line);
    if (!addition)
        return std::nullopt;
    const int row = static_cast<int>(addition->row);
    beginInsertRows(QModelIndex(), row, row);
    m_lines.insert(std::move(*addition));
    endInsertRows();
    if (!m_query.isBlank()) {
        // The matches after the new line move down with their rows; the line is matched alone.
        const auto after = std::lower_bound(m_matchRows.begin(), m_matchRows.end(), row);
        const bool shifted = after != m_matchRows.end();
        std::for_each(after, m_matchRows.end(), [](qsizetype& r) { ++r; });
        if (m_currentMatchRow >= row)
            ++m_currentMatchRow;
        if (lineMatches(row)) {
            QList<qsizetype> rows = m_matchRows;
            rows.insert(std::lower_bound(rows.cbegin(), rows.cend(), row) - rows.cbegin(), row);
            setMatches(std::move(rows), m_currentMatchRow < 0 ? row : m_currentMatchRow);
        } else if (shifted) {
            Q_EMIT searchMatchesChanged();
        }
    }
    return row;
}

std::optional<qsizetype> TranscriptSegmentListModel::add(const FinalLine& line) {
    const auto row = insertLine(line);
    if (row) {
        // A line is never empty and always brings its time mark, so both always change.
        Q_EMIT transcriptTextChanged();
        Q_EMIT wordCountChanged();
    }
    return row;
}

qsizetype TranscriptSegmentListModel::mergeLines(const QList<FinalLine>& lines) {
    qsizetype added = 0;
    for (const FinalLine& line : lines) {
        if (insertLine(line))
            ++added;
    }
    if (added > 0) {
        Q_EMIT transcriptTextChanged();
        Q_EMIT wordCountChanged();
    }
    return added;
}

void TranscriptSegmentListModel::reset(QList<TranscriptSegment> segments) {
    replaceLines(std::move(segments));
}

void TranscriptSegmentListModel::clear() {
    replaceLines({});
}

void TranscriptSegmentListModel::replaceLines(QList<TranscriptSegment> segments) {
    const QString textBefore = m_lines.transcriptText();
    const qsizetype wordsBefore = m_lines.wordCount();
    beginResetModel();
    m_lines.reset(std::move(segments));
    m_highlightedIds.clear();
    m_matchRows = findMatches();
    m_currentMatchRow = m_matchRows.isEmpty() ? -1 : m_matchRows.first();
    endResetModel();
    Q_EMIT searchMatchesChanged();
    if (m_lines.transcriptText() != textBefore)
        Q_EMIT transcriptTextChanged();
    if (m_lines.wordCount() != wordsBefore)
        Q_EMIT wordCountChanged();
}

void TranscriptSegmentListModel::setHighlightedSegmentIds(QSet<QUuid> ids) {
    if (ids == m_highlightedIds)
        return;
    // The ids that went dark or lit up: only their rows change.
    QSet<QUuid> flipped = m_highlightedIds;
    flipped.unite(ids);
    flipped.subtract(QSet<QUuid>(m_highlightedIds).intersect(ids));
    m_highlightedIds = std::move(ids);
    const QList<TranscriptSegment>& segments = m_lines.segments();
    for (qsizetype row = 0; row < segments.size() && !flipped.isEmpty(); ++row) {
        if (flipped.remove(segments.at(row).id)) {
            const QModelIndex changed = index(static_cast<int>(row));
            Q_EMIT dataChanged(changed, changed, {IsHighlightedRole});
        }
    }
}

bool TranscriptSegmentListModel::lineMatches(qsizetype row) const {
    return m_query.matches(m_lines.at(row).text);
}

QList<qsizetype> TranscriptSegmentListModel::findMatches() const {
    QList<qsizetype> rows;
    for (qsizetype row = 0; row < m_lines.size() && !m_query.isBlank(); ++row) {
        if (lineMatches(row))
            rows.append(row);
    }
    return rows;
}

void TranscriptSegmentListModel::setSearchQuery(const SearchQuery& query) {
    if (query == m_query)
        return;
    m_query = query;
    QList<qsizetype> rows = findMatches();
    const qsizetype current = rows.isEmpty() ? -1 : rows.first();
    setMatches(std::move(rows), current);
}

void TranscriptSegmentListModel::stepMatch(qsizetype steps) {
    if (m_matchRows.isEmpty())
        return;
    const qsizetype count = m_matchRows.size();
    const auto at = std::lower_bound(m_matchRows.cbegin(), m_matchRows.cend(), m_currentMatchRow);
    const qsizetype ordinal = at - m_matchRows.cbegin();
    const qsizetype next = ((ordinal + steps) % count + count) % count;
    setMatches(m_matchRows, m_matchRows.at(next));
}

void TranscriptSegmentListModel::setMatches(QList<qsizetype> rows, qsizetype currentRow) {
    if (rows == m_matchRows && currentRow == m_currentMatchRow)
        return;
    // Only the rows whose flags flip report it; both lists are ascending.
    QList<qsizetype> flipped;
    std::set_symmetric_difference(m_matchRows.cbegin(), m_matchRows.cend(), rows.cbegin(),
                                  rows.cend(), std::back_inserter(flipped));
    const qsizetype previousCurrent = m_currentMatchRow;
    m_matchRows = std::move(rows);
    m_currentMatchRow = currentRow;
    for (const qsizetype row : std::as_const(flipped)) {
        const QModelIndex changed = index(static_cast<int>(row));
        Q_EMIT dataChanged(changed, changed, {IsSearchMatchRole, IsCurrentMatchRole});
    }
    for (const qsizetype row : {previousCurrent, currentRow}) {
        if (previousCurrent != currentRow && row >= 0 && row < m_lines.size() &&
            !std::binary_search(flipped.cbegin(), flipped.cend(), row)) {
            const QModelIndex changed = index(static_cast<int>(row));
            Q_EMIT dataChanged(changed, changed, {IsCurrentMatchRole});
        }
    }
    Q_EMIT searchMatchesChanged();
}

} // namespace vesnara
