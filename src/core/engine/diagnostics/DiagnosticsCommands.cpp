#include "engine/diagnostics/DiagnosticsCommands.h"

#include "engine/RunStatus.h"
#include "engine/StatusLine.h"
#include "engine/diagnostics/DiagnosticFiles.h"
#include "engine/diagnostics/DiagnosticsArchive.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/RecordingMeters.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionTranscript.h"
#include "model/JsonWriting.h"
#include "platform/Clipboard.h"
#include "platform/DesktopServices.h"
#include "platform/FilePanels.h"
#include "storage/AppLog.h"
#include "storage/AtomicFile.h"
#include "text/UiText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSaveFile>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr qint64 kLogTailBytes = 240000;

/// Removes the temporary archive on every way out of the command, the owner's end included.
class RemoveOnExit {
public:
    explicit RemoveOnExit(QString path)
        : m_path(std::move(path)) {}
    ~RemoveOnExit() { QFile::remove(m_path); }
    RemoveOnExit(const RemoveOnExit&) = delete;
    RemoveOnExit& operator=(const RemoveOnExit&) = delete;

private:
    QString m_path;
};

/// Copies `source` over `target` so that a failure leaves an existing target as it was.
std::optional<QString> copyReplacing(const QString& source, const QString& target) {
    QFile input(source);
    if (!input.open(QIODevice::ReadOnly))
        return input.errorString();
    QSaveFile output(target);
    if (!output.open(QIODevice::WriteOnly))
        return output.errorString();
    QByteArray chunk;
    while (!(chunk = input.read(64 * 1024)).isEmpty()) {
        if (output.write(chunk) != chunk.size())
            return output.errorString();
    }
    if (input.error() != QFileDevice::NoError)
        return input.errorString();
    if (!output.commit())
        return output.errorString();
    return std::nullopt;
}

/// The server's answer, or nothing when it refused or could not be reached: its records only
/// add to a package, so a failure is neither logged nor shown.
template <typename T> QCoro::Task<std::optional<T>> orNothing(QCoro::Task<T> request) {
    try {
        T value = co_await std::move(request);
        co_return value;
    } catch (...) {
        co_return std::nullopt;
    }
}

} // namespace

