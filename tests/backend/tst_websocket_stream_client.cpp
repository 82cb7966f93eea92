#include "backend/APIClientError.h"
#include "backend/WebSocketStreamClient.h"
#include "support/RefBackendFixture.h"
#include "support/TestHttp.h"
#include "text/UiText.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <memory>

using namespace Qt::StringLiterals;
using namespace vesnara;
using refbackend::ScriptedEvent;
using refbackend::StreamMessage;

namespace {

// 40 ms between start messages, reconnects after 20, 40, 80, 160, 200, 200 … ms.
const Timing kTiming = Timing{}.scaled(0.05);
constexpr int kTimeout = 10'000;

QByteArray frame(int index) {
    return QByteArray(3200, static_cast<char>(index));
}

QJsonObject jsonOf(const StreamMessage& message) {
    return message.binary ? QJsonObject() : QJsonDocument::fromJson(message.payload).object();
}

bool isStart(const StreamMessage& message) {
    return jsonOf(message).value(u"type"_s) == u"start"_s;
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

/// A reference backend, and a client whose events are logged; `start()` creates a session over
/// REST and connects the client to its stream. Faults and scripts are set before `start()`.
struct StreamBench {
    test::RefBackendFixture fixture;
    QString id;
    EventLog log;
    WebSocketStreamClient client{kTiming};

    /// `rewrite` turns the stream address the server gave into the one the client is given.
    bool start(const std::function<QString(QString)>& rewrite = {}) {
        if (!fixture.isListening())
            return false;
        const STTConfiguration config = fixture.config();
        QNetworkAccessManager network;
        const QJsonObject created =
            test::httpCall(network, "POST", QUrl(config.baseURL + u"/v1/sessions"_s),
                           R"({"language":"fi-FI","enableInterim":true,"sttModel":"chirp_3",)"
                           R"("enableSpeakerDiarization":false,"speakerCount":0})",
                           {{"x-api-key", config.apiKey.toUtf8()},
                            {"x-auth-token", config.authToken.value_or(QString()).toUtf8()}})
                .json();
        id = created.value(u"sessionId"_s).toString();
        if (id.isEmpty())
            return false;
        const QString address = created.value(u"wsUrl"_s).toString();
        client.open(rewrite ? rewrite(address) : address, u"fi-FI"_s, u"chirp_3"_s, log.handler());
        return client.isActive();
    }
    refbackend::RefBackend& backend() { return fixture.backend(); }
    /// What the server received on the session's stream, or on one connection of it (from 1).
    QList<StreamMessage> received(int connection = 0) {
        QList<StreamMessage> result = backend().streamMessages(id);
        if (connection > 0)
            result.removeIf([connection](const auto& m) { return m.connection != connection; });
        return result;
    }
};

} // namespace

class WebSocketStreamClientTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesAnAddressThatIsNotAStreamURL_data() {
        QTest::addColumn<QString>("address");
        QTest::newRow("empty") << QString();
        QTest::newRow("not a URL") << u"ei osoite"_s;
        QTest::newRow("another scheme") << u"ftp://127.0.0.1:8787/v1/sessions/a/stream"_s;
        QTest::newRow("no host") << u"ws:///v1/sessions/a/stream"_s;
    }
    void refusesAnAddressThatIsNotAStreamURL() {
        QFETCH(QString, address);
        WebSocketStreamClient client(kTiming);
        try {
            client.open(address, u"fi-FI"_s, u"chirp_3"_s, [](const StreamEvent&) {});
            QFAIL("open accepted the address");
        } catch (const APIClientError& error) {
            QCOMPARE(error.kind(), APIClientError::Kind::InvalidBaseURL);
        }
        QVERIFY(!client.isActive());
    }

    void startGoesFirstOnEveryConnectionAndReconnectsAfterAClose() {
        StreamBench bench;
        QSignalSpy opened(&bench.backend(), &refbackend::RefBackend::streamOpened);
        QVERIFY(bench.start());

        // Frames sent before the handshake completes follow the start message, in order.
        for (int i = 1; i <= 5; ++i)
            bench.client.sendAudio(frame(i));
        QTRY_COMPARE_WITH_TIMEOUT(bench.received().size(), 6, kTimeout);
        const auto first = bench.received();
        QCOMPARE(jsonOf(first[0]),
                 QJsonDocument::fromJson(R"({"type":"start","language":"fi-FI","sampleRate":16000,)"
                                         R"("enableInterim":true,"sttModel":"chirp_3",)"
                                         R"("enableSpeakerDiarization":false,"speakerCount":0})")
                     .object());
        for (int i = 1; i <= 5; ++i) {
            QVERIFY(first[i].binary);
            QCOMPARE(first[i].payload, frame(i));
        }
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.countOf(kListening), 1, kTimeout);

