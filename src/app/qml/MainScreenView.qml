import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The logged-in user's screen: the top bar, the heading, the control card and the transcript.
Rectangle {
    id: view

    color: Theme.background

    MainScreen {
        id: screen

        auth: AuthManager
        viewModel: ViewModel
    }

    Component.onCompleted: screen.appear()

    ScrollView {
        id: scroll

        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            width: Math.min(scroll.availableWidth - 48, 1100)
            x: (scroll.availableWidth - width) / 2
            spacing: 24

            Item {
                Layout.preferredHeight: 6
            }

            RowLayout {
                Layout.fillWidth: true
                spacing: 12

                BrandLogo {
                    logoHeight: 34
                }

                Item {
                    Layout.fillWidth: true
                }

                Label {
                    text: screen.userEmail
                    font: Theme.brandFont(Theme.Regular, 12)
                    color: Theme.secondaryText
                }

                Button {
                    text: Texts.mainChangePassword
                    font: Theme.brandFont(Theme.Regular, 13)
                    Accessible.role: Accessible.Button
                    Accessible.name: Texts.mainChangePassword
                    onClicked: ChangePasswordForm.open()
                }

                Button {
                    text: Texts.mainLogout
                    font: Theme.brandFont(Theme.Regular, 13)
                    Accessible.role: Accessible.Button
                    Accessible.name: Texts.mainLogout
                    onClicked: screen.logout()
                }

                Rectangle {
                    implicitWidth: badge.implicitWidth + 24
                    implicitHeight: badge.implicitHeight + 12
                    radius: height / 2
                    color: Theme.realtimeBadgeBackground

                    Label {
                        id: badge

                        anchors.centerIn: parent
                        text: Texts.mainRealtimeBadge
                        font: Theme.brandFont(Theme.Medium, 13)
                        color: Theme.realtimeBadgeForeground
                    }
                }
            }

            ColumnLayout {
                spacing: 6

                Label {
                    text: Texts.mainHeading
                    font: Theme.brandFont(Theme.Black, 40)
                    color: Theme.primaryText
                    Accessible.role: Accessible.Heading
                }

                Label {
                    text: Texts.mainSubtitle
                    font: Theme.brandFont(Theme.Regular, 16)
                    color: Theme.secondaryText
                }
            }

            Card {
                title: Texts.mainControlCard
                Layout.fillWidth: true

                Rectangle {
                    Layout.fillWidth: true
                    implicitHeight: statusRow.implicitHeight + 24
                    radius: 14
                    color: "transparent"
                    border.color: Theme.outline

                    RowLayout {
                        id: statusRow

                        anchors.fill: parent
                        anchors.margins: 12
                        spacing: 10

                        Rectangle {
                            objectName: "statusDot"
                            implicitWidth: 10
                            implicitHeight: 10
                            radius: 5
                            color: screen.statusDotColor
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
                }

                RowLayout {
                    spacing: 10

                    Button {
                        text: Texts.mainStart
                        enabled: ViewModel.canStart
                        highlighted: true
                        font: Theme.brandFont(Theme.Medium, 14)
                        Accessible.role: Accessible.Button
                        Accessible.name: Texts.mainStart
                        onClicked: ViewModel.startRecording()
                    }

                    Button {
                        text: Texts.mainStop
                        enabled: ViewModel.canStop
                        font: Theme.brandFont(Theme.Medium, 14)
                        Accessible.role: Accessible.Button
                        Accessible.name: Texts.mainStop
                        onClicked: ViewModel.stopRecording()
                    }
                }
            }

            Card {
                title: Texts.mainTranscriptCard
                Layout.fillWidth: true

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
                        anchors.margins: 12
                        clip: true
                        spacing: 12
                        model: ViewModel.transcript.segments

                        delegate: RowLayout {
                            required property string timeLabel
                            required property string text

                            width: ListView.view.width
                            spacing: 10

                            Label {
                                text: parent.timeLabel
                                font: Theme.monoFont(12)
                                color: Theme.secondaryText
                            }

                            Label {
                                Layout.fillWidth: true
                                text: parent.text
                                wrapMode: Text.WordWrap
                                font: Theme.brandFont(Theme.Regular, 15)
                                color: Theme.primaryText
                            }
                        }
                    }
                }
            }

            Item {
                Layout.preferredHeight: 6
            }
        }
    }
}