DiagnosticsCommands::DiagnosticsCommands(const PartContext& context,
                                         const SessionTranscript& transcript, QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_transcript(transcript) {}

DiagnosticExportPayload DiagnosticsCommands::makeDiagnosticPayload(
    std::optional<SessionMetaResponse> sessionMeta,
    std::optional<ServerTranscriptResponse> transcript) const {
    const RecordingSettings& settings = m_context.settings;
    const AudioSources& sources = m_context.sources;
    const RecordingMeters& meters = m_context.meters;
    const STTConfiguration& config = settings.config();
    const MixSettings& mix = settings.mixSettings();
    const RecordingRunFlags flags = flagsOf(m_context.run.runState());
    const RunFigures figures = m_context.run.runFigures();
    const QString application = sources.selectedSystemApplicationBundleID();

    DiagnosticExportPayload payload;
    payload.createdAt = m_context.clock().toIso8601();
    payload.sessionId = m_context.run.sessionId();
    payload.config = {
        .baseURL = urlWithoutCredentials(config.baseURL),
        .apiKeyMasked = maskedAPIKey(config.apiKey),
        .updateManifestURL = urlWithoutCredentials(config.updateManifestURL),
        .defaultLanguage = config.defaultLanguage,
        .defaultModel = config.defaultModel,
        .allowSystemFallback = settings.allowSystemFallback(),
        .mixedPreset = rawValue(settings.mixedPreset()),
        .mixedMicGain = mix.micGain,
        .mixedSystemGain = mix.systemGain,
        .mixedAutoDuckEnabled = mix.autoDuckEnabled,
        .mixedDuckingStrength = mix.duckingStrength,
        .mixedLimiterEnabled = mix.limiterEnabled,
    };
    payload.runtime = {
        .language = settings.language(),
        .sttModel = settings.sttModel(),
        .inputMode = rawValue(sources.inputMode()),
        .micLabel = sources.micStatusLabel(),
        .systemDisplay = sources.selectedSystemDisplayName(),
        .systemApplication = application.isEmpty() ? u"auto"_s : application,
        .isStartingRecording = flags.isStartingRecording,
        .isRecording = flags.isRecording,
        .isResumingRecording = flags.isResumingRecording,
        .isPaused = flags.isPaused,
        .audioFramesSent = meters.audioFramesSent(),
        .outgoingAudioLevel = meters.outgoingAudioLevel(),
        .outgoingAudioPeak = meters.outgoingAudioPeak(),
        .micFramesSeen = meters.microphone().frames,
        .micAudioLevel = meters.microphone().level,
        .micAudioPeak = meters.microphone().peak,
        .systemRawSamplesSeen = meters.systemRawSamples(),
        .systemFramesSeen = meters.systemAudio().frames,
        .systemAudioLevel = meters.systemAudio().level,
        .systemAudioPeak = meters.systemAudio().peak,
        .rawWithoutPCMStreak = figures.rawWithoutPCMStreak,
        .hasAttemptedSystemFallback = figures.hasAttemptedSystemFallback,
        .hasAttemptedMixedMicrophoneRestart = figures.hasAttemptedMixedMicrophoneRestart,
        .hasAttemptedMicrophoneDeviceFallback = figures.hasAttemptedMicrophoneDeviceFallback,
    };
    payload.sessionMeta = std::move(sessionMeta);
    payload.transcript = std::move(transcript);
    payload.logTail = AppLog::snapshot(kLogTailBytes);
    return payload;
}

// The user's package.

void DiagnosticsCommands::exportDiagnosticsPackage() {
    m_context.status.setStatusText(UiText::diagnosticsCollecting);
    exportPackage(m_context.apiClient, m_context.settings.config(), m_context.run.sessionId());
}

QCoro::Task<> DiagnosticsCommands::exportPackage(STTAPIClient client, STTConfiguration config,
                                                 QString sessionId) {
    const QPointer<DiagnosticsCommands> self(this);
    std::optional<SessionMetaResponse> sessionMeta;
    std::optional<ServerTranscriptResponse> transcript;
    if (!sessionId.isEmpty()) {
        std::optional<SessionMetaResponse> meta =
            co_await orNothing(client.getSessionMeta(config, sessionId));
        if (!self)
            co_return;
        sessionMeta = std::move(meta);
        std::optional<ServerTranscriptResponse> lines =
            co_await orNothing(client.getTranscript(config, sessionId));
        if (!self)
            co_return;
        transcript = std::move(lines);
    }

    StatusLine& status = m_context.status;
    QString archivePath;
    try {
        const DiagnosticExportPayload payload =
            makeDiagnosticPayload(std::move(sessionMeta), std::move(transcript));
        archivePath = createDiagnosticsArchive(
            payload, m_transcript.transcriptText(), AppLog::snapshot(kLogTailBytes),
            m_context.places.temporaryDirectory, QString::fromUtf16(kDiagnosticsFilePrefix),
            m_context.clock().fileStampText());
    } catch (const std::exception& error) {
        AppLog::write(u"diagnostics export failed step=archive error=%1"_s.arg(
            QString::fromStdString(error.what())));
        status.setStatusText(UiText::diagnosticsSaveFailed);
        co_return;
    }
    const RemoveOnExit removeArchive(archivePath);
    const QString fileName = QFileInfo(archivePath).fileName();

    std::optional<QString> chosen;
    if (FilePanels* panels = m_context.filePanels) {
        std::optional<QString> answer =
            co_await panels->chooseSaveFile(fileName, UiText::diagnosticsArchiveFilter);
        chosen = std::move(answer);
    }
    if (!self)
        co_return;
    if (!chosen) {
        status.setStatusText(UiText::diagnosticsCancelled);
        co_return;
    }
    if (const auto failure = copyReplacing(archivePath, *chosen)) {
        AppLog::write(u"diagnostics export failed step=copy error=%1"_s.arg(*failure));
        status.setStatusText(UiText::diagnosticsSaveFailed);
        co_return;
    }
    remember(*chosen);
    status.setStatusText(UiText::diagnosticsSaved(m_lastFileName));
    AppLog::write(u"diagnostics exported path=%1"_s.arg(*chosen));
}

// The automatic file after a fallback.

void DiagnosticsCommands::autoExportFallbackDiagnostics(
    const QString& reason, std::optional<SessionMetaResponse> sessionMeta) {
    if (m_hasAutoExported)
        return;
    m_hasAutoExported = true;
    autoExport(m_context.apiClient, m_context.settings.config(), m_context.run.sessionId(),
               cleanDiagnosticReason(reason), std::move(sessionMeta));
}

QCoro::Task<> DiagnosticsCommands::autoExport(STTAPIClient client, STTConfiguration config,
                                              QString sessionId, QString reason,
                                              std::optional<SessionMetaResponse> sessionMeta) {
    const QPointer<DiagnosticsCommands> self(this);
    std::optional<ServerTranscriptResponse> transcript;
    if (!sessionId.isEmpty()) {
        std::optional<ServerTranscriptResponse> lines =
            co_await orNothing(client.getTranscript(config, sessionId));
        if (!self)
            co_return;
        transcript = std::move(lines);
    }
    QByteArray bytes;
    try {
        bytes = diagnosticJsonBytes(
            makeDiagnosticPayload(std::move(sessionMeta), std::move(transcript)).toJson());
    } catch (const JsonEncodeError&) {
        AppLog::write(u"auto diagnostic export failed: encode error"_s);
        co_return;
    }
    const QString path =
        QDir(m_context.places.downloadsDirectory)
            .filePath(automaticDiagnosticsFileName(reason, m_context.clock().fileStampText()));
    if (const auto error = writeFileAtomically(path, bytes)) {
        AppLog::write(u"auto diagnostic export failed: "_s + *error);
        co_return;
    }
    AppLog::write(u"auto diagnostic exported path="_s + path);
    remember(path);
    StatusLine& status = m_context.status;
    const QString& hint = status.diagnosticHint();
    status.setDiagnosticHint(hint.isEmpty() ? UiText::diagnosticsAutoSaved(m_lastFileName)
                                            : hint + UiText::diagnosticsHintSuffix(m_lastFileName));
}

// Finding the latest file again.

std::optional<QString> DiagnosticsCommands::resolveLatestDiagnostics() const {
    if (m_lastPath && QFileInfo(*m_lastPath).isFile())
        return m_lastPath;
    return latestDiagnosticsFile(m_context.places.downloadsDirectory);
}

void DiagnosticsCommands::openLatestDiagnostics() {
    actOnLatest([](DesktopServices& desktop,
                   const QString& path) { desktop.openUrl(QUrl::fromLocalFile(path)); },
                &UiText::diagnosticsOpened);
}

void DiagnosticsCommands::revealLatestDiagnostics() {
    actOnLatest([](DesktopServices& desktop, const QString& path) { desktop.revealFile(path); },
                &UiText::diagnosticsRevealed);
}

void DiagnosticsCommands::actOnLatest(
    const std::function<void(DesktopServices&, const QString&)>& action,
    QString (*statusText)(const QString&)) {
    // Only a file the lookup has just seen is handed to the desktop.
    const std::optional<QString> path = resolveLatestDiagnostics();
    if (!path) {
        m_context.status.setStatusText(UiText::diagnosticsNotFound);
        return;
    }
    remember(*path);
    if (DesktopServices* desktop = m_context.desktopServices)
        action(*desktop, *path);
    m_context.status.setStatusText(statusText(m_lastFileName));
}

void DiagnosticsCommands::copyDiagnosticsSupportTemplate() {
    if (const std::optional<QString> path = resolveLatestDiagnostics())
        remember(*path);
    const QString text = diagnosticsSupportTemplate({
        .time = supportTemplateTime(m_context.clock()),
        .sessionId = m_context.run.sessionId(),
        .inputMode = m_context.sources.inputMode(),
        .sttModel = m_context.settings.sttModel(),
        .packageFileName = m_lastFileName,
    });
    if (Clipboard* clipboard = m_context.clipboard)
        clipboard->setText(text);
    m_context.status.setStatusText(UiText::diagnosticsTemplateCopied);
}

void DiagnosticsCommands::remember(const QString& path) {
    m_lastPath = path;
    const QString name = QFileInfo(path).fileName();
    if (name == m_lastFileName)
        return;
    m_lastFileName = name;
    Q_EMIT lastDiagnosticsFileNameChanged();
}

} // namespace vesnara
