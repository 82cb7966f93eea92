#pragma once

#include "auth/AuthManager.h"
#include "engine/TranscriptionViewModel.h"

#include <QColor>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QUuid>

namespace vesnara {

/// The main screen's wiring: what happens when it appears and while it lives, and the commands
/// of its top bar. The screen is given the application's `AuthManager` and view model; a
/// change of the user hands the backend token on, and turning active refreshes the permission
/// states without a status message.
class MainScreen : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(vesnara::AuthManager* auth READ auth WRITE setAuth NOTIFY authChanged)
    Q_PROPERTY(vesnara::TranscriptionViewModel* viewModel READ viewModel WRITE setViewModel NOTIFY
                   viewModelChanged)
    /// The e-mail of the user logged in, "" without one.
    Q_PROPERTY(QString userEmail READ userEmail NOTIFY userEmailChanged)
    /// Whether the user administration is offered: `VESNARA_INAPP_ADMIN_ENABLED` is exactly "1".
    Q_PROPERTY(bool inAppAdminEnabled READ inAppAdminEnabled CONSTANT)
    Q_PROPERTY(QString adminKey READ adminKey WRITE setAdminKey NOTIFY adminKeyChanged)
    /// The status dot: orange while paused, green while recording, else the idle blue.
    Q_PROPERTY(QColor statusDotColor READ statusDotColor NOTIFY statusDotColorChanged)

    // The control card's texts and rules, each ready to show.
    /// "Jatketaan..." while resuming, "Jatka" while paused, else "Tauko".
    Q_PROPERTY(QString pauseButtonText READ pauseButtonText NOTIFY controlsChanged)
    Q_PROPERTY(bool pauseButtonEnabled READ pauseButtonEnabled NOTIFY controlsChanged)
    /// The pause's running time under the status, "" unless paused with a time to show.
    Q_PROPERTY(QString pauseElapsedText READ pauseElapsedText NOTIFY controlsChanged)
    Q_PROPERTY(QString wordCountText READ wordCountText NOTIFY countersChanged)
    Q_PROPERTY(QString segmentCountText READ segmentCountText NOTIFY countersChanged)
    Q_PROPERTY(QString audioSourceText READ audioSourceText NOTIFY countersChanged)
    /// "Sessio: <id>", "Sessio: -" without one.
    Q_PROPERTY(QString sessionItemText READ sessionItemText NOTIFY countersChanged)
    Q_PROPERTY(bool hasSessionId READ hasSessionId NOTIFY countersChanged)
    /// The system audio help panel: only outside the microphone mode, while the engine asks
    /// for it.
    Q_PROPERTY(bool systemAudioHelpVisible READ systemAudioHelpVisible NOTIFY controlsChanged)
    Q_PROPERTY(QString systemAudioHelpText READ systemAudioHelpText NOTIFY controlsChanged)
    Q_PROPERTY(QString systemAudioGrantText READ systemAudioGrantText NOTIFY controlsChanged)
    Q_PROPERTY(bool systemAudioGrantEnabled READ systemAudioGrantEnabled NOTIFY controlsChanged)
    /// Opens the advanced card's permission group; set when the engine asks for the help.
    Q_PROPERTY(bool showSystemAudioPermissionDiagnostics READ showSystemAudioPermissionDiagnostics
                   WRITE setShowSystemAudioPermissionDiagnostics NOTIFY
                       showSystemAudioPermissionDiagnosticsChanged)

    // The transcript and sessions cards.
    Q_PROPERTY(bool canClearTranscript READ canClearTranscript NOTIFY controlsChanged)
    Q_PROPERTY(bool canDeleteAllSessions READ canDeleteAllSessions NOTIFY controlsChanged)

public:
    explicit MainScreen(QObject* parent = nullptr);

    AuthManager* auth() const { return m_auth; }
    void setAuth(AuthManager* auth);
    TranscriptionViewModel* viewModel() const { return m_viewModel; }
    void setViewModel(TranscriptionViewModel* viewModel);
    QString userEmail() const;
    bool inAppAdminEnabled() const { return m_inAppAdminEnabled; }
    const QString& adminKey() const { return m_adminKey; }
    void setAdminKey(const QString& value);
    QColor statusDotColor() const;
    QString pauseButtonText() const;
    bool pauseButtonEnabled() const;
    QString pauseElapsedText() const;
    QString wordCountText() const;
    QString segmentCountText() const;
    QString audioSourceText() const;
    QString sessionItemText() const;
    bool hasSessionId() const;
    bool systemAudioHelpVisible() const;
    QString systemAudioHelpText() const;
    QString systemAudioGrantText() const;
    bool systemAudioGrantEnabled() const;
    bool showSystemAudioPermissionDiagnostics() const { return m_showPermissionDiagnostics; }
    void setShowSystemAudioPermissionDiagnostics(bool value);
    bool canClearTranscript() const;
    bool canDeleteAllSessions() const;

    /// The transcript row of the line nearest to pin `pinId` at any distance; -1 without the
    /// pin or without lines.
    int pinnedLineRow(const QString& pinId) const;

    /// Whether an environment value enables the user administration.
    static bool adminGateOpen(const QString& value);

    /// The screen appeared: the admin key, the backend token, the input devices, the two
    /// permission states, then the recovery of a session that ended uncleanly.
    Q_INVOKABLE void appear();
    /// "Kirjaudu ulos": a recording is stopped first.
    Q_INVOKABLE void logout();
    /// The third button: resumes a paused recording, else pauses.
    Q_INVOKABLE void togglePause();

Q_SIGNALS:
    void authChanged();
    void viewModelChanged();
    void userEmailChanged();
    void adminKeyChanged();
    void statusDotColorChanged();
    void controlsChanged();
    void countersChanged();
    void showSystemAudioPermissionDiagnosticsChanged();
    /// A pin was selected or lit, or the search moved to another line: the transcript list
    /// brings line `row` to its centre.
    void pinnedLineRequested(int row);

private:
    void updateAuthContext();
    void refreshPermissions();
    void connectViewModel();
    void requestPinnedLine(const QString& pinId);

    QPointer<AuthManager> m_auth;
    QPointer<TranscriptionViewModel> m_viewModel;
    bool m_inAppAdminEnabled = false;
    bool m_appeared = false;
    bool m_showPermissionDiagnostics = false;
    QString m_adminKey;
    /// The line of the search's current match, so that lines arriving above it (which move its
    /// row) do not scroll the list.
    QUuid m_currentMatchLine;
};

} // namespace vesnara
