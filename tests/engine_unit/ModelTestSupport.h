#pragma once

#include <QAbstractItemModel>
#include <QStringList>

#include <utility>

namespace vesnara::test {

/// The value of the role named `roleName` (as QML names it) at `row`.
inline QVariant roleValue(const QAbstractItemModel& model, int row, const QByteArray& roleName) {
    const int role = model.roleNames().key(roleName, -1);
    if (role < 0)
        qFatal("no role %s", roleName.constData());
    return model.data(model.index(row, 0), role);
}

/// The row signals of a model in the order they came, one short line each ("insert 2-2",
/// "remove 0-1", "move 3-3>0", "change 1-1 isHighlighted", "reset"), so a test compares the
/// whole sequence at once.
class ModelSignalLog {
public:
    explicit ModelSignalLog(QAbstractItemModel* model) {
        using namespace Qt::StringLiterals;
        QObject::connect(model, &QAbstractItemModel::rowsInserted, model,
                         [this](const QModelIndex&, int first, int last) {
                             m_lines.append(u"insert %1-%2"_s.arg(first).arg(last));
                         });
        QObject::connect(model, &QAbstractItemModel::rowsRemoved, model,
                         [this](const QModelIndex&, int first, int last) {
                             m_lines.append(u"remove %1-%2"_s.arg(first).arg(last));
                         });
        QObject::connect(
            model, &QAbstractItemModel::rowsMoved, model,
            [this](const QModelIndex&, int first, int last, const QModelIndex&, int before) {
                m_lines.append(u"move %1-%2>%3"_s.arg(first).arg(last).arg(before));
            });
        QObject::connect(model, &QAbstractItemModel::dataChanged, model,
                         [this, model](const QModelIndex& topLeft, const QModelIndex& bottomRight,
                                       const QList<int>& roles) {
                             QString line =
                                 u"change %1-%2"_s.arg(topLeft.row()).arg(bottomRight.row());
                             for (const int role : roles)
                                 line += u' ' + QString::fromUtf8(model->roleNames().value(role));
                             m_lines.append(line);
                         });
        QObject::connect(model, &QAbstractItemModel::modelReset, model,
                         [this] { m_lines.append(u"reset"_s); });
        QObject::connect(model, &QAbstractItemModel::layoutChanged, model,
                         [this] { m_lines.append(u"layout"_s); });
    }

    /// What came since the last call.
    QStringList take() { return std::exchange(m_lines, {}); }

private:
    QStringList m_lines;
};

} // namespace vesnara::test
