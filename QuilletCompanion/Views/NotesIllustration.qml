// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A note in which words appear, one after another.
Rectangle {
    id: root

    property int shown: Theme.reduceMotion ? 9 : 0

    width: 260
    height: 120
    radius: Theme.radius
    color: Theme.field
    border.width: 1
    border.color: Theme.border
    Accessible.ignored: true

    Flow {
        x: 20
        y: 22
        width: parent.width - 40
        spacing: 8
        Repeater {
            model: [52, 34, 70, 24, 46, 60, 30, 44, 22]
            Rectangle {
                required property int modelData
                required property int index
                width: modelData
                height: 10
                radius: 5
                color: Theme.secondary
                opacity: index < root.shown ? 0.7 : 0
            }
        }
        Rectangle {
            width: 2
            height: 14
            color: Theme.accent
        }
    }
    Timer {
        interval: 350
        repeat: true
        running: root.visible && root.shown < 9
        onTriggered: ++root.shown
    }
}
