#include "SingleInstance.h"

#include "storage/AppLog.h"
#include "storage/UserDirectories.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QWindow>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

// sun_path holds 108 bytes with the terminating zero.
constexpr qsizetype kMaxSocketPathBytes = 107;

qint64 ownPid() {
    return QCoreApplication::applicationPid();
}

int remainingMs(const QDeadlineTimer& deadline) {
    return int(std::max<qint64>(deadline.remainingTime(), 0));
}

/// The next line from `socket` without its newline, waiting for it; nothing when the socket
/// closed or the deadline passed first (`closed` tells which).
std::optional<QByteArray> readLine(QLocalSocket& socket, const QDeadlineTimer& deadline,
                                   bool& closed) {
    closed = false;
    while (!socket.canReadLine()) {
        if (socket.state() != QLocalSocket::ConnectedState) {
            closed = true;
            return std::nullopt;
        }
        if (deadline.hasExpired())
            return std::nullopt;
        if (!socket.waitForReadyRead(remainingMs(deadline)) &&
            socket.state() != QLocalSocket::ConnectedState) {
            // Data that came with the close is still in the buffer.
            if (socket.canReadLine())
                break;
            closed = true;
            return std::nullopt;
        }
    }
    return socket.readLine().trimmed();
}

/// The number after `word ` on `line`, or nothing.
std::optional<qint64> numberAfter(const QByteArray& line, QByteArrayView word) {
    if (!line.startsWith(word) || line.size() <= word.size() || line.at(word.size()) != ' ')
        return std::nullopt;
    bool ok = false;
    const qint64 value = line.mid(word.size() + 1).toLongLong(&ok);
    if (!ok || value <= 0)
        return std::nullopt;
    return value;
}

} // namespace

QString SingleInstance::socketPathFor(const QString& runtimeDirectory,
                                      const QString& temporaryDirectory,
                                      const QString& settingsFile, uint userId) {
    const QByteArray key = QByteArray::number(userId) + '\n' + settingsFile.toUtf8();
    const QString name =
        u"vesnara-"_s +
        QString::fromLatin1(QCryptographicHash::hash(key, QCryptographicHash::Sha256).toHex())
            .left(16) +
        u".socket"_s;
    const bool useRuntime = !runtimeDirectory.isEmpty() && QDir::isAbsolutePath(runtimeDirectory);
    const QString path = QDir(useRuntime ? runtimeDirectory : temporaryDirectory).filePath(name);
    if (QFile::encodeName(path).size() <= kMaxSocketPathBytes)
        return path;
    return QDir(temporaryDirectory).filePath(name);
}

QString SingleInstance::currentSocketPath() {
    return socketPathFor(qEnvironmentVariable("XDG_RUNTIME_DIR"), QDir::tempPath(),
                         UserDirectories::settingsFile(), uint(::getuid()));
}

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent)
    , m_socketPath(std::move(socketPath)) {}

SingleInstance::~SingleInstance() = default;

SingleInstance::Result SingleInstance::acquire(std::optional<qint64> replacing,
                                               QDeadlineTimer deadline) {
    Result result{Outcome::failed, 0, {}};
    for (;;) {
        switch (attemptOnce(replacing, deadline, result)) {
        case Attempt::listening:
            result.outcome = Outcome::primary;
            return result;
        case Attempt::activated:
            result.outcome = Outcome::activatedOther;
            return result;
        case Attempt::cannotListen:
            result.outcome = Outcome::unguarded;
            return result;
        case Attempt::noAnswer:
            result.outcome = Outcome::failed;
            return result;
        case Attempt::otherGone:
            // The instance that answered has ended: try again to become the instance.
            if (deadline.hasExpired()) {
                result.outcome = Outcome::failed;
                result.error = u"the running instance did not answer in time"_s;
                return result;
            }
            break;
        }
    }
}

