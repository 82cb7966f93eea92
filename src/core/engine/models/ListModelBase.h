#pragma once

#include <QAbstractListModel>

namespace vesnara {

/// What every list model of the engine shares: its row count as a property, so a view can bind
/// to whether the list is empty.
class ListModelBase : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    explicit ListModelBase(QObject* parent = nullptr);

    int count() const { return rowCount(); }

Q_SIGNALS:
    void countChanged();

private:
    void noteCount();

    int m_count = 0;
};

} // namespace vesnara
