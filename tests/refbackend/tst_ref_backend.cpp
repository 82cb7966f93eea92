// The reference backend's own promises, seen from outside over loopback: credentials, the
// stream's bookkeeping and events, deletion, the lines a memo is written from, faults and
// persistence. The session resources, levels, WAV and memo document are checked through the
// clients in tests/backend.
#include "refbackend/RefBackend.h"
#include "support/RefBackendFixture.h"
#include "support/TestAudio.h"
#include "support/TestHttp.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTest>
#include <QWebSocket>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::refbackend;
using namespace vesnara::test;

constexpr int kWaitMs = 10'000;

class RefBackendTest : public QObject {
    Q_OBJECT

    HttpAnswer call(const QByteArray& method, const QString& path, const QByteArray& body = {}) {
        return callAs(m_server->token(), m_server->config().apiKey, method, path, body);
    }

    // With the given credentials; empty ones are not sent.
    HttpAnswer callAs(const QString& token, const QString& apiKey, const QByteArray& method,
                      const QString& path, const QByteArray& body = {}) {
        QList<std::pair<QByteArray, QByteArray>> headers;
        if (!apiKey.isEmpty())
            headers.emplaceBack("x-api-key", apiKey.toUtf8());
        if (!token.isEmpty())
            headers.emplaceBack("x-auth-token", token.toUtf8());
        return httpCall(m_network, method, QUrl(backend().baseUrl().toString() + path), body,
                        headers);
    }

    QJsonObject createSession() {
        const HttpAnswer answer =
            call("POST", u"/v1/sessions"_s,
                 R"({"language":"fi-FI","enableInterim":true,"sttModel":"chirp_3",
                                       "enableSpeakerDiarization":false,"speakerCount":0})");
        if (answer.status / 100 != 2)
            qWarning("create failed: %s", answer.body.constData());
        return answer.json();
    }

    // Opens the session's stream and sends the start message; the socket is ready for audio.
    std::unique_ptr<QWebSocket> openStream(const QJsonObject& created) {
        auto socket = std::make_unique<QWebSocket>();
        QSignalSpy connected(socket.get(), &QWebSocket::connected);
        socket->open(QUrl(created.value(u"wsUrl"_s).toString()));
        if (!connected.wait(kWaitMs))
            return nullptr;
        socket->sendTextMessage(
            uR"({"type":"start","language":"fi-FI","sampleRate":16000,"sttModel":"chirp_3"})"_s);
        return socket;
    }

    RefBackend& backend() { return m_server->backend(); }

