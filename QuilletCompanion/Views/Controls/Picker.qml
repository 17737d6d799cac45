// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// One of several. Shows the choice and opens the list under it; arrow keys change the choice without the list. It asks for
// a change by `picked`: whoever owns the value decides.
Item {
    id: root

    property string label
    property string detail
    property var options: []    // of texts
    property int current: -1    // place in `options`; -1 shows nothing
    readonly property bool open: list.visible
    signal picked(int index)

    function choose(index) {
        list.visible = false
        if (index >= 0 && index < options.length && index !== current)
            picked(index)
    }
    function toggleList() {
        if (!enabled)
            return
        list.visible = !list.visible
        list.marked = current
    }

    implicitWidth: 300
    implicitHeight: Math.max(Theme.target, words.implicitHeight)
    z: open ? 100 : 0
    opacity: enabled ? 1 : 0.45

    Column {
        id: words
        anchors.left: parent.left
        anchors.right: box.left
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
        id: box
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(root.width * 0.55, Math.max(120, shown.implicitWidth + Theme.unit * 12))
        height: Theme.target
        radius: Theme.radius
        color: mouse.containsMouse ? Theme.hover : Theme.field
        border.width: 1
        border.color: Theme.fieldBorder
        activeFocusOnTab: enabled
        Accessible.role: Accessible.ComboBox
        Accessible.name: root.label
        Accessible.description: shown.text
        Accessible.focusable: enabled
        Accessible.onPressAction: root.toggleList()
        Accessible.onIncreaseAction: root.choose(root.current + 1)
        Accessible.onDecreaseAction: root.choose(root.current - 1)
        onActiveFocusChanged: if (!activeFocus) list.visible = false
        Keys.onSpacePressed: root.open ? root.choose(list.marked) : root.toggleList()
        Keys.onReturnPressed: root.open ? root.choose(list.marked) : root.toggleList()
        Keys.onDownPressed: root.open ? list.mark(1) : root.choose(root.current + 1)
        Keys.onUpPressed: root.open ? list.mark(-1) : root.choose(root.current - 1)
        Keys.onEscapePressed: event => {
            event.accepted = root.open
            list.visible = false
        }

        Words {
            id: shown
            anchors.left: parent.left
            anchors.right: arrow.left
            anchors.margins: Theme.unit * 2
            anchors.verticalCenter: parent.verticalCenter
            text: root.current >= 0 && root.current < root.options.length ? root.options[root.current] : ""
            elide: Text.ElideRight
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
        Symbol {
            id: arrow
            name: "chevron.down"
            size: Theme.body
            anchors.right: parent.right
            anchors.rightMargin: Theme.unit * 2
            anchors.verticalCenter: parent.verticalCenter
        }
        MouseArea {
            id: mouse
            anchors.fill: parent
            hoverEnabled: true
            onClicked: {
                box.forceActiveFocus(Qt.MouseFocusReason)
                root.toggleList()
            }
        }
        FocusRing {}
    }
    Rectangle {
        id: list
        property int marked: -1

        function mark(step) {
            marked = Math.min(root.options.length - 1, Math.max(0, marked + step))
        }

        visible: false
        z: 100
        anchors.right: box.right
        anchors.top: box.bottom
        anchors.topMargin: 2
        width: box.width
        height: column.implicitHeight + Theme.unit * 2
        radius: Theme.radius
        color: Theme.card
        border.width: 1
        border.color: Theme.fieldBorder
        Column {
            id: column
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.margins: Theme.unit
            Repeater {
                model: root.open ? root.options : []
                Rectangle {
                    id: option
                    required property int index
                    required property string modelData
                    width: column.width
                    height: Theme.target
                    radius: Theme.radius
                    color: index === list.marked ? Theme.hover : "transparent"
                    Accessible.role: Accessible.ListItem
                    Accessible.name: modelData
                    Accessible.onPressAction: root.choose(index)
                    Words {
                        anchors.left: parent.left
                        anchors.right: parent.right
                        anchors.margins: Theme.unit * 1.5
                        anchors.verticalCenter: parent.verticalCenter
                        text: option.modelData
                        font.weight: option.index === root.current ? Font.DemiBold : Font.Normal
                        elide: Text.ElideRight
                        wrapMode: Text.NoWrap
                        Accessible.ignored: true
                    }
                    MouseArea {
                        anchors.fill: parent
                        hoverEnabled: true
                        onEntered: list.marked = option.index
                        onClicked: root.choose(option.index)
                    }
                }
            }
        }
    }
}
