import QtQuick
import Airnote.UI

// The panel's content: one face at a time, picked in one place.
Rectangle {
    id: panel

    required property QtObject app
    // Only the now-playing face exists so far; the other faces join this table.
    readonly property string face: "nowPlaying"
    readonly property bool isShown: Window.window !== null && Window.window.visible

    onIsShownChanged: if (isShown) app.onPanelAppear()

    color: Theme.background
    implicitWidth: faceLoader.implicitWidth
    implicitHeight: faceLoader.implicitHeight
    width: implicitWidth
    height: implicitHeight

    Loader {
        id: faceLoader
        objectName: "face"
        sourceComponent: ({ nowPlaying: nowPlayingFace })[panel.face]
    }

    Component {
        id: nowPlayingFace

        NowPlayingView {
            fip: panel.app.fip
            onSave: panel.app.onSave()
            onShowHistory: panel.app.onShowHistory()
            onCheckForUpdates: panel.app.onCheckForUpdates()
            onQuit: panel.app.quit()
        }
    }
}
