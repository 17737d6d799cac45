// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Which engine transcribes on this computer: the one in the program, or one that is reached at an address.
Column {
    id: root

    spacing: Theme.unit

    Row {
        width: parent.width
        spacing: Theme.unit * 2
        Field {
            id: address
            width: parent.width - use.width - parent.spacing
            label: qsTr("Engine")
            prompt: qsTr("Built in, English only")
            text: dictation.engine
            onAccepted: use.press()
        }
        ActionButton {
            id: use
            label: qsTr("Use engine")
            enabled: address.text.trim() !== dictation.engine && problem.text === ""
            onClicked: {
                dictation.setEngine(address.text)
                address.text = dictation.engine
            }
        }
    }
    Words {
        width: parent.width
        quiet: true
        text: qsTr("Leave this empty for the engine in Quillet, or write the address of your own.")
    }
    NoteRow {
        id: problem
        width: parent.width
        visible: text !== ""
        symbol: "exclamationmark.triangle.fill"
        tint: Theme.warning
        text: dictation.engineProblem(address.text)
    }
}
