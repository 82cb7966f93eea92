// The history list: the first listing decodes every session file, later ones only the files that
// changed. This measures both as the history grows, and the cost of writing one session.
#include "storage/SessionHistoryStore.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

SavedSession makeSession(int index, int segmentCount) {
    SavedSession session;
    session.id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    session.createdAt = Timestamp::fromSecondsSinceReferenceDate(800000000.0 + index * 3600.0);
    session.endedAt = session.createdAt.addingSeconds(1800.25);
    session.language = u"fi-FI"_s;
    session.sttModel = u"chirp_3"_s;
    for (int i = 0; i < segmentCount; ++i) {
        session.segments.append(
            TranscriptSegment{QUuid::createUuid(),
                              u"Tämä on tavallisen mittainen litteroitu rivi numero %1."_s.arg(i),
                              session.createdAt.addingSeconds(i * 4.0), u"S1"_s});
    }
    return session;
}

void fillHistory(const QString& directory, int sessions, int segments) {
    SessionHistoryStore store(directory);
    for (int i = 0; i < sessions; ++i)
        store.save(makeSession(i, segments));
}

// The first listing of a run of the program: every file is decoded.
void BM_ListHistoryFirst(benchmark::State& state) {
    QTemporaryDir dir;
    const auto sessions = static_cast<int>(state.range(0));
    fillHistory(dir.path(), sessions, static_cast<int>(state.range(1)));
    for (auto _ : state)
        benchmark::DoNotOptimize(SessionHistoryStore(dir.path()).list());
    state.SetItemsProcessed(state.iterations() * sessions);
}
// 1,000 sessions of short meetings, and 100 of hour-long ones (~900 lines each).
BENCHMARK(BM_ListHistoryFirst)->Args({1000, 40})->Args({100, 900})->Unit(benchmark::kMillisecond);

// A refresh after one more session was saved: only that file is decoded.
void BM_ListHistoryAfterSave(benchmark::State& state) {
    QTemporaryDir dir;
    const auto sessions = static_cast<int>(state.range(0));
    const auto segments = static_cast<int>(state.range(1));
    fillHistory(dir.path(), sessions, segments);
    SessionHistoryStore store(dir.path());
    benchmark::DoNotOptimize(store.list());
    const SavedSession latest = makeSession(sessions, segments);
    for (auto _ : state) {
        state.PauseTiming();
        SessionHistoryStore(dir.path()).save(latest);
        state.ResumeTiming();
        benchmark::DoNotOptimize(store.list());
    }
    state.SetItemsProcessed(state.iterations() * sessions);
}
BENCHMARK(BM_ListHistoryAfterSave)
    ->Args({1000, 40})
    ->Args({100, 900})
    ->Unit(benchmark::kMillisecond);

void BM_SaveSession(benchmark::State& state) {
    QTemporaryDir dir;
    SessionHistoryStore store(dir.path());
    const SavedSession session = makeSession(0, static_cast<int>(state.range(0)));
    for (auto _ : state)
        store.save(session);
}
BENCHMARK(BM_SaveSession)->Arg(900)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
