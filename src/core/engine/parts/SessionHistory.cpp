#include "engine/parts/SessionHistory.h"

#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

SessionHistory::SessionHistory(std::optional<QString> directory, QObject* parent)
    : QObject(parent)
    , m_store(std::move(directory)) {
    refreshSessionHistory();
}

void SessionHistory::refreshSessionHistory() {
    auto list = m_store.list();
    if (list == m_sessions.items())
        return;
    m_sessions.setItems(std::move(list));
    Q_EMIT sessionHistoryChanged();
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

} // namespace vesnara
