// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma ComponentBehavior: Bound

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The listener picks which catalog song to save for the track on air, or,
// when the search found none, notes the track for later.
Control {
    id: sheet

    required property string fipArtist
    required property string fipTitle
    // CatalogMatch values, best first.
    required property var matches
    // The catalog identifier of the selected candidate.
    required property string selectedID
    readonly property bool hasSelection: matches.some(match => match.song.id === selectedID)

    signal select(string songID)
    signal confirm(string songID)
    signal logForLater()
    signal cancel()

    implicitWidth: 360
    padding: 16

    // Enabled with the sheet, so a sheet fading out no longer answers keys.
    Shortcut {
        sequences: ["Escape"]
        enabled: sheet.enabled
        onActivated: sheet.cancel()
    }
    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: sheet.enabled && sheet.hasSelection
        onActivated: sheet.confirm(sheet.selectedID)
    }

    component CancelButton: Button {
        objectName: "cancelButton"
        text: qsTr("Annuler")
        font: Theme.body
        onClicked: sheet.cancel()
    }

    component CandidateCard: AbstractButton {
        id: card

        required property catalogMatch modelData
        readonly property bool isSelected: sheet.selectedID === modelData.song.id
        readonly property int grade: ConfidenceGrade.grade(modelData.confidence)
        readonly property color tint: grade === ConfidenceGrade.High ? Theme.green
                                    : grade === ConfidenceGrade.Fair ? Theme.orange
                                    : Theme.red

        objectName: "candidate"
        Layout.fillWidth: true
        padding: 8
        implicitWidth: row.implicitWidth + leftPadding + rightPadding
        implicitHeight: row.implicitHeight + topPadding + bottomPadding
        onClicked: sheet.select(modelData.song.id)

        RowLayout {
            id: row

            anchors.fill: parent
            anchors.margins: card.padding
            spacing: 10

            RoundedImage {
                id: artwork
                objectName: "candidateArtwork"
                implicitWidth: 56
                implicitHeight: 56
                radius: 4
                source: card.modelData.song.artworkURL(112, 112)
                placeholderColor: Theme.quaternaryFill

                TintedIcon {
                    anchors.centerIn: parent
                    visible: !artwork.isLoaded
                    name: "music-note"
                    color: Theme.secondary
                    implicitWidth: 22
                    implicitHeight: 22
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2

                PlainLabel {
                    objectName: "candidateTitle"
                    Layout.fillWidth: true
                    text: card.modelData.song.title
                    font.family: Theme.callout.family
                    font.pointSize: Theme.callout.pointSize
                    font.bold: true
                    color: Theme.primary
                    maximumLineCount: 1
                    elide: Text.ElideRight
                }
                PlainLabel {
                    Layout.fillWidth: true
                    text: card.modelData.song.artistName
                    font: Theme.caption
                    color: Theme.secondary
                    maximumLineCount: 1
                    elide: Text.ElideRight
                }
                PlainLabel {
                    objectName: "candidateAlbum"
                    Layout.fillWidth: true
                    visible: text !== ""
                    text: card.modelData.song.albumTitle
                    font: Theme.caption2
                    color: Theme.secondary
                    maximumLineCount: 1
                    elide: Text.ElideRight
                }
            }
            Item {
                implicitWidth: 4
            }
            Label {
                id: badge
                objectName: "confidenceBadge"
                text: ConfidenceGrade.text(card.modelData.confidence)
                font: Theme.caption2
                color: card.tint
                leftPadding: 6
                rightPadding: 6
                topPadding: 2
                bottomPadding: 2
                background: Rectangle {
                    radius: height / 2
                    color: Theme.withAlpha(card.tint, 0.15)
                }
            }
        }

        background: Rectangle {
            radius: 6
            color: card.isSelected ? Theme.withAlpha(Theme.accent, 0.18) : Theme.controlBackground
            border.width: 1
            border.color: card.isSelected ? Theme.accent : Theme.withAlpha(Theme.gray, 0.25)
        }
    }

    contentItem: ColumnLayout {
        spacing: 12

        Label {
            text: qsTr("Confirmer la sauvegarde")
            font: Theme.headline
            color: Theme.primary
        }

        PlainLabel {
            objectName: "summary"
            visible: sheet.matches.length > 0
            Layout.fillWidth: true
            // One arg() each, so nothing in the station's text is taken for a placeholder.
            text: qsTr("FIP : %1").arg(sheet.fipArtist + " — " + sheet.fipTitle) + "  ·  "
                  + qsTr("%n résultat(s)", "", sheet.matches.length)
            font: Theme.caption
            color: Theme.secondary
            wrapMode: Text.Wrap
        }

        ColumnLayout {
            visible: sheet.matches.length > 0
            Layout.fillWidth: true
            spacing: 6

            Repeater {
                model: sheet.matches
                delegate: CandidateCard {}
            }
        }

        RowLayout {
            visible: sheet.matches.length > 0
            Layout.fillWidth: true

            CancelButton {}
            Item {
                Layout.fillWidth: true
            }
            ProminentButton {
                objectName: "confirmButton"
                text: qsTr("Confirmer")
                enabled: sheet.hasSelection
                onClicked: sheet.confirm(sheet.selectedID)
            }
        }

        ColumnLayout {
            objectName: "notFound"
            visible: sheet.matches.length === 0
            Layout.fillWidth: true
            spacing: 8

            Label {
                text: qsTr("Pas trouvé dans Apple Music")
                font: Theme.body
                color: Theme.primary
            }
            PlainLabel {
                objectName: "fipLine"
                Layout.fillWidth: true
                text: qsTr("FIP joue : %1").arg(sheet.fipArtist + " — " + sheet.fipTitle)
                font: Theme.caption
                color: Theme.secondary
                wrapMode: Text.Wrap
            }
            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 4

                CancelButton {}
                Item {
                    Layout.fillWidth: true
                }
                ProminentButton {
                    objectName: "logForLaterButton"
                    text: qsTr("Logger pour plus tard")
                    onClicked: sheet.logForLater()
                }
            }
        }
    }
}
