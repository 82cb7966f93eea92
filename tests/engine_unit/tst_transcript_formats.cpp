// The three export formats and the names of exported files, checked against known bytes.
#include "ExportTestLines.h"
#include "engine/export/ExportFileNames.h"
#include "engine/export/TranscriptFormats.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <ctime>
#include <limits>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

/// The example every format is checked against.
TranscriptExportInput workedExample() {
    TranscriptExportInput input;
    input.sessionId = u"abc123"_s;
    input.language = u"fi"_s;
    input.sttModel = u"model-a"_s;
    input.segments = {line(u"Hei \"kaikki\""_s, 0.0, u"Puhuja 1"_s), line(u"Aloitetaan"_s, 8.0)};
    TranscriptPin revisit = pin(TranscriptPinKind::revisit, u"Palaa tähän"_s, u"Budjetti"_s, 3.0);
    revisit.id = QUuid::fromString(u"6F9619FF-8B86-4011-B42D-00C04FC964FF"_s);
    input.pins = {revisit};
    return input;
}

} // namespace

class TranscriptFormatsTest : public QObject {
    Q_OBJECT

public:
    TranscriptFormatsTest() {
        // Before anything reads the zone.
        qputenv("TZ", "Europe/Helsinki");
        tzset();
    }

private Q_SLOTS:
    void workedExampleAsText() {
        const TranscriptExportInput input = workedExample();
        QCOMPARE(formatTXT(input.segments, input.pins),
                 u"[11:15:02] [Puhuja 1] Hei \"kaikki\"\n"
                 u"[11:15:10] Aloitetaan\n"
                 u"\n"
                 u"Pinnatut kohdat:\n"
                 u"[11:15:05] [PIN: Palaa tähän] Palaa tähän - Budjetti"_s);
        QCOMPARE(formatTranscript(TranscriptExportFormat::txt, input),
                 formatTXT(input.segments, input.pins));
    }

    void workedExampleAsCSV() {
        const TranscriptExportInput input = workedExample();
        QCOMPARE(formatCSV(input.segments, input.pins),
                 u"timestamp,speaker,text\n"
                 u"2026-03-04T09:15:02Z,\"Puhuja 1\",\"Hei \"\"kaikki\"\"\"\n"
                 u"2026-03-04T09:15:05Z,\"PIN:revisit\",\"Palaa tähän - Budjetti\"\n"
                 u"2026-03-04T09:15:10Z,\"\",\"Aloitetaan\""_s);
    }

