#pragma once

#include "async/CancellationToken.h"
#include "backend/STTAPIClient.h"
#include "engine/parts/PartContext.h"
#include "model/STTConfiguration.h"

#include <QCoroTask>
#include <QObject>

#include <functional>

namespace vesnara {

/// The two checks of the settings screen: whether a newer version is out (its download is
/// opened in the browser at once) and whether the speech backend answers, with what it says of
/// memo generation. Neither guards against a second press: each press is its own run, and the
/// later answer wins the status line.
class BackendChecks final : public QObject {
    Q_OBJECT

public:
    /// `reportMemoStatus` receives the memo service's status after each connection test.
    /// `context` must outlive the object.
    BackendChecks(const PartContext& context, std::function<void(QString)> reportMemoStatus,
                  QObject* parent = nullptr);
    /// Runs still under way stop at their next wait and change nothing more.
    ~BackendChecks() override;

    /// The running version, "0.0.0" when the build names none.
    QString currentAppVersion() const;
    /// Fetches the manifest at the configured address and compares its version with ours; a
    /// newer one with an http or https download address has that address opened.
    void checkForUpdates();
    /// Asks the backend's health record, without credentials.
    void testBackendConnection();

private:
    QCoro::Task<> updateCheck(STTAPIClient apiClient, QString manifestURL, CancellationToken token);
    QCoro::Task<> connectionTest(STTAPIClient apiClient, STTConfiguration config,
                                 CancellationToken token);

    const PartContext& m_context;
    std::function<void(QString)> m_reportMemoStatus;
    CancellationSource m_runs;
};

} // namespace vesnara
