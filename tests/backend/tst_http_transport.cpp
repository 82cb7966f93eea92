#include "async/CancellationToken.h"
#include "backend/HttpTransport.h"
#include "support/AwaitTask.h"
#include "support/RefBackendFixture.h"
#include "support/TestHttp.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vesnara;
using namespace vesnara::test;
using refbackend::HttpFault;

namespace {

HttpRequest requestTo(const QUrl& base, const QString& path, QByteArray method = "GET") {
    HttpRequest request;
    request.method = std::move(method);
    request.url = base.resolved(QUrl(path));
    return request;
}

HttpFault fault(HttpFault::Kind kind, const QString& path) {
    HttpFault f;
    f.kind = kind;
    f.pathContains = path;
    return f;
}

// Makes `server` answer whatever it is sent with `reply`.
void answerEverything(QTcpServer& server, const QByteArray& reply) {
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&server, reply] {
        QTcpSocket* socket = server.nextPendingConnection();
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket, reply] {
            socket->readAll();
            socket->write(reply);
        });
    });
}

using Failure = std::optional<std::pair<TransportError::Kind, QString>>;

// The kind and user text of the `TransportError` the task threw.
template <typename Outcome> Failure failureOf(const Outcome& outcome) {
    const auto error = outcome.template errorAs<TransportError>();
    return error ? Failure({error->kind(), error->description()}) : std::nullopt;
}

const Failure kCancelled{{TransportError::Kind::Cancelled, u"Pyyntö peruttiin"_s}};

} // namespace

class HttpTransportTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_fixture = std::make_unique<RefBackendFixture>();
        QVERIFY2(m_fixture->isListening(), qPrintable(m_fixture->backend().errorString()));
        m_transport = std::make_unique<HttpTransport>();
    }
    void cleanup() {
        m_transport.reset();
        m_fixture.reset();
    }

    void everyHttpStatusIsAResponse() {
        const QUrl base = backend().baseUrl();
        const auto ok = awaitTask(m_transport->send(requestTo(base, u"/health"_s)));
        QVERIFY(ok.value);
        QCOMPARE(ok.value->status, 200);
        QVERIFY(ok.value->body.contains("\"ok\""));
        QCOMPARE(ok.value->header("CONTENT-TYPE"), std::optional("application/json"_ba));

        const auto missing = awaitTask(m_transport->send(requestTo(base, u"/no/such/path"_s)));
        QVERIFY(missing.value);
        QCOMPARE(missing.value->status, 404);
        QVERIFY(missing.value->body.contains("\"error\""));

        HttpFault unavailable = fault(HttpFault::Kind::respond, u"/health"_s);
        unavailable.status = 503;
        unavailable.body = "<html>down</html>";
        backend().faults().httpFaults.push_back(unavailable);
        const auto down = awaitTask(m_transport->send(requestTo(base, u"/health"_s)));
        QVERIFY(down.value);
        QCOMPARE(down.value->status, 503);
        QCOMPARE(down.value->body, "<html>down</html>"_ba);
    }

    void redirectsAreFollowed() {
        QTcpServer forwarder;
        QVERIFY(forwarder.listen(QHostAddress::LocalHost, 0));
        answerEverything(forwarder,
                         "HTTP/1.1 302 Found\r\nLocation: " + backend().baseUrl().toEncoded() +
                             "/health\r\nContent-Length: 0\r\n\r\n");
        const auto outcome = awaitTask(m_transport->send(
            requestTo(QUrl(u"http://127.0.0.1:%1"_s.arg(forwarder.serverPort())), u"/old"_s)));
        QVERIFY(outcome.value);
        QCOMPARE(outcome.value->status, 200);
        QCOMPARE(backend().requests().size(), 1);
        QCOMPARE(backend().requests().first().path, u"/health"_s);
    }

    void noBodyIsNotAnEmptyBody() {
        const QUrl base = backend().baseUrl();
        HttpRequest withoutBody = requestTo(base, u"/v1/sessions/x/summary"_s, "POST");
        withoutBody.setHeader("Content-Type", "application/json");
        HttpRequest emptyBody = withoutBody;
        emptyBody.body = QByteArray();
        HttpRequest withBody = withoutBody;
        withBody.body = "{\"a\":1}";

        for (const HttpRequest& request : {withoutBody, emptyBody, withBody})
            QVERIFY(awaitTask(m_transport->send(request)).value);

        const auto& seen = backend().requests();
        QCOMPARE(seen.size(), 3);
        for (const auto& request : seen) {
            QCOMPARE(request.method, "POST"_ba);
            QCOMPARE(request.header("content-type"), "application/json"_ba);
        }
        // Without a body the length is still said, as HTTP/1.1 front ends require of a POST.
        QCOMPARE(seen[0].header("content-length"), "0"_ba);
        QVERIFY(seen[0].body.isEmpty());
        QCOMPARE(seen[1].header("content-length"), "0"_ba);
        QCOMPARE(seen[2].body, "{\"a\":1}"_ba);
    }

    void failuresWithoutAnAnswerAreTransportErrors() {
        const quint16 port = closedLoopbackPort();
        QVERIFY(port != 0);
        const auto refused = awaitTask(
            m_transport->send(requestTo(QUrl(u"http://127.0.0.1:%1"_s.arg(port)), u"/health"_s)));
        QCOMPARE(failureOf(refused), Failure({TransportError::Kind::ConnectionRefused,
                                              u"Palvelimeen ei saatu yhteyttä"_s}));

        // Qt sends a request once more on a fresh connection when the first closes unanswered.
        for (int i = 0; i < 2; ++i)
            backend().faults().httpFaults.push_back(fault(HttpFault::Kind::drop, u"/health"_s));
        const auto dropped =
            awaitTask(m_transport->send(requestTo(backend().baseUrl(), u"/health"_s)));
        QCOMPARE(failureOf(dropped),
                 Failure({TransportError::Kind::ConnectionLost, u"Yhteys palvelimeen katkesi"_s}));

        // TLS spoken to a plain HTTP server that answers the greeting in plain text.
        QTcpServer plain;
        QVERIFY(plain.listen(QHostAddress::LocalHost, 0));
        answerEverything(plain, "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n");
        const auto tls = awaitTask(m_transport->send(
            requestTo(QUrl(u"https://127.0.0.1:%1"_s.arg(plain.serverPort())), u"/health"_s)));
        QCOMPARE(failureOf(tls), Failure({TransportError::Kind::Tls,
                                          u"Suojattua yhteyttä palvelimeen ei voitu muodostaa"_s}));

        const auto unknown = awaitTask(
            m_transport->send(requestTo(QUrl(u"http://vesnara-test.invalid"_s), u"/health"_s)),
            30s);
        QVERIFY(unknown.finished);
        QCOMPARE(failureOf(unknown), Failure({TransportError::Kind::HostNotFound,
                                              u"Palvelimen osoitetta ei löytynyt"_s}));
    }

    void aStalledTransferTimesOut() {
        delayHealth(3s);
        HttpRequest request = requestTo(backend().baseUrl(), u"/health"_s);
        request.timeLimit = 200ms;
        QElapsedTimer elapsed;
        elapsed.start();
        const auto outcome = awaitTask(m_transport->send(request));
        QCOMPARE(failureOf(outcome),
                 Failure({TransportError::Kind::TimedOut, u"Palvelin ei vastannut ajoissa"_s}));
        QVERIFY2(elapsed.elapsed() < 2500, "the limit, not the server, must end the wait");
    }

    void cancellingAbortsTheRequestInFlight() {
        delayHealth(5s);
        CancellationSource source;
        const auto outcome = startTask(
            m_transport->send(requestTo(backend().baseUrl(), u"/health"_s), source.token()));
        QTRY_COMPARE(backend().requests().size(), 1);
        QVERIFY(!outcome->finished);

        source.cancel();
        QVERIFY2(!outcome->finished, "the task must not resume inside cancel()");
        waitFor(outcome, 3s);
        QVERIFY(outcome->finished);
        QCOMPARE(failureOf(*outcome), kCancelled);

        // A token cancelled beforehand sends nothing.
        const auto late = awaitTask(
            m_transport->send(requestTo(backend().baseUrl(), u"/health"_s), source.token()));
        QCOMPARE(failureOf(late), kCancelled);
        QCOMPARE(backend().requests().size(), 1);
    }

    void destroyingTheTransportEndsRequestsInFlight() {
        delayHealth(5s);
        const auto outcome =
            startTask(m_transport->send(requestTo(backend().baseUrl(), u"/health"_s)));
        QTRY_COMPARE(backend().requests().size(), 1);

        m_transport.reset();
        QVERIFY(!outcome->finished);
        waitFor(outcome, 3s);
        QVERIFY(outcome->finished);
        QCOMPARE(failureOf(*outcome), kCancelled);
    }

    // Cancellation and the cancellable sleep, which the engine's periodic tasks share.

    void tokensFollowTheirSource() {
        const CancellationToken none;
        QVERIFY(!none.isCancelled());
        QVERIFY(!none.canBeCancelled());
        QVERIFY(!none.onCancelled(this, [] {}));

        CancellationSource source;
        const CancellationToken token = source.token();
        const CancellationToken copy = token;
        int calls = 0;
        QVERIFY(copy.onCancelled(this, [&calls] { ++calls; }));
        QVERIFY(!token.isCancelled());
        source.cancel();
        source.cancel();
        QVERIFY(token.isCancelled());
        QVERIFY(copy.isCancelled());
        QVERIFY(source.isCancelled());
        QCOMPARE(calls, 1);
    }

    void sleepRunsItsCourseUnlessCancelled() {
        QElapsedTimer elapsed;
        elapsed.start();
        const auto full = awaitTask(sleepFor(50ms));
        QCOMPARE(full.value, std::optional(true));
        QVERIFY(elapsed.elapsed() >= 45);

        CancellationSource source;
        const auto cut = startTask(sleepFor(10s, source.token()));
        QVERIFY(!cut->finished);
        source.cancel();
        QVERIFY2(!cut->finished, "the sleeper must not resume inside cancel()");
        waitFor(cut, 2s);
        QCOMPARE(cut->value, std::optional(false));

        const auto already = startTask(sleepFor(10s, source.token()));
        QVERIFY(already->finished);
        QCOMPARE(already->value, std::optional(false));
    }

private:
    refbackend::RefBackend& backend() { return m_fixture->backend(); }

    void delayHealth(std::chrono::milliseconds by) {
        HttpFault slow = fault(HttpFault::Kind::delay, u"/health"_s);
        slow.delay = by;
        backend().faults().httpFaults.push_back(slow);
    }

    std::unique_ptr<RefBackendFixture> m_fixture;
    std::unique_ptr<HttpTransport> m_transport;
};

QTEST_GUILESS_MAIN(HttpTransportTest)
#include "tst_http_transport.moc"
