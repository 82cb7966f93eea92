// The diagnostics package through the view model against the reference backend: the zip as
// libzip reads it back, the automatic file after a fallback, finding the latest file again, and
// that no secret reaches a package, the automatic file, the support message or the log.
#include "EngineHarness.h"

#include "engine/diagnostics/DiagnosticPayload.h"
#include "model/MixPreset.h"
#include "refbackend/DocxReading.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

using namespace vesnara;
using namespace vesnara::test;
using refbackend::ScriptedEvent;

namespace {

const QByteArray kReadme =
    "Vesnara diagnostiikkapaketti\n"
    "\n"
    "Sisalto:\n"
    "- diagnostiikka.json (asetukset + runtime + virhetila)\n"
    "- transkriptio-local.txt (paikallinen tekstinakyma)\n"
    "- transkriptio-server.json (palvelimen transkriptidata, jos saatavilla)\n"
    "- sessio-meta.json (palvelimen sessiometa, jos saatavilla)\n"
    "- app-log.txt (sovelluksen loki)";

const QRegularExpression kArchiveName(u"^vesnara-diagnoosi-\\d{8}-\\d{6}\\.zip$"_s);

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QJsonObject parseObject(const QByteArray& bytes) {
    return QJsonDocument::fromJson(bytes).object();
}

QStringList sortedKeys(const QJsonObject& object) {
    QStringList keys = object.keys();
    keys.sort();
    return keys;
}

/// Everything in `directory`, hidden entries included.
QStringList entriesOf(const QString& directory) {
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                     QDir::NoDotAndDotDot);
}

/// Runs the user's export and waits until its panel has answered and the command has ended.
void exportPackage(EngineHarness& h) {
    const int answered = h.filePanels.answered;
    h.viewModel->support()->exportDiagnosticsPackage();
    QTRY_COMPARE_WITH_TIMEOUT(h.filePanels.answered, answered + 1, kEngineWaitMs);
}

} // namespace

class TstViewModelDiagnostics : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { AppLog::setLogFilePath(m_logDirectory.filePath(u"desktop.log"_s)); }

    void packageWithoutSessionHoldsTheFixedFiles();
    void packageAfterRecordingHoldsTheServerViewAndNoSecret();
    void everyEndOfTheExportRemovesTheTemporaryArchive_data();
    void everyEndOfTheExportRemovesTheTemporaryArchive();
    void anArchiveThatCannotBeMadeOpensNoPanel();
    void automaticExportWritesOncePerTranscript();
    void latestFileIsFoundAgainAfterARestart();

private:
    QTemporaryDir m_logDirectory;
};

void TstViewModelDiagnostics::packageWithoutSessionHoldsTheFixedFiles() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    auto& vm = h.make();
    QTemporaryDir chosen;
    h.filePanels.saveDirectory = chosen.path();

    vm.support()->exportDiagnosticsPackage();
    QCOMPARE(vm.status()->statusText(), UiText::diagnosticsCollecting);
    QTRY_COMPARE_WITH_TIMEOUT(h.filePanels.answered, 1, kEngineWaitMs);
    const QString name = h.filePanels.proposedNames.value(0);
    QVERIFY2(kArchiveName.match(name).hasMatch(), qPrintable(name));
    QCOMPARE(h.filePanels.filters, QStringList{UiText::diagnosticsArchiveFilter});
    QCOMPARE(vm.status()->statusText(), UiText::diagnosticsSaved(name));
    QCOMPARE(vm.support()->lastDiagnosticsFileName(), name);
    QCOMPARE(entriesOf(h.temporary.path()), QStringList{});
    QCOMPARE(h.requestCount(u"/meta"_s) + h.requestCount(u"/transcript"_s), 0);

    const auto entries = unzip(readAll(QDir(chosen.path()).filePath(name)));
    QVERIFY(entries.has_value());
    QCOMPARE(entries->keys(), (QStringList{u"README.txt"_s, u"app-log.txt"_s,
                                           u"diagnostiikka.json"_s, u"transkriptio-local.txt"_s}));
    QCOMPARE(entries->value(u"README.txt"_s), kReadme);
    QCOMPARE(entries->value(u"transkriptio-local.txt"_s), QByteArray());

    const QJsonObject payload = parseObject(entries->value(u"diagnostiikka.json"_s));
    QCOMPARE(sortedKeys(payload), (QStringList{u"config"_s, u"createdAt"_s, u"logTail"_s,
                                               u"runtime"_s, u"sessionId"_s}));
    QCOMPARE(payload.value(u"sessionId"_s).toString(), QString());
    QVERIFY(QRegularExpression(u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$"_s)
                .match(payload.value(u"createdAt"_s).toString())
                .hasMatch());
    const QJsonObject config = payload.value(u"config"_s).toObject();
    QCOMPARE(config.value(u"apiKeyMasked"_s).toString(), maskedAPIKey(vm.settings()->apiKey()));
    QCOMPARE(config.value(u"baseURL"_s).toString(), vm.settings()->baseURL());
    QCOMPARE(config.value(u"mixedPreset"_s).toString(), rawValue(vm.settings()->mixedPreset()));
    const QJsonObject runtime = payload.value(u"runtime"_s).toObject();
    QCOMPARE(runtime.value(u"inputMode"_s).toString(), u"microphone"_s);
    QCOMPARE(runtime.value(u"systemApplication"_s).toString(), u"auto"_s);
    QCOMPARE(runtime.value(u"isRecording"_s).toBool(true), false);
}

