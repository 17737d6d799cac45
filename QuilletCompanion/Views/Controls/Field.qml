// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A line of text to type in.
Rectangle {
    id: root

    property string label
    property string prompt
    property alias text: input.text
    readonly property alias input: input
    signal accepted

    implicitWidth: 240
    implicitHeight: Math.max(Theme.target, input.implicitHeight + Theme.unit * 2.5)
    radius: Theme.radius
    color: Theme.field
    border.width: 1
    border.color: Theme.fieldBorder
    opacity: enabled ? 1 : 0.45

    TextInput {
        id: input
        anchors.fill: parent
        anchors.margins: Theme.unit * 2
        anchors.topMargin: 0
        anchors.bottomMargin: 0
        verticalAlignment: TextInput.AlignVCenter
        color: Theme.text
        selectionColor: Theme.accent
        selectedTextColor: Theme.accentInk
        font.pixelSize: Theme.body
        clip: true
        selectByMouse: true
        activeFocusOnTab: enabled
        onAccepted: root.accepted()
        Accessible.role: Accessible.EditableText
        Accessible.name: root.label
        Accessible.description: root.prompt
        Accessible.editable: true
        Accessible.focusable: enabled

        Words {
            anchors.fill: parent
            verticalAlignment: Text.AlignVCenter
            visible: input.text === "" && input.preeditText === ""
            text: root.prompt
            color: Theme.secondary
            elide: Text.ElideRight
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
    }
    FocusRing {
        shown: input.activeFocus
    }
}
