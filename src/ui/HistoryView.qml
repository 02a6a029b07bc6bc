// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma ComponentBehavior: Bound

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The past capture attempts, newest first; the panel model has the history
// read again each time this face is shown.
Item {
    id: view

    required property HistoryModel history
    property date now: new Date()
    readonly property bool isShown: Window.window !== null && Window.window.visible

    signal close()

    // Keeps the elapsed times current while the list is on screen.
    Timer {
        interval: 10000
        repeat: true
        triggeredOnStart: true
        running: view.isShown
        onTriggered: view.now = new Date()
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

            Label {
                text: qsTr("Historique")
                font: Theme.headline
                color: Theme.primary
            }
            Item {
                Layout.fillWidth: true
            }
            PlainButton {
                objectName: "closeButton"
                text: qsTr("Fermer")
                onClicked: view.close()
            }
        }

        Divider {}

        DimmedMessage {
            objectName: "emptyMessage"
            visible: view.history.count === 0
            text: qsTr("Aucune capture pour l'instant.")
        }

        ListView {
            id: list
            objectName: "historyList"
            readonly property bool scrolls: contentHeight > height

            visible: view.history.count > 0
            Layout.fillWidth: true
            implicitHeight: Math.min(contentHeight, 280)
            spacing: 6
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            model: view.history

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
