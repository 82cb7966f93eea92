#pragma once

#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace vesnara {

/// One subtitle: a transcript line on the file's own clock.
struct SubtitleCue {
    /// Milliseconds from the file's origin; each cue starts after the one before it.
    qint64 startMs = 0;
    /// Always after `startMs`.
    qint64 endMs = 0;
    std::optional<QString> speaker;
    /// The line's text in its own lines, none of them blank.
    QStringList lines;
};

/// The moment a subtitle file counts from: the earliest finite time of the lines and the pins,
/// so the first line (or an earlier pin) is at zero. The same for both subtitle formats.
Timestamp subtitleOrigin(const QList<TranscriptSegment>& segments,
                         const QList<TranscriptPin>& pins);

/// A cue per line with text, in the transcript's order: from its time to the next line's time.
/// The last line, and a line whose next line is not later, is shown for its words at 0.4 s
/// each, at least 1 s and at most 7 s (the next cue may then overlap it). A start that would
/// not come after the previous cue's start moves 1 ms past it; a time that is not finite counts
/// as the previous line's.
QList<SubtitleCue> subtitleCues(const QList<TranscriptSegment>& segments, Timestamp origin);

/// "HH:MM:SS<separator>mmm", hours in at least two digits.
QString subtitleTimestamp(qint64 milliseconds, QChar separator);

/// SubRip: numbered cues "1\n00:00:01,000 --> 00:00:03,500\nSpeaker: text\n", separated by a
/// blank line. SubRip has no comments, so pins are not written. "" without lines.
QString formatSRT(const QList<TranscriptSegment>& segments, const QList<TranscriptPin>& pins);

/// WebVTT: "WEBVTT", then cues with the speaker as a voice span ("<v Speaker>text", text
/// escaped), and each pin as a NOTE block before the first cue at or after its time. "WEBVTT\n"
/// alone without lines and pins.
QString formatWebVTT(const QList<TranscriptSegment>& segments, const QList<TranscriptPin>& pins);

} // namespace vesnara
