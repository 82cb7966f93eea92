#include "engine/export/SubtitleFormats.h"

#include "engine/export/TranscriptFormats.h"
#include "model/TranscriptPinKind.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr qint64 kMsPerWord = 400;
constexpr qint64 kShortestLastCueMs = 1000;
constexpr qint64 kLongestLastCueMs = 7000;
// Ten thousand hours: far past any recording, and well inside a 64-bit millisecond count.
constexpr double kLatestSeconds = 3.6e7;

bool isFinite(Timestamp time) {
    return std::isfinite(time.secondsSinceReferenceDate());
}

const QRegularExpression& lineBreaks() {
    static const QRegularExpression pattern(u"\\r\\n|[\\r\\n\\x{2028}\\x{2029}]"_s);
    return pattern;
}

/// The text's lines, trimmed, without the blank ones: a blank line would end a cue.
QStringList textLines(const QString& text) {
    QStringList lines;
    for (const QString& line : text.split(lineBreaks())) {
        const QString trimmed = line.trimmed();
        if (!trimmed.isEmpty())
            lines.append(trimmed);
    }
    return lines;
}

/// On one line: for a speaker's name and a NOTE.
QString oneLine(const QString& text) {
    return textLines(text).join(u' ');
}

qint64 readingMs(const QStringList& lines) {
    static const QRegularExpression blanks(u"\\s+"_s);
    const qint64 words = lines.join(u' ').split(blanks, Qt::SkipEmptyParts).size();
    return std::clamp(words * kMsPerWord, kShortestLastCueMs, kLongestLastCueMs);
}

qint64 msSince(Timestamp time, Timestamp origin) {
    const double seconds = std::clamp(time.secondsSince(origin), 0.0, kLatestSeconds);
    return std::llround(seconds * 1000.0);
}

/// SubRip has no escaping; its only structure in text is the timing arrow.
QString srtText(const QString& line) {
    QString text = line;
    return text.replace(u"-->"_s, u"->"_s);
}

/// WebVTT cue text with its three special characters as entities; an escaped arrow is no
/// arrow.
QString vttEscaped(const QString& text) {
    QString escaped = text;
    escaped.replace(u'&', u"&amp;"_s);
    escaped.replace(u'<', u"&lt;"_s);
    escaped.replace(u'>', u"&gt;"_s);
    return escaped;
}

QString noteBlock(const TranscriptPin& pin, Timestamp origin) {
    const qint64 at = isFinite(pin.timestamp) ? msSince(pin.timestamp, origin) : 0;
    QString text = u"[PIN: "_s + label(pin.kind) + u"] "_s + oneLine(pinBody(pin));
    // A NOTE ends at a blank line and may not hold an arrow.
    text.replace(u"-->"_s, u"->"_s);
    return u"NOTE "_s + subtitleTimestamp(at, u'.') + u' ' + text;
}

} // namespace

Timestamp subtitleOrigin(const QList<TranscriptSegment>& segments,
                         const QList<TranscriptPin>& pins) {
    std::optional<Timestamp> earliest;
    const auto consider = [&earliest](Timestamp time) {
        if (isFinite(time) && (!earliest || time < *earliest))
            earliest = time;
    };
    for (const TranscriptSegment& segment : segments)
        consider(segment.timestamp);
    for (const TranscriptPin& pin : pins)
        consider(pin.timestamp);
    return earliest.value_or(Timestamp());
}

