import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The administrators' diagnostics tools: the package, crash recovery, the latest file and the
// support message.
CollapsibleGroup {
    id: group

    required property SettingsCard settingsCard

    title: Texts.diagnosticsGroup

    Flow {
        Layout.fillWidth: true
        spacing: 8

        ActionButton {
            text: Texts.diagnosticsExport
            onClicked: ViewModel.support.exportDiagnosticsPackage()
        }

        ActionButton {
            text: group.settingsCard.restoreCrashedText
            enabled: group.settingsCard.canRestoreCrashed
            onClicked: ViewModel.support.restoreLatestCrashedSessionFromDiagnostics()
        }

        ActionButton {
            text: Texts.diagnosticsOpenLatest
            onClicked: ViewModel.support.openLatestDiagnostics()
        }

        ActionButton {
            text: Texts.diagnosticsReveal
            onClicked: ViewModel.support.revealLatestDiagnosticsInFileManager()
        }

        ActionButton {
            text: Texts.diagnosticsCopySupport
            onClicked: ViewModel.support.copyDiagnosticsSupportTemplate()
        }
    }
}