void TstViewModelDiagnostics::packageAfterRecordingHoldsTheServerViewAndNoSecret() {
    EngineHarness h;
    QVERIFY(h.server.isListening());
    h.backend().setScript({ScriptedEvent::afterFrames(
        3, finalEvent(u"Diagnoosin rivi"_s, u"2026-01-02T10:00:00Z"_s))});
    auto& vm = h.make();
    QVERIFY(h.startRecordingIn(AudioInputMode::microphone));
    const QString id = vm.sessionId();
    h.microphoneBackend.play(toneBuffers(6, 0.5f));
    QTRY_COMPARE_WITH_TIMEOUT(vm.transcript()->segments().size(), 1, kEngineWaitMs);
    const QString streamToken = h.session(id)->streamToken;
    vm.stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::statusStopped, kEngineWaitMs);

    QTemporaryDir chosen;
    h.filePanels.saveDirectory = chosen.path();
    exportPackage(h);
    const QString name = vm.support()->lastDiagnosticsFileName();
    QCOMPARE(vm.status()->statusText(), UiText::diagnosticsSaved(name));
    const auto entries = unzip(readAll(QDir(chosen.path()).filePath(name)));
    QVERIFY(entries.has_value());
    QCOMPARE(entries->keys(),
             (QStringList{u"README.txt"_s, u"app-log.txt"_s, u"diagnostiikka.json"_s,
                          u"sessio-meta.json"_s, u"transkriptio-local.txt"_s,
                          u"transkriptio-server.json"_s}));
    QCOMPARE(entries->value(u"README.txt"_s), kReadme);
    QCOMPARE(entries->value(u"transkriptio-local.txt"_s),
             vm.transcript()->transcriptText().toUtf8());
    const QJsonObject meta = parseObject(entries->value(u"sessio-meta.json"_s));
    QCOMPARE(meta.value(u"id"_s).toString(), id);
    QCOMPARE(meta.value(u"status"_s).toString(), u"stopped"_s);
    const QJsonObject serverTranscript = parseObject(entries->value(u"transkriptio-server.json"_s));
    QCOMPARE(serverTranscript.value(u"sessionId"_s).toString(), id);
    QCOMPARE(serverTranscript.value(u"segments"_s).toArray().first()[u"text"_s].toString(),
             u"Diagnoosin rivi"_s);
    const QJsonObject payload = parseObject(entries->value(u"diagnostiikka.json"_s));
    QCOMPARE(payload.value(u"sessionId"_s).toString(), id);
    QCOMPARE(payload.value(u"sessionMeta"_s).toObject(), meta);
    QCOMPARE(payload.value(u"transcript"_s).toObject(), serverTranscript);

    // The automatic file and the support message of the same session.
    vm.support()->autoExportFallbackDiagnostics(u"raw-without-pcm"_s, SessionMetaResponse{});
    QTRY_VERIFY_WITH_TIMEOUT(vm.support()->lastDiagnosticsFileName().contains(u"-auto-"_s),
                             kEngineWaitMs);
    const QByteArray automatic =
        readAll(QDir(h.downloads.path()).filePath(vm.support()->lastDiagnosticsFileName()));
    QCOMPARE(parseObject(automatic).value(u"transcript"_s).toObject(), serverTranscript);
    vm.support()->copyDiagnosticsSupportTemplate();
    const QString message = h.clipboard.content.value_or(QString());
    QVERIFY(message.contains(u"- Sessio-ID: "_s + id));

    const QStringList secrets{vm.settings()->apiKey(), h.server.token(), streamToken};
    QMap<QString, QByteArray> everything = *entries;
    everything.insert(u"automatic JSON"_s, automatic);
    everything.insert(u"support message"_s, message.toUtf8());
    everything.insert(u"log"_s, AppLog::snapshot(qint64(1) << 30).toUtf8());
    for (const QString& secret : secrets) {
        QVERIFY(secret.size() >= 16);
        for (auto it = everything.cbegin(); it != everything.cend(); ++it) {
            QVERIFY2(!it.value().contains(secret.toUtf8()),
                     qPrintable(it.key() + u" holds a secret"_s));
        }
    }
}

