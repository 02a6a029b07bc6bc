// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma ComponentBehavior: Bound

import QtQuick
import Airnote.UI

// The panel's content: one face at a time, picked in one place. A face is
// built afresh whenever the face or the sheet's id changes, and cross-fades
// with the one it replaces; a sheet replaced by one with the same id updates
// the face in place, without a transition.
Rectangle {
    id: panel

    required property PanelModel model
    property FaceFrame shownFace: null
    readonly property bool isShown: Window.window !== null && Window.window.visible

    onIsShownChanged: if (isShown) model.onPanelAppear()
    Component.onCompleted: showFace(false)

    color: Theme.background
    clip: true
    // Qt 6.4's Fusion controls draw with Fusion's own light palette, whatever
    // the desktop's: without these a dark desktop gets a white search field.
    palette {
        window: Theme.palette.window
        windowText: Theme.palette.windowText
        base: Theme.palette.base
        alternateBase: Theme.palette.alternateBase
        text: Theme.palette.text
        placeholderText: Theme.palette.placeholderText
        button: Theme.palette.button
        buttonText: Theme.palette.buttonText
        light: Theme.palette.light
        midlight: Theme.palette.midlight
        mid: Theme.palette.mid
        dark: Theme.palette.dark
        shadow: Theme.palette.shadow
        highlight: Theme.palette.highlight
        highlightedText: Theme.palette.highlightedText

        disabled {
            windowText: Theme.disabledPalette.windowText
            text: Theme.disabledPalette.text
            buttonText: Theme.disabledPalette.buttonText
            base: Theme.disabledPalette.base
            button: Theme.disabledPalette.button
        }
    }
    implicitWidth: shownFace ? shownFace.implicitWidth : 0
    implicitHeight: shownFace ? shownFace.implicitHeight : 0
    width: implicitWidth
    height: implicitHeight

    function faceComponent(): Component {
        switch (model.face) {
        case PanelModel.History:
            return historyFace
        case PanelModel.Preview:
            return previewFace
        case PanelModel.Status:
            return statusFace
        }
        return nowPlayingFace
    }

    function showFace(animated: bool) {
        if (shownFace)
            shownFace.leave()
        shownFace = faceComponent().createObject(panel, {
            key: model.faceKey, sheet: model.workflow.sheet, opacity: animated ? 0 : 1
        })
        shownFace.opacity = 1
    }

    Connections {
        target: panel.model
        function onFaceChanged() {
            panel.showFace(true)
        }
    }

    // A new sheet with the id of the one shown updates its face in place.
    Connections {
        target: panel.model.workflow
        function onSheetChanged() {
            if (panel.shownFace.key === panel.model.faceKey)
                panel.shownFace.sheet = panel.model.workflow.sheet
        }
    }

    // One face and the sheet state it shows, kept as it was while it fades out.
    component FaceFrame: Item {
        required property string key
        property sheetState sheet

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
                station: panel.model.station
                stations: panel.model.stations
                player: panel.model.player
                onSave: panel.model.workflow.onSave()
                onShowHistory: panel.model.onShowHistory()
                onCheckForUpdates: panel.model.onCheckForUpdates()
                onQuit: panel.model.onQuit()
            }
        }
    }

    Component {
        id: historyFace

        FaceFrame {
            HistoryView {
                history: panel.model.history
                rows: panel.model.historyRows
                onClose: panel.model.onCloseHistory()
                onRetry: recordID => panel.model.onRetry(recordID)
                onRowAction: recordID => panel.model.onRowAction(recordID)
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
                selectedID: panel.model.workflow.selectedSongID
                onSelect: songID => panel.model.workflow.onSelect(songID)
                onConfirm: songID => panel.model.workflow.onConfirm(songID)
                onLogForLater: panel.model.workflow.onLogForLater()
                onCancel: panel.model.workflow.onCancel()
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
