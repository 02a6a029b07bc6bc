// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The past capture attempts, newest first, read from the store each time the
// list is shown.
Control {
    id: view

    // Answers loadHistory() with historyLoaded(newestFirst).
    required property QtObject history
    // CaptureRecord values, newest first; empty until the store has answered.
    property var records: []
    property date now: new Date()
    readonly property bool isShown: Window.window !== null && Window.window.visible

    readonly property var symbols: ({
        saved: { name: "checkmark-circle-fill", color: Theme.green },
        no_match: { name: "questionmark-circle", color: Theme.orange },
        save_failed: { name: "exclamationmark-circle-fill", color: Theme.red },
        logged: { name: "bookmark", color: Theme.secondary }
    })

    signal close()

    // The window can attach while the view completes: callLater makes one load of the two calls.
    onIsShownChanged: if (isShown) Qt.callLater(history.loadHistory)
    Component.onCompleted: if (isShown) Qt.callLater(history.loadHistory)

    Connections {
        target: view.history
        function onHistoryLoaded(newestFirst) {
            view.records = newestFirst
        }
    }

    // Keeps the elapsed times current while the list is on screen.
    Timer {
        interval: 10000
        repeat: true
        triggeredOnStart: true
        running: view.isShown
        onTriggered: view.now = new Date()
    }

    implicitWidth: 320
    padding: 14

    contentItem: ColumnLayout {
        spacing: 8

        RowLayout {
            Layout.fillWidth: true

            Label {
                text: "Historique"
                font: Theme.headline
                color: Theme.primary
            }
            Item {
                Layout.fillWidth: true
            }
            PlainButton {
                objectName: "closeButton"
                text: "Fermer"
                onClicked: view.close()
            }
        }

        Divider {}

        DimmedMessage {
            objectName: "emptyMessage"
            visible: view.records.length === 0
            text: "Aucune capture pour l'instant."
        }

        ListView {
            id: list
            objectName: "historyList"
            readonly property bool scrolls: contentHeight > height

            visible: view.records.length > 0
            Layout.fillWidth: true
            implicitHeight: Math.min(contentHeight, 280)
            spacing: 6
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            model: view.records

            ScrollBar.vertical: ScrollBar {
                objectName: "historyScrollBar"
                policy: list.scrolls ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
            }

            delegate: RowLayout {
                id: row
                required property var modelData
                readonly property var symbol: view.symbols[row.modelData.status]

                objectName: "historyRow"
                width: ListView.view.width - (list.scrolls ? list.ScrollBar.vertical.width + 4 : 0)
                spacing: 6

                TintedIcon {
                    Layout.alignment: Qt.AlignTop
                    implicitWidth: 16
                    implicitHeight: 16
                    name: row.symbol ? row.symbol.name : ""
                    color: row.symbol ? row.symbol.color : "transparent"
                }
                ColumnLayout {
                    Layout.alignment: Qt.AlignTop
                    Layout.fillWidth: true
                    spacing: 0

                    Label {
                        objectName: "historyTitle"
                        Layout.fillWidth: true
                        text: row.modelData.fipTitle
                        font.family: Theme.caption.family
                        font.pointSize: Theme.caption.pointSize
                        font.bold: true
                        color: Theme.primary
                        maximumLineCount: 1
                        elide: Text.ElideRight
                    }
                    Label {
                        Layout.fillWidth: true
                        text: row.modelData.fipArtist
                        font: Theme.caption2
                        color: Theme.secondary
                        maximumLineCount: 1
                        elide: Text.ElideRight
                    }
                }
                Label {
                    objectName: "historyTime"
                    Layout.alignment: Qt.AlignTop
                    text: RelativeTime.since(row.modelData.timestamp, view.now)
                    font: Theme.caption2
                    color: Theme.secondary
                }
            }
        }
    }
}
