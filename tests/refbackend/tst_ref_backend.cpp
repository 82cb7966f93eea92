// The reference backend's own promises, seen from outside over loopback: credentials, the
// session resources, the stream's bookkeeping (counts, levels, WAV), faults and persistence.
#include "refbackend/RefBackend.h"
#include "refbackend/WavWriter.h"
#include "support/RefBackendFixture.h"
#include "support/TestAudio.h"
#include "support/TestHttp.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>
#include <QWebSocket>
#include <QtEndian>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::refbackend;
using namespace vesnara::test;

namespace {

constexpr int kWaitMs = 10000;

} // namespace

class RefBackendTest : public QObject {
    Q_OBJECT

    HttpAnswer call(const QByteArray& method, const QString& path, const QByteArray& body = {},
                    bool withCredentials = true) {
        QList<std::pair<QByteArray, QByteArray>> headers;
        if (withCredentials)
            headers = {{"x-api-key", m_server->config().apiKey.toUtf8()},
                       {"x-auth-token", m_server->token().toUtf8()}};
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

    void healthNeedsNoCredentials() {
        const HttpAnswer answer = call("GET", u"/health"_s, {}, false);
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.json().value(u"ok"_s), true);
        QVERIFY(Timestamp::parseIso8601(answer.json().value(u"time"_s).toString()));
    }

    void speechRoutesRefuseMissingOrWrongCredentials() {
        QCOMPARE(call("GET", u"/v1/sessions"_s, {}, false).status, 401);

        const QString token = m_server->token();
        backend().tokens().revoke(token);
        const HttpAnswer revoked = call("GET", u"/v1/sessions"_s);
        QCOMPARE(revoked.status, 401);
        QVERIFY(!revoked.json().value(u"error"_s).toString().isEmpty());

        const QString expiring = backend().issueToken(u"toinen@vesnara.test"_s);
        backend().tokens().expire(expiring);
        QVERIFY(!backend().tokens().subjectOf(expiring));
    }

    void aSessionLivesThroughItsResources() {
        const QJsonObject created = createSession();
        const QString id = created.value(u"sessionId"_s).toString();
        QVERIFY(!id.isEmpty());
        QVERIFY(created.value(u"wsUrl"_s).toString().startsWith(u"ws://127.0.0.1:"_s));
        QVERIFY(!created.value(u"token"_s).toString().isEmpty());

        QCOMPARE(call("GET", u"/v1/sessions/"_s + id).json().value(u"status"_s), u"active"_s);
        const HttpAnswer stopped = call("POST", u"/v1/sessions/"_s + id + u"/stop"_s);
        QCOMPARE(stopped.status, 200);
        const QJsonObject meta = call("GET", u"/v1/sessions/"_s + id).json();
        QCOMPARE(meta.value(u"status"_s), u"stopped"_s);
        QVERIFY(meta.contains(u"endedAt"_s));

        const QJsonArray stoppedItems = call("GET", u"/v1/sessions?limit=5&status=stopped"_s)
                                            .json()
                                            .value(u"items"_s)
                                            .toArray();
        QCOMPARE(stoppedItems.size(), 1);
        QVERIFY(call("GET", u"/v1/sessions?status=active"_s)
                    .json()
                    .value(u"items"_s)
                    .toArray()
                    .isEmpty());

        QCOMPARE(call("DELETE", u"/v1/sessions/"_s + id).status, 200);
        QCOMPARE(call("GET", u"/v1/sessions/"_s + id).status, 404);
    }

    void aBadCreateRequestIsRefusedWithItsReason() {
        const HttpAnswer answer = call("POST", u"/v1/sessions"_s, R"({"language":"fi-FI"})");
        QCOMPARE(answer.status, 400);
        QVERIFY(answer.json().value(u"error"_s).toString().contains(u"sttModel"_s));
    }

    void sessionsAreVisibleToTheirOwnerOnly() {
        const QString id = createSession().value(u"sessionId"_s).toString();
        const QString stranger = backend().issueToken(u"muu@vesnara.test"_s);
        const HttpAnswer answer = httpCall(
            m_network, "GET", QUrl(backend().baseUrl().toString() + u"/v1/sessions/"_s + id), {},
            {{"x-api-key", m_server->config().apiKey.toUtf8()},
             {"x-auth-token", stranger.toUtf8()}});
        QCOMPARE(answer.status, 404);
    }

    void aToneLeavesAWavWhoseLevelMatchesTheMeta() {
        const QJsonObject created = createSession();
        const QString id = created.value(u"sessionId"_s).toString();
        auto socket = openStream(created);
        QVERIFY(socket);

        const QByteArray pcm = sineTonePcm16(1000.0, 0.5, 32000); // 2 s
        for (int offset = 0; offset < pcm.size(); offset += 3200)
            socket->sendBinaryMessage(pcm.mid(offset, 3200));
        QTRY_COMPARE_WITH_TIMEOUT(backend().session(id)->audioFrameCount, 20, kWaitMs);

        const QJsonObject meta = call("GET", u"/v1/sessions/"_s + id).json();
        QCOMPARE(meta.value(u"audioBytes"_s).toInteger(), 64000);

        const auto wav = WavWriter::read(backend().audioPath(id));
        QVERIFY(wav);
        QCOMPARE(wav->sampleRate, 16000);
        QCOMPARE(wav->channels, 1);
        QCOMPARE(wav->bitsPerSample, 16);
        QCOMPARE(wav->pcm, pcm);
        // The meta's level is the mean absolute sample of what was received, on a 0…1 scale:
        // about 2/π of the amplitude for a sine.
        const double average = meta.value(u"avgAudioLevel"_s).toDouble();
        QCOMPARE(average, frameLevel(wav->pcm));
        QVERIFY2(std::abs(average - 0.5 * 2 / std::numbers::pi) < 0.01,
                 qPrintable(QString::number(average)));
        QCOMPARE(meta.value(u"peakAudioLevel"_s).toDouble(), frameLevel(pcm.first(3200)));
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

    void theMemoComesAsJsonAndAsAWordDocument() {
        const QString id = createSession().value(u"sessionId"_s).toString();
        const HttpAnswer memo = call("POST", u"/v1/sessions/"_s + id + u"/summary"_s,
                                     R"({"transcriptSegments":[
                                     {"text":"Budjetti hyväksyttiin yksimielisesti.","ts":"2026-03-04T09:15:02Z"},
                                     {"text":"Seuraava kokous pidetään maanantaina.","ts":"2026-03-04T09:16:02Z"}]})");
        QCOMPARE(memo.status, 200);
        QCOMPARE(memo.json().value(u"sessionId"_s), id);
        QVERIFY(memo.json()
                    .value(u"summary"_s)
                    .toObject()
                    .value(u"cleanTranscript"_s)
                    .toString()
                    .contains(u"Budjetti hyväksyttiin"_s));

        const HttpAnswer docx = call("GET", u"/v1/sessions/"_s + id + u"/summary/docx"_s);
        QCOMPARE(docx.status, 200);
        QVERIFY(docx.body.startsWith("PK\x03\x04"));
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
