#pragma once

#include "engine/models/ListModelBase.h"
#include "engine/search/SearchText.h"
#include "engine/transcript/TranscriptLines.h"

#include <QList>
#include <QSet>
#include <QUuid>

#include <optional>

namespace vesnara {

/// The transcript's final lines as the screen lists them, in time order. A new line is one
/// inserted row at its place in time; only a whole replacement (a loaded session, a cleared
/// transcript) resets the list.
class TranscriptSegmentListModel : public ListModelBase {
    Q_OBJECT
    Q_PROPERTY(QString transcriptText READ transcriptText NOTIFY transcriptTextChanged)
    Q_PROPERTY(qsizetype wordCount READ wordCount NOTIFY wordCountChanged)

public:
    enum Role {
        /// The segment's id as a string, without braces.
        IdRole = Qt::UserRole + 1,
        TextRole,
        /// QDateTime.
        TimestampRole,
        /// "HH:mm:ss" in the local time zone.
        TimeLabelRole,
        /// Empty when the line has none.
        SpeakerLabelRole,
        HasSpeakerLabelRole,
        /// Set by the owner for the lines that a selected pin lights.
        IsHighlightedRole,
        /// The line holds every word of the search query (never for a blank query).
        IsSearchMatchRole,
        /// The match that the search's next and previous stand on.
        IsCurrentMatchRole,
    };
    Q_ENUM(Role)

    explicit TranscriptSegmentListModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    const TranscriptLines& lines() const { return m_lines; }
    const QList<TranscriptSegment>& segments() const { return m_lines.segments(); }
    const QString& transcriptText() const { return m_lines.transcriptText(); }
    qsizetype wordCount() const { return m_lines.wordCount(); }
    /// The row of the line with `id`, for a view that scrolls to it.
    std::optional<qsizetype> rowOf(const QUuid& id) const;

    /// Adds a final line as `TranscriptLines::add` does, as one inserted row. Returns its row.
    std::optional<qsizetype> add(const FinalLine& line);
    /// Adds the lines of one poll in order; only the new ones become rows. Returns how many.
    qsizetype mergeLines(const QList<FinalLine>& lines);
    /// Shows `segments` (sorted by time), resetting the list.
    void reset(QList<TranscriptSegment> segments);
    /// Empties the transcript, resetting the list; the highlight goes too.
    void clear();

    const QSet<QUuid>& highlightedSegmentIds() const { return m_highlightedIds; }
    /// Lights exactly the lines of `ids`; only rows whose flag changes report it.
    void setHighlightedSegmentIds(QSet<QUuid> ids);

    /// Looks for `query` in every line in one pass; the first match becomes the current one.
    void setSearchQuery(const SearchQuery& query);
    const SearchQuery& searchQuery() const { return m_query; }
    /// The matching rows, ascending.
    const QList<qsizetype>& matchRows() const { return m_matchRows; }
    /// The current match's row, or -1 for none.
    qsizetype currentMatchRow() const { return m_currentMatchRow; }
    /// Moves the current match by `steps` matches, wrapping round at either end.
    void stepMatch(qsizetype steps);

Q_SIGNALS:
    void transcriptTextChanged();
    void wordCountChanged();
    /// The matches or the current one changed.
    void searchMatchesChanged();

private:
    void setMatches(QList<qsizetype> rows, qsizetype currentRow);
    bool lineMatches(qsizetype row) const;
    QList<qsizetype> findMatches() const;

    std::optional<qsizetype> insertLine(const FinalLine& line);
    void replaceLines(QList<TranscriptSegment> segments);

    TranscriptLines m_lines;
    QSet<QUuid> m_highlightedIds;
    SearchQuery m_query;
    QList<qsizetype> m_matchRows;
    qsizetype m_currentMatchRow = -1;
};

} // namespace vesnara
