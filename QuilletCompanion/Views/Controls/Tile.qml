// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A figure with its name and a symbol.
Rectangle {
    id: root

    property string title
    property string symbol
    property color tint: Theme.accent
    property string value

    implicitWidth: 120
    implicitHeight: column.implicitHeight + Theme.unit * 6
    radius: Theme.radius * 1.25
    color: Theme.card
    border.width: 1
    border.color: Theme.border
    Accessible.role: Accessible.StaticText
    Accessible.name: root.title + ": " + root.value

    Column {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.margins: Theme.unit * 3
        spacing: Theme.unit
        Symbol {
            anchors.left: parent.left
            name: root.symbol
            color: root.tint
        }
        Words {
            text: root.value
            width: parent.width
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: Theme.caption
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
        Words {
            text: root.title
            width: parent.width
            quiet: true
            Accessible.ignored: true
        }
    }
}
