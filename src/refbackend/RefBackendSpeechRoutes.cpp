// The speech backend's REST routes of the reference backend.
#include "refbackend/DocxWriter.h"
#include "refbackend/MemoBuilder.h"
#include "refbackend/RefBackend.h"
#include "refbackend/RefHttpServer.h"
#include "refbackend/SessionRegistry.h"

#include "model/JsonReader.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

const QString kIdPattern = u"([^/]+)"_s;
const QByteArray kDocxType =
    "application/vnd.openxmlformats-officedocument.wordprocessingml.document";

QList<MemoLine> memoLinesFrom(const QJsonArray& lines) {
    QList<MemoLine> result;
    for (const auto& value : lines) {
        const QJsonObject line = value.toObject();
        const QString speaker = line.value(u"speakerLabel"_s).toString();
        result.append(MemoLine{line.value(u"text"_s).toString(), line.value(u"ts"_s).toString(),
                               speaker.isEmpty() ? std::nullopt : std::optional(speaker)});
    }
    return result;
}

QList<MemoLine> memoLinesOf(const ServerSession& session) {
    QList<MemoLine> result;
    for (const auto& line : session.segments)
        result.append(MemoLine{line.text, line.ts, line.speakerLabel});
    return result;
}

QJsonObject memoJson(const Memo& memo) {
    return QJsonObject{{u"memoType"_s, memo.memoType},
                       {u"confidence"_s, memo.confidence},
                       {u"title"_s, memo.title},
                       {u"summary"_s, memo.summary},
                       {u"cleanTranscript"_s, memo.cleanTranscript}};
}

Memo memoFromJson(const QJsonObject& json) {
    return Memo{json.value(u"memoType"_s).toString(), json.value(u"confidence"_s).toDouble(),
                json.value(u"title"_s).toString(), json.value(u"summary"_s).toString(),
                json.value(u"cleanTranscript"_s).toString()};
}

} // namespace

void RefBackend::addSpeechRoutes() {
    auto& server = *m_server;
    server.route("GET", u"/health"_s, [this](const auto&, const auto&) { return health(); });
    server.route("GET", u"/updates/([A-Za-z0-9_-][A-Za-z0-9_.-]*\\.json)"_s,
                 [this](const auto&, const auto& names) { return updateManifest(names[0]); });
    server.route("POST", u"/v1/sessions"_s,
                 [this](const auto& request, const auto&) { return createSession(request); });
    server.route("GET", u"/v1/sessions"_s,
                 [this](const auto& request, const auto&) { return listSessions(request); });
    server.route(
        "GET", u"/v1/sessions/"_s + kIdPattern,
        [this](const auto& request, const auto& ids) { return sessionMeta(request, ids[0]); });
    server.route(
        "DELETE", u"/v1/sessions/"_s + kIdPattern,
        [this](const auto& request, const auto& ids) { return deleteSession(request, ids[0]); });
    server.route(
        "POST", u"/v1/sessions/"_s + kIdPattern + u"/stop"_s,
        [this](const auto& request, const auto& ids) { return stopSession(request, ids[0]); });
    server.route(
        "GET", u"/v1/sessions/"_s + kIdPattern + u"/transcript"_s,
        [this](const auto& request, const auto& ids) { return transcript(request, ids[0]); });
    server.route(
        "POST", u"/v1/sessions/"_s + kIdPattern + u"/summary"_s,
        [this](const auto& request, const auto& ids) { return generateSummary(request, ids[0]); });
    server.route(
        "GET", u"/v1/sessions/"_s + kIdPattern + u"/summary/docx"_s,
        [this](const auto& request, const auto& ids) { return summaryDocx(request, ids[0]); });
}

std::optional<HttpReply> RefBackend::refuseUnauthorized(const RecordedRequest& request,
                                                        QString* subject) const {
    if (QString::fromUtf8(request.header("x-api-key")) != m_options.apiKey)
        return HttpReply::error(401, u"Virheellinen tai puuttuva API-avain"_s);
    const auto owner = m_tokens.subjectOf(QString::fromUtf8(request.header("x-auth-token")));
    if (!owner)
        return HttpReply::error(401, u"Kirjautuminen vaaditaan"_s);
    *subject = *owner;
    return std::nullopt;
}

