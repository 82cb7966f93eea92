#pragma once

// One of our programs run as a child process, its output read line by line as it comes.

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <chrono>
#include <signal.h>

namespace vesnara::test {

class ChildProcess {
public:
    static constexpr std::chrono::seconds kDeadline{15};

    explicit ChildProcess(QString program)
        : m_program(std::move(program)) {
        m_process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
    }
    // A test that failed half-way still ends the program in order first, so a script can stop
    // what it started.
    ~ChildProcess() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void setEnvironmentValue(const QString& name, const QString& value) {
        QProcessEnvironment environment = m_process.processEnvironment();
        environment.insert(name, value);
        m_process.setProcessEnvironment(environment);
    }

    /// False when the program could not be started at all.
    bool start(const QStringList& arguments) {
        m_process.start(m_program, arguments);
        return m_process.waitForStarted(5000);
    }

    /// Waits for a line on stdout that `pattern` matches, whether it came before this call or
    /// comes later. An invalid match when the program ends or the deadline passes first.
    QRegularExpressionMatch waitForLine(const QRegularExpression& pattern) {
        const QDeadlineTimer deadline(kDeadline);
        qsizetype searchFrom = 0;
        for (;;) {
            // Read after looking at the state, so output written just before the end is seen.
            const bool running = m_process.state() == QProcess::Running;
            m_output += m_process.readAllStandardOutput();
            for (qsizetype end = m_output.indexOf('\n', searchFrom); end >= 0;
                 end = m_output.indexOf('\n', searchFrom)) {
                const QRegularExpressionMatch match =
                    pattern.match(QString::fromUtf8(m_output.mid(searchFrom, end - searchFrom)));
                searchFrom = end + 1;
                if (match.hasMatch())
                    return match;
            }
            if (!running || deadline.hasExpired())
                return {};
            m_process.waitForReadyRead(int(deadline.remainingTime()));
        }
    }

    /// Sends the signal and waits for the end. True for a normal exit (any code).
    bool signalAndWait(int signalNumber) {
        ::kill(pid_t(m_process.processId()), signalNumber);
        return waitForExit();
    }

    /// Waits for the program to end on its own. True for a normal exit (any code).
    bool waitForExit() {
        if (m_process.state() != QProcess::NotRunning &&
            !m_process.waitForFinished(int(QDeadlineTimer(kDeadline).remainingTime())))
            return false;
        m_output += m_process.readAllStandardOutput();
        return m_process.exitStatus() == QProcess::NormalExit;
    }

    qint64 processId() const { return m_process.processId(); }
    int exitCode() const { return m_process.exitCode(); }
    QString output() const { return QString::fromUtf8(m_output); }
    QString errorOutput() { return QString::fromUtf8(m_process.readAllStandardError()); }

private:
    QString m_program;
    QProcess m_process;
    QByteArray m_output;
};

/// Processes whose command line contains `needle`, as their ids.
inline QList<qint64> processesWithArgument(const QString& needle) {
    using namespace Qt::StringLiterals;
    QList<qint64> found;
    const QDir proc(u"/proc"_s);
    for (const QString& entry : proc.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isPid = false;
        const qint64 pid = entry.toLongLong(&isPid);
        if (!isPid)
            continue;
        QFile cmdline(proc.filePath(entry + u"/cmdline"_s));
        if (!cmdline.open(QIODevice::ReadOnly))
            continue;
        const QList<QByteArray> arguments = cmdline.readAll().split('\0');
        for (const QByteArray& argument : arguments) {
            if (QString::fromUtf8(argument).contains(needle)) {
                found.append(pid);
                break;
            }
        }
    }
    return found;
}

} // namespace vesnara::test
