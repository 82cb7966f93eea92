#include "backend/WebSocketStreamClient.h"

#include "backend/APIClientError.h"
#include "backend/HttpTransport.h"
#include "text/UiText.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>
#include <QWebSocket>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr int kSampleRate = 16000;

std::optional<QUrl> parseStreamURL(const QString& text) {
    QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    // A server that names its stream by the HTTP address it is reached by means the WebSocket
    // on it, with the same security.
    if (url.scheme() == u"http"_s)
        url.setScheme(u"ws"_s);
    else if (url.scheme() == u"https"_s)
        url.setScheme(u"wss"_s);
    if (url.scheme() != u"ws"_s && url.scheme() != u"wss"_s)
        return std::nullopt;
    return url;
}

QByteArray compactJson(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// The user's words for why a stream connection failed, in the network texts of the HTTP
/// client; empty when the socket reports no error (the server simply closed it). Qt's own
/// English description goes to the log only.
QString socketFailureDescription(const QWebSocket& socket) {
    using Kind = TransportError::Kind;
    const auto describe = [&socket](Kind kind) {
        return TransportError(kind, socket.errorString()).description();
    };
    switch (socket.error()) {
    case QAbstractSocket::UnknownSocketError:
        return {};
    case QAbstractSocket::ConnectionRefusedError:
        return describe(Kind::ConnectionRefused);
    case QAbstractSocket::HostNotFoundError:
        return describe(Kind::HostNotFound);
    case QAbstractSocket::SocketTimeoutError:
        return describe(Kind::TimedOut);
    case QAbstractSocket::RemoteHostClosedError:
        return describe(Kind::ConnectionLost);
    case QAbstractSocket::SslHandshakeFailedError:
    case QAbstractSocket::SslInternalError:
    case QAbstractSocket::SslInvalidUserDataError:
        return describe(Kind::Tls);
    default:
        return describe(Kind::Other);
    }
}

} // namespace

WebSocketStreamClient::WebSocketStreamClient(Timing timing, QObject* parent)
    : QObject(parent)
    , m_timing(timing) {
    m_reconnectTimer.setSingleShot(true);
    // A coarse timer may fire 5 % early, and the back-off is a promise to the server.
    m_reconnectTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_reconnectTimer, &QTimer::timeout, this, [this] {
        if (m_isRunning)
            reconnect();
    });
    m_spool = AudioSpool(AudioSpool::capacityFor(m_timing.audioSpoolCapacity));
    m_drainTimer.setSingleShot(true);
    m_drainTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_drainTimer, &QTimer::timeout, this, [this] { drainSpool(); });
    m_drainGraceTimer.setSingleShot(true);
    QObject::connect(&m_drainGraceTimer, &QTimer::timeout, this, [this] {
        if (m_isRunning && !m_isReconnecting && socketReadiness() == SocketReadiness::connected)
            beginSpoolDrain();
    });
}

WebSocketStreamClient::~WebSocketStreamClient() {
    // The socket must not call back into members that are already gone.
    if (m_socket) {
        m_socket->disconnect(this);
        delete m_socket;
    }
}

void WebSocketStreamClient::open(const QString& wsURL, const QString& language,
                                 const QString& sttModel, EventHandler onEvent) {
    const auto url = parseStreamURL(wsURL);
    if (!url)
        throw APIClientError::invalidBaseURL();

    closeSocket();
    m_reconnectTimer.stop();
    ++m_generation;
    m_onEvent = std::move(onEvent);
    m_wsURLString = wsURL;
    m_language = language;
    m_sttModel = sttModel;
    m_startConfirmed = false;
    m_lastStartAttemptAt.reset();
    m_reconnectAttempts = 0;
    m_isReconnecting = false;
    m_audioFramesSent = 0;
    m_transcriptEventsReceived = 0;
    m_audioTransportMode = AudioTransportMode::binary;
    resetSpool();

    openSocket(*url);
    m_isRunning = true;
    m_startPayloadText = makeStartPayloadText();
    attemptSendStart(true);
}

void WebSocketStreamClient::sendAudio(const QByteArray& frame) {
    if (!m_isRunning)
        return;
    if (!m_startConfirmed)
        attemptSendStart(false);
    if (m_spooling) {
        // Counted when it leaves the spool, so each frame counts once.
        m_spool.push(frame);
        return;
    }
    sendFrameOnWire(frame);
}