    void workedExampleAsJSON() {
        const QString json = formatTranscript(TranscriptExportFormat::json, workedExample());
        QVERIFY(!json.endsWith(u'\n'));
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8(), &error);
        QCOMPARE(error.error, QJsonParseError::NoError);
        const QJsonObject expected{
            {u"sessionId"_s, u"abc123"_s},
            {u"language"_s, u"fi"_s},
            {u"sttModel"_s, u"model-a"_s},
            {u"segments"_s, QJsonArray{QJsonObject{{u"timestamp"_s, u"2026-03-04T09:15:02Z"_s},
                                                   {u"speakerLabel"_s, u"Puhuja 1"_s},
                                                   {u"text"_s, u"Hei \"kaikki\""_s}},
                                       QJsonObject{{u"timestamp"_s, u"2026-03-04T09:15:10Z"_s},
                                                   {u"speakerLabel"_s, QJsonValue::Null},
                                                   {u"text"_s, u"Aloitetaan"_s}}}},
            {u"pins"_s, QJsonArray{QJsonObject{{u"id"_s, u"6F9619FF-8B86-4011-B42D-00C04FC964FF"_s},
                                               {u"timestamp"_s, u"2026-03-04T09:15:05Z"_s},
                                               {u"createdAt"_s, u"2026-03-04T09:15:05Z"_s},
                                               {u"kind"_s, u"revisit"_s},
                                               {u"label"_s, u"Palaa tähän"_s},
                                               {u"note"_s, u"Budjetti"_s},
                                               {u"linkedSegmentId"_s, QJsonValue::Null}}}},
        };
        QCOMPARE(document.object(), expected);
    }

    void jsonKeepsLinksAndUntrimmedNotes() {
        TranscriptExportInput input = workedExample();
        input.pins[0].note = u"  "_s;
        input.pins[0].linkedSegmentId = input.segments[0].id;
        const QJsonObject pinObject = QJsonDocument::fromJson(formatJSON(input).toUtf8())
                                          .object()[u"pins"_s]
                                          .toArray()
                                          .at(0)
                                          .toObject();
        QCOMPARE(pinObject[u"note"_s].toString(), u"  "_s);
        QCOMPARE(pinObject[u"linkedSegmentId"_s].toString(),
                 input.segments[0].id.toString(QUuid::WithoutBraces).toUpper());
    }

    void jsonOfAnUnwritableTimeIsEmptyObject() {
        TranscriptExportInput input = workedExample();
        input.pins[0].createdAt =
            Timestamp::fromSecondsSinceReferenceDate(std::numeric_limits<double>::quiet_NaN());
        QCOMPARE(formatJSON(input), u"{}"_s);
    }

    void pinsAloneStartWithTheHeading() {
        const QList<TranscriptPin> pins{
            pin(TranscriptPinKind::topicChange, u"Budjetti"_s, {}, 60.0),
            pin(TranscriptPinKind::important, u"Päätös"_s, u" hyväksytty \n"_s, 0.0),
        };
        QCOMPARE(formatTXT({}, pins), u"Pinnatut kohdat:\n"
                                      u"[11:15:02] [PIN: Tärkeä] Päätös - hyväksytty\n"
                                      u"[11:16:02] [PIN: Teeman vaihto] Budjetti"_s);
        QCOMPARE(formatCSV({}, pins),
                 u"timestamp,speaker,text\n"
                 u"2026-03-04T09:15:02Z,\"PIN:important\",\"Päätös - hyväksytty\"\n"
                 u"2026-03-04T09:16:02Z,\"PIN:topicChange\",\"Budjetti\""_s);
        QCOMPARE(formatTXT({}, {}), QString());
        QCOMPARE(formatCSV({}, {}), u"timestamp,speaker,text"_s);
    }

    void blankNoteExportsAsNone_data() {
        QTest::addColumn<QString>("note");
        QTest::newRow("empty") << QString();
        QTest::newRow("blanks") << u"   "_s;
        QTest::newRow("line ends and tabs") << u"\n\t\r\n"_s;
        QTest::newRow("non-breaking space") << u"\u00A0"_s;
    }
    void blankNoteExportsAsNone() {
        QFETCH(QString, note);
        const QList<TranscriptPin> pins{pin(TranscriptPinKind::revisit, u"Tässä"_s, note, 0.0)};
        QCOMPARE(formatTXT({}, pins), u"Pinnatut kohdat:\n[11:15:02] [PIN: Palaa tähän] Tässä"_s);
        QVERIFY(formatCSV({}, pins).endsWith(u",\"PIN:revisit\",\"Tässä\""_s));
    }

    void csvQuotesEveryTextField_data() {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("quoted");
        QTest::newRow("empty") << QString() << u"\"\""_s;
        QTest::newRow("commas stay") << u"yksi, kaksi"_s << u"\"yksi, kaksi\""_s;
        QTest::newRow("quotes double")
            << u"hän sanoi \"ei\", ja lähti"_s << u"\"hän sanoi \"\"ei\"\", ja lähti\""_s;
        QTest::newRow("line break kept") << u"rivi\ntoinen"_s << u"\"rivi\ntoinen\""_s;
        QTest::newRow("only a quote") << u"\""_s << u"\"\"\"\""_s;
    }
    void csvQuotesEveryTextField() {
        QFETCH(QString, field);
        QFETCH(QString, quoted);
        QCOMPARE(csvQuoted(field), quoted);
        QCOMPARE(formatCSV({line(field, 0.0, field)}, {}),
                 u"timestamp,speaker,text\n2026-03-04T09:15:02Z,"_s + quoted + u',' + quoted);
    }

    void csvOrdersByExactMoment() {
        // The same printed second for all; the order is that of the real moments, lines before
        // pins at the very same moment, and equal pins in their given order.
        const QList<TranscriptSegment> segments{line(u"myöhempi"_s, 0.6),
                                                line(u"samaan aikaan"_s, 0.2)};
        const QList<TranscriptPin> pins{
            pin(TranscriptPinKind::important, u"ensimmäinen"_s, {}, 0.4),
            pin(TranscriptPinKind::important, u"samaan aikaan"_s, {}, 0.2),
            pin(TranscriptPinKind::important, u"toinen"_s, {}, 0.4),
            pin(TranscriptPinKind::revisit, u"aiemmin"_s, {}, 0.1),
        };
        QCOMPARE(formatCSV(segments, pins),
                 u"timestamp,speaker,text\n"
                 u"2026-03-04T09:15:02Z,\"PIN:revisit\",\"aiemmin\"\n"
                 u"2026-03-04T09:15:02Z,\"\",\"samaan aikaan\"\n"
                 u"2026-03-04T09:15:02Z,\"PIN:important\",\"samaan aikaan\"\n"
                 u"2026-03-04T09:15:02Z,\"PIN:important\",\"ensimmäinen\"\n"
                 u"2026-03-04T09:15:02Z,\"PIN:important\",\"toinen\"\n"
                 u"2026-03-04T09:15:02Z,\"\",\"myöhempi\""_s);
        // The lines keep the transcript's order in TXT; the pins go by time there too.
        QCOMPARE(formatTXT(segments, pins).section(u'\n', 0, 1),
                 u"[11:15:02] myöhempi\n[11:15:02] samaan aikaan"_s);
        QVERIFY(formatTXT(segments, pins)
                    .endsWith(u"] aiemmin\n[11:15:02] [PIN: Tärkeä] samaan aikaan\n"
                              u"[11:15:02] [PIN: Tärkeä] ensimmäinen\n"
                              u"[11:15:02] [PIN: Tärkeä] toinen"_s));
    }

    void fileNames_data() {
        QTest::addColumn<QString>("sessionId");
        QTest::addColumn<TranscriptExportFormat>("format");
        QTest::addColumn<QString>("panelName");
        QTest::addColumn<QString>("autoName");
        QTest::newRow("session id") << u"abc123"_s << TranscriptExportFormat::txt << u"abc123.txt"_s
                                    << u"abc123-20260304-111502.txt"_s;
        QTest::newRow("no session")
            << QString() << TranscriptExportFormat::csv << u"transkriptio.csv"_s
            << u"transkriptio-20260304-111502.csv"_s;
        QTest::newRow("id that would leave the folder")
            << u"../muu"_s << TranscriptExportFormat::json << u"transkriptio.json"_s
            << u"transkriptio-20260304-111502.json"_s;
        QTest::newRow("dot dot") << u".."_s << TranscriptExportFormat::txt << u"transkriptio.txt"_s
                                 << u"transkriptio-20260304-111502.txt"_s;
    }
    void fileNames() {
        QFETCH(QString, sessionId);
        QFETCH(TranscriptExportFormat, format);
        QFETCH(QString, panelName);
        QFETCH(QString, autoName);
        QCOMPARE(exportPanelFileName(sessionId, format), panelName);
        QCOMPARE(autoExportFileName(sessionId, format, at(0.9)), autoName);
    }
};

QTEST_GUILESS_MAIN(TranscriptFormatsTest)
#include "tst_transcript_formats.moc"
