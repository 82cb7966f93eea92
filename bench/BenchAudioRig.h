#pragma once

// The audio rig for the benchmarks that need a sound server: the one the environment names, or
// a private one started for the run.

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace vesnara::bench {

using namespace Qt::StringLiterals;

/// A private rig for this run when none is configured; stopped when the bench ends.
class OwnRig {
public:
    OwnRig() {
        if (!qEnvironmentVariableIsEmpty("PULSE_SERVER"))
            return;
        m_dirPath = m_dir.filePath(u"rig"_s);
        QProcess rig;
        rig.start(QStringLiteral(VESNARA_AUDIO_RIG_SCRIPT), {u"start"_s, u"--dir"_s, m_dirPath});
        if (!rig.waitForFinished(30000) || rig.exitCode() != 0)
            return;
        for (const auto& line : rig.readAllStandardOutput().split('\n')) {
            if (!line.startsWith("export "))
                continue;
            const auto assignment = line.mid(7).trimmed();
            const auto eq = assignment.indexOf('=');
            if (eq > 0)
                qputenv(assignment.left(eq).constData(), assignment.mid(eq + 1));
        }
        m_started = true;
    }
    /// The rig's directory when this run started it, else empty (a rig of the environment).
    const QString& directory() const { return m_dirPath; }
    bool isRunning() const { return m_started || !qEnvironmentVariableIsEmpty("PULSE_SERVER"); }

    ~OwnRig() {
        if (!m_started)
            return;
        QProcess rig;
        rig.start(QStringLiteral(VESNARA_AUDIO_RIG_SCRIPT), {u"stop"_s, m_dirPath});
        rig.waitForFinished(30000);
    }

private:
    QTemporaryDir m_dir;
    QString m_dirPath;
    bool m_started = false;
};

} // namespace vesnara::bench
