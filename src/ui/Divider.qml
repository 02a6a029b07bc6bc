import QtQuick
import Airnote.UI
import QtQuick.Layouts

// A horizontal separator line spanning its layout.
Rectangle {
    Layout.fillWidth: true
    implicitHeight: 1
    color: Theme.separator
}
