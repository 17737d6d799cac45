// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// What one thing is like now: its name at the left, the answer at the right.
Item {
    id: root

    property string title
    property string value
    property color tint: Theme.text

    implicitHeight: Math.max(name.implicitHeight, answer.implicitHeight)
    Accessible.role: Accessible.StaticText
    Accessible.name: title + ": " + value

    Words {
        id: name
        text: root.title
        anchors.left: parent.left
        anchors.right: answer.left
        anchors.rightMargin: Theme.unit * 2
        Accessible.ignored: true
    }
    Words {
        id: answer
        text: root.value
        color: root.tint
        font.weight: Font.DemiBold
        anchors.right: parent.right
        Accessible.ignored: true
    }
}
