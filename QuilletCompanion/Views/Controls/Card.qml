// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// A group of things that belong together, with a heading where there is one.
Rectangle {
    id: root

    property string title
    property real spacing: Theme.unit * 3
    default property alias content: column.data

    implicitWidth: 300
    implicitHeight: column.implicitHeight + Theme.unit * 8
    radius: Theme.radius * 1.25
    color: Theme.card
    border.width: 1
    border.color: Theme.border

    Column {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.unit * 4
        spacing: root.spacing
        Words {
            visible: root.title !== ""
            text: root.title
            width: parent.width
            font.pixelSize: Theme.headline
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
    }
}
