#pragma once

#include "async/CancellationToken.h"
#include "audio/AudioSourceOptions.h"
#include "audio/MicrophoneCapture.h"
#include "audio/MicrophonePermissionSnapshot.h"
#include "audio/SystemAudioCapture.h"
#include "audio/SystemAudioPermissionSnapshot.h"
#include "backend/STTAPIClient.h"
#include "backend/ServerTranscriptResponse.h"
#include "backend/SessionMetaResponse.h"
#include "engine/RecordingRun.h"
#include "engine/StatusLine.h"
#include "engine/StoredTask.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/parts/RecordingMeters.h"
#include "engine/parts/SessionHistory.h"
#include "engine/rules/MixerQueues.h"
#include "engine/rules/RecordingRunState.h"
#include "engine/rules/TranscriptMerge.h"
#include "model/AudioInputMode.h"
#include "model/MixPreset.h"
#include "model/STTConfiguration.h"
#include "model/SavedSession.h"
#include "model/Timestamp.h"
#include "model/Timing.h"
#include "model/TranscriptExportFormat.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"
#include "platform/DesktopServices.h"
#include "storage/STTConfigurationStore.h"
#include "storage/SessionHistoryStore.h"

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

class AudioInputBackend;
class Clipboard;
class HttpTransport;
class PermissionProbe;
class Preferences;
class SystemAudioBackend;
class WebSocketStreamClient;
struct AudioTestFigures;
struct StreamEvent;

/// The recording engine: one long-lived object on the main thread that holds everything the
/// screens show and every command they call, from the start of a recording to its saved session.
///
/// Every observable value is a property with a change signal; a setter signals only a real
/// change, and derived values are signalled whenever one of their inputs changes. Commands never
/// throw and report only through these properties. Asynchronous steps run on the main thread
/// between their waits; each one checks, after every wait, that the object still exists and that
/// its attempt is still current, so a stale step never changes what the user sees. Audio frames
/// come from the capture threads by value through queued calls.
///
/// The implementation is split by concern: TranscriptionViewModel.cpp (construction, derived
/// values, setters), …Config.cpp (settings), …Recording.cpp (start, capture, keep-alive),
/// …Transcript.cpp (stream events, transcript merge and poll), …Stop.cpp (stop and the saved
/// session), …Frames.cpp (the outgoing frame path and the mixer queues), …Pause.cpp (pause,
/// resume, remote stop), …Meta.cpp (the meta poll and its live hints), …Supervision.cpp (the
/// repairs of the sources, the pickers, the device listings), …Permissions.cpp (the permission
/// panel's checks and requests), …AudioTest.cpp (the audio test).
class TranscriptionViewModel final : public QObject {
    Q_OBJECT

    // Settings
    Q_PROPERTY(vesnara::STTConfiguration config READ config NOTIFY configChanged)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(QString sttModel READ sttModel WRITE setSttModel NOTIFY sttModelChanged)
    Q_PROPERTY(vesnara::TranscriptExportFormat exportFormat READ exportFormat WRITE setExportFormat
                   NOTIFY exportFormatChanged)
    Q_PROPERTY(bool autoExportEnabled READ autoExportEnabled WRITE setAutoExportEnabled NOTIFY
                   autoExportEnabledChanged)
    Q_PROPERTY(bool allowSystemFallback READ allowSystemFallback WRITE setAllowSystemFallback NOTIFY
                   allowSystemFallbackChanged)

