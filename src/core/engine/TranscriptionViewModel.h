#pragma once

#include "async/CancellationToken.h"
#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioPermissionSnapshot.h"
#include "backend/STTAPIClient.h"
#include "backend/ServerTranscriptResponse.h"
#include "backend/SessionMetaResponse.h"
#include "engine/LocalPlaces.h"
#include "engine/RecordingRun.h"
#include "engine/RunStatus.h"
#include "engine/StatusLine.h"
#include "engine/StoredTask.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/AutoStop.h"
#include "engine/parts/PartContext.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/parts/RecordingMeters.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionHistory.h"
#include "engine/parts/SessionTranscript.h"
#include "engine/parts/SupportTools.h"
#include "engine/rules/MixerQueues.h"
#include "engine/rules/RecordingRunState.h"
#include "engine/rules/TranscriptMerge.h"
#include "model/AudioInputMode.h"
#include "model/SavedSession.h"
#include "model/Timestamp.h"
#include "model/Timing.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QUuid>

#include <exception>
#include <memory>
#include <optional>

namespace vesnara {

class EchoGuardStage;

class AudioInputBackend;
class Clipboard;
class Dialogs;
class FilePanels;
class HttpTransport;
class PermissionProbe;
class Preferences;
class SystemAudioBackend;
class WebSocketStreamClient;
class DesktopServices;
struct StreamEvent;

/// The recording engine: the one object the screens are given. It keeps the recording run
/// itself (start, stop, pause, resume, the run's polls and the supervision of its sources) and
/// hands out every other group as an owned part, each behind a constant property:
///
/// | property      | object              | holds                                                 |
/// |---------------|---------------------|-------------------------------------------------------|
/// | `status`      | `StatusLine`        | `statusText`, `diagnosticHint` (every part writes it) |
/// | `settings`    | `RecordingSettings` | the configuration field by field, language and model, |
/// |               |                     | export choices, mixer and presets, endpoint commands, |
/// |               |                     | the settings' prompts, `updateAuthContext`            |
/// | `sources`     | `AudioSources`      | the capture objects, device listings and pickers,     |
/// |               |                     | `inputMode`, the source labels                        |
/// | `permissions` | `PermissionPanel`   | both permission snapshots, requests, settings pages,  |
/// |               |                     | relaunch                                              |
/// | `transcript`  | `SessionTranscript` | lines and pins as list models, `interimText`,         |
/// |               |                     | `transcriptText`, `wordCount`, selected and lit pin   |
/// | `history`     | `SessionHistory`    | the saved sessions as a list model                    |
/// | `support`     | `SupportTools`      | the audio test; memo, diagnostics and recovery status |
/// | `meters`      | `RecordingMeters`   | frames sent, levels, times of the server's last words |
/// | `autoStop`    | `AutoStop`          | the notice and countdown before a silent recording    |
/// |               |                     | stops itself, `keepRecording`                         |
///
/// Every observable value is a property with a change signal; a setter signals only a real
/// change, and derived values are signalled whenever one of their inputs changes. Commands never
/// throw and report only through these properties. Asynchronous steps run on the main thread
/// between their waits; each one checks, after every wait, that the object still exists and that
/// its attempt is still current, so a stale step never changes what the user sees. Audio frames
/// come from the capture threads by value through queued calls.
///
/// The implementation is split by concern: TranscriptionViewModel.cpp (construction, derived
/// values, setters), …Recording.cpp (start, capture, keep-alive), …Transcript.cpp (stream
/// events, transcript merge and poll), …Stop.cpp (the one teardown, stop and the saved
/// session), …Frames.cpp (the outgoing frame path and the mixer queues), …Pause.cpp (pause,
/// resume, remote stop), …Meta.cpp (the meta poll and its live hints), …Supervision.cpp (the
/// repairs of the sources during a recording).
class TranscriptionViewModel final : public QObject, public RunStatus {
    Q_OBJECT

