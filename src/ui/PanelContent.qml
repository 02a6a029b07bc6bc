// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI

// The panel's content: one face at a time, picked in one place. A face is
// built afresh whenever the face or the sheet's id changes, and cross-fades
// with the one it replaces; a sheet replaced by one with the same id updates
// the face in place, without a transition.
Rectangle {
    id: panel

    required property QtObject app
    readonly property string faceKey: app.face === "sheet" ? app.sheetKey : app.face
    property FaceFrame shownFace: null
    readonly property bool isShown: Window.window !== null && Window.window.visible

    onIsShownChanged: if (isShown) app.onPanelAppear()
    onFaceKeyChanged: if (shownFace) showFace(true)
    Component.onCompleted: showFace(false)

    color: Theme.background
    clip: true
    implicitWidth: shownFace ? shownFace.implicitWidth : 0
    implicitHeight: shownFace ? shownFace.implicitHeight : 0
    width: implicitWidth
    height: implicitHeight

    function faceComponent() {
        if (app.face === "history")
            return historyFace
        if (app.face === "nowPlaying")
            return nowPlayingFace
        return app.sheet.face === "preview" ? previewFace : statusFace
    }

    function showFace(animated) {
        if (shownFace)
            shownFace.leave()
        shownFace = faceComponent().createObject(panel, { key: faceKey, sheet: app.sheet, opacity: animated ? 0 : 1 })
        shownFace.opacity = 1
    }

    Connections {
        target: panel.app
        function onSheetChanged() {
            if (panel.shownFace.key === panel.app.sheetKey)
                panel.shownFace.sheet = panel.app.sheet
        }
    }

    // One face and the sheet state it shows, kept as it was while it fades out.
    component FaceFrame: Item {
        required property string key
        property var sheet

        objectName: "face"
        implicitWidth: childrenRect.width
        implicitHeight: childrenRect.height

        // A face that has not begun to fade in would never reach 0 again.
        function leave() {
            enabled = false
            if (opacity === 0)
                destroy()
            else
                opacity = 0
        }

        onOpacityChanged: if (!enabled && opacity === 0) destroy()

        Behavior on opacity {
            NumberAnimation {
                duration: 220
                easing.type: Easing.InOutQuad
            }
        }
    }

    Component {
        id: nowPlayingFace

        FaceFrame {
            NowPlayingView {
                fip: panel.app.fip
                onSave: panel.app.onSave()
                onShowHistory: panel.app.onShowHistory()
                onCheckForUpdates: panel.app.onCheckForUpdates()
                onQuit: panel.app.quit()
            }
        }
    }

    Component {
        id: historyFace

        FaceFrame {
            HistoryView {
                history: panel.app
                onClose: panel.app.onCloseHistory()
            }
        }
    }

    Component {
        id: previewFace

        FaceFrame {
            id: frame

            PreviewSheet {
                fipArtist: frame.sheet.track.artist
                fipTitle: frame.sheet.track.title
                matches: frame.sheet.matches
                onConfirm: songID => panel.app.onConfirm(songID)
                onLogForLater: panel.app.onLogForLater()
                onCancel: panel.app.onCancel()
            }
        }
    }

    Component {
        id: statusFace

        FaceFrame {
            id: frame

            StatusView {
                kind: frame.sheet.statusKind
                title: frame.sheet.title
                subtitle: frame.sheet.subtitle
            }
        }
    }
}
