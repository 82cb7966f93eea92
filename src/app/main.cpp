// The `vesnara` program: the desktop application over the composition root.
#include "AppOptions.h"
#include "VesnaraApplication.h"
#include "model/DeploymentDefaults.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>

#include <cstdio>
#include <string_view>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[]) {
    // Answered before the platform starts, so they work without a display.
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument(argv[i]);
        if (argument == "--help" || argument == "-h") {
            std::puts("Usage: vesnara [--backend-url URL]\n"
                      "  --backend-url URL  speech backend and auth service origin, stored as the\n"
                      "                     user's choice (e.g. http://127.0.0.1:8787)\n"
                      "  --version          print the version and build number");
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

    vesnara::VesnaraApplication vesnara(std::get<vesnara::AppOptions>(parsed));
    QQmlApplicationEngine engine;
    if (!vesnara.load(engine))
        return 1;
    return QGuiApplication::exec();
}
