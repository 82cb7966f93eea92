#include "MainScreen.h"

#include "Theme.h"
#include "auth/AuthManager.h"
#include "engine/TranscriptionViewModel.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SupportTools.h"

#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace vesnara {

MainScreen::MainScreen(QObject* parent)
    : QObject(parent)
    , m_inAppAdminEnabled(adminGateOpen(qEnvironmentVariable("VESNARA_INAPP_ADMIN_ENABLED"))) {
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                if (state == Qt::ApplicationActive && m_appeared)
                    refreshPermissions();
            });
}

bool MainScreen::adminGateOpen(const QString& value) {
    return value == u"1"_s;
}

void MainScreen::setAuth(AuthManager* auth) {
    if (m_auth == auth)
        return;
    if (m_auth)
        disconnect(m_auth, nullptr, this, nullptr);
    m_auth = auth;
    if (m_auth) {
        connect(m_auth, &AuthManager::currentUserChanged, this, [this] {
            Q_EMIT userEmailChanged();
            if (m_appeared)
                updateAuthContext();
        });
    }
    Q_EMIT authChanged();
    Q_EMIT userEmailChanged();
}

void MainScreen::setViewModel(TranscriptionViewModel* viewModel) {
    if (m_viewModel == viewModel)
        return;
    if (m_viewModel)
        disconnect(m_viewModel, nullptr, this, nullptr);
    m_viewModel = viewModel;
    if (m_viewModel) {
        connect(m_viewModel, &TranscriptionViewModel::isPausedChanged, this,
                &MainScreen::statusDotColorChanged);
        connect(m_viewModel, &TranscriptionViewModel::isRecordingChanged, this,
                &MainScreen::statusDotColorChanged);
    }
    Q_EMIT viewModelChanged();
    Q_EMIT statusDotColorChanged();
}

QString MainScreen::userEmail() const {
    if (!m_auth || !m_auth->currentUser())
        return {};
    return m_auth->currentUser()->email;
}

void MainScreen::setAdminKey(const QString& value) {
    if (m_adminKey == value)
        return;
    m_adminKey = value;
    Q_EMIT adminKeyChanged();
}

QColor MainScreen::statusDotColor() const {
    if (m_viewModel && m_viewModel->isPaused())
        return Theme::pausedDot();
    if (m_viewModel && m_viewModel->isRecording())
        return Theme::recordingDot();
    return Theme::idleDot();
}

void MainScreen::appear() {
    if (!m_auth || !m_viewModel)
        return;
    m_appeared = true;
    if (m_inAppAdminEnabled) {
        if (m_adminKey.trimmed().isEmpty())
            setAdminKey(m_auth->loadStoredAdminKey());
    } else {
        m_auth->clearAdminKey();
        setAdminKey({});
    }
    updateAuthContext();
    m_viewModel->sources()->refreshInputDevices();
    refreshPermissions();
    m_viewModel->support()->runStartupCrashRecoveryIfNeeded();
}

void MainScreen::logout() {
    if (!m_auth)
        return;
    if (m_viewModel && m_viewModel->isRecording())
        m_viewModel->stopRecording();
    m_auth->logout();
}

void MainScreen::updateAuthContext() {
    if (!m_auth || !m_viewModel)
        return;
    m_viewModel->settings()->updateAuthContext(
        m_auth->currentBackendSessionToken().value_or(QString{}));
}

void MainScreen::refreshPermissions() {
    if (!m_viewModel)
        return;
    m_viewModel->permissions()->refreshMicrophonePermissionStatus(false);
    m_viewModel->permissions()->refreshSystemAudioPermissionStatus(false, false);
}

} // namespace vesnara
