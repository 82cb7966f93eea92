#include "LinuxDesktopServices.h"

#include "storage/AppLog.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMetaObject>
#include <QProcess>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

struct Candidate {
    QString program;
    QStringList arguments;
};

QString placeName(SettingsPlace place) {
    switch (place) {
    case SettingsPlace::microphoneAccess:
        return u"microphoneAccess"_s;
    case SettingsPlace::systemAudioAccess:
        return u"systemAudioAccess"_s;
    case SettingsPlace::general:
        return u"general"_s;
    }
    return u"unknown"_s;
}

// pavucontrol's tabs are numbered from 1: playback, recording, output devices, input devices,
// configuration. System audio is recorded from an output device's monitor, so the output
// devices tab is where the user sees and unmutes what will be heard; the recording tab lists
// only streams that are already recording and is empty before a recording starts.
QStringList pavucontrolArguments(SettingsPlace place) {
    switch (place) {
    case SettingsPlace::microphoneAccess:
        return {u"--tab=4"_s};
    case SettingsPlace::systemAudioAccess:
        return {u"--tab=3"_s};
    case SettingsPlace::general:
        break;
    }
    return {};
}

void appendOnce(QList<Candidate>& list, const Candidate& candidate) {
    const bool present = std::any_of(list.cbegin(), list.cend(), [&](const Candidate& c) {
        return c.program == candidate.program;
    });
    if (!present)
        list.append(candidate);
}

QList<Candidate> candidatesFor(SettingsPlace place, const QString& currentDesktop) {
    const QStringList desktops = currentDesktop.split(u':', Qt::SkipEmptyParts);
    const auto on = [&desktops](QStringView name) {
        return std::any_of(desktops.cbegin(), desktops.cend(), [name](const QString& d) {
            return d.compare(name, Qt::CaseInsensitive) == 0;
        });
    };
    // Plasma 6 names its settings program systemsettings, Plasma 5 systemsettings5; both call
    // the sound page kcm_pulseaudio.
    const Candidate plasma6{u"systemsettings"_s, {u"kcm_pulseaudio"_s}};
    const Candidate plasma5{u"systemsettings5"_s, {u"kcm_pulseaudio"_s}};
    const Candidate pavucontrolQt{u"pavucontrol-qt"_s, {}}; // its tab option is not relied on

    QList<Candidate> list;
    // The desktop's own page first. gnome-control-center exits at once outside GNOME and Unity,
    // which would look like success here, so it is never tried anywhere else.
    if (on(u"GNOME") || on(u"Unity"))
        appendOnce(list, {u"gnome-control-center"_s, {u"sound"_s}});
    if (on(u"KDE")) {
        appendOnce(list, plasma6);
        appendOnce(list, plasma5);
    }
    if (on(u"LXQt"))
        appendOnce(list, pavucontrolQt);
    if (on(u"X-Cinnamon"))
        appendOnce(list, {u"cinnamon-settings"_s, {u"sound"_s}});
    if (on(u"MATE"))
        appendOnce(list, {u"mate-volume-control"_s, {}});
    // Then the mixers that run on any desktop, and Plasma's page as a last resort.
    appendOnce(list, {u"pavucontrol"_s, pavucontrolArguments(place)});
    appendOnce(list, pavucontrolQt);
    appendOnce(list, plasma6);
    appendOnce(list, plasma5);
    return list;
}

const QString kFileManagerService = u"org.freedesktop.FileManager1"_s;
// A file manager that is started for the call may take a while to come up.
constexpr int kShowItemsTimeoutMs = 10000;

QDBusConnection busAt(const QString& address) {
    if (address.isEmpty())
        return QDBusConnection::sessionBus();
    return QDBusConnection::connectToBus(address, u"vesnara-desktop "_s + address);
}

// Running, or startable on demand by the bus.
bool hasFileManager(const QDBusConnection& bus) {
    const QDBusConnectionInterface* names = bus.interface();
    if (!names)
        return false;
    if (names->isServiceRegistered(kFileManagerService).value())
        return true;
    const QDBusReply<QStringList> activatable = names->activatableServiceNames();
    return activatable.isValid() && activatable.value().contains(kFileManagerService);
}

enum class Output { inherited, discarded };

std::optional<QString> startDetached(const QString& program, const QStringList& arguments,
                                     Output output) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    if (output == Output::discarded) {
        process.setStandardInputFile(QProcess::nullDevice());
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
    }
    if (process.startDetached())
        return std::nullopt;
    return process.errorString();
}

} // namespace

LinuxDesktopServices::LinuxDesktopServices(Environment environment)
    : m_environment(std::move(environment)) {}

