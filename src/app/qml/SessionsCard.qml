import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The sessions saved on this machine, newest first, with their commands. A long history
// scrolls inside the card so that only the rows in sight are built.
Card {
    id: card

    required property MainScreen screen

    title: Texts.mainSessionsCard
    surface: Theme.secondaryCardBackground
    shadowOpacity: Theme.sessionsCardShadowOpacity

    Label {
        Layout.fillWidth: true
        text: Texts.mainSessionsNote
        wrapMode: Text.WordWrap
        font: Theme.brandFont(Theme.Regular, 13)
        color: Theme.secondaryText
    }

    // The search over the saved sessions' label, date and text; the list follows its answer.
    RowLayout {
        Layout.fillWidth: true
        spacing: 10

        Label {
            text: Texts.searchLabel
            font: Theme.brandFont(Theme.Medium, 13)
            color: Theme.secondaryText
        }

        TextField {
            objectName: "sessionSearch"
            Layout.fillWidth: true
            text: ViewModel.history.sessionQuery
            placeholderText: Texts.sessionSearchPlaceholder
            font: Theme.brandFont(Theme.Regular, 13)
            Accessible.role: Accessible.EditableText
            Accessible.name: Texts.sessionSearchName
            onTextEdited: ViewModel.history.sessionQuery = text
        }
    }

    Label {
        visible: sessions.count === 0
        text: Texts.mainSessionsEmpty
        font: Theme.brandFont(Theme.Regular, 13)
        color: Theme.secondaryText
    }

    ListView {
        id: sessions

        objectName: "sessionRows"
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(contentHeight, 480)
        visible: count > 0
        clip: true
        spacing: 8
        boundsBehavior: Flickable.StopAtBounds
        model: ViewModel.history.sessionHistory
        ScrollBar.vertical: ScrollBar {}

        delegate: SessionRow {
            width: ListView.view.width
        }
    }

    RowLayout {
        spacing: 10

        Button {
            text: Texts.mainRefreshSessions
            font: Theme.brandFont(Theme.Medium, 13)
            Accessible.role: Accessible.Button
            Accessible.name: text
            onClicked: ViewModel.history.refreshSessionHistory()
        }

        Button {
            text: Texts.mainDeleteAllSessions
            enabled: card.screen.canDeleteAllSessions
            font: Theme.brandFont(Theme.Medium, 13)
            palette.active.buttonText: Theme.destructiveText
            palette.inactive.buttonText: Theme.destructiveText
            Accessible.role: Accessible.Button
            Accessible.name: text
            onClicked: ViewModel.history.deleteAllSessions()
        }
    }
}
