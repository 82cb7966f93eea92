#include "engine/parts/BackendChecks.h"

#include "engine/StatusLine.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/rules/BackendCheckRules.h"
#include "platform/DesktopServices.h"
#include "storage/AppLog.h"
#include "text/UiText.h"
#include "text/UserErrorDescription.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace vesnara {

BackendChecks::BackendChecks(const PartContext& context,
                             std::function<void(QString)> reportMemoStatus, QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_reportMemoStatus(std::move(reportMemoStatus)) {}

BackendChecks::~BackendChecks() {
    m_runs.cancel();
}

QString BackendChecks::currentAppVersion() const {
    return vesnara::currentAppVersion(m_context.applicationVersion);
}

void BackendChecks::checkForUpdates() {
    const QString manifestURL = m_context.settings.config().updateManifestURL.trimmed();
    if (manifestURL.isEmpty()) {
        m_context.status.setStatusText(UiText::updateManifestURLMissing);
        return;
    }
    m_context.status.setStatusText(UiText::updateChecking);
    // Left to finish on its own; it checks after its wait that this object lives.
    static_cast<void>(updateCheck(m_context.apiClient, manifestURL, m_runs.token()));
}

QCoro::Task<> BackendChecks::updateCheck(STTAPIClient apiClient, QString manifestURL,
                                         CancellationToken token) {
    const QPointer<BackendChecks> self(this);
    std::optional<AppUpdateManifest> manifest;
    std::exception_ptr failure;
    try {
        AppUpdateManifest fetched = co_await apiClient.fetchUpdateManifest(manifestURL, token);
        manifest = std::move(fetched);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || token.isCancelled())
        co_return;
    StatusLine& status = m_context.status;
    if (failure) {
        const QString description = userErrorDescription(failure);
        AppLog::write(u"updateCheck failed error="_s + description);
        status.setStatusText(UiText::updateCheckFailed(description));
        co_return;
    }

    const QString running = currentAppVersion();
    if (compareSemanticVersion(manifest->version, running) <= 0) {
        AppLog::write(
            u"updateCheck upToDate running=%1 offered=%2"_s.arg(running, manifest->version));
        status.setStatusText(UiText::updateNoneNewer(running));
        co_return;
    }
    const std::optional<QUrl> download = openableDownloadUrl(manifest->downloadURL);
    AppLog::write(u"updateCheck newer running=%1 offered=%2 download=%3"_s.arg(
        running, manifest->version, download ? u"open"_s : u"none"_s));
    if (!download) {
        status.setStatusText(UiText::updateAvailable(manifest->version));
        co_return;
    }
    status.setStatusText(UiText::updateAvailableOpening(manifest->version));
    if (!m_context.desktopServices || !m_context.desktopServices->openUrl(*download))
        AppLog::write(u"updateCheck openFailed"_s);
}

void BackendChecks::testBackendConnection() {
    m_context.status.setStatusText(UiText::connectionTesting);
    static_cast<void>(
        connectionTest(m_context.apiClient, m_context.settings.config(), m_runs.token()));
}

QCoro::Task<> BackendChecks::connectionTest(STTAPIClient apiClient, STTConfiguration config,
                                            CancellationToken token) {
    const QPointer<BackendChecks> self(this);
    std::optional<HealthResponse> health;
    std::exception_ptr failure;
    try {
        HealthResponse answer = co_await apiClient.health(std::move(config), token);
        health = std::move(answer);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || token.isCancelled())
        co_return;
    if (failure) {
        const QString description = userErrorDescription(failure);
        AppLog::write(u"connectionTest failed error="_s + description);
        m_reportMemoStatus(UiText::memoBackendStatusConnectionError);
        m_context.status.setStatusText(UiText::connectionError(description));
        co_return;
    }
    const QString memoStatus = memoBackendStatus(*health);
    AppLog::write(u"connectionTest done ok=%1 memo=%2"_s.arg(health->ok ? u"true"_s : u"false"_s,
                                                             memoStatus));
    m_reportMemoStatus(memoStatus);
    m_context.status.setStatusText(connectionTestStatus(*health));
}

} // namespace vesnara
