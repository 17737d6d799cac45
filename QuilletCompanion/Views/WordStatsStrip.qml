// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Four figures that lead to all others.
Pressable {
    id: root

    label: qsTr("Words transcribed today: %1. In total: %2.").arg(statistics.today).arg(statistics.total)
    hint: qsTr("Opens Statistics")
    implicitHeight: row.implicitHeight + Theme.unit * 4

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: root.down ? Theme.pressed : root.hovered ? Theme.hover : Theme.card
        border.width: 1
        border.color: Theme.border
    }
    Row {
        id: row
        anchors.centerIn: parent
        width: parent.width - Theme.unit * 4
        Repeater {
            model: [[qsTr("Today"), statistics.today], [qsTr("Week"), statistics.week],
                    [qsTr("Month"), statistics.month], [qsTr("Total"), statistics.total]]
            Column {
                required property var modelData
                width: row.width / 4
                Words {
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    text: parent.modelData[1]
                    font.weight: Font.DemiBold
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 8
                    wrapMode: Text.NoWrap
                    Accessible.ignored: true
                }
                Words {
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    text: parent.modelData[0]
                    quiet: true
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 8
                    wrapMode: Text.NoWrap
                    Accessible.ignored: true
                }
            }
        }
    }
    FocusRing {}
}
