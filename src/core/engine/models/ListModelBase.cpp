#include "engine/models/ListModelBase.h"

namespace vesnara {

ListModelBase::ListModelBase(QObject* parent)
    : QAbstractListModel(parent) {
    connect(this, &QAbstractItemModel::rowsInserted, this, &ListModelBase::noteCount);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &ListModelBase::noteCount);
    connect(this, &QAbstractItemModel::modelReset, this, &ListModelBase::noteCount);
}

void ListModelBase::noteCount() {
    const int count = rowCount();
    if (count == m_count)
        return;
    m_count = count;
    Q_EMIT countChanged();
}

} // namespace vesnara
