#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QObject>
#include <QWebSocket>

#include <memory>

namespace vesnara::refbackend {

/// One message a client sent on a stream, as received.
struct StreamMessage {
    /// Which connection of the session it came on, counting from 1.
    int connection = 0;
    bool binary = false;
    QByteArray payload;
};

/// One client's WebSocket connection to a session's stream. It reads the client's messages
/// (start, binary audio, base64 audio, stop) and reports them; what they mean for the session is
/// the owner's business.
class StreamConnection final : public QObject {
    Q_OBJECT

public:
    StreamConnection(std::unique_ptr<QWebSocket> socket, QString sessionId, int connection,
                     QObject* parent = nullptr);
    ~StreamConnection() override;

    const QString& sessionId() const { return m_sessionId; }
    int connection() const { return m_connection; }

    void sendEvent(const QJsonObject& event);
    /// Closes from the server's side; `closed` follows.
    void close(QWebSocketProtocol::CloseCode code, const QString& reason = {});

Q_SIGNALS:
    void messageReceived(const vesnara::refbackend::StreamMessage& message);
    void startReceived(const QString& language, const QString& sttModel);
    /// PCM from a binary frame (`binary` true) or a base64 audio message.
    void audioReceived(const QByteArray& pcm, bool binary);
    void stopReceived();
    void closed();

private:
    void handleText(const QString& text);

    std::unique_ptr<QWebSocket> m_socket;
    QString m_sessionId;
    int m_connection;
};

} // namespace vesnara::refbackend
