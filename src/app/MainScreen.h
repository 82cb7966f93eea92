#pragma once

#include "auth/AuthManager.h"
#include "engine/TranscriptionViewModel.h"

#include <QColor>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>

namespace vesnara {

/// The main screen's wiring: what happens when it appears and while it lives, and the commands
/// of its top bar. The screen is given the application's `AuthManager` and view model; a
/// change of the user hands the backend token on, and turning active refreshes the permission
/// states without a status message.
class MainScreen : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(vesnara::AuthManager* auth READ auth WRITE setAuth NOTIFY authChanged)
    Q_PROPERTY(vesnara::TranscriptionViewModel* viewModel READ viewModel WRITE setViewModel NOTIFY
                   viewModelChanged)
    /// The e-mail of the user logged in, "" without one.
    Q_PROPERTY(QString userEmail READ userEmail NOTIFY userEmailChanged)
    /// Whether the user administration is offered: `VESNARA_INAPP_ADMIN_ENABLED` is exactly "1".
    Q_PROPERTY(bool inAppAdminEnabled READ inAppAdminEnabled CONSTANT)
    Q_PROPERTY(QString adminKey READ adminKey WRITE setAdminKey NOTIFY adminKeyChanged)
    /// The status dot: orange while paused, green while recording, else the idle blue.
    Q_PROPERTY(QColor statusDotColor READ statusDotColor NOTIFY statusDotColorChanged)

public:
    explicit MainScreen(QObject* parent = nullptr);

    AuthManager* auth() const { return m_auth; }
    void setAuth(AuthManager* auth);
    TranscriptionViewModel* viewModel() const { return m_viewModel; }
    void setViewModel(TranscriptionViewModel* viewModel);
    QString userEmail() const;
    bool inAppAdminEnabled() const { return m_inAppAdminEnabled; }
    const QString& adminKey() const { return m_adminKey; }
    void setAdminKey(const QString& value);
    QColor statusDotColor() const;

    /// Whether an environment value enables the user administration.
    static bool adminGateOpen(const QString& value);

    /// The screen appeared: the admin key, the backend token, the input devices, the two
    /// permission states, then the recovery of a session that ended uncleanly.
    Q_INVOKABLE void appear();
    /// "Kirjaudu ulos": a recording is stopped first.
    Q_INVOKABLE void logout();

Q_SIGNALS:
    void authChanged();
    void viewModelChanged();
    void userEmailChanged();
    void adminKeyChanged();
    void statusDotColorChanged();

private:
    void updateAuthContext();
    void refreshPermissions();

    QPointer<AuthManager> m_auth;
    QPointer<TranscriptionViewModel> m_viewModel;
    bool m_inAppAdminEnabled = false;
    bool m_appeared = false;
    QString m_adminKey;
};

} // namespace vesnara
