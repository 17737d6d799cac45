// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A small symbol of the pill that can be clicked.
Pressable {
    id: root

    property string symbol

    width: 24
    height: 24
    anchors.verticalCenter: parent.verticalCenter
    Symbol {
        anchors.centerIn: parent
        name: root.symbol
        color: Theme.pillInk
        size: 14
    }
}
