// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// How far something has come, from 0 to 1.
Rectangle {
    id: root

    property string label
    property real value: 0

    implicitWidth: 200
    implicitHeight: Theme.unit * 1.5
    radius: height / 2
    color: Theme.hover
    border.width: Theme.contrast ? 1 : 0
    border.color: Theme.border
    Accessible.role: Accessible.ProgressBar
    Accessible.name: label

    Rectangle {
        width: Math.max(parent.height, parent.width * Math.min(1, Math.max(0, root.value)))
        height: parent.height
        radius: height / 2
        color: Theme.accent
        anchors.left: parent.left
    }
}
