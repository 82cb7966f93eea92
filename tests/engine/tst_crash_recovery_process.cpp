// A recording client killed with SIGKILL, and what the next start makes of it: with the
// reference backend running, the server stops the orphaned session after its idle limit and the
// startup recovery saves it from the server; with the backend gone, the local checkpoint is
// saved instead. Both processes are the real programs; only the microphone is scripted.
#include "EngineHarness.h"

#include "model/DeploymentDefaults.h"
#include "refbackend/ChildProcess.h"
#include "storage/AppLog.h"
#include "storage/CheckpointStore.h"
#include "support/TestHttp.h"
#include "text/UiText.h"

#include <QDir>
#include <QJsonArray>
#include <QNetworkAccessManager>

using namespace vesnara;
using namespace vesnara::test;

namespace {

const QString kBackendProgram = QString::fromUtf8(VESNARA_REFBACKEND_PATH);
const QString kRecorderProgram = QString::fromUtf8(VESNARA_CRASH_RECORDER_PATH);
const QString kToken = u"kaatuva-asiakas"_s;
const QRegularExpression kListening(u"^vesnara-refbackend listening on (\\S+) "_s);
const QRegularExpression kRecording(u"^recording (\\S+)$"_s);
const QRegularExpression kTwoLinesCheckpointed(u"^checkpoint ([2-9]|\\d\\d+)$"_s);
const QRegularExpression kThreeLines(u"^lines ([3-9]|\\d\\d+)$"_s);

QByteArray sharedAPIKey() {
    return QString::fromUtf16(DeploymentDefaults::sharedAPIKey).toUtf8();
}

} // namespace

class TstCrashRecoveryProcess : public QObject {
    Q_OBJECT

    /// Starts the backend process with a short idle limit; its base URL, or an invalid one.
    QUrl launchBackend(ChildProcess& backend) {
        if (!backend.start({u"--port"_s, u"0"_s, u"--data-dir"_s,
                            m_directory->filePath(u"server"_s), u"--token"_s, kToken,
                            u"--recognizer"_s, u"energy"_s, u"--idle-stop-after"_s, u"0.3"_s}))
            return {};
        const QRegularExpressionMatch listening = backend.waitForLine(kListening);
        return listening.hasMatch() ? QUrl(listening.captured(1)) : QUrl();
    }

    /// Starts the recording child on `history` against `base`; its session id once it records,
    /// empty when it did not get that far.
    QString launchRecorder(ChildProcess& recorder, const QUrl& base, const QString& history) {
        if (!recorder.start({base.toString(), kToken, history, u"20"_s}))
            return {};
        const QRegularExpressionMatch recording = recorder.waitForLine(kRecording);
        if (!recording.hasMatch())
            qWarning("the recorder did not record: %s", qPrintable(recorder.errorOutput()));
        return recording.captured(1);
    }

    HttpAnswer speech(const QUrl& base, const QString& path) {
        return httpCall(m_network, "GET", base.resolved(QUrl(path)), {},
                        {{"x-api-key", sharedAPIKey()}, {"x-auth-token", kToken.toUtf8()}});
    }

    /// A fresh view model on the child's history, reaching `base`, after its startup run.
    TranscriptionViewModel& startAgain(EngineHarness& h, const QUrl& base) {
        STTConfiguration config = h.server.config();
        config.baseURL = base.toString();
        STTConfigurationStore(h.preferences).save(config);
        auto& vm = h.make();
        vm.settings()->updateAuthContext(kToken);
        return vm;
    }

private Q_SLOTS:
    void init() {
        m_directory.emplace();
        AppLog::setLogFilePath(m_directory->filePath(u"test.log"_s));
    }
    void cleanup() {
        AppLog::setLogFilePath(AppLog::defaultLogPath());
        m_directory.reset();
    }

