// Crash recovery of 6 sessions of 2,000 lines each from the in-process reference backend over
// loopback, against the plain decode of the same six transcripts; the recovery's own rule on one
// transcript; and the checkpoint a recording of 2,000 lines writes every interval.
#include "backend/HttpTransport.h"
#include "backend/STTAPIClient.h"
#include "backend/ServerTranscriptResponse.h"
#include "engine/TranscriptionViewModel.h"
#include "engine/rules/CrashRecoveryRules.h"
#include "model/DeploymentDefaults.h"
#include "model/JsonReader.h"
#include "refbackend/RefBackend.h"
#include "storage/CheckpointStore.h"
#include "storage/STTConfigurationStore.h"
#include "support/FakeAudioBackends.h"
#include "support/InMemoryPreferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace vesnara;

namespace {

constexpr int kSessions = 6;
constexpr int kLines = 2000;

QString lineText(int i) {
    return u"Tämä on tavallisen mittainen litteroitu rivi numero %1."_s.arg(i);
}

/// Runs the event loop until `task` has ended.
template <typename T> void runToEnd(QCoro::Task<T> task) {
    bool done = false;
    QEventLoop loop;
    [](QCoro::Task<T> inner, bool& finished, QEventLoop& waiting) -> QCoro::Task<> {
        co_await std::move(inner);
        finished = true;
        waiting.quit();
    }(std::move(task), done, loop);
    if (!done)
        loop.exec();
}

/// The reference backend holding six stopped sessions of 2,000 lines.
struct Server {
    QTemporaryDir data;
    std::unique_ptr<refbackend::RefBackend> backend;
    QString token;
    HttpTransport transport;
    STTConfiguration config = STTConfiguration::defaults();
    QList<QByteArray> transcriptBodies;

    Server() {
        // Written as a previous run of the backend would have left them: sending 2,000 lines
        // one by one would rewrite each session's record 2,000 times.
        const Timestamp start = Timestamp::fromUnixSeconds(1767348000.0);
        for (int s = 0; s < kSessions; ++s) {
            refbackend::ServerSession session;
            session.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
            session.owner = u"bench@vesnara.test"_s;
            session.status = u"stopped"_s;
            session.createdAt = start.addingSeconds(s * 10000.0);
            session.endedAt = session.createdAt.addingSeconds(kLines * 3.0);
            session.language = u"fi-FI"_s;
            session.sttModel = u"chirp_3"_s;
            for (int i = 0; i < kLines; ++i)
                session.segments.append(
                    {lineText(i), session.createdAt.addingSeconds(i * 3.0).toIso8601(), {}});
            const QString directory = data.filePath(u"sessions/"_s + session.id);
            QDir().mkpath(directory);
            QFile file(QDir(directory).filePath(u"session.json"_s));
            if (file.open(QIODevice::WriteOnly))
                file.write(QJsonDocument(session.toStorageJson()).toJson());
            transcriptBodies
                << QJsonDocument(session.transcriptJson()).toJson(QJsonDocument::Compact);
        }
        refbackend::RefBackendOptions options;
        options.dataDirectory = data.path();
        options.apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
        options.recognizer = refbackend::RecognizerKind::scripted;
        backend = std::make_unique<refbackend::RefBackend>(options);
        backend->listen();
        token = backend->issueToken(u"bench@vesnara.test"_s);
        config.baseURL = backend->baseUrl().toString();
        config.apiKey = options.apiKey;
        config.authToken = token;
    }
};

Server& server() {
    static Server instance;
    return instance;
}

// The whole startup run: list, six transcripts over HTTP, the rule, six files written, the
// history listed again.
void BM_RecoverSixSessions(benchmark::State& state) {
    Server& s = server();
    InMemoryPreferences preferences;
    STTConfigurationStore(preferences).save(s.config);
    test::FakeAudioInputBackend microphone;
    test::FakeSystemAudioBackend systemAudio;
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir history;
        TranscriptionViewModel viewModel(
            {preferences, s.transport, microphone, systemAudio, history.path()});
        viewModel.settings()->updateAuthContext(s.token);
        state.ResumeTiming();
        runToEnd(viewModel.support()->recoverStoppedSessionsFromServer(12, 6, true));
        state.PauseTiming();
        if (viewModel.history()->sessionHistory().size() != kSessions)
            state.SkipWithError("not every session was recovered");
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kSessions * kLines);
}
BENCHMARK(BM_RecoverSixSessions)->Unit(benchmark::kMillisecond)->UseRealTime();

// The reference: only decoding the same six transcript bodies.
void BM_DecodeSixTranscripts(benchmark::State& state) {
    const QList<QByteArray>& bodies = server().transcriptBodies;
    for (auto _ : state) {
        for (const QByteArray& body : bodies)
            benchmark::DoNotOptimize(
                ServerTranscriptResponse::fromJson(JsonReader(JsonReader::parseObject(body))));
    }
    state.SetItemsProcessed(state.iterations() * kSessions * kLines);
}
BENCHMARK(BM_DecodeSixTranscripts)->Unit(benchmark::kMillisecond);

// The recovery's rule on one decoded transcript: trim, parse, keys, sort.
void BM_RecoveredSegments(benchmark::State& state) {
    const ServerTranscriptResponse transcript = ServerTranscriptResponse::fromJson(
        JsonReader(JsonReader::parseObject(server().transcriptBodies.first())));
    const Timestamp now = Timestamp::now();
    for (auto _ : state)
        benchmark::DoNotOptimize(recoveredTranscriptSegments(transcript.segments, now));
    state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(BM_RecoveredSegments)->Unit(benchmark::kMillisecond);

// What a recording of 2,000 lines costs the main thread at each checkpoint.
void BM_WriteCheckpoint(benchmark::State& state) {
    QTemporaryDir history;
    CheckpointStore store(history.path());
    SavedSession session{
        u"checkpoint"_s, Timestamp::now(), Timestamp::now(), u"fi-FI"_s, u"chirp_3"_s, {}, {}};
    for (int i = 0; i < kLines; ++i)
        session.segments.append({QUuid::createUuid(), lineText(i),
                                 session.createdAt.addingSeconds(i * 3.0), std::nullopt});
    for (auto _ : state)
        store.write(session);
    state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(BM_WriteCheckpoint)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