    // Sources
    Q_PROPERTY(QList<vesnara::AudioInputDeviceOption> availableInputDevices READ
                   availableInputDevices NOTIFY availableInputDevicesChanged)
    Q_PROPERTY(quint32 selectedInputDeviceID READ selectedInputDeviceID WRITE
                   setSelectedInputDeviceID NOTIFY selectedInputDeviceIDChanged)
    Q_PROPERTY(QString recommendedInputDeviceName READ recommendedInputDeviceName NOTIFY
                   recommendedInputDeviceNameChanged)
    Q_PROPERTY(QList<vesnara::SystemAudioDisplayOption> availableSystemDisplays READ
                   availableSystemDisplays NOTIFY availableSystemDisplaysChanged)
    Q_PROPERTY(quint32 selectedSystemDisplayID READ selectedSystemDisplayID WRITE
                   setSelectedSystemDisplayID NOTIFY selectedSystemDisplayIDChanged)
    Q_PROPERTY(QList<vesnara::SystemAudioApplicationOption> availableSystemApplications READ
                   availableSystemApplications NOTIFY availableSystemApplicationsChanged)
    Q_PROPERTY(
        QString selectedSystemApplicationBundleID READ selectedSystemApplicationBundleID WRITE
            setSelectedSystemApplicationBundleID NOTIFY selectedSystemApplicationBundleIDChanged)
    Q_PROPERTY(
        vesnara::AudioInputMode inputMode READ inputMode WRITE setInputMode NOTIFY inputModeChanged)

    // Mixer
    Q_PROPERTY(
        double mixedMicGain READ mixedMicGain WRITE setMixedMicGain NOTIFY mixedMicGainChanged)
    Q_PROPERTY(double mixedSystemGain READ mixedSystemGain WRITE setMixedSystemGain NOTIFY
                   mixedSystemGainChanged)
    Q_PROPERTY(bool mixedAutoDuckEnabled READ mixedAutoDuckEnabled WRITE setMixedAutoDuckEnabled
                   NOTIFY mixedAutoDuckEnabledChanged)
    Q_PROPERTY(double mixedDuckingStrength READ mixedDuckingStrength WRITE setMixedDuckingStrength
                   NOTIFY mixedDuckingStrengthChanged)
    Q_PROPERTY(bool mixedLimiterEnabled READ mixedLimiterEnabled WRITE setMixedLimiterEnabled NOTIFY
                   mixedLimiterEnabledChanged)
    Q_PROPERTY(vesnara::MixPreset mixedPreset READ mixedPreset NOTIFY mixedPresetChanged)

    // Run state; the status line and hint are written by every part into one `StatusLine`.
    Q_PROPERTY(vesnara::StatusLine* status READ status CONSTANT)
    Q_PROPERTY(vesnara::PermissionPanel* permissions READ permissions CONSTANT)
    Q_PROPERTY(vesnara::RecordingMeters* meters READ meters CONSTANT)
    Q_PROPERTY(vesnara::RecordingRunState runState READ runState NOTIFY runStateChanged)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    Q_PROPERTY(bool isStartingRecording READ isStartingRecording NOTIFY isStartingRecordingChanged)
    Q_PROPERTY(bool isResumingRecording READ isResumingRecording NOTIFY isResumingRecordingChanged)
    Q_PROPERTY(bool isPaused READ isPaused NOTIFY isPausedChanged)
    Q_PROPERTY(QString pauseElapsedLabel READ pauseElapsedLabel NOTIFY pauseElapsedLabelChanged)
    Q_PROPERTY(
        bool fallbackNoticeVisible READ fallbackNoticeVisible NOTIFY fallbackNoticeVisibleChanged)

    // Transcript
    Q_PROPERTY(QString interimText READ interimText NOTIFY interimTextChanged)
    Q_PROPERTY(QList<vesnara::TranscriptSegment> segments READ segments NOTIFY segmentsChanged)
    Q_PROPERTY(QList<vesnara::TranscriptPin> pins READ pins NOTIFY pinsChanged)
    Q_PROPERTY(std::optional<QUuid> selectedPinId READ selectedPinId NOTIFY selectedPinIdChanged)
    Q_PROPERTY(
        std::optional<QUuid> highlightedPinId READ highlightedPinId NOTIFY highlightedPinIdChanged)
    Q_PROPERTY(QString sessionId READ sessionId NOTIFY sessionIdChanged)

    // History
    Q_PROPERTY(vesnara::SessionHistory* history READ history CONSTANT)

