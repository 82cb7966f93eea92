import QtQuick
import QtQuick.Dialogs
import Vesnara

// The window's save panel: the desktop's file chooser where the platform offers one, Qt Quick's
// own otherwise. It starts in the folder and with the name that the saving command proposes.
FileDialog {
    fileMode: FileDialog.SaveFile
    title: Texts.savePanelTitle
    currentFolder: WindowFilePanels.folder
    selectedFile: WindowFilePanels.proposedFile
    nameFilters: WindowFilePanels.nameFilters
    visible: WindowFilePanels.open
    onAccepted: WindowFilePanels.accept(selectedFile)
    onRejected: WindowFilePanels.cancel()
}
