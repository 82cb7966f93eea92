#include "engine/parts/SessionTranscript.h"

#include "engine/RunStatus.h"
#include "engine/StatusLine.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/rules/PinHighlights.h"
#include "engine/rules/PinLinks.h"
#include "model/JsonWriting.h"
#include "model/TranscriptPinKind.h"
#include "text/UiText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QString idText(const std::optional<QUuid>& id) {
    return id ? uuidText(*id) : QString();
}

/// The id as the list shows it; an unreadable one is the null id, which no pin has.
QUuid pinIdFrom(const QString& text) {
    return QUuid::fromString(text);
}

} // namespace

SessionTranscript::SessionTranscript(const PartContext& context, QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_pinCommands(*this, context)
    , m_exports(*this, context) {
    connect(this, &SessionTranscript::segmentsChanged, this,
            &SessionTranscript::updateSegmentHighlights);
    connect(&m_segments, &TranscriptSegmentListModel::searchMatchesChanged, this,
            &SessionTranscript::transcriptMatchesChanged);
    connect(this, &SessionTranscript::pinsChanged, this,
            &SessionTranscript::updateSegmentHighlights);
    connect(this, &SessionTranscript::selectedPinIdChanged, this,
            &SessionTranscript::updateSegmentHighlights);
    connect(this, &SessionTranscript::highlightedPinIdChanged, this,
            &SessionTranscript::updateSegmentHighlights);
}

QString SessionTranscript::selectedPinIdText() const {
    return idText(selectedPinId());
}

QString SessionTranscript::highlightedPinIdText() const {
    return idText(highlightedPinId());
}

bool SessionTranscript::addFinalLine(const FinalLine& line) {
    if (!m_segments.add(line))
        return false;
    Q_EMIT segmentsChanged();
    linkPins();
    return true;
}

void SessionTranscript::mergeLines(const QList<FinalLine>& lines) {
    if (m_segments.mergeLines(lines) == 0)
        return;
    Q_EMIT segmentsChanged();
    linkPins();
}

void SessionTranscript::setInterimText(const QString& text) {
    if (m_interimText == text)
        return;
    m_interimText = text;
    Q_EMIT interimTextChanged();
}

void SessionTranscript::setPins(QList<TranscriptPin> pins) {
    linkPinsToNearestSegments(pins, segments());
    if (m_pins == pins)
        return;
    m_pins = std::move(pins);
    m_pinModel.setPins(m_pins);
    Q_EMIT pinsChanged();
}

void SessionTranscript::linkPins() {
    if (m_pins.isEmpty())
        return;
    QList<TranscriptPin> linked = m_pins;
    if (!linkPinsToNearestSegments(linked, segments()))
        return;
    m_pins = std::move(linked);
    m_pinModel.setPins(m_pins);
    Q_EMIT pinsChanged();
}

void SessionTranscript::setSelectedPinId(std::optional<QUuid> id) {
    if (selectedPinId() == id)
        return;
    m_pinModel.setSelectedPinId(id);
    Q_EMIT selectedPinIdChanged();
}

void SessionTranscript::setHighlightedPinId(std::optional<QUuid> id) {
    if (highlightedPinId() == id)
        return;
    m_pinModel.setHighlightedPinId(id);
    Q_EMIT highlightedPinIdChanged();
}

void SessionTranscript::clear() {
    m_pinCommands.cancelHighlight();
    setInterimText({});
    setSelectedPinId(std::nullopt);
    setHighlightedPinId(std::nullopt);
    if (!m_pins.isEmpty()) {
        m_pins.clear();
        m_pinModel.clear();
        Q_EMIT pinsChanged();
    }
    if (!segments().isEmpty() || !lines().knownSegmentKeys().isEmpty()) {
        m_segments.clear();
        Q_EMIT segmentsChanged();
    }
}

void SessionTranscript::autoExportAfterStopIfEnabled() {
    m_exports.autoExportAfterStopIfEnabled();
}

// Pins

const TranscriptPin* SessionTranscript::pin(const QUuid& id) const {
    const auto found = std::find_if(m_pins.cbegin(), m_pins.cend(),
                                    [&](const TranscriptPin& pin) { return pin.id == id; });
    return found == m_pins.cend() ? nullptr : &*found;
}

void SessionTranscript::insertPin(TranscriptPin pin) {
    m_pins.append(pin);
    m_pinModel.add(std::move(pin));
    Q_EMIT pinsChanged();
}

bool SessionTranscript::removePin(const QUuid& id) {
    const qsizetype removed =
        m_pins.removeIf([&](const TranscriptPin& pin) { return pin.id == id; });
    if (removed > 0) {
        m_pinModel.remove(id);
        Q_EMIT pinsChanged();
    }
    if (selectedPinId() == id)
        setSelectedPinId(std::nullopt);
    if (highlightedPinId() == id)
        setHighlightedPinId(std::nullopt);
    return removed > 0;
}

bool SessionTranscript::relabelPin(const QUuid& id, const QString& label) {
    const auto found = std::find_if(m_pins.begin(), m_pins.end(),
                                    [&](const TranscriptPin& pin) { return pin.id == id; });
    if (found == m_pins.end())
        return false;
    if (found->label == label)
        return true;
    found->label = label;
    m_pinModel.replace(*found);
    Q_EMIT pinsChanged();
    return true;
}

void SessionTranscript::addPin(TranscriptPinKind kind, const QString& label, const QString& note) {
    m_pinCommands.addPin(kind, label, note);
}

void SessionTranscript::addRevisitPin() {
    addPin(TranscriptPinKind::revisit, vesnara::label(TranscriptPinKind::revisit), {});
}

void SessionTranscript::selectPin(const QString& id) {
    selectPin(pinIdFrom(id));
}

void SessionTranscript::deletePin(const QString& id) {
    deletePin(pinIdFrom(id));
}

void SessionTranscript::renamePin(const QString& id, const QString& label) {
    renamePin(pinIdFrom(id), label);
}

void SessionTranscript::promptRenamePin(const QString& id) {
    promptRenamePin(pinIdFrom(id));
}

QString SessionTranscript::nearestSegmentIdForPin(const QString& pinId) const {
    const auto id = vesnara::nearestSegmentIdForPin(segments(), m_pins, pinIdFrom(pinId));
    return id ? id->toString(QUuid::WithoutBraces) : QString();
}

void SessionTranscript::updateSegmentHighlights() {
    m_segments.setHighlightedSegmentIds(highlightedSegmentIds(
        segments(), m_pins, activePinId(selectedPinId(), highlightedPinId())));
}

// Exports

TranscriptExportInput SessionTranscript::exportInput() const {
    return {m_context.run.sessionId(), m_context.settings.language(), m_context.settings.sttModel(),
            segments(), pinsSortedByTimestamp()};
}

void SessionTranscript::saveTranscript() {
    m_exports.saveTranscript();
}

void SessionTranscript::copyTranscriptToClipboard() {
    m_exports.copyTranscriptToClipboard();
}

void SessionTranscript::copySessionIdToClipboard() {
    m_exports.copySessionIdToClipboard();
}

void SessionTranscript::clearTranscript() {
    // Not while a run owns the screen: a stop that is finishing still saves what it shows.
    if (m_context.run.runState() != RecordingRunState::idle)
        return;
    clear();
    m_context.status.setDiagnosticHint({});
    Q_EMIT transcriptCleared();
    m_context.status.setStatusText(UiText::statusTranscriptCleared);
}

void SessionTranscript::showSavedSession(const SavedSession& session) {
    Q_EMIT savedSessionShown(session.id);
    m_segments.reset(session.segments);
    Q_EMIT segmentsChanged();
    QList<TranscriptPin> pins = pinsByTime(session.pins);
    // Linked in memory only; the file keeps what it has.
    linkPinsToNearestSegments(pins, segments());
    m_pins = pins;
    m_pinModel.reset(std::move(pins));
    Q_EMIT pinsChanged();
    setSelectedPinId(std::nullopt);
    setHighlightedPinId(std::nullopt);
    m_pinCommands.cancelHighlight();
    setInterimText({});
}

void SessionTranscript::setTranscriptQuery(const QString& query) {
    if (m_transcriptQuery == query)
        return;
    m_transcriptQuery = query;
    m_segments.setSearchQuery(SearchQuery(query));
    Q_EMIT transcriptQueryChanged();
    // The summary appears or goes even when the matches stay the same (none).
    Q_EMIT transcriptMatchesChanged();
}

QString SessionTranscript::matchSummary() const {
    if (m_segments.searchQuery().isBlank())
        return {};
    return UiText::searchMatchSummary(currentMatchNumber(), matchCount());
}

int SessionTranscript::currentMatchNumber() const {
    const QList<qsizetype>& rows = m_segments.matchRows();
    const auto at = std::lower_bound(rows.cbegin(), rows.cend(), m_segments.currentMatchRow());
    return at == rows.cend() || *at != m_segments.currentMatchRow()
               ? 0
               : static_cast<int>(at - rows.cbegin()) + 1;
}

} // namespace vesnara