    // Support
    Q_PROPERTY(bool isAudioTestRunning READ isAudioTestRunning NOTIFY isAudioTestRunningChanged)
    Q_PROPERTY(QString lastDiagnosticsFileName READ lastDiagnosticsFileName NOTIFY
                   lastDiagnosticsFileNameChanged)
    Q_PROPERTY(
        QString memoAIBackendStatus READ memoAIBackendStatus NOTIFY memoAIBackendStatusChanged)
    Q_PROPERTY(bool isCrashRecoveryRunning READ isCrashRecoveryRunning NOTIFY
                   isCrashRecoveryRunningChanged)

    // Derived values
    Q_PROPERTY(bool canStart READ canStart NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canStop READ canStop NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canPause READ canPause NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canResume READ canResume NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canAddPin READ canAddPin NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canSave READ canSave NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(bool canSummary READ canSummary NOTIFY commandAvailabilityChanged)
    Q_PROPERTY(QString transcriptText READ transcriptText NOTIFY segmentsChanged)
    Q_PROPERTY(qsizetype wordCount READ wordCount NOTIFY segmentsChanged)
    Q_PROPERTY(qsizetype segmentCount READ segmentCount NOTIFY segmentsChanged)
    Q_PROPERTY(qsizetype pinCount READ pinCount NOTIFY pinsChanged)
    Q_PROPERTY(QList<vesnara::TranscriptPin> pinsSortedByTimestamp READ pinsSortedByTimestamp NOTIFY
                   pinsChanged)
    Q_PROPERTY(
        QString selectedInputDeviceName READ selectedInputDeviceName NOTIFY sourceLabelsChanged)
    Q_PROPERTY(bool isSelectedInputDeviceVirtual READ isSelectedInputDeviceVirtual NOTIFY
                   sourceLabelsChanged)
    Q_PROPERTY(
        QString selectedSystemDisplayName READ selectedSystemDisplayName NOTIFY sourceLabelsChanged)
    Q_PROPERTY(QString micStatusLabel READ micStatusLabel NOTIFY sourceLabelsChanged)

    // Constants
    Q_PROPERTY(QStringList availableLanguages READ availableLanguages CONSTANT)
    Q_PROPERTY(QStringList availableModels READ availableModels CONSTANT)
    Q_PROPERTY(QString defaultBackendURL READ defaultBackendURL CONSTANT)
    Q_PROPERTY(QString defaultSharedAPIKey READ defaultSharedAPIKey CONSTANT)
    Q_PROPERTY(QString defaultUpdateManifestURL READ defaultUpdateManifestURL CONSTANT)

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
    };

    /// Builds the object in the product's order: initial values, the configuration loaded and
    /// completed with the default endpoints and key, mirrors and preset set from it, the
    /// completed configuration saved back, input devices listed, permission snapshots applied,
    /// the session history listed. Starts no task and opens no connection.
    explicit TranscriptionViewModel(Dependencies dependencies, QObject* parent = nullptr);
    /// Stops the sources first, so no capture thread can post to a dead object; running tasks
    /// are cancelled and end at their next check.
    ~TranscriptionViewModel() override;

    // Settings
    const STTConfiguration& config() const { return m_config; }
    const QString& language() const { return m_language; }
    void setLanguage(const QString& language);
    const QString& sttModel() const { return m_sttModel; }
    void setSttModel(const QString& model);
    TranscriptExportFormat exportFormat() const { return m_exportFormat; }
    void setExportFormat(TranscriptExportFormat format);
    bool autoExportEnabled() const { return m_autoExportEnabled; }
    void setAutoExportEnabled(bool enabled);
    bool allowSystemFallback() const { return m_allowSystemFallback; }
    void setAllowSystemFallback(bool allow);

    // Sources
    const QList<AudioInputDeviceOption>& availableInputDevices() const {
        return m_availableInputDevices;
    }
    quint32 selectedInputDeviceID() const { return m_selectedInputDeviceID; }
    void setSelectedInputDeviceID(quint32 id);
    const QString& recommendedInputDeviceName() const { return m_recommendedInputDeviceName; }
    const QList<SystemAudioDisplayOption>& availableSystemDisplays() const {
        return m_availableSystemDisplays;
    }
    quint32 selectedSystemDisplayID() const { return m_selectedSystemDisplayID; }
    void setSelectedSystemDisplayID(quint32 id);
    const QList<SystemAudioApplicationOption>& availableSystemApplications() const {
        return m_availableSystemApplications;
    }
    const QString& selectedSystemApplicationBundleID() const {
        return m_selectedSystemApplicationBundleID;
    }
    void setSelectedSystemApplicationBundleID(const QString& bundleID);
    AudioInputMode inputMode() const { return m_inputMode; }
    void setInputMode(AudioInputMode mode);

