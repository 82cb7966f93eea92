// One window per user: where the instance's socket lives, the relaunch's option, and the
// `vesnara` program itself started twice, after a crash and as a relaunch.
#include "AppOptions.h"
#include "LinuxDesktopServices.h"
#include "SingleInstance.h"
#include "refbackend/ChildProcess.h"
#include "storage/AppLog.h"
#include "support/TestHttp.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <signal.h>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

const QString kProgram = QString::fromUtf8(VESNARA_APP_PATH);
constexpr int kWaitMs = 15'000;

} // namespace

class SingleInstanceTest : public QObject {
    Q_OBJECT

    // The program with this test's own home, XDG directories and a backend nobody answers on.
    std::unique_ptr<ChildProcess> launch(const QStringList& arguments = {}) {
        auto child = std::make_unique<ChildProcess>(kProgram);
        for (const auto& [variable, directory] :
             {std::pair{u"HOME"_s, u"home"_s}, std::pair{u"XDG_CONFIG_HOME"_s, u"config"_s},
              std::pair{u"XDG_DATA_HOME"_s, u"data"_s}, std::pair{u"XDG_STATE_HOME"_s, u"state"_s},
              std::pair{u"XDG_RUNTIME_DIR"_s, u"runtime"_s}}) {
            QDir().mkpath(m_directory->filePath(directory));
            child->setEnvironmentValue(variable, m_directory->filePath(directory));
        }
        child->setEnvironmentValue(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        child->setEnvironmentValue(u"QT_QUICK_BACKEND"_s, u"software"_s);
        [&] { QVERIFY(child->start(QStringList{u"--backend-url"_s, m_backendURL} + arguments)); }();
        return child;
    }

    QString log() const {
        QFile file(m_directory->filePath(u"state/vesnara/desktop.log"_s));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    bool hasBecomeTheInstance(const ChildProcess& child) const {
        return log().contains(u"instance primary pid=%1 "_s.arg(child.processId()));
    }

    QString instanceSocketPath() const {
        return SingleInstance::socketPathFor(
            m_directory->filePath(u"runtime"_s), QDir::tempPath(),
            m_directory->filePath(u"config/vesnara/Vesnara.conf"_s), uint(::getuid()));
    }

    // A later launch with `arguments` brings `running`'s window forward and ends with its line.
    void expectActivates(ChildProcess& running, const QStringList& arguments = {}) {
        const auto second = launch(arguments);
        const qint64 secondPid = second->processId(); // gone once it has ended
        const QRegularExpressionMatch said = second->waitForLine(
            QRegularExpression(u"^vesnara: already running \\(pid (\\d+)\\); brought its window "
                               "to the front$"_s));
        QVERIFY2(said.hasMatch(), qPrintable(second->output() + second->errorOutput()));
        QCOMPARE(said.captured(1).toLongLong(), running.processId());
        QVERIFY(second->waitForExit());
        QCOMPARE(second->exitCode(), 0);
        QTRY_VERIFY2_WITH_TIMEOUT(
            log().contains(u"instance activation requested pid=%1\n"_s.arg(secondPid)),
            qPrintable(log()), kWaitMs);
        QVERIFY(!log().contains(u"instance primary pid=%1 "_s.arg(secondPid)));
    }

private Q_SLOTS:
    void init() {
        m_directory.emplace();
        QVERIFY(QDir().mkpath(m_directory->filePath(u"runtime"_s)));
        // This process's own lines, apart from the programs' log.
        AppLog::setLogFilePath(m_directory->filePath(u"test.log"_s));
        m_backendURL = u"http://127.0.0.1:%1"_s.arg(closedLoopbackPort());
    }
    void cleanup() { m_directory.reset(); }

    // The socket is the user's and the settings file's: private XDG directories never meet a
    // real running copy, and a path a local socket cannot hold moves to the temporary directory.
    void socketPath_data() {
        QTest::addColumn<QString>("runtime");
        QTest::addColumn<QString>("expectedDirectory");
        QTest::newRow("runtime directory") << u"/run/user/1000"_s << u"/run/user/1000"_s;
        QTest::newRow("unset") << QString() << u"/tmp"_s;
        QTest::newRow("relative, ignored") << u"run/user"_s << u"/tmp"_s;
        QTest::newRow("too long for a socket") << u"/run/"_s + QString(100, u'x') << u"/tmp"_s;
    }
    void socketPath() {
        QFETCH(QString, runtime);
        QFETCH(QString, expectedDirectory);
        const QString conf = u"/home/u/.config/vesnara/Vesnara.conf"_s;
        const QString path = SingleInstance::socketPathFor(runtime, u"/tmp"_s, conf, 1000);
        QCOMPARE(QFileInfo(path).path(), expectedDirectory);
        QVERIFY(QFileInfo(path).fileName().startsWith(u"vesnara-"_s));
        QVERIFY(QFile::encodeName(path).size() < 108);
        QCOMPARE(SingleInstance::socketPathFor(runtime, u"/tmp"_s, conf, 1000), path);
        QVERIFY(SingleInstance::socketPathFor(runtime, u"/tmp"_s, u"/t/c/vesnara/Vesnara.conf"_s,
                                              1000) != path);
        QVERIFY(SingleInstance::socketPathFor(runtime, u"/tmp"_s, conf, 1001) != path);
    }

    // The relaunch names this process once, whatever the arguments it was started with.
    void relaunchArguments_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("none") << QStringList{} << QStringList{u"--replace-pid"_s, u"42"_s};
        QTest::newRow("others kept")
            << QStringList{u"--backend-url"_s, u"http://h"_s}
            << QStringList{u"--backend-url"_s, u"http://h"_s, u"--replace-pid"_s, u"42"_s};
        QTest::newRow("an earlier relaunch's option replaced")
            << QStringList{u"--replace-pid"_s, u"7"_s, u"--backend-url=http://h"_s,
                           u"--replace-pid=8"_s}
            << QStringList{u"--backend-url=http://h"_s, u"--replace-pid"_s, u"42"_s};
    }
    void relaunchArguments() {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, expected);
        const QStringList relaunch = LinuxDesktopServices::relaunchArguments(arguments, 42);
        QCOMPARE(relaunch, expected);
        // What the relaunch passes is what the program accepts.
        const auto parsed = AppOptions::parse(QStringList{u"vesnara"_s} + relaunch);
        QVERIFY(std::holds_alternative<AppOptions>(parsed));
        QCOMPARE(std::get<AppOptions>(parsed).replacePid, std::optional<qint64>(42));
    }