    void theServerKeepsWhatAKilledClientRecorded() {
        ChildProcess backend(kBackendProgram);
        const QUrl base = launchBackend(backend);
        QVERIFY2(base.isValid(), qPrintable(backend.errorOutput()));
        EngineHarness h;

        ChildProcess recorder(kRecorderProgram);
        const QString sessionId = launchRecorder(recorder, base, h.historyDirectory.path());
        QVERIFY(!sessionId.isEmpty());
        QVERIFY2(recorder.waitForLine(kThreeLines).hasMatch(), qPrintable(recorder.errorOutput()));
        QVERIFY(!recorder.signalAndWait(SIGKILL));

        // No stop came: the server ends the session once its stream has been gone long enough.
        const QString metaPath = u"/v1/sessions/"_s + sessionId;
        QTRY_COMPARE_WITH_TIMEOUT(speech(base, metaPath).json().value(u"status"_s).toString(),
                                  u"stopped"_s, 10000);
        const qsizetype serverLines =
            speech(base, metaPath + u"/transcript"_s).json().value(u"segments"_s).toArray().size();
        QVERIFY(serverLines >= 3);
        QVERIFY(
            !QFileInfo::exists(QDir(h.historyDirectory.path()).filePath(sessionId + u".json"_s)));

        auto& vm = startAgain(h, base);
        vm.support()->runStartupCrashRecoveryIfNeeded();
        QTRY_VERIFY_WITH_TIMEOUT(!h.statuses.isEmpty(), kEngineWaitMs);
        QCOMPARE(h.statuses.last(), UiText::recoveryStartupRestored(1));
        const auto saved = vm.history()->store().load(sessionId);
        QVERIFY(saved);
        QCOMPARE(saved->segments.size(), serverLines);
        QCOMPARE(saved->language, u"fi-FI"_s);
        QCOMPARE(vm.history()->sessionHistory().size(), qsizetype(1));
        // The server's copy won; the child's checkpoint is gone rather than saved twice.
        QVERIFY(CheckpointStore(h.historyDirectory.path()).entries().isEmpty());
        QVERIFY(backend.signalAndWait(SIGTERM));
    }

    void theCheckpointKeepsWhatAKilledClientRecordedWithTheServerGone() {
        ChildProcess backend(kBackendProgram);
        const QUrl base = launchBackend(backend);
        QVERIFY2(base.isValid(), qPrintable(backend.errorOutput()));
        EngineHarness h;

        ChildProcess recorder(kRecorderProgram);
        const QString sessionId = launchRecorder(recorder, base, h.historyDirectory.path());
        QVERIFY(!sessionId.isEmpty());
        const QRegularExpressionMatch checkpointed = recorder.waitForLine(kTwoLinesCheckpointed);
        QVERIFY2(checkpointed.hasMatch(), qPrintable(recorder.errorOutput()));
        const qsizetype checkpointLines = checkpointed.captured(1).toLongLong();
        // The machine goes down with both: the server first, then the client.
        QVERIFY(backend.signalAndWait(SIGKILL) == false);
        QVERIFY(!recorder.signalAndWait(SIGKILL));

        // The checkpoint is beside the sessions but not one of them.
        auto& vm = startAgain(h, base);
        QVERIFY(vm.history()->sessionHistory().isEmpty());
        vm.support()->runStartupCrashRecoveryIfNeeded();
        QTRY_VERIFY_WITH_TIMEOUT(!h.statuses.isEmpty(), kEngineWaitMs);
        QCOMPARE(h.statuses.last(), UiText::recoveryStartupRestored(1));
        const auto saved = vm.history()->store().load(sessionId);
        QVERIFY(saved);
        QVERIFY(saved->segments.size() >= checkpointLines);
        QCOMPARE(vm.history()->sessionHistory().size(), qsizetype(1));
        QCOMPARE(vm.history()->sessionHistory().first().id, sessionId);
        QVERIFY(CheckpointStore(h.historyDirectory.path()).entries().isEmpty());
        const QString log = AppLog::snapshot(1 << 20);
        QVERIFY2(log.contains(u"crash recovery failed"_s), qPrintable(log));
        QVERIFY2(log.contains(u"crash recovery restored from checkpoint session="_s + sessionId),
                 qPrintable(log));
    }

private:
    std::optional<QTemporaryDir> m_directory;
    QNetworkAccessManager m_network;
};

QTEST_GUILESS_MAIN(TstCrashRecoveryProcess)
#include "tst_crash_recovery_process.moc"