    // Mixer: the sliders' values, taken by the next mixed chunk; bounds apply at `saveConfig`.
    double mixedMicGain() const { return m_mixSettings.micGain; }
    void setMixedMicGain(double gain);
    double mixedSystemGain() const { return m_mixSettings.systemGain; }
    void setMixedSystemGain(double gain);
    bool mixedAutoDuckEnabled() const { return m_mixSettings.autoDuckEnabled; }
    void setMixedAutoDuckEnabled(bool enabled);
    double mixedDuckingStrength() const { return m_mixSettings.duckingStrength; }
    void setMixedDuckingStrength(double strength);
    bool mixedLimiterEnabled() const { return m_mixSettings.limiterEnabled; }
    void setMixedLimiterEnabled(bool enabled);
    MixPreset mixedPreset() const { return m_mixedPreset; }

    // Run state
    StatusLine* status() { return &m_status; }
    PermissionPanel* permissions() { return &m_permissions; }
    RecordingMeters* meters() { return &m_meters; }
    const RecordingMeters* meters() const { return &m_meters; }
    const StatusLine* status() const { return &m_status; }
    RecordingRunState runState() const { return m_runState; }
    bool isRecording() const { return flagsOf(m_runState).isRecording; }
    bool isStartingRecording() const { return flagsOf(m_runState).isStartingRecording; }
    bool isResumingRecording() const { return flagsOf(m_runState).isResumingRecording; }
    bool isPaused() const { return flagsOf(m_runState).isPaused; }
    const QString& pauseElapsedLabel() const { return m_pauseElapsedLabel; }
    bool fallbackNoticeVisible() const { return m_fallbackNoticeVisible; }

    // Transcript
    const QString& interimText() const { return m_interimText; }
    const QList<TranscriptSegment>& segments() const { return m_segments; }
    const QList<TranscriptPin>& pins() const { return m_pins; }
    std::optional<QUuid> selectedPinId() const { return m_selectedPinId; }
    std::optional<QUuid> highlightedPinId() const { return m_highlightedPinId; }
    const QString& sessionId() const { return m_sessionId; }

    // History
    SessionHistory* history() { return &m_history; }

    // Support
    bool isAudioTestRunning() const { return m_isAudioTestRunning; }
    const QString& lastDiagnosticsFileName() const { return m_lastDiagnosticsFileName; }
    const QString& memoAIBackendStatus() const { return m_memoAIBackendStatus; }
    bool isCrashRecoveryRunning() const { return m_isCrashRecoveryRunning; }

    // Derived values, computed at each reading
    bool canStart() const;
    bool canStop() const;
    bool canPause() const;
    bool canResume() const;
    bool canAddPin() const;
    /// At least one segment or pin, and not recording (also true while a stop finishes).
    bool canSave() const;
    bool canSummary() const;
    QString transcriptText() const;
    qsizetype wordCount() const;
    qsizetype segmentCount() const { return m_segments.size(); }
    qsizetype pinCount() const { return m_pins.size(); }
    QList<TranscriptPin> pinsSortedByTimestamp() const;
    /// "Auto" at 0, the device's name when listed, otherwise "Tuntematon".
    QString selectedInputDeviceName() const;
    bool isSelectedInputDeviceVirtual() const;
    QString selectedSystemDisplayName() const;
    QString micStatusLabel() const;

    // Constants
    static QStringList availableLanguages();
    static QStringList availableModels();
    static QString defaultBackendURL();
    static QString defaultSharedAPIKey();
    static QString defaultUpdateManifestURL();

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

