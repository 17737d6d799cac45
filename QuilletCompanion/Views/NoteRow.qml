// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Words with a symbol before them.
Item {
    id: root

    property string symbol
    property string text
    property color tint: Theme.text
    property bool quiet: false

    implicitWidth: picture.width + words.implicitWidth + Theme.unit * 2
    implicitHeight: Math.max(picture.height, words.implicitHeight)

    Symbol {
        id: picture
        name: root.symbol
        color: root.tint
        anchors.left: parent.left
    }
    Words {
        id: words
        text: root.text
        quiet: root.quiet
        anchors.left: picture.right
        anchors.right: parent.right
        anchors.leftMargin: Theme.unit * 2
        anchors.verticalCenter: parent.verticalCenter
    }
}
