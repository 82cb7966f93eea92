#pragma once

#include "engine/export/TranscriptFormats.h"
#include "engine/models/TranscriptPinListModel.h"
#include "engine/models/TranscriptSegmentListModel.h"
#include "engine/parts/PartContext.h"
#include "engine/parts/PinCommands.h"
#include "engine/parts/TranscriptExports.h"
#include "engine/rules/TranscriptMerge.h"
#include "model/SavedSession.h"
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
    /// The search over the lines: those holding every word are marked (`isSearchMatch`), one of
    /// them is current (`isCurrentMatch`, -1 for none) and next/previous wrap round.
    Q_PROPERTY(QString transcriptQuery READ transcriptQuery WRITE setTranscriptQuery NOTIFY
                   transcriptQueryChanged)
    Q_PROPERTY(int matchCount READ matchCount NOTIFY transcriptMatchesChanged)
    Q_PROPERTY(int currentMatchRow READ currentMatchRow NOTIFY transcriptMatchesChanged)
    /// 1 for the first match, 0 for none.
    Q_PROPERTY(int currentMatchNumber READ currentMatchNumber NOTIFY transcriptMatchesChanged)
    /// "n / m osumaa"; empty for a blank query.
    Q_PROPERTY(QString matchSummary READ matchSummary NOTIFY transcriptMatchesChanged)

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
    /// Writes the transcript into Downloads after a stop when the user asked for it.
    void autoExportAfterStopIfEnabled();

    // Pins
    /// The pin with `id`, or null.
    const TranscriptPin* pin(const QUuid& id) const;
    /// Adds a new pin, linked to its nearest line within reach.
    void insertPin(TranscriptPin pin);
    /// Removes every pin with `id`; the selection and the light of that pin go too. True when
    /// one was removed.
    bool removePin(const QUuid& id);
    /// Gives the pin a new label. False for an unknown id.
    bool relabelPin(const QUuid& id, const QString& label);
    Q_INVOKABLE void addPin(vesnara::TranscriptPinKind kind, const QString& label,
                            const QString& note);
    /// The button's pin: "revisit", the kind's label, no note.
    Q_INVOKABLE void addRevisitPin();
    /// The commands below take the id as the list gives it (upper case, no braces); an id that
    /// does not read is unknown.
    Q_INVOKABLE void selectPin(const QString& id);
    Q_INVOKABLE void deletePin(const QString& id);
    Q_INVOKABLE void renamePin(const QString& id, const QString& label);
    Q_INVOKABLE void promptRenamePin(const QString& id);
    void selectPin(const QUuid& id) { m_pinCommands.selectPin(id); }
    void deletePin(const QUuid& id) { m_pinCommands.deletePin(id); }
    void renamePin(const QUuid& id, const QString& label) { m_pinCommands.renamePin(id, label); }
    void promptRenamePin(const QUuid& id) { m_pinCommands.promptRenamePin(id); }
    void persistPinsForLoadedSessionIfNeeded() {
        m_pinCommands.persistPinsForLoadedSessionIfNeeded();
    }
    /// The line the screen scrolls to for a pin: its nearest at any distance; empty for none.
    Q_INVOKABLE QString nearestSegmentIdForPin(const QString& pinId) const;

    // Search
    const QString& transcriptQuery() const { return m_transcriptQuery; }
    void setTranscriptQuery(const QString& query);
    int matchCount() const { return static_cast<int>(m_segments.matchRows().size()); }
    int currentMatchRow() const { return static_cast<int>(m_segments.currentMatchRow()); }
    int currentMatchNumber() const;
    Q_INVOKABLE void nextMatch() { m_segments.stepMatch(1); }
    Q_INVOKABLE void previousMatch() { m_segments.stepMatch(-1); }
    /// Enter steps forward, Shift+Enter back.
    Q_INVOKABLE void stepMatch(bool backwards) { m_segments.stepMatch(backwards ? -1 : 1); }
    QString matchSummary() const;

    // Exports
    /// The transcript on screen as an export sees it.
    TranscriptExportInput exportInput() const;
    Q_INVOKABLE void saveTranscript();
    Q_INVOKABLE void copyTranscriptToClipboard();
    Q_INVOKABLE void copySessionIdToClipboard();
    /// Empties the screen after a recording (not while one starts, runs or finishes): lines,
    /// pins, selection, the hint and the session id; files and the history stay.
    Q_INVOKABLE void clearTranscript();
    /// Shows a saved session: its lines and pins by time, the pins linked anew in memory, no
    /// selection, no interim line.
    void showSavedSession(const SavedSession& session);

Q_SIGNALS:
    /// The lines changed: the text, its word count and the count may read differently.
    void segmentsChanged();
    void pinsChanged();
    void interimTextChanged();
    void selectedPinIdChanged();
    void highlightedPinIdChanged();
    void transcriptQueryChanged();
    void transcriptMatchesChanged();
    /// The screen was emptied by the user: the session on screen is none.
    void transcriptCleared();
    /// A saved session is now on screen.
    void savedSessionShown(const QString& sessionId);

private:
    /// Lights the lines of the active pin, found in one pass.
    void updateSegmentHighlights();

    const PartContext& m_context;
    TranscriptSegmentListModel m_segments;
    TranscriptPinListModel m_pinModel;
    QList<TranscriptPin> m_pins;
    QString m_interimText;
    QString m_transcriptQuery;
    PinCommands m_pinCommands;
    TranscriptExports m_exports;
};

} // namespace vesnara