    // Settings
    /// Normalises the configuration (trimmed endpoints, clamped mixer values written back to
    /// the sliders), classifies the preset and stores it; "Asetukset tallennettu" with status.
    Q_INVOKABLE void saveConfig(bool showStatus);
    Q_INVOKABLE void useDefaultBackendURL();
    Q_INVOKABLE void useDefaultSharedAPIKey();
    Q_INVOKABLE void useDefaultUpdateManifestURL();
    /// Takes the trimmed clipboard text as the API key and saves; with no text on the clipboard
    /// only says so.
    Q_INVOKABLE void useAPIKeyFromClipboard();
    /// Puts the signed-in user's session token (trimmed; blank means none) into the in-memory
    /// configuration, from which every request sends it. Nothing is stored.
    Q_INVOKABLE void updateAuthContext(const QString& sessionToken);
    /// Sets the preset's five mixer values, saves silently and names the preset in the status
    /// line; `custom` changes nothing.
    Q_INVOKABLE void applyMixPreset(vesnara::MixPreset preset);

    // Sources
    /// Lists the microphones again (real devices before virtual ones, each by name), names the
    /// recommended one, and drops or normalises a selection that is no longer listed.
    Q_INVOKABLE void refreshInputDevices();
    /// Lists the outputs for system audio; without `allowAccessAttempt` and without the
    /// permission the list is emptied and nobody is asked.
    Q_INVOKABLE void refreshSystemAudioDisplays(bool allowAccessAttempt);
    Q_INVOKABLE void refreshSystemAudioApplications(bool allowAccessAttempt);
    /// The microphone picker: stores the choice (a wireless headset is kept and only explained)
    /// and, during a running recording, switches the capture to it (adding the microphone to a
    /// system-only recording).
    Q_INVOKABLE void setPreferredInputDevice(quint32 id);
    /// The output picker; takes effect at the next start of system capture.
    Q_INVOKABLE void setPreferredSystemDisplay(quint32 id);
    /// The application filter (trimmed; blank means all); takes effect at the next start.
    Q_INVOKABLE void setPreferredSystemApplication(const QString& bundleID);

    // Support
    /// Listens to the sources of `inputMode` for `Timing::audioTestDuration` without a server,
    /// then gives a verdict in the status and the figures with advice in the hint. Refused while
    /// recording; ignored while a test runs.
    Q_INVOKABLE void runAudioQualityTest();

Q_SIGNALS:
    void configChanged();
    void languageChanged();
    void sttModelChanged();
    void exportFormatChanged();
    void autoExportEnabledChanged();
    void allowSystemFallbackChanged();
    void availableInputDevicesChanged();
    void selectedInputDeviceIDChanged();
    void recommendedInputDeviceNameChanged();
    void availableSystemDisplaysChanged();
    void selectedSystemDisplayIDChanged();
    void availableSystemApplicationsChanged();
    void selectedSystemApplicationBundleIDChanged();
    void inputModeChanged();
    void mixedMicGainChanged();
    void mixedSystemGainChanged();
    void mixedAutoDuckEnabledChanged();
    void mixedDuckingStrengthChanged();
    void mixedLimiterEnabledChanged();
    void mixedPresetChanged();
    void runStateChanged();
    void isRecordingChanged();
    void isStartingRecordingChanged();
    void isResumingRecordingChanged();
    void isPausedChanged();
    void pauseElapsedLabelChanged();
    void fallbackNoticeVisibleChanged();
    void interimTextChanged();
    void segmentsChanged();
    void pinsChanged();
    void selectedPinIdChanged();
    void highlightedPinIdChanged();
    void sessionIdChanged();
    void isAudioTestRunningChanged();
    void lastDiagnosticsFileNameChanged();
    void memoAIBackendStatusChanged();
    void isCrashRecoveryRunningChanged();
    /// One of the run-state flags, the segments, the pins or `sessionId` changed: the `can…`
    /// values may have changed.
    void commandAvailabilityChanged();
    /// The device or source names that the labels show may have changed.
    void sourceLabelsChanged();

private:
    // Construction (TranscriptionViewModel.cpp)
    void notifyRunStateChanged();

