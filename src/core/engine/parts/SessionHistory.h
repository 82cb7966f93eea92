#pragma once

#include "backend/STTAPIClient.h"
#include "engine/models/SavedSessionListModel.h"
#include "engine/parts/PartContext.h"
#include "engine/search/SessionSearchIndex.h"
#include "model/SavedSession.h"
#include "storage/SessionHistoryStore.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QSet>
#include <QThreadPool>

#include <memory>
#include <optional>

namespace vesnara {

class SessionTranscript;

/// The sessions kept on this machine: the list the history shows, newest first, the saving
/// of a finished recording into it, and the commands that open and delete them.
///
/// The list shows the sessions that match `sessionQuery` (all for a blank one). The search runs
/// on a worker against an index of the folded sessions, which every listing brings up to date
/// in the background, so that a query after the first listing reads no file.
class SessionHistory final : public QObject {
    Q_OBJECT
    Q_PROPERTY(vesnara::SavedSessionListModel* sessionHistory READ sessionModel CONSTANT)
    Q_PROPERTY(QString selectedSessionHistoryId READ selectedSessionHistoryId WRITE
                   setSelectedSessionHistoryId NOTIFY selectedSessionHistoryIdChanged)
    Q_PROPERTY(
        QString sessionQuery READ sessionQuery WRITE setSessionQuery NOTIFY sessionQueryChanged)

public:
    /// Lists the sessions of `directory` (nothing: the default one) at once.
    explicit SessionHistory(std::optional<QString> directory, QObject* parent = nullptr);

    /// Gives the commands what they act on; until then loading and deleting do nothing.
    /// Everything referenced outlives this object.
    void attach(const PartContext& context, SessionTranscript& transcript);

    SavedSessionListModel* sessionModel() { return &m_sessions; }
    /// Every saved session, newest first, whatever the query.
    const QList<SavedSessionListItem>& sessionHistory() const { return m_allSessions; }
    /// The sessions the list shows: those that match the query.
    const QList<SavedSessionListItem>& shownSessions() const { return m_sessions.items(); }
    const QString& sessionQuery() const { return m_sessionQuery; }
    /// Searches the saved sessions' label, id, date and text; the list follows when the worker
    /// answers (`sessionSearchFinished`), at once for a blank query.
    void setSessionQuery(const QString& query);
    const QString& selectedSessionHistoryId() const { return m_selectedSessionHistoryId; }
    void setSelectedSessionHistoryId(const QString& id);
    const SessionHistoryStore& store() const { return m_store; }
    /// For the writers other than the stop (crash recovery); they list again afterwards.
    SessionHistoryStore& store() { return m_store; }

    /// Lists the saved sessions again, newest first; a selection that is no longer listed is
    /// dropped. The transcript on screen stays.
    Q_INVOKABLE void refreshSessionHistory();

    /// Saves a finished session under its id, or under a safe name derived from an id that
    /// cannot name a file here, and lists again. Returns what the user must be told: the file's
    /// name when it had to derive one, or that the save failed (which is logged).
    std::optional<QString> saveFinishedSession(const SavedSession& session);

    /// The saved session with `sessionId` (in its file, under the name it was saved with);
    /// nothing when the file is missing or does not read as a session.
    std::optional<SavedSession> savedSession(const QString& sessionId) const;
    /// Writes `session` over the file of `sessionId` and lists again. Gives the failure's
    /// description, nothing on success.
    std::optional<QString> rewriteSession(const SavedSession& session, const QString& sessionId);

    /// Opens the selected session on screen (only while no recording starts, runs or
    /// finishes); one that does not read leaves the screen as it was, silently.
    Q_INVOKABLE void loadSelectedSession();
    /// Selects `id` and opens it (under the same condition).
    Q_INVOKABLE void loadSession(const QString& id);
    /// Deletes the session on the server, then here; a refusal by the server only changes the
    /// final text. The transcript on screen stays.
    Q_INVOKABLE void deleteSession(const QString& id);
    /// Deletes every listed session on the server, one after the other, then every file here;
    /// the final text counts the server's refusals.
    Q_INVOKABLE void deleteAllSessions();

Q_SIGNALS:
    void sessionHistoryChanged();
    void selectedSessionHistoryIdChanged();
    void sessionQueryChanged();
    /// The answer of the latest search is applied to the list.
    void sessionSearchFinished();

private:
    bool isRecording() const;
    /// A recording's run owns what the screen shows: it is starting, running or finishing.
    bool holdsTheScreen() const;
    QCoro::Task<> runDeleteSession(QString id, STTConfiguration config, STTAPIClient apiClient);
    QCoro::Task<> runDeleteAllSessions(QStringList ids, STTConfiguration config,
                                       STTAPIClient apiClient);

    /// Brings the index up to date on the worker and applies the current query's answer.
    void startSessionSearch();
    void showMatchingSessions();

    SessionHistoryStore m_store;
    QList<SavedSessionListItem> m_allSessions;
    SavedSessionListModel m_sessions;
    QString m_sessionQuery;
    /// The ids of the latest answer; nothing while the query is blank.
    std::optional<QSet<QString>> m_sessionMatches;
    std::shared_ptr<SessionSearchIndex> m_searchIndex;
    quint64 m_searchGeneration = 0;
    QString m_selectedSessionHistoryId;
    const PartContext* m_context = nullptr;
    SessionTranscript* m_transcript = nullptr;
    /// One thread, so the index is only ever used by one task at a time. Last, so that it
    /// waits for a running task before anything else goes.
    QThreadPool m_searchPool;
};

} // namespace vesnara
