#pragma once

#include "engine/TranscriptionViewModel.h"

#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QVariantList>

namespace vesnara {

class GlobalShortcutsPortal;

/// The window's keyboard commands.
enum class ShortcutCommand { startStop, pauseResume, pin, search };

struct ShortcutEntry {
    ShortcutCommand command;
    /// The name the desktop's shortcut portal knows it by.
    QString id;
    QKeySequence keys;
    QString description;
    /// Whether it is also offered system-wide: the search needs the window.
    bool systemWide;
};

/// The shortcuts, in the order the sheet lists them. None of the keys is one a text field
/// edits with (select all, copy, cut, paste, undo, redo, word moves), so a focused field never
/// swallows them.
const QList<ShortcutEntry>& shortcutTable();

/// The keyboard shortcuts as QML binds them: each one's keys, whether it does anything now (the
/// same rules as the buttons it stands for), the buttons' tooltips with the keys, the shortcuts
/// sheet and the system-wide shortcuts' state. The commands run on the application's view
/// model; the search only asks for its field through `searchRequested`. QML sees the
/// application's instance as the `Shortcuts` singleton.
class Shortcuts : public QObject {
    Q_OBJECT

    Q_PROPERTY(QString startStopKeys READ startStopKeys CONSTANT)
    Q_PROPERTY(QString pauseResumeKeys READ pauseResumeKeys CONSTANT)
    Q_PROPERTY(QString pinKeys READ pinKeys CONSTANT)
    Q_PROPERTY(QString searchKeys READ searchKeys CONSTANT)
    Q_PROPERTY(QString sheetKeys READ sheetKeys CONSTANT)

    Q_PROPERTY(bool startStopEnabled READ startStopEnabled NOTIFY availabilityChanged)
    Q_PROPERTY(bool pauseResumeEnabled READ pauseResumeEnabled NOTIFY availabilityChanged)
    Q_PROPERTY(bool pinEnabled READ pinEnabled NOTIFY availabilityChanged)

    // The buttons' tooltips: their texts and keys.
    Q_PROPERTY(QString startTooltip READ startTooltip CONSTANT)
    Q_PROPERTY(QString stopTooltip READ stopTooltip CONSTANT)
    /// Follows the pause button's text: "Tauko (Ctrl+P)" or "Jatka (Ctrl+P)".
    Q_PROPERTY(QString pauseTooltip READ pauseTooltip NOTIFY availabilityChanged)
    Q_PROPERTY(QString pinTooltip READ pinTooltip CONSTANT)
    Q_PROPERTY(QString searchTooltip READ searchTooltip CONSTANT)
    Q_PROPERTY(QString sheetTooltip READ sheetTooltip CONSTANT)

    /// The sheet's rows: maps of `description`, `keys` and `accessibleName`.
    Q_PROPERTY(QVariantList sheetRows READ sheetRows CONSTANT)
    Q_PROPERTY(bool sheetOpen READ sheetOpen NOTIFY sheetOpenChanged)

    /// Whether the desktop took the recording shortcuts system-wide.
    Q_PROPERTY(bool globalAvailable READ globalAvailable NOTIFY globalAvailableChanged)
    /// The settings' line about the system-wide shortcuts.
    Q_PROPERTY(QString globalStatusText READ globalStatusText NOTIFY globalAvailableChanged)

public:
    explicit Shortcuts(QObject* parent = nullptr);

    void setViewModel(TranscriptionViewModel* viewModel);
    /// The system-wide shortcuts: bound here to the recording commands; null for none.
    void setGlobalPortal(GlobalShortcutsPortal* portal);

    static QString keysText(ShortcutCommand command);
    QString startStopKeys() const { return portableKeys(ShortcutCommand::startStop); }
    QString pauseResumeKeys() const { return portableKeys(ShortcutCommand::pauseResume); }
    QString pinKeys() const { return portableKeys(ShortcutCommand::pin); }
    QString searchKeys() const { return portableKeys(ShortcutCommand::search); }
    QString sheetKeys() const;

    bool isEnabled(ShortcutCommand command) const;
    bool startStopEnabled() const { return isEnabled(ShortcutCommand::startStop); }
    bool pauseResumeEnabled() const { return isEnabled(ShortcutCommand::pauseResume); }
    bool pinEnabled() const { return isEnabled(ShortcutCommand::pin); }

    QString startTooltip() const;
    QString stopTooltip() const;
    QString pauseTooltip() const;
    QString pinTooltip() const;
    QString searchTooltip() const;
    QString sheetTooltip() const;

    QVariantList sheetRows() const;
    bool sheetOpen() const { return m_sheetOpen; }
    bool globalAvailable() const;
    QString globalStatusText() const;

    /// Runs the command when its rules allow; gives whether it ran.
    bool trigger(ShortcutCommand command);
    Q_INVOKABLE void triggerStartStop() { trigger(ShortcutCommand::startStop); }
    Q_INVOKABLE void triggerPauseResume() { trigger(ShortcutCommand::pauseResume); }
    Q_INVOKABLE void triggerPin() { trigger(ShortcutCommand::pin); }
    Q_INVOKABLE void triggerSearch() { trigger(ShortcutCommand::search); }
    Q_INVOKABLE void openSheet();
    Q_INVOKABLE void closeSheet();

Q_SIGNALS:
    void availabilityChanged();
    void sheetOpenChanged();
    void globalAvailableChanged();
    /// The search shortcut: the window focuses its search field.
    void searchRequested();

private:
    static QString portableKeys(ShortcutCommand command);

    QPointer<TranscriptionViewModel> m_viewModel;
    QPointer<GlobalShortcutsPortal> m_portal;
    bool m_sheetOpen = false;
};

} // namespace vesnara
