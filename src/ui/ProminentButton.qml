// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Layouts
import QtQuick.Controls.Fusion

// A button filled with the accent colour, for the action a face leads to;
// dimmed and deaf while disabled.
Button {
    id: button

    // An icon of the module before the text; empty for none.
    property string iconName

    font: Theme.body
    topPadding: 4
    bottomPadding: 4
    leftPadding: 10
    rightPadding: 10
    opacity: enabled ? 1 : 0.5
    contentItem: RowLayout {
        spacing: 6
        TintedIcon {
            visible: button.iconName !== ""
            name: button.iconName
            color: Theme.accentText
            implicitWidth: 16
            implicitHeight: 16
        }
        Text {
            text: button.text
            font: button.font
            color: Theme.accentText
        }
    }
    background: Rectangle {
        radius: 6
        color: button.down ? Qt.darker(Theme.accent, 1.15) : Theme.accent
    }
}
