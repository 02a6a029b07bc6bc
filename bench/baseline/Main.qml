// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The now-playing panel's widgets with fixed texts.
Pane {
    width: 320
    padding: 14

    component FooterButton: Button {
        padding: 0
        flat: true
        font.pointSize: 8
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        Label {
            text: "FIP — en ce moment"
            font.bold: true
        }

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
        }

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