    // Parts: each group of the screens lives in an object of its own.
    Q_PROPERTY(vesnara::StatusLine* status READ status CONSTANT)
    Q_PROPERTY(vesnara::RecordingSettings* settings READ settings CONSTANT)
    Q_PROPERTY(vesnara::AudioSources* sources READ sources CONSTANT)
    Q_PROPERTY(vesnara::PermissionPanel* permissions READ permissions CONSTANT)
    Q_PROPERTY(vesnara::SessionTranscript* transcript READ transcript CONSTANT)
    Q_PROPERTY(vesnara::SessionHistory* history READ history CONSTANT)
    Q_PROPERTY(vesnara::SupportTools* support READ support CONSTANT)
    Q_PROPERTY(vesnara::RecordingMeters* meters READ meters CONSTANT)
    Q_PROPERTY(vesnara::AutoStop* autoStop READ autoStop CONSTANT)

    // Run state
    Q_PROPERTY(vesnara::RecordingRunState runState READ runState NOTIFY runStateChanged)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    Q_PROPERTY(bool isStartingRecording READ isStartingRecording NOTIFY isStartingRecordingChanged)
    Q_PROPERTY(bool isResumingRecording READ isResumingRecording NOTIFY isResumingRecordingChanged)
    Q_PROPERTY(bool isPaused READ isPaused NOTIFY isPausedChanged)
    Q_PROPERTY(QString pauseElapsedLabel READ pauseElapsedLabel NOTIFY pauseElapsedLabelChanged)
    Q_PROPERTY(
        bool fallbackNoticeVisible READ fallbackNoticeVisible NOTIFY fallbackNoticeVisibleChanged)
    Q_PROPERTY(QString sessionId READ sessionId NOTIFY sessionIdChanged)

    // Derived values
    Q_PROPERTY(bool canStart READ canStart NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canStop READ canStop NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canPause READ canPause NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canResume READ canResume NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canAddPin READ canAddPin NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canSave READ canSave NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canSummary READ canSummary NOTIFY commandAvailabilityChanged)

public:
    /// What the view model works on. Everything referenced must outlive the view model.
    struct Dependencies {
        /// Where the configuration is kept (under `STTConfigurationStore::key`).
        Preferences& preferences;
        HttpTransport& transport;
        AudioInputBackend& audioInputBackend;
        SystemAudioBackend& systemAudioBackend;
        /// The directory of saved sessions; nothing means the default one.
        std::optional<QString> historyDirectory = std::nullopt;
        /// Reading the API key from the clipboard; without one the clipboard counts as empty.
        Clipboard* clipboard = nullptr;
        /// The platform's permission facilities; without one both sources count as permitted
        /// and nobody is asked (a plain Linux desktop without a probe).
        std::shared_ptr<PermissionProbe> permissionProbe = nullptr;
        Timing timing = {};
        /// Settings pages and restarting; without one nothing opens and a relaunch fails.
        DesktopServices* desktopServices = nullptr;
        /// The prompts; without one every prompt counts as cancelled.
        Dialogs* dialogs = nullptr;
        /// The save panels; without one every panel counts as cancelled.
        FilePanels* filePanels = nullptr;
        /// Where automatic exports go; nothing: the user's Downloads, else the temporary
        /// directory.
        std::optional<QString> downloadsDirectory = std::nullopt;
        /// Where archives are put together; nothing: the system's temporary directory.
        std::optional<QString> temporaryDirectory = std::nullopt;
        /// Now; empty: the system clock.
        std::function<Timestamp()> clock = {};
        /// This build's version and build number; empty: those compiled in.
        QString applicationVersion = {};
        QString applicationBuild = {};
    };

    /// Builds the object in the product's order: initial values, the configuration loaded and
    /// completed with the default endpoints and key, mirrors and preset set from it, the
    /// completed configuration saved back, input devices listed, permission snapshots applied,
    /// the session history listed. Starts no task and opens no connection.
    explicit TranscriptionViewModel(Dependencies dependencies, QObject* parent = nullptr);
    /// Stops the sources first, so no capture thread can post to a dead object; running tasks
    /// are cancelled and end at their next check.
    ~TranscriptionViewModel() override;

