#pragma once

#include "async/CancellationToken.h"
#include "engine/StoredTask.h"
#include "engine/diagnostics/DiagnosticsCommands.h"
#include "engine/parts/BackendChecks.h"
#include "engine/parts/CrashRecovery.h"
#include "engine/parts/MemoCommand.h"
#include "engine/parts/PartContext.h"
#include "engine/parts/RecordingCheckpoint.h"
#include "model/AudioInputMode.h"
#include "model/Timing.h"

#include <QCoroTask>
#include <QObject>

#include <functional>
#include <memory>

namespace vesnara {

class AudioSources;
class PermissionPanel;
class SessionTranscript;
class StatusLine;
struct AudioTestFigures;
struct SessionMetaResponse;

/// The tools around recording that help when something is wrong: the audio test today; the
/// memo's backend status, the diagnostics file and crash recovery report here too.
class SupportTools final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isAudioTestRunning READ isAudioTestRunning NOTIFY isAudioTestRunningChanged)
    Q_PROPERTY(QString lastDiagnosticsFileName READ lastDiagnosticsFileName NOTIFY
                   lastDiagnosticsFileNameChanged)
    Q_PROPERTY(
        QString memoAIBackendStatus READ memoAIBackendStatus NOTIFY memoAIBackendStatusChanged)
    Q_PROPERTY(bool isCrashRecoveryRunning READ isCrashRecoveryRunning NOTIFY
                   isCrashRecoveryRunningChanged)

public:
    /// `recordingHoldsSources` tells whether a recording starts or runs, which owns the sources.
    /// `context` is kept; everything referenced must outlive the object.
    SupportTools(const PartContext& context, SessionTranscript& transcript,
                 std::function<bool()> recordingHoldsSources, QObject* parent = nullptr);
    ~SupportTools() override;

    bool isAudioTestRunning() const { return m_isAudioTestRunning; }
    const QString& lastDiagnosticsFileName() const {
        return m_diagnostics.lastDiagnosticsFileName();
    }
    const QString& memoAIBackendStatus() const { return m_memoAIBackendStatus; }
    bool isCrashRecoveryRunning() const { return m_recovery.isRunning(); }

    /// Listens to the sources of the input mode for `Timing::audioTestDuration` without a
    /// server, then gives a verdict in the status and the figures with advice in the hint.
    /// Refused while a recording starts or runs; ignored while a test runs.
    Q_INVOKABLE void runAudioQualityTest();

    /// Writes the diagnostics as JSON into Downloads by itself after a source fallback, once
    /// per transcript; a failure is only logged.
    void autoExportFallbackDiagnostics(const QString& trigger,
                                       const SessionMetaResponse& sessionMeta);
    /// A new transcript begins: the next fallback may write its file again.
    void resetAutomaticDiagnostics() { m_diagnostics.resetAutomaticExport(); }

    // Diagnostics package
    /// Makes the package (settings with the key masked, the engine's state, the server's view of
    /// the session, the transcript, the log's tail) and saves it where the panel says.
    Q_INVOKABLE void exportDiagnosticsPackage() { m_diagnostics.exportDiagnosticsPackage(); }
    /// Opens the latest package of this run, or else the newest one in Downloads.
    Q_INVOKABLE void openLatestDiagnostics() { m_diagnostics.openLatestDiagnostics(); }
    /// Shows that file selected in the file manager.
    Q_INVOKABLE void revealLatestDiagnosticsInFileManager() {
        m_diagnostics.revealLatestDiagnostics();
    }
    /// Puts a message for support, naming that file, on the clipboard.
    Q_INVOKABLE void copyDiagnosticsSupportTemplate() {
        m_diagnostics.copyDiagnosticsSupportTemplate();
    }
    DiagnosticsCommands& diagnostics() { return m_diagnostics; }

    // Memo, update check and connection test (MemoCommand, BackendChecks)
    /// Lines on screen, no recording, and a session to ask about.
    bool canSummary() const { return m_memo.canSummary(); }
    /// Has the backend write the session's memo and saves it as a Word document where the user
    /// chooses. Silent unless `canSummary`; a second press runs beside the first.
    Q_INVOKABLE void generateSummaryDocx() { m_memo.generateSummaryDocx(); }
    /// Compares the running version with the update manifest and opens a newer one's download.
    Q_INVOKABLE void checkForUpdates() { m_backendChecks.checkForUpdates(); }
    /// Asks the backend's health and shows what it says, also in `memoAIBackendStatus`.
    Q_INVOKABLE void testBackendConnection() { m_backendChecks.testBackendConnection(); }
    /// The running version, "0.0.0" when the build names none.
    Q_INVOKABLE QString currentAppVersion() const { return m_backendChecks.currentAppVersion(); }

    // Crash recovery and the local checkpoint (CrashRecovery, RecordingCheckpoint)
    /// Once per process, silently: sessions a crash left on the server or in a local
    /// checkpoint become saved sessions.
    Q_INVOKABLE void runStartupCrashRecoveryIfNeeded() { m_recovery.runAtStartupIfNeeded(); }
    /// The user's command: the latest crashed session restored from the server and opened.
    Q_INVOKABLE void restoreLatestCrashedSessionFromDiagnostics() { m_recovery.restoreLatest(); }
    QCoro::Task<CrashRecovery::Outcome>
    recoverStoppedSessionsFromServer(int fetchLimit, int importLimit, bool startupMode) {
        return m_recovery.recoverStoppedSessionsFromServer(fetchLimit, importLimit, startupMode);
    }
    /// How a restored session is opened in the transcript view (the history's load).
    void setSavedSessionOpener(std::function<void(const QString&)> opener) {
        m_recovery.setSessionOpener(std::move(opener));
    }
    /// The run state changed: the checkpoint's pace follows it.
    void handleRunStateChanged() { m_checkpoint.handleRunStateChanged(); }
    /// The session's saved file is written: its checkpoint goes.
    void discardRecordingCheckpoint(const QString& sessionId) { m_checkpoint.discard(sessionId); }
    RecordingCheckpoint& recordingCheckpoint() { return m_checkpoint; }

Q_SIGNALS:
    void isAudioTestRunningChanged();
    void lastDiagnosticsFileNameChanged();
    void memoAIBackendStatusChanged();
    void isCrashRecoveryRunningChanged();

private:
    QCoro::Task<> audioQualityTest(AudioInputMode mode, CancellationToken token);
    /// Wires and starts the sources of `mode`, off the main thread, so that each frame's level is
    /// counted in `figures`.
    QCoro::Task<> startAudioTestSources(AudioInputMode mode,
                                        std::shared_ptr<AudioTestFigures> figures);
    void stopAudioTestSources();
    void setIsAudioTestRunning(bool value);

    const PartContext& m_context;
    SessionTranscript& m_transcript;
    AudioSources& m_sources;
    PermissionPanel& m_permissions;
    StatusLine& m_status;
    const Timing& m_timing;
    std::function<bool()> m_recordingHoldsSources;
    StoredTask m_audioTestTask;

    bool m_isAudioTestRunning = false;
    QString m_memoAIBackendStatus;
    MemoCommand m_memo;
    BackendChecks m_backendChecks;
    DiagnosticsCommands m_diagnostics;
    RecordingCheckpoint m_checkpoint;
    CrashRecovery m_recovery;
};

} // namespace vesnara
