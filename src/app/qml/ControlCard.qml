import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The status, the recording commands, the counters, the hint and the system audio help.
Card {
    id: card

    required property MainScreen screen

    title: Texts.mainControlCard

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: statusColumn.implicitHeight + 24
        radius: 14
        color: "transparent"
        border.color: Theme.outline

        ColumnLayout {
            id: statusColumn

            anchors.fill: parent
            anchors.margins: 12
            spacing: 4

            RowLayout {
                spacing: 10

                Rectangle {
                    objectName: "statusDot"
                    implicitWidth: 10
                    implicitHeight: 10
                    radius: 5
                    color: card.screen.statusDotColor
                }

                Label {
                    objectName: "statusText"
                    Layout.fillWidth: true
                    text: ViewModel.status.statusText
                    wrapMode: Text.WordWrap
                    font: Theme.brandFont(Theme.Medium, 14)
                    color: Theme.primaryText
                }
            }

            Label {
                Layout.fillWidth: true
                Layout.leftMargin: 20
                visible: text.length > 0
                text: card.screen.pauseElapsedText
                wrapMode: Text.WordWrap
                font: Theme.brandFont(Theme.Regular, 12)
                color: Theme.secondaryText
            }
        }
    }

    RowLayout {
        visible: ViewModel.fallbackNoticeVisible
        spacing: 6

        BranchIcon {
            color: Theme.infoAccent
        }

        Label {
            text: Texts.mainFallbackNotice
            font: Theme.brandFont(Theme.Medium, 12)
            color: Theme.infoAccent
        }
    }

    AutoStopNotice {
        Layout.fillWidth: true
    }

    Flow {
        Layout.fillWidth: true
        spacing: 10

        Button {
            text: Texts.mainStart
            enabled: ViewModel.canStart
            highlighted: true
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: text
            ToolTip.text: Shortcuts.startTooltip
            ToolTip.visible: hovered
            ToolTip.delay: Theme.toolTipDelay
            onClicked: ViewModel.startRecording()
        }

        Button {
            text: Texts.mainStop
            enabled: ViewModel.canStop
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: text
            ToolTip.text: Shortcuts.stopTooltip
            ToolTip.visible: hovered
            ToolTip.delay: Theme.toolTipDelay
            onClicked: ViewModel.stopRecording()
        }

        Button {
            objectName: "pauseButton"
            text: card.screen.pauseButtonText
            enabled: card.screen.pauseButtonEnabled
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: text
            ToolTip.text: Shortcuts.pauseTooltip
            ToolTip.visible: hovered
            ToolTip.delay: Theme.toolTipDelay
            onClicked: card.screen.togglePause()
        }

        Button {
            text: Texts.mainSave
            enabled: ViewModel.canSave
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: text
            onClicked: ViewModel.transcript.saveTranscript()
        }

        Button {
            text: Texts.mainGenerateMemo
            enabled: ViewModel.canSummary
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: text
            onClicked: ViewModel.support.generateSummaryDocx()
        }

        Button {
            text: Texts.mainAddPin
            enabled: ViewModel.canAddPin
            font: Theme.brandFont(Theme.Medium, 14)
            Accessible.role: Accessible.Button
            Accessible.name: text
            ToolTip.text: Shortcuts.pinTooltip
            ToolTip.visible: hovered
            ToolTip.delay: Theme.toolTipDelay
            onClicked: ViewModel.transcript.addRevisitPin()
        }
    }

    CountersRow {
        Layout.fillWidth: true
        screen: card.screen
    }

    Label {
        objectName: "diagnosticHint"
        Layout.fillWidth: true
        visible: text.length > 0
        text: ViewModel.status.diagnosticHint
        wrapMode: Text.WordWrap
        font: Theme.brandFont(Theme.Regular, 12)
        color: Theme.warningText
    }

    SystemAudioHelpPanel {
        Layout.fillWidth: true
        visible: card.screen.systemAudioHelpVisible
        screen: card.screen
    }
}
