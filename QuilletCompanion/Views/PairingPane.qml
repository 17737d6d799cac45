// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A pairing from its code to its end.
Column {
    id: root

    property var pairing // a PairingView
    signal finished

    spacing: Theme.unit * 4
    width: parent ? parent.width : 0

    Column {
        visible: root.pairing.phase === "starting"
        width: parent.width
        spacing: Theme.unit * 3
        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Preparing a pairing code…")
        }
    }
    Column {
        visible: root.pairing.phase === "invitation"
        width: parent.width
        spacing: Theme.unit * 3
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Pair an iPhone")
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Open Quillet on your iPhone and scan this code.")
        }
        Rectangle {
            visible: !root.pairing.showCode
            anchors.horizontalCenter: parent.horizontalCenter
            width: 220 + Theme.unit * 6
            height: width
            radius: Theme.radius
            color: "#ffffff"
            border.width: 1
            border.color: Theme.border
            Image {
                anchors.centerIn: parent
                width: 220
                height: 220
                smooth: false
                source: root.pairing.qrContent === "" ? "" : "image://qr/" + encodeURIComponent(root.pairing.qrContent)
                Accessible.role: Accessible.Graphic
                Accessible.name: qsTr("Pairing QR code")
            }
        }
        Column {
            visible: root.pairing.showCode
            width: parent.width
            spacing: Theme.unit * 2
            Words {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("Enter this code on your iPhone")
            }
            Words {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: root.pairing.code
                font.pixelSize: Math.round(26 * 96 / 72)
                font.weight: Font.DemiBold
                font.letterSpacing: 2
            }
        }
        NoteRow {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(implicitWidth, parent.width)
            visible: root.pairing.networkTrouble
            symbol: "wifi.exclamationmark"
            text: qsTr("Waiting for the network…")
            tint: Theme.warning
        }
        Words {
            id: expiry
            readonly property int seconds: root.pairing.secondsLeft
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Expires in %1").arg(Math.floor(seconds / 60) + ":" + String(seconds % 60).padStart(2, "0"))
            color: seconds > 15 ? Theme.secondary : Theme.warning
            Accessible.name: qsTr("Code refreshes in %1 seconds", "", seconds).arg(seconds)
        }
        ActionButton {
            anchors.horizontalCenter: parent.horizontalCenter
            link: true
            label: root.pairing.showCode ? qsTr("Show the QR code instead") : qsTr("Enter code instead")
            onClicked: root.pairing.showCode = !root.pairing.showCode
        }
    }
    Column {
        readonly property bool waiting: root.pairing.phase === "confirming"
        visible: root.pairing.phase === "verify" || waiting
        width: parent.width
        spacing: Theme.unit * 4
        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "iphone.gen3"
            size: 40
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Check that your iPhone shows the same four words.")
        }
        Grid {
            anchors.horizontalCenter: parent.horizontalCenter
            columns: 2
            spacing: Theme.unit * 2
            Accessible.role: Accessible.StaticText
            Accessible.name: qsTr("Verification words: %1").arg(root.pairing.words.join(", "))
            Repeater {
                model: root.pairing.words
                Rectangle {
                    required property string modelData
                    width: 150
                    height: word.implicitHeight + Theme.unit * 4
                    radius: Theme.radius
                    color: Theme.card
                    border.width: 1
                    border.color: Theme.border
                    Words {
                        id: word
                        anchors.centerIn: parent
                        text: parent.modelData
                        font.pixelSize: Theme.headline
                        font.weight: Font.DemiBold
                        Accessible.ignored: true
                    }
                }
            }
        }
        Words {
            width: parent.width
            visible: !parent.waiting
            horizontalAlignment: Text.AlignHCenter
            quiet: true
            text: qsTr("If the words are different, cancel. Someone else may be trying to pair.")
        }
        Row {
            visible: parent.waiting
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.unit * 2
            Spinner {
                anchors.verticalCenter: parent.verticalCenter
            }
            Words {
                text: qsTr("Confirm on your iPhone to finish.")
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.unit * 2
            ActionButton {
                label: qsTr("Cancel pairing")
                onClicked: root.pairing.cancel()
            }
            ActionButton {
                visible: root.pairing.phase === "verify"
                label: qsTr("Confirm")
                prominent: true
                onClicked: root.pairing.confirm()
            }
        }
    }
    Column {
        visible: root.pairing.phase === "paired"
        width: parent.width
        spacing: Theme.unit * 3
        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "checkmark.circle.fill"
            size: 44
            color: Theme.good
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("“%1” is paired").arg(root.pairing.phoneName)
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("You can pair more iPhones at any time from the menu bar.")
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.unit * 2
            ActionButton {
                label: qsTr("Pair another iPhone")
                onClicked: root.pairing.start()
            }
            ActionButton {
                label: qsTr("Continue")
                prominent: true
                onClicked: root.finished()
            }
        }
    }
    Column {
        visible: root.pairing.phase === "failed"
        width: parent.width
        spacing: Theme.unit * 3
        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: root.pairing.failureSymbol
            size: 40
            color: Theme.warning
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.pairing.failureTitle
            font.pixelSize: Theme.headline
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Words {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.pairing.failureDetail
        }
        Row {
            visible: root.pairing.retrying
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.unit * 2
            Spinner {
                anchors.verticalCenter: parent.verticalCenter
            }
            Words {
                text: qsTr("Retrying automatically…")
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        ActionButton {
            anchors.horizontalCenter: parent.horizontalCenter
            label: root.pairing.failureButton
            prominent: true
            onClicked: root.pairing.start()
        }
    }
}
