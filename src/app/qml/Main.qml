import QtQuick
import QtQuick.Controls.Basic
import Vesnara

// The one window: it routes between the start check, the login and the main screen as the
// login state changes. The account sheets and the window's questions (prompt, confirmation, save
// panel) live here rather than in the screens: a screen's bindings die as soon as the route
// leaves it, and a sheet or a question must still close then.
ApplicationWindow {
    id: window

    minimumWidth: 980
    minimumHeight: 720
    width: 1100
    height: 820
    title: Texts.mainHeading
    color: Theme.background

    Loader {
        id: route

        anchors.fill: parent
        sourceComponent: AuthManager.isChecking ? checkingScreen
                                                : AuthManager.isAuthenticated ? mainScreen : loginScreen
    }

    Component {
        id: checkingScreen

        CheckingScreen {}
    }

    Component {
        id: loginScreen

        LoginScreen {}
    }

    Component {
        id: mainScreen

        MainScreenView {}
    }

    PasswordResetSheet {}

    ChangePasswordSheet {}

    ShortcutsSheet {}

    PromptDialog {}

    ConfirmDialog {}

    SavePanel {}
}
