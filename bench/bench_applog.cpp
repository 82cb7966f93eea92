// What a log line costs the thread that writes it (the disk work happens on the log's own
// thread), and how long the queue takes to reach the disk for a burst of lines.
#include "storage/AppLog.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using vesnara::AppLog;

namespace {

void BM_WriteCallerCost(benchmark::State& state) {
    QTemporaryDir dir;
    AppLog::setLogFilePath(dir.filePath(u"desktop.log"_s));
    const QString message = u"SystemAudioCapture first frame bytes=3200 level=0.0123"_s;
    for (auto _ : state)
        AppLog::write(message);
    AppLog::snapshot(0); // drain before the directory goes away
}
BENCHMARK(BM_WriteCallerCost);

void BM_WriteBurstToDisk(benchmark::State& state) {
    QTemporaryDir dir;
    AppLog::setLogFilePath(dir.filePath(u"desktop.log"_s));
    const auto lines = state.range(0);
    for (auto _ : state) {
        for (qint64 i = 0; i < lines; ++i)
            AppLog::write(u"meta poll frames=%1 avg=0.021 peak=0.33"_s.arg(i));
        AppLog::snapshot(0);
    }
    state.SetItemsProcessed(state.iterations() * lines);
}
BENCHMARK(BM_WriteBurstToDisk)->Arg(1000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
