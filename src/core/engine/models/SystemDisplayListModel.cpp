#include "engine/models/SystemDisplayListModel.h"

#include "text/UiText.h"

namespace vesnara {

SystemDisplayListModel::SystemDisplayListModel(QObject* parent)
    : KeyedListModel(parent) {}

QVariant SystemDisplayListModel::data(const QModelIndex& index, int role) const {
    const SystemAudioDisplayOption* display = itemAt(index);
    if (!display)
        return {};
    switch (role) {
    case IdRole:
        return display->id;
    case NameRole:
    case Qt::DisplayRole:
    case DisplayNameRole:
        return display->name;
    default:
        return {};
    }
}

QHash<int, QByteArray> SystemDisplayListModel::roleNames() const {
    return {
        {IdRole, "id"},
        {NameRole, "name"},
        {DisplayNameRole, "displayName"},
    };
}

QString SystemDisplayListModel::autoLabel() const {
    return UiText::automaticSystemDisplayEntry;
}

} // namespace vesnara
