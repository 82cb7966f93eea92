#pragma once

#include "model/Enumerations.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QString>

namespace vesnara {

/// What an export is made of: the transcript on screen at the moment of the command.
struct TranscriptExportInput {
    /// Empty when none.
    QString sessionId;
    QString language;
    QString sttModel;
    /// In the transcript's order.
    QList<TranscriptSegment> segments;
    /// In any order; every format takes them by time, equal times in the order given.
    QList<TranscriptPin> pins;
};

/// A pin's label, then " - " and the trimmed note when the note has text.
QString pinBody(const TranscriptPin& pin);

/// The pins by time; pins of the same time keep their order.
QList<TranscriptPin> pinsByTime(QList<TranscriptPin> pins);

/// The plain lines (`transcriptText`), then, when there are pins, a blank line, "Pinnatut
/// kohdat:" and one line per pin: "[HH:mm:ss] [PIN: <kind label>] <label>", with " - <note>"
/// when the trimmed note has text. Pins alone start with the heading. No line end at the end.
QString formatTXT(const QList<TranscriptSegment>& segments, const QList<TranscriptPin>& pins);

/// "timestamp,speaker,text", then a row per line and per pin, by moment (lines before pins
/// at the same moment, each group in its order). Times are ISO 8601 UTC in whole seconds and
/// unquoted; the other fields are always quoted, quotes doubled, line breaks kept.
QString formatCSV(const QList<TranscriptSegment>& segments, const QList<TranscriptPin>& pins);

/// The indented JSON object of the session's keys, its lines (without their ids) and its pins;
/// "{}" for a transcript that cannot be written (a time that is not a finite number).
QString formatJSON(const TranscriptExportInput& input);

/// The text of `format`.
QString formatTranscript(TranscriptExportFormat format, const TranscriptExportInput& input);

/// `field` for a CSV row: in double quotes, each quote doubled.
QString csvQuoted(const QString& field);

} // namespace vesnara
