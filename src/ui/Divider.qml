// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Layouts

// A horizontal separator line spanning its layout.
Rectangle {
    Layout.fillWidth: true
    implicitHeight: 1
    color: Theme.separator
}