void TstViewModelDiagnostics::everyEndOfTheExportRemovesTheTemporaryArchive_data() {
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("existingTarget");
    QTest::addColumn<QString>("expectedStatus");
    QTest::newRow("cancelled") << QString() << false << UiText::diagnosticsCancelled;
    QTest::newRow("saved over an older file")
        << u"paketti.zip"_s << true << UiText::diagnosticsSaved(u"paketti.zip"_s);
    QTest::newRow("target directory missing")
        << u"puuttuva/paketti.zip"_s << false << UiText::diagnosticsSaveFailed;
}

void TstViewModelDiagnostics::everyEndOfTheExportRemovesTheTemporaryArchive() {
    QFETCH(QString, answer);
    QFETCH(bool, existingTarget);
    QFETCH(QString, expectedStatus);
    EngineHarness h;
    auto& vm = h.make();
    QTemporaryDir chosen;
    const QString target = QDir(chosen.path()).filePath(answer);
    if (existingTarget) {
        QFile older(target);
        QVERIFY(older.open(QIODevice::WriteOnly));
        older.write("vanha");
    }
    h.filePanels.answers.push_back(answer.isEmpty() ? std::nullopt
                                                    : std::optional<QString>(target));

    exportPackage(h);
    QCOMPARE(vm.status()->statusText(), expectedStatus);
    QCOMPARE(entriesOf(h.temporary.path()), QStringList{});
    const bool saved = expectedStatus == UiText::diagnosticsSaved(u"paketti.zip"_s);
    QCOMPARE(QFileInfo(target).isFile(), saved || existingTarget);
    QCOMPARE(unzip(readAll(target)).value_or(QMap<QString, QByteArray>{}).size(), saved ? 4 : 0);
    QCOMPARE(vm.support()->lastDiagnosticsFileName(), saved ? u"paketti.zip"_s : QString());
}

void TstViewModelDiagnostics::anArchiveThatCannotBeMadeOpensNoPanel() {
    EngineHarness h;
    auto& vm = h.make();
    // The temporary directory's place is taken by a file.
    const QString place = h.temporary.path();
    QVERIFY(QDir(place).removeRecursively());
    QFile blocker(place);
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();

    vm.support()->exportDiagnosticsPackage();
    QTRY_COMPARE_WITH_TIMEOUT(vm.status()->statusText(), UiText::diagnosticsSaveFailed,
                              kEngineWaitMs);
    QCOMPARE(h.filePanels.proposedNames, QStringList{});
    QVERIFY(QFileInfo(place).isFile());
    QVERIFY(QFile::remove(place));
    QVERIFY(QDir().mkpath(place));
}

void TstViewModelDiagnostics::automaticExportWritesOncePerTranscript() {
    EngineHarness h;
    auto& vm = h.make();
    vm.status()->setDiagnosticHint(u"Systeemiääni ei tuota dataa"_s);
    SupportTools& support = *vm.support();

    support.autoExportFallbackDiagnostics(u"Raw without PCM!"_s, SessionMetaResponse{});
    support.autoExportFallbackDiagnostics(u"Raw without PCM!"_s, SessionMetaResponse{});
    QTRY_COMPARE_WITH_TIMEOUT(entriesOf(h.downloads.path()).size(), 1, kEngineWaitMs);
    const QString name = entriesOf(h.downloads.path()).first();
    QVERIFY2(QRegularExpression(u"^vesnara-diagnoosi-auto-raw-without-pcm-\\d{8}-\\d{6}\\.json$"_s)
                 .match(name)
                 .hasMatch(),
             qPrintable(name));
    QCOMPARE(support.lastDiagnosticsFileName(), name);
    QCOMPARE(vm.status()->diagnosticHint(),
             u"Systeemiääni ei tuota dataa (Diagnoosi: "_s + name + u')');
    const QString path = QDir(h.downloads.path()).filePath(name);
    const QJsonObject payload = parseObject(readAll(path));
    QCOMPARE(sortedKeys(payload), (QStringList{u"config"_s, u"createdAt"_s, u"logTail"_s,
                                               u"runtime"_s, u"sessionId"_s, u"sessionMeta"_s}));
    QVERIFY(AppLog::snapshot(qint64(1) << 30).contains(u"auto diagnostic exported path="_s + path));

    // A new transcript: the next fallback writes again.
    support.resetAutomaticDiagnostics();
    vm.status()->setDiagnosticHint({});
    support.autoExportFallbackDiagnostics(u"stt-audio-timeout"_s, SessionMetaResponse{});
    QTRY_COMPARE_WITH_TIMEOUT(entriesOf(h.downloads.path()).size(), 2, kEngineWaitMs);
    QCOMPARE(vm.status()->diagnosticHint(),
             UiText::diagnosticsAutoSaved(support.lastDiagnosticsFileName()));
    QVERIFY(support.lastDiagnosticsFileName().startsWith(
        u"vesnara-diagnoosi-auto-stt-audio-timeout-"_s));
}

