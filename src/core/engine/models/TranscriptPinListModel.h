#pragma once

#include "engine/models/KeyedListModel.h"
#include "model/TranscriptPin.h"

#include <QList>
#include <QUuid>

#include <optional>

namespace vesnara {

/// The pins as the screen lists them: ascending by time, pins of equal time in the order they
/// came (the order of `pinsSortedByTimestamp`). Adding, deleting, renaming and relinking change
/// single rows; only a whole replacement resets the list.
class TranscriptPinListModel : public KeyedListModel<TranscriptPin> {
    Q_OBJECT

public:
    enum Role {
        /// Upper-case UUID without braces.
        IdRole = Qt::UserRole + 1,
        /// QDateTime of the moment the pin marks.
        TimestampRole,
        /// QDateTime of the pin's making.
        CreatedAtRole,
        /// "HH:mm:ss" in the local time zone.
        TimeLabelRole,
        LabelRole,
        NoteRole,
        /// The `TranscriptPinKind` as an int.
        KindRole,
        KindLabelRole,
        KindShortLabelRole,
        IconNameRole,
        /// The trimmed label, or the kind's label when that is blank.
        PinDisplayTitleRole,
        /// Whether the trimmed note has text.
        HasNoteRole,
        /// The linked line's id without braces, or empty.
        LinkedSegmentIdRole,
        IsSelectedRole,
        IsHighlightedRole,
        /// Selected or lit: the row stands out.
        IsActiveRole,
        /// Names the row for a screen reader: its title and time.
        RowDescriptionRole,
    };
    Q_ENUM(Role)

    explicit TranscriptPinListModel(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// The pins in the list's order.
    const QList<TranscriptPin>& pins() const { return items(); }
    std::optional<qsizetype> rowOf(const QUuid& id) const;

    /// Inserts `pin` after the pins of the same or an earlier time. Returns its row.
    qsizetype add(TranscriptPin pin);
    /// Removes every pin with this id. True when one was removed.
    bool remove(const QUuid& id);
    /// Replaces the pin with `pin`'s id (renamed or relinked): a data change, or a move as well
    /// should its time differ. False when no pin has that id.
    bool replace(TranscriptPin pin);
    /// Shows `pins`, sorted by time, as row changes against the present list (after linking
    /// every pin anew, only the relinked rows change).
    void setPins(QList<TranscriptPin> pins);
    /// Shows `pins`, sorted by time, resetting the list (a loaded session, a cleared transcript).
    void reset(QList<TranscriptPin> pins);
    void clear() { reset({}); }

    void setSelectedPinId(std::optional<QUuid> id);
    void setHighlightedPinId(std::optional<QUuid> id);
    const std::optional<QUuid>& selectedPinId() const { return m_selectedPinId; }
    const std::optional<QUuid>& highlightedPinId() const { return m_highlightedPinId; }

private:
    void setFlag(std::optional<QUuid>& flag, std::optional<QUuid> id, int role);

    std::optional<QUuid> m_selectedPinId;
    std::optional<QUuid> m_highlightedPinId;
};

} // namespace vesnara
