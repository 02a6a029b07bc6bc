// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import Airnote.UI
import QtQuick.Controls.Fusion

// A line standing in for missing content, such as an empty list.
Label {
    topPadding: 8
    bottomPadding: 8
    color: Theme.secondary
    font: Theme.body
}
