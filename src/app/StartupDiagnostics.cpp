#include "StartupDiagnostics.h"

#include "model/DeploymentDefaults.h"
#include "storage/AppLog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QStandardPaths>

#include <atomic>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

const QString kFontsPrefix = u"Fonts/"_s;

// The keys of the scan and the file each names; "MarkOffcPro-Light.ttf" is registered but not
// reported, as no screen uses it.
const QList<std::pair<QString, QString>>& scannedResources() {
    static const QList<std::pair<QString, QString>> resources = {
        {u"logo"_s, StartupDiagnostics::logoFile},
        {u"font-regular"_s, u"MarkOffcPro.ttf"_s},
        {u"font-medium"_s, u"MarkOffcPro-Medium.ttf"_s},
        {u"font-heavy"_s, u"MarkOffcPro-Heavy.ttf"_s},
        {u"font-black"_s, u"MarkOffcPro-Black.ttf"_s},
    };
    return resources;
}

QString valueOrDash(const QString& value) {
    return value.isEmpty() ? u"-"_s : value;
}

std::atomic_bool fontsRegistered = false;

} // namespace

const QStringList StartupDiagnostics::fontFiles = {
    u"MarkOffcPro.ttf"_s,       u"MarkOffcPro-Light.ttf"_s, u"MarkOffcPro-Medium.ttf"_s,
    u"MarkOffcPro-Heavy.ttf"_s, u"MarkOffcPro-Black.ttf"_s,
};
const QString StartupDiagnostics::logoFile = u"Tamberly-Logo-Black.png"_s;

StartupDiagnostics::Environment StartupDiagnostics::Environment::current() {
    Environment environment;
    environment.bundleId = u"vesnara"_s;
    environment.version = QString::fromUtf16(DeploymentDefaults::applicationVersion);
    environment.build = QString::fromUtf16(DeploymentDefaults::applicationBuild);
    environment.moduleResources = u":/Vesnara"_s;
    environment.applicationDirectory = QCoreApplication::applicationDirPath();
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    environment.dataHome = dataHome.isEmpty() ? QDir::homePath() + u"/.local/share"_s : dataHome;
    const QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    environment.dataDirectories = dataDirs.isEmpty()
                                      ? QStringList{u"/usr/local/share"_s, u"/usr/share"_s}
                                      : dataDirs.split(u':', Qt::SkipEmptyParts);
    return environment;
}

QStringList StartupDiagnostics::candidates(const Environment& environment) {
    QStringList all;
    if (!environment.moduleResources.isEmpty())
        all << environment.moduleResources;
    if (!environment.applicationDirectory.isEmpty())
        all << environment.applicationDirectory + u"/../share/vesnara"_s;
    if (!environment.dataHome.isEmpty())
        all << environment.dataHome + u"/vesnara"_s;
    for (const QString& directory : environment.dataDirectories)
        all << directory + u"/vesnara"_s;

    QStringList unique;
    for (const QString& path : std::as_const(all)) {
        const QString cleaned = QDir::cleanPath(path);
        if (!unique.contains(cleaned))
            unique << cleaned;
    }
    return unique;
}

QStringList StartupDiagnostics::variantsOf(const QString& fileName) {
    if (fileName.endsWith(u".ttf"_s))
        return {fileName, kFontsPrefix + fileName};
    return {fileName};
}

std::optional<QString> StartupDiagnostics::locate(const QStringList& candidates,
                                                  const QStringList& variants) {
    for (const QString& candidate : candidates) {
        for (const QString& variant : variants) {
            QStringList tries{variant};
            if (variant.startsWith(kFontsPrefix))
                tries << variant.mid(kFontsPrefix.size());
            for (const QString& relative : std::as_const(tries)) {
                const QString path = candidate + u'/' + relative;
                if (QFileInfo(path).isFile())
                    return path;
            }
        }
    }
    return std::nullopt;
}

QStringList StartupDiagnostics::resourceStatusLines(const Environment& environment) {
    const QStringList places = candidates(environment);
    QStringList lines;
    lines << u"startup begin bundleId=%1 version=%2 build=%3 resourceRoot=%4"_s.arg(
        valueOrDash(environment.bundleId), valueOrDash(environment.version),
        valueOrDash(environment.build), valueOrDash(places.value(0)));
    // Linux has no usage-description keys to miss: the desktop never refuses for that reason.
    lines << u"startup permissions keys mic=true screen=true systemAudio=true"_s;
    lines << u"startup resources bundleCandidates=%1"_s.arg(places.size());
    for (qsizetype i = 0; i < places.size(); ++i) {
        lines << u"startup resources candidate[%1] name=%2 path=%3"_s.arg(
            QString::number(i), QFileInfo(places[i]).fileName(), places[i]);
    }
    for (const auto& [key, file] : scannedResources()) {
        const QStringList variants = variantsOf(file);
        if (const auto path = locate(places, variants))
            lines << u"startup resources %1=ok path=%2"_s.arg(key, *path);
        else
            lines << u"startup resources %1=missing variants=%2"_s.arg(key, variants.join(u','));
    }
    lines << u"startup pre-ui resource scan complete"_s;
    return lines;
}

void StartupDiagnostics::logPreUIResourceStatus(const Environment& environment) {
    for (const QString& line : resourceStatusLines(environment))
        AppLog::write(line);
}

bool StartupDiagnostics::registerFonts(const Environment& environment) {
    if (fontsRegistered.exchange(true))
        return false;
    const QStringList places = candidates(environment);
    for (const QString& file : fontFiles) {
        if (const auto path = locate(places, variantsOf(file))) {
            if (QFontDatabase::addApplicationFont(*path) < 0)
                AppLog::write(u"startup font not loaded file=%1"_s.arg(file));
        }
    }
    return true;
}

std::optional<QString> StartupDiagnostics::logoPath(const Environment& environment) {
    return locate(candidates(environment), variantsOf(logoFile));
}

} // namespace vesnara
