// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// What can be pressed by mouse, by keyboard and by an assistive program. Its content says how it looks.
Item {
    id: root

    property string label
    property string hint
    readonly property alias hovered: mouse.containsMouse
    readonly property bool down: mouse.pressed
    signal clicked

    function press() {
        if (enabled)
            clicked()
    }

    implicitWidth: Theme.target
    implicitHeight: Theme.target
    activeFocusOnTab: enabled
    opacity: enabled ? 1 : 0.45
    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.description: hint
    Accessible.focusable: enabled
    Accessible.onPressAction: {
        forceActiveFocus(Qt.OtherFocusReason)
        press()
    }
    Keys.onSpacePressed: press()
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: {
            root.forceActiveFocus(Qt.MouseFocusReason)
            root.press()
        }
    }
}
