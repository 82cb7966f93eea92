import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The interim text, the final lines and the pinned moments. The list never follows new lines
// by itself: it moves only to bring a selected or lit pin's line to its centre.
Card {
    id: card

    required property MainScreen screen

    title: Texts.mainTranscriptCard
    headerItem: Button {
        text: Texts.mainClearTranscript
        enabled: card.screen.canClearTranscript
        font: Theme.brandFont(Theme.Medium, 13)
        Accessible.role: Accessible.Button
        Accessible.name: text
        onClicked: ViewModel.transcript.clearTranscript()
    }

    Connections {
        target: Shortcuts

        function onSearchRequested() {
            transcriptSearch.forceActiveFocus(Qt.ShortcutFocusReason);
        }
    }

    // The search: Enter steps to the next match, Shift+Enter to the previous one.
    RowLayout {
        Layout.fillWidth: true
        spacing: 10

        Label {
            text: Texts.searchLabel
            font: Theme.brandFont(Theme.Medium, 13)
            color: Theme.secondaryText
        }

        TextField {
            id: transcriptSearch

            objectName: "transcriptSearch"
            Layout.fillWidth: true
            text: ViewModel.transcript.transcriptQuery
            placeholderText: Texts.transcriptSearchPlaceholder
            font: Theme.brandFont(Theme.Regular, 13)
            Accessible.role: Accessible.EditableText
            Accessible.name: Texts.transcriptSearchName
            ToolTip.text: Shortcuts.searchTooltip
            ToolTip.visible: hovered
            ToolTip.delay: Theme.toolTipDelay
            onTextEdited: ViewModel.transcript.transcriptQuery = text
            Keys.onReturnPressed: event => ViewModel.transcript.stepMatch((event.modifiers & Qt.ShiftModifier) !== 0)
            Keys.onEnterPressed: event => ViewModel.transcript.stepMatch((event.modifiers & Qt.ShiftModifier) !== 0)
        }

        Label {
            objectName: "transcriptMatchSummary"
            visible: text.length > 0
            text: ViewModel.transcript.matchSummary
            font: Theme.brandFont(Theme.Regular, 13)
            color: Theme.secondaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    Label {
        objectName: "interimText"
        Layout.fillWidth: true
        visible: text.length > 0
        text: ViewModel.transcript.interimText
        wrapMode: Text.WordWrap
        font: Theme.brandFont(Theme.Regular, 13)
        color: Theme.secondaryText
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 360
        radius: 10
        color: "transparent"
        border.color: Theme.outline

        Label {
            anchors.centerIn: parent
            visible: lines.count === 0
            text: Texts.mainTranscriptEmpty
            font: Theme.brandFont(Theme.Regular, 14)
            color: Theme.secondaryText
        }

        ListView {
            id: lines

            objectName: "transcriptLines"
            anchors.fill: parent
            anchors.margins: 8
            clip: true
            spacing: 12
            boundsBehavior: Flickable.StopAtBounds
            model: ViewModel.transcript.segments
            ScrollBar.vertical: ScrollBar {}

            delegate: SegmentRow {
                width: ListView.view.width
            }
        }

        // The list glides to the line: its place is found by the list itself, then the list
        // goes back and eases there.
        NumberAnimation {
            id: glide

            target: lines
            property: "contentY"
            duration: 200
            easing.type: Easing.InOutQuad
        }

        Connections {
            target: card.screen

            function onPinnedLineRequested(row: int) {
                glide.stop();
                const from = lines.contentY;
                lines.positionViewAtIndex(row, ListView.Center);
                glide.from = from;
                glide.to = lines.contentY;
                lines.contentY = from;
                glide.start();
            }
        }
    }

    ColumnLayout {
        Layout.fillWidth: true
        visible: pinRows.count > 0
        spacing: 8

        Label {
            text: Texts.mainPinsTitle
            font: Theme.brandFont(Theme.Medium, 13)
            color: Theme.secondaryText
        }

        Repeater {
            id: pinRows

            model: ViewModel.transcript.pins

            delegate: PinRow {
                Layout.fillWidth: true
            }
        }
    }
}
