import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// One final line: its clock time, its speaker when known and its selectable text, lit while a
// pin points at it, outlined while it matches the search (filled when it is the current match).
Rectangle {
    id: row

    required property string timeLabel
    required property string speakerLabel
    required property bool hasSpeakerLabel
    required property string text
    required property bool isHighlighted
    required property bool isSearchMatch
    required property bool isCurrentMatch

    implicitHeight: content.implicitHeight + 16
    radius: 8
    color: isHighlighted ? Theme.segmentHighlightBackground : isCurrentMatch ? Theme.pinActiveBackground : "transparent"
    border.color: isHighlighted ? Theme.segmentHighlightOutline : isSearchMatch ? Theme.warningText : "transparent"

    RowLayout {
        id: content

        anchors.fill: parent
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        anchors.topMargin: 8
        anchors.bottomMargin: 8
        spacing: 10

        Label {
            Layout.alignment: Qt.AlignTop
            topPadding: 2
            text: row.timeLabel
            font: Theme.monoFont(12)
            color: Theme.secondaryText
        }

        Label {
            Layout.alignment: Qt.AlignTop
            topPadding: 1
            visible: row.hasSpeakerLabel
            text: row.speakerLabel
            font: Theme.brandFont(Theme.Medium, 12)
            color: Theme.secondaryText
        }

        TextEdit {
            Layout.fillWidth: true
            readOnly: true
            selectByMouse: true
            wrapMode: Text.Wrap
            text: row.text
            font: Theme.brandFont(Theme.Regular, 14)
            color: Theme.primaryText
            selectionColor: Theme.focusHighlight
            selectedTextColor: Theme.prominentText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