    // Private setters: each signals only a real change.
    void setConfig(const STTConfiguration& config);
    void setMixSettings(const MixSettings& settings);
    void setMixedPreset(MixPreset preset);
    void setRunState(RecordingRunState state);
    void setStatusText(const QString& text);
    void setPauseElapsedLabel(const QString& label);
    void setDiagnosticHint(const QString& hint);
    void setFallbackNoticeVisible(bool visible);
    void setInterimText(const QString& text);
    void setSegments(QList<TranscriptSegment> segments);
    void setPins(QList<TranscriptPin> pins);
    void setSelectedPinId(std::optional<QUuid> id);
    void setHighlightedPinId(std::optional<QUuid> id);
    void setSessionId(const QString& id);
    void setAvailableInputDevices(QList<AudioInputDeviceOption> devices);

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
    /// Throws `MicrophoneCaptureError::permissionDenied` when the microphone is needed and the
    /// request is refused.
    QCoro::Task<> ensurePermissionsForMode(AudioInputMode mode);
    /// Wires and starts the sources of `mode`; a failure propagates, the wiring stays for
    /// `deactivateLiveCapture`.
    void activateLiveCapture(AudioInputMode mode, WebSocketStreamClient* wsClient,
                             quint32 selectedMicID, quint32 selectedSystemDisplayID,
                             const QString& selectedSystemApplicationBundleID);
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
    /// The device the start uses in place of `selected` (stable fallback), with its texts.
    struct StableInputSelection {
        quint32 deviceID = 0;
        std::optional<QString> statusText;
        std::optional<QString> diagnosticText;
    };
    StableInputSelection stableInputDeviceSelection(quint32 selected) const;

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
    /// Links the pins on screen to their nearest lines.
    void linkPinsOnScreen();
    /// Writes the transcript out after a stop when the user asked for it. Comes with the
    /// exports; does nothing yet.
    void autoExportAfterStopIfEnabled();
    /// Writes a diagnostics file by itself after a source fallback. Comes with the diagnostics
    /// package; does nothing yet.
    void autoExportFallbackDiagnostics(const QString& trigger,
                                       const SessionMetaResponse& sessionMeta);

    // Frames (TranscriptionViewModelFrames.cpp)
    /// The hook a source's frame callback posts to, on the main thread.
    enum class FrameSource { microphone, systemAudio };
    void installFrameHooks(AudioInputMode mode, WebSocketStreamClient* wsClient);
    /// The callback a source runs on its capture thread: it posts the frame to the main thread.
    std::function<void(QByteArray)> makeFrameHook(FrameSource source, AudioInputMode mode,
                                                  WebSocketStreamClient* wsClient);
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
    void restartMicrophoneCapture(AudioInputMode mode, WebSocketStreamClient* wsClient,
                                  const QString& reason,
                                  const std::optional<QString>& statusOverride,
                                  const std::optional<QString>& diagnostic);
    void attemptMixedMicrophoneRestart(const QString& trigger);
    void attemptSystemAudioFallback(const QString& trigger, const SessionMetaResponse& sessionMeta);
    QCoro::Task<> systemAudioFallback(QPointer<WebSocketStreamClient> wsClient);
    void restartMicrophoneCaptureForLiveDeviceChange(std::optional<QString> statusOverride,
                                                     std::optional<QString> diagnostic);
    QCoro::Task<> liveDeviceChange(AudioInputMode target, QPointer<WebSocketStreamClient> wsClient,
                                   std::optional<QString> statusOverride,
                                   std::optional<QString> diagnostic);
    void savePreferredInputDevice();

    // Audio test (TranscriptionViewModelAudioQuality.cpp)
    QCoro::Task<> audioQualityTest(AudioInputMode mode, quint32 selectedMicID,
                                   quint32 selectedSystemDisplayID,
                                   QString selectedSystemApplicationBundleID,
                                   CancellationToken token);
    /// Wires and starts the sources of `mode` so that each frame's level is counted in `figures`.
    void startAudioTestSources(AudioInputMode mode, quint32 selectedMicID,
                               quint32 selectedSystemDisplayID,
                               const QString& selectedSystemApplicationBundleID,
                               std::shared_ptr<AudioTestFigures> figures);
    void stopAudioTestSources();
    void setIsAudioTestRunning(bool value);

