#pragma once

#include <QAbstractListModel>
#include <QPointer>

namespace vesnara {

/// A source picker's entries: its Auto entry first, then the rows of one of the view model's
/// device or application lists, each as `value` (the row's `id`) and `label` (its
/// `displayName`). The list's own row changes pass through one row further down, so the picker
/// keeps its place while devices come and go. `selectedIndex` is the entry of the value chosen
/// now, or -1 when no entry has it.
class PickerEntries : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role { ValueRole = Qt::UserRole + 1, LabelRole };
    Q_ENUM(Role)

    explicit PickerEntries(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    QAbstractItemModel* source() const { return m_source; }
    void setSource(QAbstractItemModel* source);
    const QString& autoLabel() const { return m_autoLabel; }
    void setAutoLabel(const QString& label);
    const QVariant& autoValue() const { return m_autoValue; }
    void setAutoValue(const QVariant& value);
    const QVariant& selectedValue() const { return m_selectedValue; }
    void setSelectedValue(const QVariant& value);
    int selectedIndex() const;

    /// The value of the entry at `row`, or nothing for a row the picker does not have.
    QVariant valueAt(int row) const;

Q_SIGNALS:
    /// `selectedIndex` may read differently.
    void selectionChanged();

private:
    void connectSource();

    QPointer<QAbstractItemModel> m_source;
    int m_idRole = -1;
    int m_labelRole = -1;
    QString m_autoLabel;
    QVariant m_autoValue;
    QVariant m_selectedValue;
};

} // namespace vesnara
