#include "refbackend/SessionRegistry.h"

#include "refbackend/WavWriter.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QUuid>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

QString randomToken() {
    return QString::number(QRandomGenerator::system()->generate64(), 16) +
           QString::number(QRandomGenerator::system()->generate64(), 16);
}

} // namespace

SessionRegistry::SessionRegistry(QString dataDirectory)
    : m_sessionsDirectory(QDir(dataDirectory).filePath(u"sessions"_s)) {
    QDir().mkpath(m_sessionsDirectory);
}

SessionRegistry::~SessionRegistry() = default;

QString SessionRegistry::sessionDirectory(const QString& id) const {
    return QDir(m_sessionsDirectory).filePath(id);
}

QString SessionRegistry::audioPath(const QString& id) const {
    return QDir(sessionDirectory(id)).filePath(u"audio.wav"_s);
}

void SessionRegistry::loadFromDisk() {
    const QDir directory(m_sessionsDirectory);
    for (const QString& name : directory.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(directory.filePath(name + u"/session.json"_s));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const auto session =
            ServerSession::fromStorageJson(QJsonDocument::fromJson(file.readAll()).object());
        if (session && session->id == name)
            m_sessions.insert_or_assign(session->id, *session);
    }
}

ServerSession& SessionRegistry::create(const QString& owner, const QString& language,
                                       const QString& sttModel, bool enableInterim) {
    ServerSession session;
    session.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    session.owner = owner;
    session.createdAt = Timestamp::now();
    session.language = language;
    session.sttModel = sttModel;
    session.enableInterim = enableInterim;
    session.streamToken = randomToken();
    auto [it, inserted] = m_sessions.insert_or_assign(session.id, session);
    persist(it->second);
    return it->second;
}

ServerSession* SessionRegistry::find(const QString& id) {
    const auto it = m_sessions.find(id);
    return it == m_sessions.end() ? nullptr : &it->second;
}

QList<const ServerSession*> SessionRegistry::sessionsOf(const QString& owner) const {
    QList<const ServerSession*> result;
    for (const auto& [id, session] : m_sessions) {
        if (session.owner == owner)
            result.append(&session);
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const auto* a, const auto* b) { return a->createdAt > b->createdAt; });
    return result;
}

void SessionRegistry::persist(const ServerSession& session) {
    QDir().mkpath(sessionDirectory(session.id));
    QSaveFile file(QDir(sessionDirectory(session.id)).filePath(u"session.json"_s));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(session.toStorageJson()).toJson());
        file.commit();
    }
}

bool SessionRegistry::remove(const QString& id) {
    if (m_sessions.erase(id) == 0)
        return false;
    m_audio.remove(id);
    QDir(sessionDirectory(id)).removeRecursively();
    return true;
}

void SessionRegistry::appendAudio(const ServerSession& session, QByteArrayView pcm) {
    auto writer = m_audio.value(session.id);
    if (!writer) {
        QDir().mkpath(sessionDirectory(session.id));
        writer = std::make_shared<WavWriter>(audioPath(session.id));
        if (!writer->open())
            return;
        m_audio.insert(session.id, writer);
    }
    writer->append(pcm);
}

} // namespace vesnara::refbackend
