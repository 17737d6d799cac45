// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A switch with its words beside it and, under them, what it means. It shows `on` and asks for a change by `toggled`:
// whoever owns the value decides.
Item {
    id: root

    property string label
    property string detail
    property bool on: false
    signal toggled(bool value)

    function toggle() {
        if (enabled)
            toggled(!on)
    }

    implicitWidth: 300
    implicitHeight: Math.max(Theme.target, words.implicitHeight)
    activeFocusOnTab: enabled
    opacity: enabled ? 1 : 0.45
    Accessible.role: Accessible.CheckBox
    Accessible.name: label
    Accessible.description: detail
    Accessible.focusable: enabled
    Accessible.checkable: true
    Accessible.checked: on
    Accessible.onToggleAction: toggle()
    Accessible.onPressAction: toggle()
    Keys.onSpacePressed: toggle()

    MouseArea {
        anchors.fill: parent
        onClicked: {
            root.forceActiveFocus(Qt.MouseFocusReason)
            root.toggle()
        }
    }
    Column {
        id: words
        anchors.left: parent.left
        anchors.right: track.left
        anchors.rightMargin: Theme.unit * 3
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.unit / 2
        Words {
            text: root.label
            width: parent.width
            Accessible.ignored: true
        }
        Words {
            text: root.detail
            visible: text !== ""
            quiet: true
            width: parent.width
            Accessible.ignored: true
        }
    }
    Rectangle {
        id: track
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: height * 1.75
        height: Math.round(Theme.body * 1.5)
        radius: height / 2
        color: root.on ? Theme.accent : Theme.field
        border.width: 1
        border.color: root.on ? Theme.accent : Theme.fieldBorder
        Rectangle {
            y: 3
            x: (root.on !== (Qt.application.layoutDirection === Qt.RightToLeft)) ? parent.width - width - 3 : 3
            width: parent.height - 6
            height: width
            radius: width / 2
            color: root.on ? Theme.accentInk : Theme.fieldBorder
            Behavior on x {
                enabled: !Theme.reduceMotion
                NumberAnimation { duration: Theme.quick }
            }
        }
        FocusRing {
            shown: root.activeFocus
            radius: height / 2
        }
    }
}
