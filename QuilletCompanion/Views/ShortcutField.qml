// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A shortcut with what it does, and the button that records another one.
Column {
    id: root

    property string role
    property string label
    property string detail
    property string value
    property string problem
    property bool isSet: true

    spacing: Theme.unit

    Item {
        width: parent.width
        height: Math.max(words.implicitHeight, buttons.height)
        Column {
            id: words
            anchors.left: parent.left
            anchors.right: buttons.left
            anchors.rightMargin: Theme.unit * 3
            anchors.verticalCenter: parent.verticalCenter
            Words {
                width: parent.width
                text: root.label
            }
            Words {
                width: parent.width
                text: root.detail
                quiet: true
            }
        }
        Row {
            id: buttons
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.unit
            ActionButton {
                label: root.value
                hint: root.detail
                Accessible.name: root.label + ": " + root.value
                onClicked: dictation.record(root.role)
            }
            SymbolButton {
                symbol: "xmark"
                label: qsTr("Turn “%1” off").arg(root.label)
                enabled: root.isSet
                onClicked: dictation.clearShortcut(root.role)
            }
        }
    }
    NoteRow {
        width: parent.width
        visible: text !== ""
        symbol: "exclamationmark.triangle.fill"
        tint: Theme.warning
        text: root.problem
    }
}
