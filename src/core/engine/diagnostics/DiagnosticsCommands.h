#pragma once

#include "backend/STTAPIClient.h"
#include "engine/diagnostics/DiagnosticPayload.h"
#include "engine/parts/PartContext.h"
#include "model/STTConfiguration.h"

#include <QCoroTask>
#include <QObject>

#include <functional>
#include <optional>

namespace vesnara {

class DesktopServices;
class SessionTranscript;

/// The diagnostics commands: the package the user saves through a panel, the automatic file
/// after a source fallback, finding the latest file again, and the message for support. Owned
/// by the support part, which exposes them.
class DiagnosticsCommands final : public QObject {
    Q_OBJECT

public:
    /// Everything referenced must outlive the object.
    DiagnosticsCommands(const PartContext& context, const SessionTranscript& transcript,
                        QObject* parent = nullptr);

    /// The file name of the package made or found last; empty until there is one.
    const QString& lastDiagnosticsFileName() const { return m_lastFileName; }
    /// Its path; kept for this run only.
    const std::optional<QString>& lastDiagnosticsPath() const { return m_lastPath; }

    /// Asks the server for the session's meta and transcript (a refusal only leaves them out),
    /// puts the package together in the temporary directory, and copies it where the panel
    /// says. The temporary archive is removed however it ends.
    void exportDiagnosticsPackage();
    /// The payload from what the engine shows now.
    DiagnosticExportPayload
    makeDiagnosticPayload(std::optional<SessionMetaResponse> sessionMeta,
                          std::optional<ServerTranscriptResponse> transcript) const;
    /// Writes the payload as JSON into Downloads, at most once per transcript; failures are only
    /// logged.
    void autoExportFallbackDiagnostics(const QString& reason,
                                       std::optional<SessionMetaResponse> sessionMeta);
    /// A new transcript begins: the next fallback writes its file again.
    void resetAutomaticExport() { m_hasAutoExported = false; }
    bool hasAutoExported() const { return m_hasAutoExported; }

    /// The file of this run if it is still there, else the newest one in Downloads.
    std::optional<QString> resolveLatestDiagnostics() const;
    void openLatestDiagnostics();
    void revealLatestDiagnostics();
    void copyDiagnosticsSupportTemplate();

Q_SIGNALS:
    void lastDiagnosticsFileNameChanged();

private:
    QCoro::Task<> exportPackage(STTAPIClient client, STTConfiguration config, QString sessionId);
    QCoro::Task<> autoExport(STTAPIClient client, STTConfiguration config, QString sessionId,
                             QString reason, std::optional<SessionMetaResponse> sessionMeta);
    void actOnLatest(const std::function<void(DesktopServices&, const QString&)>& action,
                     QString (*statusText)(const QString&));
    void remember(const QString& path);

    const PartContext& m_context;
    const SessionTranscript& m_transcript;
    std::optional<QString> m_lastPath;
    QString m_lastFileName;
    bool m_hasAutoExported = false;
};

} // namespace vesnara