    // Owned objects and services
    Timing m_timing;
    StatusLine m_status;
    PermissionPanel m_permissions;
    RecordingMeters m_meters;
    SessionHistory m_history;
    STTConfigurationStore m_configStore;
    STTAPIClient m_apiClient;
    MicrophoneCapture m_microphone;
    SystemAudioCapture m_systemAudio;
    Clipboard* m_clipboard = nullptr;
    DesktopServices* m_desktopServices = nullptr;

    // Settings
    STTConfiguration m_config;
    QString m_language;
    QString m_sttModel;
    TranscriptExportFormat m_exportFormat = TranscriptExportFormat::txt;
    bool m_autoExportEnabled = false;
    bool m_allowSystemFallback = true;

    // Sources
    QList<AudioInputDeviceOption> m_availableInputDevices;
    quint32 m_selectedInputDeviceID = 0;
    QString m_recommendedInputDeviceName;
    QList<SystemAudioDisplayOption> m_availableSystemDisplays;
    quint32 m_selectedSystemDisplayID = 0;
    QList<SystemAudioApplicationOption> m_availableSystemApplications;
    QString m_selectedSystemApplicationBundleID;
    AudioInputMode m_inputMode = AudioInputMode::microphone;

    // Mixer
    MixSettings m_mixSettings;
    MixPreset m_mixedPreset = MixPreset::custom;

    // Run state
    RecordingRunState m_runState = RecordingRunState::idle;
    /// The run on screen (the last one started); null before the first start.
    std::shared_ptr<RecordingRun> m_run;
    QString m_pauseElapsedLabel;
    bool m_fallbackNoticeVisible = false;

    // Transcript
    QString m_interimText;
    QList<TranscriptSegment> m_segments;
    QList<TranscriptPin> m_pins;
    std::optional<QUuid> m_selectedPinId;
    std::optional<QUuid> m_highlightedPinId;
    QString m_sessionId;

    // History

    // Support
    bool m_isAudioTestRunning = false;
    QString m_lastDiagnosticsFileName;
    QString m_memoAIBackendStatus;
    bool m_isCrashRecoveryRunning = false;

    // Stream
    /// The stream of the recording; a child of this object, disposed with `deleteLater`.
    QPointer<WebSocketStreamClient> m_webSocketClient;
    std::optional<Timestamp> m_lastLocalAudioAt;

    // Background tasks
    StoredTask m_transcriptPollTask;
    StoredTask m_sessionMetaPollTask;
    StoredTask m_audioKeepAliveTask;
    StoredTask m_audioTestTask;
    StoredTask m_microphoneLivenessTask;
    StoredTask m_pauseTickerTask;
    StoredTask m_startRecordingTimeoutTask;
    StoredTask m_resumeRecordingTimeoutTask;
    StoredTask m_pinHighlightTask;

    // Identities: a step whose captured value differs from the field is stale.
    QUuid m_startAttemptID;
    QUuid m_resumeAttemptID;

    // Duplicates
    QSet<QString> m_knownSegmentKeys;

    // Mixer queues and source counters
    MixerQueues m_mixerQueues;
    qint64 m_rawWithoutPCMStreak = 0;
    /// The mode each source's frames were last wired for: mixed frames are queued for a partner.
    AudioInputMode m_microphoneRoute = AudioInputMode::microphone;
    AudioInputMode m_systemRoute = AudioInputMode::systemAudio;
    /// Counts `deactivateLiveCapture` calls: a frame posted by a capture run that has since been
    /// stopped is dropped rather than counted into the next recording.
    quint64 m_captureGeneration = 0;

    // One-shot flags
    bool m_hasAttemptedSystemFallback = false;
    bool m_hasAttemptedMixedMicrophoneRestart = false;
    bool m_hasAttemptedMicrophoneDeviceFallback = false;
    bool m_hasAutoExportedFallbackDiagnostics = false;
    bool m_hasAttemptedStartupCrashRecovery = false;

    // Pause
    double m_accumulatedPausedDuration = 0.0;
    std::optional<Timestamp> m_pauseStartedAt;
};

} // namespace vesnara
