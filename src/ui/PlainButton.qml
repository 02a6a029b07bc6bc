// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Controls.Fusion

// A text button without bezel, in the caption style.
Button {
    id: button

    property color textColor: Theme.primary

    padding: 0
    font: Theme.caption
    background: null
    contentItem: Text {
        text: button.text
        font: button.font
        color: button.textColor
    }
}
