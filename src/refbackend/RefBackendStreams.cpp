// The audio stream side of the reference backend: WebSocket connections on the HTTP port.
#include "refbackend/EnergyRecognizer.h"
#include "refbackend/PocketSphinxDecoder.h"
#include "refbackend/PocketSphinxRecognizer.h"
#include "refbackend/RefBackend.h"
#include "refbackend/RefHttpServer.h"
#include "refbackend/SessionRegistry.h"

#include <QRegularExpression>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

QString sessionIdOfStreamPath(const QString& path) {
    static const QRegularExpression streamPath(u"^/v1/sessions/([^/]+)/stream$"_s);
    const auto match = streamPath.match(path);
    return match.hasMatch() ? match.captured(1) : QString();
}

} // namespace

bool RefBackend::mayOpenStream(const QString& path, const QUrlQuery& query) {
    const ServerSession* session = m_sessions->find(sessionIdOfStreamPath(path));
    return session && !session->isStopped() &&
           session->streamToken == query.queryItemValue(u"token"_s);
}

void RefBackend::acceptWebSocketConnections() {
    m_server->setUpgradeGate([this](const RecordedRequest& request) {
        return mayOpenStream(request.path, request.query);
    });
    connect(m_server, &QAbstractHttpServer::newWebSocketConnection, this, [this] {
        while (m_server->hasPendingWebSocketConnections())
            openStream(m_server->nextPendingWebSocketConnection());
    });
}

void RefBackend::openStream(std::unique_ptr<QWebSocket> socket) {
    const QUrl url = socket->requestUrl();
    const QString sessionId = sessionIdOfStreamPath(url.path());
    // The gate let it through; the session may have ended in the meantime.
    if (!mayOpenStream(url.path(), QUrlQuery(url))) {
        socket->close(QWebSocketProtocol::CloseCodePolicyViolated, u"session closed"_s);
        socket.release()->deleteLater();
        return;
    }
    // A cut closes each new stream at once, as a front end that lost its upstream does; a
    // close frame, since an abort of a just-upgraded socket may reach the client only when it
    // next sends.
    if (m_faults.refusesStreamsNow()) {
        socket->close(QWebSocketProtocol::CloseCodeGoingAway, u"stream outage"_s);
        socket.release()->deleteLater();
        return;
    }
    if (m_faults.streamConnectionsToRefuse > 0) {
        --m_faults.streamConnectionsToRefuse;
        socket->abort();
        socket.release()->deleteLater();
        return;
    }

    cancelIdleStop(sessionId);
    const int index = ++m_connectionCounts[sessionId];
    auto* connection = new StreamConnection(std::move(socket), sessionId, index, this);
    m_connections.append(connection);

    connect(connection, &StreamConnection::messageReceived, this,
            [this, sessionId](const StreamMessage& message) {
                if (m_options.recordStreamMessages)
                    m_streamMessages[sessionId].append(message);
                Q_EMIT streamMessageReceived(sessionId, message);
            });
    connect(connection, &StreamConnection::startReceived, this,
            [this, connection](const QString& language, const QString& sttModel) {
                startStream(connection, language, sttModel);
            });
    connect(connection, &StreamConnection::audioReceived, this,
            [this, connection](const QByteArray& pcm, bool binary) {
                receiveAudio(connection, pcm, binary);
            });
    connect(connection, &StreamConnection::stopReceived, this,
            [this, connection] { stopStream(connection); });
    connect(connection, &StreamConnection::closed, this, [this, connection] {
        m_connections.removeOne(connection);
        if (ServerSession* closedSession = m_sessions->find(connection->sessionId())) {
            m_sessions->persist(*closedSession);
            if (!closedSession->isStopped() && connectionsOf(closedSession->id).isEmpty())
                armIdleStop(closedSession->id);
        }
        Q_EMIT streamClosed(connection->sessionId(), connection->connection());
        connection->deleteLater();
    });
    Q_EMIT streamOpened(sessionId, index);
}

