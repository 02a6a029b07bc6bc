// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The card shown while the save flow works or reports its outcome.
Control {
    id: card

    property int kind: StatusKind.Loading
    property string title
    // Empty: no subtitle line at all.
    property string subtitle

    readonly property string symbolName: kind === StatusKind.Success ? "checkmark-circle-fill"
                                       : kind === StatusKind.Info ? "info-circle-fill"
                                       : "exclamationmark-triangle-fill"
    readonly property color symbolColor: kind === StatusKind.Success ? Theme.green
                                       : kind === StatusKind.Info ? Theme.blue
                                       : Theme.orange

    implicitWidth: 360
    padding: 16

    contentItem: RowLayout {
        spacing: 12

        Item {
            Layout.alignment: Qt.AlignVCenter
            implicitWidth: 32
            implicitHeight: 32

            BusyIndicator {
                objectName: "statusSpinner"
                anchors.fill: parent
                padding: 0
                visible: card.kind === StatusKind.Loading
                running: visible
            }
            TintedIcon {
                objectName: "statusIcon"
                anchors.fill: parent
                visible: card.kind !== StatusKind.Loading
                name: card.symbolName
                color: card.symbolColor
            }
        }

        ColumnLayout {
            Layout.alignment: Qt.AlignVCenter
            Layout.fillWidth: true
            spacing: 2

            PlainLabel {
                objectName: "statusTitle"
                Layout.fillWidth: true
                text: card.title
                font.family: Theme.body.family
                font.pointSize: Theme.body.pointSize
                font.bold: true
                color: Theme.primary
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
            }
            PlainLabel {
                objectName: "statusSubtitle"
                Layout.fillWidth: true
                visible: card.subtitle !== ""
                text: card.subtitle
                font: Theme.caption
                color: Theme.secondary
                wrapMode: Text.Wrap
                maximumLineCount: 3
                elide: Text.ElideRight
            }
        }
    }
}
