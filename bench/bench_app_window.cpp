// The window's costs a user notices, in-process and offscreen through the composition root with
// the in-process reference backend, each beside a reference measured in the same run: the start
// to the login screen's first frame (a minimal QML window), the login to the main screen's first
// frame with 1,000 saved sessions (none), the idle resident memory on the main screen with a
// 10,000-line session loaded (an empty one), and one final line until the next frame with
// 10,000 lines shown (none).
#include "AppHarness.h"
#include "WindowDriver.h"
#include "storage/SessionHistoryStore.h"

#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kHistorySessions = 1000;
constexpr int kTranscriptLines = 10000;
constexpr auto kFrameLimit = std::chrono::seconds(20);
constexpr auto kIdleOnMainScreen = std::chrono::seconds(10);
const QString kMemoryChildOption = u"--memory-child="_s;

SavedSession makeSession(int index, int segmentCount) {
    SavedSession session;
    session.id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    session.createdAt = Timestamp::fromSecondsSinceReferenceDate(800000000.0 + index * 3600.0);
    session.endedAt = session.createdAt.addingSeconds(segmentCount * 1.08 + 1.0);
    session.language = u"fi-FI"_s;
    session.sttModel = u"chirp_3"_s;
    session.segments.reserve(segmentCount);
    for (int i = 0; i < segmentCount; ++i) {
        session.segments.append(
            TranscriptSegment{QUuid::createUuid(),
                              u"Tämä on tavallisen mittainen litteroitu rivi numero %1."_s.arg(i),
                              session.createdAt.addingSeconds(i * 1.08), u"S1"_s});
    }
    return session;
}

// 1,000 short meetings, as the history benchmark lists them, saved once a run (each save is an
// atomic write) and copied into the history directory of each benchmark that wants them.
void fillHistory(const QString& directory, int sessions) {
    static const QTemporaryDir saved;
    static const bool filled = [] {
        SessionHistoryStore store(saved.path());
        for (int i = 0; i < kHistorySessions; ++i)
            store.save(makeSession(i, 40));
        return true;
    }();
    Q_UNUSED(filled);
    const QDir from(saved.path());
    const QStringList files = from.entryList(QDir::Files, QDir::Name).mid(0, sessions);
    for (const QString& file : files)
        QFile::copy(from.filePath(file), QDir(directory).filePath(file));
}

QQuickItem* findLoader(QQuickItem* item) {
    if (item->inherits("QQuickLoader"))
        return item;
    const QList<QQuickItem*> children = item->childItems();
    for (QQuickItem* child : children) {
        if (QQuickItem* found = findLoader(child))
            return found;
    }
    return nullptr;
}

// The class of the screen the window's route shows, e.g. "LoginScreen_QMLTYPE_3".
QString routedScreen(QQuickWindow* window) {
    const QQuickItem* route = findLoader(window->contentItem());
    const auto* screen = route ? route->property("item").value<QObject*>() : nullptr;
    return screen ? QString::fromLatin1(screen->metaObject()->className()) : QString();
}

bool shows(QQuickWindow* window, QStringView screen) {
    return window && routedScreen(window).startsWith(screen);
}

// When the first frame after now was swapped at which `shown` held; nothing at the limit.
std::optional<Clock::time_point> nextFrame(QQuickWindow* window,
                                           const std::function<bool()>& shown) {
    std::optional<Clock::time_point> swappedAt;
    QEventLoop loop;
    const auto connection = QObject::connect(
        window, &QQuickWindow::frameSwapped, &loop,
        [&] {
            if (!swappedAt && shown()) {
                swappedAt = Clock::now();
                loop.quit();
            }
        },
        Qt::DirectConnection);
    QTimer::singleShot(kFrameLimit, &loop, &QEventLoop::quit);
    loop.exec();
    QObject::disconnect(connection);
    return swappedAt;
}

void runFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

