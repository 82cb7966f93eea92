// Construction, derived values and setters of the view model.
#include "engine/TranscriptionViewModel.h"

#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioPermissionSnapshot.h"
#include "backend/WebSocketStreamClient.h"
#include "engine/AssignIfChanged.h"
#include "engine/rules/SessionMetaRules.h"
#include "engine/rules/TranscriptText.h"
#include "model/DeploymentDefaults.h"
#include "platform/PermissionProbe.h"
#include "text/UiText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

// Construction

TranscriptionViewModel::TranscriptionViewModel(Dependencies dependencies, QObject* parent)
    : QObject(parent)
    , m_timing(dependencies.timing)
    , m_places(
          LocalPlaces::resolve(dependencies.downloadsDirectory, dependencies.temporaryDirectory))
    , m_clock(dependencies.clock ? dependencies.clock : [] { return Timestamp::now(); })
    , m_applicationVersion(dependencies.applicationVersion.isEmpty()
                               ? QString::fromUtf16(DeploymentDefaults::applicationVersion)
                               : dependencies.applicationVersion)
    , m_applicationBuild(dependencies.applicationBuild.isEmpty()
                             ? QString::fromUtf16(DeploymentDefaults::applicationBuild)
                             : dependencies.applicationBuild)
    , m_filePanels(dependencies.filePanels)
    , m_clipboard(dependencies.clipboard)
    , m_desktopServices(dependencies.desktopServices)
    , m_apiClient(dependencies.transport, dependencies.timing)
    , m_settings(dependencies.preferences, m_status, dependencies.clipboard, dependencies.dialogs)
    , m_permissions(std::move(dependencies.permissionProbe), m_timing, m_status,
                    dependencies.desktopServices)
    , m_sources(dependencies.audioInputBackend, dependencies.systemAudioBackend, m_timing,
                m_settings, m_status, m_permissions)
    , m_history(dependencies.historyDirectory)
    , m_partContext{*this,
                    m_status,
                    m_settings,
                    m_sources,
                    m_permissions,
                    m_meters,
                    m_history,
                    m_apiClient,
                    m_timing,
                    m_places,
                    m_clock,
                    m_applicationVersion,
                    m_applicationBuild,
                    dependencies.clipboard,
                    dependencies.dialogs,
                    dependencies.filePanels,
                    dependencies.desktopServices}
    , m_transcript(m_partContext)
    , m_support(m_partContext, m_transcript,
                [this] { return isStartingRecording() || isRecording(); })
    , m_autoStop(m_timing)
    , m_startAttemptID(QUuid::createUuid())
    , m_resumeAttemptID(QUuid::createUuid()) {
    m_status.setStatusText(UiText::statusReadyToStart);
    connect(&m_support, &SupportTools::isAudioTestRunningChanged, this,
            &TranscriptionViewModel::commandAvailabilityChanged);
    connect(&m_sources, &AudioSources::inputDeviceChosen, this,
            &TranscriptionViewModel::handleInputDeviceChosen);
    connect(&m_sources, &AudioSources::soundServerChanged, this, [this] {
        m_permissions.applyMicrophonePermissionSnapshot();
        m_permissions.applySystemAudioPermissionSnapshot(std::nullopt);
    });
    connect(&m_transcript, &SessionTranscript::segmentsChanged, this,
            &TranscriptionViewModel::commandAvailabilityChanged);
    connect(&m_transcript, &SessionTranscript::pinsChanged, this,
            &TranscriptionViewModel::commandAvailabilityChanged);
    // The history opens sessions into the transcript; what session the screen shows is the run's.
    m_history.attach(m_partContext, m_transcript);
    connect(&m_transcript, &SessionTranscript::savedSessionShown, this,
            [this](const QString& id) { setSessionId(id); });
    connect(&m_transcript, &SessionTranscript::transcriptCleared, this, [this] {
        setSessionId({});
        resetPauseTracking();
        m_support.resetAutomaticDiagnostics();
    });
    connect(this, &TranscriptionViewModel::runStateChanged, &m_support,
            &SupportTools::handleRunStateChanged);
    m_support.setSavedSessionOpener([this](const QString& id) {
        m_history.setSelectedSessionHistoryId(id);
        m_history.loadSelectedSession();
    });
    installRecordingSafety();
    m_sources.refreshInputDevices();
}

