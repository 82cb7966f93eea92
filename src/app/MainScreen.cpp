#include "MainScreen.h"

#include "Theme.h"
#include "auth/AuthManager.h"
#include "engine/TranscriptionViewModel.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionHistory.h"
#include "engine/parts/SessionTranscript.h"
#include "engine/parts/SupportTools.h"

#include "text/UiText.h"

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
    if (m_viewModel) {
        const QList<const QObject*> senders = {m_viewModel,
                                               m_viewModel->transcript(),
                                               m_viewModel->sources(),
                                               m_viewModel->history(),
                                               m_viewModel->permissions(),
                                               m_viewModel->transcript()->segmentModel(),
                                               m_viewModel->history()->sessionModel()};
        for (const QObject* sender : senders)
            disconnect(sender, nullptr, this, nullptr);
    }
    m_viewModel = viewModel;
    if (m_viewModel)
        connectViewModel();
    Q_EMIT viewModelChanged();
    Q_EMIT statusDotColorChanged();
    Q_EMIT controlsChanged();
    Q_EMIT countersChanged();
}

void MainScreen::connectViewModel() {
    TranscriptionViewModel* vm = m_viewModel;
    for (auto changed :
         {&TranscriptionViewModel::isPausedChanged, &TranscriptionViewModel::isRecordingChanged}) {
        connect(vm, changed, this, &MainScreen::statusDotColorChanged);
    }
    for (auto changed :
         {&TranscriptionViewModel::isPausedChanged, &TranscriptionViewModel::isRecordingChanged,
          &TranscriptionViewModel::isResumingRecordingChanged,
          &TranscriptionViewModel::pauseElapsedLabelChanged,
          &TranscriptionViewModel::commandAvailabilityChanged}) {
        connect(vm, changed, this, &MainScreen::controlsChanged);
    }
    connect(vm, &TranscriptionViewModel::sessionIdChanged, this, &MainScreen::countersChanged);
    connect(vm->transcript(), &SessionTranscript::segmentsChanged, this,
            &MainScreen::countersChanged);
    connect(vm->sources(), &AudioSources::sourceLabelsChanged, this, &MainScreen::countersChanged);
    connect(vm->sources(), &AudioSources::inputModeChanged, this, &MainScreen::countersChanged);
    connect(vm->sources(), &AudioSources::inputModeChanged, this, &MainScreen::controlsChanged);
    connect(vm->history(), &SessionHistory::sessionHistoryChanged, this,
            &MainScreen::controlsChanged);
    PermissionPanel* permissions = vm->permissions();
    for (auto changed : {&PermissionPanel::systemAudioPermissionChanged,
                         &PermissionPanel::isRequestingSystemAudioPermissionChanged,
                         &PermissionPanel::shouldSuggestSystemAudioRelaunchChanged}) {
        connect(permissions, changed, this, &MainScreen::controlsChanged);
    }
    connect(permissions, &PermissionPanel::showSystemAudioPermissionHelpChanged, this, [this] {
        if (m_viewModel->permissions()->showSystemAudioPermissionHelp())
            setShowSystemAudioPermissionDiagnostics(true);
        Q_EMIT controlsChanged();
    });
    SessionTranscript* transcript = vm->transcript();
    connect(transcript, &SessionTranscript::selectedPinIdChanged, this,
            [this] { requestPinnedLine(m_viewModel->transcript()->selectedPinIdText()); });
    connect(transcript, &SessionTranscript::highlightedPinIdChanged, this,
            [this] { requestPinnedLine(m_viewModel->transcript()->highlightedPinIdText()); });
    connect(transcript, &SessionTranscript::transcriptMatchesChanged, this, [this] {
        const SessionTranscript* transcript = m_viewModel->transcript();
        const int row = transcript->currentMatchRow();
        const QUuid line = row >= 0 ? transcript->segments().at(row).id : QUuid();
        if (line == m_currentMatchLine)
            return;
        m_currentMatchLine = line;
        if (row >= 0)
            Q_EMIT pinnedLineRequested(row);
    });
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

QString MainScreen::pauseButtonText() const {
    if (m_viewModel && m_viewModel->isResumingRecording())
        return UiText::statusResuming;
    if (m_viewModel && m_viewModel->isPaused())
        return UiText::mainResume;
    return UiText::mainPause;
}

bool MainScreen::pauseButtonEnabled() const {
    return m_viewModel && (m_viewModel->canPause() || m_viewModel->canResume());
}

QString MainScreen::pauseElapsedText() const {
    if (!m_viewModel || !m_viewModel->isPaused() || m_viewModel->pauseElapsedLabel().isEmpty())
        return {};
    return UiText::mainPauseElapsed(m_viewModel->pauseElapsedLabel());
}

QString MainScreen::wordCountText() const {
    return UiText::mainWordCount(m_viewModel ? m_viewModel->transcript()->wordCount() : 0);
}

QString MainScreen::segmentCountText() const {
    return UiText::mainSegmentCount(m_viewModel ? m_viewModel->transcript()->segmentCount() : 0);
}

QString MainScreen::audioSourceText() const {
    return UiText::mainAudioSource(m_viewModel ? m_viewModel->sources()->micStatusLabel()
                                               : QString());
}

QString MainScreen::sessionItemText() const {
    return UiText::mainSessionItem(m_viewModel ? m_viewModel->sessionId() : QString());
}

bool MainScreen::hasSessionId() const {
    return m_viewModel && !m_viewModel->sessionId().isEmpty();
}

bool MainScreen::systemAudioHelpVisible() const {
    return m_viewModel && m_viewModel->sources()->inputMode() != AudioInputMode::microphone &&
           m_viewModel->permissions()->showSystemAudioPermissionHelp();
}

QString MainScreen::systemAudioHelpText() const {
    return m_viewModel && m_viewModel->permissions()->shouldSuggestSystemAudioRelaunch()
               ? UiText::systemAudioHelpRelaunch
               : UiText::systemAudioHelpFailed;
}

QString MainScreen::systemAudioGrantText() const {
    return m_viewModel && m_viewModel->permissions()->isRequestingSystemAudioPermission()
               ? UiText::permissionRequesting
               : UiText::systemAudioHelpGrant;
}

bool MainScreen::systemAudioGrantEnabled() const {
    if (!m_viewModel)
        return false;
    const PermissionPanel* permissions = m_viewModel->permissions();
    return !m_viewModel->isRecording() && !permissions->isRequestingSystemAudioPermission() &&
           !permissions->isSystemAudioPermissionGranted();
}

void MainScreen::setShowSystemAudioPermissionDiagnostics(bool value) {
    if (m_showPermissionDiagnostics == value)
        return;
    m_showPermissionDiagnostics = value;
    Q_EMIT showSystemAudioPermissionDiagnosticsChanged();
}

bool MainScreen::canClearTranscript() const {
    return m_viewModel && !m_viewModel->isRecording();
}

bool MainScreen::canDeleteAllSessions() const {
    // The whole history, not the rows a search leaves: the command deletes every session.
    return m_viewModel && !m_viewModel->isRecording() &&
           !m_viewModel->history()->sessionHistory().isEmpty();
}

int MainScreen::pinnedLineRow(const QString& pinId) const {
    if (!m_viewModel || pinId.isEmpty())
        return -1;
    SessionTranscript* transcript = m_viewModel->transcript();
    const QUuid segmentId(transcript->nearestSegmentIdForPin(pinId));
    if (segmentId.isNull())
        return -1;
    const auto row = transcript->segmentModel()->rowOf(segmentId);
    return row ? static_cast<int>(*row) : -1;
}

void MainScreen::requestPinnedLine(const QString& pinId) {
    const int row = pinnedLineRow(pinId);
    if (row >= 0)
        Q_EMIT pinnedLineRequested(row);
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

void MainScreen::togglePause() {
    if (!m_viewModel)
        return;
    if (m_viewModel->isPaused())
        m_viewModel->resumeRecording();
    else
        m_viewModel->pauseRecording();
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
