// vesnara-refbackend as a user runs it: each option's effect over real HTTP and WebSocket on
// loopback, the command lines it refuses, and its orderly end on SIGTERM and SIGINT.
#include "model/DeploymentDefaults.h"
#include "refbackend/ChildProcess.h"
#include "refbackend/PocketSphinxDecoder.h"
#include "support/SpeechClips.h"
#include "support/TestHttp.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QWebSocket>

#include <optional>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

const QString kProgram = QString::fromUtf8(VESNARA_REFBACKEND_PATH);
const QString kDemoEmail = u"demo@vesnara.local"_s;
const QRegularExpression kListeningLine(
    u"^vesnara-refbackend listening on (\\S+) \\(data in (.+), recognizer (\\w+)\\)$"_s);

QByteArray sharedAPIKey() {
    return QString::fromUtf16(DeploymentDefaults::sharedAPIKey).toUtf8();
}

QByteArray json(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// A second of a loud 200 Hz square wave: speech to the energy recogniser.
QByteArray loudSecond() {
    QByteArray pcm;
    for (int i = 0; i < 16000; ++i) {
        const qint16 sample = (i / 40) % 2 ? 8000 : -8000;
        pcm.append(char(sample & 0xff)).append(char((sample >> 8) & 0xff));
    }
    return pcm;
}

} // namespace

class RefBackendCliTest : public QObject {
    Q_OBJECT

    // Starts it with `arguments` and waits until it says where it listens. The user's data
    // directory is this test's, so the default `--data-dir` lands there too.
    std::optional<QRegularExpressionMatch> launch(ChildProcess& backend,
                                                  const QStringList& arguments) {
        backend.setEnvironmentValue(u"HOME"_s, m_directory->filePath(u"home"_s));
        backend.setEnvironmentValue(u"XDG_DATA_HOME"_s, m_directory->filePath(u"xdg-data"_s));
        if (!backend.start(arguments))
            return std::nullopt;
        const QRegularExpressionMatch listening = backend.waitForLine(kListeningLine);
        if (!listening.hasMatch()) {
            qWarning("no listening line; stderr: %s", qPrintable(backend.errorOutput()));
            return std::nullopt;
        }
        return listening;
    }

    QUrl launchAt(ChildProcess& backend, const QStringList& arguments) {
        const auto listening = launch(backend, arguments);
        return listening ? QUrl(listening->captured(1)) : QUrl();
    }

    QString dataDirectory(const QString& name) const { return m_directory->filePath(name); }
    QStringList withData(QStringList arguments) const {
        return arguments << u"--data-dir"_s << dataDirectory(u"data"_s);
    }

    HttpAnswer call(const QByteArray& method, const QUrl& base, const QString& path,
                    const QByteArray& body = {},
                    const QList<std::pair<QByteArray, QByteArray>>& headers = {}) {
        return httpCall(m_network, method, base.resolved(QUrl(path)), body, headers);
    }

    HttpAnswer speech(const QByteArray& method, const QUrl& base, const QString& path,
                      const QByteArray& token, const QByteArray& body = {}) {
        return call(method, base, path, body,
                    {{"x-api-key", sharedAPIKey()}, {"x-auth-token", token}});
    }

    QString createSession(const QUrl& base, const QByteArray& token, QString* wsUrl = nullptr) {
        const HttpAnswer created = speech("POST", base, u"/v1/sessions"_s, token,
                                          json({{u"language"_s, u"fi-FI"_s},
                                                {u"enableInterim"_s, true},
                                                {u"sttModel"_s, u"chirp_3"_s},
                                                {u"enableSpeakerDiarization"_s, false},
                                                {u"speakerCount"_s, 0}}));
        if (created.status != 201)
            qWarning("session not created: %d %s", created.status, created.body.constData());
        if (wsUrl)
            *wsUrl = created.json().value(u"wsUrl"_s).toString();
        return created.json().value(u"sessionId"_s).toString();
    }

