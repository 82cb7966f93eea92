// One final line and one poll merge into a three-hour transcript (10,000 lines): through the
// transcript's list model, and the way the view model keeps the lines today (the whole list
// copied, sorted and compared for every line). Each pair runs side by side so the ratio shows.
#include "engine/models/TranscriptSegmentListModel.h"
#include "engine/rules/SegmentKeys.h"
#include "engine/rules/TranscriptMerge.h"
#include "engine/rules/TranscriptText.h"

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

constexpr int kTranscriptLines = 10000;
constexpr double kStart = 1772615702.0;

Timestamp lineTime(double index) {
    return Timestamp::fromUnixSeconds(kStart + index * 1.08);
}

FinalLine lineAt(double index) {
    // The number in the text keeps lines apart by key, late lines in the middle included.
    return {u"Tämä on tavallisen mittainen litteroitu rivi numero %1 kokouksesta."_s.arg(
                qint64(index * 1000)),
            lineTime(index), u"Puhuja %1"_s.arg(int(index) % 4), DuplicateCheck::byKey};
}

QList<TranscriptSegment> transcript() {
    QList<TranscriptSegment> segments;
    segments.reserve(kTranscriptLines);
    for (int i = 0; i < kTranscriptLines; ++i) {
        const FinalLine line = lineAt(i);
        segments.append({QUuid::createUuid(), line.text, line.timestamp, line.speakerLabel});
    }
    return segments;
}

// Where a new final line lands: after the last line, or a late one in the middle.
double newLineIndex(int64_t where, int64_t iteration) {
    return where == 0 ? kTranscriptLines + iteration
                      : kTranscriptLines / 2 + 0.5 + iteration * 1e-3;
}

// Today: the setter's way (copy, append and sort, compare with the shown list, assign).
struct TodaysTranscript {
    QList<TranscriptSegment> segments;
    QSet<QString> knownSegmentKeys;

    bool add(const FinalLine& line) {
        auto addition = segmentAddition(segments, knownSegmentKeys, line);
        if (!addition)
            return false;
        QList<TranscriptSegment> next = segments;
        addSegment(next, knownSegmentKeys, std::move(*addition));
        if (segments == next)
            return false;
        segments = std::move(next);
        return true;
    }
};

TodaysTranscript todaysTranscript(const QList<TranscriptSegment>& segments) {
    TodaysTranscript today{segments, {}};
    for (const auto& segment : segments)
        today.knownSegmentKeys.insert(segmentKey(segment.text, segment.timestamp));
    return today;
}

// A view's share of an inserted row: it reads the new row's values for its delegate.
void readInsertedRows(TranscriptSegmentListModel& model) {
    QObject::connect(&model, &QAbstractItemModel::rowsInserted, &model,
                     [&model](const QModelIndex&, int first, int last) {
                         for (int row = first; row <= last; ++row) {
                             const QModelIndex index = model.index(row);
                             benchmark::DoNotOptimize(
                                 model.data(index, TranscriptSegmentListModel::TextRole));
                             benchmark::DoNotOptimize(
                                 model.data(index, TranscriptSegmentListModel::TimeLabelRole));
                         }
                     });
    QObject::connect(&model, &TranscriptSegmentListModel::transcriptTextChanged, &model,
                     [&model] { benchmark::DoNotOptimize(model.transcriptText().size()); });
}

// Lines added per run of the loop; the transcript grows from 10,000 by at most this many.
constexpr int64_t kFinalLineIterations = 400;

void BM_FinalLine_Model(benchmark::State& state) {
    TranscriptSegmentListModel model;
    model.reset(transcript());
    readInsertedRows(model);
    int64_t iteration = 0;
    for (auto _ : state) {
        const auto row = model.add(lineAt(newLineIndex(state.range(0), iteration++)));
        benchmark::DoNotOptimize(row);
    }
}
BENCHMARK(BM_FinalLine_Model)
    ->ArgName("middle")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(kFinalLineIterations)
    ->Unit(benchmark::kMicrosecond);

void BM_FinalLine_Today(benchmark::State& state) {
    TodaysTranscript today = todaysTranscript(transcript());
    int64_t iteration = 0;
    for (auto _ : state) {
        const bool added = today.add(lineAt(newLineIndex(state.range(0), iteration++)));
        benchmark::DoNotOptimize(added);
    }
}
BENCHMARK(BM_FinalLine_Today)
    ->ArgName("middle")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(kFinalLineIterations)
    ->Unit(benchmark::kMicrosecond);

// Today, with what the view model's `transcriptText` and `wordCount` properties recompute from
// the whole list when a screen reads them after the change.
void BM_FinalLine_TodayWithText(benchmark::State& state) {
    TodaysTranscript today = todaysTranscript(transcript());
    int64_t iteration = 0;
    for (auto _ : state) {
        today.add(lineAt(newLineIndex(state.range(0), iteration++)));
        benchmark::DoNotOptimize(wordCount(transcriptText(today.segments)));
    }
}
BENCHMARK(BM_FinalLine_TodayWithText)
    ->ArgName("middle")
    ->Arg(0)
    ->Iterations(kFinalLineIterations)
    ->Unit(benchmark::kMicrosecond);

// A poll of 200 lines: the last `known` of the transcript again (dropped by key), then new
// lines after them.
QList<FinalLine> pollLines(int64_t known) {
    QList<FinalLine> lines;
    for (int64_t i = 0; i < 200; ++i)
        lines.append(lineAt(double(kTranscriptLines - known + i)));
    return lines;
}

void BM_PollMerge_Model(benchmark::State& state) {
    const QList<TranscriptSegment> base = transcript();
    const QList<FinalLine> poll = pollLines(state.range(0));
    TranscriptSegmentListModel model;
    readInsertedRows(model);
    for (auto _ : state) {
        state.PauseTiming();
        model.reset(base);
        state.ResumeTiming();
        benchmark::DoNotOptimize(model.mergeLines(poll));
    }
}
BENCHMARK(BM_PollMerge_Model)
    ->ArgName("known")
    ->Arg(0)
    ->Arg(150)
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);

void BM_PollMerge_Today(benchmark::State& state) {
    const TodaysTranscript base = todaysTranscript(transcript());
    const QList<FinalLine> poll = pollLines(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        TodaysTranscript today = base;
        state.ResumeTiming();
        for (const FinalLine& line : poll)
            benchmark::DoNotOptimize(today.add(line));
    }
}
BENCHMARK(BM_PollMerge_Today)
    ->ArgName("known")
    ->Arg(0)
    ->Arg(150)
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
