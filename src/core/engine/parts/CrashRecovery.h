#pragma once

#include "engine/StoredTask.h"
#include "engine/parts/PartContext.h"

#include <QCoroTask>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <functional>

namespace vesnara {

class RecordingCheckpoint;

/// Brings back the sessions a crash kept from the history: those the server holds as stopped
/// without a saved file here, and, at start, the local checkpoints of recordings that died.
/// One run at a time; `isRunning` is the lock.
class CrashRecovery final : public QObject {
    Q_OBJECT

public:
    /// What one server-side run saved.
    struct Outcome {
        QStringList importedIds;
    };

    /// `context` and `checkpoint` are kept and must outlive the object.
    CrashRecovery(const PartContext& context, RecordingCheckpoint& checkpoint,
                  QObject* parent = nullptr);
    ~CrashRecovery() override;

    bool isRunning() const { return m_isRunning; }
    /// Opens a saved session by id in the transcript view; without one nothing opens.
    void setSessionOpener(std::function<void(const QString&)> opener) {
        m_openSession = std::move(opener);
    }

    /// Once per object: up to 6 of the server's last 12 stopped sessions, then the local
    /// checkpoints that the server did not bring back; silent unless something was saved.
    void runAtStartupIfNeeded();
    /// The user's command: the server's latest stopped session, saved and opened, or the one
    /// already saved. Refused while recording.
    void restoreLatest();

    /// Saves up to `importLimit` of the server's `fetchLimit` last stopped sessions that have
    /// no saved file here; the button's mode (`startupMode` false) also reports and opens.
    QCoro::Task<Outcome> recoverStoppedSessionsFromServer(int fetchLimit, int importLimit,
                                                          bool startupMode);
    /// Saves every checkpoint whose session has no saved file yet and removes those done with;
    /// skips the live recording's own. Gives the ids saved.
    QStringList restoreCheckpoints();

Q_SIGNALS:
    void isRunningChanged();

private:
    QCoro::Task<> startupRun();
    QCoro::Task<> buttonRun();
    QSet<QString> knownIds() const;
    bool isRecording() const;
    void setRunning(bool running);

    const PartContext& m_context;
    RecordingCheckpoint& m_checkpoint;
    std::function<void(const QString&)> m_openSession;
    StoredTask m_startupTask;
    StoredTask m_buttonTask;
    bool m_isRunning = false;
    bool m_hasAttemptedStartup = false;
};

} // namespace vesnara