    // Parts
    StatusLine* status() { return &m_status; }
    const StatusLine* status() const { return &m_status; }
    RecordingSettings* settings() { return &m_settings; }
    const RecordingSettings* settings() const { return &m_settings; }
    AudioSources* sources() { return &m_sources; }
    const AudioSources* sources() const { return &m_sources; }
    PermissionPanel* permissions() { return &m_permissions; }
    SessionTranscript* transcript() { return &m_transcript; }
    const SessionTranscript* transcript() const { return &m_transcript; }
    SessionHistory* history() { return &m_history; }
    SupportTools* support() { return &m_support; }
    const SupportTools* support() const { return &m_support; }
    RecordingMeters* meters() { return &m_meters; }
    const RecordingMeters* meters() const { return &m_meters; }
    AutoStop* autoStop() { return &m_autoStop; }
    const AutoStop* autoStop() const { return &m_autoStop; }

    // Run state
    RecordingRunState runState() const override { return m_runState; }
    bool isRecording() const { return flagsOf(m_runState).isRecording; }
    bool isStartingRecording() const { return flagsOf(m_runState).isStartingRecording; }
    bool isResumingRecording() const { return flagsOf(m_runState).isResumingRecording; }
    bool isPaused() const { return flagsOf(m_runState).isPaused; }
    const QString& pauseElapsedLabel() const { return m_pauseElapsedLabel; }
    bool fallbackNoticeVisible() const { return m_fallbackNoticeVisible; }

    const QString& sessionId() const override { return m_sessionId; }
    RunFigures runFigures() const override;

    // Derived values, computed at each reading
    bool canStart() const;
    bool canStop() const;
    bool canPause() const;
    bool canResume() const;
    bool canAddPin() const;
    /// At least one segment or pin, and not recording (also true while a stop finishes).
    bool canSave() const;
    bool canSummary() const;

    // Recording
    /// Clears the last session, creates a new one on the server, opens its stream and starts
    /// the sources of `inputMode`; the recording is live when `isRecording` turns true. Ignored
    /// while starting or recording. A start that has not gone live after
    /// `Timing::startRecordingLimit` gives up and stops the session it created; a start that
    /// fails keeps the session open on the server and `sessionId` set.
    Q_INVOKABLE void startRecording();
    /// Stops the sources at once, then, in the background: the stop message, a short wait for
    /// the last lines, the server's transcript merged, the session stopped on the server, and the
    /// session saved as `<sessionId>.json` when it has lines or pins. A recording that sent
    /// audio but produced no text ends with a hint saying why. Any start or resume in flight
    /// becomes stale.
    Q_INVOKABLE void stopRecording();
    /// Mutes the recording: the stream stays open and silence goes out in place of audio.
    Q_INVOKABLE void pauseRecording();
    /// Checks the session on the server and the stream, then unmutes.
    Q_INVOKABLE void resumeRecording();

Q_SIGNALS:
    void runStateChanged();
    void isRecordingChanged();
    void isStartingRecordingChanged();
    void isResumingRecordingChanged();
    void isPausedChanged();
    void pauseElapsedLabelChanged();
    void fallbackNoticeVisibleChanged();
    void sessionIdChanged();
    /// One of the run-state flags, the audio test, the segments, the pins or `sessionId`
    /// changed: the `can…` values may have changed.
    void commandAvailabilityChanged();

private:
    // Construction (TranscriptionViewModel.cpp)
    void notifyRunStateChanged();

    // Private setters: each signals only a real change.
    void setRunState(RecordingRunState state);
    void setStatusText(const QString& text);
    void setPauseElapsedLabel(const QString& label);
    void setDiagnosticHint(const QString& hint);
    void setFallbackNoticeVisible(bool visible);
    void setSessionId(const QString& id);

