#pragma once

#include "audio/AudioSourceOptions.h"
#include "engine/models/KeyedListModel.h"

namespace vesnara {

/// The microphone picker's devices, after its Auto entry (`autoDeviceLabel`, id 0).
class InputDeviceListModel : public KeyedListModel<AudioInputDeviceOption> {
    Q_OBJECT
    Q_PROPERTY(QString recommendedInputDeviceName READ recommendedInputDeviceName WRITE
                   setRecommendedInputDeviceName NOTIFY autoDeviceLabelChanged)
    Q_PROPERTY(QString autoDeviceLabel READ autoDeviceLabel NOTIFY autoDeviceLabelChanged)

public:
    enum Role {
        /// The stable device id (quint32).
        IdRole = Qt::UserRole + 1,
        NameRole,
        /// The name, marked when the device is virtual.
        DisplayNameRole,
        IsVirtualRole,
    };
    Q_ENUM(Role)

    explicit InputDeviceListModel(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    void setItems(QList<AudioInputDeviceOption> items) { applyItems(std::move(items)); }

    const QString& recommendedInputDeviceName() const { return m_recommendedName; }
    void setRecommendedInputDeviceName(const QString& name);
    /// "Auto (suositus: <name>)", or "Auto (suositus)" without a recommended name.
    QString autoDeviceLabel() const;

Q_SIGNALS:
    void autoDeviceLabelChanged();

private:
    QString m_recommendedName;
};

} // namespace vesnara
