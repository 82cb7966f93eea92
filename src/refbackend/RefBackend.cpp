#include "refbackend/RefBackend.h"

#include "refbackend/Recognizer.h"
#include "refbackend/RefHttpServer.h"
#include "refbackend/SessionRegistry.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

// Enough to see what a test or a short manual run did without growing for ever.
constexpr qsizetype kRequestsKept = 2000;

} // namespace

RefBackend::RefBackend(RefBackendOptions options, QObject* parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_sessions(std::make_unique<SessionRegistry>(m_options.dataDirectory))
    , m_users(std::make_unique<UserStore>(m_options.dataDirectory))
    , m_server(new RefHttpServer(m_faults, this)) {
    m_sessions->loadFromDisk();
    connect(m_server, &RefHttpServer::requestRecorded, this,
            [this](const RecordedRequest& request) {
                if (m_requests.size() >= kRequestsKept)
                    m_requests.removeFirst();
                m_requests.append(request);
                Q_EMIT requestRecorded(request);
            });
    addSpeechRoutes();
    addAuthRoutes();
    addControlRoutes();
    acceptWebSocketConnections();
}

RefBackend::~RefBackend() {
    qDeleteAll(m_connections);
    m_connections.clear();
}

bool RefBackend::listen() {
    m_port = m_server->listen(m_options.address, m_options.port);
    if (m_port == 0) {
        m_errorString =
            u"cannot listen on %1:%2"_s.arg(m_options.address.toString()).arg(m_options.port);
        return false;
    }
    return true;
}

QString RefBackend::errorString() const {
    return m_errorString;
}

quint16 RefBackend::port() const {
    return m_port;
}

QUrl RefBackend::baseUrl() const {
    QUrl url;
    url.setScheme(u"http"_s);
    // A wildcard is reached over loopback; any other address only at itself (a server bound to
    // 127.0.0.2 does not answer at 127.0.0.1).
    const QHostAddress& address = m_options.address;
    if (address == QHostAddress::Any || address == QHostAddress::AnyIPv4)
        url.setHost(u"127.0.0.1"_s);
    else if (address == QHostAddress::AnyIPv6)
        url.setHost(u"::1"_s);
    else
        url.setHost(address.toString());
    url.setPort(m_port);
    return url;
}

QString RefBackend::issueToken(const QString& subject, std::chrono::seconds lifetime) {
    return m_tokens.issue(subject, lifetime);
}

void RefBackend::setScript(QList<ScriptedEvent> script) {
    m_script = std::move(script);
}

void RefBackend::setUpdateManifest(const QByteArray& json) {
    m_updateManifest = json;
}

QList<StreamMessage> RefBackend::streamMessages(const QString& sessionId) const {
    return m_streamMessages.value(sessionId);
}

std::optional<ServerSession> RefBackend::session(const QString& sessionId) const {
    if (const auto* found = m_sessions->find(sessionId))
        return *found;
    return std::nullopt;
}

QString RefBackend::audioPath(const QString& sessionId) const {
    return m_sessions->audioPath(sessionId);
}

void RefBackend::endSession(const QString& sessionId) {
    ServerSession* session = m_sessions->find(sessionId);
    if (!session)
        return;
    session->status = u"stopped"_s;
    session->endedAt = Timestamp::now();
    m_sessions->persist(*session);
    deliverEvent(sessionId, QJsonObject{{u"type"_s, u"status"_s}, {u"state"_s, u"stopped"_s}});
}

void RefBackend::closeStreams(const QString& sessionId) {
    for (StreamConnection* connection : connectionsOf(sessionId))
        connection->close(QWebSocketProtocol::CloseCodeGoingAway);
}

void RefBackend::cutStreams(const QString& sessionId, std::chrono::milliseconds duration) {
    m_faults.streamsRefusedUntil = std::chrono::steady_clock::now() + duration;
    closeStreams(sessionId);
}

} // namespace vesnara::refbackend
