// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Which link of the chain from a phone to a field is broken.
Column {
    id: root

    spacing: Theme.unit * 4
    width: parent ? parent.width : 0

    Component.onCompleted: check.check()

    Words {
        width: parent.width
        text: qsTr("Test connection")
        font.pixelSize: Theme.title
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }
    Card {
        width: parent.width
        Repeater {
            model: check.rows
            Item {
                id: row
                required property var modelData
                readonly property string state: modelData.state
                width: parent.width
                height: Math.max(words.implicitHeight, mark.height)
                Accessible.role: Accessible.StaticText
                Accessible.name: modelData.title + ": " + modelData.detail
                Item {
                    id: mark
                    width: Theme.body * 1.4
                    height: width
                    anchors.left: parent.left
                    Symbol {
                        anchors.fill: parent
                        visible: row.state !== "pending"
                        name: row.state === "good" ? "checkmark.circle.fill"
                            : row.state === "warning" ? "exclamationmark.circle.fill" : "xmark.circle.fill"
                        color: row.state === "good" ? Theme.good : row.state === "warning" ? Theme.warning : Theme.bad
                    }
                    Spinner {
                        visible: row.state === "pending"
                        size: parent.width
                    }
                }
                Column {
                    id: words
                    anchors.left: mark.right
                    anchors.right: parent.right
                    anchors.leftMargin: Theme.unit * 3
                    Words {
                        width: parent.width
                        text: row.modelData.title
                        font.weight: Font.DemiBold
                        Accessible.ignored: true
                    }
                    Words {
                        width: parent.width
                        text: row.modelData.detail
                        quiet: true
                        Accessible.ignored: true
                    }
                }
            }
        }
        ActionButton {
            anchors.left: parent.left
            label: qsTr("Check again")
            enabled: !check.checking
            onClicked: check.check()
        }
    }
    Card {
        width: parent.width
        title: qsTr("Test field")
        Words {
            width: parent.width
            quiet: true
            text: qsTr("Click in this field, then speak on a paired iPhone. The text arrives here, even before Accessibility is allowed.")
        }
        TextBox {
            id: field
            width: parent.width
            height: 90
            label: qsTr("Test field")
            text: check.fieldText
            edit.onTextChanged: if (edit.text !== check.fieldText) check.fieldText = edit.text
            edit.onActiveFocusChanged: check.setFocused(edit.activeFocus)
            Connections {
                target: check
                function onChanged() {
                    if (field.text !== check.fieldText) field.text = check.fieldText
                }
            }
        }
        Row {
            visible: check.received
            width: parent.width
            spacing: Theme.unit * 3
            NoteRow {
                anchors.verticalCenter: parent.verticalCenter
                width: implicitWidth
                symbol: "checkmark.circle.fill"
                tint: Theme.good
                text: qsTr("Received from iPhone")
            }
            ActionButton {
                label: qsTr("Clear")
                onClicked: check.clear()
            }
        }
    }
}