    // Recording (TranscriptionViewModelRecording.cpp)
    /// Starts the attempt task of a start; the caller has set everything up.
    QCoro::Task<> runStartAttempt(std::shared_ptr<RecordingRun> run, QUuid attemptID,
                                  STTConfiguration config, STTAPIClient apiClient, QString language,
                                  QString sttModel, AudioInputMode mode, quint32 systemDisplayID,
                                  QString systemApplicationBundleID);
    void handleStartFailure(QUuid attemptID, std::exception_ptr error);
    void scheduleStartRecordingTimeout(QUuid attemptID, STTConfiguration config,
                                       STTAPIClient apiClient);
    QCoro::Task<> startRecordingTimeout(QUuid attemptID, STTConfiguration config,
                                        STTAPIClient apiClient, CancellationToken token);
    /// Wires and starts the sources of `mode`, one after the other off the main thread; a failure
    /// propagates, the wiring stays for `deactivateLiveCapture`. Ends quietly, leaving the rest
    /// unstarted, when the sources are deactivated meanwhile.
    QCoro::Task<> activateLiveCapture(AudioInputMode mode, QPointer<WebSocketStreamClient> wsClient,
                                      quint32 selectedMicID, quint32 selectedSystemDisplayID,
                                      QString selectedSystemApplicationBundleID);
    void deactivateLiveCapture();
    void setListeningStatus(AudioInputMode mode);
    void startAudioKeepAlive(WebSocketStreamClient* wsClient);
    QCoro::Task<> audioKeepAliveLoop(QPointer<WebSocketStreamClient> wsClient,
                                     CancellationToken token);
    /// Disconnects and forgets the stream client of the recording, if any.
    void releaseStreamClient();
    static void disposeStreamClient(WebSocketStreamClient* client);
    /// Stops a session whose start was given up, in the background, ignoring the outcome.
    static void stopSessionInBackground(STTAPIClient apiClient, STTConfiguration config,
                                        QString sessionId);

    // Transcript (TranscriptionViewModelTranscript.cpp)
    /// An event of `run`'s stream. Only the run on screen shows it; a detached run keeps its
    /// final lines, and any other run's events are dropped.
    void handleStreamEvent(const std::shared_ptr<RecordingRun>& run, const StreamEvent& event);
    /// Adds a final line to `run`'s transcript: the one on screen, or the run's own copy.
    void addFinalLine(const std::shared_ptr<RecordingRun>& run, const FinalLine& line);
    void mergePolledSegments(const std::shared_ptr<RecordingRun>& run,
                             const QList<ServerTranscriptResponse::Segment>& segments);
    void startTranscriptPolling(std::shared_ptr<RecordingRun> run, STTConfiguration config,
                                STTAPIClient apiClient);
    QCoro::Task<> transcriptPollLoop(std::shared_ptr<RecordingRun> run, STTConfiguration config,
                                     STTAPIClient apiClient, CancellationToken token);

    // Stop (TranscriptionViewModelStop.cpp)
    /// How a live run ends.
    enum class RunEnd { stoppedByUser, startFailed, startTimedOut, stoppedRemotely };
    /// The one teardown of a live run: its attempts made stale, its timeouts and background work
    /// cancelled, the pause clock stopped, the sources stopped. A user's stop keeps the stream
    /// open for the flush and leaves the run finishing; every other end closes the stream.
    void endRun(RunEnd end);
    /// After the flush: the server's transcript merged, the session saved here, then stopped on
    /// the server. Only while `run` is still on screen does it touch what the screen shows.
    QCoro::Task<> finishStop(std::shared_ptr<RecordingRun> run,
                             QPointer<WebSocketStreamClient> wsClient, Timestamp endedAt,
                             QList<TranscriptSegment> segmentsAtStop, QString language,
                             QString sttModel, STTConfiguration config, STTAPIClient apiClient);
    void resetRunFigures();

    // Frames (TranscriptionViewModelFrames.cpp)
    /// The hook a source's frame callback posts to, on the main thread.
    enum class FrameSource { microphone, systemAudio };
    void installFrameHooks(AudioInputMode mode, WebSocketStreamClient* wsClient);
    /// The callback a source runs on its capture thread: it posts the frame to the main thread.
    std::function<void(QByteArray)> makeFrameHook(FrameSource source, AudioInputMode mode,
                                                  WebSocketStreamClient* wsClient);
    std::function<void(QByteArray)> makePostingHook(FrameSource source,
                                                    WebSocketStreamClient* wsClient);
    /// Echo guard: the mixed recording's canceller, started once per capture run when the
    /// setting is on; when it cannot start, the run goes on without it and says so. The hooks
    /// of that run's captures go through it (`makeFrameHook`).
    void startEchoGuard(WebSocketStreamClient* wsClient);
    void closeEchoGuard();
    /// Counts and measures a frame, then sends it, or queues it for mixing when its source is
    /// wired for the mixed mode.
    void handleSourceFrame(FrameSource source, const QByteArray& frame,
                           WebSocketStreamClient* wsClient);
    void handleOutgoingPCMFrame(const QByteArray& frame, WebSocketStreamClient* wsClient);
    void drainMixedFrames(WebSocketStreamClient* wsClient);
    void trimMixedBacklogIfNeeded();

