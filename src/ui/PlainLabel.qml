// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

import QtQuick
import QtQuick.Controls.Fusion

// A label for text from outside (the station, the catalog, the history, a
// server's error, the update feed): plain text always, so that a title holding
// markup can neither load an image nor restyle the panel.
Label {
    textFormat: Text.PlainText
}
