#pragma once

#include "engine/models/TranscriptPinListModel.h"
#include "engine/models/TranscriptSegmentListModel.h"
#include "engine/parts/PartContext.h"
#include "engine/rules/TranscriptMerge.h"
#include "model/TranscriptPin.h"

#include <QList>
#include <QObject>
#include <QUuid>

#include <optional>

namespace vesnara {

/// The transcript on screen: the final lines and the pins as list models, the interim line, and
/// which pin is selected or lit. The recording adds lines as they come; pins link to their
/// nearest line as lines arrive.
class SessionTranscript final : public QObject {
    Q_OBJECT
    Q_PROPERTY(vesnara::TranscriptSegmentListModel* segments READ segmentModel CONSTANT)
    Q_PROPERTY(vesnara::TranscriptPinListModel* pins READ pinModel CONSTANT)
    Q_PROPERTY(QString interimText READ interimText NOTIFY interimTextChanged)
    Q_PROPERTY(QString transcriptText READ transcriptText NOTIFY segmentsChanged)
    Q_PROPERTY(qsizetype wordCount READ wordCount NOTIFY segmentsChanged)
    Q_PROPERTY(qsizetype segmentCount READ segmentCount NOTIFY segmentsChanged)
    Q_PROPERTY(qsizetype pinCount READ pinCount NOTIFY pinsChanged)
    /// The pin's id in upper case, or empty for none.
    Q_PROPERTY(QString selectedPinId READ selectedPinIdText NOTIFY selectedPinIdChanged)
    Q_PROPERTY(QString highlightedPinId READ highlightedPinIdText NOTIFY highlightedPinIdChanged)

public:
    /// `context` is kept; everything in it outlives the object.
    explicit SessionTranscript(const PartContext& context, QObject* parent = nullptr);

    TranscriptSegmentListModel* segmentModel() { return &m_segments; }
    TranscriptPinListModel* pinModel() { return &m_pinModel; }

    const TranscriptLines& lines() const { return m_segments.lines(); }
    const QList<TranscriptSegment>& segments() const { return m_segments.segments(); }
    /// The pins in the order they were made.
    const QList<TranscriptPin>& pins() const { return m_pins; }
    /// The pins by time, equal times in the order they were made.
    const QList<TranscriptPin>& pinsSortedByTimestamp() const { return m_pinModel.pins(); }
    const QString& interimText() const { return m_interimText; }
    const QString& transcriptText() const { return m_segments.transcriptText(); }
    qsizetype wordCount() const { return m_segments.wordCount(); }
    qsizetype segmentCount() const { return segments().size(); }
    qsizetype pinCount() const { return m_pins.size(); }
    std::optional<QUuid> selectedPinId() const { return m_pinModel.selectedPinId(); }
    std::optional<QUuid> highlightedPinId() const { return m_pinModel.highlightedPinId(); }
    QString selectedPinIdText() const;
    QString highlightedPinIdText() const;

    /// Adds a final line at its place in time unless the transcript has it already, then links
    /// the pins. True when it was added.
    bool addFinalLine(const FinalLine& line);
    /// Adds the lines of one poll, then links the pins once.
    void mergeLines(const QList<FinalLine>& lines);
    void setInterimText(const QString& text);
    /// Replaces the pins (in the order they were made) and links them.
    void setPins(QList<TranscriptPin> pins);
    /// Links each pin to its nearest line; one out of reach keeps its link.
    void linkPins();
    void setSelectedPinId(std::optional<QUuid> id);
    void setHighlightedPinId(std::optional<QUuid> id);
    /// Empties everything: lines, interim line, pins, selection and light.
    void clear();
    /// Writes the transcript out after a stop when the user asked for it. Comes with the
    /// exports; does nothing yet.
    void autoExportAfterStopIfEnabled();

Q_SIGNALS:
    /// The lines changed: the text, its word count and the count may read differently.
    void segmentsChanged();
    void pinsChanged();
    void interimTextChanged();
    void selectedPinIdChanged();
    void highlightedPinIdChanged();

private:
    const PartContext& m_context;
    TranscriptSegmentListModel m_segments;
    TranscriptPinListModel m_pinModel;
    QList<TranscriptPin> m_pins;
    QString m_interimText;
};

} // namespace vesnara
