#pragma once

#include "model/SavedSession.h"

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

/// The checkpoints of recordings in progress: the lines and pins so far of each, kept in the
/// subdirectory `checkpoints` of the history directory, so that the history's listing (which
/// reads only the `.json` files directly in its directory) never shows them as sessions. One
/// file per session, named as its saved session would be.
class CheckpointStore {
public:
    explicit CheckpointStore(const QString& historyDirectory);

    const QString& directory() const { return m_directory; }
    /// Where the checkpoint of `sessionId` is kept (a safe name for any id).
    QString filePathFor(const QString& sessionId) const;

    /// Writes the checkpoint atomically, replacing the earlier one of the same session.
    /// Throws `SessionHistoryError` for an encoding or a write failure.
    void write(const SavedSession& session);
    /// Removes the checkpoint of `sessionId`; false when a file was there and stayed.
    bool remove(const QString& sessionId);

    /// One file found in the directory: its session, or nothing when it did not decode.
    struct Entry {
        QString path;
        std::optional<SavedSession> session;
    };
    /// Every visible `.json` file, in name order.
    QList<Entry> entries() const;

private:
    QString m_directory;
};

} // namespace vesnara
