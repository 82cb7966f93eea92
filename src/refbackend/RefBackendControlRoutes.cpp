// Fault injection and test controls over HTTP, for loopback clients only.
#include "refbackend/RefBackend.h"
#include "refbackend/RefHttpServer.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

void RefBackend::addControlRoutes() {
    m_server->route("POST", u"/_control/([a-z-]+)"_s,
                    [this](const auto& request, const auto& captures) {
                        return control(request, captures[0]);
                    });
}

HttpReply RefBackend::control(const RecordedRequest& request, const QString& action) {
    if (!request.remoteAddress.isLoopback())
        return HttpReply::error(403, u"Control is for loopback clients only"_s);
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    const int count = body.value(u"count"_s).toInt(1);
    const QString path = body.value(u"path"_s).toString();

    if (action == u"refuse"_s) {
        const QByteArray errorBody =
            body.contains(u"body"_s) ? body.value(u"body"_s).toString().toUtf8()
                                     : QByteArray("{\"error\":\"Palvelu ei ole käytettävissä\"}");
        for (int i = 0; i < count; ++i) {
            m_faults.httpFaults.push_back(HttpFault{
                HttpFault::Kind::respond, body.value(u"status"_s).toInt(503), errorBody, {}, path});
        }
    } else if (action == u"delay"_s) {
        for (int i = 0; i < count; ++i) {
            m_faults.httpFaults.push_back(
                HttpFault{HttpFault::Kind::delay,
                          0,
                          {},
                          std::chrono::milliseconds(body.value(u"ms"_s).toInt(1000)),
                          path});
        }
    } else if (action == u"drop"_s) {
        for (int i = 0; i < count; ++i)
            m_faults.httpFaults.push_back(HttpFault{HttpFault::Kind::drop, 0, {}, {}, path});
    } else if (action == u"not-found"_s) {
        m_faults.notFoundPaths.insert(path);
    } else if (action == u"refuse-streams"_s) {
        m_faults.streamConnectionsToRefuse = count;
    } else if (action == u"ignore-binary"_s) {
        m_faults.ignoreBinaryFrames = body.value(u"on"_s).toBool(true);
    } else if (action == u"silent"_s) {
        m_faults.silentStreams = body.value(u"on"_s).toBool(true);
    } else if (action == u"close-streams"_s) {
        closeStreams(body.value(u"sessionId"_s).toString());
    } else if (action == u"cut-streams"_s) {
        cutStreams(body.value(u"sessionId"_s).toString(),
                   std::chrono::milliseconds(body.value(u"milliseconds"_s).toInteger(10'000)));
    } else if (action == u"end-session"_s) {
        endSession(body.value(u"sessionId"_s).toString());
    } else if (action == u"issue-token"_s) {
        const QString token =
            issueToken(body.value(u"subject"_s).toString(u"demo@vesnara.local"_s),
                       std::chrono::seconds(body.value(u"seconds"_s).toInt(43200)));
        return HttpReply::json(QJsonObject{{u"token"_s, token}});
    } else if (action == u"revoke-token"_s) {
        m_tokens.revoke(body.value(u"token"_s).toString());
    } else if (action == u"health"_s) {
        const QJsonValue answer = body.value(u"answer"_s);
        m_faults.healthAnswer = answer.isObject() ? std::optional(answer.toObject()) : std::nullopt;
    } else if (action == u"reset"_s) {
        m_faults = RefBackendFaults{};
    } else {
        return HttpReply::error(404, u"Unknown control: "_s + action);
    }
    return HttpReply::json(QJsonObject{{u"ok"_s, true}});
}

} // namespace vesnara::refbackend
