// Search over the saved sessions (on the history's worker index) and over the open transcript.
#include "EngineHarness.h"

#include <QAbstractItemModelTester>

using namespace vesnara;
using namespace vesnara::test;

namespace {

constexpr double kMorning = 1767254400.0; // 2026-01-01 08:00 UTC

SavedSession storedSession(const QString& id, double offset, const QStringList& lines) {
    SavedSession session;
    session.id = id;
    session.createdAt = Timestamp::fromUnixSeconds(kMorning + offset);
    session.endedAt = Timestamp::fromUnixSeconds(kMorning + offset + 600.0);
    session.language = u"fi-FI"_s;
    session.sttModel = u"chirp_3"_s;
    for (qsizetype i = 0; i < lines.size(); ++i)
        session.segments.append({QUuid::createUuid(), lines.at(i),
                                 session.createdAt.addingSeconds(double(i) * 5.0), std::nullopt});
    return session;
}

QStringList shownIds(const SessionHistory& history) {
    QStringList ids;
    for (const SavedSessionListItem& item : history.shownSessions())
        ids << item.id;
    return ids;
}

QList<bool> matchFlags(TranscriptSegmentListModel& model) {
    QList<bool> flags;
    for (int row = 0; row < model.rowCount(); ++row)
        flags << model.index(row).data(TranscriptSegmentListModel::IsSearchMatchRole).toBool();
    return flags;
}

} // namespace

class TstViewModelSearch : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void savedSessionsAreFilteredByQuery_data();
    void savedSessionsAreFilteredByQuery();
    void theFilterFollowsNewSessionsAndBlankQueries();
    void transcriptMatchesAreSteppedRound();
};

void TstViewModelSearch::savedSessionsAreFilteredByQuery_data() {
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("ids"); // newest first, as listed
    QTest::newRow("diacritics and case") << u"AANITYS"_s << QStringList{u"ilta"_s, u"aamu"_s};
    QTest::newRow("every word must match") << u"äänitys budjetti"_s << QStringList{u"aamu"_s};
    QTest::newRow("words in any field") << u"ilta kahvi"_s << QStringList{u"ilta"_s};
    QTest::newRow("by date as listed")
        << u"01.01.2026"_s << QStringList{u"ilta"_s, u"paiva"_s, u"aamu"_s};
    QTest::newRow("no match") << u"lomamatka"_s << QStringList{};
}

