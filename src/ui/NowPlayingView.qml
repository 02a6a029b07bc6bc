// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// The panel's default face: the track on air, the save button and the footer.
Item {
    id: view

    required property FIPMetadataService station
    required property StationChoice stations
    required property StationPlayer player
    property bool offersUpdateCheck: true
    readonly property bool isShown: Window.window !== null && Window.window.visible
    readonly property bool showsMusic: station.hasCurrent && station.current.isMusicTrack

    signal save()
    signal showHistory()
    signal checkForUpdates()
    signal quit()

    // Showing this face cuts the poller's wait short so the track is fresh.
    onIsShownChanged: if (isShown) station.cutWaitShort()
    Component.onCompleted: if (isShown) station.cutWaitShort()

    implicitWidth: 320
    implicitHeight: layout.implicitHeight + 28

    component FooterButton: PlainButton {
        textColor: Theme.secondary
    }

    ColumnLayout {
        id: layout

        anchors.fill: parent
        anchors.margins: 14
        spacing: 12

        RowLayout {
            Layout.fillWidth: true

            TintedIcon {
                name: "radio"
                color: Theme.primary
                implicitWidth: 18
                implicitHeight: 18
            }
            Label {
                objectName: "stationHeader"
                text: qsTr("%1 — en ce moment").arg(view.stations.name)
                font: Theme.headline
                color: Theme.primary
            }
            // Compact: the header already names the station; this only opens the list.
            ComboBox {
                objectName: "stationPicker"
                model: view.stations.names
                currentIndex: view.stations.index
                displayText: ""
                flat: true
                implicitWidth: 26
                implicitHeight: 22
                // The list itself is as wide as the longest name, kept inside the panel.
                implicitContentWidthPolicy: ComboBox.WidestText
                popup.width: implicitContentWidth + 40
                popup.leftMargin: 6
                popup.rightMargin: 6
                // Our own drawing: Fusion's arrow image keeps a texture past the scene's release.
                indicator: TintedIcon {
                    name: "chevron-down"
                    color: Theme.secondary
                    x: (parent.width - width) / 2
                    y: (parent.height - height) / 2
                    width: 14
                    height: 14
                }
                Accessible.name: qsTr("Changer de station")
                ToolTip.text: qsTr("Changer de station")
                ToolTip.visible: hovered
                ToolTip.delay: 500
                onActivated: index => view.stations.onChoose(index)
            }
            Item {
                Layout.fillWidth: true
            }
            BusyIndicator {
                objectName: "fetchingIndicator"
                visible: view.station.isFetching
                running: visible
                padding: 0
                implicitWidth: 16
                implicitHeight: 16
                ToolTip.text: qsTr("Mise à jour…")
                ToolTip.visible: fetchingHover.hovered
                HoverHandler {
                    id: fetchingHover
                }
            }
            TintedIcon {
                objectName: "unreachableWarning"
                visible: !view.station.isFetching && !view.station.isReachable
                name: "exclamationmark-triangle-fill"
                color: Theme.orange
                implicitWidth: 16
                implicitHeight: 16
                ToolTip.text: qsTr("FIP injoignable")
                ToolTip.visible: warningHover.hovered
                HoverHandler {
                    id: warningHover
                }
            }
        }

        ListeningBar {
            Layout.fillWidth: true
            player: view.player
            stationName: view.stations.name
        }

        Divider {}

        RowLayout {
            objectName: "trackBlock"
            visible: view.showsMusic
            Layout.fillWidth: true
            spacing: 10

            RoundedImage {
                objectName: "artwork"
                Layout.alignment: Qt.AlignTop
                implicitWidth: 60
                implicitHeight: 60
                radius: 6
                source: view.station.current.artworkURL
                placeholderColor: Theme.quaternaryFill
            }
            ColumnLayout {
                Layout.alignment: Qt.AlignTop
                Layout.fillWidth: true
                spacing: 2

                PlainLabel {
                    objectName: "trackTitle"
                    Layout.fillWidth: true
                    text: view.station.current.title
                    font.family: Theme.body.family
                    font.pointSize: Theme.body.pointSize
                    font.bold: true
                    color: Theme.primary
                    wrapMode: Text.Wrap
                    maximumLineCount: 2
                    elide: Text.ElideRight
                }
                PlainLabel {
                    objectName: "trackArtist"
                    Layout.fillWidth: true
                    text: view.station.current.artist
                    font: Theme.callout
                    color: Theme.secondary
                    maximumLineCount: 1
                    elide: Text.ElideRight
                }
                PlainLabel {
                    objectName: "trackAlbum"
                    Layout.fillWidth: true
                    visible: text !== ""
                    text: view.station.current.album
                    font: Theme.caption
                    color: Theme.secondary
                    maximumLineCount: 1
                    elide: Text.ElideRight
                }
            }
        }

        ProminentButton {
            objectName: "saveButton"
            visible: view.showsMusic
            enabled: view.showsMusic
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Sauver dans Apple Music")
            iconName: "plus-circle-fill"
            topPadding: 7
            bottomPadding: 7
            leftPadding: 14
            rightPadding: 14
            onClicked: view.save()
        }

        DimmedMessage {
            objectName: "loadingMessage"
            visible: !view.station.hasCurrent
            text: qsTr("Chargement…")
        }

        DimmedMessage {
            objectName: "noMusicMessage"
            visible: view.station.hasCurrent && !view.station.current.isMusicTrack
            text: qsTr("Pas de musique en ce moment")
        }

        Divider {}

        RowLayout {
            Layout.fillWidth: true
            spacing: 12

            FooterButton {
                objectName: "historyButton"
                text: qsTr("Historique…")
                onClicked: view.showHistory()
            }
            FooterButton {
                objectName: "updatesButton"
                visible: view.offersUpdateCheck
                text: qsTr("Vérifier les màj")
                onClicked: view.checkForUpdates()
            }
            Item {
                Layout.fillWidth: true
            }
            FooterButton {
                objectName: "quitButton"
                text: qsTr("Quitter")
                onClicked: view.quit()
            }
        }
    }
}
