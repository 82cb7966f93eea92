import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vesnara

// The administrators' connection settings: the speech backend, its key, the auth service and
// the update feed, each with its default, and the key from the clipboard. An edit is stored
// when it ends.
CollapsibleGroup {
    title: Texts.connectionGroup

    SettingsField {
        id: backendField

        caption: Texts.connectionBackendURL
        text: ConnectionSettingsForm.baseURL
        onTextEdited: ConnectionSettingsForm.baseURL = backendField.text
        onEditingFinished: ConnectionSettingsForm.commit()
    }

    SettingsField {
        id: keyField

        caption: Texts.connectionAPIKey
        secure: true
        text: ConnectionSettingsForm.apiKey
        onTextEdited: ConnectionSettingsForm.apiKey = keyField.text
        onEditingFinished: ConnectionSettingsForm.commit()
    }

    SettingsField {
        id: authField

        caption: Texts.connectionAuthURL
        text: ConnectionSettingsForm.authURL
        onTextEdited: ConnectionSettingsForm.authURL = authField.text
        onEditingFinished: ConnectionSettingsForm.commit()
    }

    SettingsField {
        id: feedField

        caption: Texts.connectionUpdateFeedURL
        text: ConnectionSettingsForm.updateManifestURL
        onTextEdited: ConnectionSettingsForm.updateManifestURL = feedField.text
        onEditingFinished: ConnectionSettingsForm.commit()
    }

    StatusLines {
        error: ConnectionSettingsForm.error
    }

    Flow {
        Layout.fillWidth: true
        spacing: 8

        ActionButton {
            text: Texts.connectionDefaultBackend
            onClicked: ConnectionSettingsForm.useDefaultBackendURL()
        }

        ActionButton {
            text: Texts.connectionDefaultAPIKey
            onClicked: ConnectionSettingsForm.useDefaultAPIKey()
        }

        ActionButton {
            text: Texts.connectionDefaultAuth
            onClicked: ConnectionSettingsForm.useDefaultAuthURL()
        }

        ActionButton {
            text: Texts.connectionDefaultUpdateFeed
            onClicked: ConnectionSettingsForm.useDefaultUpdateManifestURL()
        }

        ActionButton {
            text: Texts.connectionAPIKeyFromClipboard
            onClicked: ConnectionSettingsForm.useAPIKeyFromClipboard()
        }
    }
}