// The application of one iteration is gone before the next begins, its window first (QML's
// singletons point into it), signed out so the next start shows the login screen again; the
// queued work of its aborted requests runs while the backend still listens.
void closeApplication(AppHarness& harness, std::optional<QQmlApplicationEngine>& engine) {
    engine.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (harness.application)
        harness.application->auth().logout();
    harness.application.reset();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// The window an engine creates, caught before it is shown so its first frame is not missed.
struct CreatedWindow {
    QQuickWindow* window = nullptr;

    explicit CreatedWindow(QQmlApplicationEngine& engine) {
        QObject::connect(
            &engine, &QQmlApplicationEngine::objectCreated, &engine,
            [this](QObject* created) { window = qobject_cast<QQuickWindow*>(created); });
    }
};

double secondsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

// A figure and its reference side by side in one run, timed by the clock each iteration reads.
void timedPair(benchmark::internal::Benchmark* benchmark, const char* argument, int64_t value,
               int64_t iterations) {
    benchmark->ArgName(argument)
        ->Arg(0)
        ->Arg(value)
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

// The application's window over one backend and history, opened and closed as often as needed;
// the start and login awaited as a user would see them.
struct AppWindow {
    AppHarness harness;
    std::optional<QQmlApplicationEngine> engine;
    WindowDriver driver;

    explicit AppWindow(const std::function<void(const QString&)>& fillHistoryDirectory) {
        fillHistoryDirectory(harness.historyDirectory.path());
    }
    ~AppWindow() { close(); }
    AppWindow(const AppWindow&) = delete;
    AppWindow& operator=(const AppWindow&) = delete;

    void close() { closeApplication(harness, engine); }

    // The login screen with both fields filled; false when it never came.
    bool openAndFill() {
        engine.emplace();
        if (!driver.loadWindow(harness.make(), *engine))
            return false;
        QQuickItem* email = nullptr;
        if (!QTest::qWaitFor(
                [&] {
                    return (email =
                                driver.control(UiText::loginEmailLabel, QAccessible::EditableText));
                },
                kEngineWaitMs))
            return false;
        driver.retype(email, AppHarness::email);
        driver.retype(driver.control(UiText::loginPasswordLabel, QAccessible::EditableText),
                      AppHarness::password);
        return true;
    }

    bool open() {
        if (!openAndFill())
            return false;
        QTest::keyClick(driver.m_window, Qt::Key_Return);
        return nextFrame(driver.m_window,
                         [this] { return shows(driver.m_window, u"MainScreenView"); })
            .has_value();
    }

    TranscriptionViewModel& viewModel() { return harness.application->viewModel(); }

    // The history's first session shown in the transcript, as "Lataa" does.
    bool loadFirstSession(qsizetype lines) {
        SessionHistory& history = *viewModel().history();
        history.refreshSessionHistory();
        if (history.sessionHistory().isEmpty())
            return false;
        history.loadSession(history.sessionHistory().constFirst().id);
        return viewModel().transcript()->segmentCount() == lines &&
               nextFrame(driver.m_window, [] { return true; }).has_value();
    }
};

// Start: the composition root built, the window loaded, the start check run, until the login
// screen's first frame. The harness (backend, history on disk) is made before the clock runs.
void BM_StartToLoginFrame(benchmark::State& state) {
    const auto sessions = static_cast<int>(state.range(0));
    AppWindow app([sessions](const QString& directory) { fillHistory(directory, sessions); });
    for (auto _ : state) {
        app.engine.emplace();
        const CreatedWindow created(*app.engine);
        const auto started = Clock::now();
        QQuickWindow* window = app.harness.make().load(*app.engine) ? created.window : nullptr;
        const auto swappedAt =
            window ? nextFrame(window, [window] { return shows(window, u"LoginScreen"); })
                   : std::nullopt;
        app.close();
        if (!swappedAt) {
            state.SkipWithError("no frame of the login screen");
            break;
        }
        state.SetIterationTime(secondsBetween(started, *swappedAt));
    }
}
BENCHMARK(BM_StartToLoginFrame)->Apply([](benchmark::internal::Benchmark* benchmark) {
    timedPair(benchmark, "savedSessions", kHistorySessions, 8);
});

// The reference: the first frame of a window with one rectangle and one line of text.
void BM_MinimalWindowFirstFrame(benchmark::State& state) {
    static const QByteArray minimal = R"(import QtQuick
Window {
    width: 1100; height: 820; visible: true
    Rectangle { anchors.fill: parent; color: "#f4f6f8"
        Text { anchors.centerIn: parent; text: "Vesnara"; font.pixelSize: 24 } }
})";
    for (auto _ : state) {
        std::optional<QQmlApplicationEngine> engine(std::in_place);
        const CreatedWindow created(*engine);
        const auto started = Clock::now();
        engine->loadData(minimal);
        const auto swappedAt =
            created.window ? nextFrame(created.window, [] { return true; }) : std::nullopt;
        engine.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!swappedAt) {
            state.SkipWithError("the minimal window showed no frame");
            break;
        }
        state.SetIterationTime(secondsBetween(started, *swappedAt));
    }
}
BENCHMARK(BM_MinimalWindowFirstFrame)
    ->Iterations(8)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// Login: from Return in the password field, through the backend's login over loopback, until