void TstViewModelSearch::savedSessionsAreFilteredByQuery() {
    QFETCH(QString, query);
    QFETCH(QStringList, ids);
    EngineHarness h;
    SessionHistoryStore store(h.historyDirectory.path());
    store.save(storedSession(u"aamu"_s, 0.0, {u"Äänitys alkaa"_s, u"Budjetti hyväksytään"_s}));
    store.save(storedSession(u"paiva"_s, 3600.0, {u"Lounas"_s}));
    store.save(storedSession(u"ilta"_s, 7200.0, {u"Kahvin jälkeen äänitys jatkuu"_s}));
    auto& vm = h.make();
    SessionHistory& history = *vm.history();
    QAbstractItemModelTester tester(history.sessionModel(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);

    QSignalSpy finished(&history, &SessionHistory::sessionSearchFinished);
    history.setSessionQuery(query);
    QVERIFY(finished.wait(kEngineWaitMs));
    QCOMPARE(shownIds(history), ids);
    // The whole history stays known (a delete-all still deletes everything).
    QCOMPARE(history.sessionHistory().size(), 3);
}

void TstViewModelSearch::theFilterFollowsNewSessionsAndBlankQueries() {
    EngineHarness h;
    SessionHistoryStore store(h.historyDirectory.path());
    store.save(storedSession(u"aamu"_s, 0.0, {u"Äänitys alkaa"_s}));
    store.save(storedSession(u"paiva"_s, 3600.0, {u"Lounas"_s}));
    auto& vm = h.make();
    SessionHistory& history = *vm.history();
    QAbstractItemModelTester tester(history.sessionModel(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);

    history.setSessionQuery(u"lounas"_s);
    QTRY_COMPARE_WITH_TIMEOUT(shownIds(history), QStringList{u"paiva"_s}, kEngineWaitMs);

    // A session saved later is indexed on the next listing and shown when it matches.
    store.save(storedSession(u"ilta"_s, 7200.0, {u"Toinen LOUNAS"_s}));
    store.save(storedSession(u"yo"_s, 9000.0, {u"Ei mitään"_s}));
    QSignalSpy finished(&history, &SessionHistory::sessionSearchFinished);
    history.refreshSessionHistory();
    QVERIFY(finished.wait(kEngineWaitMs));
    QCOMPARE(shownIds(history), (QStringList{u"ilta"_s, u"paiva"_s}));

    // Blanks list everything at once, without waiting for the worker.
    history.setSessionQuery(u" \t "_s);
    QCOMPARE(shownIds(history), (QStringList{u"yo"_s, u"ilta"_s, u"paiva"_s, u"aamu"_s}));

    // A deleted session leaves the index too.
    history.setSessionQuery(u"lounas"_s);
    QTRY_COMPARE_WITH_TIMEOUT(shownIds(history), (QStringList{u"ilta"_s, u"paiva"_s}),
                              kEngineWaitMs);
    store.deleteSession(u"ilta"_s);
    history.refreshSessionHistory();
    QTRY_COMPARE_WITH_TIMEOUT(shownIds(history), QStringList{u"paiva"_s}, kEngineWaitMs);
}

void TstViewModelSearch::transcriptMatchesAreSteppedRound() {
    EngineHarness h;
    SessionHistoryStore store(h.historyDirectory.path());
    store.save(storedSession(u"kokous"_s, 0.0,
                             {u"Äänitys alkaa"_s, u"Budjetti"_s, u"Toinen äänitys"_s, u"Lounas"_s,
                              u"ÄÄNITYS loppuu"_s}));
    auto& vm = h.make();
    SessionTranscript& transcript = *vm.transcript();
    TranscriptSegmentListModel& model = *transcript.segmentModel();
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    vm.history()->loadSession(u"kokous"_s);
    QCOMPARE(transcript.segmentCount(), 5);

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    transcript.setTranscriptQuery(u"aanitys"_s);
    QCOMPARE(matchFlags(model), (QList<bool>{true, false, true, false, true}));
    QCOMPARE(transcript.matchCount(), 3);
    QCOMPARE(transcript.currentMatchRow(), 0);
    QCOMPARE(transcript.currentMatchNumber(), 1);
    QCOMPARE(changed.count(), 3); // only the rows that lit up

    // Next wraps from the last match to the first, previous the other way round.
    QList<int> rows;
    for (int i = 0; i < 3; ++i) {
        transcript.nextMatch();
        rows << transcript.currentMatchRow();
    }
    QCOMPARE(rows, (QList<int>{2, 4, 0}));
    transcript.previousMatch();
    QCOMPARE(transcript.currentMatchRow(), 4);
    QCOMPARE(transcript.currentMatchNumber(), 3);
    QVERIFY(model.index(4).data(TranscriptSegmentListModel::IsCurrentMatchRole).toBool());
    QVERIFY(!model.index(0).data(TranscriptSegmentListModel::IsCurrentMatchRole).toBool());

    // A line arriving before the current match moves it down with its row; a matching one is
    // marked as it comes.
    const Timestamp start = Timestamp::fromUnixSeconds(kMorning);
    QVERIFY(
        transcript.addFinalLine({u"Aanitys uudestaan"_s, start.addingSeconds(2.0), std::nullopt}));
    QCOMPARE(matchFlags(model), (QList<bool>{true, true, false, true, false, true}));
    QCOMPARE(transcript.currentMatchRow(), 5);
    QCOMPARE(transcript.matchCount(), 4);
    QVERIFY(transcript.addFinalLine({u"Ei osumaa"_s, start.addingSeconds(1.0), std::nullopt}));
    QCOMPARE(transcript.currentMatchRow(), 6);

    // Blanks and a query without matches mark nothing; stepping then does nothing.
    transcript.setTranscriptQuery(u"   "_s);
    QCOMPARE(transcript.matchCount(), 0);
    QCOMPARE(transcript.currentMatchRow(), -1);
    transcript.setTranscriptQuery(u"kahvi"_s);
    transcript.nextMatch();
    QCOMPARE(transcript.currentMatchRow(), -1);
    QCOMPARE(transcript.currentMatchNumber(), 0);
    QCOMPARE(matchFlags(model), QList<bool>(7, false));
}

QTEST_GUILESS_MAIN(TstViewModelSearch)
#include "tst_view_model_search.moc"
