#include "engine/models/SystemApplicationListModel.h"

#include "text/UiText.h"

namespace vesnara {

SystemApplicationListModel::SystemApplicationListModel(QObject* parent)
    : KeyedListModel(parent) {}

QVariant SystemApplicationListModel::data(const QModelIndex& index, int role) const {
    const SystemAudioApplicationOption* application = itemAt(index);
    if (!application)
        return {};
    switch (role) {
    case IdRole:
        return application->id;
    case NameRole:
    case Qt::DisplayRole:
    case DisplayNameRole:
        return application->name;
    case BundleIdentifierRole:
        return application->bundleIdentifier;
    default:
        return {};
    }
}

QHash<int, QByteArray> SystemApplicationListModel::roleNames() const {
    return {
        {IdRole, "id"},
        {NameRole, "name"},
        {DisplayNameRole, "displayName"},
        {BundleIdentifierRole, "bundleIdentifier"},
    };
}

QString SystemApplicationListModel::autoLabel() const {
    return UiText::automaticSystemApplicationEntry;
}

} // namespace vesnara
