import QtQuick
import Vesnara

// The brand logo at a given height, or its wordmark when no logo file was found.
Item {
    id: logo

    property real logoHeight: 34

    implicitHeight: logoHeight
    implicitWidth: Theme.hasLogo ? image.implicitWidth * logoHeight / Math.max(image.implicitHeight, 1)
                                 : wordmark.implicitWidth
    Accessible.role: Accessible.Graphic
    Accessible.name: Texts.brandLogoName

    Image {
        id: image

        anchors.fill: parent
        visible: Theme.hasLogo
        source: Theme.logoSource
        fillMode: Image.PreserveAspectFit
    }

    Text {
        id: wordmark

        objectName: "brandWordmark"
        anchors.verticalCenter: parent.verticalCenter
        visible: !Theme.hasLogo
        text: Texts.brandWordmark
        font: Theme.brandFont(Theme.Heavy, Theme.logoTextSize(logo.logoHeight))
        color: Theme.primaryText
        opacity: 0.85
    }
}
