// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

pragma Singleton

import QtQuick

// The semantic text styles and colours of the panel, taken from the system
// palette and font so the panel follows the desktop's light or dark look.
QtObject {
    readonly property SystemPalette palette: SystemPalette {
        colorGroup: SystemPalette.Active
    }
    readonly property SystemPalette disabledPalette: SystemPalette {
        colorGroup: SystemPalette.Disabled
    }
    readonly property bool isDark: palette.window.hslLightness < 0.5

    // The application's font. Qt.application.font holds it too, but Qt's type
    // description of Qt.application lacks the property, which qmllint reports.
    readonly property TextMetrics applicationText: TextMetrics {}
    readonly property font body: applicationText.font
    readonly property real bodySize: body.pointSize > 0 ? body.pointSize : 10
    readonly property font headline: Qt.font({ family: body.family, pointSize: bodySize, weight: Font.DemiBold })
    readonly property font callout: Qt.font({ family: body.family, pointSize: bodySize * 12 / 13 })
    readonly property font caption: Qt.font({ family: body.family, pointSize: bodySize * 10 / 13 })
    readonly property font caption2: Qt.font({ family: body.family, pointSize: bodySize * 10 / 13, weight: Font.Light })

    readonly property color background: palette.window
    readonly property color primary: palette.windowText
    readonly property color secondary: withAlpha(primary, 0.55)
    readonly property color separator: withAlpha(primary, 0.14)
    readonly property color controlBackground: palette.base
    readonly property color quaternaryFill: isDark ? Qt.rgba(0.46, 0.46, 0.5, 0.18) : Qt.rgba(0.45, 0.45, 0.5, 0.08)
    readonly property color accent: palette.highlight
    readonly property color accentText: palette.highlightedText

    // The system colours of the Apple palette, in their light and dark variants.
    readonly property color green: isDark ? "#30d158" : "#34c759"
    readonly property color orange: isDark ? "#ff9f0a" : "#ff9500"
    readonly property color red: isDark ? "#ff453a" : "#ff3b30"
    readonly property color blue: isDark ? "#0a84ff" : "#007aff"
    readonly property color gray: isDark ? "#98989d" : "#8e8e93"

    function withAlpha(colour, alpha) {
        return Qt.rgba(colour.r, colour.g, colour.b, alpha)
    }
}
