#include "LinuxDesktopServices.h"
#include "storage/AppLog.h"
#include "support/TestFiles.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <optional>

using namespace Qt::StringLiterals;
using vesnara::AppLog;
using vesnara::LinuxDesktopServices;
using vesnara::SettingsPlace;
using vesnara::test::readFile;
using vesnara::test::writeFile;

namespace {

const QStringList kEveryProgram{
    u"gnome-control-center"_s, u"systemsettings"_s,    u"systemsettings5"_s,     u"pavucontrol"_s,
    u"pavucontrol-qt"_s,       u"cinnamon-settings"_s, u"mate-volume-control"_s,
};

constexpr int kDeadlineMs = 10000;

/// A file manager on the bus that records what it was asked to show, or refuses.
class FakeFileManager final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    bool refuses = false;
    QStringList shownItems;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString& startupId) {
        Q_UNUSED(startupId);
        if (refuses) {
            sendErrorReply(QDBusError::Failed, u"no window"_s);
            return;
        }
        shownItems += uris;
    }
};

/// A private message bus of its own, ended with the test; empty address when none started.
struct PrivateBus {
    QProcess daemon;
    QString address;

    PrivateBus() {
        daemon.start(u"dbus-daemon"_s,
                     {u"--session"_s, u"--nofork"_s, u"--nopidfile"_s, u"--print-address=1"_s});
        if (daemon.waitForStarted(kDeadlineMs) &&
            QTest::qWaitFor([this] { return daemon.canReadLine(); }, kDeadlineMs))
            address = QString::fromUtf8(daemon.readLine()).trimmed();
    }
    ~PrivateBus() {
        daemon.kill();
        daemon.waitForFinished(kDeadlineMs);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
};

} // namespace

class LinuxDesktopServicesTest : public QObject {
    Q_OBJECT

private:
    QString binDir() const { return m_dir->filePath(u"bin"_s); }
    QString callsDir() const { return m_dir->filePath(u"calls"_s); }

    // A program that writes its arguments, one a line, to calls/<name>; renamed into place so
    // the file is complete once it exists.
    QString installRecorder(const QString& name, const QString& interpreter = u"/bin/sh"_s) {
        const QString out = QDir(callsDir()).filePath(name);
        const QString path = QDir(binDir()).filePath(name);
        // Its own PATH: a test may point PATH at the directory of stand-ins.
        const QString script = uR"(#!%1
PATH=/usr/bin:/bin
: > '%2.part'
for a in "$@"; do printf '%s\n' "$a" >> '%2.part'; done
mv '%2.part' '%2'
)"_s;
        writeFile(path, script.arg(interpreter, out).toUtf8());
        QFile::setPermissions(path, QFile::permissions(path) | QFile::ExeOwner);
        return path;
    }

    std::optional<QStringList> waitForCall(const QString& name) const {
        const QString path = QDir(callsDir()).filePath(name);
        if (!QTest::qWaitFor([&] { return QFile::exists(path); }, kDeadlineMs))
            return std::nullopt;
        return QString::fromUtf8(readFile(path)).split(u'\n', Qt::SkipEmptyParts);
    }

    QStringList calls() const { return QDir(callsDir()).entryList(QDir::Files); }

    LinuxDesktopServices servicesOn(const QString& desktop) const {
        return LinuxDesktopServices({.searchPaths = QStringList{binDir()},
                                     .programPath = {},
                                     .currentDesktop = desktop,
                                     .busAddress = {}});
    }

    static QString log() { return AppLog::snapshot(1 << 20); }

    std::optional<QTemporaryDir> m_dir;