void TstViewModelDiagnostics::latestFileIsFoundAgainAfterARestart() {
    EngineHarness h;
    h.make();
    SupportTools* support = h.viewModel->support();

    // Nothing yet: nothing opens.
    support->openLatestDiagnostics();
    QCOMPARE(h.viewModel->status()->statusText(), UiText::diagnosticsNotFound);
    support->revealLatestDiagnosticsInFileManager();
    QCOMPARE(h.viewModel->status()->statusText(), UiText::diagnosticsNotFound);
    support->copyDiagnosticsSupportTemplate();
    QVERIFY(h.clipboard.content->contains(u"- Diagnostiikkapaketti: (ei tallennettua pakettia)"_s));
    QVERIFY(h.desktop.openedUrls.isEmpty() && h.desktop.revealedFiles.isEmpty());

    support->autoExportFallbackDiagnostics(u"raw-without-pcm"_s, SessionMetaResponse{});
    QTRY_COMPARE_WITH_TIMEOUT(entriesOf(h.downloads.path()).size(), 1, kEngineWaitMs);
    const QString automatic = QDir(h.downloads.path()).filePath(entriesOf(h.downloads.path())[0]);

    // A package renamed in the panel, outside Downloads: found through this run's memory only.
    QTemporaryDir elsewhere;
    const QString renamed = QDir(elsewhere.path()).filePath(u"oma-nimi.zip"_s);
    h.filePanels.answers.push_back(renamed);
    exportPackage(h);
    support->openLatestDiagnostics();
    QCOMPARE(h.desktop.openedUrls, QList<QUrl>{QUrl::fromLocalFile(renamed)});
    QCOMPARE(h.viewModel->status()->statusText(), UiText::diagnosticsOpened(u"oma-nimi.zip"_s));

    // A fresh view model knows nothing of this run, but finds the file in Downloads.
    h.viewModel.reset();
    h.make();
    support = h.viewModel->support();
    QCOMPARE(support->lastDiagnosticsFileName(), QString());
    support->revealLatestDiagnosticsInFileManager();
    QCOMPARE(h.desktop.revealedFiles, QStringList{automatic});
    const QString automaticName = QFileInfo(automatic).fileName();
    QCOMPARE(h.viewModel->status()->statusText(), UiText::diagnosticsRevealed(automaticName));
    QCOMPARE(support->lastDiagnosticsFileName(), automaticName);

    // The file of this run is moved away: the newest one in Downloads takes its place.
    const QString newer = QDir(h.downloads.path()).filePath(u"vesnara-diagnoosi-uusi.zip"_s);
    QVERIFY(QFile::copy(renamed, newer));
    QFile newerFile(newer);
    QVERIFY(newerFile.open(QIODevice::ReadWrite));
    QVERIFY(newerFile.setFileTime(QFileInfo(automatic).lastModified().addSecs(60),
                                  QFileDevice::FileModificationTime));
    newerFile.close();
    QVERIFY(QFile::rename(automatic, QDir(elsewhere.path()).filePath(u"siirretty.json"_s)));
    support->openLatestDiagnostics();
    QCOMPARE(h.desktop.openedUrls.last(), QUrl::fromLocalFile(newer));
    support->copyDiagnosticsSupportTemplate();
    QVERIFY(h.clipboard.content->contains(u"- Diagnostiikkapaketti: vesnara-diagnoosi-uusi.zip"_s));
    QCOMPARE(support->lastDiagnosticsFileName(), u"vesnara-diagnoosi-uusi.zip"_s);
}

QTEST_GUILESS_MAIN(TstViewModelDiagnostics)
#include "tst_view_model_diagnostics.moc"