// the main screen's first frame.
void BM_LoginToMainFrame(benchmark::State& state) {
    const auto sessions = static_cast<int>(state.range(0));
    double answered = 0;
    double answerToFrame = 0;
    AppWindow window([sessions](const QString& directory) { fillHistory(directory, sessions); });
    for (auto _ : state) {
        if (!window.openAndFill()) {
            state.SkipWithError("no login screen");
            break;
        }
        QQuickWindow* shown = window.driver.m_window;
        // The backend answering (its password hash runs on this thread too) apart from the
        // screen's own part, from the answer to the frame.
        std::optional<Clock::time_point> answeredAt;
        AuthManager& auth = window.harness.application->auth();
        QObject::connect(&auth, &AuthManager::isAuthenticatedChanged, &auth, [&] {
            if (!answeredAt && auth.isAuthenticated())
                answeredAt = Clock::now();
        });
        const auto started = Clock::now();
        QTest::keyClick(shown, Qt::Key_Return);
        const auto swappedAt =
            nextFrame(shown, [shown] { return shows(shown, u"MainScreenView"); });
        if (!swappedAt || !answeredAt) {
            state.SkipWithError("no frame of the main screen");
            break;
        }
        state.SetIterationTime(secondsBetween(started, *swappedAt));
        answered += secondsBetween(started, *answeredAt);
        answerToFrame += secondsBetween(*answeredAt, *swappedAt);
        window.close();
    }
    state.counters["answered_ms"] =
        benchmark::Counter(answered * 1e3, benchmark::Counter::kAvgIterations);
    state.counters["answerToFrame_ms"] =
        benchmark::Counter(answerToFrame * 1e3, benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_LoginToMainFrame)->Apply([](benchmark::internal::Benchmark* benchmark) {
    timedPair(benchmark, "savedSessions", kHistorySessions, 8);
});

// One final line, as a stream's final event adds it, until the next frame: onto the 10,000 lines
// of a loaded session, or onto an empty transcript (emptied again outside the clock).
void BM_FinalLineToFrame(benchmark::State& state) {
    const auto lines = static_cast<int>(state.range(0));
    AppWindow window([lines](const QString& directory) {
        if (lines > 0)
            SessionHistoryStore(directory).save(makeSession(0, lines));
    });
    if (!window.open() || (lines > 0 && !window.loadFirstSession(lines))) {
        state.SkipWithError("no main screen with the transcript");
        return;
    }
    SessionTranscript& transcript = *window.viewModel().transcript();
    const Timestamp base = Timestamp::fromSecondsSinceReferenceDate(900000000.0);
    int added = 0;
    double adding = 0;
    for (auto _ : state) {
        const FinalLine line{u"Viimeinen rivi numero %1, juuri sanottu."_s.arg(added),
                             base.addingSeconds(added * 2.0), u"S1"_s, DuplicateCheck::byKey};
        ++added;
        const auto started = Clock::now();
        if (!transcript.addFinalLine(line)) {
            state.SkipWithError("the line was not added");
            break;
        }
        const auto addedAt = Clock::now();
        const auto swappedAt = nextFrame(window.driver.m_window, [] { return true; });
        if (!swappedAt) {
            state.SkipWithError("no frame after the line");
            break;
        }
        state.SetIterationTime(secondsBetween(started, *swappedAt));
        adding += secondsBetween(started, addedAt);
        if (lines == 0) {
            transcript.clear();
            nextFrame(window.driver.m_window, [] { return true; });
        }
    }
    // The model's and the bindings' part, before the window's next frame.
    state.counters["add_ms"] = benchmark::Counter(adding * 1e3, benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_FinalLineToFrame)->Apply([](benchmark::internal::Benchmark* benchmark) {
    timedPair(benchmark, "lines", kTranscriptLines, 40);
});

qint64 residentKiB() {
    QFile statm(u"/proc/self/statm"_s);
    if (!statm.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLongLong() * (sysconf(_SC_PAGESIZE) / 1024) : -1;
}

// A fresh process of this program for each figure: an earlier benchmark's heap would count too.
// It logs in, loads the session when asked, sits 10 s on the main screen and prints its RSS.
int runMemoryChild(int argc, char** argv, const QString& what) {
    QGuiApplication application(argc, argv);
    const bool loaded = what == u"loaded"_s;
    AppWindow window([loaded](const QString& directory) {
        if (loaded)
            SessionHistoryStore(directory).save(makeSession(0, kTranscriptLines));
    });
    if (!window.open() || (loaded && !window.loadFirstSession(kTranscriptLines)))
        return 1;
    runFor(kIdleOnMainScreen);
    std::printf("rss_kib=%lld\n", static_cast<long long>(residentKiB()));
    return 0;
}

void BM_IdleResidentMemory(benchmark::State& state) {
    const QString what = state.range(0) == 0 ? u"empty"_s : u"loaded"_s;
    for (auto _ : state) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {kMemoryChildOption + what});
        const bool finished = child.waitForFinished(60'000);
        const QByteArray output = child.readAllStandardOutput();
        const qsizetype at = output.indexOf("rss_kib=");
        if (!finished || child.exitCode() != 0 || at < 0) {
            state.SkipWithError("the measuring process failed");
            break;
        }
        const double kib = output.mid(at + 8).trimmed().toDouble();
        state.counters["rss_MiB"] = kib / 1024.0;
    }
}
BENCHMARK(BM_IdleResidentMemory)
    ->ArgName("transcriptLines")
    ->Arg(0)
    ->Arg(kTranscriptLines)
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (argument.startsWith(kMemoryChildOption))
            return runMemoryChild(argc, argv, argument.mid(kMemoryChildOption.size()));
    }
    QGuiApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
