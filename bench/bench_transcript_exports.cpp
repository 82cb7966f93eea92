// The exports of a three-hour transcript (10,000 lines, 200 pins): each format, and TXT
// formatted and saved atomically. Then the lines a selected pin lights across the whole list:
// found in one pass, against asking each row on its own (the nearest line sought anew per row)
// as the reference.
#include "engine/export/TextFileWriting.h"
#include "engine/export/TranscriptFormats.h"
#include "engine/rules/PinHighlights.h"

#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

constexpr int kLines = 10000;
constexpr int kPins = 200;
constexpr double kStart = 1772615702.0;

TranscriptExportInput longSession() {
    TranscriptExportInput input;
    input.sessionId = u"sessio-123"_s;
    input.language = u"fi"_s;
    input.sttModel = u"model-a"_s;
    input.segments.reserve(kLines);
    for (int i = 0; i < kLines; ++i)
        input.segments.append(
            {QUuid::createUuid(),
             u"Tämä on tavallisen mittainen \"litteroitu\" rivi, numero %1 kokouksesta."_s.arg(i),
             Timestamp::fromUnixSeconds(kStart + i * 1.08),
             i % 5 == 0 ? std::nullopt : std::optional(u"Puhuja %1"_s.arg(i % 4))});
    for (int i = 0; i < kPins; ++i)
        input.pins.append({QUuid::createUuid(), Timestamp::fromUnixSeconds(kStart + i * 54.0),
                           Timestamp::fromUnixSeconds(kStart + i * 54.0 + 0.2),
                           u"Pinni %1"_s.arg(i), i % 2 ? u"Muistiinpano"_s : QString(),
                           TranscriptPinKind::revisit, std::nullopt});
    return input;
}

const TranscriptExportInput& session() {
    static const TranscriptExportInput input = longSession();
    return input;
}

void BM_Format(benchmark::State& state) {
    const auto format = static_cast<TranscriptExportFormat>(state.range(0));
    qint64 bytes = 0;
    for (auto _ : state) {
        const QString text = formatTranscript(format, session());
        bytes = text.size();
        benchmark::DoNotOptimize(text.constData());
    }
    state.counters["chars"] = static_cast<double>(bytes);
}
BENCHMARK(BM_Format)
    ->ArgName("txt0_json1_csv2_srt3_vtt4")
    ->Arg(int(TranscriptExportFormat::txt))
    ->Arg(int(TranscriptExportFormat::json))
    ->Arg(int(TranscriptExportFormat::csv))
    ->Arg(int(TranscriptExportFormat::srt))
    ->Arg(int(TranscriptExportFormat::vtt))
    ->Unit(benchmark::kMillisecond);

void BM_FormatAndSaveTXT(benchmark::State& state) {
    QTemporaryDir directory;
    const QString path = QDir(directory.path()).filePath(u"sessio-123.txt"_s);
    for (auto _ : state) {
        const auto error =
            writeTextFileAtomically(path, formatTranscript(TranscriptExportFormat::txt, session()));
        if (error)
            state.SkipWithError(error->toUtf8().constData());
    }
}
BENCHMARK(BM_FormatAndSaveTXT)->Unit(benchmark::kMillisecond);

// The pin in the middle of the transcript, selected.
const QUuid& middlePin() {
    return session().pins.at(kPins / 2).id;
}

void BM_HighlightSetOnePass(benchmark::State& state) {
    for (auto _ : state) {
        const QSet<QUuid> lit =
            highlightedSegmentIds(session().segments, session().pins, middlePin());
        benchmark::DoNotOptimize(lit.size());
    }
}
BENCHMARK(BM_HighlightSetOnePass)->Unit(benchmark::kMicrosecond);

// Reference: each row asks on its own, as a list delegate calling the per-line question would.
void BM_HighlightPerRowScan(benchmark::State& state) {
    for (auto _ : state) {
        int lit = 0;
        for (const TranscriptSegment& segment : session().segments)
            lit += isSegmentHighlighted(segment, session().segments, session().pins, middlePin(),
                                        std::nullopt);
        benchmark::DoNotOptimize(lit);
    }
}
BENCHMARK(BM_HighlightPerRowScan)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
