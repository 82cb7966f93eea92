import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// Words, lines, the audio source and the session, separated by bullets; the session's id in
// the fixed-pitch face with its copy button. A long id gives way in its middle.
RowLayout {
    id: row

    required property MainScreen screen

    spacing: 8

    component Counter: Label {
        font: Theme.brandFont(Theme.Regular, 13)
        color: Theme.secondaryText
    }

    component Separator: Label {
        text: Texts.mainCounterSeparator
        font: Theme.brandFont(Theme.Regular, 13)
        color: Theme.secondaryText
    }

    Counter {
        objectName: "wordCount"
        text: row.screen.wordCountText
    }

    Separator {}

    Counter {
        objectName: "segmentCount"
        text: row.screen.segmentCountText
    }

    Separator {}

    Counter {
        text: row.screen.audioSourceText
    }

    Separator {}

    Label {
        objectName: "sessionItem"
        Layout.maximumWidth: implicitWidth
        Layout.fillWidth: true
        elide: Text.ElideMiddle
        text: row.screen.sessionItemText
        font: Theme.monoFont(13)
        color: Theme.secondaryText
    }

    Button {
        id: copy

        visible: row.screen.hasSessionId
        flat: true
        topPadding: 2
        bottomPadding: 2
        leftPadding: 4
        rightPadding: 4
        implicitWidth: implicitContentWidth + leftPadding + rightPadding
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        text: Texts.mainCopySessionId
        font: Theme.brandFont(Theme.Medium, 13)
        palette.active.windowText: Theme.infoAccent
        palette.inactive.windowText: Theme.infoAccent
        Accessible.role: Accessible.Button
        Accessible.name: text
        Accessible.description: Texts.copySessionIdDescription
        onClicked: ViewModel.transcript.copySessionIdToClipboard()
    }

    Item {
        Layout.fillWidth: true
    }
}