private Q_SLOTS:
    void init() {
        m_server.emplace();
        QVERIFY2(m_server->isListening(), qPrintable(m_server->backend().errorString()));
    }
    void cleanup() { m_server.reset(); }

    void credentialsDecideWhatACallerSees() {
        const HttpAnswer health = callAs({}, {}, "GET", u"/health"_s);
        QCOMPARE(health.status, 200);
        QCOMPARE(health.json().value(u"ok"_s), true);
        QVERIFY(Timestamp::parseIso8601(health.json().value(u"time"_s).toString()));

        const QString key = m_server->config().apiKey;
        QCOMPARE(callAs({}, {}, "GET", u"/v1/sessions"_s).status, 401);
        QCOMPARE(callAs(m_server->token(), u"arvaus"_s, "GET", u"/v1/sessions"_s).status, 401);
        // Another user's session is not there at all.
        const QString id = createSession().value(u"sessionId"_s).toString();
        const QString stranger = backend().issueToken(u"muu@vesnara.test"_s);
        QCOMPARE(callAs(stranger, key, "GET", u"/v1/sessions/"_s + id).status, 404);

        backend().tokens().revoke(m_server->token());
        const HttpAnswer revoked = call("GET", u"/v1/sessions"_s);
        QCOMPARE(revoked.status, 401);
        QVERIFY(!revoked.json().value(u"error"_s).toString().isEmpty());
    }

    void aBadCreateRequestIsRefusedWithItsReason() {
        const HttpAnswer answer = call("POST", u"/v1/sessions"_s, R"({"language":"fi-FI"})");
        QCOMPARE(answer.status, 400);
        QVERIFY(answer.json().value(u"error"_s).toString().contains(u"sttModel"_s));
    }

    void base64AudioCountsLikeBinaryAndIgnoredBinaryDoesNot() {
        const QJsonObject created = createSession();
        const QString id = created.value(u"sessionId"_s).toString();
        auto socket = openStream(created);
        QVERIFY(socket);
        const QByteArray frame = sineTonePcm16(440.0, 0.25, 1600);

        backend().faults().ignoreBinaryFrames = true;
        socket->sendBinaryMessage(frame);
        socket->sendTextMessage(u"{\"type\":\"audio\",\"audioBase64\":\"%1\"}"_s.arg(
            QString::fromLatin1(frame.toBase64())));
        socket->sendTextMessage(u"{\"type\":\"audio\",\"audioBase64\":\"***\"}"_s);
        QTRY_COMPARE_WITH_TIMEOUT(backend().streamMessages(id).size(), 4, kWaitMs);
        QCOMPARE(backend().session(id)->audioFrameCount, 1);
        QCOMPARE(backend().session(id)->audioBytes, frame.size());
    }

    void scriptedEventsReachTheClientAndTheTranscript() {
        backend().setScript({
            ScriptedEvent::atStart(
                QJsonObject{{u"type"_s, u"status"_s}, {u"state"_s, u"listening"_s}}),
            ScriptedEvent::afterFrames(
                2, QJsonObject{{u"type"_s, u"partial"_s}, {u"text"_s, u"hei"_s}}),
            ScriptedEvent::afterFrames(3, QJsonObject{{u"type"_s, u"final"_s},
                                                      {u"text"_s, u"Hei kaikki"_s},
                                                      {u"ts"_s, u"2026-03-04T09:15:02Z"_s},
                                                      {u"speakerLabel"_s, u"S1"_s}}),
        });
        const QJsonObject created = createSession();
        const QString id = created.value(u"sessionId"_s).toString();
        auto socket = openStream(created);
        QVERIFY(socket);
        QSignalSpy received(socket.get(), &QWebSocket::textMessageReceived);
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, kWaitMs);
        for (int i = 0; i < 3; ++i)
            socket->sendBinaryMessage(QByteArray(3200, '\0'));
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), 3, kWaitMs);
        QCOMPARE(
            QJsonDocument::fromJson(received[2][0].toString().toUtf8()).object().value(u"text"_s),
            u"Hei kaikki"_s);

        const QJsonObject transcript =
            call("GET", u"/v1/sessions/"_s + id + u"/transcript"_s).json();
        const QJsonArray lines = transcript.value(u"segments"_s).toArray();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].toObject().value(u"speakerLabel"_s), u"S1"_s);
        const QJsonObject meta = call("GET", u"/v1/sessions/"_s + id).json();
        QCOMPARE(meta.value(u"interimCount"_s).toInt(), 1);
        QCOMPARE(meta.value(u"finalCount"_s).toInt(), 1);

        // The memo is written from the server's own lines, not from those a client sends.
        const QJsonObject memo =
            call(
                "POST", u"/v1/sessions/"_s + id + u"/summary"_s,
                R"({"transcriptSegments":[{"text":"Asiakkaan rivi","ts":"2026-03-04T09:15:09Z"}]})")
                .json()
                .value(u"summary"_s)
                .toObject();
        const QString clean = memo.value(u"cleanTranscript"_s).toString();
        QVERIFY2(clean.contains(u"Hei kaikki"_s) && !clean.contains(u"Asiakkaan rivi"_s),
                 qPrintable(clean));
    }

    void aStreamNeedsTheSessionsOwnAddress() {
        const QJsonObject created = createSession();
        QUrl forged(created.value(u"wsUrl"_s).toString());
        forged.setQuery(u"token=guess"_s);
        QWebSocket socket;
        QSignalSpy connected(&socket, &QWebSocket::connected);
        QSignalSpy failed(&socket, QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error));
        socket.open(forged);
        QVERIFY(failed.wait(kWaitMs));
        QCOMPARE(connected.size(), 0);
    }

    void endingASessionTellsItsStream() {
        const QJsonObject created = createSession();
        const QString id = created.value(u"sessionId"_s).toString();
        auto socket = openStream(created);
        QVERIFY(socket);
        QSignalSpy received(socket.get(), &QWebSocket::textMessageReceived);
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, kWaitMs); // listening

        backend().endSession(id);
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), 2, kWaitMs);
        QCOMPARE(
            QJsonDocument::fromJson(received[1][0].toString().toUtf8()).object().value(u"state"_s),
            u"stopped"_s);
        QCOMPARE(call("GET", u"/v1/sessions/"_s + id).json().value(u"status"_s), u"stopped"_s);

        QSignalSpy disconnected(socket.get(), &QWebSocket::disconnected);
        backend().closeStreams(id);
        QVERIFY(disconnected.wait(kWaitMs));
    }

    void deletingASessionClosesItsStreamAndRemovesItsFiles() {
        const QJsonObject created = createSession();
        const QString id = created.value(u"sessionId"_s).toString();
        auto socket = openStream(created);
        QVERIFY(socket);
        socket->sendBinaryMessage(sineTonePcm16(440.0, 0.5, 1600));
        const QString audio = backend().audioPath(id);
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(audio).size() > 44, kWaitMs);

        QSignalSpy disconnected(socket.get(), &QWebSocket::disconnected);
        QCOMPARE(call("DELETE", u"/v1/sessions/"_s + id).status, 200);
        QTRY_VERIFY_WITH_TIMEOUT(!disconnected.isEmpty(), kWaitMs);
        QVERIFY(!QFileInfo::exists(audio));
        QCOMPARE(call("GET", u"/v1/sessions/"_s + id).status, 404);
        QCOMPARE(call("DELETE", u"/v1/sessions/"_s + id).status, 404);
    }

    // A stream outage: the open stream is closed and new ones are refused until it has passed,
    // while the REST side keeps answering.
    void aCutClosesTheStreamAndRefusesNewOnesForItsTime() {
        const QJsonObject created = createSession();
        const QString id = created.value(u"sessionId"_s).toString();
        auto socket = openStream(created);
        QVERIFY(socket);
        QSignalSpy received(socket.get(), &QWebSocket::textMessageReceived);
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, kWaitMs); // listening: the stream is open
        QSignalSpy disconnected(socket.get(), &QWebSocket::disconnected);
        const QByteArray cut =
            QJsonDocument(QJsonObject{{u"sessionId"_s, id}, {u"milliseconds"_s, 1500}})
                .toJson(QJsonDocument::Compact);
        QCOMPARE(call("POST", u"/_control/cut-streams"_s, cut).status, 200);
        QTRY_VERIFY_WITH_TIMEOUT(!disconnected.isEmpty(), kWaitMs);
        // Whether a new stream opens and stays open long enough to answer its start.
        const auto streamOpens = [&created] {
            QWebSocket again;
            QSignalSpy answered(&again, &QWebSocket::textMessageReceived);
            QSignalSpy closed(&again, &QWebSocket::disconnected);
            QObject::connect(&again, &QWebSocket::connected, &again, [&again] {
                again.sendTextMessage(uR"({"type":"start","language":"fi-FI"})"_s);
            });
            again.open(QUrl(created.value(u"wsUrl"_s).toString()));
            const bool settled =
                QTest::qWaitFor([&] { return !answered.isEmpty() || !closed.isEmpty(); }, kWaitMs);
            return settled && !answered.isEmpty();
        };
        QVERIFY(backend().faults().refusesStreamsNow());
        QVERIFY(!streamOpens());
        QCOMPARE(call("GET", u"/v1/sessions/"_s + id).status, 200);
        QTRY_VERIFY_WITH_TIMEOUT(streamOpens(), kWaitMs);
        QVERIFY(!backend().faults().refusesStreamsNow());
    }

    void armedFaultsAreUsedUpInOrder() {
        backend().faults().httpFaults.push_back(
            HttpFault{HttpFault::Kind::respond, 503, R"({"error":"huolto"})", {}, u"/health"_s});
        backend().faults().httpFaults.push_back(
            HttpFault{HttpFault::Kind::respond, 418, "<html>teapot</html>", {}, {}});
        backend().faults().notFoundPaths.insert(u"/v1/sessions"_s);

        QCOMPARE(call("GET", u"/v1/sessions"_s).status, 418); // the path-free fault matches first
        const HttpAnswer maintenance = call("GET", u"/health"_s);
        QCOMPARE(maintenance.status, 503);
        QCOMPARE(maintenance.json().value(u"error"_s), u"huolto"_s);
        QCOMPARE(call("GET", u"/health"_s).status, 200);
        QCOMPARE(call("GET", u"/v1/sessions"_s).status, 404);
    }

    void theControlRouteArmsFaultsFromLoopback() {
        QCOMPARE(call("POST", u"/_control/refuse"_s, R"({"status":502,"path":"/health"})").status,
                 200);
        QCOMPARE(call("GET", u"/health"_s).status, 502);
        const HttpAnswer issued =
            call("POST", u"/_control/issue-token"_s, R"({"subject":"x@y.z"})");
        QVERIFY(backend().tokens().subjectOf(issued.json().value(u"token"_s).toString()));
        QCOMPARE(call("POST", u"/_control/nonsense"_s, "{}").status, 404);
    }

    void healthAnswerCanBeReplacedUntilReset() {
        const QJsonObject older{{u"ok"_s, true}, {u"time"_s, u"2026-02-11T08:30:00.123Z"_s}};
        backend().faults().healthAnswer = older;
        QCOMPARE(call("GET", u"/health"_s).json(), older);
        QCOMPARE(call("POST", u"/_control/health"_s,
                      R"({"answer":{"ok":false,"time":"nyt","openAIConfigured":true}})")
                     .json()
                     .value(u"ok"_s),
                 true);
        const QJsonObject answered = call("GET", u"/health"_s).json();
        QCOMPARE(answered.value(u"ok"_s), false);
        QCOMPARE(answered.value(u"time"_s), u"nyt"_s);
        QVERIFY(!answered.contains(u"memoAI"_s));
        QCOMPARE(call("POST", u"/_control/reset"_s, "{}").status, 200);
        QVERIFY(call("GET", u"/health"_s).json().contains(u"memoAI"_s));
    }

    void manifestsComeFromTheDataDirectoryByName() {
        QVERIFY(QDir(m_server->dataDirectory()).mkpath(u"updates"_s));
        QFile file(m_server->dataDirectory() + u"/updates/beta.json"_s);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"version":"9.9.9"})");
        file.close();
        QFile secret(m_server->dataDirectory() + u"/users.json"_s);
        QVERIFY(secret.open(QIODevice::WriteOnly));
        secret.write(R"({"users":[]})");
        secret.close();

        const HttpAnswer beta = callAs({}, {}, "GET", u"/updates/beta.json"_s);
        QCOMPARE(beta.status, 200);
        QCOMPARE(beta.body, QByteArray(R"({"version":"9.9.9"})"));
        // The default name has a manifest of its own even without a file; others do not.
        QVERIFY(!callAs({}, {}, "GET", u"/updates/latest-mac.json"_s)
                     .json()
                     .value(u"version"_s)
                     .toString()
                     .isEmpty());
        QCOMPARE(callAs({}, {}, "GET", u"/updates/stable.json"_s).status, 404);
        // Nothing outside the manifests' folder is served.
        QCOMPARE(callAs({}, {}, "GET", u"/updates/..%2Fusers.json"_s).status, 404);
        QCOMPARE(callAs({}, {}, "GET", u"/updates/.hidden.json"_s).status, 404);
    }

    void sessionsSurviveARestart() {
        const QString id = createSession().value(u"sessionId"_s).toString();
        call("POST", u"/v1/sessions/"_s + id + u"/stop"_s);
        RefBackendOptions options;
        options.dataDirectory = m_server->dataDirectory();
        RefBackend restarted(options);
        const auto session = restarted.session(id);
        QVERIFY(session);
        QCOMPARE(session->status, u"stopped"_s);
        QVERIFY(session->endedAt);
    }

private:
    std::optional<RefBackendFixture> m_server;
    QNetworkAccessManager m_network;
};

QTEST_GUILESS_MAIN(RefBackendTest)
#include "tst_ref_backend.moc"
