// The history list reads and decodes every session file on each refresh; this measures that
// cost as the history grows, and the cost of writing one session.
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

void BM_ListHistory(benchmark::State& state) {
    QTemporaryDir dir;
    SessionHistoryStore store(dir.path());
    const auto sessions = static_cast<int>(state.range(0));
    const auto segments = static_cast<int>(state.range(1));
    for (int i = 0; i < sessions; ++i)
        store.save(makeSession(i, segments));
    for (auto _ : state)
        benchmark::DoNotOptimize(store.list());
    state.SetItemsProcessed(state.iterations() * sessions);
}
// 1,000 sessions of short meetings, and 100 of hour-long ones (~900 lines each).
BENCHMARK(BM_ListHistory)->Args({1000, 40})->Args({100, 900})->Unit(benchmark::kMillisecond);

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