void WebSocketStreamClient::sendFrameOnWire(const QByteArray& frame) {
    ++m_audioFramesSent;
    if (m_audioTransportMode == AudioTransportMode::binary && m_transcriptEventsReceived == 0 &&
        m_audioFramesSent >= base64SwitchFrame)
        m_audioTransportMode = AudioTransportMode::base64JSON;

    if (m_audioTransportMode == AudioTransportMode::binary) {
        send(OutgoingMessage{true, frame}, true);
    } else {
        send(OutgoingMessage{false, compactJson(QJsonObject{
                                        {u"type"_s, u"audio"_s},
                                        {u"audioBase64"_s, QString::fromLatin1(frame.toBase64())},
                                    })},
             true);
    }
}

void WebSocketStreamClient::sendStop() {
    if (!m_isRunning)
        return;
    if (m_spooling) {
        // The server must not end the session before the held audio has reached it.
        m_stopHeldBehindSpool = true;
        return;
    }
    send(OutgoingMessage{false, compactJson(QJsonObject{{u"type"_s, u"stop"_s}})}, false);
}

void WebSocketStreamClient::close() {
    m_isRunning = false;
    m_isReconnecting = false;
    m_reconnectTimer.stop();
    closeSocket();
    m_startPayloadText.clear();
    m_startConfirmed = false;
    m_wsURLString.clear();
    m_language.clear();
    m_sttModel.clear();
    m_reconnectAttempts = 0;
    m_audioFramesSent = 0;
    m_transcriptEventsReceived = 0;
    m_onEvent = nullptr;
    resetSpool();
}

void WebSocketStreamClient::setAudioSpoolEnabled(bool enabled) {
    m_spoolEnabled = enabled;
    if (!enabled)
        resetSpool();
}

void WebSocketStreamClient::resetSpool() {
    m_drainTimer.stop();
    m_drainGraceTimer.stop();
    m_draining = false;
    m_spooling = false;
    m_stopHeldBehindSpool = false;
    m_drainReleasedBytes = 0;
    m_spool.clear();
}

void WebSocketStreamClient::beginSpoolDrain() {
    m_drainGraceTimer.stop();
    if (!m_spooling || m_draining)
        return;
    m_draining = true;
    m_drainStartedAt = std::chrono::steady_clock::now();
    m_drainReleasedBytes = 0;
    Q_EMIT audioSpoolDrainStarted(m_spool.bytes(), m_spool.takeDroppedBytes());
    drainSpool();
}

void WebSocketStreamClient::drainSpool() {
    if (!m_isRunning || !m_draining)
        return;
    const auto elapsed = std::chrono::steady_clock::now() - m_drainStartedAt;
    while (!m_spool.isEmpty()) {
        const auto due =
            spoolReleaseOffset(m_drainReleasedBytes, m_timing.audioSpoolPerAudioSecond);
        if (due > elapsed) {
            const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due - elapsed);
            m_drainTimer.start(std::max(wait, std::chrono::milliseconds(1)));
            return;
        }
        if (socketReadiness() != SocketReadiness::connected) {
            // The new connection is failing too: what is left waits for the next one.
            m_draining = false;
            handleReceiveFailure(m_socket ? socketFailureDescription(*m_socket) : QString());
            return;
        }
        const QByteArray frame = m_spool.pop();
        m_drainReleasedBytes += frame.size();
        sendFrameOnWire(frame);
    }
    m_draining = false;
    m_spooling = false;
    m_spool.clear();
    if (std::exchange(m_stopHeldBehindSpool, false))
        sendStop();
}

