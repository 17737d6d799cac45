// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Words in the pill: as wide as they are, up to `room`; then in a second line.
Words {
    id: root

    property real room: 300

    width: Math.min(Math.ceil(measure.advanceWidth), room)
    anchors.verticalCenter: parent.verticalCenter
    color: Theme.pillInk
    maximumLineCount: 3
    elide: Text.ElideRight

    TextMetrics {
        id: measure
        font: root.font
        text: root.text
    }
}
