#pragma once

#include "engine/models/ListModelBase.h"

#include <QHash>
#include <QList>

#include <type_traits>
#include <utility>

namespace vesnara {

/// A list model over items that carry a unique `id` (hashable) and compare with `==`. A new
/// list is applied as the difference from the shown one: rows whose id is gone are removed, new
/// ids are inserted, rows that moved are moved and rows whose value changed report a data
/// change, so a view keeps its place and its delegates. Ids that repeat are tolerated (they are
/// matched in order) though they are not expected.
template <typename Item> class KeyedListModel : public ListModelBase {
public:
    using Key = std::remove_cvref_t<decltype(std::declval<const Item&>().id)>;

    using ListModelBase::ListModelBase;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override {
        return parent.isValid() ? 0 : static_cast<int>(m_items.size());
    }

    const QList<Item>& items() const { return m_items; }

protected:
    /// The item of a valid index of this list, or null.
    const Item* itemAt(const QModelIndex& index) const {
        if (!index.isValid() || index.model() != this || index.parent().isValid() ||
            index.column() != 0 || index.row() < 0 || index.row() >= m_items.size())
            return nullptr;
        return &m_items.at(index.row());
    }

    void applyItems(QList<Item> next);

    void resetItems(QList<Item> items) {
        beginResetModel();
        m_items = std::move(items);
        endResetModel();
    }

    void insertItems(qsizetype row, QList<Item> items) {
        if (items.isEmpty())
            return;
        beginInsertRows(QModelIndex(), static_cast<int>(row),
                        static_cast<int>(row + items.size() - 1));
        m_items.insert(row, items.size(), Item());
        std::move(items.begin(), items.end(), m_items.begin() + row);
        endInsertRows();
    }

    void removeItems(qsizetype first, qsizetype count) {
        if (count <= 0)
            return;
        beginRemoveRows(QModelIndex(), static_cast<int>(first),
                        static_cast<int>(first + count - 1));
        m_items.remove(first, count);
        endRemoveRows();
    }

    /// Reports a data change only when `item` differs from what the row holds.
    void changeItem(qsizetype row, Item item) {
        if (m_items.at(row) == item)
            return;
        m_items[row] = std::move(item);
        const QModelIndex changed = index(static_cast<int>(row));
        Q_EMIT dataChanged(changed, changed);
    }

    /// Moves one row so that it ends up at `to`.
    void moveItem(qsizetype from, qsizetype to) {
        if (from == to)
            return;
        // Qt names the destination by the row it goes before, counted before the move.
        const qsizetype before = to > from ? to + 1 : to;
        beginMoveRows(QModelIndex(), static_cast<int>(from), static_cast<int>(from), QModelIndex(),
                      static_cast<int>(before));
        m_items.move(from, to);
        endMoveRows();
    }

private:
    QList<Item> m_items;
};

template <typename Item> void KeyedListModel<Item>::applyItems(QList<Item> next) {
    // Rows whose id the new list no longer has (or has fewer times) go first, one run at a time
    // from the end so that the rows before stay where they are.
    QHash<Key, qsizetype> wanted;
    wanted.reserve(next.size());
    for (const Item& item : std::as_const(next))
        ++wanted[item.id];
    QList<bool> keep(m_items.size(), false);
    for (qsizetype row = 0; row < m_items.size(); ++row) {
        const auto found = wanted.find(m_items.at(row).id);
        if (found != wanted.end() && found.value() > 0) {
            --found.value();
            keep[row] = true;
        }
    }
    for (qsizetype end = m_items.size(); end > 0;) {
        if (keep.at(end - 1)) {
            --end;
            continue;
        }
        qsizetype first = end - 1;
        while (first > 0 && !keep.at(first - 1))
            --first;
        removeItems(first, end - first);
        end = first;
    }

    // Then the new list row by row: a row already in place is kept (and updated), an id still
    // further down is moved up, and a run of new ids is inserted at once. `remaining` counts the
    // ids of the rows not yet placed, which are the rows from `row` on.
    QHash<Key, qsizetype> remaining;
    remaining.reserve(m_items.size());
    for (const Item& item : m_items)
        ++remaining[item.id];
    for (qsizetype row = 0; row < next.size();) {
        const Key key = next.at(row).id;
        if (remaining.value(key) == 0) {
            qsizetype end = row + 1;
            while (end < next.size() && remaining.value(next.at(end).id) == 0)
                ++end;
            insertItems(row, next.mid(row, end - row));
            row = end;
            continue;
        }
        if (m_items.at(row).id != key) {
            qsizetype from = row + 1;
            while (m_items.at(from).id != key)
                ++from;
            moveItem(from, row);
        }
        --remaining[key];
        changeItem(row, std::move(next[row]));
        ++row;
    }
    // Each id was kept at most as often as the new list has it, so nothing is left over.
    Q_ASSERT(m_items.size() == next.size());
}

} // namespace vesnara
