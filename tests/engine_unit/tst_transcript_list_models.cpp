#include "ModelTestSupport.h"
#include "TranscriptTestLines.h"

#include "engine/models/TranscriptPinListModel.h"
#include "engine/models/TranscriptSegmentListModel.h"
#include "engine/rules/TranscriptText.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

QStringList textsOf(const QList<TranscriptSegment>& segments) {
    QStringList texts;
    for (const auto& segment : segments)
        texts.append(segment.text);
    return texts;
}

TranscriptPin pinAt(double offset, const QString& label,
                    TranscriptPinKind kind = TranscriptPinKind::revisit) {
    return {QUuid::createUuid(), at(offset), at(offset + 0.5), label, QString(), kind, {}};
}

QStringList labelsOf(const QList<TranscriptPin>& pins) {
    QStringList labels;
    for (const auto& pin : pins)
        labels.append(pin.label);
    return labels;
}

} // namespace

class TranscriptListModelsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("TZ", "Europe/Helsinki"); }

    void finalLineIsOneInsertAtItsRow() {
        TranscriptSegmentListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        ModelSignalLog log(&model);
        QSignalSpy textChanged(&model, &TranscriptSegmentListModel::transcriptTextChanged);
        QSignalSpy wordsChanged(&model, &TranscriptSegmentListModel::wordCountChanged);
        QSignalSpy countChanged(&model, &ListModelBase::countChanged);

        QCOMPARE(model.add(streamLine(u"Ensimmäinen"_s, 0.0)), qsizetype(0));
        QCOMPARE(model.add(streamLine(u"Kolmas"_s, 20.0)), qsizetype(1));
        QCOMPARE(model.add(streamLine(u"Toinen"_s, 10.0)), qsizetype(1));
        QCOMPARE(log.take(), (QStringList{u"insert 0-0"_s, u"insert 1-1"_s, u"insert 1-1"_s}));
        QCOMPARE(textChanged.size(), 3);
        QCOMPARE(wordsChanged.size(), 3);
        QCOMPARE(countChanged.size(), 3);
        QCOMPARE(model.count(), 3);
        QCOMPARE(model.transcriptText(), transcriptText(model.segments()));
        QCOMPARE(model.wordCount(), 6);

        // A duplicate or a blank line is no change at all.
        QVERIFY(!model.add(streamLine(u"toinen"_s, 10.3)));
        QVERIFY(!model.add(streamLine(u"  "_s, 5.0)));
        QCOMPARE(log.take(), QStringList());
        QCOMPARE(textChanged.size(), 3);
    }

    void pollMergeInsertsOnlyItsNewLines() {
        TranscriptSegmentListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (const auto& line :
             {streamLine(u"A"_s, 0.0), streamLine(u"B"_s, 10.0), streamLine(u"C"_s, 20.0)})
            QVERIFY(model.add(line));
        ModelSignalLog log(&model);
        QSignalSpy textChanged(&model, &TranscriptSegmentListModel::transcriptTextChanged);

        const qsizetype added = model.mergeLines({
            streamLine(u"A"_s, 0.0),
            streamLine(u"Väliin"_s, 5.0),
            {u"b"_s, at(300.0), std::nullopt, DuplicateCheck::byKeyOrText},
            streamLine(u"Loppuun"_s, 30.0),
            streamLine(u"Loppuun"_s, 30.0),
        });
        QCOMPARE(added, 2);
        QCOMPARE(log.take(), (QStringList{u"insert 1-1"_s, u"insert 4-4"_s}));
        QCOMPARE(textChanged.size(), 1);
        QCOMPARE(textsOf(model.segments()),
                 (QStringList{u"A"_s, u"Väliin"_s, u"B"_s, u"C"_s, u"Loppuun"_s}));

        QCOMPARE(model.mergeLines({streamLine(u"A"_s, 0.0)}), 0);
        QCOMPARE(log.take(), QStringList());
        QCOMPARE(textChanged.size(), 1);
    }

    void segmentRowsCarryDisplayValues() {
        TranscriptSegmentListModel model;
        QVERIFY(model.add(streamLine(u" Aloitetaan. "_s, 0.0)));
        QVERIFY(model.add(streamLine(u"Hyvä on."_s, 61.9, u"Puhuja 1"_s)));
        const TranscriptSegment first = model.segments().at(0);

        QCOMPARE(roleValue(model, 0, "id").toString(), first.id.toString(QUuid::WithoutBraces));
        QCOMPARE(roleValue(model, 0, "text").toString(), u"Aloitetaan."_s);
        QCOMPARE(roleValue(model, 0, "timestamp").toDateTime(),
                 QDateTime::fromSecsSinceEpoch(qint64(kMorning), QTimeZone::utc()));
        QCOMPARE(roleValue(model, 0, "timeLabel").toString(), u"11:15:02"_s);
        QCOMPARE(roleValue(model, 0, "speakerLabel").toString(), QString());
        QCOMPARE(roleValue(model, 0, "hasSpeakerLabel").toBool(), false);
        QCOMPARE(roleValue(model, 0, "isHighlighted").toBool(), false);
        QCOMPARE(roleValue(model, 1, "timeLabel").toString(), u"11:16:03"_s);
        QCOMPARE(roleValue(model, 1, "speakerLabel").toString(), u"Puhuja 1"_s);
        QCOMPARE(roleValue(model, 1, "hasSpeakerLabel").toBool(), true);

        // The row a view scrolls to for a line.
        QCOMPARE(model.rowOf(model.segments().at(1).id), qsizetype(1));
        QVERIFY(model.add(streamLine(u"Väliin."_s, 30.0)));
        QCOMPARE(model.rowOf(first.id), qsizetype(0));
        QCOMPARE(model.rowOf(model.segments().at(2).id), qsizetype(2));
        QCOMPARE(model.rowOf(QUuid::createUuid()), std::nullopt);
    }

    void highlightReportsOnlyRowsThatFlip() {
        TranscriptSegmentListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (int i = 0; i < 5; ++i)
            QVERIFY(model.add(streamLine(u"Rivi %1"_s.arg(i), i * 10.0)));
        const auto idOf = [&](int row) { return model.segments().at(row).id; };
        ModelSignalLog log(&model);

        model.setHighlightedSegmentIds({idOf(1), idOf(3)});
        QCOMPARE(log.take(),
                 (QStringList{u"change 1-1 isHighlighted"_s, u"change 3-3 isHighlighted"_s}));
        QCOMPARE(roleValue(model, 1, "isHighlighted").toBool(), true);
        QCOMPARE(roleValue(model, 2, "isHighlighted").toBool(), false);

        model.setHighlightedSegmentIds({idOf(3), idOf(0)});
        QCOMPARE(log.take(),
                 (QStringList{u"change 0-0 isHighlighted"_s, u"change 1-1 isHighlighted"_s}));
        model.setHighlightedSegmentIds({idOf(3), idOf(0)});
        model.setHighlightedSegmentIds({idOf(3), idOf(0), QUuid::createUuid()});
        QCOMPARE(log.take(), QStringList());
        QCOMPARE(roleValue(model, 0, "isHighlighted").toBool(), true);
        QCOMPARE(roleValue(model, 1, "isHighlighted").toBool(), false);
    }

    void wholeReplacementsReset() {
        TranscriptSegmentListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(model.add(streamLine(u"Ennen latausta"_s, 0.0)));
        ModelSignalLog log(&model);
        QSignalSpy textChanged(&model, &TranscriptSegmentListModel::transcriptTextChanged);

        model.reset({{QUuid::createUuid(), u"Myöhempi"_s, at(20.0), std::nullopt},
                     {QUuid::createUuid(), u"Aiempi"_s, at(10.0), u"P"_s}});
        QCOMPARE(log.take(), QStringList{u"reset"_s});
        QCOMPARE(textChanged.size(), 1);
        QCOMPARE(model.transcriptText(), u"[11:15:12] [P] Aiempi\n[11:15:22] Myöhempi"_s);
        QCOMPARE(model.count(), 2);

        model.clear();
        QCOMPARE(log.take(), QStringList{u"reset"_s});
        QCOMPARE(model.count(), 0);
        QCOMPARE(model.wordCount(), 0);
        model.clear();
        QCOMPARE(textChanged.size(), 2); // clearing an empty transcript changes no text
    }

    void pinsStandInTimeOrder() {
        TranscriptPinListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        ModelSignalLog log(&model);
        QCOMPARE(model.add(pinAt(10.0, u"a"_s)), qsizetype(0));
        QCOMPARE(model.add(pinAt(5.0, u"b"_s)), qsizetype(0));
        QCOMPARE(model.add(pinAt(10.0, u"c"_s)), qsizetype(2));
        QCOMPARE(model.add(pinAt(7.0, u"d"_s)), qsizetype(1));
        QCOMPARE(labelsOf(model.pins()), (QStringList{u"b"_s, u"d"_s, u"a"_s, u"c"_s}));
        QCOMPARE(log.take(),
                 (QStringList{u"insert 0-0"_s, u"insert 0-0"_s, u"insert 2-2"_s, u"insert 1-1"_s}));

        const QUuid a = model.pins().at(2).id;
        QVERIFY(model.remove(a));
        QVERIFY(!model.remove(a));
        QCOMPARE(log.take(), QStringList{u"remove 2-2"_s});
        QCOMPARE(labelsOf(model.pins()), (QStringList{u"b"_s, u"d"_s, u"c"_s}));
    }

    void replacingAPinChangesItsRow_data() {
        QTest::addColumn<double>("newOffset");
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<QStringList>("order");
        // Pins at 0 (p0), 10 (p1), 10 (p2), 20 (p3); p1 is renamed to "uusi".
        QTest::newRow("same time: a data change in place")
            << 10.0 << QStringList{u"change 1-1"_s}
            << QStringList{u"p0"_s, u"uusi"_s, u"p2"_s, u"p3"_s};
        QTest::newRow("later: moved after the pins before it")
            << 25.0 << QStringList{u"move 1-1>4"_s, u"change 3-3"_s}
            << QStringList{u"p0"_s, u"p2"_s, u"p3"_s, u"uusi"_s};
        QTest::newRow("earlier: moved before")
            << -1.0 << QStringList{u"move 1-1>0"_s, u"change 0-0"_s}
            << QStringList{u"uusi"_s, u"p0"_s, u"p2"_s, u"p3"_s};
    }
    void replacingAPinChangesItsRow() {
        QFETCH(double, newOffset);
        QFETCH(QStringList, log);
        QFETCH(QStringList, order);
        TranscriptPinListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.reset({pinAt(0.0, u"p0"_s), pinAt(10.0, u"p1"_s), pinAt(10.0, u"p2"_s),
                     pinAt(20.0, u"p3"_s)});
        ModelSignalLog signalLog(&model);
        TranscriptPin renamed = model.pins().at(1);
        renamed.label = u"uusi"_s;
        renamed.timestamp = at(newOffset);
        QVERIFY(model.replace(renamed));
        QCOMPARE(signalLog.take(), log);
        QCOMPARE(labelsOf(model.pins()), order);
        QVERIFY(!model.replace(pinAt(0.0, u"tuntematon"_s)));
    }

    void relinkingChangesOnlyTheRelinkedRows() {
        TranscriptPinListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.reset({pinAt(20.0, u"c"_s), pinAt(0.0, u"a"_s), pinAt(10.0, u"b"_s)});
        QCOMPARE(labelsOf(model.pins()), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
        ModelSignalLog log(&model);

        QList<TranscriptPin> linked = model.pins();
        linked[2].linkedSegmentId = QUuid::createUuid();
        model.setPins(linked);
        QCOMPARE(log.take(), QStringList{u"change 2-2"_s});
        QCOMPARE(model.pins(), linked);
        model.setPins(linked);
        QCOMPARE(log.take(), QStringList());
    }

    void pinRowsCarryDisplayValues() {
        TranscriptPinListModel model;
        TranscriptPin blank = pinAt(0.0, u"  "_s, TranscriptPinKind::revisit);
        blank.note = u" \n"_s;
        TranscriptPin named = pinAt(1.0, u"  Päätös budjetista "_s, TranscriptPinKind::topicChange);
        named.note = u"Tarkista luvut"_s;
        named.linkedSegmentId = QUuid::createUuid();
        model.reset({blank, named});

        QCOMPARE(roleValue(model, 0, "id").toString(),
                 blank.id.toString(QUuid::WithoutBraces).toUpper());
        QCOMPARE(roleValue(model, 0, "pinDisplayTitle").toString(), u"Palaa tähän"_s);
        QCOMPARE(roleValue(model, 0, "kindShortLabel").toString(), u"Pinni"_s);
        QCOMPARE(roleValue(model, 0, "iconName").toString(), u"pin.fill"_s);
        QCOMPARE(roleValue(model, 0, "hasNote").toBool(), false);
        QCOMPARE(roleValue(model, 0, "linkedSegmentId").toString(), QString());
        QCOMPARE(roleValue(model, 0, "timeLabel").toString(), u"11:15:02"_s);
        QCOMPARE(roleValue(model, 0, "createdAt").toDateTime(), at(0.5).toDateTime());
        QCOMPARE(roleValue(model, 0, "rowDescription").toString(),
                 u"Pinni Palaa tähän, 11:15:02"_s);

        QCOMPARE(roleValue(model, 1, "pinDisplayTitle").toString(), u"Päätös budjetista"_s);
        QCOMPARE(roleValue(model, 1, "label").toString(), u"  Päätös budjetista "_s);
        QCOMPARE(roleValue(model, 1, "kind").toInt(), int(TranscriptPinKind::topicChange));
        QCOMPARE(roleValue(model, 1, "kindLabel").toString(), u"Teeman vaihto"_s);
        QCOMPARE(roleValue(model, 1, "kindShortLabel").toString(), u"Teema"_s);
        QCOMPARE(roleValue(model, 1, "note").toString(), u"Tarkista luvut"_s);
        QCOMPARE(roleValue(model, 1, "hasNote").toBool(), true);
        QCOMPARE(roleValue(model, 1, "linkedSegmentId").toString(),
                 named.linkedSegmentId->toString(QUuid::WithoutBraces));
        QCOMPARE(roleValue(model, 1, "timestamp").toDateTime(), at(1.0).toDateTime());
    }

    void selectionAndHighlightFlipSingleRows() {
        TranscriptPinListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.reset({pinAt(0.0, u"a"_s), pinAt(1.0, u"b"_s), pinAt(2.0, u"c"_s)});
        const auto idOf = [&](int row) { return model.pins().at(row).id; };
        ModelSignalLog log(&model);

        model.setSelectedPinId(idOf(2));
        model.setHighlightedPinId(idOf(2));
        QCOMPARE(log.take(), (QStringList{u"change 2-2 isSelected isActive"_s,
                                          u"change 2-2 isHighlighted isActive"_s}));
        model.setSelectedPinId(idOf(0));
        QCOMPARE(log.take(), (QStringList{u"change 0-0 isSelected isActive"_s,
                                          u"change 2-2 isSelected isActive"_s}));
        // Still lit though no longer selected: the row stays active.
        QCOMPARE(roleValue(model, 2, "isActive").toBool(), true);
        model.setHighlightedPinId(std::nullopt);
        model.setSelectedPinId(idOf(0));
        QCOMPARE(log.take(), QStringList{u"change 2-2 isHighlighted isActive"_s});
        QCOMPARE(roleValue(model, 0, "isSelected").toBool(), true);
        QCOMPARE(roleValue(model, 0, "isActive").toBool(), true);
        QCOMPARE(roleValue(model, 2, "isSelected").toBool(), false);
        QCOMPARE(roleValue(model, 2, "isHighlighted").toBool(), false);
        QCOMPARE(roleValue(model, 2, "isActive").toBool(), false);
    }
};

QTEST_GUILESS_MAIN(TranscriptListModelsTest)
#include "tst_transcript_list_models.moc"
