// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A question over its window, which waits for the answer. Escape answers like the second button.
Rectangle {
    id: root

    property string title
    property string message
    property string action
    property bool destructive: true
    property string refusal: qsTr("Cancel")
    signal confirmed
    signal dismissed

    property Item asker // what had the keyboard before

    function ask() {
        asker = Window.activeFocusItem
        visible = true
        cancel.forceActiveFocus(Qt.PopupFocusReason)
    }
    function answer(yes) {
        visible = false
        // Without a place the keyboard would stay here, where nothing is seen any more; so it would if the window itself had
        // it before, which hands it down again.
        const back = asker && asker.activeFocusOnTab && asker.visible && asker.enabled
        const next = back ? asker : nextItemInFocusChain()
        if (next)
            next.forceActiveFocus(Qt.PopupFocusReason)
        if (yes)
            confirmed()
        else
            dismissed()
    }

    anchors.fill: parent
    visible: false
    z: 1000
    color: "#80000000"
    Accessible.role: Accessible.Dialog
    Accessible.name: title !== "" ? title : message
    Keys.onEscapePressed: answer(false)

    // Nothing behind it is clicked or scrolled.
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onWheel: wheel => wheel.accepted = true
    }
    Card {
        anchors.centerIn: parent
        width: Math.min(parent.width - Theme.unit * 8, 380)
        title: root.title
        Words {
            text: root.message
            width: parent.width
        }
        Row {
            anchors.right: parent.right
            spacing: Theme.unit * 2
            ActionButton {
                id: cancel
                label: root.refusal
                onClicked: root.answer(false)
                KeyNavigation.tab: go
                KeyNavigation.backtab: go
            }
            ActionButton {
                id: go
                label: root.action
                prominent: true
                destructive: root.destructive
                onClicked: root.answer(true)
                KeyNavigation.tab: cancel
                KeyNavigation.backtab: cancel
            }
        }
    }
}
