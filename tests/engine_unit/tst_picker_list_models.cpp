#include "ModelTestSupport.h"
#include "TranscriptTestLines.h"

#include "engine/models/InputDeviceListModel.h"
#include "engine/models/SavedSessionListModel.h"
#include "engine/models/SystemApplicationListModel.h"
#include "engine/models/SystemDisplayListModel.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;
using namespace vesnara;
using namespace vesnara::test;

namespace {

SavedSessionListItem session(const QString& id, qsizetype segmentCount = 3,
                             double endedAtOffset = 0.0) {
    return {id, Timestamp::fromUnixSeconds(kMorning + endedAtOffset), u"fi-FI"_s, u"chirp_3"_s,
            segmentCount};
}

QList<SavedSessionListItem> sessions(const QStringList& ids) {
    QList<SavedSessionListItem> items;
    for (const QString& id : ids)
        items.append(session(id));
    return items;
}

} // namespace

class PickerListModelsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("TZ", "Europe/Helsinki"); }

    // What a refresh of the history does to the rows, from a list of s1..s4.
    void historyRefreshChangesOnlyWhatChanged_data() {
        QTest::addColumn<QList<SavedSessionListItem>>("refreshed");
        QTest::addColumn<QStringList>("log");
        const auto s = [](int i) { return u"s%1"_s.arg(i); };
        QTest::newRow("one more saved: one row at the top")
            << sessions({s(5), s(1), s(2), s(3), s(4)}) << QStringList{u"insert 0-0"_s};
        QTest::newRow("two more saved: one insert")
            << sessions({s(6), s(5), s(1), s(2), s(3), s(4)}) << QStringList{u"insert 0-1"_s};
        QTest::newRow("one deleted")
            << sessions({s(1), s(3), s(4)}) << QStringList{u"remove 1-1"_s};
        QTest::newRow("all deleted") << sessions({}) << QStringList{u"remove 0-3"_s};
        QTest::newRow("one changed") << QList<SavedSessionListItem>{session(s(1)), session(s(2), 9),
                                                                    session(s(3)), session(s(4))}
                                     << QStringList{u"change 1-1"_s};
        QTest::newRow("one went to the top")
            << sessions({s(3), s(1), s(2), s(4)}) << QStringList{u"move 2-2>0"_s};
        QTest::newRow("one deleted, one saved")
            << sessions({s(5), s(1), s(2), s(4)}) << QStringList{u"remove 2-2"_s, u"insert 0-0"_s};
        QTest::newRow("the same list") << sessions({s(1), s(2), s(3), s(4)}) << QStringList();
    }
    void historyRefreshChangesOnlyWhatChanged() {
        QFETCH(QList<SavedSessionListItem>, refreshed);
        QFETCH(QStringList, log);
        SavedSessionListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        ModelSignalLog signalLog(&model);
        model.setItems(sessions({u"s1"_s, u"s2"_s, u"s3"_s, u"s4"_s}));
        QCOMPARE(signalLog.take(), QStringList{u"insert 0-3"_s});

        model.setItems(refreshed);
        QCOMPARE(signalLog.take(), log);
        QCOMPARE(model.items(), refreshed);
    }

    // Any sequence of lists, repeated ids included, ends in exactly the list given, without a
    // reset and with a consistent model all the way (the tester checks every signal).
    void anyRefreshEndsInTheGivenList_data() {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {7u, 8u, 9u, 10u})
            QTest::addRow("seed %u", seed) << seed;
    }
    void anyRefreshEndsInTheGivenList() {
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        SavedSessionListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        for (int round = 0; round < 60; ++round) {
            QList<SavedSessionListItem> next;
            const int size = random.bounded(12);
            for (int i = 0; i < size; ++i) {
                next.append(session(u"s%1"_s.arg(random.bounded(round % 3 == 0 ? 8 : 30)),
                                    random.bounded(3)));
            }
            model.setItems(next);
            QCOMPARE(model.items(), next);
            QCOMPARE(model.count(), next.size());
        }
        QCOMPARE(resets.size(), 0);
    }

    void sessionRowsCarryDisplayValues() {
        SavedSessionListModel model;
        model.setItems({session(u"ABC-123"_s, 12), session(u"DEF"_s, 0, 86400.0 * 300)});
        QCOMPARE(roleValue(model, 0, "sessionLabel").toString(),
                 u"04.03.2026 11:15 • chirp_3 • 12 segmenttiä"_s);
        QCOMPARE(roleValue(model, 1, "sessionLabel").toString(),
                 u"29.12.2026 11:15 • chirp_3 • 0 segmenttiä"_s);
        QCOMPARE(roleValue(model, 1, "rowDescription").toString(),
                 u"Sessio 29.12.2026 11:15 • chirp_3 • 0 segmenttiä"_s);
        QCOMPARE(roleValue(model, 0, "id").toString(), u"ABC-123"_s);
        QCOMPARE(roleValue(model, 0, "endedAt").toDateTime(),
                 QDateTime::fromSecsSinceEpoch(qint64(kMorning), QTimeZone::utc()));
        QCOMPARE(roleValue(model, 0, "language").toString(), u"fi-FI"_s);
        QCOMPARE(roleValue(model, 0, "sttModel").toString(), u"chirp_3"_s);
        QCOMPARE(roleValue(model, 0, "segmentCount").toLongLong(), 12);
    }

    void inputDevicesNameVirtualOnesAndTheRecommendation() {
        InputDeviceListModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        ModelSignalLog log(&model);
        model.setItems({{11, u"Sisäinen mikrofoni"_s, false}, {22, u"Loopback"_s, true}});
        model.setItems({{11, u"Sisäinen mikrofoni"_s, false},
                        {33, u"USB-mikrofoni"_s, false},
                        {22, u"Loopback"_s, true}});
        QCOMPARE(log.take(), (QStringList{u"insert 0-1"_s, u"insert 1-1"_s}));
        QCOMPARE(roleValue(model, 0, "id").toUInt(), 11u);
        QCOMPARE(roleValue(model, 0, "displayName").toString(), u"Sisäinen mikrofoni"_s);
        QCOMPARE(roleValue(model, 2, "name").toString(), u"Loopback"_s);
        QCOMPARE(roleValue(model, 2, "displayName").toString(), u"Loopback (virtuaali)"_s);
        QCOMPARE(roleValue(model, 2, "isVirtual").toBool(), true);

        QSignalSpy autoChanged(&model, &InputDeviceListModel::autoDeviceLabelChanged);
        QCOMPARE(model.autoDeviceLabel(), u"Auto (suositus)"_s);
        model.setRecommendedInputDeviceName(u"USB-mikrofoni"_s);
        model.setRecommendedInputDeviceName(u"USB-mikrofoni"_s);
        QCOMPARE(autoChanged.size(), 1);
        QCOMPARE(model.autoDeviceLabel(), u"Auto (suositus: USB-mikrofoni)"_s);
    }

    void systemSourcesListWithTheirAutoEntries() {
        SystemDisplayListModel displays;
        QAbstractItemModelTester displayTester(
            &displays, QAbstractItemModelTester::FailureReportingMode::QtTest);
        ModelSignalLog displayLog(&displays);
        displays.setItems({{1, u"Kaiuttimet"_s}, {2, u"HDMI"_s}});
        displays.setItems({{1, u"Kaiuttimet"_s}, {2, u"HDMI-näyttö"_s}});
        QCOMPARE(displayLog.take(), (QStringList{u"insert 0-1"_s, u"change 1-1"_s}));
        QCOMPARE(roleValue(displays, 1, "displayName").toString(), u"HDMI-näyttö"_s);
        QCOMPARE(roleValue(displays, 1, "id").toUInt(), 2u);
        QCOMPARE(displays.autoLabel(), u"Auto (ensimmäinen äänilähtö)"_s);

        SystemApplicationListModel applications;
        QAbstractItemModelTester applicationTester(
            &applications, QAbstractItemModelTester::FailureReportingMode::QtTest);
        ModelSignalLog applicationLog(&applications);
        applications.setItems(
            {{u"firefox"_s, u"Firefox"_s, u"firefox"_s}, {u"zoom"_s, u"Zoom"_s, u"zoom"_s}});
        applications.setItems({{u"zoom"_s, u"Zoom"_s, u"zoom"_s}});
        QCOMPARE(applicationLog.take(), (QStringList{u"insert 0-1"_s, u"remove 0-0"_s}));
        QCOMPARE(roleValue(applications, 0, "id").toString(), u"zoom"_s);
        QCOMPARE(roleValue(applications, 0, "displayName").toString(), u"Zoom"_s);
        QCOMPARE(roleValue(applications, 0, "bundleIdentifier").toString(), u"zoom"_s);
        QCOMPARE(applications.autoLabel(), u"Auto (kaikki sovellukset)"_s);
    }
};

QTEST_GUILESS_MAIN(PickerListModelsTest)
#include "tst_picker_list_models.moc"