QString LinuxDesktopServices::findProgram(const QString& name) const {
    if (!m_environment.searchPaths)
        return QStandardPaths::findExecutable(name);
    // An empty list would make findExecutable fall back to PATH.
    if (m_environment.searchPaths->isEmpty())
        return {};
    return QStandardPaths::findExecutable(name, *m_environment.searchPaths);
}

bool LinuxDesktopServices::openSettings(SettingsPlace place) {
    const QString desktop =
        m_environment.currentDesktop.value_or(qEnvironmentVariable("XDG_CURRENT_DESKTOP"));
    for (const auto& candidate : candidatesFor(place, desktop)) {
        const QString path = findProgram(candidate.program);
        if (path.isEmpty())
            continue;
        // A settings program's chatter on stderr is not ours to show.
        const auto error = startDetached(path, candidate.arguments, Output::discarded);
        const QString line = u"desktop openSettings place=%1 program=%2 arguments=%3"_s.arg(
            placeName(place), candidate.program, candidate.arguments.join(u' '));
        if (!error) {
            AppLog::write(line);
            return true;
        }
        AppLog::write(line + u" failed error=%1"_s.arg(*error));
    }
    AppLog::write(
        u"desktop openSettings place=%1 program=none desktop=%2"_s.arg(placeName(place), desktop));
    return false;
}

bool LinuxDesktopServices::openWith(const QUrl& url, const QString& opener) {
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return QDesktopServices::openUrl(url);
    return !opener.isEmpty() && QProcess::startDetached(opener, {url.toString(QUrl::FullyEncoded)});
}

bool LinuxDesktopServices::openUrl(const QUrl& url) {
    return openWith(url, findProgram(u"xdg-open"_s));
}

bool LinuxDesktopServices::revealFile(const QString& filePath) {
    const QFileInfo file(filePath);
    const QUrl folder = QUrl::fromLocalFile(file.absolutePath());
    const QString opener = findProgram(u"xdg-open"_s);
    QDBusConnection bus = busAt(m_environment.busAddress);
    if (!bus.isConnected() || !hasFileManager(bus)) {
        AppLog::write(u"desktop revealFile fileManager=none"_s);
        return openWith(folder, opener);
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(kFileManagerService, u"/org/freedesktop/FileManager1"_s,
                                       kFileManagerService, u"ShowItems"_s);
    call << QStringList{QUrl::fromLocalFile(file.absoluteFilePath()).toString()} << QString();
    // Asked without waiting: a slow file manager must not hold up the screen.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, kShowItemsTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [folder, opener](QDBusPendingCallWatcher* answer) {
                         answer->deleteLater();
                         if (!answer->isError())
                             return;
                         AppLog::write(u"desktop revealFile fileManager failed error=%1"_s.arg(
                             answer->error().name()));
                         openWith(folder, opener);
                     });
    return true;
}

QStringList LinuxDesktopServices::relaunchArguments(const QStringList& arguments, qint64 pid) {
    const QString option = u"--"_s + QString::fromUtf16(replacePidOption);
    QStringList kept;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments.at(i) == option) {
            ++i; // and its value
            continue;
        }
        if (arguments.at(i).startsWith(option + u'='))
            continue;
        kept.append(arguments.at(i));
    }
    return kept + QStringList{option, QString::number(pid)};
}

std::optional<QString> LinuxDesktopServices::startNewInstance() {
    const QString program = m_environment.programPath.isEmpty()
                                ? QCoreApplication::applicationFilePath()
                                : m_environment.programPath;
    const QStringList arguments =
        relaunchArguments(QCoreApplication::arguments().mid(1), QCoreApplication::applicationPid());
    // The arguments themselves stay out of the log: they are the user's, not ours.
    if (const auto error = startDetached(program, arguments, Output::inherited)) {
        AppLog::write(u"desktop startNewInstance program=%1 arguments=%2 failed error=%3"_s.arg(
            program, QString::number(arguments.size()), *error));
        return error;
    }
    AppLog::write(u"desktop startNewInstance program=%1 arguments=%2"_s.arg(
        program, QString::number(arguments.size())));
    return std::nullopt;
}

void LinuxDesktopServices::terminate() {
    auto* application = QCoreApplication::instance();
    if (!application)
        return;
    AppLog::write(u"desktop terminate"_s);
    // Queued: the caller's slot finishes first, and a quit asked for before exec() has started
    // still arrives, where a direct QCoreApplication::quit() would be dropped.
    QMetaObject::invokeMethod(application, &QCoreApplication::quit, Qt::QueuedConnection);
}

} // namespace vesnara