void WebSocketStreamClient::openSocket(const QUrl& url) {
    auto* socket = new QWebSocket(QString(), QWebSocketProtocol::VersionLatest, this);
    socket->setMaxAllowedIncomingMessageSize(maxIncomingMessageBytes);
    socket->setMaxAllowedIncomingFrameSize(maxIncomingMessageBytes);
    m_socket = socket;
    m_socketFailed = false;
    m_startHeld = false;
    m_heldMessages.clear();

    QObject::connect(socket, &QWebSocket::connected, this, [this, socket] {
        if (socket != m_socket)
            return;
        flushHeldMessages();
        // A server that says nothing to a start still gets the held audio once the connection
        // has stood for a moment.
        if (m_spooling && !m_draining)
            m_drainGraceTimer.start(m_timing.audioSpoolDrainGrace);
    });
    QObject::connect(socket, &QWebSocket::textMessageReceived, this,
                     [this, socket](const QString& text) {
                         if (socket == m_socket)
                             handleMessage(StreamEvent::fromServerMessage(text, Timestamp::now()));
                     });
    QObject::connect(socket, &QWebSocket::binaryMessageReceived, this,
                     [this, socket](const QByteArray& bytes) {
                         if (socket == m_socket)
                             handleMessage(StreamEvent::fromServerMessage(bytes, Timestamp::now()));
                     });
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    const auto errorSignal = &QWebSocket::errorOccurred;
#else
    const auto errorSignal = qOverload<QAbstractSocket::SocketError>(&QWebSocket::error);
#endif
    QObject::connect(socket, errorSignal, this, [this, socket] { handleSocketFailure(socket); });
    QObject::connect(socket, &QWebSocket::disconnected, this,
                     [this, socket] { handleSocketFailure(socket); });

    socket->open(url);
    QTimer::singleShot(m_timing.streamHandshakeLimit, socket, [this, socket] {
        if (socket != m_socket || socketReadiness() != SocketReadiness::connecting)
            return;
        socket->abort();
        handleSocketFailure(socket);
    });
}

void WebSocketStreamClient::closeSocket() {
    m_startHeld = false;
    m_heldMessages.clear();
    QWebSocket* socket = std::exchange(m_socket, nullptr);
    if (!socket)
        return;
    socket->disconnect(this);
    if (socket->state() == QAbstractSocket::ConnectedState) {
        // Let the close handshake finish before the object goes.
        QObject::connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
        socket->close(QWebSocketProtocol::CloseCodeGoingAway);
    } else {
        socket->abort();
        socket->deleteLater();
    }
}

void WebSocketStreamClient::attemptSendStart(bool force) {
    if (!m_isRunning || m_startPayloadText.isEmpty())
        return;
    const auto now = std::chrono::steady_clock::now();
    if (!force && m_lastStartAttemptAt &&
        now - *m_lastStartAttemptAt < m_timing.streamStartRepeatInterval)
        return;
    m_lastStartAttemptAt = now;
    switch (socketReadiness()) {
    case SocketReadiness::none:
        return;
    case SocketReadiness::connecting:
        m_startHeld = true; // goes out first when the handshake completes
        return;
    case SocketReadiness::connected:
        m_socket->sendTextMessage(m_startPayloadText);
        return;
    case SocketReadiness::lost:
        handleReceiveFailure(socketFailureDescription(*m_socket));
        return;
    }
}

void WebSocketStreamClient::send(OutgoingMessage message, bool failureCounts) {
    switch (socketReadiness()) {
    case SocketReadiness::none:
        return;
    case SocketReadiness::connecting:
        if (m_heldMessages.size() < maxMessagesHeldWhileConnecting)
            m_heldMessages.append(std::move(message));
        return;
    case SocketReadiness::connected:
        sendNow(message);
        return;
    case SocketReadiness::lost:
        if (failureCounts)
            handleReceiveFailure(socketFailureDescription(*m_socket));
        return;
    }
}

void WebSocketStreamClient::sendNow(const OutgoingMessage& message) {
    if (message.binary)
        m_socket->sendBinaryMessage(message.payload);
    else
        m_socket->sendTextMessage(QString::fromUtf8(message.payload));
}

WebSocketStreamClient::SocketReadiness WebSocketStreamClient::socketReadiness() const {
    if (!m_socket)
        return SocketReadiness::none;
    switch (m_socket->state()) {
    case QAbstractSocket::ConnectedState:
        return SocketReadiness::connected;
    case QAbstractSocket::HostLookupState:
    case QAbstractSocket::ConnectingState:
        return SocketReadiness::connecting;
    default:
        return SocketReadiness::lost;
    }
}

void WebSocketStreamClient::flushHeldMessages() {
    const bool startHeld = std::exchange(m_startHeld, false);
    const QList<OutgoingMessage> held = std::exchange(m_heldMessages, {});
    if (startHeld && !m_startPayloadText.isEmpty())
        m_socket->sendTextMessage(m_startPayloadText);
    for (const OutgoingMessage& message : held)
        sendNow(message);
}

