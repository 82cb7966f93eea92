// The `vesnara` program: the desktop application over the composition root.
#include "AppOptions.h"
#include "SingleInstance.h"
#include "VesnaraApplication.h"
#include "model/DeploymentDefaults.h"
#include "storage/AppLog.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QWindow>

#include <chrono>

#include <cstdio>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// A running instance answers at once; one that is being replaced may first stop a recording
// and save it.
constexpr auto kActivationDeadline = 10s;
constexpr auto kReplaceDeadline = 30s;

} // namespace

int main(int argc, char* argv[]) {
    // Answered before the platform starts, so they work without a display.
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument(argv[i]);
        if (argument == "--help" || argument == "-h") {
            std::puts("Usage: vesnara [--backend-url URL] [--replace-pid PID]\n"
                      "  --backend-url URL  speech backend and auth service origin, stored as the\n"
                      "                     user's choice (e.g. http://127.0.0.1:8787)\n"
                      "  --replace-pid PID  wait until the running instance PID has ended instead\n"
                      "                     of bringing its window to the front (the relaunch\n"
                      "                     command passes it)\n"
                      "  --version          print the version and build number\n"
                      "A second launch brings the running window to the front and ends.");
            return 0;
        }
        if (argument == "--version") {
            std::printf(
                "vesnara %s (build %s)\n",
                qPrintable(QString::fromUtf16(vesnara::DeploymentDefaults::applicationVersion)),
                qPrintable(QString::fromUtf16(vesnara::DeploymentDefaults::applicationBuild)));
            return 0;
        }
    }

    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(u"Vesnara"_s);
    QGuiApplication::setOrganizationName(u"Vesnara"_s);
    QGuiApplication::setApplicationVersion(
        QString::fromUtf16(vesnara::DeploymentDefaults::applicationVersion));
    QGuiApplication::setDesktopFileName(u"vesnara"_s);

    const auto parsed = vesnara::AppOptions::parse(QGuiApplication::arguments());
    if (const auto* error = std::get_if<QString>(&parsed)) {
        std::fprintf(stderr, "vesnara: %s\n", qPrintable(*error));
        return 2;
    }

    const auto& options = std::get<vesnara::AppOptions>(parsed);

    // Outlives the application, so a launch that replaces this one starts only once it is gone.
    vesnara::SingleInstance instance(vesnara::SingleInstance::currentSocketPath());
    QObject::connect(&instance, &vesnara::SingleInstance::waitingFor, [](qint64 pid) {
        std::printf("vesnara: waiting for the previous instance (pid %lld) to end\n",
                    static_cast<long long>(pid));
        std::fflush(stdout);
    });
    const auto claimed = instance.acquire(
        options.replacePid,
        QDeadlineTimer(options.replacePid ? kReplaceDeadline : kActivationDeadline));
    switch (claimed.outcome) {
    case vesnara::SingleInstance::Outcome::activatedOther:
        std::printf("vesnara: already running (pid %lld); brought its window to the front\n",
                    static_cast<long long>(claimed.otherPid));
        return 0;
    case vesnara::SingleInstance::Outcome::failed:
        std::fprintf(stderr, "vesnara: %s\n", qPrintable(claimed.error));
        vesnara::AppLog::write(u"instance start refused error=%1"_s.arg(claimed.error));
        return 1;
    case vesnara::SingleInstance::Outcome::unguarded:
        std::fprintf(stderr, "vesnara: %s; a second launch will not find this window\n",
                     qPrintable(claimed.error));
        break;
    case vesnara::SingleInstance::Outcome::primary:
        break;
    }

    vesnara::VesnaraApplication vesnara(options);
    QQmlApplicationEngine engine;
    if (!vesnara.load(engine))
        return 1;
    QObject::connect(&instance, &vesnara::SingleInstance::activationRequested, &engine, [&engine] {
        const QList<QObject*> roots = engine.rootObjects();
        auto* window = roots.isEmpty() ? nullptr : qobject_cast<QWindow*>(roots.constFirst());
        if (!window)
            return;
        vesnara::SingleInstance::bringToFront(*window);
        vesnara::AppLog::write(u"instance window brought to the front"_s);
    });
    return QGuiApplication::exec();
}
