#pragma once

#include "refbackend/HttpExchange.h"
#include "refbackend/RefBackendFaults.h"
#include "refbackend/ScriptedRecognizer.h"
#include "refbackend/ServerSession.h"
#include "refbackend/StreamConnection.h"
#include "refbackend/TokenTable.h"
#include "refbackend/UserStore.h"

#include <QHostAddress>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <map>
#include <memory>

namespace vesnara::refbackend {

class RefHttpServer;
class Recognizer;
class SessionRegistry;

enum class RecognizerKind {
    scripted,     ///< tests script the exact events
    energy,       ///< reports detected speech segments with their length; does not transcribe
    pocketsphinx, ///< transcribes English speech locally with pocketsphinx
};

struct RefBackendOptions {
    /// Sessions, received audio and the update manifest live here.
    QString dataDirectory;
    /// The `x-api-key` every speech request must carry.
    QString apiKey;
    RecognizerKind recognizer = RecognizerKind::energy;
    /// The pocketsphinx model (pocketsphinx recogniser only); empty for the Debian package's.
    QString speechModelDirectory;
    QHostAddress address = QHostAddress::LocalHost;
    /// 0 picks a free port.
    quint16 port = 0;
    /// Keeps every stream message for inspection (tests); off for long runs.
    bool recordStreamMessages = false;
    /// The `X-Admin-Key` of the user administration; empty turns administration off.
    QString adminKey;
    /// How long a session token from a login lives.
    std::chrono::seconds tokenLifetime = std::chrono::hours(24 * 30);
    /// An active session whose last stream closed without the session being stopped is stopped
    /// after this long without a new stream, so a client that died leaves a stopped session
    /// with its transcript. Zero keeps such sessions active.
    std::chrono::milliseconds idleStopLimit = std::chrono::minutes(2);
};

/// The reference backend: one process (or one object, in tests), one port, speaking the speech
/// backend's REST protocol and its audio stream, and serving the update manifest.
///
/// Besides the wire protocol it has an in-process API for tests: tokens, recogniser scripts,
/// fault injection and what it received. The same controls are reachable over HTTP from
/// loopback addresses under `/_control/…`.
class RefBackend final : public QObject {
    Q_OBJECT

public:
    explicit RefBackend(RefBackendOptions options, QObject* parent = nullptr);
    ~RefBackend() override;

    /// Starts listening; false (with `errorString`) when the port cannot be bound.
    bool listen();
    QString errorString() const;
    quint16 port() const;
    /// "http://<bound address>:<port>", the base URL clients use; 127.0.0.1 for a wildcard.
    QUrl baseUrl() const;

    // Credentials
    TokenTable& tokens() { return m_tokens; }
    UserStore& users() { return *m_users; }
    QString issueToken(const QString& subject,
                       std::chrono::seconds lifetime = std::chrono::hours(12));

    // The scripted recogniser
    /// The script of sessions created from now on (scripted recogniser only).
    void setScript(QList<ScriptedEvent> script);
    /// Sends an event on every open stream of the session now, as the recogniser would.
    void sendStreamEvent(const QString& sessionId, const QJsonObject& event);

    // Faults
    RefBackendFaults& faults() { return m_faults; }
    /// Closes every open stream connection of the session from the server's side.
    void closeStreams(const QString& sessionId);
    /// A stream outage of `duration`: closes every open stream of the session and refuses new
    /// stream connections (of any session) until it has passed.
    void cutStreams(const QString& sessionId, std::chrono::milliseconds duration);
    /// Ends the session as the server would on its own: stopped, with an end time, and a
    /// "stopped" status on its open streams.
    void endSession(const QString& sessionId);
    /// Changes `RefBackendOptions::idleStopLimit` for streams that close from now on.
    void setIdleStopLimit(std::chrono::milliseconds limit) { m_options.idleStopLimit = limit; }
    /// Changes `RefBackendOptions::adminKey`; empty turns the user administration off.
    void setAdminKey(const QString& key) { m_options.adminKey = key; }
    /// Replaces the update manifest that `/updates/latest-mac.json` serves. Any other
    /// `/updates/<name>.json` serves the file of that name under `<data-dir>/updates/`.
    void setUpdateManifest(const QByteArray& json);

