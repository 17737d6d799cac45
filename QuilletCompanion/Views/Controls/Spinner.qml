// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Something is under way. Stands still where motion isn't wanted, and costs nothing while it isn't seen.
Item {
    id: root

    property string label
    property real size: Theme.body * 1.2

    implicitWidth: size
    implicitHeight: size
    Accessible.role: Accessible.Animation
    Accessible.name: label
    Accessible.ignored: label === ""

    Repeater {
        model: 8
        Rectangle {
            required property int index
            readonly property real angle: index * Math.PI / 4
            width: root.size / 6
            height: width
            radius: width / 2
            x: root.size / 2 + Math.sin(angle) * root.size * 0.38 - width / 2
            y: root.size / 2 - Math.cos(angle) * root.size * 0.38 - height / 2
            color: Theme.secondary
            opacity: Theme.reduceMotion ? 0.8 : 0.2 + 0.8 * ((index + 8 - root.turn) % 8) / 7
        }
    }
    property int turn: 0
    Timer {
        interval: 90
        repeat: true
        running: root.visible && !Theme.reduceMotion && root.Window.visibility !== Window.Hidden
        onTriggered: root.turn = (root.turn + 7) % 8
    }
}
