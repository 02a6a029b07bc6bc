// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The update checker's answer: up to date, a newer version to download, or
// why the check failed.
Window {
    id: dialog

    required property UpdateChecker updater

    objectName: "updateDialog"
    title: "Airnote"
    flags: Qt.Dialog
    color: Theme.background
    width: content.implicitWidth
    height: content.implicitHeight
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height

    Shortcut {
        sequences: ["Escape", "Return", "Enter"]
        onActivated: dialog.close()
    }

    Control {
        id: content

        implicitWidth: 340
        padding: 16

        contentItem: ColumnLayout {
            spacing: 14

            PlainLabel {
                objectName: "updateMessage"
                Layout.fillWidth: true
                text: dialog.updater.message
                font: Theme.body
                color: Theme.primary
                wrapMode: Text.Wrap
            }

            RowLayout {
                Layout.fillWidth: true

                PlainButton {
                    objectName: "downloadLink"
                    // Only an available update carries a download address.
                    visible: dialog.updater.state === UpdateChecker.UpdateAvailable
                    text: qsTr("Télécharger")
                    font: Qt.font({ family: Theme.body.family, pointSize: Theme.body.pointSize, underline: true })
                    textColor: Theme.accent
                    onClicked: Qt.openUrlExternally(dialog.updater.downloadURL)
                }
                Item {
                    Layout.fillWidth: true
                }
                ProminentButton {
                    objectName: "okButton"
                    text: qsTr("OK")
                    onClicked: dialog.close()
                }
            }
        }
    }
}
