#include "engine/models/TranscriptSegmentListModel.h"

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
    endResetModel();
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

} // namespace vesnara
