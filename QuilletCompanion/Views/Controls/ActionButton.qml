// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A button with words, and a symbol where one helps. `prominent` is the one that a window expects to be pressed.
Pressable {
    id: root

    property string symbol
    property bool prominent: false
    property bool destructive: false
    property bool link: false

    readonly property color ground: {
        if (link)
            return "transparent"
        const base = prominent ? (destructive ? Theme.bad : Theme.accent) : Theme.card
        if (prominent)
            return down ? Qt.darker(base, 1.15) : base
        return down ? Theme.pressed : hovered ? Theme.hover : base
    }
    readonly property color ink: {
        if (prominent)
            return destructive ? Theme.badInk : Theme.accentInk
        return destructive ? Theme.bad : link ? Theme.accent : Theme.text
    }

    implicitWidth: row.implicitWidth + Theme.unit * (link ? 2 : 6)
    implicitHeight: Math.max(Theme.target, row.implicitHeight + Theme.unit * 2)

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: root.ground
        border.width: root.link || root.prominent ? 0 : 1
        border.color: Theme.fieldBorder
    }
    Row {
        id: row
        anchors.centerIn: parent
        spacing: Theme.unit * 1.5
        Symbol {
            visible: root.symbol !== ""
            name: root.symbol
            color: root.ink
            anchors.verticalCenter: parent.verticalCenter
        }
        Words {
            text: root.label
            color: root.ink
            font.underline: root.link
            wrapMode: Text.NoWrap
            anchors.verticalCenter: parent.verticalCenter
            Accessible.ignored: true
        }
    }
    FocusRing {}
}