    void badReplaceOption_data() {
        QTest::addColumn<QString>("value");
        QTest::newRow("word") << u"abc"_s;
        QTest::newRow("zero") << u"0"_s;
        QTest::newRow("empty") << QString();
    }
    void badReplaceOption() {
        QFETCH(QString, value);
        const auto parsed = AppOptions::parse(
            {u"vesnara"_s, u"--backend-url=http://h"_s, u"--replace-pid"_s, value});
        QVERIFY(std::holds_alternative<QString>(parsed));
        QVERIFY2(std::get<QString>(parsed).contains(u"--replace-pid needs a process id"_s),
                 qPrintable(std::get<QString>(parsed)));
    }

    // A second launch, plain or naming a process that is not the running one, brings the first
    // window forward and ends; only the first built a window.
    void aSecondLaunchBringsTheFirstForward_data() {
        QTest::addColumn<bool>("namingAnotherProcess");
        QTest::newRow("plain") << false;
        QTest::newRow("replacing a process that is not running") << true;
    }
    void aSecondLaunchBringsTheFirstForward() {
        QFETCH(bool, namingAnotherProcess);
        const auto first = launch();
        QTRY_VERIFY2_WITH_TIMEOUT(hasBecomeTheInstance(*first), qPrintable(log()), kWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(log().contains(u"startup font registration invoked"_s), kWaitMs);

        QStringList arguments;
        if (namingAnotherProcess)
            arguments = {u"--replace-pid"_s, QString::number(first->processId() + 100000)};
        expectActivates(*first, arguments);
        QTRY_VERIFY_WITH_TIMEOUT(log().contains(u"instance window brought to the front"_s),
                                 kWaitMs);
        QCOMPARE(log().count(u"startup font registration invoked"_s), 1);
        QCOMPARE(processesWithArgument(m_backendURL), QList<qint64>{first->processId()});
    }

    // A crashed instance's socket does not keep the next one from starting.
    void aStaleSocketIsTakenOver() {
        const auto crashed = launch();
        QTRY_VERIFY2_WITH_TIMEOUT(hasBecomeTheInstance(*crashed), qPrintable(log()), kWaitMs);
        QVERIFY(!crashed->signalAndWait(SIGKILL)); // killed: no normal exit
        QVERIFY(QFileInfo::exists(instanceSocketPath()));

        const auto next = launch();
        QTRY_VERIFY2_WITH_TIMEOUT(hasBecomeTheInstance(*next), qPrintable(log()), kWaitMs);
        QVERIFY(log().contains(u"instance removed a stale socket"_s));
        expectActivates(*next);
    }

    // The relaunch's new instance waits while the old one is still there, and becomes the
    // instance once it has gone.
    void aRelaunchWaitsForThePreviousInstanceToEnd() {
        const auto previous = launch();
        QTRY_VERIFY2_WITH_TIMEOUT(hasBecomeTheInstance(*previous), qPrintable(log()), kWaitMs);

        const auto relaunched =
            launch(LinuxDesktopServices::relaunchArguments({}, previous->processId()));
        const QRegularExpressionMatch waiting = relaunched->waitForLine(QRegularExpression(
            u"^vesnara: waiting for the previous instance \\(pid (\\d+)\\) to end$"_s));
        QVERIFY2(waiting.hasMatch(), qPrintable(relaunched->output() + relaunched->errorOutput()));
        QCOMPARE(waiting.captured(1).toLongLong(), previous->processId());
        QVERIFY(!hasBecomeTheInstance(*relaunched));
        QCOMPARE(log().count(u"startup font registration invoked"_s), 1);

        previous->signalAndWait(SIGTERM);
        QTRY_VERIFY2_WITH_TIMEOUT(hasBecomeTheInstance(*relaunched), qPrintable(log()), kWaitMs);
        QTRY_COMPARE_WITH_TIMEOUT(log().count(u"startup font registration invoked"_s), 2, kWaitMs);
        expectActivates(*relaunched);
    }

    // This test as the running instance: it hears a launch's request, and a relaunch waiting
    // for it takes over once it closes normally (its socket removed, not left stale).
    void theRunningInstanceHearsTheRequestAndHandsOverOnClose() {
        auto running = std::make_unique<SingleInstance>(instanceSocketPath());
        QCOMPARE(running->acquire(std::nullopt, QDeadlineTimer(kWaitMs)).outcome,
                 SingleInstance::Outcome::primary);
        QSignalSpy requests(running.get(), &SingleInstance::activationRequested);
        const auto second = launch();
        const qint64 secondPid = second->processId();
        QTRY_COMPARE_WITH_TIMEOUT(requests.size(), 1, kWaitMs);
        QCOMPARE(requests.first().first().toLongLong(), secondPid);
        QVERIFY(second->waitForExit());
        QCOMPARE(second->exitCode(), 0);
        QVERIFY(second->output().startsWith(
            u"vesnara: already running (pid %1)"_s.arg(QCoreApplication::applicationPid())));

        const auto relaunched =
            launch(LinuxDesktopServices::relaunchArguments({}, QCoreApplication::applicationPid()));
        QTRY_VERIFY2_WITH_TIMEOUT(log().contains(u"instance waiting for pid=%1 to close"_s.arg(
                                      QCoreApplication::applicationPid())),
                                  qPrintable(log()), kWaitMs);
        QVERIFY(!hasBecomeTheInstance(*relaunched));
        running.reset();
        QTRY_VERIFY2_WITH_TIMEOUT(hasBecomeTheInstance(*relaunched), qPrintable(log()), kWaitMs);
        QVERIFY(!log().contains(u"instance removed a stale socket"_s));

        // And it answers a launch as the first one did.
        SingleInstance asker(instanceSocketPath());
        const SingleInstance::Result asked = asker.acquire(std::nullopt, QDeadlineTimer(kWaitMs));
        QCOMPARE(asked.outcome, SingleInstance::Outcome::activatedOther);
        QCOMPARE(asked.otherPid, relaunched->processId());
    }

private:
    std::optional<QTemporaryDir> m_directory;
    QString m_backendURL;
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "tst_single_instance.moc"
