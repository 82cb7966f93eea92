#pragma once

#include "auth/AuthAdminUser.h"
#include "engine/models/KeyedListModel.h"

namespace vesnara {

/// The users of the administration panel, one row each, in the order the panel gives them.
/// A reload is applied as the difference from the shown list, so a row that only changed state
/// keeps its delegate. Every row carries its ready texts and which role buttons it shows.
/// (Not `final`: QML's registration derives from a default-constructible type.)
class AdminUsersModel : public KeyedListModel<AuthAdminUser> {
    Q_OBJECT

public:
    enum Role {
        /// The service's id (qint64), what the row's commands take.
        UserIdRole = Qt::UserRole + 1,
        EmailRole,
        RoleRole,
        IsActiveRole,
        /// "id <id> • <role> • aktiivinen" or "… • estetty".
        DetailsRole,
        /// "Tee admin" is shown: the role is not "admin".
        CanMakeAdminRole,
        /// "Tee user" is shown: the role is not "user" (both show for any other role).
        CanMakeUserRole,
        /// "Estä" for an active user, "Aktivoi" for a blocked one.
        EnabledToggleTextRole,
    };
    Q_ENUM(Role)

    explicit AdminUsersModel(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    void setUsers(QList<AuthAdminUser> users) { applyItems(std::move(users)); }
    /// The listed user with `userID`, or null.
    const AuthAdminUser* findUser(qint64 userID) const;
};

} // namespace vesnara
