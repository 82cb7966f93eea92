#include "engine/parts/CrashRecovery.h"

#include "backend/STTAPIClient.h"
#include "engine/RunStatus.h"
#include "engine/StatusLine.h"
#include "engine/parts/RecordingCheckpoint.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionHistory.h"
#include "engine/rules/CrashRecoveryRules.h"
#include "storage/AppLog.h"
#include "text/UiText.h"
#include "text/UserErrorDescription.h"

#include <QFile>
#include <QPointer>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

constexpr int kStartupFetchLimit = 12;
constexpr int kStartupImportLimit = 6;
constexpr int kButtonFetchLimit = 20;
constexpr int kButtonImportLimit = 1;
constexpr int kServerListLimit = 100;

/// A server's id as a log value: it may hold anything, line ends included.
QString loggedId(const QString& id) {
    return QString::fromLatin1(QUrl::toPercentEncoding(id));
}

} // namespace

CrashRecovery::CrashRecovery(const PartContext& context, RecordingCheckpoint& checkpoint,
                             QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_checkpoint(checkpoint) {}

CrashRecovery::~CrashRecovery() {
    m_startupTask.cancelAndClear();
    m_buttonTask.cancelAndClear();
}

void CrashRecovery::runAtStartupIfNeeded() {
    if (m_hasAttemptedStartup)
        return;
    m_hasAttemptedStartup = true;
    m_startupTask.renew();
    m_startupTask.hold(startupRun());
}

void CrashRecovery::restoreLatest() {
    if (isRecording()) {
        m_context.status.setStatusText(UiText::recoveryStopRecordingFirst);
        return;
    }
    // A run in progress keeps its task; the lock makes a second one end at once anyway.
    if (m_isRunning)
        return;
    m_buttonTask.renew();
    m_buttonTask.hold(buttonRun());
}

QCoro::Task<> CrashRecovery::startupRun() {
    const QPointer<CrashRecovery> self(this);
    const Outcome server =
        co_await recoverStoppedSessionsFromServer(kStartupFetchLimit, kStartupImportLimit, true);
    if (!self)
        co_return;
    // After the server: its copy of a session is complete, a checkpoint may lag behind it.
    const QStringList imported = server.importedIds + restoreCheckpoints();
    if (const auto text = recoveryReport(true, imported, std::nullopt).statusText)
        m_context.status.setStatusText(*text);
}

QCoro::Task<> CrashRecovery::buttonRun() {
    const Outcome outcome =
        co_await recoverStoppedSessionsFromServer(kButtonFetchLimit, kButtonImportLimit, false);
    Q_UNUSED(outcome);
}

QCoro::Task<CrashRecovery::Outcome>
CrashRecovery::recoverStoppedSessionsFromServer(int fetchLimit, int importLimit, bool startupMode) {
    Outcome outcome;
    if (m_isRunning)
        co_return outcome;
    const STTConfiguration config = m_context.settings.config();
    if (!config.authToken || config.authToken->isEmpty()) {
        if (!startupMode)
            m_context.status.setStatusText(UiText::recoveryNeedsLogin);
        co_return outcome;
    }
    QSet<QString> known = knownIds();
    setRunning(true);
    if (!startupMode)
        m_context.status.setStatusText(UiText::recoveryRunning);

    const QPointer<CrashRecovery> self(this);
    STTAPIClient apiClient = m_context.apiClient;
    std::optional<QList<SessionMetaResponse>> listed;
    QString failure;
    try {
        QList<SessionMetaResponse> items = co_await apiClient.listSessions(
            config, u"stopped"_s, std::clamp(fetchLimit, 1, kServerListLimit));
        listed = std::move(items);
    } catch (...) {
        failure = userErrorDescription(std::current_exception());
    }
    if (!self)
        co_return outcome;
    if (!listed) {
        AppLog::write(u"crash recovery failed error="_s + failure);
        if (!startupMode)
            m_context.status.setStatusText(UiText::recoveryFailed(failure));
        setRunning(false);
        co_return outcome;
    }

    QStringList seenIds;
    for (const SessionMetaResponse& meta : std::as_const(*listed)) {
        if (!meta.id)
            continue;
        const QString id = meta.id->trimmed();
        if (id.isEmpty())
            continue;
        seenIds.append(id);
        if (known.contains(id))
            continue;
        if (!isRecoverableSessionId(id)) {
            AppLog::write(u"crash recovery skipped unsafe id session="_s + loggedId(id));
            continue;
        }
        std::optional<ServerTranscriptResponse> transcript;
        try {
            ServerTranscriptResponse fetched = co_await apiClient.getTranscript(config, id);
            transcript = std::move(fetched);
        } catch (...) {
            failure = userErrorDescription(std::current_exception());
        }
        if (!self)
            co_return outcome;
        if (!transcript) {
            AppLog::write(u"crash recovery transcript fetch failed session=%1 error=%2"_s.arg(
                loggedId(id), failure));
            continue;
        }
        QList<TranscriptSegment> segments =
            recoveredTranscriptSegments(transcript->segments, m_context.clock());
        if (segments.isEmpty())
            continue;
        const qsizetype lineCount = segments.size();
        const SavedSession session =
            recoveredSession(id, meta, std::move(segments), m_context.settings.config());
        try {
            m_context.history.store().save(session);
        } catch (const SessionHistoryError& error) {
            AppLog::write(u"crash recovery save failed session=%1 error=%2"_s.arg(
                loggedId(id), QString::fromStdString(error.what())));
            continue;
        }
        AppLog::write(
            u"crash recovery imported session=%1 lines=%2"_s.arg(loggedId(id)).arg(lineCount));
        known.insert(id);
        outcome.importedIds.append(id);
        if (outcome.importedIds.size() >= importLimit)
            break;
    }
    m_context.history.refreshSessionHistory();

    if (!startupMode) {
        std::optional<QString> latestSaved;
        if (outcome.importedIds.isEmpty() && !seenIds.isEmpty() &&
            m_context.history.store().load(seenIds.first()))
            latestSaved = seenIds.first();
        const RecoveryReport report = recoveryReport(false, outcome.importedIds, latestSaved);
        // A recording may have started during the awaits: its transcript stays on screen.
        if (report.sessionToOpen && !isRecording() && m_openSession)
            m_openSession(*report.sessionToOpen);
        if (report.statusText)
            m_context.status.setStatusText(*report.statusText);
    }
    setRunning(false);
    co_return outcome;
}

QStringList CrashRecovery::restoreCheckpoints() {
    QStringList imported;
    QSet<QString> known = knownIds();
    const QString liveSessionId =
        isLive(m_context.run.runState()) ? m_context.run.sessionId() : QString();
    for (const CheckpointStore::Entry& entry : m_checkpoint.store().entries()) {
        if (!entry.session) {
            AppLog::write(u"crash recovery checkpoint unreadable file="_s + entry.path);
            QFile::remove(entry.path);
            continue;
        }
        const SavedSession& session = *entry.session;
        if (!liveSessionId.isEmpty() && session.id == liveSessionId)
            continue;
        if (known.contains(session.id)) {
            AppLog::write(u"crash recovery checkpoint superseded session="_s +
                          loggedId(session.id));
            m_checkpoint.discard(session.id);
            continue;
        }
        if (session.segments.isEmpty() && session.pins.isEmpty()) {
            m_checkpoint.discard(session.id);
            continue;
        }
        try {
            m_context.history.store().save(session, SessionHistoryStore::fileIdFor(session.id));
        } catch (const SessionHistoryError& error) {
            // The checkpoint stays for the next start.
            AppLog::write(u"crash recovery checkpoint save failed session=%1 error=%2"_s.arg(
                loggedId(session.id), QString::fromStdString(error.what())));
            continue;
        }
        AppLog::write(u"crash recovery restored from checkpoint session=%1 lines=%2 pins=%3"_s
                          .arg(loggedId(session.id))
                          .arg(session.segments.size())
                          .arg(session.pins.size()));
        known.insert(session.id);
        imported.append(session.id);
        m_checkpoint.discard(session.id);
    }
    if (!imported.isEmpty())
        m_context.history.refreshSessionHistory();
    return imported;
}

QSet<QString> CrashRecovery::knownIds() const {
    QSet<QString> ids;
    for (const SavedSessionListItem& item : m_context.history.store().list())
        ids.insert(item.id);
    return ids;
}

bool CrashRecovery::isRecording() const {
    return flagsOf(m_context.run.runState()).isRecording;
}

void CrashRecovery::setRunning(bool running) {
    if (m_isRunning == running)
        return;
    m_isRunning = running;
    Q_EMIT isRunningChanged();
}

} // namespace vesnara
