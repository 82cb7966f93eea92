#pragma once

#include "backend/ServerTranscriptResponse.h"
#include "backend/SessionMetaResponse.h"
#include "model/SavedSession.h"
#include "model/Timestamp.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace vesnara {

struct STTConfiguration;

// The rules by which a session that a crash left on the server, or in a local checkpoint,
// becomes a saved session again.

/// A date the server wrote: trimmed, read with a fraction of a second, then without; blank or
/// unreadable text gives nothing.
std::optional<Timestamp> parseRecoveryDate(const std::optional<QString>& text);

/// The server's lines as a saved session keeps them: trimmed, blank ones dropped, times read as
/// by `parseRecoveryDate`; lines without a readable time get `now`, `now` + 1 s, … in server
/// order; a second line with the key of an earlier one is dropped; the result sorted by time,
/// stably. Each line gets a fresh id.
QList<TranscriptSegment>
recoveredTranscriptSegments(const QList<ServerTranscriptResponse::Segment>& segments,
                            Timestamp now);

/// `value` trimmed, or `fallback` when it is absent or blank.
QString trimmedOr(const std::optional<QString>& value, const QString& fallback);

/// The saved session for server session `id` with its recovered `segments` (not empty): the
/// server's dates, else the first and last line's; its language and model, else the defaults
/// of `config`; no pins.
SavedSession recoveredSession(const QString& id, const SessionMetaResponse& meta,
                              QList<TranscriptSegment> segments, const STTConfiguration& config);

/// Whether a server id may be saved and found again by its id: it names a visible file of its
/// own in the history directory. Other ids are skipped (and logged) by the recovery.
bool isRecoverableSessionId(const QString& id);

/// What a recovery run tells the user and which saved session it opens.
struct RecoveryReport {
    /// Nothing: the status stays as it is.
    std::optional<QString> statusText;
    /// The saved session to open when no recording runs.
    std::optional<QString> sessionToOpen;

    friend bool operator==(const RecoveryReport&, const RecoveryReport&) = default;
};

/// The report of a finished run. `importedIds` are the sessions this run saved, in order;
/// `latestSeenSavedId` is the first id the server listed when its local file could be read
/// (looked at only when the button's run saved nothing).
RecoveryReport recoveryReport(bool startupMode, const QStringList& importedIds,
                              const std::optional<QString>& latestSeenSavedId);

} // namespace vesnara
