// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma ComponentBehavior: Bound

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The past capture attempts, newest first, with what can be done with each:
// try a save again, open a saved song, copy its names; a search field and the
// outcome chips narrow the list. The panel model has the history read again
// each time this face is shown.
Item {
    id: view

    required property HistoryModel history
    required property HistoryFilter rows
    property date now: new Date()
    readonly property bool isShown: Window.window !== null && Window.window.visible
    readonly property bool readable: history.unreadableReason === ""

    signal close()
    signal retry(string recordID)
    signal rowAction(string recordID)

    // Keeps the elapsed times current while the list is on screen.
    Timer {
        interval: 10000
        repeat: true
        triggeredOnStart: true
        running: view.isShown
        onTriggered: view.now = new Date()
    }

    // Enabled with the face, so a face fading out no longer answers keys.
    Shortcut {
        sequences: ["Escape"]
        enabled: view.enabled
        onActivated: view.close()
    }
    Shortcut {
        sequences: ["Ctrl+F"]
        enabled: view.enabled
        onActivated: search.forceActiveFocus()
    }
    Shortcut {
        sequences: ["Down"]
        enabled: view.enabled
        onActivated: list.currentIndex = Math.min(list.currentIndex + 1, list.count - 1)
    }
    Shortcut {
        sequences: ["Up"]
        enabled: view.enabled
        onActivated: list.currentIndex = Math.max(list.currentIndex - 1, 0)
    }
    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: view.enabled && list.currentIndex >= 0
        onActivated: view.rowAction(view.rows.recordIDAt(list.currentIndex))
    }

    SaveFileDialog {
        id: exportDialog
        parentWindow: view.Window.window
        onAccepted: file => view.history.onExport(file)
    }

    implicitWidth: 320
    implicitHeight: layout.implicitHeight + 28

    ColumnLayout {
        id: layout

        anchors.fill: parent
        anchors.margins: 14
        spacing: 8

        RowLayout {
            Layout.fillWidth: true
            spacing: 10

            Label {
                text: qsTr("Historique")
                font: Theme.headline
                color: Theme.primary
            }
            Item {
                Layout.fillWidth: true
            }
            PlainButton {
                objectName: "exportButton"
                text: qsTr("Exporter…")
                enabled: view.readable
                textColor: enabled ? Theme.primary : Theme.secondary
                onClicked: exportDialog.open(qsTr("Exporter l'historique"), qsTr("historique-airnote.csv"))
            }
            PlainButton {
                objectName: "closeButton"
                text: qsTr("Fermer")
                onClicked: view.close()
            }
        }

        Divider {}

        TextField {
            id: search
            objectName: "searchField"
            Layout.fillWidth: true
            placeholderText: qsTr("Rechercher un artiste ou un titre")
            font: Theme.callout
            text: view.rows.query
            onTextEdited: view.rows.query = text
        }

        RowLayout {
            objectName: "outcomeChips"
            Layout.fillWidth: true
            spacing: 4

            Repeater {
                model: [
                    { status: -1, label: qsTr("Tout") },
                    { status: HistoryModel.Saved, label: qsTr("Sauvés") },
                    { status: HistoryModel.NoMatch, label: qsTr("Pour plus tard") },
                    { status: HistoryModel.SaveFailed, label: qsTr("Échecs") },
                    { status: HistoryModel.Logged, label: qsTr("Notés") }
                ]
                delegate: PlainButton {
                    id: chip

                    required property var modelData
                    readonly property bool chosen: view.rows.status === modelData.status

                    objectName: "outcomeChip"
                    text: modelData.label
                    leftPadding: 6
                    rightPadding: 6
                    topPadding: 2
                    bottomPadding: 2
                    textColor: chosen ? Theme.accentText : Theme.primary
                    background: Rectangle {
                        radius: 4
                        color: chip.chosen ? Theme.accent : Theme.quaternaryFill
                    }
                    onClicked: view.rows.status = modelData.status
                }
            }
        }

        PlainLabel {
            objectName: "unreadableMessage"
            visible: !view.readable
            Layout.fillWidth: true
            text: view.history.unreadableReason + "\n"
                  + qsTr("Réessayer, ouvrir et exporter sont indisponibles tant que le fichier n'est pas réparé.")
            wrapMode: Text.Wrap
            font: Theme.caption
            color: Theme.red
        }

        PlainLabel {
            objectName: "exportMessage"
            visible: text !== ""
            Layout.fillWidth: true
            text: view.history.exportMessage
            wrapMode: Text.Wrap
            font: Theme.caption2
            color: Theme.secondary
        }

        DimmedMessage {
            objectName: "emptyMessage"
            visible: view.readable && view.rows.count === 0
            text: view.history.count === 0 ? qsTr("Aucune capture pour l'instant.") : qsTr("Aucune capture ne correspond.")
        }

        ListView {
            id: list
            objectName: "historyList"
            readonly property bool scrolls: contentHeight > height

            visible: view.rows.count > 0
            Layout.fillWidth: true
            implicitHeight: Math.min(contentHeight + topMargin, 280)
            spacing: 6
            clip: true
            // The accent of a capital (É) rises above the first title's line box.
            topMargin: 3
            boundsBehavior: Flickable.StopAtBounds
            model: view.rows
            currentIndex: -1
            highlightMoveDuration: 0
            highlight: Rectangle {
                radius: 4
                color: Theme.quaternaryFill
            }

            ScrollBar.vertical: ScrollBar {
                objectName: "historyScrollBar"
                policy: list.scrolls ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
            }

            delegate: RowLayout {
                id: row

                required property string fipTitle
                required property string fipArtist
                required property date timestamp
                required property int status
                required property string recordID
                readonly property bool retryable: status === HistoryModel.NoMatch || status === HistoryModel.SaveFailed

                objectName: "historyRow"
                width: ListView.view.width - (list.scrolls ? list.ScrollBar.vertical.width + 4 : 0)
                spacing: 6

                TintedIcon {
                    Layout.alignment: Qt.AlignTop
                    implicitWidth: 16
                    implicitHeight: 16
                    name: row.status === HistoryModel.Saved ? "checkmark-circle-fill"
                        : row.status === HistoryModel.NoMatch ? "questionmark-circle"
                        : row.status === HistoryModel.SaveFailed ? "exclamationmark-circle-fill"
                        : "bookmark"
                    color: row.status === HistoryModel.Saved ? Theme.green
                         : row.status === HistoryModel.NoMatch ? Theme.orange
                         : row.status === HistoryModel.SaveFailed ? Theme.red
                         : Theme.secondary
                }
                ColumnLayout {
                    Layout.alignment: Qt.AlignTop
                    Layout.fillWidth: true
                    spacing: 0

                    PlainLabel {
                        objectName: "historyTitle"
                        Layout.fillWidth: true
                        text: row.fipTitle
                        font.family: Theme.caption.family
                        font.pointSize: Theme.caption.pointSize
                        font.bold: true
                        color: Theme.primary
                        maximumLineCount: 1
                        elide: Text.ElideRight
                    }
                    PlainLabel {
                        Layout.fillWidth: true
                        text: row.fipArtist
                        font: Theme.caption2
                        color: Theme.secondary
                        maximumLineCount: 1
                        elide: Text.ElideRight
                    }
                    RowLayout {
                        spacing: 10

                        PlainButton {
                            objectName: "retryButton"
                            visible: row.retryable
                            text: qsTr("Réessayer")
                            font: Theme.caption2
                            textColor: Theme.blue
                            onClicked: view.retry(row.recordID)
                        }
                        PlainButton {
                            objectName: "openButton"
                            visible: row.status === HistoryModel.Saved
                            text: qsTr("Ouvrir dans Apple Music")
                            font: Theme.caption2
                            textColor: Theme.blue
                            onClicked: view.history.onOpen(row.recordID)
                        }
                        PlainButton {
                            objectName: "copyButton"
                            text: qsTr("Copier")
                            font: Theme.caption2
                            textColor: Theme.blue
                            onClicked: view.history.onCopy(row.recordID)
                        }
                    }
                }
                Label {
                    objectName: "historyTime"
                    Layout.alignment: Qt.AlignTop
                    text: RelativeTime.since(row.timestamp, view.now)
                    font: Theme.caption2
                    color: Theme.secondary
                }
            }
        }
    }
}