private Q_SLOTS:
    void init() {
        m_dir.emplace();
        QVERIFY(m_dir->isValid());
        QVERIFY(QDir().mkpath(binDir()));
        QVERIFY(QDir().mkpath(callsDir()));
        AppLog::setLogFilePath(m_dir->filePath(u"desktop.log"_s));
    }

    void opensTheNearestSoundSettings_data() {
        QTest::addColumn<QString>("desktop");
        QTest::addColumn<QStringList>("installed");
        QTest::addColumn<SettingsPlace>("place");
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");

        const auto mic = SettingsPlace::microphoneAccess;
        const auto system = SettingsPlace::systemAudioAccess;
        const auto general = SettingsPlace::general;

        // The desktop's own page comes first.
        QTest::newRow("GNOME") << u"GNOME"_s << kEveryProgram << mic << u"gnome-control-center"_s
                               << QStringList{u"sound"_s};
        QTest::newRow("Ubuntu's GNOME session")
            << u"ubuntu:GNOME"_s << kEveryProgram << system << u"gnome-control-center"_s
            << QStringList{u"sound"_s};
        QTest::newRow("Plasma 6") << u"KDE"_s << kEveryProgram << general << u"systemsettings"_s
                                  << QStringList{u"kcm_pulseaudio"_s};
        QTest::newRow("Plasma 5") << u"KDE"_s << QStringList{u"pavucontrol"_s, u"systemsettings5"_s}
                                  << mic << u"systemsettings5"_s
                                  << QStringList{u"kcm_pulseaudio"_s};
        QTest::newRow("LXQt") << u"LXQt"_s << kEveryProgram << mic << u"pavucontrol-qt"_s
                              << QStringList{};
        QTest::newRow("Cinnamon") << u"X-Cinnamon"_s << kEveryProgram << general
                                  << u"cinnamon-settings"_s << QStringList{u"sound"_s};
        QTest::newRow("MATE") << u"MATE"_s << kEveryProgram << system << u"mate-volume-control"_s
                              << QStringList{};

        // Elsewhere pavucontrol, on the tab that matches the place.
        QTest::newRow("pavucontrol, microphone: input devices")
            << u"XFCE"_s << kEveryProgram << mic << u"pavucontrol"_s << QStringList{u"--tab=4"_s};
        QTest::newRow("pavucontrol, system audio: output devices")
            << u"XFCE"_s << kEveryProgram << system << u"pavucontrol"_s
            << QStringList{u"--tab=3"_s};
        QTest::newRow("pavucontrol, general: no tab")
            << u""_s << kEveryProgram << general << u"pavucontrol"_s << QStringList{};
        QTest::newRow("GNOME without its settings")
            << u"GNOME"_s << QStringList{u"systemsettings"_s, u"pavucontrol"_s} << mic
            << u"pavucontrol"_s << QStringList{u"--tab=4"_s};

        // Then pavucontrol-qt, then Plasma's page; never gnome-control-center outside GNOME.
        QTest::newRow("pavucontrol-qt next")
            << u"XFCE"_s
            << QStringList{u"gnome-control-center"_s, u"systemsettings"_s, u"pavucontrol-qt"_s}
            << mic << u"pavucontrol-qt"_s << QStringList{};
        QTest::newRow("Plasma's page last")
            << u"XFCE"_s << QStringList{u"gnome-control-center"_s, u"systemsettings"_s} << general
            << u"systemsettings"_s << QStringList{u"kcm_pulseaudio"_s};
    }

    void opensTheNearestSoundSettings() {
        QFETCH(QString, desktop);
        QFETCH(QStringList, installed);
        QFETCH(SettingsPlace, place);
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        for (const auto& name : installed)
            installRecorder(name);

        QVERIFY(servicesOn(desktop).openSettings(place));

        const auto started = waitForCall(program);
        QVERIFY2(started,
                 qPrintable(u"%1 did not run; ran: %2"_s.arg(program, calls().join(u' '))));
        QCOMPARE(*started, arguments);
        QCOMPARE(calls(), QStringList{program});
        QVERIFY2(log().contains(u" program=%1 "_s.arg(program)), qPrintable(log()));
    }

    void reportsWhenNothingCanBeOpened_data() {
        QTest::addColumn<QString>("desktop");
        QTest::addColumn<QStringList>("installed");
        QTest::newRow("empty search directory") << u"GNOME"_s << QStringList{};
        QTest::newRow("only gnome-control-center, outside GNOME")
            << u"KDE"_s << QStringList{u"gnome-control-center"_s};
    }

    void reportsWhenNothingCanBeOpened() {
        QFETCH(QString, desktop);
        QFETCH(QStringList, installed);
        for (const auto& name : installed)
            installRecorder(name);

        QVERIFY(!servicesOn(desktop).openSettings(SettingsPlace::microphoneAccess));
        QVERIFY2(log().contains(u"desktop openSettings place=microphoneAccess program=none"_s),
                 qPrintable(log()));
        QVERIFY(calls().isEmpty());
    }

    void passesOverProgramsThatCannotStart() {
        // Not executable: not a candidate at all.
        writeFile(QDir(binDir()).filePath(u"pavucontrol"_s), "#!/bin/sh\n");
        // Executable, but its interpreter is missing, so starting it fails.
        installRecorder(u"pavucontrol-qt"_s, m_dir->filePath(u"missing/sh"_s));
        installRecorder(u"systemsettings"_s);

        QVERIFY(servicesOn(u"XFCE"_s).openSettings(SettingsPlace::general));

        QCOMPARE(waitForCall(u"systemsettings"_s), QStringList{u"kcm_pulseaudio"_s});
        const QString text = log();
        QVERIFY2(!text.contains(u"program=pavucontrol "_s), qPrintable(text));
        QVERIFY2(text.contains(u"program=pavucontrol-qt arguments= failed error="_s),
                 qPrintable(text));
    }

    void searchesPathUnlessGivenDirectories() {
        installRecorder(u"pavucontrol"_s);
        const QByteArray savedPath = qgetenv("PATH");
        const auto restore = qScopeGuard([&] { qputenv("PATH", savedPath); });
        qputenv("PATH", QFile::encodeName(binDir()));

        // An empty list means no directories, not PATH.
        QVERIFY(!LinuxDesktopServices({.searchPaths = QStringList{},
                                       .programPath = {},
                                       .currentDesktop = u"XFCE"_s,
                                       .busAddress = {}})
                     .openSettings(SettingsPlace::general));
        QVERIFY(calls().isEmpty());

        QVERIFY(LinuxDesktopServices({.searchPaths = {},
                                      .programPath = {},
                                      .currentDesktop = u"XFCE"_s,
                                      .busAddress = {}})
                    .openSettings(SettingsPlace::systemAudioAccess));
        QCOMPARE(waitForCall(u"pavucontrol"_s), QStringList{u"--tab=3"_s});
    }

    void startsANewInstanceWithTheSameArguments() {
        const QString program = installRecorder(u"vesnara"_s);
        LinuxDesktopServices services({.searchPaths = QStringList{},
                                       .programPath = program,
                                       .currentDesktop = {},
                                       .busAddress = {}});

        QCOMPARE(services.startNewInstance(), std::nullopt);

        // CTest passes arguments to this test, so the list is not empty there.
        QCOMPARE(waitForCall(u"vesnara"_s),
                 LinuxDesktopServices::relaunchArguments(QCoreApplication::arguments().mid(1),
                                                         QCoreApplication::applicationPid()));
        QVERIFY2(log().contains(u"desktop startNewInstance program=%1 "_s.arg(program)),
                 qPrintable(log()));
    }

    void aNewInstanceThatCannotStartGivesTheError() {
        const QString program = m_dir->filePath(u"missing/vesnara"_s);
        LinuxDesktopServices services({.searchPaths = QStringList{},
                                       .programPath = program,
                                       .currentDesktop = {},
                                       .busAddress = {}});

        const auto error = services.startNewInstance();

        QVERIFY(error);
        QVERIFY(!error->isEmpty());
        QVERIFY2(log().contains(u"desktop startNewInstance program=%1 "_s.arg(program)) &&
                     log().contains(u" failed error="_s),
                 qPrintable(log()));
    }

    void opensLinksWithXdgOpenWithoutAGuiApplication() {
        installRecorder(u"xdg-open"_s);
        const QUrl url(u"https://example.test/lataa?x=1"_s);
        QVERIFY(servicesOn(u"GNOME"_s).openUrl(url));
        QCOMPARE(waitForCall(u"xdg-open"_s), QStringList{url.toString(QUrl::FullyEncoded)});
        QVERIFY(!LinuxDesktopServices({.searchPaths = QStringList{},
                                       .programPath = {},
                                       .currentDesktop = {},
                                       .busAddress = {}})
                     .openUrl(url));
    }

    // The file manager on the bus shows the file; without one, or when it refuses, the folder
    // opens instead.
    void revealsTheFileOrElseOpensItsFolder_data() {
        QTest::addColumn<bool>("fileManagerPresent");
        QTest::addColumn<bool>("fileManagerRefuses");
        QTest::newRow("file manager shows it") << true << false;
        QTest::newRow("no file manager") << false << false;
        QTest::newRow("file manager refuses") << true << true;
    }
    void revealsTheFileOrElseOpensItsFolder() {
        QFETCH(bool, fileManagerPresent);
        QFETCH(bool, fileManagerRefuses);
        PrivateBus bus;
        if (bus.address.isEmpty())
            QSKIP("dbus-daemon could not start");
        installRecorder(u"xdg-open"_s);
        const QString file = m_dir->filePath(u"vesnara-diagnoosi-1.zip"_s);
        writeFile(file, "zip");

        FakeFileManager fileManager;
        fileManager.refuses = fileManagerRefuses;
        QDBusConnection side = QDBusConnection::connectToBus(bus.address, u"file manager"_s);
        const auto disconnect =
            qScopeGuard([] { QDBusConnection::disconnectFromBus(u"file manager"_s); });
        QVERIFY(side.isConnected());
        if (fileManagerPresent) {
            QVERIFY(side.registerObject(u"/org/freedesktop/FileManager1"_s, &fileManager,
                                        QDBusConnection::ExportAllSlots));
            QVERIFY(side.registerService(u"org.freedesktop.FileManager1"_s));
        }

        LinuxDesktopServices services({.searchPaths = QStringList{binDir()},
                                       .programPath = {},
                                       .currentDesktop = u"GNOME"_s,
                                       .busAddress = bus.address});
        QVERIFY(services.revealFile(file));
        if (fileManagerPresent && !fileManagerRefuses) {
            QTRY_COMPARE_WITH_TIMEOUT(fileManager.shownItems,
                                      QStringList{QUrl::fromLocalFile(file).toString()},
                                      kDeadlineMs);
            QCOMPARE(calls(), QStringList{});
        } else {
            QCOMPARE(waitForCall(u"xdg-open"_s),
                     QStringList{QUrl::fromLocalFile(m_dir->path()).toString()});
            QCOMPARE(fileManager.shownItems, QStringList{});
        }
    }

    // Last: it runs and ends the application's event loop.
    void terminateQuitsOnceTheEventLoopRuns() {
        QSignalSpy quits(qApp, &QCoreApplication::aboutToQuit);
        QTimer guard;
        guard.setSingleShot(true);
        connect(&guard, &QTimer::timeout, qApp, [] { QCoreApplication::exit(2); });

        // Asked for before the loop runs, as a quit during start-up would be.
        LinuxDesktopServices().terminate();
        QCOMPARE(quits.size(), 0);

        guard.start(kDeadlineMs);
        QCOMPARE(QCoreApplication::exec(), 0);
        QCOMPARE(quits.size(), 1);
    }
};

QTEST_GUILESS_MAIN(LinuxDesktopServicesTest)
#include "tst_linux_desktop_services.moc"