    // Pause and remote stop (TranscriptionViewModelPause.cpp)
    QCoro::Task<> runResumeAttempt(QUuid attemptID, QString sessionId, STTConfiguration config,
                                   STTAPIClient apiClient,
                                   QPointer<WebSocketStreamClient> wsClient);
    void scheduleResumeRecordingTimeout(QUuid attemptID);
    QCoro::Task<> resumeRecordingTimeout(QUuid attemptID, CancellationToken token);
    void startPauseTracking();
    QCoro::Task<> pauseTickerLoop(CancellationToken token);
    void updatePauseElapsedLabel();
    void stopPauseTracking();
    void resetPauseTracking();
    /// Ends a recording that the server or the connection ended: no stop request, no saved
    /// file, the text kept on screen.
    void handleRemoteSessionStopped(std::optional<SessionMetaResponse> sessionMeta,
                                    const QString& reason);
    QCoro::Task<> fetchTranscriptAfterRemoteStop(std::shared_ptr<RecordingRun> run,
                                                 QString sessionId, STTConfiguration config,
                                                 STTAPIClient apiClient,
                                                 std::optional<SessionMetaResponse> sessionMeta);

    // Meta poll (TranscriptionViewModelMeta.cpp)
    void startSessionMetaPolling(QString sessionId, STTConfiguration config,
                                 STTAPIClient apiClient);
    QCoro::Task<> sessionMetaPollLoop(QString sessionId, STTConfiguration config,
                                      STTAPIClient apiClient, CancellationToken token);
    /// The server's figures, a remote stop when it says the session ended, then the live hint.
    void applySessionMeta(const SessionMetaResponse& meta);

    // Supervision of the sources (TranscriptionViewModelSupervision.cpp)
    /// Watches a started microphone: no frame within `Timing::microphoneLivenessDelay` hands
    /// over to the stable microphone, or says that the microphone gave nothing.
    void scheduleMicrophoneLivenessCheck(AudioInputMode mode, WebSocketStreamClient* wsClient,
                                         const QString& reason);
    QCoro::Task<> microphoneLivenessCheck(AudioInputMode mode,
                                          QPointer<WebSocketStreamClient> wsClient, QString reason,
                                          qint64 baseline, QString sessionId,
                                          CancellationToken token);
    /// True when a stable microphone has taken over (once per recording).
    bool attemptStableMicrophoneFallback(const QString& trigger, AudioInputMode mode,
                                         WebSocketStreamClient* wsClient);
    /// Rewires the microphone for `mode` and starts it again on the selected device, then says
    /// so; ends quietly when the recording has moved on meanwhile.
    QCoro::Task<> restartMicrophoneCapture(AudioInputMode mode,
                                           QPointer<WebSocketStreamClient> wsClient, QString reason,
                                           std::optional<QString> statusOverride,
                                           std::optional<QString> diagnostic);
    void attemptMixedMicrophoneRestart(const QString& trigger);
    QCoro::Task<> mixedMicrophoneRestart(QPointer<WebSocketStreamClient> wsClient, QString trigger);
    /// The one start of the microphone that every repair shares: on the selected device, with
    /// the hooks the caller wired, or, given `mixingInto`, with the microphone alone rewired
    /// into the mixer for that stream. Gives the failure's description, nothing when it runs.
    QCoro::Task<std::optional<QString>>
    restartMicrophone(QPointer<WebSocketStreamClient> mixingInto = {});
    /// Whether the view model still exists and records on the stream `wsClient`: what a repair
    /// checks after each wait.
    static bool isRunStillLive(const QPointer<TranscriptionViewModel>& self,
                               const QPointer<WebSocketStreamClient>& wsClient);
    void attemptSystemAudioFallback(const QString& trigger, const SessionMetaResponse& sessionMeta);
    QCoro::Task<> systemAudioFallback(QPointer<WebSocketStreamClient> wsClient);
    void restartMicrophoneCaptureForLiveDeviceChange(std::optional<QString> statusOverride,
                                                     std::optional<QString> diagnostic);
    QCoro::Task<> liveDeviceChange(AudioInputMode target, QPointer<WebSocketStreamClient> wsClient,
                                   std::optional<QString> statusOverride,
                                   std::optional<QString> diagnostic);
    /// The user picked a microphone: during a live recording it is switched to at once.
    void handleInputDeviceChosen(quint32 previous, const StableInputSelection& selection);

