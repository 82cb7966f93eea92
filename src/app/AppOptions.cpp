#include "AppOptions.h"

#include "LinuxDesktopServices.h"
#include "auth/AuthManager.h"

#include <QCommandLineParser>

using namespace Qt::StringLiterals;

namespace vesnara {

std::variant<AppOptions, QString> AppOptions::parse(const QStringList& arguments) {
    QCommandLineParser parser;
    const QCommandLineOption backend(
        u"backend-url"_s, u"Speech backend and auth service origin, e.g. http://127.0.0.1:8787"_s,
        u"url"_s);
    parser.addOption(backend);
    const QCommandLineOption replace(QString::fromUtf16(LinuxDesktopServices::replacePidOption),
                                     u"Instance to wait for instead of activating"_s, u"pid"_s);
    parser.addOption(replace);
    // Qt's own options (-platform, -style, …) are taken out by QGuiApplication before this.
    if (!parser.parse(arguments))
        return parser.errorText();
    if (!parser.positionalArguments().isEmpty())
        return u"unexpected argument: "_s + parser.positionalArguments().constFirst();

    AppOptions options;
    if (parser.isSet(backend)) {
        const auto normalized = AuthManager::normalizeAuthURL(parser.value(backend));
        const QUrl url(normalized.value_or(QString{}));
        if (!normalized || !url.isValid() || url.host().isEmpty() ||
            (url.scheme() != u"http"_s && url.scheme() != u"https"_s))
            return u"--backend-url needs an http or https origin, not \""_s +
                   parser.value(backend) + u'"';
        options.backendURL = *normalized;
    }
    if (parser.isSet(replace)) {
        bool ok = false;
        const qint64 pid = parser.value(replace).toLongLong(&ok);
        if (!ok || pid <= 0)
            return u"--replace-pid needs a process id, not \""_s + parser.value(replace) + u'"';
        options.replacePid = pid;
    }
    return options;
}

} // namespace vesnara
