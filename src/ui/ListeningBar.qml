// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// Listening to the chosen station: play or pause, what stands in the way of
// sound, and the volume.
RowLayout {
    id: bar

    required property StationPlayer player
    required property string stationName

    spacing: 8

    Button {
        id: playButton

        objectName: "playButton"
        readonly property string label: bar.player.active ? qsTr("Pause") : qsTr("Écouter %1").arg(bar.stationName)

        flat: true
        padding: 0
        implicitWidth: 30
        implicitHeight: 30
        background: null
        contentItem: TintedIcon {
            name: bar.player.active ? "pause-circle-fill" : "play-circle-fill"
            color: Theme.accent
        }
        // Qt keeps a tooltip's text from when the pointer arrived until it shows:
        // after a click it would name the action just taken, so it waits for the next hover.
        property bool clickedSinceHover: false

        Accessible.name: label
        ToolTip.text: label
        ToolTip.visible: hovered && !clickedSinceHover
        ToolTip.delay: 500
        onHoveredChanged: clickedSinceHover = false
        onClicked: {
            clickedSinceHover = true
            bar.player.toggle()
        }
    }
    Label {
        objectName: "listeningMessage"
        Layout.fillWidth: true
        text: bar.player.message !== "" ? bar.player.message
              : bar.player.active ? qsTr("En écoute") : qsTr("Écouter %1").arg(bar.stationName)
        font: Theme.caption
        color: bar.player.state === StationPlayer.Unavailable || bar.player.state === StationPlayer.Retrying
               ? Theme.orange : Theme.secondary
        wrapMode: Text.Wrap
    }
    TintedIcon {
        name: "speaker"
        color: Theme.secondary
        implicitWidth: 14
        implicitHeight: 14
    }
    Slider {
        objectName: "volumeSlider"
        implicitWidth: 80
        from: 0
        to: 1
        value: bar.player.volume
        Accessible.name: qsTr("Volume")
        onMoved: bar.player.volume = value
    }
}
