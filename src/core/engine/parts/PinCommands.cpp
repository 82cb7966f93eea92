#include "engine/parts/PinCommands.h"

#include "engine/RunStatus.h"
#include "engine/StatusLine.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionHistory.h"
#include "engine/parts/SessionTranscript.h"
#include "engine/rules/PinLinks.h"
#include "model/TranscriptPinKind.h"
#include "platform/Dialogs.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

PinCommands::PinCommands(SessionTranscript& transcript, const PartContext& context)
    : m_transcript(transcript)
    , m_context(context) {}

void PinCommands::addPin(TranscriptPinKind kind, const QString& label, const QString& note) {
    const RecordingRunFlags flags = flagsOf(m_context.run.runState());
    if (!flags.isRecording || flags.isStartingRecording || flags.isResumingRecording)
        return;
    TranscriptPin pin;
    pin.id = QUuid::createUuid();
    pin.timestamp = m_context.clock();
    pin.label = label.trimmed();
    if (pin.label.isEmpty())
        pin.label = vesnara::label(kind);
    pin.note = note.trimmed();
    pin.kind = kind;
    pin.linkedSegmentId = nearestSegmentId(m_transcript.segments(), pin.timestamp);
    pin.createdAt = m_context.clock();
    const QUuid id = pin.id;
    const QString effectiveLabel = pin.label;
    m_transcript.insertPin(std::move(pin));
    selectPin(id);
    m_context.status.setStatusText(UiText::statusPinAdded(effectiveLabel));
}

void PinCommands::selectPin(const QUuid& id) {
    if (!m_transcript.pin(id))
        return;
    m_transcript.setSelectedPinId(id);
    m_transcript.setHighlightedPinId(id);
    const CancellationToken token = m_highlightTask.renew();
    m_highlightTask.hold(
        endHighlightLater(&m_transcript, id, m_context.timing.pinHighlightDuration, token));
}

QCoro::Task<> PinCommands::endHighlightLater(QPointer<SessionTranscript> transcript, QUuid id,
                                             std::chrono::milliseconds after,
                                             CancellationToken token) {
    const bool elapsed = co_await sleepFor(after, token);
    if (!elapsed || !transcript)
        co_return;
    // Another pin may have taken the light meanwhile; it keeps it.
    if (transcript->highlightedPinId() == id)
        transcript->setHighlightedPinId(std::nullopt);
}

void PinCommands::deletePin(const QUuid& id) {
    m_transcript.removePin(id);
    persistPinsForLoadedSessionIfNeeded();
    m_context.status.setStatusText(UiText::statusPinDeleted);
}

void PinCommands::renamePin(const QUuid& id, const QString& label) {
    const QString trimmed = label.trimmed();
    if (trimmed.isEmpty() || !m_transcript.relabelPin(id, trimmed))
        return;
    persistPinsForLoadedSessionIfNeeded();
    selectPin(id);
    m_context.status.setStatusText(UiText::statusPinRenamed(trimmed));
}

void PinCommands::promptRenamePin(const QUuid& id) {
    const TranscriptPin* pin = m_transcript.pin(id);
    if (!pin || !m_context.dialogs)
        return;
    promptRename(&m_transcript, m_context.dialogs, id, pin->label, label(pin->kind));
}

QCoro::Task<> PinCommands::promptRename(QPointer<SessionTranscript> transcript, Dialogs* dialogs,
                                        QUuid id, QString initial, QString placeholder) {
    const std::optional<QString> answer =
        co_await dialogs->promptText(UiText::promptRenamePinTitle, UiText::promptRenamePinText,
                                     std::move(initial), std::move(placeholder), false);
    // The pin may have gone while the prompt was open; renaming looks it up again.
    if (answer && transcript)
        transcript->renamePin(id, *answer);
}

void PinCommands::persistPinsForLoadedSessionIfNeeded() {
    const QString& sessionId = m_context.run.sessionId();
    if (flagsOf(m_context.run.runState()).isRecording || sessionId.isEmpty())
        return;
    SessionHistory& history = m_context.history;
    const std::optional<SavedSession> stored = history.savedSession(sessionId);
    if (!stored)
        return;
    const SavedSession updated{stored->id,
                               stored->createdAt,
                               stored->endedAt,
                               m_context.settings.language(),
                               m_context.settings.sttModel(),
                               m_transcript.segments(),
                               m_transcript.pins()};
    if (const auto error = history.rewriteSession(updated, sessionId))
        AppLog::write(u"pin history update failed session=%1 error=%2"_s.arg(sessionId, *error));
}

} // namespace vesnara
