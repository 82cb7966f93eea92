#include "storage/UserDirectories.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

/// `<base>/vesnara`, the base from `variable` when it holds an absolute path, else
/// `~/<homeRelative>`.
QString applicationDirectory(const char* variable, const QString& homeRelative) {
    QString base = qEnvironmentVariable(variable);
    if (base.isEmpty() || QDir::isRelativePath(base)) {
        const QString home = QStandardPaths::writableLocation(QStandardPaths::HomeLocation);
        base = home.isEmpty() ? QDir::tempPath() : QDir(home).filePath(homeRelative);
    }
    return QDir(base).filePath(u"vesnara"_s);
}

} // namespace

QString UserDirectories::settingsFile() {
    return QDir(applicationDirectory("XDG_CONFIG_HOME", u".config"_s)).filePath(u"Vesnara.conf"_s);
}

QString UserDirectories::sessionsDirectory() {
    return QDir(applicationDirectory("XDG_DATA_HOME", u".local/share"_s)).filePath(u"sessions"_s);
}

QString UserDirectories::logFile() {
    return QDir(applicationDirectory("XDG_STATE_HOME", u".local/state"_s))
        .filePath(u"desktop.log"_s);
}

} // namespace vesnara
