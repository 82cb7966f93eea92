// The start of a recording: the start command and its attempt, the start limit, the sources of
// each input mode, the listening status and the keep-alive.
#include "engine/TranscriptionViewModel.h"

#include "audio/MicrophoneCaptureError.h"
#include "audio/MicrophonePermissionSnapshot.h"
#include "backend/HttpTransport.h"
#include "backend/STTRequests.h"
#include "backend/STTSessionCreateRequest.h"
#include "backend/WebSocketStreamClient.h"
#include "engine/rules/RecordingStatusText.h"
#include "model/JsonReader.h"
#include "storage/AppLog.h"
#include "text/UiText.h"
#include "text/UserErrorDescription.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QCoro::Task<> stopSessionQuietly(STTAPIClient apiClient, STTConfiguration config,
                                 QString sessionId) {
    co_await apiClient.stopSession(std::move(config), std::move(sessionId));
}

} // namespace

void TranscriptionViewModel::startRecording() {
    if (isLive(m_runState))
        return;
    if (m_support.isAudioTestRunning()) {
        setStatusText(UiText::statusWaitForAudioTest);
        return;
    }
    // A run still finishing its stop keeps its own lines from here on.
    if (m_run && m_runState == RecordingRunState::finishing)
        m_run->detached =
            RecordingRun::DetachedTranscript{m_transcript.lines(), m_transcript.pins()};
    m_run = std::make_shared<RecordingRun>();
    setStatusText(UiText::statusConnecting);
    setRunState(RecordingRunState::starting);
    m_transcript.clear();

    m_transcriptPollTask.cancelAndClear();
    m_sessionMetaPollTask.cancelAndClear();
    m_audioKeepAliveTask.cancelAndClear();

    setSessionId({});
    resetRunFigures();

    resetPauseTracking();
    m_resumeRecordingTimeoutTask.cancelAndClear();
    m_resumeAttemptID = QUuid::createUuid();

    m_meters.setLastPartialReceivedAt(std::nullopt);
    m_meters.setLastFinalReceivedAt(std::nullopt);
    m_meters.setLastSessionMetaReceivedAt(std::nullopt);
    m_startRecordingTimeoutTask.cancelAndClear();
    m_startAttemptID = QUuid::createUuid();
    const QUuid attemptID = m_startAttemptID;

    const StableInputSelection selection =
        m_sources.stableInputDeviceSelection(m_sources.selectedInputDeviceID());
    if (selection.deviceID != m_sources.selectedInputDeviceID())
        m_sources.selectInputDevice(selection.deviceID);
    if (selection.diagnosticText)
        setDiagnosticHint(*selection.diagnosticText);

    AppLog::write(u"startRecording mode=%1 language=%2 model=%3"_s.arg(
        rawValue(m_sources.inputMode()), m_settings.language(), m_settings.sttModel()));
    scheduleStartRecordingTimeout(attemptID, m_settings.config(), m_apiClient);
    // The attempt runs on by itself; its handle is not kept, like the product's one-shot start.
    runStartAttempt(m_run, attemptID, m_settings.config(), m_apiClient, m_settings.language(),
                    m_settings.sttModel(), m_sources.inputMode(),
                    m_sources.selectedSystemDisplayID(),
                    m_sources.selectedSystemApplicationBundleID());
}