void WebSocketStreamClient::handleMessage(std::optional<StreamEvent> event) {
    if (!m_isRunning || !event)
        return;
    const bool isTranscript = event->as<StreamEvent::Partial>() || event->as<StreamEvent::Final>();
    if (isTranscript || event->as<StreamEvent::Status>()) {
        m_reconnectAttempts = 0;
        m_isReconnecting = false;
        m_startConfirmed = true;
        if (isTranscript)
            ++m_transcriptEventsReceived;
    }
    emitEvent(std::move(*event));
    // The server heard the new start: the held audio may follow it.
    if (m_startConfirmed && m_spooling && !m_draining)
        beginSpoolDrain();
}

void WebSocketStreamClient::handleSocketFailure(QWebSocket* socket) {
    // An error and the disconnect that follows it are one failure of one connection.
    if (socket != m_socket || m_socketFailed)
        return;
    m_socketFailed = true;
    m_startHeld = false;
    m_heldMessages.clear();
    handleReceiveFailure(socketFailureDescription(*socket));
}

void WebSocketStreamClient::handleReceiveFailure(const QString& errorDescription) {
    if (!m_isRunning || m_isReconnecting)
        return;
    if (m_reconnectAttempts >= maxReconnectAttempts) {
        // Nothing will carry the held audio any more; later frames fail as without a spool.
        resetSpool();
        emitEvent(StreamEvent{StreamEvent::Error{UiText::streamConnectionLost(
            errorDescription.isEmpty() ? UiText::streamConnectionClosed : errorDescription)}});
        return;
    }
    const auto delay = reconnectDelay();
    ++m_reconnectAttempts;
    m_isReconnecting = true;
    m_drainTimer.stop();
    m_drainGraceTimer.stop();
    m_draining = false;
    if (m_spoolEnabled)
        m_spooling = true;
    emitEvent(StreamEvent{StreamEvent::Status{StreamEvent::reconnectingState, std::nullopt}});
    m_reconnectTimer.start(delay);
}

std::chrono::milliseconds WebSocketStreamClient::reconnectDelay() const {
    // Doubling stops once past the maximum, so the shift never overflows.
    auto delay = m_timing.streamReconnectBaseDelay;
    for (int i = 0; i < m_reconnectAttempts && delay < m_timing.streamReconnectMaxDelay; ++i)
        delay *= 2;
    return std::min(delay, m_timing.streamReconnectMaxDelay);
}

void WebSocketStreamClient::reconnect() {
    if (!m_isRunning)
        return;
    if (m_wsURLString.isEmpty()) {
        emitEvent(StreamEvent{StreamEvent::Error{UiText::streamReconnectMissingURL}});
        m_isReconnecting = false;
        return;
    }
    closeSocket();
    const auto url = parseStreamURL(m_wsURLString);
    if (!url) {
        emitEvent(StreamEvent{StreamEvent::Error{UiText::streamReconnectInvalidURL}});
        m_isReconnecting = false;
        return;
    }
    m_startConfirmed = false;
    m_lastStartAttemptAt.reset();
    m_startPayloadText = makeStartPayloadText();
    openSocket(*url);
    attemptSendStart(true);
    m_isReconnecting = false;
}

void WebSocketStreamClient::emitEvent(StreamEvent event) {
    if (!m_isRunning || !m_onEvent)
        return;
    // Delivered from the event loop, so the handler may close or destroy the client. The handler
    // travels with the event, so a close after posting does not lose it; the generation drops
    // what a new open overtook.
    QMetaObject::invokeMethod(
        this,
        [this, event = std::move(event), handler = m_onEvent, generation = m_generation] {
            if (generation == m_generation)
                handler(event);
        },
        Qt::QueuedConnection);
}

QString WebSocketStreamClient::makeStartPayloadText() const {
    return QString::fromUtf8(compactJson(QJsonObject{
        {u"type"_s, u"start"_s},
        {u"language"_s, m_language},
        {u"sampleRate"_s, kSampleRate},
        {u"enableInterim"_s, true},
        {u"sttModel"_s, m_sttModel},
        {u"enableSpeakerDiarization"_s, false},
        {u"speakerCount"_s, 0},
    }));
}

} // namespace vesnara
