#pragma once

#include "engine/models/KeyedListModel.h"
#include "model/SavedSession.h"

namespace vesnara {

/// The session history as the screen lists it, in the order given (newest first). A refresh
/// changes only the rows that changed: one more saved session is one inserted row.
class SavedSessionListModel : public KeyedListModel<SavedSessionListItem> {
    Q_OBJECT

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        /// QDateTime.
        EndedAtRole,
        LanguageRole,
        SttModelRole,
        SegmentCountRole,
        /// "dd.MM.yyyy HH:mm • <model> • <count> segmenttiä", the time in the local time zone.
        SessionLabelRole,
        /// Names the row for a screen reader: "Sessio <label>".
        RowDescriptionRole,
    };
    Q_ENUM(Role)

    explicit SavedSessionListModel(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    void setItems(QList<SavedSessionListItem> items) { applyItems(std::move(items)); }

    static QString sessionLabel(const SavedSessionListItem& item);
};

} // namespace vesnara
