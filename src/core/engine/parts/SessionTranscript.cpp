#include "engine/parts/SessionTranscript.h"

#include "engine/rules/PinLinks.h"
#include "model/JsonWriting.h"

namespace vesnara {

namespace {

QString idText(const std::optional<QUuid>& id) {
    return id ? uuidText(*id) : QString();
}

} // namespace

SessionTranscript::SessionTranscript(const PartContext& context, QObject* parent)
    : QObject(parent)
    , m_context(context) {}

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
    // The automatic export after a stop comes with the transcript exports.
}

} // namespace vesnara