    // What was received
    const QList<RecordedRequest>& requests() const { return m_requests; }
    QList<StreamMessage> streamMessages(const QString& sessionId) const;
    std::optional<ServerSession> session(const QString& sessionId) const;
    QString audioPath(const QString& sessionId) const;

Q_SIGNALS:
    void requestRecorded(const vesnara::refbackend::RecordedRequest& request);
    void streamOpened(const QString& sessionId, int connection);
    void streamMessageReceived(const QString& sessionId,
                               const vesnara::refbackend::StreamMessage& message);
    void streamClosed(const QString& sessionId, int connection);

private:
    // Speech REST routes (RefBackendSpeechRoutes.cpp)
    void addSpeechRoutes();
    std::optional<HttpReply> refuseUnauthorized(const RecordedRequest& request,
                                                QString* subject) const;
    HttpReply createSession(const RecordedRequest& request);
    HttpReply listSessions(const RecordedRequest& request);
    HttpReply sessionMeta(const RecordedRequest& request, const QString& id);
    HttpReply stopSession(const RecordedRequest& request, const QString& id);
    HttpReply deleteSession(const RecordedRequest& request, const QString& id);
    HttpReply transcript(const RecordedRequest& request, const QString& id);
    HttpReply generateSummary(const RecordedRequest& request, const QString& id);
    HttpReply summaryDocx(const RecordedRequest& request, const QString& id);
    HttpReply health() const;
    /// `<data-dir>/updates/<fileName>`; the default name falls back to a built-in manifest.
    HttpReply updateManifest(const QString& fileName) const;
    ServerSession* ownedSession(const RecordedRequest& request, const QString& id,
                                HttpReply* refusal);

    // Auth routes (RefBackendAuthRoutes.cpp)
    void addAuthRoutes();
    HttpReply login(const RecordedRequest& request);
    HttpReply verify(const RecordedRequest& request);
    HttpReply requestPasswordReset(const RecordedRequest& request);
    HttpReply changePassword(const RecordedRequest& request);
    std::optional<HttpReply> refuseWithoutAdminKey(const RecordedRequest& request) const;
    HttpReply adminListUsers(const RecordedRequest& request);
    HttpReply adminCreateUser(const RecordedRequest& request);
    HttpReply adminSetRole(const RecordedRequest& request, const QString& id);
    HttpReply adminSetEnabled(const RecordedRequest& request, const QString& id, bool enabled);
    HttpReply adminDeleteUser(const RecordedRequest& request, const QString& id);
    HttpReply adminResetPassword(const RecordedRequest& request, const QString& id);
    std::optional<AuthAccount> accountOfBearer(const RecordedRequest& request) const;

    // Control routes (RefBackendControlRoutes.cpp)
    void addControlRoutes();
    HttpReply control(const RecordedRequest& request, const QString& action);

    // Streams (RefBackendStreams.cpp)
    void acceptWebSocketConnections();
    bool mayOpenStream(const QString& path, const QUrlQuery& query);
    void openStream(std::unique_ptr<QWebSocket> socket);
    void startStream(StreamConnection* connection, const QString& language,
                     const QString& sttModel);
    void receiveAudio(StreamConnection* connection, const QByteArray& pcm, bool binary);
    void stopStream(StreamConnection* connection);
    void deliverEvent(const QString& sessionId, const QJsonObject& event);
    Recognizer& recognizerFor(const ServerSession& session);
    QList<StreamConnection*> connectionsOf(const QString& sessionId) const;
    /// The session's last stream closed: stop it after the idle limit unless a stream reopens.
    void armIdleStop(const QString& sessionId);
    void cancelIdleStop(const QString& sessionId);

    RefBackendOptions m_options;
    RefBackendFaults m_faults;
    TokenTable m_tokens;
    std::unique_ptr<SessionRegistry> m_sessions;
    std::unique_ptr<UserStore> m_users;
    RefHttpServer* m_server = nullptr;
    QString m_errorString;
    quint16 m_port = 0;
    QList<ScriptedEvent> m_script;
    std::map<QString, std::unique_ptr<Recognizer>> m_recognizers;
    QList<StreamConnection*> m_connections;
    QHash<QString, int> m_connectionCounts;
    QHash<QString, QList<StreamMessage>> m_streamMessages;
    QList<RecordedRequest> m_requests;
    QByteArray m_updateManifest;
    QHash<QString, QTimer*> m_idleStopTimers;
};

} // namespace vesnara::refbackend
