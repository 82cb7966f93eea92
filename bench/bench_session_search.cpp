// Searching the history: 1,000 hour-long saved sessions. The reference is the first listing of
// the same files (every one decoded); a query after that listing must answer from the worker's
// index, the list model updated, within 150 ms.
#include "engine/parts/SessionHistory.h"
#include "engine/search/SessionSearchIndex.h"
#include "storage/SessionHistoryStore.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QUuid>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

constexpr int kSessions = 1000;
constexpr int kLinesPerHour = 900;

const QStringList kTopics{u"budjetista"_s,     u"äänityksestä"_s,        u"aikataulusta"_s,
                          u"rekrytoinnista"_s, u"asiakaspalautteesta"_s, u"lomista"_s};

SavedSession hourLongSession(int index) {
    SavedSession session;
    session.id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    session.createdAt = Timestamp::fromSecondsSinceReferenceDate(800000000.0 + index * 7200.0);
    session.endedAt = session.createdAt.addingSeconds(3600.0);
    session.language = u"fi-FI"_s;
    session.sttModel = u"chirp_3"_s;
    for (int i = 0; i < kLinesPerHour; ++i) {
        session.segments.append(TranscriptSegment{
            QUuid::createUuid(),
            u"Puhuja %1 kertoo tavallisen mittaisella rivillä %2."_s.arg(i % 7).arg(
                kTopics.at((index + i) % kTopics.size())),
            session.createdAt.addingSeconds(i * 4.0), u"S1"_s});
    }
    // One rare phrase in every hundredth session.
    if (index % 100 == 0)
        session.segments[kLinesPerHour / 2].text = u"Päätettiin Öljynjalostamon lisätilauksesta."_s;
    return session;
}

const QString& historyDirectory() {
    static QTemporaryDir dir;
    static const bool filled = [] {
        SessionHistoryStore store(dir.path());
        for (int i = 0; i < kSessions; ++i)
            store.save(hourLongSession(i));
        return true;
    }();
    Q_UNUSED(filled);
    static const QString path = dir.path();
    return path;
}

// The reference: a first listing of the program, which decodes every file on the main thread.
void BM_FirstListingReference(benchmark::State& state) {
    const QString& directory = historyDirectory();
    for (auto _ : state)
        benchmark::DoNotOptimize(SessionHistoryStore(directory).list());
    state.SetItemsProcessed(state.iterations() * kSessions);
}
BENCHMARK(BM_FirstListingReference)->Iterations(1)->Unit(benchmark::kMillisecond);

// Building the index on the worker from nothing: what runs in the background after that listing.
void BM_IndexFirstRefresh(benchmark::State& state) {
    const QString& directory = historyDirectory();
    for (auto _ : state) {
        SessionSearchIndex index(directory);
        index.refresh();
        benchmark::DoNotOptimize(index.size());
    }
}
BENCHMARK(BM_IndexFirstRefresh)->Iterations(1)->Unit(benchmark::kMillisecond);

void waitForSearch(SessionHistory& history) {
    QEventLoop loop;
    QObject::connect(&history, &SessionHistory::sessionSearchFinished, &loop, &QEventLoop::quit);
    loop.exec();
}

// A query typed after the first listing: from setting it until the list shows the answer.
void BM_QueryAfterFirstListing(benchmark::State& state, const QString& query) {
    SessionHistory history(historyDirectory());
    waitForSearch(history); // the background indexing of the first listing
    qsizetype shown = 0;
    for (auto _ : state) {
        history.setSessionQuery(query);
        waitForSearch(history);
        shown = history.shownSessions().size();
        state.PauseTiming();
        history.setSessionQuery(QString());
        waitForSearch(history);
        state.ResumeTiming();
    }
    state.counters["shown"] = static_cast<double>(shown);
}
BENCHMARK_CAPTURE(BM_QueryAfterFirstListing, rare_word, u"oljynjalostamon"_s)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_QueryAfterFirstListing, common_and_rare, u"puhuja LISÄTILAUKSESTA"_s)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_QueryAfterFirstListing, no_match, u"kvartaalikatsaus"_s)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
