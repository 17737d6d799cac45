// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A button that is only a symbol. `label` is what a screen reader says.
Pressable {
    id: root

    property string symbol
    property color ink: Theme.text

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"
    }
    Symbol {
        anchors.centerIn: parent
        name: root.symbol
        color: root.ink
    }
    FocusRing {}
}
