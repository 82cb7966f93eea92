import QtQuick
import Vesnara

// The window's keyboard shortcuts; what each does and when is decided by `Shortcuts`.
Item {
    Shortcut {
        sequences: [Shortcuts.startStopKeys]
        enabled: Shortcuts.startStopEnabled
        context: Qt.WindowShortcut
        onActivated: Shortcuts.triggerStartStop()
    }

    Shortcut {
        sequences: [Shortcuts.pauseResumeKeys]
        enabled: Shortcuts.pauseResumeEnabled
        context: Qt.WindowShortcut
        onActivated: Shortcuts.triggerPauseResume()
    }

    Shortcut {
        sequences: [Shortcuts.pinKeys]
        enabled: Shortcuts.pinEnabled
        context: Qt.WindowShortcut
        onActivated: Shortcuts.triggerPin()
    }

    Shortcut {
        sequences: [Shortcuts.searchKeys]
        context: Qt.WindowShortcut
        onActivated: Shortcuts.triggerSearch()
    }

    Shortcut {
        sequences: [Shortcuts.sheetKeys]
        context: Qt.WindowShortcut
        onActivated: Shortcuts.openSheet()
    }
}