    // Recording safety (TranscriptionViewModelSafety.cpp)
    /// Wires the auto-stop to the settings, the transcript and the stop command.
    void installRecordingSafety();
    /// Arms the auto-stop while a recording runs unpaused, disarms it otherwise.
    void updateAutoStopArming();
    /// Gives a new stream the outage spool of the settings and reports what it lost.
    void attachStreamSafety(WebSocketStreamClient* client);

    // Owned parts and services; the order is the order of construction.
    Timing m_timing;
    LocalPlaces m_places;
    std::function<Timestamp()> m_clock;
    QString m_applicationVersion;
    QString m_applicationBuild;
    FilePanels* m_filePanels = nullptr;
    Clipboard* m_clipboard = nullptr;
    DesktopServices* m_desktopServices = nullptr;
    STTAPIClient m_apiClient;
    StatusLine m_status;
    RecordingSettings m_settings;
    PermissionPanel m_permissions;
    AudioSources m_sources;
    RecordingMeters m_meters;
    SessionHistory m_history;
    /// What the transcript and support parts are lent; built once the parts above exist.
    PartContext m_partContext;
    SessionTranscript m_transcript;
    SupportTools m_support;
    AutoStop m_autoStop;
    /// The lines on screen when the auto-stop last heard of them: only a new one counts.
    qsizetype m_autoStopSeenLines = 0;
    /// The run now finishing was stopped by the auto-stop: its end says so.
    bool m_stoppedByAutoStop = false;

    // Run state
    RecordingRunState m_runState = RecordingRunState::idle;
    /// The run on screen (the last one started); null before the first start.
    std::shared_ptr<RecordingRun> m_run;
    QString m_pauseElapsedLabel;
    bool m_fallbackNoticeVisible = false;

    QString m_sessionId;

    // Stream
    /// The stream of the recording; a child of this object, disposed with `deleteLater`.
    QPointer<WebSocketStreamClient> m_webSocketClient;
    std::optional<Timestamp> m_lastLocalAudioAt;

    // Background tasks
    StoredTask m_transcriptPollTask;
    StoredTask m_sessionMetaPollTask;
    StoredTask m_audioKeepAliveTask;
    StoredTask m_microphoneLivenessTask;
    StoredTask m_pauseTickerTask;
    StoredTask m_startRecordingTimeoutTask;
    StoredTask m_resumeRecordingTimeoutTask;

    // Identities: a step whose captured value differs from the field is stale.
    QUuid m_startAttemptID;
    QUuid m_resumeAttemptID;

    // Mixer queues and source counters
    MixerQueues m_mixerQueues;
    qint64 m_rawWithoutPCMStreak = 0;
    /// The mode each source's frames were last wired for: mixed frames are queued for a partner.
    AudioInputMode m_microphoneRoute = AudioInputMode::microphone;
    AudioInputMode m_systemRoute = AudioInputMode::systemAudio;
    /// Counts `deactivateLiveCapture` calls: a frame posted by a capture run that has since been
    /// stopped is dropped rather than counted into the next recording.
    quint64 m_captureGeneration = 0;
    // Echo guard: the stage of the capture run it was set up for (`m_captureGeneration` + 1,
    // 0 for none), or none when off or it could not start.
    std::shared_ptr<EchoGuardStage> m_echoGuard;
    quint64 m_echoGuardRun = 0;

    // One-shot flags
    bool m_hasAttemptedSystemFallback = false;
    bool m_hasAttemptedMixedMicrophoneRestart = false;
    bool m_hasAttemptedMicrophoneDeviceFallback = false;

    // Pause
    double m_accumulatedPausedDuration = 0.0;
    std::optional<Timestamp> m_pauseStartedAt;
};

} // namespace vesnara
