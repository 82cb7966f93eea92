#include "refbackend/DocxReading.h"
#include "refbackend/DocxWriter.h"
#include "refbackend/MemoBuilder.h"

#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;
using vesnara::refbackend::buildExtractiveMemo;
using vesnara::refbackend::Memo;
using vesnara::refbackend::MemoLine;
using vesnara::refbackend::writeMemoDocx;
using vesnara::test::paragraphs;
using vesnara::test::unzip;

namespace {

const QString kNoon = u"2026-03-04T12:00:00Z"_s;

MemoLine line(const QString& text, std::optional<QString> speaker = std::nullopt,
              const QString& ts = kNoon) {
    return MemoLine{text, ts, std::move(speaker)};
}

bool wellFormed(const QByteArray& xml) {
    QXmlStreamReader reader(xml);
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

QByteArray documentOf(const Memo& memo) {
    QString error = u"stale"_s;
    const QByteArray docx = writeMemoDocx(memo, &error);
    if (docx.isEmpty() || !error.isEmpty())
        return {};
    return unzip(docx).value_or(QMap<QString, QByteArray>{}).value(u"word/document.xml"_s);
}

} // namespace

class MemoDocxTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanTranscriptKeepsEachSaidLineOnce_data() {
        QTest::addColumn<QList<MemoLine>>("lines");
        QTest::addColumn<QString>("expected");
        QTest::newRow("trimmed, blanks dropped")
            << QList<MemoLine>{line(u"  Hei.  "_s), line(u" "_s), line({}), line(u"Moi."_s)}
            << u"Hei.\nMoi."_s;
        QTest::newRow("consecutive repeats dropped, later ones kept")
            << QList<MemoLine>{line(u"Joo."_s), line(u"Joo. "_s), line(u"Ei."_s), line(u"Joo."_s)}
            << u"Joo.\nEi.\nJoo."_s;
        QTest::newRow("speakers") << QList<MemoLine>{line(u"Aloitetaan."_s, u"Anna"_s),
                                                     line(u"Aloitetaan."_s, u"Ben"_s),
                                                     line(u"Selvä."_s, u"  "_s)}
                                  << u"Anna: Aloitetaan.\nBen: Aloitetaan.\nSelvä."_s;
        QTest::newRow("a break inside a line")
            << QList<MemoLine>{line(u"Ensin\ntämä\r\nja  tuo"_s)} << u"Ensin tämä ja tuo"_s;
    }
    void cleanTranscriptKeepsEachSaidLineOnce() {
        QFETCH(QList<MemoLine>, lines);
        QFETCH(QString, expected);
        QCOMPARE(buildExtractiveMemo(lines, u"fi-FI"_s).cleanTranscript, expected);
    }

    void summaryKeepsTheSentencesOnTheRecurringTopicsInOrder() {
        const QList<MemoLine> lines{
            line(u"Hei kaikki, aloitetaan."_s),
            line(u"Budjetti ylittyy kolmannella neljänneksellä, joten budjetti pitää tarkistaa. "
                 u"Joo okei."_s),
            line(u"Aikataulu siirtyy viikolla, koska budjetti ei riitä."_s),
            line(u"No niin."_s),
            line(u"Sovitaan, että Anna tarkistaa budjetin ja aikataulun perjantaina, ja budjetti "
                 u"hyväksytään maanantaina."_s),
            line(u"Kiitos. Nähdään!"_s),
        };
        const Memo memo = buildExtractiveMemo(lines, u"fi-FI"_s);
        QCOMPARE(memo.memoType, u"extractive"_s);
        // Eight sentences give two. The agreement scores highest ("budjetti" four times in all,
        // "tarkistaa" twice), the budget overrun next; they are listed as they were said.
        QCOMPARE(memo.summary.split(u'\n'),
                 (QStringList{u"• Budjetti ylittyy kolmannella neljänneksellä, joten budjetti "
                              u"pitää tarkistaa."_s,
                              u"• Sovitaan, että Anna tarkistaa budjetin ja aikataulun "
                              u"perjantaina, ja budjetti hyväksytään maanantaina."_s}));
    }

    void summaryNamesARepeatedSentenceOnce() {
        QList<MemoLine> lines;
        for (int i = 0; i < 12; ++i)
            lines.append(
                line(i % 2 ? u"Palvelin kaatuu yöllä, palvelin pitää korjata."_s : u"Mitä?"_s));
        const Memo memo = buildExtractiveMemo(lines, u"fi-FI"_s);
        QCOMPARE(memo.summary, u"• Palvelin kaatuu yöllä, palvelin pitää korjata."_s);
    }

