// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Window
import Quillet

// Tells for a moment that a phone's text went in.
Window {
    id: root

    width: row.implicitWidth + 28
    height: row.implicitHeight + 20
    color: Theme.card
    opacity: 0
    title: qsTr("Quillet")

    function appear() {
        fade.stop()
        if (Theme.reduceMotion)
            opacity = 1
        else
            rise.start()
        rest.restart()
    }

    Rectangle {
        anchors.fill: parent
        color: "transparent"
        border.width: 1
        border.color: Theme.border
    }
    Row {
        id: row
        anchors.centerIn: parent
        spacing: 8
        Accessible.role: Accessible.Notification
        Accessible.name: words.text
        Symbol {
            name: "checkmark.circle.fill"
            color: Theme.good
            size: Theme.body * 1.5
            anchors.verticalCenter: parent.verticalCenter
        }
        Words {
            id: words
            text: qsTr("Inserted from iPhone")
            font.weight: Font.Medium
            wrapMode: Text.NoWrap
            anchors.verticalCenter: parent.verticalCenter
            Accessible.ignored: true
        }
    }
    Timer {
        id: rest
        interval: 1500
        onTriggered: Theme.reduceMotion ? root.close() : fade.start()
    }
    NumberAnimation {
        id: rise
        target: root
        property: "opacity"
        to: 1
        duration: 150
    }
    NumberAnimation {
        id: fade
        target: root
        property: "opacity"
        to: 0
        duration: 250
        onFinished: root.close()
    }
}