QCoro::Task<> TranscriptionViewModel::runStartAttempt(std::shared_ptr<RecordingRun> run,
                                                      QUuid attemptID, STTConfiguration config,
                                                      STTAPIClient apiClient, QString language,
                                                      QString sttModel, AudioInputMode mode,
                                                      quint32 systemDisplayID,
                                                      QString systemApplicationBundleID) {
    const QPointer<TranscriptionViewModel> self(this);
    const auto isStale = [&self, attemptID] {
        return !self || self->m_startAttemptID != attemptID;
    };
    std::exception_ptr failure;

    try {
        co_await m_permissions.requirePermissionsFor(mode);
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        if (self)
            self->handleStartFailure(attemptID, failure);
        co_return;
    }
    if (isStale())
        co_return;

    STTSessionCreateRequest request;
    request.language = language;
    request.sttModel = sttModel;
    std::optional<STTSessionCreateResponse> created;
    try {
        created = co_await apiClient.createSession(config, request);
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        if (self)
            self->handleStartFailure(attemptID, failure);
        co_return;
    }
    if (isStale()) {
        co_await apiClient.stopSession(config, created->sessionId);
        co_return;
    }

    run->sessionId = created->sessionId;
    setSessionId(created->sessionId);
    AppLog::write(u"session created id=%1"_s.arg(created->sessionId));

    const QString wsURL = sessionStreamURL(created->wsUrl, config.baseURL);
    QPointer<WebSocketStreamClient> client = new WebSocketStreamClient(m_timing, this);
    attachStreamSafety(client);
    try {
        client->open(wsURL, language, sttModel, [self, run](const StreamEvent& event) {
            // The client calls from the event loop, never from inside its own methods.
            if (self)
                self->handleStreamEvent(run, event);
        });
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        disposeStreamClient(client);
        handleStartFailure(attemptID, failure);
        co_return;
    }
    m_webSocketClient = client;

    try {
        co_await activateLiveCapture(mode, client, m_sources.selectedInputDeviceID(),
                                     systemDisplayID, systemApplicationBundleID);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure) {
        handleStartFailure(attemptID, failure);
        co_return;
    }
    // A stop, a newer start or the start limit while the sources started: they have closed
    // the sources again already.
    if (isStale())
        co_return;

    m_startRecordingTimeoutTask.cancelAndClear();
    setRunState(RecordingRunState::recording);
    setListeningStatus(mode);
    startAudioKeepAlive(client);
    scheduleMicrophoneLivenessCheck(mode, client, u"start"_s);
    startTranscriptPolling(run, config, apiClient);
    startSessionMetaPolling(m_sessionId, config, apiClient);
}

void TranscriptionViewModel::handleStartFailure(QUuid attemptID, std::exception_ptr error) {
    m_permissions.reflectCaptureFailure(error);
    if (m_startAttemptID != attemptID)
        return;

    const QString description = userErrorDescription(error);
    AppLog::write(u"startRecording failed error=%1"_s.arg(description));
    setStatusText(description);
    endRun(RunEnd::startFailed);
}

void TranscriptionViewModel::scheduleStartRecordingTimeout(QUuid attemptID, STTConfiguration config,
                                                           STTAPIClient apiClient) {
    const CancellationToken token = m_startRecordingTimeoutTask.renew();
    m_startRecordingTimeoutTask.hold(
        startRecordingTimeout(attemptID, std::move(config), std::move(apiClient), token));
}

QCoro::Task<> TranscriptionViewModel::startRecordingTimeout(QUuid attemptID,
                                                            STTConfiguration config,
                                                            STTAPIClient apiClient,
                                                            CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const bool slept = co_await sleepFor(m_timing.startRecordingLimit, token);
    if (!slept || token.isCancelled() || !self)
        co_return;
    if (m_startAttemptID != attemptID || isRecording())
        co_return;

    const QString sessionId = m_sessionId;
    setStatusText(UiText::statusStartTimedOut);
    setDiagnosticHint(UiText::hintStartTimedOut);
    endRun(RunEnd::startTimedOut);
    if (!sessionId.isEmpty())
        stopSessionInBackground(apiClient, config, sessionId);
}

void TranscriptionViewModel::stopSessionInBackground(STTAPIClient apiClient,
                                                     STTConfiguration config, QString sessionId) {
    stopSessionQuietly(std::move(apiClient), std::move(config), std::move(sessionId));
}