    void titleFollowsLanguageAndFirstReadableTime_data() {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QStringList>("times");
        QTest::addColumn<QString>("title");
        QTest::newRow("Finnish") << u"fi-FI"_s << QStringList{kNoon} << u"Muistio 4.3.2026"_s;
        QTest::newRow("bare fi") << u"fi"_s << QStringList{kNoon} << u"Muistio 4.3.2026"_s;
        QTest::newRow("Swedish") << u"sv-SE"_s << QStringList{kNoon}
                                 << u"Minnesanteckningar 2026-03-04"_s;
        QTest::newRow("unknown tag") << u"first"_s << QStringList{kNoon} << u"Memo 2026-03-04"_s;
        QTest::newRow("first time unreadable")
            << u"fi-FI"_s << QStringList{u"eilen"_s, u"2026-02-01T12:00:00+02:00"_s}
            << u"Muistio 1.2.2026"_s;
        QTest::newRow("no readable time")
            << u"sv-FI"_s << QStringList{QString()} << u"Minnesanteckningar"_s;
    }
    void titleFollowsLanguageAndFirstReadableTime() {
        QFETCH(QString, language);
        QFETCH(QStringList, times);
        QFETCH(QString, title);
        QList<MemoLine> lines;
        for (const QString& ts : times)
            lines.append(line(u"Rivi %1."_s.arg(lines.size()), std::nullopt, ts));
        QCOMPARE(buildExtractiveMemo(lines, language).title, title);
    }

    void nothingToSummariseSaysSo_data() {
        QTest::addColumn<QList<MemoLine>>("lines");
        QTest::newRow("no lines") << QList<MemoLine>{};
        QTest::newRow("blank lines") << QList<MemoLine>{line(u"  "_s, u"Anna"_s), line(u"\n"_s)};
    }
    void nothingToSummariseSaysSo() {
        QFETCH(QList<MemoLine>, lines);
        const Memo memo = buildExtractiveMemo(lines, u"fi-FI"_s);
        QCOMPARE(memo.memoType, u"extractive"_s);
        QCOMPARE(memo.confidence, 0.0);
        QVERIFY(memo.cleanTranscript.isEmpty());
        QVERIFY(memo.summary.startsWith(u"Ei tiivistettävää"_s));
        QVERIFY(memo.title.startsWith(u"Muistio"_s));
        // The document still opens, with an empty transcript under its heading.
        QCOMPARE(paragraphs(documentOf(memo)),
                 (QStringList{u"Title|"_s + memo.title, u"|"_s + memo.summary,
                              u"Heading1|Puhtaaksikirjoitus"_s}));
    }

    void confidenceGrowsWithTheAmountOfText() {
        double previous = 0.0;
        for (const int count : {1, 5, 20, 100}) {
            QList<MemoLine> lines;
            for (int i = 0; i < count; ++i)
                lines.append(line(u"Puhuttiin asiasta numero %1 melko pitkään."_s.arg(i)));
            const double confidence = buildExtractiveMemo(lines, u"fi-FI"_s).confidence;
            QVERIFY2(confidence > previous && confidence <= 1.0,
                     qPrintable(QString::number(confidence)));
            previous = confidence;
        }
        QVERIFY(previous > 0.9);
    }

    void docxIsACompleteWordprocessingPackage() {
        const Memo memo = buildExtractiveMemo({line(u"Testi."_s)}, u"fi-FI"_s);
        QString error;
        const auto entries = unzip(writeMemoDocx(memo, &error));
        QVERIFY2(entries, qPrintable(error));
        for (const QString& name :
             {u"[Content_Types].xml"_s, u"_rels/.rels"_s, u"word/document.xml"_s,
              u"word/_rels/document.xml.rels"_s, u"word/styles.xml"_s, u"docProps/core.xml"_s}) {
            QVERIFY2(entries->contains(name), qPrintable(name));
            QVERIFY2(wellFormed(entries->value(name)), qPrintable(name));
        }
        QVERIFY(
            entries->value(u"[Content_Types].xml"_s)
                .contains(
                    R"(PartName="/word/document.xml" ContentType="application/)"
                    R"(vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml")"));
        QVERIFY(entries->value(u"_rels/.rels"_s).contains(R"(Target="word/document.xml")"));
        QVERIFY(entries->value(u"docProps/core.xml"_s).contains("Muistio 4.3.2026"));
    }

    void docxHoldsTheMemoParagraphByParagraph() {
        Memo memo;
        memo.title = u"Muistio <&> \"4.3.\""_s;
        memo.summary = u"• Ensimmäinen & <paras>\n• Toinen\ttabilla 🎙️"_s;
        memo.cleanTranscript =
            u"Anna: ]]> 'lainaus'\r\nBen: ohjaus\x01merkki ja orpo \xD800 puoli"_s;
        QCOMPARE(paragraphs(documentOf(memo)),
                 (QStringList{u"Title|Muistio <&> \"4.3.\""_s, u"|• Ensimmäinen & <paras>"_s,
                              u"|• Toinen\ttabilla 🎙️"_s, u"Heading1|Puhtaaksikirjoitus"_s,
                              u"|Anna: ]]> 'lainaus'"_s, u"|Ben: ohjausmerkki ja orpo  puoli"_s}));
    }
};

QTEST_GUILESS_MAIN(MemoDocxTest)
#include "tst_memo_docx.moc"
