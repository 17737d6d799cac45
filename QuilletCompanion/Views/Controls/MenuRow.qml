// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A line of a menu: symbol, words, and the whole width to hit.
Pressable {
    id: root

    property string symbol

    implicitWidth: row.implicitWidth + Theme.unit * 4
    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"
    }
    Row {
        id: row
        anchors.verticalCenter: parent.verticalCenter
        anchors.left: parent.left
        anchors.leftMargin: Theme.unit * 2
        spacing: Theme.unit * 2
        Symbol {
            name: root.symbol
            visible: root.symbol !== ""
            anchors.verticalCenter: parent.verticalCenter
        }
        Words {
            text: root.label
            wrapMode: Text.NoWrap
            anchors.verticalCenter: parent.verticalCenter
            Accessible.ignored: true
        }
    }
    FocusRing {
        anchors.margins: 0
    }
}
