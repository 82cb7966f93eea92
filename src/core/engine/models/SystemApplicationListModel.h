#pragma once

#include "audio/AudioSourceOptions.h"
#include "engine/models/KeyedListModel.h"

namespace vesnara {

/// The application picker's applications, after its Auto entry (`autoLabel`, the empty id).
class SystemApplicationListModel : public KeyedListModel<SystemAudioApplicationOption> {
    Q_OBJECT
    Q_PROPERTY(QString autoLabel READ autoLabel CONSTANT)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        NameRole,
        DisplayNameRole,
        BundleIdentifierRole,
    };
    Q_ENUM(Role)

    explicit SystemApplicationListModel(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    void setItems(QList<SystemAudioApplicationOption> items) { applyItems(std::move(items)); }

    QString autoLabel() const;
};

} // namespace vesnara