Recognizer& RefBackend::recognizerFor(const ServerSession& session) {
    auto& recognizer = m_recognizers[session.id];
    if (!recognizer) {
        switch (m_options.recognizer) {
        case RecognizerKind::scripted:
            recognizer = std::make_unique<ScriptedRecognizer>(m_script);
            break;
        case RecognizerKind::energy:
            recognizer = std::make_unique<EnergyRecognizer>(session.createdAt);
            break;
        case RecognizerKind::pocketsphinx:
            recognizer = std::make_unique<PocketSphinxRecognizer>(
                session.createdAt, m_options.speechModelDirectory.isEmpty()
                                       ? PocketSphinxDecoder::defaultModelDirectory()
                                       : m_options.speechModelDirectory);
            break;
        }
        recognizer->setEventSink(
            [this, id = session.id](const QJsonObject& event) { deliverEvent(id, event); });
    }
    return *recognizer;
}

void RefBackend::startStream(StreamConnection* connection, const QString& language,
                             const QString& sttModel) {
    if (const ServerSession* session = m_sessions->find(connection->sessionId()))
        recognizerFor(*session).start(language, sttModel);
}

void RefBackend::receiveAudio(StreamConnection* connection, const QByteArray& pcm, bool binary) {
    ServerSession* session = m_sessions->find(connection->sessionId());
    if (!session || session->isStopped() || (binary && m_faults.ignoreBinaryFrames))
        return;
    session->countAudioFrame(pcm);
    m_sessions->appendAudio(*session, pcm);
    recognizerFor(*session).audio(pcm);
}

void RefBackend::stopStream(StreamConnection* connection) {
    ServerSession* session = m_sessions->find(connection->sessionId());
    if (!session)
        return;
    recognizerFor(*session).stop();
    m_sessions->persist(*session);
}

void RefBackend::deliverEvent(const QString& sessionId, const QJsonObject& event) {
    if (ServerSession* session = m_sessions->find(sessionId)) {
        const QString type = event.value(u"type"_s).toString();
        if (type == u"partial"_s) {
            ++session->interimCount;
        } else if (type == u"final"_s) {
            ++session->finalCount;
            const QString speaker = event.value(u"speakerLabel"_s).toString();
            session->segments.append(
                TranscriptLine{event.value(u"text"_s).toString(), event.value(u"ts"_s).toString(),
                               speaker.isEmpty() ? std::nullopt : std::optional(speaker)});
            m_sessions->persist(*session);
        } else if (type == u"error"_s) {
            session->lastSttError =
                SttErrorInfo{Timestamp::now().toIso8601(), event.value(u"code"_s).toInt(),
                             event.value(u"message"_s).toString()};
        }
    }
    if (m_faults.silentStreams)
        return;
    for (StreamConnection* connection : connectionsOf(sessionId))
        connection->sendEvent(event);
}

void RefBackend::sendStreamEvent(const QString& sessionId, const QJsonObject& event) {
    deliverEvent(sessionId, event);
}

QList<StreamConnection*> RefBackend::connectionsOf(const QString& sessionId) const {
    QList<StreamConnection*> result;
    for (StreamConnection* connection : m_connections) {
        if (connection->sessionId() == sessionId)
            result.append(connection);
    }
    return result;
}

void RefBackend::armIdleStop(const QString& sessionId) {
    if (m_options.idleStopLimit <= std::chrono::milliseconds::zero())
        return;
    cancelIdleStop(sessionId);
    auto* timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setInterval(m_options.idleStopLimit);
    connect(timer, &QTimer::timeout, this, [this, sessionId] {
        cancelIdleStop(sessionId);
        ServerSession* session = m_sessions->find(sessionId);
        if (!session || session->isStopped() || !connectionsOf(sessionId).isEmpty())
            return;
        // What the recogniser still holds becomes the last line, as at a stop message.
        if (const auto recognizer = m_recognizers.find(sessionId);
            recognizer != m_recognizers.end())
            recognizer->second->stop();
        endSession(sessionId);
    });
    m_idleStopTimers.insert(sessionId, timer);
    timer->start();
}

void RefBackend::cancelIdleStop(const QString& sessionId) {
    if (QTimer* timer = m_idleStopTimers.take(sessionId))
        timer->deleteLater();
}

} // namespace vesnara::refbackend
