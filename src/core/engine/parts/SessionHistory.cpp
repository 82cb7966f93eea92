#include "engine/parts/SessionHistory.h"

#include "engine/RunStatus.h"
#include "engine/StatusLine.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionTranscript.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

SessionHistory::SessionHistory(std::optional<QString> directory, QObject* parent)
    : QObject(parent)
    , m_store(std::move(directory))
    , m_searchIndex(std::make_shared<SessionSearchIndex>(m_store.directory())) {
    m_searchPool.setMaxThreadCount(1);
    m_searchPool.setObjectName(u"session-search"_s);
    refreshSessionHistory();
}

void SessionHistory::setSessionQuery(const QString& query) {
    if (m_sessionQuery == query)
        return;
    m_sessionQuery = query;
    Q_EMIT sessionQueryChanged();
    if (SearchQuery(query).isBlank()) {
        m_sessionMatches.reset();
        showMatchingSessions();
    }
    startSessionSearch();
}

void SessionHistory::startSessionSearch() {
    const quint64 generation = ++m_searchGeneration;
    const SearchQuery query(m_sessionQuery);
    auto* watcher = new QFutureWatcher<QSet<QString>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, generation, query] {
        watcher->deleteLater();
        // A later query or listing has its own task queued behind this one.
        if (generation != m_searchGeneration)
            return;
        if (query.isBlank())
            m_sessionMatches.reset();
        else
            m_sessionMatches = watcher->result();
        showMatchingSessions();
        Q_EMIT sessionSearchFinished();
    });
    watcher->setFuture(QtConcurrent::run(&m_searchPool, [index = m_searchIndex, query] {
        index->refresh();
        return query.isBlank() ? QSet<QString>() : index->matchingIds(query);
    }));
}

void SessionHistory::showMatchingSessions() {
    if (!m_sessionMatches) {
        m_sessions.setItems(m_allSessions);
        return;
    }
    QList<SavedSessionListItem> shown;
    for (const SavedSessionListItem& item : std::as_const(m_allSessions)) {
        if (m_sessionMatches->contains(item.id))
            shown.append(item);
    }
    m_sessions.setItems(std::move(shown));
}

void SessionHistory::attach(const PartContext& context, SessionTranscript& transcript) {
    m_context = &context;
    m_transcript = &transcript;
}

void SessionHistory::setSelectedSessionHistoryId(const QString& id) {
    if (m_selectedSessionHistoryId == id)
        return;
    m_selectedSessionHistoryId = id;
    Q_EMIT selectedSessionHistoryIdChanged();
}

void SessionHistory::refreshSessionHistory() {
    auto list = m_store.list();
    if (list != m_allSessions) {
        m_allSessions = std::move(list);
        showMatchingSessions();
        Q_EMIT sessionHistoryChanged();
    }
    startSessionSearch();
    const auto& items = m_allSessions;
    if (!m_selectedSessionHistoryId.isEmpty() &&
        std::none_of(items.cbegin(), items.cend(), [this](const SavedSessionListItem& item) {
            return item.id == m_selectedSessionHistoryId;
        }))
        setSelectedSessionHistoryId({});
}

std::optional<QString> SessionHistory::saveFinishedSession(const SavedSession& session) {
    const QString fileId = SessionHistoryStore::fileIdFor(session.id);
    try {
        m_store.save(session, fileId);
    } catch (const SessionHistoryError& error) {
        AppLog::write(u"session save failed session=%1 error=%2"_s.arg(
            session.id, QString::fromStdString(error.what())));
        return UiText::hintSessionSaveFailed;
    }
    refreshSessionHistory();
    if (fileId == session.id)
        return std::nullopt;
    AppLog::write(u"session saved under derived name session=%1 file=%2"_s.arg(session.id, fileId));
    return UiText::hintSessionSavedUnderName(fileId + u".json"_s);
}

std::optional<SavedSession> SessionHistory::savedSession(const QString& sessionId) const {
    return m_store.load(SessionHistoryStore::fileIdFor(sessionId));
}

