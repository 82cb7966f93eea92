#pragma once

#include "engine/StoredTask.h"
#include "engine/parts/PartContext.h"
#include "model/Enumerations.h"

#include <QCoroTask>
#include <QPointer>
#include <QString>
#include <QUuid>

namespace vesnara {

class SessionTranscript;

/// The user's pin commands on the transcript part that owns this: adding, selecting with its
/// timed highlight, renaming (also through a prompt), deleting, and writing the pins back into
/// the saved session on screen. Unknown ids, blank names and failed guards end silently.
class PinCommands {
public:
    PinCommands(SessionTranscript& transcript, const PartContext& context);

    /// Only while a recording runs (paused or not), not while it starts or resumes.
    void addPin(TranscriptPinKind kind, const QString& label, const QString& note);
    /// Selects and lights the pin; the light goes out `Timing::pinHighlightDuration` after the
    /// last selection, unless another pin has taken it meanwhile.
    void selectPin(const QUuid& id);
    void deletePin(const QUuid& id);
    void renamePin(const QUuid& id, const QString& label);
    /// Asks for the pin's new name (the present one in the field, the kind's label as the
    /// placeholder); only a saved answer renames, and only a pin that still exists then.
    void promptRenamePin(const QUuid& id);
    /// Rewrites the saved file of the session on screen with the pins as they are now, keeping
    /// its id and times. Only when no recording runs and that file reads as a session; a
    /// failure is logged, never shown.
    void persistPinsForLoadedSessionIfNeeded();
    /// Cancels the pending end of the light.
    void cancelHighlight() { m_highlightTask.cancelAndClear(); }

private:
    static QCoro::Task<> endHighlightLater(QPointer<SessionTranscript> transcript, QUuid id,
                                           std::chrono::milliseconds after,
                                           CancellationToken token);
    static QCoro::Task<> promptRename(QPointer<SessionTranscript> transcript, Dialogs* dialogs,
                                      QUuid id, QString initial, QString placeholder);

    SessionTranscript& m_transcript;
    const PartContext& m_context;
    StoredTask m_highlightTask;
};

} // namespace vesnara
