// The diagnostics package: making the zip with a short and a very long log (only the log's
// tail is read, so neither time nor memory should follow the log's length), and finding the
// latest package among many files in Downloads.
#include "engine/diagnostics/DiagnosticFiles.h"
#include "engine/diagnostics/DiagnosticsArchive.h"
#include "storage/AppLog.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

constexpr qint64 kLogTailBytes = 240000;

// "VmRSS" or "VmHWM" of this process in kB.
qint64 memoryFigure(const char* name) {
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray key = QByteArray(name) + ':';
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

// Sets the peak figure back to the present one, so a benchmark sees only its own peak.
void resetPeakMemory() {
    QFile clear(u"/proc/self/clear_refs"_s);
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

// Writes a log of about `megabytes` MB in pieces, never holding it whole.
void writeLog(const QString& path, qint64 megabytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    QByteArray piece;
    for (int i = 0; piece.size() < 1024 * 1024; ++i)
        piece += "1772615702.25 meta poll frames=" + QByteArray::number(i) +
                 " avg=0.021 peak=0.33 session=5d0c9f2e\n";
    for (qint64 i = 0; i < megabytes; ++i)
        file.write(piece);
}

QString transcriptOf(int lines) {
    QString text;
    for (int i = 0; i < lines; ++i)
        text +=
            u"[10:%1:00] Rivi numero %2 kokouksesta.\n"_s.arg(i % 60, 2, 10, QChar(u'0')).arg(i);
    return text;
}

void BM_DiagnosticsArchive(benchmark::State& state) {
    const qint64 megabytes = state.range(0);
    QTemporaryDir dir;
    const QString logPath = dir.filePath(u"desktop.log"_s);
    writeLog(logPath, megabytes);
    AppLog::setLogFilePath(logPath);
    const QString transcript = transcriptOf(2000);
    DiagnosticExportPayload payload;
    payload.createdAt = u"2026-03-04T09:15:02Z"_s;
    payload.sessionId = u"5d0c9f2e"_s;
    payload.config.apiKeyMasked = maskedAPIKey(u"sk-0123456789abcdef"_s);
    payload.transcript = ServerTranscriptResponse{.sessionId = payload.sessionId, .segments = {}};
    for (int i = 0; i < 2000; ++i)
        payload.transcript->segments.append({.text = u"Rivi numero %1 kokouksesta."_s.arg(i)});
    static_cast<void>(AppLog::snapshot(0)); // the log's path is in use from here on

    const qint64 residentBefore = memoryFigure("VmRSS");
    resetPeakMemory();
    for (auto _ : state) {
        payload.logTail = AppLog::snapshot(kLogTailBytes);
        const QString archive =
            createDiagnosticsArchive(payload, transcript, AppLog::snapshot(kLogTailBytes),
                                     dir.path(), u"vesnara-diagnoosi"_s, u"20260304-091502"_s);
        benchmark::DoNotOptimize(archive);
        QFile::remove(archive);
    }
    state.counters["log_MB"] = double(megabytes);
    state.counters["peak_rss_growth_kB"] = double(memoryFigure("VmHWM") - residentBefore);
    AppLog::setLogFilePath(dir.filePath(u"after.log"_s));
    static_cast<void>(AppLog::snapshot(0));
}
BENCHMARK(BM_DiagnosticsArchive)->Arg(1)->Arg(50)->Unit(benchmark::kMillisecond);

// The reference: what reading the whole log, as a snapshot once did, costs at the same sizes.
void BM_WholeLogReadReference(benchmark::State& state) {
    const qint64 megabytes = state.range(0);
    QTemporaryDir dir;
    const QString logPath = dir.filePath(u"desktop.log"_s);
    writeLog(logPath, megabytes);
    const qint64 residentBefore = memoryFigure("VmRSS");
    resetPeakMemory();
    for (auto _ : state) {
        QFile file(logPath);
        if (!file.open(QIODevice::ReadOnly))
            return;
        const QString text = QString::fromUtf8(file.readAll());
        benchmark::DoNotOptimize(text.right(kLogTailBytes));
    }
    state.counters["log_MB"] = double(megabytes);
    state.counters["peak_rss_growth_kB"] = double(memoryFigure("VmHWM") - residentBefore);
}
BENCHMARK(BM_WholeLogReadReference)->Arg(1)->Arg(50)->Unit(benchmark::kMillisecond);

void BM_LatestDiagnosticsLookup(benchmark::State& state) {
    const int count = int(state.range(0));
    QTemporaryDir dir;
    const QDir downloads(dir.path());
    const QDateTime base = QDateTime::currentDateTimeUtc().addDays(-30);
    // Half are packages (zip and JSON), half other downloads, in no order of time.
    for (int i = 0; i < count; ++i) {
        const QString name =
            i % 2 == 0 ? u"vesnara-diagnoosi-%1.%2"_s.arg(i).arg(i % 4 == 0 ? u"zip"_s : u"json"_s)
                       : u"lasku-%1.pdf"_s.arg(i);
        QFile file(downloads.filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.setFileTime(base.addSecs((i * 7919) % count), QFileDevice::FileModificationTime);
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(latestDiagnosticsFile(downloads.path()));
    state.counters["files"] = count;
}
BENCHMARK(BM_LatestDiagnosticsLookup)->Arg(5000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