ServerSession* RefBackend::ownedSession(const RecordedRequest& request, const QString& id,
                                        HttpReply* refusal) {
    QString subject;
    if (auto unauthorized = refuseUnauthorized(request, &subject)) {
        *refusal = *unauthorized;
        return nullptr;
    }
    ServerSession* session = m_sessions->find(id);
    if (!session || session->owner != subject) {
        *refusal = HttpReply::error(404, u"Sessiota ei löydy"_s);
        return nullptr;
    }
    return session;
}

HttpReply RefBackend::createSession(const RecordedRequest& request) {
    QString subject;
    if (auto refusal = refuseUnauthorized(request, &subject))
        return *refusal;
    QString language, sttModel;
    bool enableInterim = true;
    try {
        const JsonReader body(JsonReader::parseObject(request.body));
        language = body.requiredString(u"language"_s);
        sttModel = body.requiredString(u"sttModel"_s);
        enableInterim = body.requiredBool(u"enableInterim"_s);
        body.requiredBool(u"enableSpeakerDiarization"_s);
        body.requiredInteger(u"speakerCount"_s);
    } catch (const JsonDecodeError& error) {
        return HttpReply::error(400, u"Virheellinen pyyntö: "_s + error.description());
    }

    const ServerSession& session = m_sessions->create(subject, language, sttModel, enableInterim);
    // The stream address follows the host the client reached us by.
    const QString host = request.header("host").isEmpty()
                             ? baseUrl().authority()
                             : QString::fromUtf8(request.header("host"));
    const QString wsUrl =
        u"ws://%1/v1/sessions/%2/stream?token=%3"_s.arg(host, session.id, session.streamToken);
    return HttpReply::json(QJsonObject{{u"sessionId"_s, session.id},
                                       {u"wsUrl"_s, wsUrl},
                                       {u"token"_s, session.streamToken}},
                           201);
}

HttpReply RefBackend::listSessions(const RecordedRequest& request) {
    QString subject;
    if (auto refusal = refuseUnauthorized(request, &subject))
        return *refusal;
    bool limitOk = false;
    int limit = request.query.queryItemValue(u"limit"_s).toInt(&limitOk);
    limit = limitOk ? std::clamp(limit, 1, 100) : 20;
    const QString status = request.query.queryItemValue(u"status"_s, QUrl::FullyDecoded).trimmed();

    QJsonArray items;
    for (const ServerSession* session : m_sessions->sessionsOf(subject)) {
        if (items.size() >= limit)
            break;
        if (status.isEmpty() || session->status.compare(status, Qt::CaseInsensitive) == 0)
            items.append(session->metaJson());
    }
    return HttpReply::json(QJsonObject{{u"items"_s, items}});
}

HttpReply RefBackend::sessionMeta(const RecordedRequest& request, const QString& id) {
    HttpReply refusal;
    const ServerSession* session = ownedSession(request, id, &refusal);
    return session ? HttpReply::json(session->metaJson()) : refusal;
}

HttpReply RefBackend::stopSession(const RecordedRequest& request, const QString& id) {
    HttpReply refusal;
    ServerSession* session = ownedSession(request, id, &refusal);
    if (!session)
        return refusal;
    if (!session->isStopped()) {
        session->status = u"stopped"_s;
        session->endedAt = Timestamp::now();
        m_sessions->persist(*session);
    }
    QJsonObject reply = session->metaJson();
    reply.insert(u"ok"_s, true);
    return HttpReply::json(reply);
}

HttpReply RefBackend::deleteSession(const RecordedRequest& request, const QString& id) {
    HttpReply refusal;
    if (!ownedSession(request, id, &refusal))
        return refusal;
    closeStreams(id);
    m_recognizers.erase(id);
    m_streamMessages.remove(id);
    m_sessions->remove(id);
    return HttpReply::json(QJsonObject{{u"ok"_s, true}});
}