        // Twice: the server's status after each reconnect clears the count of tries.
        for (int connection = 2; connection <= 3; ++connection) {
            QElapsedTimer sinceClose;
            sinceClose.start();
            bench.backend().closeStreams(bench.id);
            QTRY_COMPARE_WITH_TIMEOUT(opened.size(), connection, kTimeout);
            QVERIFY(sinceClose.elapsed() >= kTiming.streamReconnectBaseDelay.count() * 9 / 10);
            QTRY_COMPARE_WITH_TIMEOUT(bench.log.countOf(kListening), connection, kTimeout);
            QCOMPARE(bench.log.countOf(kReconnecting), connection - 1);
            bench.client.sendAudio(frame(connection));
            QTRY_COMPARE_WITH_TIMEOUT(bench.received(connection).size(), 2, kTimeout);
            QVERIFY(isStart(bench.received(connection)[0]));
            QCOMPARE(bench.received(connection)[1].payload, frame(connection));
        }
        QVERIFY(bench.client.isActive());
    }

    void startRepeatsAtTheIntervalUntilTheServerSpeaks() {
        StreamBench bench;
        bench.backend().faults().silentStreams = true;
        QList<qint64> startsAtMs;
        int framesReceived = 0;
        QElapsedTimer clock;
        clock.start();
        QObject receiver; // goes before the counters it writes to
        connect(&bench.backend(), &refbackend::RefBackend::streamMessageReceived, &receiver,
                [&](const QString&, const StreamMessage& message) {
                    if (isStart(message))
                        startsAtMs.append(clock.elapsed());
                    else
                        ++framesReceived;
                });
        QVERIFY(bench.start());
        QTimer frames;
        frames.callOnTimeout([&] { bench.client.sendAudio(frame(1)); });
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
        bench.backend().faults().silentStreams = false;
        bench.backend().sendStreamEvent(bench.id,
                                        {{u"type"_s, u"status"_s}, {u"state"_s, u"ok"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.events.size(), 1, kTimeout);
        const auto startsWhenConfirmed = startsAtMs.size();
        const int framesWhenConfirmed = framesReceived;
        // 60 frames at 2 ms each span several intervals.
        QTRY_VERIFY_WITH_TIMEOUT(framesReceived >= framesWhenConfirmed + 60, kTimeout);
        QCOMPARE(startsAtMs.size(), startsWhenConfirmed);
    }

    // Binary frames go until frame 50; without a transcript by then, base64 JSON takes over.
    void audioFramingSwitchesAtFrame50_data() {
        QTest::addColumn<bool>("transcriptEarly");
        QTest::newRow("no transcript came") << false;
        QTest::newRow("a transcript at frame 3") << true;
    }
    void audioFramingSwitchesAtFrame50() {
        QFETCH(bool, transcriptEarly);
        StreamBench bench;
        // Without a script the server answers the start with a status, which is no transcript.
        if (transcriptEarly) {
            bench.backend().setScript({ScriptedEvent::afterFrames(
                3, QJsonObject{{u"type"_s, u"partial"_s}, {u"text"_s, u"hei"_s}})});
        }
        QVERIFY(bench.start());
        for (int i = 1; i <= 3; ++i)
            bench.client.sendAudio(frame(i));
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.events.size(), 1, kTimeout);
        QCOMPARE(bench.log.events[0],
                 transcriptEarly ? StreamEvent{StreamEvent::Partial{u"hei"_s}} : kListening);

        for (int i = 4; i <= 60; ++i)
            bench.client.sendAudio(frame(i));
        QTRY_COMPARE_WITH_TIMEOUT(audioOf(bench.received()).size(), 60, kTimeout);
        const auto audio = audioOf(bench.received());
        for (int i = 1; i <= 60; ++i) {
            const bool binary = transcriptEarly || i < 50;
            QCOMPARE(audio[i - 1].binary, binary);
            if (binary) {
                QCOMPARE(audio[i - 1].payload, frame(i));
            } else {
                QCOMPARE(jsonOf(audio[i - 1]).value(u"audioBase64"_s).toString(),
                         QString::fromLatin1(frame(i).toBase64()));
            }
        }
        QCOMPARE(bench.client.audioTransportMode(),
                 transcriptEarly ? AudioTransportMode::binary : AudioTransportMode::base64JSON);
        if (transcriptEarly)
            return;

        // A transcript that comes later, and a reconnect, keep the new framing.
        bench.backend().sendStreamEvent(bench.id,
                                        {{u"type"_s, u"partial"_s}, {u"text"_s, u"hei"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.countOf<StreamEvent::Partial>(), 1, kTimeout);
        bench.backend().closeStreams(bench.id);
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.countOf(kListening), 2, kTimeout);
        bench.client.sendAudio(frame(61));
        QTRY_COMPARE_WITH_TIMEOUT(bench.received(2).size(), 2, kTimeout);
        const StreamMessage last = bench.received(2).last();
        QVERIFY(!last.binary);
        QCOMPARE(QByteArray::fromBase64(jsonOf(last).value(u"audioBase64"_s).toString().toLatin1()),
                 frame(61));
    }

    void serverEventsDecodeAndUnknownOnesAreSkipped() {
        StreamBench bench;
        QVERIFY(bench.start());
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.events.size(), 1, kTimeout);

        const Timestamp before = Timestamp::now();
        for (const char* event : {
                 R"({"type":"partial","text":"hyvää"})",
                 R"({"type":"unknown","text":"x"})",
                 R"({"type":"final","text":"Hyvää huomenta","speakerLabel":"S1",)"
                 R"("ts":"2026-02-11T10:00:00Z"})",
                 R"({"type":5})",
                 R"({"type":"final","text":"murto-osa","ts":"2026-02-11T10:00:00.123Z"})",
                 R"({"text":"no type"})",
                 R"({"type":"final"})",
                 R"({"type":"status","state":"listening","sttModel":"chirp_3"})",
                 R"({"type":"error"})",
                 R"({"type":"error","message":"Kiintiö täynnä"})",
             }) {
            bench.backend().sendStreamEvent(bench.id, QJsonDocument::fromJson(event).object());
        }
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.events.size(), 8, kTimeout);
        const Timestamp after = Timestamp::now();

        const auto& events = bench.log.events;
        QCOMPARE(events[1], StreamEvent{StreamEvent::Partial{u"hyvää"_s}});
        QCOMPARE(events[2], (StreamEvent{StreamEvent::Final{
                                u"Hyvää huomenta"_s,
                                *Timestamp::parseIso8601(u"2026-02-11T10:00:00Z"_s), u"S1"_s}}));
        // The server's time is read with a fraction of a second too, so the line keeps its place
        // in the server's order; no time at all gives the moment of arrival.
        QCOMPARE(events[3],
                 (StreamEvent{StreamEvent::Final{
                     u"murto-osa"_s, *Timestamp::parseIso8601(u"2026-02-11T10:00:00.123Z"_s),
                     std::nullopt}}));
        QVERIFY(std::abs(events[3].as<StreamEvent::Final>()->timestamp.secondsSince(
                             *Timestamp::parseIso8601(u"2026-02-11T10:00:00Z"_s)) -
                         0.123) < 1e-6);
        const auto* untimed = events[4].as<StreamEvent::Final>();
        QVERIFY(untimed);
        QVERIFY(untimed->timestamp >= before && untimed->timestamp <= after);
        QCOMPARE(untimed->text, QString());
        QCOMPARE(events[5], (StreamEvent{StreamEvent::Status{u"listening"_s, u"chirp_3"_s}}));
        QCOMPARE(events[6], StreamEvent{StreamEvent::Error{u"Tuntematon virhe"_s}});
        QCOMPARE(events[7], StreamEvent{StreamEvent::Error{u"Kiintiö täynnä"_s}});
    }

    // The reference backend sends only JSON objects, so what it cannot send is read directly.
    void messagesThatAreNotEventsAreIgnored_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("not JSON") << QByteArray("partial");
        QTest::newRow("array") << QByteArray(R"([{"type":"partial"}])");
        QTest::newRow("type not text") << QByteArray(R"({"type":["partial"]})");
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
        StreamBench bench;
        QSignalSpy opened(&bench.backend(), &refbackend::RefBackend::streamOpened);
        QVERIFY(bench.start());
        EventLog& log = bench.log;
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf(kListening), 1, kTimeout);

        bench.backend().faults().streamConnectionsToRefuse = 100;
        const qint64 closedAtMs = log.clock.elapsed();
        bench.backend().closeStreams(bench.id);
        QTRY_COMPARE_WITH_TIMEOUT(log.countOf<StreamEvent::Error>(), 1, 3 * kTimeout);

        // Eight reconnects, the error after them, and nothing more.
        QCOMPARE(log.events.size(), 1 + 8 + 1);
        QCOMPARE(log.countOf(kReconnecting), 8);
        const QString message = log.events.last().as<StreamEvent::Error>()->message;
        const QString prefix = UiText::streamConnectionLost(QString());
        QCOMPARE(prefix, u"WS-yhteys katkesi eikä uudelleenyhteys onnistunut: "_s);
        // The cause is told in the client's own words, never in the socket library's English.
        const QStringList causes{UiText::networkConnectionRefused, UiText::networkConnectionLost,
                                 UiText::networkFailed, UiText::streamConnectionClosed};
        QVERIFY2(message.startsWith(prefix) && causes.contains(message.mid(prefix.size())),
                 qPrintable(message));
        QCOMPARE(bench.backend().faults().streamConnectionsToRefuse, 100 - 8);
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
        QVERIFY(bench.client.isActive());
        bench.client.sendAudio(frame(1));
        QTRY_VERIFY_WITH_TIMEOUT(log.countOf<StreamEvent::Error>() >= 2, kTimeout);
        QCOMPARE(log.countOf(log.events[9]), log.events.size() - 9);
        QCOMPARE(log.countOf(kReconnecting), 8);
        QCOMPARE(bench.backend().faults().streamConnectionsToRefuse, 100 - 8);
    }

    void stopIsSentAndNothingFollowsDisconnect() {
        StreamBench bench;
        QSignalSpy closed(&bench.backend(), &refbackend::RefBackend::streamClosed);
        QVERIFY(bench.start());
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.events.size(), 1, kTimeout);

        // A bad address for a running client changes nothing: the stop goes on the same stream.
        QVERIFY_THROWS_EXCEPTION(APIClientError,
                                 bench.client.open(u"ftp://127.0.0.1/"_s, u"fi-FI"_s, u"chirp_3"_s,
                                                   bench.log.handler()));
        QVERIFY(bench.client.isActive());
        bench.client.sendStop();
        QTRY_COMPARE_WITH_TIMEOUT(bench.received().size(), 2, kTimeout);
        QCOMPARE(bench.received().last().connection, 1);
        QCOMPARE(jsonOf(bench.received().last()), (QJsonObject{{u"type"_s, u"stop"_s}}));

        // What the server sends after the close never reaches the handler.
        bench.backend().sendStreamEvent(bench.id,
                                        {{u"type"_s, u"partial"_s}, {u"text"_s, u"myöhä"_s}});
        bench.client.close();
        QVERIFY(!bench.client.isActive());
        bench.client.sendAudio(frame(1));
        bench.client.sendStop();
        QTRY_COMPARE_WITH_TIMEOUT(closed.size(), 1, kTimeout);
        QCOMPARE(bench.received().size(), 2);
        QCOMPARE(bench.log.events.size(), 1);
    }

    void anHttpAddressMeansTheWebSocketOnTheSameHost() {
        StreamBench bench;
        QSignalSpy opened(&bench.backend(), &refbackend::RefBackend::streamOpened);
        QVERIFY(
            bench.start([](QString address) { return address.replace(u"ws://"_s, u"http://"_s); }));
        QTRY_COMPARE_WITH_TIMEOUT(opened.size(), 1, kTimeout);
        QTRY_VERIFY_WITH_TIMEOUT(!bench.received().isEmpty(), kTimeout);
        QCOMPARE(jsonOf(bench.received().first()).value(u"type"_s), u"start"_s);
    }

    void anOversizedMessageIsAProtocolErrorThatReconnects() {
        StreamBench bench;
        QSignalSpy opened(&bench.backend(), &refbackend::RefBackend::streamOpened);
        QVERIFY(bench.start());
        QTRY_COMPARE_WITH_TIMEOUT(opened.size(), 1, kTimeout);
        const QString huge(WebSocketStreamClient::maxIncomingMessageBytes, u'a');
        bench.backend().sendStreamEvent(bench.id, {{u"type"_s, u"partial"_s}, {u"text"_s, huge}});
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.countOf(kReconnecting), 1, kTimeout);
        QTRY_COMPARE_WITH_TIMEOUT(opened.size(), 2, kTimeout);
        QCOMPARE(bench.log.countOf<StreamEvent::Partial>(), 0);

        // Within the limit a message goes through on the new connection.
        bench.backend().sendStreamEvent(bench.id,
                                        {{u"type"_s, u"partial"_s}, {u"text"_s, u"hei"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.countOf<StreamEvent::Partial>(), 1, kTimeout);
    }

    void disconnectDuringBackOffCancelsTheReconnect() {
        StreamBench bench;
        QSignalSpy opened(&bench.backend(), &refbackend::RefBackend::streamOpened);
        QVERIFY(bench.start());
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.events.size(), 1, kTimeout);

        bench.backend().closeStreams(bench.id);
        QTRY_COMPARE_WITH_TIMEOUT(bench.log.countOf(kReconnecting), 1, kTimeout);
        bench.client.close();
        // Ten times the delay that was armed: no new connection, no event.
        const auto nothingMore = [&] { return opened.size() > 1 || bench.log.events.size() > 2; };
        QVERIFY(!QTest::qWaitFor(nothingMore,
                                 static_cast<int>(10 * kTiming.streamReconnectBaseDelay.count())));
    }
};

QTEST_GUILESS_MAIN(WebSocketStreamClientTest)
#include "tst_websocket_stream_client.moc"