SingleInstance::Attempt SingleInstance::attemptOnce(std::optional<qint64> replacing,
                                                    QDeadlineTimer deadline, Result& result) {
    QLocalSocket socket;
    {
        // Held while deciding who is the instance, so two launches at the same moment cannot
        // both take over a stale socket. A lock left by a process that died counts as free.
        QLockFile lock(m_socketPath + u".lock"_s);
        if (!lock.tryLock(remainingMs(deadline))) {
            if (lock.error() == QLockFile::LockFailedError) {
                result.error = u"the instance lock %1 stayed taken"_s.arg(m_socketPath);
                return Attempt::noAnswer;
            }
            result.error = u"cannot create the instance lock %1.lock"_s.arg(m_socketPath);
            AppLog::write(u"instance unguarded error=lock path=%1"_s.arg(m_socketPath));
            return Attempt::cannotListen;
        }
        socket.connectToServer(m_socketPath);
        if (!socket.waitForConnected(remainingMs(deadline))) {
            const QLocalSocket::LocalSocketError error = socket.error();
            if (error != QLocalSocket::ServerNotFoundError &&
                error != QLocalSocket::ConnectionRefusedError) {
                result.error = u"cannot reach the running instance: "_s + socket.errorString();
                return Attempt::noAnswer;
            }
            // Refused: a socket file that a crashed instance left behind.
            if (error == QLocalSocket::ConnectionRefusedError) {
                QLocalServer::removeServer(m_socketPath);
                AppLog::write(u"instance removed a stale socket path=%1"_s.arg(m_socketPath));
            }
            auto server = std::make_unique<QLocalServer>();
            server->setSocketOptions(QLocalServer::UserAccessOption);
            if (!server->listen(m_socketPath)) {
                result.error =
                    u"cannot listen on %1: %2"_s.arg(m_socketPath, server->errorString());
                AppLog::write(u"instance unguarded path=%1 error=%2"_s.arg(m_socketPath,
                                                                           server->errorString()));
                return Attempt::cannotListen;
            }
            connect(server.get(), &QLocalServer::newConnection, this, [this] {
                while (QLocalSocket* connection = m_server->nextPendingConnection())
                    greet(connection);
            });
            m_server = std::move(server);
            AppLog::write(u"instance primary pid=%1 path=%2"_s.arg(ownPid()).arg(m_socketPath));
            return Attempt::listening;
        }
    }

    bool closed = false;
    const std::optional<QByteArray> greeting = readLine(socket, deadline, closed);
    if (!greeting) {
        if (closed)
            return Attempt::otherGone;
        result.error = u"the running instance did not answer in time"_s;
        return Attempt::noAnswer;
    }
    const std::optional<qint64> otherPid = numberAfter(*greeting, "vesnara");
    if (!otherPid) {
        result.error = u"something else answers on %1"_s.arg(m_socketPath);
        return Attempt::noAnswer;
    }
    result.otherPid = *otherPid;

    if (replacing && *replacing == *otherPid) {
        AppLog::write(u"instance waiting for pid=%1 to close"_s.arg(*otherPid));
        Q_EMIT waitingFor(*otherPid);
        while (socket.state() == QLocalSocket::ConnectedState && !deadline.hasExpired()) {
            socket.waitForDisconnected(remainingMs(deadline));
            socket.readAll(); // nothing is expected; keep the buffer empty
        }
        if (socket.state() == QLocalSocket::ConnectedState) {
            result.error = u"the previous instance (pid %1) did not close in time"_s.arg(*otherPid);
            return Attempt::noAnswer;
        }
        return Attempt::otherGone;
    }

    socket.write("activate " + QByteArray::number(ownPid()) + '\n');
    socket.flush();
    const std::optional<QByteArray> answer = readLine(socket, deadline, closed);
    if (answer && *answer == "activated") {
        AppLog::write(
            u"instance already running pid=%1; asked it to come to the front"_s.arg(*otherPid));
        return Attempt::activated;
    }
    if (closed)
        return Attempt::otherGone;
    result.error = u"the running instance (pid %1) did not answer in time"_s.arg(*otherPid);
    return Attempt::noAnswer;
}

void SingleInstance::greet(QLocalSocket* connection) {
    connect(connection, &QLocalSocket::disconnected, connection, &QObject::deleteLater);
    connect(connection, &QLocalSocket::readyRead, this, [this, connection] {
        while (connection->canReadLine()) {
            const QByteArray line = connection->readLine().trimmed();
            const std::optional<qint64> pid = numberAfter(line, "activate");
            if (!pid) {
                AppLog::write(u"instance ignored a request bytes=%1"_s.arg(line.size()));
                continue;
            }
            connection->write("activated\n");
            connection->flush();
            AppLog::write(u"instance activation requested pid=%1"_s.arg(*pid));
            Q_EMIT activationRequested(*pid);
        }
    });
    connection->write("vesnara " + QByteArray::number(ownPid()) + '\n');
    connection->flush();
}

void SingleInstance::bringToFront(QWindow& window) {
    if (window.windowStates() & Qt::WindowMinimized)
        window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.requestActivate();
}

} // namespace vesnara
