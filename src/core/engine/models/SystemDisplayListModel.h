#pragma once

#include "audio/AudioSourceOptions.h"
#include "engine/models/KeyedListModel.h"

namespace vesnara {

/// The system audio source picker's outputs, after its Auto entry (`autoLabel`, id 0).
class SystemDisplayListModel : public KeyedListModel<SystemAudioDisplayOption> {
    Q_OBJECT
    Q_PROPERTY(QString autoLabel READ autoLabel CONSTANT)

public:
    enum Role {
        /// quint32.
        IdRole = Qt::UserRole + 1,
        NameRole,
        DisplayNameRole,
    };
    Q_ENUM(Role)

    explicit SystemDisplayListModel(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    void setItems(QList<SystemAudioDisplayOption> items) { applyItems(std::move(items)); }

    QString autoLabel() const;
};

} // namespace vesnara