QCoro::Task<> TranscriptionViewModel::activateLiveCapture(
    AudioInputMode mode, QPointer<WebSocketStreamClient> wsClient, quint32 selectedMicID,
    quint32 selectedSystemDisplayID, QString selectedSystemApplicationBundleID) {
    const QPointer<TranscriptionViewModel> self(this);
    if (usesSystemAudio(mode)) {
        m_sources.systemAudio().preferredDisplayID = preferredDeviceId(selectedSystemDisplayID);
        m_sources.systemAudio().preferredApplicationBundleID =
            preferredApplicationId(selectedSystemApplicationBundleID);
    } else {
        m_sources.systemAudio().onRawAudioSample = {};
    }
    // Echo guard: only where both captures start with its hooks; a microphone that joins a
    // running system capture later has no reference to clean against.
    if (mode == AudioInputMode::microphoneAndSystem)
        startEchoGuard(wsClient);
    installFrameHooks(mode, wsClient);
    // Deactivation counts up: a start that it overtook ends quietly and must go no further.
    const quint64 generation = m_captureGeneration;
    if (usesMicrophone(mode)) {
        m_sources.microphone().preferredInputDeviceID = preferredDeviceId(selectedMicID);
        co_await m_sources.microphone().startAsync();
        if (!self || generation != m_captureGeneration)
            co_return;
    }
    if (usesSystemAudio(mode)) {
        co_await m_sources.systemAudio().startAsync();
        if (!self || generation != m_captureGeneration)
            co_return;
        m_permissions.systemAudioCaptureStarted();
    }
    m_sources.notifyActiveSourcesChanged();
}

void TranscriptionViewModel::deactivateLiveCapture() {
    m_microphoneLivenessTask.cancelAndClear();
    // Once a stop is asked for, no callback of the run reaches the hooks; the sound server lets
    // go of the devices on the capture objects' own threads.
    m_sources.microphone().onPCMFrame = {};
    m_sources.microphone().stopAsync();
    m_sources.systemAudio().onPCMFrame = {};
    m_sources.systemAudio().onRawAudioSample = {};
    m_sources.systemAudio().stopAsync();
    closeEchoGuard();
    m_mixerQueues.pendingMicChunks.clear();
    m_mixerQueues.pendingSystemChunks.clear();
    m_mixerQueues.mixedLagDropMicChunks = 0;
    m_mixerQueues.mixedLagDropSystemChunks = 0;
    m_meters.setMixedLagDrops(0, 0);
    ++m_captureGeneration;
    m_sources.notifyActiveSourcesChanged();
}

void TranscriptionViewModel::setListeningStatus(AudioInputMode mode) {
    const ListeningSourceNames names{m_sources.microphone().activeInputDeviceName(),
                                     m_sources.selectedInputDeviceName(),
                                     m_sources.systemAudio().activeSourceName()};
    setStatusText(listeningStatusText(mode, isPaused(), names));
}

void TranscriptionViewModel::startAudioKeepAlive(WebSocketStreamClient* wsClient) {
    const CancellationToken token = m_audioKeepAliveTask.renew();
    m_audioKeepAliveTask.hold(audioKeepAliveLoop(wsClient, token));
}

QCoro::Task<> TranscriptionViewModel::audioKeepAliveLoop(QPointer<WebSocketStreamClient> wsClient,
                                                         CancellationToken token) {
    const QPointer<TranscriptionViewModel> self(this);
    const QByteArray silence(3200, '\0');
    const auto interval = m_timing.audioKeepAliveInterval;
    const double silenceAfterSeconds =
        std::chrono::duration<double>(m_timing.keepAliveSilenceAfter).count();
    while (!token.isCancelled()) {
        const bool slept = co_await sleepFor(interval, token);
        if (!slept)
            co_return;
        if (!self || !isRecording())
            co_return;
        if (isPaused()) {
            if (wsClient)
                wsClient->sendAudio(silence);
            m_lastLocalAudioAt = Timestamp::now();
            continue;
        }
        if (!m_lastLocalAudioAt)
            continue;
        if (Timestamp::now().secondsSince(*m_lastLocalAudioAt) > silenceAfterSeconds && wsClient)
            wsClient->sendAudio(silence);
    }
}

void TranscriptionViewModel::releaseStreamClient() {
    disposeStreamClient(m_webSocketClient);
    m_webSocketClient = nullptr;
}

void TranscriptionViewModel::disposeStreamClient(WebSocketStreamClient* client) {
    if (!client)
        return;
    client->close();
    // Not deleted at once: the client may be the one whose event is being handled.
    client->deleteLater();
}

} // namespace vesnara
