#include "forms/AdminUsersModel.h"

#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

AdminUsersModel::AdminUsersModel(QObject* parent)
    : KeyedListModel(parent) {}

QVariant AdminUsersModel::data(const QModelIndex& index, int role) const {
    const AuthAdminUser* user = itemAt(index);
    if (!user)
        return {};
    switch (role) {
    case UserIdRole:
        return user->id;
    case Qt::DisplayRole:
    case EmailRole:
        return user->email;
    case RoleRole:
        return user->role;
    case IsActiveRole:
        return user->isActive;
    case DetailsRole:
        return UiText::adminUserDetails(user->id, user->role, user->isActive);
    case CanMakeAdminRole:
        return user->role != u"admin"_s;
    case CanMakeUserRole:
        return user->role != u"user"_s;
    case EnabledToggleTextRole:
        return user->isActive ? UiText::adminDisableUser : UiText::adminEnableUser;
    default:
        return {};
    }
}

QHash<int, QByteArray> AdminUsersModel::roleNames() const {
    return {
        {UserIdRole, "userID"},
        {EmailRole, "email"},
        {RoleRole, "role"},
        {IsActiveRole, "isActive"},
        {DetailsRole, "details"},
        {CanMakeAdminRole, "canMakeAdmin"},
        {CanMakeUserRole, "canMakeUser"},
        {EnabledToggleTextRole, "enabledToggleText"},
    };
}

const AuthAdminUser* AdminUsersModel::findUser(qint64 userID) const {
    for (const AuthAdminUser& user : items()) {
        if (user.id == userID)
            return &user;
    }
    return nullptr;
}

} // namespace vesnara
