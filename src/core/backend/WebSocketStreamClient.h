#pragma once

#include "backend/AudioSpool.h"
#include "backend/StreamEvent.h"
#include "model/Timing.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

class QWebSocket;

namespace vesnara {

/// Carries one recording's audio to the speech backend over a WebSocket and brings its
/// transcript and status events back.
///
/// One client serves one stream address from `open` to `close`. It survives a bad
/// network by itself: it reconnects with a bounded back-off, repeats the start message until the
/// server has shown that it heard it, and sends audio as base64 JSON once 50 binary frames have
/// drawn no transcript. It knows nothing of sessions or audio sources and writes nothing to the
/// log; everything it has to say arrives at the event handler.
///
/// The client lives on the thread that created it (the main thread) and calls the handler there,
/// always from the event loop, never from inside one of its own methods, so the handler may call
/// any method of the client, or destroy it. An event already on its way when `close` is called
/// still arrives (a last line is not lost at a stop); none that a later `open` overtook does, and
/// none arrives once the client is destroyed.
///
/// With the spool on (`setAudioSpoolEnabled`), audio that arrives while the connection is lost
/// and being restored is kept (within `Timing::audioSpoolCapacity`, the oldest dropped first)
/// instead of dropped, and sent once the new connection's start has been confirmed by the
/// server (or once the new connection has stood for `Timing::audioSpoolDrainGrace`, for a
/// server that does not answer a start), ahead of live audio and paced at
/// `Timing::audioSpoolPerAudioSecond`; live frames wait behind it until it is empty. Giving up
/// frees it.
class WebSocketStreamClient final : public QObject {
    Q_OBJECT

public:
    using EventHandler = std::function<void(const StreamEvent&)>;

    /// Reconnects since the server last spoke after which the client gives up.
    static constexpr int maxReconnectAttempts = 8;
    /// The audio frame at which the client changes to base64 JSON when no "partial" or "final"
    /// has arrived since `open`; that frame already goes the new way.
    static constexpr int base64SwitchFrame = 50;
    /// Messages held while a connection's handshake is under way (Qt drops messages sent before
    /// it completes). Later ones of that wait are dropped, as frames with no connection are.
    static constexpr int maxMessagesHeldWhileConnecting = 100;

    /// `timing` gives the start repeat interval and the reconnect back-off.
    explicit WebSocketStreamClient(Timing timing = {}, QObject* parent = nullptr);
    ~WebSocketStreamClient() override;

    /// The largest message taken from the server; a larger one ends the connection as a protocol
    /// error, which reconnects like any lost connection.
    static constexpr qint64 maxIncomingMessageBytes = 256 * 1024;

    /// Opens the stream at `wsURL` and sends the start message for `language` and `sttModel`
    /// first on it. A ws:// or wss:// address is taken as it stands, with no extra headers; an
    /// http:// or https:// one means the same host and path over ws:// or wss://. Throws
    /// `APIClientError::invalidBaseURL()` for an address that does not parse as such a URL;
    /// nothing has changed then. Called on a running client it starts over.
    void open(const QString& wsURL, const QString& language, const QString& sttModel,
              EventHandler onEvent);

    /// True from `open` to `close`, also while reconnecting and after giving up.
    bool isActive() const { return m_isRunning; }
    /// How audio goes on the wire now. Starts as binary at `open` and changes at most once.
    AudioTransportMode audioTransportMode() const { return m_audioTransportMode; }
    /// Frames that went onto a connection since `open`, each once (a spooled one when it left
    /// the spool).
    int audioFramesSent() const { return m_audioFramesSent; }

    /// Keep the audio of an outage for the reconnected stream (on by default). Turning it off
    /// drops what is held.
    void setAudioSpoolEnabled(bool enabled);
    bool isAudioSpoolEnabled() const { return m_spoolEnabled; }
    /// Bytes of audio held for the reconnected stream now.
    qint64 spooledBytes() const { return m_spool.bytes(); }

    /// Sends one frame of audio (its bytes are opaque here). Repeats the start message first,
    /// at most once per start repeat interval, while the server has not confirmed it. A frame
    /// that cannot be sent is dropped; a send on a lost connection counts as a failure of it.
    void sendAudio(const QByteArray& frame);
    /// Sends {"type":"stop"} on the current connection if there is one (after the start message
    /// if its handshake is under way); nothing more.
    void sendStop();
    /// Closes the stream (close code 1001) and forgets everything; no new event follows, while
    /// those already on their way still arrive.
    void close();

Q_SIGNALS:
    /// The reconnected stream has confirmed its start and the held audio begins to go out:
    /// `spooledBytes` of it, after `droppedBytes` were lost to the spool's limit in this outage.
    void audioSpoolDrainStarted(qint64 spooledBytes, qint64 droppedBytes);

private:
    struct OutgoingMessage {
        bool binary = false;
        QByteArray payload;
    };
    enum class SocketReadiness { none, connecting, connected, lost };

    void openSocket(const QUrl& url);
    void closeSocket();
    void attemptSendStart(bool force);
    /// A failed send on a lost connection counts as its failure when `failureCounts`.
    void send(OutgoingMessage message, bool failureCounts);
    void sendNow(const OutgoingMessage& message);
    SocketReadiness socketReadiness() const;
    void flushHeldMessages();
    void handleMessage(std::optional<StreamEvent> event);
    void handleSocketFailure(QWebSocket* socket);
    void handleReceiveFailure(const QString& errorDescription);
    void reconnect();
    void emitEvent(StreamEvent event);
    /// Puts one frame on the connection in the current transport mode, counting it.
    void sendFrameOnWire(const QByteArray& frame);
    void beginSpoolDrain();
    void drainSpool();
    void resetSpool();
    std::chrono::milliseconds reconnectDelay() const;
    QString makeStartPayloadText() const;

    Timing m_timing;
    /// The current connection; old ones are closed and forgotten.
    QWebSocket* m_socket = nullptr;
    /// A failure of `m_socket` has been handled: its later signals count no more.
    bool m_socketFailed = false;
    bool m_isRunning = false;
    /// A reconnect is scheduled and has not yet opened its new connection.
    bool m_isReconnecting = false;
    QString m_startPayloadText;
    /// A "partial", "final" or "status" arrived since the start message went out on this
    /// connection.
    bool m_startConfirmed = false;
    /// Empty means never (the distant past).
    std::optional<std::chrono::steady_clock::time_point> m_lastStartAttemptAt;
    /// Waiting for the handshake: the start message goes first, then these, in order.
    bool m_startHeld = false;
    QList<OutgoingMessage> m_heldMessages;
    EventHandler m_onEvent;
    /// Counts every `open`; an event posted under another value is dropped.
    quint64 m_generation = 0;
    QString m_wsURLString;
    QString m_language;
    QString m_sttModel;
    int m_reconnectAttempts = 0;
    AudioTransportMode m_audioTransportMode = AudioTransportMode::binary;
    int m_audioFramesSent = 0;
    int m_transcriptEventsReceived = 0;
    QTimer m_reconnectTimer;

    bool m_spoolEnabled = true;
    /// From a lost connection until the spool has been sent: audio goes into the spool.
    bool m_spooling = false;
    AudioSpool m_spool;
    /// The drain of the spool: when it began and how much it has sent, for the pace.
    std::chrono::steady_clock::time_point m_drainStartedAt;
    qint64 m_drainReleasedBytes = 0;
    bool m_draining = false;
    /// A stop asked for while audio was held goes out behind it.
    bool m_stopHeldBehindSpool = false;
    QTimer m_drainTimer;
    QTimer m_drainGraceTimer;
};

} // namespace vesnara