std::optional<QString> SessionHistory::rewriteSession(const SavedSession& session,
                                                      const QString& sessionId) {
    try {
        m_store.save(session, SessionHistoryStore::fileIdFor(sessionId));
    } catch (const SessionHistoryError& error) {
        return QString::fromStdString(error.what());
    }
    refreshSessionHistory();
    return std::nullopt;
}

bool SessionHistory::isRecording() const {
    return flagsOf(m_context->run.runState()).isRecording;
}

bool SessionHistory::holdsTheScreen() const {
    // A start fills the screen with its own lines, and a stop that is finishing still saves
    // and exports what the screen shows: neither may have it replaced underneath.
    return m_context->run.runState() != RecordingRunState::idle;
}

void SessionHistory::loadSelectedSession() {
    if (!m_context || holdsTheScreen() || m_selectedSessionHistoryId.isEmpty())
        return;
    const std::optional<SavedSession> session = savedSession(m_selectedSessionHistoryId);
    if (!session)
        return;
    m_context->settings.setLanguage(session->language);
    m_context->settings.setSttModel(session->sttModel);
    m_transcript->showSavedSession(*session);
    m_context->status.setStatusText(UiText::statusSessionLoaded);
}

void SessionHistory::loadSession(const QString& id) {
    if (!m_context || holdsTheScreen())
        return;
    setSelectedSessionHistoryId(id);
    loadSelectedSession();
}

void SessionHistory::deleteSession(const QString& id) {
    if (!m_context || isRecording())
        return;
    m_context->status.setStatusText(UiText::statusDeletingSession);
    runDeleteSession(id, m_context->settings.config(), m_context->apiClient);
}

QCoro::Task<> SessionHistory::runDeleteSession(QString id, STTConfiguration config,
                                               STTAPIClient apiClient) {
    const QPointer<SessionHistory> self(this);
    bool serverRefused = false;
    try {
        co_await apiClient.deleteSession(std::move(config), id);
    } catch (...) {
        serverRefused = true;
    }
    if (!self)
        co_return;
    try {
        m_store.deleteSession(SessionHistoryStore::fileIdFor(id));
    } catch (const SessionHistoryError& error) {
        AppLog::write(u"session delete failed session=%1 error=%2"_s.arg(
            id, QString::fromUtf8(error.what())));
        m_context->status.setStatusText(UiText::statusSessionDeleteFailed);
        co_return;
    }
    if (m_selectedSessionHistoryId == id)
        setSelectedSessionHistoryId({});
    refreshSessionHistory();
    m_context->status.setStatusText(serverRefused ? UiText::statusSessionDeletedLocally
                                                  : UiText::statusSessionDeleted);
}

void SessionHistory::deleteAllSessions() {
    if (!m_context || isRecording())
        return;
    QStringList ids;
    for (const SavedSessionListItem& item : sessionHistory())
        ids << item.id;
    m_context->status.setStatusText(UiText::statusDeletingAllSessions);
    runDeleteAllSessions(std::move(ids), m_context->settings.config(), m_context->apiClient);
}

QCoro::Task<> SessionHistory::runDeleteAllSessions(QStringList ids, STTConfiguration config,
                                                   STTAPIClient apiClient) {
    const QPointer<SessionHistory> self(this);
    int serverRefusals = 0;
    // One after the other: an unknown or refused session is no reason to stop.
    for (const QString& id : ids) {
        try {
            co_await apiClient.deleteSession(config, id);
        } catch (...) {
            ++serverRefusals;
        }
        if (!self)
            co_return;
    }
    try {
        m_store.deleteAll();
    } catch (const SessionHistoryError&) {
        m_context->status.setStatusText(UiText::statusSessionsDeleteFailed);
        co_return;
    }
    setSelectedSessionHistoryId({});
    refreshSessionHistory();
    m_context->status.setStatusText(serverRefusals == 0
                                        ? UiText::statusAllSessionsDeleted
                                        : UiText::statusAllSessionsDeletedLocally(serverRefusals));
}

} // namespace vesnara