    QStringList sessionIds(const QUrl& base, const QByteArray& token) {
        QStringList ids;
        const HttpAnswer listed = speech("GET", base, u"/v1/sessions"_s, token);
        for (const QJsonValue& item : listed.json().value(u"items"_s).toArray())
            ids.append(item.toObject().value(u"id"_s).toString());
        return ids;
    }

    HttpAnswer login(const QUrl& base, const QString& email, const QString& password) {
        return call("POST", base, u"/auth/login"_s,
                    json({{u"email"_s, email}, {u"password"_s, password}}));
    }

    // Connects to the session's stream and sends its start; false when it does not connect.
    static bool openAndStart(QWebSocket& socket, const QString& wsUrl) {
        QSignalSpy connected(&socket, &QWebSocket::connected);
        socket.open(QUrl(wsUrl));
        if (!connected.wait(10000))
            return false;
        socket.sendTextMessage(QString::fromUtf8(json({{u"type"_s, u"start"_s},
                                                       {u"language"_s, u"fi-FI"_s},
                                                       {u"sttModel"_s, u"chirp_3"_s}})));
        return true;
    }

    // SIGTERM, and the exit code 0 of an orderly end.
    static bool stop(ChildProcess& backend) {
        return backend.signalAndWait(SIGTERM) && backend.exitCode() == 0;
    }

private Q_SLOTS:
    void init() { m_directory.emplace(); }
    void cleanup() { m_directory.reset(); }