HttpReply RefBackend::transcript(const RecordedRequest& request, const QString& id) {
    HttpReply refusal;
    const ServerSession* session = ownedSession(request, id, &refusal);
    return session ? HttpReply::json(session->transcriptJson()) : refusal;
}

HttpReply RefBackend::generateSummary(const RecordedRequest& request, const QString& id) {
    HttpReply refusal;
    ServerSession* session = ownedSession(request, id, &refusal);
    if (!session)
        return refusal;

    // The server's own transcript comes first; the client's lines stand in when it has none.
    QList<MemoLine> lines = memoLinesOf(*session);
    if (lines.isEmpty() && !request.body.isEmpty()) {
        const QJsonObject body = QJsonDocument::fromJson(request.body).object();
        lines = memoLinesFrom(body.value(u"transcriptSegments"_s).toArray());
    }
    const Memo memo = buildExtractiveMemo(lines, session->language);
    session->summary = memoJson(memo);
    m_sessions->persist(*session);
    return HttpReply::json(QJsonObject{{u"sessionId"_s, session->id},
                                       {u"createdAt"_s, Timestamp::now().toIso8601()},
                                       {u"summary"_s, *session->summary}});
}

HttpReply RefBackend::summaryDocx(const RecordedRequest& request, const QString& id) {
    HttpReply refusal;
    const ServerSession* session = ownedSession(request, id, &refusal);
    if (!session)
        return refusal;
    const Memo memo = session->summary
                          ? memoFromJson(*session->summary)
                          : buildExtractiveMemo(memoLinesOf(*session), session->language);
    QString error;
    QByteArray docx = writeMemoDocx(memo, &error);
    if (docx.isEmpty())
        return HttpReply::error(500, u"Muistiota ei voitu muodostaa: "_s + error);
    HttpReply reply = HttpReply::bytes(std::move(docx), kDocxType);
    reply.extraHeaders.append(
        {"Content-Disposition", "attachment; filename=\"muistio-" + id.toUtf8() + ".docx\""});
    return reply;
}

HttpReply RefBackend::health() const {
    if (m_faults.healthAnswer)
        return HttpReply::json(*m_faults.healthAnswer);
    QString model = u"energy-vad"_s;
    if (m_options.recognizer == RecognizerKind::scripted)
        model = u"scripted"_s;
    else if (m_options.recognizer == RecognizerKind::pocketsphinx)
        model = u"pocketsphinx-en-us"_s;
    return HttpReply::json(QJsonObject{
        {u"ok"_s, true},
        {u"time"_s, Timestamp::now().toIso8601()},
        {u"openAIConfigured"_s, false},
        {u"openAIModel"_s, model},
        {u"memoAI"_s, QJsonObject{{u"configured"_s, true}, {u"model"_s, u"extractive"_s}}},
    });
}

HttpReply RefBackend::updateManifest(const QString& fileName) const {
    const bool isDefault = fileName == u"latest-mac.json"_s;
    if (isDefault && !m_updateManifest.isEmpty())
        return HttpReply::bytes(m_updateManifest, "application/json");
    // The route admits plain names only, so the file is always directly in `updates/`.
    QFile file(QDir(m_options.dataDirectory).filePath(u"updates/"_s + fileName));
    if (file.open(QIODevice::ReadOnly))
        return HttpReply::bytes(file.readAll(), "application/json");
    if (!isDefault)
        return HttpReply::error(404, u"Tiedostoa ei löydy"_s);
    return HttpReply::json(QJsonObject{
        {u"app"_s, u"Vesnara"_s},
        {u"channel"_s, u"stable"_s},
        {u"version"_s, QCoreApplication::applicationVersion().isEmpty()
                           ? u"0.1.0"_s
                           : QCoreApplication::applicationVersion()},
        {u"downloadURL"_s, baseUrl().toString() + u"/updates/"_s},
    });
}

} // namespace vesnara::refbackend
