// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Shows where the keyboard is. Lies around its parent, and takes no room.
Rectangle {
    property bool shown: parent.activeFocus

    anchors.fill: parent
    anchors.margins: -3
    radius: Theme.radius + 2
    visible: shown
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
}
