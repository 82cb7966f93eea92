import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The sheet that lists the window's keyboard shortcuts and says whether the recording ones
// also work system-wide.
Sheet {
    objectName: "shortcutsSheet"
    width: 460
    visible: Shortcuts.sheetOpen
    title: Texts.shortcutsTitle
    explanation: Texts.shortcutsExplanation
    firstField: rows
    onCloseRequested: Shortcuts.closeSheet()

    ColumnLayout {
        id: rows

        Layout.fillWidth: true
        spacing: 8
        focus: true
        activeFocusOnTab: true

        Repeater {
            model: Shortcuts.sheetRows

            delegate: RowLayout {
                id: row

                required property var modelData

                Layout.fillWidth: true
                spacing: 12
                Accessible.role: Accessible.StaticText
                Accessible.name: row.modelData.accessibleName

                Label {
                    Layout.fillWidth: true
                    text: row.modelData.description
                    wrapMode: Text.WordWrap
                    font: Theme.brandFont(Theme.Regular, 14)
                    color: Theme.primaryText
                }

                Label {
                    text: row.modelData.keys
                    font: Theme.brandFont(Theme.Medium, 14)
                    color: Theme.secondaryText
                }
            }
        }
    }

    Label {
        objectName: "globalShortcutsStatus"
        Layout.fillWidth: true
        text: Shortcuts.globalStatusText
        wrapMode: Text.WordWrap
        font: Theme.brandFont(Theme.Regular, 13)
        color: Theme.secondaryText
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
