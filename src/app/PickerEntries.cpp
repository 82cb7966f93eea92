#include "PickerEntries.h"

namespace vesnara {

PickerEntries::PickerEntries(QObject* parent)
    : QAbstractListModel(parent) {}

int PickerEntries::rowCount(const QModelIndex& parent) const {
    if (parent.isValid())
        return 0;
    return 1 + (m_source ? m_source->rowCount() : 0);
}

QVariant PickerEntries::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    if (index.row() == 0) {
        if (role == ValueRole)
            return m_autoValue;
        if (role == LabelRole || role == Qt::DisplayRole)
            return m_autoLabel;
        return {};
    }
    const QModelIndex row = m_source->index(index.row() - 1, 0);
    if (role == ValueRole)
        return m_source->data(row, m_idRole);
    if (role == LabelRole || role == Qt::DisplayRole)
        return m_source->data(row, m_labelRole);
    return {};
}

QHash<int, QByteArray> PickerEntries::roleNames() const {
    return {{ValueRole, "value"}, {LabelRole, "label"}};
}

void PickerEntries::setSource(QAbstractItemModel* source) {
    if (m_source == source)
        return;
    beginResetModel();
    if (m_source)
        disconnect(m_source, nullptr, this, nullptr);
    m_source = source;
    m_idRole = m_labelRole = -1;
    if (m_source) {
        const QHash<int, QByteArray> roles = m_source->roleNames();
        m_idRole = roles.key("id", -1);
        m_labelRole = roles.key("displayName", -1);
        connectSource();
    }
    endResetModel();
    Q_EMIT selectionChanged();
}

void PickerEntries::connectSource() {
    QAbstractItemModel* source = m_source;
    connect(source, &QAbstractItemModel::rowsAboutToBeInserted, this,
            [this](const QModelIndex&, int first, int last) {
                beginInsertRows({}, first + 1, last + 1);
            });
    connect(source, &QAbstractItemModel::rowsInserted, this, [this] {
        endInsertRows();
        Q_EMIT selectionChanged();
    });
    connect(source, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex&, int first, int last) {
                beginRemoveRows({}, first + 1, last + 1);
            });
    connect(source, &QAbstractItemModel::rowsRemoved, this, [this] {
        endRemoveRows();
        Q_EMIT selectionChanged();
    });
    connect(source, &QAbstractItemModel::rowsAboutToBeMoved, this,
            [this](const QModelIndex&, int first, int last, const QModelIndex&, int before) {
                beginMoveRows({}, first + 1, last + 1, {}, before + 1);
            });
    connect(source, &QAbstractItemModel::rowsMoved, this, [this] {
        endMoveRows();
        Q_EMIT selectionChanged();
    });
    connect(source, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& topLeft, const QModelIndex& bottomRight) {
                Q_EMIT dataChanged(index(topLeft.row() + 1), index(bottomRight.row() + 1),
                                   {ValueRole, LabelRole, Qt::DisplayRole});
                Q_EMIT selectionChanged();
            });
    // A rearranged or reset source is shown anew.
    connect(source, &QAbstractItemModel::modelAboutToBeReset, this, [this] { beginResetModel(); });
    connect(source, &QAbstractItemModel::modelReset, this, [this] {
        endResetModel();
        Q_EMIT selectionChanged();
    });
    connect(source, &QAbstractItemModel::layoutAboutToBeChanged, this,
            [this] { beginResetModel(); });
    connect(source, &QAbstractItemModel::layoutChanged, this, [this] {
        endResetModel();
        Q_EMIT selectionChanged();
    });
    // By then the pointer reads null already: only the Auto entry is left.
    connect(source, &QObject::destroyed, this, [this] {
        beginResetModel();
        m_idRole = m_labelRole = -1;
        endResetModel();
        Q_EMIT selectionChanged();
    });
}

void PickerEntries::setAutoLabel(const QString& label) {
    if (m_autoLabel == label)
        return;
    m_autoLabel = label;
    Q_EMIT dataChanged(index(0), index(0), {LabelRole, Qt::DisplayRole});
}

void PickerEntries::setAutoValue(const QVariant& value) {
    if (m_autoValue == value)
        return;
    m_autoValue = value;
    Q_EMIT dataChanged(index(0), index(0), {ValueRole});
    Q_EMIT selectionChanged();
}

void PickerEntries::setSelectedValue(const QVariant& value) {
    if (m_selectedValue == value && m_selectedValue.metaType() == value.metaType())
        return;
    m_selectedValue = value;
    Q_EMIT selectionChanged();
}

int PickerEntries::selectedIndex() const {
    const int rows = rowCount();
    for (int row = 0; row < rows; ++row) {
        if (valueAt(row) == m_selectedValue)
            return row;
    }
    return -1;
}

QVariant PickerEntries::valueAt(int row) const {
    if (row < 0 || row >= rowCount())
        return {};
    return data(index(row), ValueRole);
}

} // namespace vesnara
