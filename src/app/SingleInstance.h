#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class QLocalServer;
class QLocalSocket;
class QWindow;

namespace vesnara {

/// One running window per user and settings file. The first instance listens on a local socket
/// only the user can reach; a later launch connects, asks it to bring its window to the front
/// and ends. The socket's name follows the settings file, so a run with its own XDG directories
/// (tests, a portable run) is an instance of its own.
///
/// The conversation, one line each way: the running instance greets every connection with
/// "vesnara <pid>"; the newcomer answers "activate <pid>" and waits for "activated". A
/// newcomer that replaces a named instance (the relaunch command) sends nothing to it and
/// waits for its connection to close, which happens when that process ends.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    /// Where the socket lives: `runtimeDirectory` when it is an absolute path, else the
    /// temporary directory, and a name from the user and the settings file. A path too long for
    /// a local socket moves to the temporary directory.
    static QString socketPathFor(const QString& runtimeDirectory, const QString& temporaryDirectory,
                                 const QString& settingsFile, uint userId);
    /// The running process's: `$XDG_RUNTIME_DIR`, the settings file it uses, its user.
    static QString currentSocketPath();

    enum class Outcome {
        /// This process is the instance now.
        primary,
        /// A running instance was asked to come to the front; this process should end.
        activatedOther,
        /// The instance to be replaced did not go in time, or a running one did not answer.
        failed,
        /// The socket cannot be made here (no such directory, no rights): this process runs
        /// without the guard.
        unguarded,
    };
    struct Result {
        Outcome outcome;
        /// The other instance's process id (activatedOther, and failed when one answered).
        qint64 otherPid = 0;
        /// English, for the terminal and the log (failed, unguarded).
        QString error;
    };

    explicit SingleInstance(QString socketPath, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Becomes the instance or asks the running one to come forward; blocks until one of the
    /// two happened or `deadline` passed. With `replacing`, a running instance of that process
    /// id is waited for instead of activated; any other running instance is activated.
    Result acquire(std::optional<qint64> replacing, QDeadlineTimer deadline);

    const QString& socketPath() const { return m_socketPath; }

    /// Shows `window` (restoring it when minimised), raises it and asks for the focus.
    static void bringToFront(QWindow& window);

Q_SIGNALS:
    /// Another launch asked this instance, the primary one, to come to the front.
    void activationRequested(qint64 pid);
    /// This launch found the instance it replaces still running and waits for it to end.
    void waitingFor(qint64 pid);

private:
    enum class Attempt { listening, activated, otherGone, noAnswer, cannotListen };
    Attempt attemptOnce(std::optional<qint64> replacing, QDeadlineTimer deadline, Result& result);
    void greet(QLocalSocket* connection);

    QString m_socketPath;
    std::unique_ptr<QLocalServer> m_server;
};

} // namespace vesnara
