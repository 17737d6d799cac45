// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A symbol of our set in the colour of the text beside it. Decoration for a screen reader, which hears that text.
Image {
    property string name
    property color color: Theme.text
    property real size: Theme.body * 1.2

    width: size
    height: size
    sourceSize: Qt.size(size, size)
    // Without a "#", which an address cuts off.
    source: name ? "image://symbol/" + name + "/" + color.toString().substring(1) : ""
    Accessible.ignored: true
}
