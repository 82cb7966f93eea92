// vesnara-refbackend: the reference backend as a process.
#include "model/DeploymentDefaults.h"
#include "refbackend/PocketSphinxDecoder.h"
#include "refbackend/RefBackend.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::refbackend;

namespace {

int signalPipe[2] = {-1, -1};

void onTerminationSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[0], &byte, 1);
}

// Turns SIGINT and SIGTERM into an orderly quit of the event loop.
void quitOnTerminationSignals(QCoreApplication& app) {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [&app] {
        char byte = 0;
        [[maybe_unused]] const auto read = ::read(signalPipe[1], &byte, 1);
        app.quit();
    });
    struct sigaction action {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

// A command line that cannot be used: says why on stderr and gives the exit code for it.
int usageError(const QString& message) {
    std::fprintf(stderr, "vesnara-refbackend: %s\n", qPrintable(message));
    return 2;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"vesnara-refbackend"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(VESNARA_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Vesnara reference backend: the speech backend's REST and stream protocol, for local use and tests."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption portOption(u"port"_s, u"Port to listen on (0 = any free port)."_s,
                                        u"port"_s, u"8787"_s);
    const QCommandLineOption bindOption(u"bind"_s, u"Address to listen on."_s, u"address"_s,
                                        u"127.0.0.1"_s);
    const QCommandLineOption dataOption(
        u"data-dir"_s, u"Directory for sessions, received audio and the update manifest."_s,
        u"directory"_s,
        QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
            .filePath(u"Vesnara-RefBackend"_s));
    const QCommandLineOption keyOption(u"api-key"_s, u"The x-api-key clients must send."_s,
                                       u"key"_s,
                                       QString::fromUtf16(DeploymentDefaults::sharedAPIKey));
    const QCommandLineOption recognizerOption(
        u"recognizer"_s,
        u"energy (detects speech), pocketsphinx (transcribes English) or scripted (silent until scripted)."_s,
        u"kind"_s, u"energy"_s);
    const QCommandLineOption speechModelOption(
        u"speech-model"_s, u"The pocketsphinx model directory of the pocketsphinx recognizer."_s,
        u"directory"_s, PocketSphinxDecoder::defaultModelDirectory());
    const QCommandLineOption tokenOption(
        u"token"_s, u"A session token to accept (repeatable), for the user demo@vesnara.local."_s,
        u"token"_s);
    const QCommandLineOption demoUserOption(
        u"demo-user"_s, u"An account to create if it does not exist yet, as email:password."_s,
        u"email:password"_s);
    const QCommandLineOption adminKeyOption(
        u"admin-key"_s, u"The X-Admin-Key of user administration (off when not given)."_s,
        u"key"_s);
    const QCommandLineOption idleStopOption(
        u"idle-stop-after"_s,
        u"Seconds after which a session whose stream closed without a stop is stopped (0 = never)."_s,
        u"seconds"_s, u"120"_s);
    parser.addOptions({portOption, bindOption, dataOption, keyOption, recognizerOption, tokenOption,
                       demoUserOption, adminKeyOption, idleStopOption, speechModelOption});
    parser.process(app);

    RefBackendOptions options;
    options.dataDirectory = parser.value(dataOption);
    options.apiKey = parser.value(keyOption);
    options.adminKey = parser.value(adminKeyOption);
    options.address = QHostAddress(parser.value(bindOption));
    if (options.address.isNull())
        return usageError(
            u"--bind wants an IP address, not \"%1\""_s.arg(parser.value(bindOption)));
    bool portOk = false;
    const uint port = parser.value(portOption).toUInt(&portOk);
    if (!portOk || port > 65535)
        return usageError(
            u"--port wants a number from 0 to 65535, not \"%1\""_s.arg(parser.value(portOption)));
    options.port = static_cast<quint16>(port);
    bool idleOk = false;
    const double idleSeconds = parser.value(idleStopOption).toDouble(&idleOk);
    if (!idleOk || !(idleSeconds >= 0.0) || idleSeconds > 86400.0)
        return usageError(u"--idle-stop-after wants seconds from 0 to 86400, not \"%1\""_s.arg(
            parser.value(idleStopOption)));
    options.idleStopLimit = std::chrono::milliseconds(std::llround(idleSeconds * 1000.0));
    const QString recognizer = parser.value(recognizerOption);
    if (recognizer == u"energy"_s)
        options.recognizer = RecognizerKind::energy;
    else if (recognizer == u"scripted"_s)
        options.recognizer = RecognizerKind::scripted;
    else if (recognizer == u"pocketsphinx"_s)
        options.recognizer = RecognizerKind::pocketsphinx;
    else
        return usageError(
            u"--recognizer wants energy, pocketsphinx or scripted, not \"%1\""_s.arg(recognizer));
    options.speechModelDirectory = parser.value(speechModelOption);

    // The value is not echoed: it holds a password.
    const QString demo = parser.value(demoUserOption);
    const qsizetype colon = demo.indexOf(u':');
    if (parser.isSet(demoUserOption) && (colon <= 0 || colon == demo.size() - 1))
        return usageError(u"--demo-user wants email:password"_s);
    if (options.recognizer == RecognizerKind::pocketsphinx) {
        // Load it once now, so a missing or broken model is reported here and not at the first
        // recording.
        if (const QString error = PocketSphinxDecoder::probe(options.speechModelDirectory);
            !error.isEmpty()) {
            std::fprintf(stderr, "vesnara-refbackend: %s\n", qPrintable(error));
            return 1;
        }
    }

    RefBackend backend(options);
    for (const QString& token : parser.values(tokenOption))
        backend.tokens().insert(token, u"demo@vesnara.local"_s, std::chrono::hours(24 * 365));
    if (parser.isSet(demoUserOption) && !backend.users().findByEmail(demo.left(colon)))
        backend.users().create(demo.left(colon), demo.mid(colon + 1), u"admin"_s);
    if (!backend.listen()) {
        std::fprintf(stderr, "vesnara-refbackend: %s\n", qPrintable(backend.errorString()));
        return 1;
    }
    quitOnTerminationSignals(app);
    std::printf("vesnara-refbackend listening on %s (data in %s, recognizer %s)\n",
                qPrintable(backend.baseUrl().toString()), qPrintable(options.dataDirectory),
                qPrintable(recognizer));
    std::fflush(stdout);
    return app.exec();
}