    void listensWhereItIsTold_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("port");
        const int freePort = closedLoopbackPort();
        QTest::newRow("any free port") << QStringList{u"--port"_s, u"0"_s} << u"127.0.0.1"_s << 0;
        QTest::newRow("a given port")
            << QStringList{u"--port"_s, QString::number(freePort)} << u"127.0.0.1"_s << freePort;
        QTest::newRow("another loopback address")
            << QStringList{u"--bind"_s, u"127.0.0.2"_s, u"--port"_s, u"0"_s} << u"127.0.0.2"_s << 0;
    }
    void listensWhereItIsTold() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, host);
        QFETCH(int, port);
        ChildProcess backend(kProgram);
        const QUrl base = launchAt(backend, withData(arguments));
        QVERIFY(base.isValid());
        QCOMPARE(base.host(), host);
        QVERIFY(base.port() > 0);
        if (port != 0)
            QCOMPARE(base.port(), port);

        const HttpAnswer health = call("GET", base, u"/health"_s);
        QCOMPARE(health.status, 200);
        QCOMPARE(health.json().value(u"ok"_s), QJsonValue(true));
        if (host != u"127.0.0.1"_s) {
            QUrl elsewhere = base;
            elsewhere.setHost(u"127.0.0.1"_s);
            QCOMPARE(call("GET", elsewhere, u"/health"_s).status, 0);
        }
        QVERIFY(stop(backend));
        QCOMPARE(call("GET", base, u"/health"_s).status, 0);
    }

    void refusesAnUnusableCommandLine_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("says");
        QTest::addColumn<QString>("secret");
        QTest::newRow("unknown recogniser")
            << QStringList{u"--recognizer"_s, u"whisper"_s} << 2
            << u"--recognizer wants energy, pocketsphinx or scripted"_s << QString();
        QTest::newRow("port not a number")
            << QStringList{u"--port"_s, u"http"_s} << 2 << u"--port wants a number"_s << QString();
        QTest::newRow("port out of range")
            << QStringList{u"--port"_s, u"65536"_s} << 2 << u"--port wants a number"_s << QString();
        QTest::newRow("bind to a host name") << QStringList{u"--bind"_s, u"localhost"_s} << 2
                                             << u"--bind wants an IP address"_s << QString();
        QTest::newRow("demo user without a colon")
            << QStringList{u"--demo-user"_s, u"demo-salasana1"_s} << 2
            << u"--demo-user wants email:password"_s << u"salasana1"_s;
        QTest::newRow("demo user without a password")
            << QStringList{u"--demo-user"_s, u"demo@vesnara.local:"_s} << 2
            << u"--demo-user wants email:password"_s << QString();
        QTest::newRow("demo user without an address")
            << QStringList{u"--demo-user"_s, u":salasana1"_s} << 2
            << u"--demo-user wants email:password"_s << u"salasana1"_s;
        QTest::newRow("idle limit not a number")
            << QStringList{u"--idle-stop-after"_s, u"soon"_s} << 2
            << u"--idle-stop-after wants seconds"_s << QString();
        QTest::newRow("idle limit negative") << QStringList{u"--idle-stop-after"_s, u"-1"_s} << 2
                                             << u"--idle-stop-after wants seconds"_s << QString();
        QTest::newRow("speech model missing")
            << QStringList{u"--recognizer"_s, u"pocketsphinx"_s, u"--speech-model"_s,
                           u"/nonexistent/vesnara-model"_s}
            << 1 << u"speech model not found: /nonexistent/vesnara-model"_s << QString();
        QTest::newRow("unknown option")
            << QStringList{u"--colour"_s, u"blue"_s} << 1 << u"colour"_s << QString();
    }
    void refusesAnUnusableCommandLine() {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, says);
        QFETCH(QString, secret);
        ChildProcess backend(kProgram);
        QVERIFY(backend.start(withData(arguments)));
        QVERIFY(backend.waitForExit());
        QCOMPARE(backend.exitCode(), exitCode);
        const QString errors = backend.errorOutput();
        QVERIFY2(errors.contains(says), qPrintable(errors));
        if (!secret.isEmpty())
            QVERIFY2(!errors.contains(secret), qPrintable(errors));
        QVERIFY(!backend.output().contains(u"listening"_s));
        // Refused before anything is stored.
        QVERIFY(!QFileInfo::exists(dataDirectory(u"data"_s)));
    }

    void aTakenPortEndsWithExitCodeOne() {
        QTcpServer occupant;
        QVERIFY(occupant.listen(QHostAddress::LocalHost, 0));
        ChildProcess backend(kProgram);
        QVERIFY(backend.start(withData({u"--port"_s, QString::number(occupant.serverPort())})));
        QVERIFY(backend.waitForExit());
        QCOMPARE(backend.exitCode(), 1);
        QVERIFY(backend.errorOutput().contains(
            u"cannot listen on 127.0.0.1:%1"_s.arg(occupant.serverPort())));
    }

    void keepsItsFilesInTheDataDirectory_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("directory");
        QTest::newRow("given") << QStringList{u"--data-dir"_s, u"given/dir"_s} << u"given/dir"_s;
        QTest::newRow("default") << QStringList{} << u"xdg-data/Vesnara-RefBackend"_s;
    }
    void keepsItsFilesInTheDataDirectory() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, directory);
        if (!arguments.isEmpty())
            arguments.last() = dataDirectory(arguments.last());
        const QString expected = dataDirectory(directory);
        QString sessionId;
        {
            ChildProcess backend(kProgram);
            const auto listening =
                launch(backend, arguments + QStringList{u"--token"_s, u"eka"_s, u"--demo-user"_s,
                                                        kDemoEmail + u":salasana1"_s});
            QVERIFY(listening);
            QCOMPARE(listening->captured(2), expected);
            const QUrl base(listening->captured(1));
            QVERIFY(QFileInfo::exists(expected + u"/users.json"_s));
            sessionId = createSession(base, "eka");
            QVERIFY(!sessionId.isEmpty());
            QVERIFY(QFileInfo::exists(expected + u"/sessions/"_s + sessionId + u"/session.json"_s));
            QVERIFY(stop(backend));
        }
        // A new run over the same directory has the account and the session back.
        ChildProcess backend(kProgram);
        const QUrl base = launchAt(backend, arguments + QStringList{u"--token"_s, u"toka"_s});
        QVERIFY(base.isValid());
        QCOMPARE(sessionIds(base, "toka"), QStringList{sessionId});
        QCOMPARE(login(base, kDemoEmail, u"salasana1"_s).status, 200);
        QVERIFY(stop(backend));
    }

    void speechRequestsNeedItsAPIKey_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QByteArray>("wrongKey");
        QTest::newRow("the client's shared key by default")
            << QStringList{} << sharedAPIKey() << QByteArray("oma-avain");
        QTest::newRow("a key of its own") << QStringList{u"--api-key"_s, u"oma-avain"_s}
                                          << QByteArray("oma-avain") << sharedAPIKey();
    }
    void speechRequestsNeedItsAPIKey() {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, key);
        QFETCH(QByteArray, wrongKey);
        ChildProcess backend(kProgram);
        const QUrl base = launchAt(backend, withData(arguments << u"--token"_s << u"eka"_s));
        QVERIFY(base.isValid());
        const auto statusWithKey = [&](const QByteArray& apiKey) {
            QList<std::pair<QByteArray, QByteArray>> headers{{"x-auth-token", "eka"}};
            if (!apiKey.isNull())
                headers.append({"x-api-key", apiKey});
            return call("GET", base, u"/v1/sessions"_s, {}, headers).status;
        };
        QCOMPARE(statusWithKey(key), 200);
        QCOMPARE(statusWithKey(wrongKey), 401);
        QCOMPARE(statusWithKey({}), 401);
        QCOMPARE(call("GET", base, u"/health"_s).status, 200);
        QVERIFY(stop(backend));
    }

    void theRecognizerAnswersTheStream_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("reportsSpeech");
        QTest::newRow("energy by default") << QStringList{} << true;
        QTest::newRow("energy") << QStringList{u"--recognizer"_s, u"energy"_s} << true;
        QTest::newRow("scripted") << QStringList{u"--recognizer"_s, u"scripted"_s} << false;
    }
    void theRecognizerAnswersTheStream() {
        QFETCH(QStringList, arguments);
        QFETCH(bool, reportsSpeech);
        ChildProcess backend(kProgram);
        const QUrl base = launchAt(backend, withData(arguments << u"--token"_s << u"eka"_s));
        QVERIFY(base.isValid());
        QString wsUrl;
        const QString sessionId = createSession(base, "eka", &wsUrl);
        QVERIFY(!sessionId.isEmpty());

        QWebSocket socket;
        QList<QJsonObject> events;
        connect(&socket, &QWebSocket::textMessageReceived, this, [&events](const QString& text) {
            events.append(QJsonDocument::fromJson(text.toUtf8()).object());
        });
        QVERIFY(openAndStart(socket, wsUrl));
        QTRY_COMPARE_WITH_TIMEOUT(events.size(), qsizetype(1), 10000);
        QCOMPARE(events.first().value(u"state"_s).toString(), u"listening"_s);
        socket.sendBinaryMessage(loudSecond());
        socket.sendTextMessage(QString::fromUtf8(json({{u"type"_s, u"stop"_s}})));
        // The server answers a ping after everything sent before it.
        QSignalSpy pong(&socket, &QWebSocket::pong);
        socket.ping();
        QVERIFY(pong.wait(10000));

        QStringList types;
        for (const QJsonObject& event : std::as_const(events))
            types.append(event.value(u"type"_s).toString());
        const HttpAnswer transcript =
            speech("GET", base, u"/v1/sessions/"_s + sessionId + u"/transcript"_s, "eka");
        const QJsonArray segments = transcript.json().value(u"segments"_s).toArray();
        if (reportsSpeech) {
            // Listening, one or more partials while the sound goes on, then the final at stop.
            QVERIFY2(types.size() >= 3, qPrintable(types.join(u' ')));
            QCOMPARE(types.first(), u"status"_s);
            QCOMPARE(types.last(), u"final"_s);
            QCOMPARE(types.count(u"partial"_s), types.size() - 2);
            QVERIFY(events[1].value(u"text"_s).toString().startsWith(u"Puhetta havaittu"_s));
            QCOMPARE(events.last().value(u"text"_s).toString(), u"[Puhetta 1,0 s]"_s);
            QCOMPARE(segments.size(), qsizetype(1));
        } else {
            QCOMPARE(types, QStringList{u"status"_s});
            QCOMPARE(segments.size(), qsizetype(0));
        }
        socket.close();
        QVERIFY(stop(backend));
    }

    // Recorded English over the stream: partials of the running hypothesis, then a final that
    // the session's transcript keeps.
    void pocketsphinxTranscribesTheStream() {
        const QString model = refbackend::PocketSphinxDecoder::defaultModelDirectory();
        if (const QString missing = refbackend::PocketSphinxDecoder::missingModelPath(model);
            !missing.isEmpty())
            QSKIP(qPrintable(u"no speech model (scripts/setup installs it): "_s + missing));
        QString error;
        const QList<SpeechClip> clips = speechClips(librivoxDirectory(), &error);
        if (clips.isEmpty())
            QSKIP(qPrintable(error));
        // The shortest clip: the decoder runs slower than real time on a busy machine.
        const SpeechClip& clip = *std::min_element(
            clips.cbegin(), clips.cend(), [](const SpeechClip& a, const SpeechClip& b) {
                return QFileInfo(a.wavPath).size() < QFileInfo(b.wavPath).size();
            });

        ChildProcess backend(kProgram);
        const auto listening =
            launch(backend, withData({u"--token"_s, u"eka"_s, u"--recognizer"_s, u"pocketsphinx"_s,
                                      u"--speech-model"_s, model}));
        QVERIFY(listening);
        QCOMPARE(listening->captured(3), u"pocketsphinx"_s);
        const QUrl base(listening->captured(1));
        QCOMPARE(call("GET", base, u"/health"_s).json().value(u"openAIModel"_s).toString(),
                 u"pocketsphinx-en-us"_s);
        QString wsUrl;
        const QString sessionId = createSession(base, "eka", &wsUrl);
        QVERIFY(!sessionId.isEmpty());

        QWebSocket socket;
        QStringList types;
        QString finalText;
        connect(&socket, &QWebSocket::textMessageReceived, this, [&](const QString& text) {
            const QJsonObject event = QJsonDocument::fromJson(text.toUtf8()).object();
            types.append(event.value(u"type"_s).toString());
            if (types.last() == u"final"_s)
                finalText = event.value(u"text"_s).toString();
        });
        QVERIFY(openAndStart(socket, wsUrl));
        const QByteArray pcm = wavPcm16(clip.wavPath) + QByteArray(32000, '\0');
        for (qsizetype at = 0; at < pcm.size(); at += 3200)
            socket.sendBinaryMessage(pcm.mid(at, 3200));
        socket.sendTextMessage(QString::fromUtf8(json({{u"type"_s, u"stop"_s}})));
        QTRY_VERIFY_WITH_TIMEOUT(types.contains(u"final"_s), 60000);
        QCOMPARE(types.first(), u"status"_s);
        QVERIFY2(types.indexOf(u"partial"_s) > 0 &&
                     types.indexOf(u"partial"_s) < types.indexOf(u"final"_s),
                 qPrintable(types.join(u' ')));
        QVERIFY2(wordErrors(clip.reference, finalText).errors < clip.reference.count(u' '),
                 qPrintable(finalText));
        const QJsonArray segments =
            speech("GET", base, u"/v1/sessions/"_s + sessionId + u"/transcript"_s, "eka")
                .json()
                .value(u"segments"_s)
                .toArray();
        QVERIFY(!segments.isEmpty());
        QCOMPARE(segments.first().toObject().value(u"text"_s).toString(), finalText);
        socket.close();
        QVERIFY(stop(backend));
    }

    // A client killed mid-recording: its stream drops without a stop message or a stop request.
    // After the idle limit the session is stopped and keeps what the recogniser heard.
    void aStreamGoneWithoutAStopEndsItsSession() {
        ChildProcess backend(kProgram);
        const QUrl base =
            launchAt(backend, withData({u"--token"_s, u"eka"_s, u"--idle-stop-after"_s, u"0.2"_s}));
        QVERIFY(base.isValid());
        QString wsUrl;
        const QString sessionId = createSession(base, "eka", &wsUrl);
        QVERIFY(!sessionId.isEmpty());
        const QString metaPath = u"/v1/sessions/"_s + sessionId;

        QWebSocket socket;
        QVERIFY(openAndStart(socket, wsUrl));
        socket.sendBinaryMessage(loudSecond());
        QSignalSpy pong(&socket, &QWebSocket::pong);
        socket.ping();
        QVERIFY(pong.wait(10000));
        QCOMPARE(speech("GET", base, metaPath, "eka").json().value(u"status"_s).toString(),
                 u"active"_s);
        socket.abort();

        QTRY_COMPARE_WITH_TIMEOUT(
            speech("GET", base, metaPath, "eka").json().value(u"status"_s).toString(), u"stopped"_s,
            10000);
        const QJsonObject meta = speech("GET", base, metaPath, "eka").json();
        QVERIFY(!meta.value(u"endedAt"_s).toString().isEmpty());
        const QJsonArray segments = speech("GET", base, metaPath + u"/transcript"_s, "eka")
                                        .json()
                                        .value(u"segments"_s)
                                        .toArray();
        QCOMPARE(segments.size(), qsizetype(1));
        QCOMPARE(segments.first().toObject().value(u"text"_s).toString(), u"[Puhetta 1,0 s]"_s);
        QVERIFY(stop(backend));
    }

    void tokensStandForTheDemoUser() {
        ChildProcess backend(kProgram);
        const QUrl base =
            launchAt(backend, withData({u"--token"_s, u"eka"_s, u"--token"_s, u"toka"_s,
                                        u"--demo-user"_s, kDemoEmail + u":salasana1"_s}));
        QVERIFY(base.isValid());
        for (const QByteArray token : {"eka", "toka"}) {
            const HttpAnswer verified =
                call("POST", base, u"/auth/verify"_s, {}, {{"Authorization", "Bearer " + token}});
            QCOMPARE(verified.status, 200);
            QCOMPARE(verified.json().value(u"user"_s)[u"email"_s].toString(), kDemoEmail);
        }
        // The same user's sessions, whichever way the user came in.
        const QString sessionId = createSession(base, "eka");
        QVERIFY(!sessionId.isEmpty());
        QCOMPARE(sessionIds(base, "toka"), QStringList{sessionId});
        const QByteArray loginToken =
            login(base, kDemoEmail, u"salasana1"_s).json().value(u"token"_s).toString().toUtf8();
        QVERIFY(!loginToken.isEmpty());
        QCOMPARE(sessionIds(base, loginToken), QStringList{sessionId});

        QCOMPARE(speech("GET", base, u"/v1/sessions"_s, "kolmas").status, 401);
        QCOMPARE(
            call("POST", base, u"/auth/verify"_s, {}, {{"Authorization", "Bearer kolmas"}}).status,
            401);
        QVERIFY(stop(backend));
    }

    void theDemoUserSignsIn() {
        const QString email = u"maija@example.test"_s;
        {
            ChildProcess backend(kProgram);
            const QUrl base =
                launchAt(backend, withData({u"--demo-user"_s, email + u":salasana1"_s}));
            QVERIFY(base.isValid());
            const HttpAnswer signedIn = login(base, email, u"salasana1"_s);
            QCOMPARE(signedIn.status, 200);
            QCOMPARE(signedIn.json().value(u"user"_s)[u"email"_s].toString(), email);
            QCOMPARE(signedIn.json().value(u"user"_s)[u"role"_s].toString(), u"admin"_s);
            QCOMPARE(login(base, email, u"salasana2"_s).status, 401);
            QVERIFY(stop(backend));
        }
        // An account that exists already is left as it is.
        ChildProcess backend(kProgram);
        const QUrl base = launchAt(backend, withData({u"--demo-user"_s, email + u":salasana2"_s}));
        QVERIFY(base.isValid());
        QCOMPARE(login(base, email, u"salasana1"_s).status, 200);
        QCOMPARE(login(base, email, u"salasana2"_s).status, 401);
        QVERIFY(stop(backend));
    }

    void theAdminKeyOpensAdministration_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("sentKey");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("detail");
        const QStringList withKey{u"--admin-key"_s, u"hallinta-avain"_s};
        QTest::newRow("the key") << withKey << QByteArray("hallinta-avain") << 200 << QString();
        QTest::newRow("another key")
            << withKey << QByteArray("arvaus") << 401 << u"Virheellinen admin-avain."_s;
        QTest::newRow("no key") << withKey << QByteArray() << 401 << u"Virheellinen admin-avain."_s;
        QTest::newRow("administration off") << QStringList{} << QByteArray("hallinta-avain") << 403
                                            << u"Käyttäjähallinta ei ole käytössä."_s;
    }
    void theAdminKeyOpensAdministration() {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, sentKey);
        QFETCH(int, status);
        QFETCH(QString, detail);
        ChildProcess backend(kProgram);
        const QUrl base = launchAt(
            backend, withData(arguments << u"--demo-user"_s << kDemoEmail + u":salasana1"_s));
        QVERIFY(base.isValid());
        QList<std::pair<QByteArray, QByteArray>> headers;
        if (!sentKey.isNull())
            headers.append({"X-Admin-Key", sentKey});
        const HttpAnswer listed = call("GET", base, u"/admin/users"_s, {}, headers);
        QCOMPARE(listed.status, status);
        if (status == 200) {
            const QJsonArray users = listed.json().value(u"users"_s).toArray();
            QCOMPARE(users.size(), qsizetype(1));
            QCOMPARE(users.first()[u"email"_s].toString(), kDemoEmail);
        } else {
            QCOMPARE(listed.json().value(u"detail"_s).toString(), detail);
        }
        QVERIFY(stop(backend));
    }

    void helpAndVersion_data() {
        QTest::addColumn<QString>("option");
        QTest::addColumn<QStringList>("says");
        QTest::newRow("help") << u"--help"_s
                              << QStringList{u"--port"_s,        u"--bind"_s,       u"--data-dir"_s,
                                             u"--api-key"_s,     u"--recognizer"_s, u"--token"_s,
                                             u"--demo-user"_s,   u"--admin-key"_s,  u"--version"_s,
                                             u"--speech-model"_s};
        QTest::newRow("version") << u"--version"_s
                                 << QStringList{u"vesnara-refbackend "_s +
                                                QString::fromUtf8(VESNARA_VERSION)};
    }
    void helpAndVersion() {
        QFETCH(QString, option);
        QFETCH(QStringList, says);
        ChildProcess backend(kProgram);
        QVERIFY(backend.start(withData({option})));
        QVERIFY(backend.waitForExit());
        QCOMPARE(backend.exitCode(), 0);
        for (const QString& text : std::as_const(says))
            QVERIFY2(backend.output().contains(text), qPrintable(backend.output()));
        QVERIFY(!QFileInfo::exists(dataDirectory(u"data"_s)));
    }

    void terminationSignalsEndItCleanly_data() {
        QTest::addColumn<int>("signalNumber");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGINT") << int(SIGINT);
    }
    void terminationSignalsEndItCleanly() {
        QFETCH(int, signalNumber);
        ChildProcess backend(kProgram);
        const QUrl base = launchAt(backend, withData({u"--port"_s, u"0"_s}));
        QVERIFY(base.isValid());
        QVERIFY(backend.signalAndWait(signalNumber));
        QCOMPARE(backend.exitCode(), 0);
        QCOMPARE(call("GET", base, u"/health"_s).status, 0);
    }

private:
    std::optional<QTemporaryDir> m_directory;
    QNetworkAccessManager m_network;
};

QTEST_GUILESS_MAIN(RefBackendCliTest)
#include "tst_refbackend_cli.moc"
