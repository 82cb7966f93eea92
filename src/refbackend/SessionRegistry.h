#pragma once

#include "refbackend/ServerSession.h"

#include <QHash>
#include <QList>
#include <QString>

#include <map>
#include <memory>

namespace vesnara::refbackend {

class WavWriter;

/// Every session of the reference backend, kept in memory and on disk:
/// `<data>/sessions/<id>/session.json` and the received audio as `audio.wav` beside it.
class SessionRegistry {
public:
    explicit SessionRegistry(QString dataDirectory);
    ~SessionRegistry();

    /// Reads the sessions a previous run left; unreadable ones are skipped.
    void loadFromDisk();

    ServerSession& create(const QString& owner, const QString& language, const QString& sttModel,
                          bool enableInterim);
    ServerSession* find(const QString& id);
    /// The owner's sessions, newest first.
    QList<const ServerSession*> sessionsOf(const QString& owner) const;
    /// Writes the session's record to disk (counters, transcript, status).
    void persist(const ServerSession& session);
    /// Removes the session and its files; false when there was none.
    bool remove(const QString& id);

    /// Appends received PCM to the session's WAV file.
    void appendAudio(const ServerSession& session, QByteArrayView pcm);
    QString audioPath(const QString& id) const;

private:
    QString sessionDirectory(const QString& id) const;

    QString m_sessionsDirectory;
    std::map<QString, ServerSession> m_sessions;
    QHash<QString, std::shared_ptr<WavWriter>> m_audio;
};

} // namespace vesnara::refbackend
