// The two subtitle formats checked against known bytes, and every output against the formats'
// structural rules: the header, the arrow, start times that only grow, no blank line in a cue.
#include "ExportTestLines.h"
#include "engine/export/ExportFileNames.h"
#include "engine/export/SubtitleFormats.h"
#include "engine/export/TranscriptFormats.h"
#include "model/TranscriptExportFormat.h"

#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

qint64 timeMs(const QRegularExpressionMatch& match, int first) {
    return ((match.captured(first).toLongLong() * 60 + match.captured(first + 1).toLongLong()) *
                60 +
            match.captured(first + 2).toLongLong()) *
               1000 +
           match.captured(first + 3).toLongLong();
}

enum class Kind { srt, vtt };

/// What breaks the format's rules in `text`, or "" when nothing does. Blocks are separated by
/// one blank line; a cue is an optional identifier (SubRip: its number, counting from 1), the
/// timing line, and at least one line of text without an arrow; starts grow strictly and every
/// cue ends after it starts. WebVTT starts with its header and may hold NOTE blocks.
QString violations(const QString& text, Kind kind) {
    if (text.contains(u'\r'))
        return u"carriage return"_s;
    QStringList lines = text.split(u'\n');
    if (text.isEmpty())
        return kind == Kind::srt ? QString() : u"no header"_s;
    if (!text.endsWith(u'\n'))
        return u"no line end at the end"_s;
    lines.removeLast();
    if (kind == Kind::vtt) {
        if (lines.takeFirst() != u"WEBVTT"_s)
            return u"no header"_s;
        if (!lines.isEmpty() && !lines.takeFirst().isEmpty())
            return u"no blank line after the header"_s;
    }
    const QRegularExpression timing(kind == Kind::srt
                                        ? u"^(\\d{2,}):([0-5]\\d):([0-5]\\d),(\\d{3}) --> "
                                          "(\\d{2,}):([0-5]\\d):([0-5]\\d),(\\d{3})$"_s
                                        : u"^(\\d{2,}):([0-5]\\d):([0-5]\\d)\\.(\\d{3}) --> "
                                          "(\\d{2,}):([0-5]\\d):([0-5]\\d)\\.(\\d{3})$"_s);
    QList<QStringList> blocks;
    if (!lines.isEmpty())
        blocks.append(QStringList{});
    for (const QString& line : lines) {
        if (line.isEmpty())
            blocks.append(QStringList{});
        else
            blocks.last().append(line);
    }
    qint64 previousStart = -1;
    int number = 0;
    for (const QStringList& block : blocks) {
        if (block.isEmpty())
            return u"two blank lines in a row, or a blank line at the end"_s;
        if (kind == Kind::vtt &&
            (block.first() == u"NOTE"_s || block.first().startsWith(u"NOTE "_s))) {
            if (block.join(u'\n').contains(u"-->"_s))
                return u"an arrow in a NOTE: "_s + block.join(u'\n');
            continue;
        }
        qsizetype timingAt = 0;
        if (!block.first().contains(u"-->"_s)) {
            if (kind == Kind::srt && block.first() != QString::number(number + 1))
                return u"cue number out of order: "_s + block.first();
            timingAt = 1;
        }
        ++number;
        if (block.size() < timingAt + 2)
            return u"a cue without text: "_s + block.join(u'\n');
        const QRegularExpressionMatch match = timing.match(block.at(timingAt));
        if (!match.hasMatch())
            return u"not a timing line: "_s + block.at(timingAt);
        const qint64 start = timeMs(match, 1);
        const qint64 end = timeMs(match, 5);
        if (start <= previousStart)
            return u"a start that does not grow: "_s + block.at(timingAt);
        if (end <= start)
            return u"a cue that does not end after it starts: "_s + block.at(timingAt);
        previousStart = start;
        for (qsizetype i = timingAt + 1; i < block.size(); ++i) {
            if (block.at(i).contains(u"-->"_s) || block.at(i).trimmed().isEmpty())
                return u"an arrow or a blank line in a cue's text: "_s + block.at(i);
        }
    }
    return {};
}

} // namespace

class SubtitleFormatsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void formats_data() {
        QTest::addColumn<QList<TranscriptSegment>>("segments");
        QTest::addColumn<QList<TranscriptPin>>("pins");
        QTest::addColumn<QString>("srt");
        QTest::addColumn<QString>("vtt");

        QTest::newRow("ordinary: to the next line, the last for at least 1 s")
            << QList{line(u"Hei kaikki"_s, 0.0), line(u"Aloitetaan kokous"_s, 2.5)}
            << QList<TranscriptPin>{}
            << u"1\n00:00:00,000 --> 00:00:02,500\nHei kaikki\n\n"
               u"2\n00:00:02,500 --> 00:00:03,500\nAloitetaan kokous\n"_s
            << u"WEBVTT\n\n00:00:00.000 --> 00:00:02.500\nHei kaikki\n\n"
               u"00:00:02.500 --> 00:00:03.500\nAloitetaan kokous\n"_s;
        QTest::newRow("speakers, escaped in WebVTT; a blank one is none")
            << QList{line(u"Hei"_s, 0.0, u"Puhuja 1"_s), line(u"Moi"_s, 1.25, u"Anna <pj>"_s),
                     line(u"Kolmas"_s, 3.0, u" "_s)}
            << QList<TranscriptPin>{}
            << u"1\n00:00:00,000 --> 00:00:01,250\nPuhuja 1: Hei\n\n"
               u"2\n00:00:01,250 --> 00:00:03,000\nAnna <pj>: Moi\n\n"
               u"3\n00:00:03,000 --> 00:00:04,000\nKolmas\n"_s
            << u"WEBVTT\n\n00:00:00.000 --> 00:00:01.250\n<v Puhuja 1>Hei\n\n"
               u"00:00:01.250 --> 00:00:03.000\n<v Anna &lt;pj&gt;>Moi\n\n"
               u"00:00:03.000 --> 00:00:04.000\nKolmas\n"_s;
        QTest::newRow("last line of five words: 2 s")
            << QList{line(u"yksi kaksi  kolme neljä viisi"_s, 10.0)} << QList<TranscriptPin>{}
            << u"1\n00:00:00,000 --> 00:00:02,000\nyksi kaksi  kolme neljä viisi\n"_s
            << u"WEBVTT\n\n00:00:00.000 --> 00:00:02.000\nyksi kaksi  kolme neljä viisi\n"_s;
        const QString thirtyWords = QStringList(30, u"sana"_s).join(u' ');
        QTest::newRow("last line of thirty words: at most 7 s")
            << QList{line(thirtyWords, 0.0)} << QList<TranscriptPin>{}
            << u"1\n00:00:00,000 --> 00:00:07,000\n"_s + thirtyWords + u'\n'
            << u"WEBVTT\n\n00:00:00.000 --> 00:00:07.000\n"_s + thirtyWords + u'\n';
        QTest::newRow("same times: starts 1 ms apart, shown for their words")
            << QList{line(u"A"_s, 5.0), line(u"B"_s, 5.0), line(u"C"_s, 5.0), line(u"D"_s, 7.0)}
            << QList<TranscriptPin>{}
            << u"1\n00:00:00,000 --> 00:00:01,000\nA\n\n2\n00:00:00,001 --> 00:00:01,001\nB\n\n"
               u"3\n00:00:00,002 --> 00:00:02,000\nC\n\n4\n00:00:02,000 --> 00:00:03,000\nD\n"_s
            << u"WEBVTT\n\n00:00:00.000 --> 00:00:01.000\nA\n\n00:00:00.001 --> 00:00:01.001\nB\n\n"
               u"00:00:00.002 --> 00:00:02.000\nC\n\n00:00:02.000 --> 00:00:03.000\nD\n"_s;
        QTest::newRow("a line earlier than the one before it, and a time that is not finite")
            << QList{line(u"A"_s, 4.0), line(u"B"_s, 1.0), line(u"C"_s, qQNaN()), line(u"D"_s, 6.0)}
            << QList<TranscriptPin>{}
            << u"1\n00:00:03,000 --> 00:00:04,000\nA\n\n2\n00:00:03,001 --> 00:00:04,001\nB\n\n"
               u"3\n00:00:03,002 --> 00:00:05,000\nC\n\n4\n00:00:05,000 --> 00:00:06,000\nD\n"_s
            << u"WEBVTT\n\n00:00:03.000 --> 00:00:04.000\nA\n\n00:00:03.001 --> 00:00:04.001\nB\n\n"
               u"00:00:03.002 --> 00:00:05.000\nC\n\n00:00:05.000 --> 00:00:06.000\nD\n"_s;
        QTest::newRow("pins: NOTE blocks in WebVTT by time, none in SubRip")
            << QList{line(u"Alku"_s, 0.0), line(u"Loppu"_s, 8.0)}
            << QList{pin(TranscriptPinKind::topicChange, u"Uusi\naihe --> x"_s, QString(), 20.0),
                     pin(TranscriptPinKind::revisit, u"Palaa tähän"_s, u"Budjetti"_s, 3.0),
                     pin(TranscriptPinKind::important, u"Avaus"_s, u"  "_s, 0.0)}
            << u"1\n00:00:00,000 --> 00:00:08,000\nAlku\n\n"
               u"2\n00:00:08,000 --> 00:00:09,000\nLoppu\n"_s
            << u"WEBVTT\n\nNOTE 00:00:00.000 [PIN: Tärkeä] Avaus\n\n"
               u"00:00:00.000 --> 00:00:08.000\nAlku\n\n"
               u"NOTE 00:00:03.000 [PIN: Palaa tähän] Palaa tähän - Budjetti\n\n"
               u"00:00:08.000 --> 00:00:09.000\nLoppu\n\n"
               u"NOTE 00:00:20.000 [PIN: Teeman vaihto] Uusi aihe -> x\n"_s;
        QTest::newRow("a pin before the first line is the origin in both")
            << QList{line(u"Alku"_s, 0.0)}
            << QList{pin(TranscriptPinKind::important, u"Aloitus"_s, QString(), -2.0)}
            << u"1\n00:00:02,000 --> 00:00:03,000\nAlku\n"_s
            << u"WEBVTT\n\nNOTE 00:00:00.000 [PIN: Tärkeä] Aloitus\n\n"
               u"00:00:02.000 --> 00:00:03.000\nAlku\n"_s;
        QTest::newRow("empty") << QList<TranscriptSegment>{} << QList<TranscriptPin>{} << QString()
                               << u"WEBVTT\n"_s;
        QTest::newRow("pins alone")
            << QList<TranscriptSegment>{}
            << QList{pin(TranscriptPinKind::important, u"Avaus"_s, QString(), 0.0)} << QString()
            << u"WEBVTT\n\nNOTE 00:00:00.000 [PIN: Tärkeä] Avaus\n"_s;
        QTest::newRow("non-ASCII")
            << QList{line(u"Äänitys alkaa – ”heti” 🎙"_s, 0.0, u"Jääskeläinen"_s)}
            << QList<TranscriptPin>{}
            << u"1\n00:00:00,000 --> 00:00:02,000\nJääskeläinen: Äänitys alkaa – ”heti” 🎙\n"_s
            << u"WEBVTT\n\n00:00:00.000 --> 00:00:02.000\n<v Jääskeläinen>Äänitys alkaa – ”heti” "
               u"🎙\n"_s;
        QTest::newRow("an arrow and blank lines in a line's text; a line of blanks only")
            << QList{line(u"A --> B\n\n  \r\nC & <i>"_s, 0.0), line(u" \n "_s, 1.0),
                     line(u"D"_s, 2.0)}
            << QList<TranscriptPin>{}
            << u"1\n00:00:00,000 --> 00:00:02,000\nA -> B\nC & <i>\n\n"
               u"2\n00:00:02,000 --> 00:00:03,000\nD\n"_s
            << u"WEBVTT\n\n00:00:00.000 --> 00:00:02.000\nA --&gt; B\nC &amp; &lt;i&gt;\n\n"
               u"00:00:02.000 --> 00:00:03.000\nD\n"_s;
        QTest::newRow("an hour in")
            << QList{line(u"Alku"_s, 0.0), line(u"Myöhemmin"_s, 3725.5)} << QList<TranscriptPin>{}
            << u"1\n00:00:00,000 --> 01:02:05,500\nAlku\n\n"
               u"2\n01:02:05,500 --> 01:02:06,500\nMyöhemmin\n"_s
            << u"WEBVTT\n\n00:00:00.000 --> 01:02:05.500\nAlku\n\n"
               u"01:02:05.500 --> 01:02:06.500\nMyöhemmin\n"_s;
    }
    void formats() {
        QFETCH(QList<TranscriptSegment>, segments);
        QFETCH(QList<TranscriptPin>, pins);
        QFETCH(QString, srt);
        QFETCH(QString, vtt);
        const QString writtenSRT = formatSRT(segments, pins);
        const QString writtenVTT = formatWebVTT(segments, pins);
        QCOMPARE(writtenSRT, srt);
        QCOMPARE(writtenVTT, vtt);
        QCOMPARE(violations(writtenSRT, Kind::srt), QString());
        QCOMPARE(violations(writtenVTT, Kind::vtt), QString());

        const TranscriptExportInput input{u"abc123"_s, u"fi"_s, u"malli"_s, segments, pins};
        QCOMPARE(formatTranscript(TranscriptExportFormat::srt, input), srt);
        QCOMPARE(formatTranscript(TranscriptExportFormat::vtt, input), vtt);
    }

    // The rules check itself finds what it is there to find.
    void theRulesCheckCatchesBrokenFiles_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("violation");
        const QString cue = u"00:00:01.000 --> 00:00:02.000\nA\n"_s;
        QTest::newRow("no header") << cue << u"no header"_s;
        QTest::newRow("comma in WebVTT")
            << u"WEBVTT\n\n00:00:01,000 --> 00:00:02,000\nA\n"_s << u"not a timing line"_s;
        QTest::newRow("same start")
            << u"WEBVTT\n\n"_s + cue + u'\n' + cue << u"a start that does not grow"_s;
        QTest::newRow("zero length")
            << u"WEBVTT\n\n00:00:01.000 --> 00:00:01.000\nA\n"_s << u"a cue that does not end"_s;
        QTest::newRow("blank line in a cue")
            << u"WEBVTT\n\n00:00:01.000 --> 00:00:02.000\nA\n\nB\n"_s << u"a cue without text"_s;
        QTest::newRow("arrow in text")
            << u"WEBVTT\n\n00:00:01.000 --> 00:00:02.000\nA --> B\n"_s << u"an arrow"_s;
    }
    void theRulesCheckCatchesBrokenFiles() {
        QFETCH(QString, text);
        QFETCH(QString, violation);
        QVERIFY2(violations(text, Kind::vtt).startsWith(violation),
                 qPrintable(violations(text, Kind::vtt)));
    }

    void theFormatsAreOffered_data() {
        QTest::addColumn<TranscriptExportFormat>("format");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("filter");
        QTest::newRow("srt") << TranscriptExportFormat::srt << u"abc123.srt"_s
                             << u"SRT-tekstitys (*.srt)"_s;
        QTest::newRow("vtt") << TranscriptExportFormat::vtt << u"abc123.vtt"_s
                             << u"WebVTT-tekstitys (*.vtt)"_s;
    }
    void theFormatsAreOffered() {
        QFETCH(TranscriptExportFormat, format);
        QFETCH(QString, fileName);
        QFETCH(QString, filter);
        QVERIFY(allTranscriptExportFormats().contains(format));
        QCOMPARE(exportPanelFileName(u"abc123"_s, format), fileName);
        QCOMPARE(exportFileFilter(format), filter);
    }
};

QTEST_GUILESS_MAIN(SubtitleFormatsTest)
#include "tst_subtitle_formats.moc"
