#include "engine/models/InputDeviceListModel.h"

#include "text/UiText.h"

namespace vesnara {

InputDeviceListModel::InputDeviceListModel(QObject* parent)
    : KeyedListModel(parent) {}

QVariant InputDeviceListModel::data(const QModelIndex& index, int role) const {
    const AudioInputDeviceOption* device = itemAt(index);
    if (!device)
        return {};
    switch (role) {
    case IdRole:
        return device->id;
    case NameRole:
        return device->name;
    case Qt::DisplayRole:
    case DisplayNameRole:
        return UiText::inputDeviceEntry(device->name, device->isVirtual);
    case IsVirtualRole:
        return device->isVirtual;
    default:
        return {};
    }
}

QHash<int, QByteArray> InputDeviceListModel::roleNames() const {
    return {
        {IdRole, "id"},
        {NameRole, "name"},
        {DisplayNameRole, "displayName"},
        {IsVirtualRole, "isVirtual"},
    };
}

void InputDeviceListModel::setRecommendedInputDeviceName(const QString& name) {
    if (name == m_recommendedName)
        return;
    m_recommendedName = name;
    Q_EMIT autoDeviceLabelChanged();
}

QString InputDeviceListModel::autoDeviceLabel() const {
    return UiText::automaticInputDeviceEntry(m_recommendedName);
}

} // namespace vesnara
