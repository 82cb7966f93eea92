#include "refbackend/StreamConnection.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

StreamConnection::StreamConnection(std::unique_ptr<QWebSocket> socket, QString sessionId,
                                   int connection, QObject* parent)
    : QObject(parent)
    , m_socket(std::move(socket))
    , m_sessionId(std::move(sessionId))
    , m_connection(connection) {
    connect(m_socket.get(), &QWebSocket::textMessageReceived, this, [this](const QString& text) {
        Q_EMIT messageReceived(StreamMessage{m_connection, false, text.toUtf8()});
        handleText(text);
    });
    connect(m_socket.get(), &QWebSocket::binaryMessageReceived, this,
            [this](const QByteArray& bytes) {
                Q_EMIT messageReceived(StreamMessage{m_connection, true, bytes});
                Q_EMIT audioReceived(bytes, true);
            });
    connect(m_socket.get(), &QWebSocket::disconnected, this, &StreamConnection::closed);
}

StreamConnection::~StreamConnection() {
    // A connection that goes away with its owner must not report anything more.
    m_socket->disconnect(this);
    m_socket->abort();
}

void StreamConnection::sendEvent(const QJsonObject& event) {
    m_socket->sendTextMessage(
        QString::fromUtf8(QJsonDocument(event).toJson(QJsonDocument::Compact)));
}

void StreamConnection::close(QWebSocketProtocol::CloseCode code, const QString& reason) {
    m_socket->close(code, reason);
}

void StreamConnection::handleText(const QString& text) {
    const QJsonObject message = QJsonDocument::fromJson(text.toUtf8()).object();
    const QString type = message.value(u"type"_s).toString();
    if (type == u"start"_s) {
        Q_EMIT startReceived(message.value(u"language"_s).toString(),
                             message.value(u"sttModel"_s).toString());
    } else if (type == u"audio"_s) {
        const auto decoded =
            QByteArray::fromBase64Encoding(message.value(u"audioBase64"_s).toString().toLatin1(),
                                           QByteArray::AbortOnBase64DecodingErrors);
        if (decoded)
            Q_EMIT audioReceived(*decoded, false);
    } else if (type == u"stop"_s) {
        Q_EMIT stopReceived();
    }
}

} // namespace vesnara::refbackend
