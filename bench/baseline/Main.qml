// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The now-playing panel's widgets with fixed texts: header with the station
// list, listening row, track, save button, footer.
Pane {
    width: 320
    padding: 14

    component Divider: Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        opacity: 0.2
        color: "black"
    }

    component FooterButton: Button {
        padding: 0
        flat: true
        font.pointSize: 8
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        RowLayout {
            Layout.fillWidth: true

            Image {
                source: "cover.svg"
                sourceSize: Qt.size(18, 18)
            }
            Label {
                text: "FIP — en ce moment"
                font.bold: true
            }
            ComboBox {
                model: ["FIP", "FIP Jazz", "FIP Groove", "FIP Rock"]
                displayText: ""
                flat: true
                implicitWidth: 26
                implicitHeight: 22
            }
            Item {
                Layout.fillWidth: true
            }
            // Hidden, as the panel's is between two polls.
            BusyIndicator {
                visible: false
                running: false
                implicitWidth: 16
                implicitHeight: 16
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 8

            Button {
                flat: true
                icon.source: "cover.svg"
                implicitWidth: 30
                implicitHeight: 30
            }
            Label {
                Layout.fillWidth: true
                text: "Écouter FIP"
                font.pointSize: 8
            }
            Slider {
                implicitWidth: 80
                value: 0.7
            }
        }

        Divider {}

        RowLayout {
            Layout.fillWidth: true
            spacing: 10

            Image {
                Layout.alignment: Qt.AlignTop
                source: "cover.svg"
                sourceSize: Qt.size(60, 60)
            }
            ColumnLayout {
                Layout.alignment: Qt.AlignTop
                Layout.fillWidth: true
                spacing: 2

                Label {
                    Layout.fillWidth: true
                    text: "Le titre du morceau"
                    font.bold: true
                    elide: Text.ElideRight
                }
                Label {
                    Layout.fillWidth: true
                    text: "L'artiste"
                    opacity: 0.55
                    elide: Text.ElideRight
                }
            }
        }

        Button {
            Layout.alignment: Qt.AlignHCenter
            text: "Sauver dans Apple Music"
            icon.source: "cover.svg"
        }

        Divider {}

        RowLayout {
            Layout.fillWidth: true
            spacing: 12

            FooterButton {
                text: "Historique…"
            }
            FooterButton {
                text: "Vérifier les màj"
            }
            Item {
                Layout.fillWidth: true
            }
            FooterButton {
                text: "Quitter"
            }
        }
    }
}
