#include "engine/export/TranscriptFormats.h"

#include "engine/export/SubtitleFormats.h"
#include "engine/rules/TranscriptText.h"
#include "model/JsonWriting.h"
#include "model/TranscriptPinKind.h"
#include "text/UiText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

bool isFinite(Timestamp time) {
    return std::isfinite(time.secondsSinceReferenceDate());
}

QJsonValue optionalText(const std::optional<QString>& text) {
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

} // namespace

QString pinBody(const TranscriptPin& pin) {
    const QString note = pin.note.trimmed();
    return note.isEmpty() ? pin.label : pin.label + u" - "_s + note;
}

QList<TranscriptPin> pinsByTime(QList<TranscriptPin> pins) {
    std::stable_sort(pins.begin(), pins.end(), [](const TranscriptPin& a, const TranscriptPin& b) {
        return a.timestamp < b.timestamp;
    });
    return pins;
}

QString csvQuoted(const QString& field) {
    QString quoted = field;
    quoted.replace(u'"', u"\"\""_s);
    return u'"' + quoted + u'"';
}

QString formatTXT(const QList<TranscriptSegment>& segments, const QList<TranscriptPin>& pins) {
    const QString lines = transcriptText(segments);
    if (pins.isEmpty())
        return lines;
    QStringList pinLines;
    pinLines.reserve(pins.size());
    for (const TranscriptPin& pin : pinsByTime(pins))
        pinLines << u'[' + pin.timestamp.clockText() + u"] [PIN: "_s + label(pin.kind) + u"] "_s +
                        pinBody(pin);
    const QString pinPart = UiText::exportPinHeading + u'\n' + pinLines.join(u'\n');
    return lines.isEmpty() ? pinPart : lines + u"\n\n"_s + pinPart;
}

QString formatCSV(const QList<TranscriptSegment>& segments, const QList<TranscriptPin>& pins) {
    struct Row {
        Timestamp moment;
        QString text;
    };
    QList<Row> rows;
    rows.reserve(segments.size() + pins.size());
    for (const TranscriptSegment& segment : segments)
        rows.append({segment.timestamp, segment.timestamp.toIso8601() + u',' +
                                            csvQuoted(segment.speakerLabel.value_or(QString())) +
                                            u',' + csvQuoted(segment.text)});
    for (const TranscriptPin& pin : pinsByTime(pins))
        rows.append({pin.timestamp, pin.timestamp.toIso8601() + u',' +
                                        csvQuoted(u"PIN:"_s + jsonValue(pin.kind)) + u',' +
                                        csvQuoted(pinBody(pin))});
    // By the exact moment, not the printed second; lines were added first, so they lead a tie.
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.moment < b.moment; });
    QString csv = u"timestamp,speaker,text"_s;
    for (const Row& row : rows)
        csv += u'\n' + row.text;
    return csv;
}

QString formatJSON(const TranscriptExportInput& input) {
    QJsonArray segments;
    for (const TranscriptSegment& segment : input.segments) {
        if (!isFinite(segment.timestamp))
            return u"{}"_s;
        segments.append(QJsonObject{{u"timestamp"_s, segment.timestamp.toIso8601()},
                                    {u"speakerLabel"_s, optionalText(segment.speakerLabel)},
                                    {u"text"_s, segment.text}});
    }
    QJsonArray pins;
    for (const TranscriptPin& pin : pinsByTime(input.pins)) {
        if (!isFinite(pin.timestamp) || !isFinite(pin.createdAt))
            return u"{}"_s;
        pins.append(QJsonObject{
            {u"id"_s, uuidText(pin.id)},
            {u"timestamp"_s, pin.timestamp.toIso8601()},
            {u"createdAt"_s, pin.createdAt.toIso8601()},
            {u"kind"_s, jsonValue(pin.kind)},
            {u"label"_s, pin.label},
            {u"note"_s, pin.note},
            {u"linkedSegmentId"_s, pin.linkedSegmentId ? QJsonValue(uuidText(*pin.linkedSegmentId))
                                                       : QJsonValue(QJsonValue::Null)},
        });
    }
    const QJsonObject root{{u"sessionId"_s, input.sessionId},
                           {u"language"_s, input.language},
                           {u"sttModel"_s, input.sttModel},
                           {u"segments"_s, segments},
                           {u"pins"_s, pins}};
    QByteArray json = QJsonDocument(root).toJson(QJsonDocument::Indented);
    json.chop(1); // Qt ends the document with a line end; the export does not.
    return QString::fromUtf8(json);
}

QString formatTranscript(TranscriptExportFormat format, const TranscriptExportInput& input) {
    switch (format) {
    case TranscriptExportFormat::txt:
        return formatTXT(input.segments, input.pins);
    case TranscriptExportFormat::json:
        return formatJSON(input);
    case TranscriptExportFormat::csv:
        return formatCSV(input.segments, input.pins);
    case TranscriptExportFormat::srt:
        return formatSRT(input.segments, input.pins);
    case TranscriptExportFormat::vtt:
        return formatWebVTT(input.segments, input.pins);
    }
    return formatTXT(input.segments, input.pins);
}

} // namespace vesnara
