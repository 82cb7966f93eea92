#pragma once

#include "engine/models/SavedSessionListModel.h"
#include "model/SavedSession.h"
#include "storage/SessionHistoryStore.h"

#include <QList>
#include <QObject>

#include <optional>

namespace vesnara {

/// The sessions kept on this machine: the list the history shows, newest first, and the saving
/// of a finished recording into it.
class SessionHistory final : public QObject {
    Q_OBJECT
    Q_PROPERTY(vesnara::SavedSessionListModel* sessionHistory READ sessionModel CONSTANT)
    Q_PROPERTY(QString selectedSessionHistoryId READ selectedSessionHistoryId NOTIFY
                   selectedSessionHistoryIdChanged)

public:
    /// Lists the sessions of `directory` (nothing: the default one) at once.
    explicit SessionHistory(std::optional<QString> directory, QObject* parent = nullptr);

    SavedSessionListModel* sessionModel() { return &m_sessions; }
    /// The saved sessions, newest first.
    const QList<SavedSessionListItem>& sessionHistory() const { return m_sessions.items(); }
    const QString& selectedSessionHistoryId() const { return m_selectedSessionHistoryId; }
    const SessionHistoryStore& store() const { return m_store; }
    /// For the writers other than the stop (crash recovery); they list again afterwards.
    SessionHistoryStore& store() { return m_store; }

    /// Lists the saved sessions again, newest first.
    Q_INVOKABLE void refreshSessionHistory();

    /// Saves a finished session under its id, or under a safe name derived from an id that
    /// cannot name a file here, and lists again. Returns what the user must be told: the file's
    /// name when it had to derive one, or that the save failed (which is logged).
    std::optional<QString> saveFinishedSession(const SavedSession& session);

Q_SIGNALS:
    void sessionHistoryChanged();
    void selectedSessionHistoryIdChanged();

private:
    SessionHistoryStore m_store;
    SavedSessionListModel m_sessions;
    QString m_selectedSessionHistoryId;
};

} // namespace vesnara
