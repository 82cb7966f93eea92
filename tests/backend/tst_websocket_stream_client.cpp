#include "backend/APIClientError.h"
#include "backend/WebSocketStreamClient.h"
#include "support/RefBackendFixture.h"
#include "text/UiText.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using namespace vesnara;
using refbackend::ScriptedEvent;
using refbackend::StreamMessage;

namespace {

// 40 ms between start messages, reconnects after 20, 40, 80, 160, 200, 200 … ms.
const Timing kTiming = Timing{}.scaled(0.05);
constexpr int kTimeout = 10'000;

struct StreamSession {
    QString id;
    QString wsUrl;
};

StreamSession createSession(test::RefBackendFixture& fixture) {
    const STTConfiguration config = fixture.config();
    QNetworkAccessManager network;
    QNetworkRequest request(QUrl(config.baseURL + u"/v1/sessions"_s));
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    request.setRawHeader("x-api-key", config.apiKey.toUtf8());
    request.setRawHeader("x-auth-token", config.authToken.value_or(QString()).toUtf8());
    std::unique_ptr<QNetworkReply> reply(network.post(
        request, QByteArray(R"({"language":"fi-FI","enableInterim":true,"sttModel":"chirp_3",)"
                            R"("enableSpeakerDiarization":false,"speakerCount":0})")));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    if (!finished.wait(kTimeout))
        return {};
    const QJsonObject body = QJsonDocument::fromJson(reply->readAll()).object();
    return {body.value(u"sessionId"_s).toString(), body.value(u"wsUrl"_s).toString()};
}

QByteArray frame(int index) {
    return QByteArray(3200, static_cast<char>(index));
}

QJsonObject jsonOf(const StreamMessage& message) {
    return message.binary ? QJsonObject() : QJsonDocument::fromJson(message.payload).object();
}

bool isStart(const StreamMessage& message) {
    return jsonOf(message).value(u"type"_s) == u"start"_s;
}

QList<StreamMessage> messagesOn(const QList<StreamMessage>& messages, int connection) {
    QList<StreamMessage> result;
    for (const auto& message : messages) {
        if (message.connection == connection)
            result.append(message);
    }
    return result;
}

QList<StreamMessage> audioOf(const QList<StreamMessage>& messages) {
    QList<StreamMessage> result;
    for (const auto& message : messages) {
        if (message.binary || jsonOf(message).value(u"type"_s) == u"audio"_s)
            result.append(message);
    }
    return result;
}

/// The events a client delivered, with the moment each arrived.
struct EventLog {
    QList<StreamEvent> events;
    QList<qint64> arrivedAtMs;
    QElapsedTimer clock;

    EventLog() { clock.start(); }
    WebSocketStreamClient::EventHandler handler() {
        return [this](const StreamEvent& event) {
            events.append(event);
            arrivedAtMs.append(clock.elapsed());
        };
    }
    int countOf(const StreamEvent& wanted) const {
        return static_cast<int>(std::count(events.cbegin(), events.cend(), wanted));
    }
    template <typename Case> int countOf() const {
        return static_cast<int>(std::count_if(events.cbegin(), events.cend(),
                                              [](const auto& e) { return e.template as<Case>(); }));
    }
};

const StreamEvent kListening{StreamEvent::Status{u"listening"_s, std::nullopt}};
const StreamEvent kReconnecting{StreamEvent::Status{u"reconnecting"_s, std::nullopt}};

} // namespace

class WebSocketStreamClientTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesAnAddressThatIsNotAStreamURL_data() {
        QTest::addColumn<QString>("address");
        QTest::newRow("empty") << QString();
        QTest::newRow("not a URL") << u"ei osoite"_s;
        QTest::newRow("http") << u"http://127.0.0.1:8787/v1/sessions/a/stream"_s;
        QTest::newRow("no host") << u"ws:///v1/sessions/a/stream"_s;
    }
    void refusesAnAddressThatIsNotAStreamURL() {
        QFETCH(QString, address);
        WebSocketStreamClient client(kTiming);
        try {
            client.connect(address, u"fi-FI"_s, u"chirp_3"_s, [](const StreamEvent&) {});
            QFAIL("connect accepted the address");
        } catch (const APIClientError& error) {
            QCOMPARE(error.kind(), APIClientError::Kind::InvalidBaseURL);
        }
        QVERIFY(!client.isActive());
    }

    void startGoesFirstOnEveryConnectionAndReconnectsAfterAClose() {
        test::RefBackendFixture fixture;
        QVERIFY2(fixture.isListening(), qPrintable(fixture->errorString()));
        const StreamSession session = createSession(fixture);
        QVERIFY(!session.id.isEmpty());
        QSignalSpy opened(&fixture.backend(), &refbackend::RefBackend::streamOpened);
        EventLog log;
        WebSocketStreamClient client(kTiming);
        client.connect(session.wsUrl, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        QVERIFY(client.isActive());

        // Frames sent before the handshake completes follow the start message, in order.
        for (int i = 1; i <= 5; ++i)
            client.sendAudio(frame(i));
        QTRY_COMPARE_WITH_TIMEOUT(fixture->streamMessages(session.id).size(), 6, kTimeout);
        const auto first = fixture->streamMessages(session.id);
        QCOMPARE(jsonOf(first[0]), (QJsonObject{{u"type"_s, u"start"_s},
                                                {u"language"_s, u"fi-FI"_s},
                                                {u"sampleRate"_s, 16000},
                                                {u"enableInterim"_s, true},
                                                {u"sttModel"_s, u"chirp_3"_s},
                                                {u"enableSpeakerDiarization"_s, false},
                                                {u"speakerCount"_s, 0}}));
        for (int i = 1; i <= 5; ++i) {
            QVERIFY(first[i].binary);
            QCOMPARE(first[i].payload, frame(i));
        }
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf(kListening), 1, kTimeout);

        // Twice: the server's status after each reconnect clears the count of tries.
        for (int connection = 2; connection <= 3; ++connection) {
            QElapsedTimer sinceClose;
            sinceClose.start();
            fixture->closeStreams(session.id);
            QTRY_COMPARE_WITH_TIMEOUT(opened.size(), connection, kTimeout);
            QVERIFY(sinceClose.elapsed() >= kTiming.streamReconnectBaseDelay.count() * 9 / 10);
            QTRY_COMPARE_WITH_TIMEOUT(log.countOf(kListening), connection, kTimeout);
            QCOMPARE(log.countOf(kReconnecting), connection - 1);
            client.sendAudio(frame(connection));
            QTRY_COMPARE_WITH_TIMEOUT(
                messagesOn(fixture->streamMessages(session.id), connection).size(), 2, kTimeout);
            const auto messages = messagesOn(fixture->streamMessages(session.id), connection);
            QVERIFY(isStart(messages[0]));
            QCOMPARE(messages[1].payload, frame(connection));
        }
        QVERIFY(client.isActive());
    }

    void startRepeatsAtTheIntervalUntilTheServerSpeaks() {
        test::RefBackendFixture fixture;
        QVERIFY(fixture.isListening());
        fixture->faults().silentStreams = true;
        const StreamSession session = createSession(fixture);
        QList<qint64> startsAtMs;
        int framesReceived = 0;
        QElapsedTimer clock;
        clock.start();
        QObject receiver; // goes before the counters it writes to
        connect(&fixture.backend(), &refbackend::RefBackend::streamMessageReceived, &receiver,
                [&](const QString&, const StreamMessage& message) {
                    if (isStart(message))
                        startsAtMs.append(clock.elapsed());
                    else
                        ++framesReceived;
                });
        EventLog log;
        WebSocketStreamClient client(kTiming);
        client.connect(session.wsUrl, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        QTimer frames;
        frames.callOnTimeout([&] { client.sendAudio(frame(1)); });
        frames.start(2);

        QTRY_VERIFY_WITH_TIMEOUT(startsAtMs.size() >= 4, kTimeout);
        // Repeats ride on frames, never more than one per interval; half the interval is
        // allowed for delivery jitter, far above the pace of the frames.
        QVERIFY(framesReceived > startsAtMs.size());
        for (qsizetype i = 1; i < startsAtMs.size(); ++i) {
            QVERIFY2(
                startsAtMs[i] - startsAtMs[i - 1] >= kTiming.streamStartRepeatInterval.count() / 2,
                qPrintable(u"starts at %1 and %2 ms"_s.arg(startsAtMs[i - 1]).arg(startsAtMs[i])));
        }

        // A status confirms the start: the repeats end.
        fixture->faults().silentStreams = false;
        fixture->sendStreamEvent(session.id, {{u"type"_s, u"status"_s}, {u"state"_s, u"ok"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(log.events.size(), 1, kTimeout);
        const auto startsWhenConfirmed = startsAtMs.size();
        const int framesWhenConfirmed = framesReceived;
        // 60 frames at 2 ms each span several intervals.
        QTRY_VERIFY_WITH_TIMEOUT(framesReceived >= framesWhenConfirmed + 60, kTimeout);
        QCOMPARE(startsAtMs.size(), startsWhenConfirmed);
    }

    void audioChangesToBase64AtFrame50WhenNoTranscriptCame() {
        test::RefBackendFixture fixture;
        QVERIFY(fixture.isListening());
        const StreamSession session = createSession(fixture);
        EventLog log;
        WebSocketStreamClient client(kTiming);
        client.connect(session.wsUrl, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        // The default script answers the start with a status, which is no transcript.
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf(kListening), 1, kTimeout);

        for (int i = 1; i <= 60; ++i)
            client.sendAudio(frame(i));
        QTRY_COMPARE_WITH_TIMEOUT(audioOf(fixture->streamMessages(session.id)).size(), 60,
                                  kTimeout);
        const auto audio = audioOf(fixture->streamMessages(session.id));
        for (int i = 1; i <= 60; ++i) {
            const StreamMessage& message = audio[i - 1];
            QCOMPARE(message.binary, i < 50);
            if (i < 50) {
                QCOMPARE(message.payload, frame(i));
            } else {
                QCOMPARE(jsonOf(message).value(u"audioBase64"_s).toString(),
                         QString::fromLatin1(frame(i).toBase64()));
            }
        }
        QCOMPARE(client.audioTransportMode(), AudioTransportMode::base64JSON);

        // A transcript that comes later, and a reconnect, keep the new framing.
        fixture->sendStreamEvent(session.id, {{u"type"_s, u"partial"_s}, {u"text"_s, u"hei"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf<StreamEvent::Partial>(), 1, kTimeout);
        fixture->closeStreams(session.id);
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf(kListening), 2, kTimeout);
        client.sendAudio(frame(61));
        QTRY_COMPARE_WITH_TIMEOUT(messagesOn(fixture->streamMessages(session.id), 2).size(), 2,
                                  kTimeout);
        const StreamMessage last = messagesOn(fixture->streamMessages(session.id), 2).last();
        QVERIFY(!last.binary);
        QCOMPARE(QByteArray::fromBase64(jsonOf(last).value(u"audioBase64"_s).toString().toLatin1()),
                 frame(61));
    }

    void audioStaysBinaryWhenATranscriptCameBeforeFrame50() {
        test::RefBackendFixture fixture;
        QVERIFY(fixture.isListening());
        fixture->setScript({ScriptedEvent::afterFrames(
            3, QJsonObject{{u"type"_s, u"partial"_s}, {u"text"_s, u"hei"_s}})});
        const StreamSession session = createSession(fixture);
        EventLog log;
        WebSocketStreamClient client(kTiming);
        client.connect(session.wsUrl, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        for (int i = 1; i <= 3; ++i)
            client.sendAudio(frame(i));
        QTRY_COMPARE_WITH_TIMEOUT(log.events.size(), 1, kTimeout);
        QCOMPARE(log.events[0], StreamEvent{StreamEvent::Partial{u"hei"_s}});

        for (int i = 4; i <= 60; ++i)
            client.sendAudio(frame(i));
        QTRY_COMPARE_WITH_TIMEOUT(audioOf(fixture->streamMessages(session.id)).size(), 60,
                                  kTimeout);
        for (const auto& message : audioOf(fixture->streamMessages(session.id)))
            QVERIFY(message.binary);
        QCOMPARE(client.audioTransportMode(), AudioTransportMode::binary);
    }

    void serverEventsDecodeAndUnknownOnesAreSkipped() {
        test::RefBackendFixture fixture;
        QVERIFY(fixture.isListening());
        const StreamSession session = createSession(fixture);
        EventLog log;
        WebSocketStreamClient client(kTiming);
        client.connect(session.wsUrl, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        QTRY_COMPARE_WITH_TIMEOUT(log.events.size(), 1, kTimeout);

        const Timestamp before = Timestamp::now();
        for (const QJsonObject& event : {
                 QJsonObject{{u"type"_s, u"partial"_s}, {u"text"_s, u"hyvää"_s}},
                 QJsonObject{{u"type"_s, u"unknown"_s}, {u"text"_s, u"x"_s}},
                 QJsonObject{{u"type"_s, u"final"_s},
                             {u"text"_s, u"Hyvää huomenta"_s},
                             {u"speakerLabel"_s, u"S1"_s},
                             {u"ts"_s, u"2026-02-11T10:00:00Z"_s}},
                 QJsonObject{{u"type"_s, 5}},
                 QJsonObject{{u"type"_s, u"final"_s},
                             {u"text"_s, u"murto-osa"_s},
                             {u"ts"_s, u"2026-02-11T10:00:00.123Z"_s}},
                 QJsonObject{{u"text"_s, u"no type"_s}},
                 QJsonObject{{u"type"_s, u"final"_s}},
                 QJsonObject{{u"type"_s, u"status"_s},
                             {u"state"_s, u"listening"_s},
                             {u"sttModel"_s, u"chirp_3"_s}},
                 QJsonObject{{u"type"_s, u"error"_s}},
                 QJsonObject{{u"type"_s, u"error"_s}, {u"message"_s, u"Kiintiö täynnä"_s}},
             }) {
            fixture->sendStreamEvent(session.id, event);
        }
        QTRY_COMPARE_WITH_TIMEOUT(log.events.size(), 8, kTimeout);
        const Timestamp after = Timestamp::now();

        QCOMPARE(log.events[1], StreamEvent{StreamEvent::Partial{u"hyvää"_s}});
        QCOMPARE(log.events[2],
                 (StreamEvent{StreamEvent::Final{
                     u"Hyvää huomenta"_s, *Timestamp::parseIso8601(u"2026-02-11T10:00:00Z"_s),
                     u"S1"_s}}));
        // A fraction of a second, or no time at all, gives the moment of arrival.
        for (int i : {3, 4}) {
            const auto* line = log.events[i].as<StreamEvent::Final>();
            QVERIFY(line);
            QVERIFY(line->timestamp >= before && line->timestamp <= after);
            QVERIFY(!line->speakerLabel);
        }
        QCOMPARE(log.events[3].as<StreamEvent::Final>()->text, u"murto-osa"_s);
        QCOMPARE(log.events[4].as<StreamEvent::Final>()->text, QString());
        QCOMPARE(log.events[5], (StreamEvent{StreamEvent::Status{u"listening"_s, u"chirp_3"_s}}));
        QCOMPARE(log.events[6], StreamEvent{StreamEvent::Error{u"Tuntematon virhe"_s}});
        QCOMPARE(log.events[7], StreamEvent{StreamEvent::Error{u"Kiintiö täynnä"_s}});
    }

    // The reference backend sends only JSON objects, so what it cannot send is read directly.
    void messagesThatAreNotEventsAreIgnored_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("not JSON") << QByteArray("partial");
        QTest::newRow("array") << QByteArray(R"([{"type":"partial"}])");
        QTest::newRow("string") << QByteArray(R"("partial")");
        QTest::newRow("no type") << QByteArray(R"({"text":"hei"})");
        QTest::newRow("type not text") << QByteArray(R"({"type":["partial"]})");
        QTest::newRow("unknown type") << QByteArray(R"({"type":"audio","text":"hei"})");
        QTest::newRow("invalid UTF-8") << QByteArray("{\"type\":\"partial\",\"text\":\"\xff\"}");
        QTest::newRow("truncated UTF-8") << QByteArray("{\"type\":\"partial\"}\xc3");
    }
    void messagesThatAreNotEventsAreIgnored() {
        QFETCH(QByteArray, bytes);
        QVERIFY(!StreamEvent::fromServerMessage(bytes, Timestamp::now()));
    }

    void fieldsOfTheWrongTypeCountAsAbsent() {
        const auto now = Timestamp::now();
        QCOMPARE(StreamEvent::fromServerMessage(
                     QByteArray(R"({"type":"final","text":7,"speakerLabel":1,"ts":0})"), now),
                 (StreamEvent{StreamEvent::Final{QString(), now, std::nullopt}}));
        QCOMPARE(StreamEvent::fromServerMessage(u"{\"type\":\"error\",\"message\":null}"_s, now),
                 StreamEvent{StreamEvent::Error{UiText::streamUnknownError}});
        QCOMPARE(StreamEvent::fromServerMessage(
                     QByteArray(R"({"type":"status","state":false,"sttModel":3})"), now),
                 (StreamEvent{StreamEvent::Status{QString(), std::nullopt}}));
    }

    void givesUpAfterEightFailedReconnects() {
        test::RefBackendFixture fixture;
        QVERIFY(fixture.isListening());
        const StreamSession session = createSession(fixture);
        QSignalSpy opened(&fixture.backend(), &refbackend::RefBackend::streamOpened);
        EventLog log;
        WebSocketStreamClient client(kTiming);
        client.connect(session.wsUrl, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf(kListening), 1, kTimeout);

        fixture->faults().streamConnectionsToRefuse = 100;
        const qint64 closedAtMs = log.clock.elapsed();
        fixture->closeStreams(session.id);
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf<StreamEvent::Error>(), 1, 3 * kTimeout);

        // Eight reconnects, the error after them, and nothing more.
        QCOMPARE(log.events.size(), 1 + 8 + 1);
        QCOMPARE(log.countOf(kReconnecting), 8);
        const QString message = log.events.last().as<StreamEvent::Error>()->message;
        const QString prefix = UiText::streamConnectionLost(QString());
        QCOMPARE(prefix, u"WS-yhteys katkesi eikä uudelleenyhteys onnistunut: "_s);
        QVERIFY2(message.startsWith(prefix) && message.size() > prefix.size(), qPrintable(message));
        QCOMPARE(fixture->faults().streamConnectionsToRefuse, 100 - 8);
        QCOMPARE(opened.size(), 1);

        // Each try waits out the back-off before it fails: the k-th reconnecting status (and
        // then the error) cannot come before the sum of the delays ahead of it.
        qint64 delaysMs = 0;
        qint64 delayMs = kTiming.streamReconnectBaseDelay.count();
        for (int k = 2; k <= 9; ++k) {
            delaysMs += delayMs;
            delayMs = std::min(delayMs * 2, qint64(kTiming.streamReconnectMaxDelay.count()));
            QVERIFY2(log.arrivedAtMs[k] - closedAtMs >= delaysMs * 9 / 10,
                     qPrintable(u"event %1 after %2 ms, delays %3 ms"_s.arg(k)
                                    .arg(log.arrivedAtMs[k] - closedAtMs)
                                    .arg(delaysMs)));
        }

        // Exhausted: every failed send (the frame, and the start repeat before it) repeats the
        // error, and nothing reconnects.
        QVERIFY(client.isActive());
        client.sendAudio(frame(1));
        QTRY_VERIFY_WITH_TIMEOUT(log.countOf<StreamEvent::Error>() >= 2, kTimeout);
        QCOMPARE(log.countOf(log.events[9]), log.events.size() - 9);
        QCOMPARE(log.countOf(kReconnecting), 8);
        QCOMPARE(fixture->faults().streamConnectionsToRefuse, 100 - 8);
    }

    void stopIsSentAndNothingFollowsDisconnect() {
        test::RefBackendFixture fixture;
        QVERIFY(fixture.isListening());
        const StreamSession session = createSession(fixture);
        QSignalSpy closed(&fixture.backend(), &refbackend::RefBackend::streamClosed);
        EventLog log;
        WebSocketStreamClient client(kTiming);
        client.connect(session.wsUrl, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        QTRY_COMPARE_WITH_TIMEOUT(log.events.size(), 1, kTimeout);

        // A bad address for a running client changes nothing: the stop goes on the same stream.
        QVERIFY_THROWS_EXCEPTION(APIClientError, client.connect(u"http://127.0.0.1/"_s, u"fi-FI"_s,
                                                                u"chirp_3"_s, log.handler()));
        QVERIFY(client.isActive());
        client.sendStop();
        QTRY_COMPARE_WITH_TIMEOUT(fixture->streamMessages(session.id).size(), 2, kTimeout);
        QCOMPARE(fixture->streamMessages(session.id).last().connection, 1);
        QCOMPARE(jsonOf(fixture->streamMessages(session.id).last()),
                 (QJsonObject{{u"type"_s, u"stop"_s}}));

        // An event already on its way when the client disconnects is not delivered.
        fixture->sendStreamEvent(session.id, {{u"type"_s, u"partial"_s}, {u"text"_s, u"myöhä"_s}});
        client.disconnect();
        QVERIFY(!client.isActive());
        client.sendAudio(frame(1));
        client.sendStop();
        QTRY_COMPARE_WITH_TIMEOUT(closed.size(), 1, kTimeout);
        QCOMPARE(fixture->streamMessages(session.id).size(), 2);
        QCOMPARE(log.events.size(), 1);
    }

    void disconnectDuringBackOffCancelsTheReconnect() {
        test::RefBackendFixture fixture;
        QVERIFY(fixture.isListening());
        const StreamSession session = createSession(fixture);
        QSignalSpy opened(&fixture.backend(), &refbackend::RefBackend::streamOpened);
        EventLog log;
        WebSocketStreamClient client(kTiming);
        client.connect(session.wsUrl, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        QTRY_COMPARE_WITH_TIMEOUT(log.events.size(), 1, kTimeout);

        fixture->closeStreams(session.id);
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf(kReconnecting), 1, kTimeout);
        client.disconnect();
        // Ten times the delay that was armed: no new connection, no event.
        const auto nothingMore = [&] { return opened.size() > 1 || log.events.size() > 2; };
        QVERIFY(!QTest::qWaitFor(nothingMore,
                                 static_cast<int>(10 * kTiming.streamReconnectBaseDelay.count())));
    }
};

QTEST_GUILESS_MAIN(WebSocketStreamClientTest)
#include "tst_websocket_stream_client.moc"