QList<SubtitleCue> subtitleCues(const QList<TranscriptSegment>& segments, Timestamp origin) {
    QList<SubtitleCue> cues;
    QList<qint64> said; // each cue's own time, before any move
    qint64 previousSaid = 0;
    for (const TranscriptSegment& segment : segments) {
        QStringList lines = textLines(segment.text);
        if (lines.isEmpty())
            continue;
        const qint64 at =
            isFinite(segment.timestamp) ? msSince(segment.timestamp, origin) : previousSaid;
        previousSaid = at;
        const QString speaker = segment.speakerLabel ? oneLine(*segment.speakerLabel) : QString();
        SubtitleCue cue;
        cue.startMs = cues.isEmpty() ? at : std::max(at, cues.constLast().startMs + 1);
        cue.speaker = speaker.isEmpty() ? std::nullopt : std::optional<QString>(speaker);
        cue.lines = std::move(lines);
        cues.append(std::move(cue));
        said.append(at);
    }
    for (qsizetype i = 0; i < cues.size(); ++i) {
        SubtitleCue& cue = cues[i];
        const bool nextIsLater = i + 1 < cues.size() && said.at(i + 1) > said.at(i);
        cue.endMs = nextIsLater ? cues.at(i + 1).startMs : cue.startMs + readingMs(cue.lines);
    }
    return cues;
}

QString subtitleTimestamp(qint64 milliseconds, QChar separator) {
    const qint64 ms = std::max<qint64>(milliseconds, 0);
    return u"%1:%2:%3%4%5"_s.arg(ms / 3'600'000, 2, 10, QChar(u'0'))
        .arg(ms / 60'000 % 60, 2, 10, QChar(u'0'))
        .arg(ms / 1000 % 60, 2, 10, QChar(u'0'))
        .arg(separator)
        .arg(ms % 1000, 3, 10, QChar(u'0'));
}

QString formatSRT(const QList<TranscriptSegment>& segments, const QList<TranscriptPin>& pins) {
    const QList<SubtitleCue> cues = subtitleCues(segments, subtitleOrigin(segments, pins));
    QStringList blocks;
    blocks.reserve(cues.size());
    for (qsizetype i = 0; i < cues.size(); ++i) {
        const SubtitleCue& cue = cues.at(i);
        QStringList lines;
        lines.reserve(cue.lines.size());
        for (const QString& line : cue.lines)
            lines.append(srtText(line));
        if (cue.speaker)
            lines.first().prepend(srtText(*cue.speaker) + u": "_s);
        blocks.append(QString::number(i + 1) + u'\n' + subtitleTimestamp(cue.startMs, u',') +
                      u" --> "_s + subtitleTimestamp(cue.endMs, u',') + u'\n' + lines.join(u'\n'));
    }
    return blocks.isEmpty() ? QString() : blocks.join(u"\n\n"_s) + u'\n';
}

QString formatWebVTT(const QList<TranscriptSegment>& segments, const QList<TranscriptPin>& pins) {
    const Timestamp origin = subtitleOrigin(segments, pins);
    const QList<SubtitleCue> cues = subtitleCues(segments, origin);
    const QList<TranscriptPin> sortedPins = pinsByTime(pins);
    QString vtt = u"WEBVTT\n"_s;
    qsizetype nextPin = 0;
    const auto notesUntil = [&](std::optional<qint64> cueStart) {
        for (; nextPin < sortedPins.size(); ++nextPin) {
            const TranscriptPin& pin = sortedPins.at(nextPin);
            const qint64 at = isFinite(pin.timestamp) ? msSince(pin.timestamp, origin) : 0;
            if (cueStart && at > *cueStart)
                return;
            vtt += u'\n' + noteBlock(pin, origin) + u'\n';
        }
    };
    for (const SubtitleCue& cue : cues) {
        notesUntil(cue.startMs);
        QStringList lines;
        lines.reserve(cue.lines.size());
        for (const QString& line : cue.lines)
            lines.append(vttEscaped(line));
        if (cue.speaker)
            lines.first().prepend(u"<v "_s + vttEscaped(*cue.speaker) + u'>');
        vtt += u'\n' + subtitleTimestamp(cue.startMs, u'.') + u" --> "_s +
               subtitleTimestamp(cue.endMs, u'.') + u'\n' + lines.join(u'\n') + u'\n';
    }
    notesUntil(std::nullopt);
    return vtt;
}

} // namespace vesnara