TranscriptionViewModel::~TranscriptionViewModel() {
    // Stopping the sources first guarantees that no capture thread posts to this object while
    // it is being destroyed.
    MicrophoneCapture& microphone = m_sources.microphone();
    microphone.onPCMFrame = {};
    microphone.stopAsync();
    SystemAudioCapture& systemAudio = m_sources.systemAudio();
    systemAudio.onPCMFrame = {};
    systemAudio.onRawAudioSample = {};
    systemAudio.stopAsync();
    closeEchoGuard();
    for (StoredTask* task : {&m_transcriptPollTask, &m_sessionMetaPollTask, &m_audioKeepAliveTask,
                             &m_microphoneLivenessTask, &m_pauseTickerTask,
                             &m_startRecordingTimeoutTask, &m_resumeRecordingTimeoutTask})
        task->cancelAndClear();
    if (m_webSocketClient)
        m_webSocketClient->close();
}

RunFigures TranscriptionViewModel::runFigures() const {
    return {m_rawWithoutPCMStreak, m_hasAttemptedSystemFallback,
            m_hasAttemptedMixedMicrophoneRestart, m_hasAttemptedMicrophoneDeviceFallback};
}

// Derived values

bool TranscriptionViewModel::canStart() const {
    return !isStartingRecording() && !isRecording() && !isResumingRecording() &&
           !m_support.isAudioTestRunning();
}

bool TranscriptionViewModel::canStop() const {
    return isStartingRecording() || isRecording() || isResumingRecording();
}

bool TranscriptionViewModel::canPause() const {
    return isRecording() && !isPaused() && !isResumingRecording();
}

bool TranscriptionViewModel::canResume() const {
    return isRecording() && isPaused() && !isResumingRecording();
}

bool TranscriptionViewModel::canAddPin() const {
    return isRecording() && !isStartingRecording() && !isResumingRecording();
}

bool TranscriptionViewModel::canSave() const {
    return (m_transcript.segmentCount() > 0 || m_transcript.pinCount() > 0) && !isRecording();
}

bool TranscriptionViewModel::canSummary() const {
    return m_support.canSummary();
}

// Private setters

void TranscriptionViewModel::notifyRunStateChanged() {
    Q_EMIT commandAvailabilityChanged();
}

void TranscriptionViewModel::setRunState(RecordingRunState state) {
    if (m_runState == state)
        return;
    const RecordingRunFlags before = flagsOf(m_runState);
    const RecordingRunFlags after = flagsOf(state);
    m_runState = state;
    // Every flag is set before any signal goes out, so a receiver never reads a mixed state.
    Q_EMIT runStateChanged();
    if (before.isRecording != after.isRecording)
        Q_EMIT isRecordingChanged();
    if (before.isStartingRecording != after.isStartingRecording)
        Q_EMIT isStartingRecordingChanged();
    if (before.isResumingRecording != after.isResumingRecording)
        Q_EMIT isResumingRecordingChanged();
    if (before.isPaused != after.isPaused)
        Q_EMIT isPausedChanged();
    updateAutoStopArming();
    notifyRunStateChanged();
}

void TranscriptionViewModel::setStatusText(const QString& text) {
    m_status.setStatusText(text);
}

void TranscriptionViewModel::setPauseElapsedLabel(const QString& label) {
    if (assignIfChanged(m_pauseElapsedLabel, label))
        Q_EMIT pauseElapsedLabelChanged();
}

void TranscriptionViewModel::setDiagnosticHint(const QString& hint) {
    m_status.setDiagnosticHint(hint);
}

void TranscriptionViewModel::setFallbackNoticeVisible(bool visible) {
    if (assignIfChanged(m_fallbackNoticeVisible, visible))
        Q_EMIT fallbackNoticeVisibleChanged();
}

void TranscriptionViewModel::setSessionId(const QString& id) {
    if (m_sessionId == id)
        return;
    m_sessionId = id;
    Q_EMIT sessionIdChanged();
    notifyRunStateChanged();
}

} // namespace vesnara
