// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// What a window shows: a column that scrolls where the screen is too small for it, and follows the keyboard's focus.
Flickable {
    id: root

    property real padding: Theme.unit * 6
    property real spacing: Theme.unit * 4
    readonly property real wantedHeight: column.implicitHeight + padding * 2
    default property alias content: column.data

    // A window that is only being made has no size yet, and begins at its top.
    function reveal(item) {
        if (!item || !root.Window.window.visible || contentHeight <= height)
            return
        const top = item.mapToItem(column, 0, 0).y
        if (top < contentY)
            contentY = Math.max(0, top - padding)
        else if (top + item.height + padding > contentY + height)
            contentY = Math.min(contentHeight - height, top + item.height + padding * 2 - height)
    }

    contentWidth: width
    contentHeight: wantedHeight
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    interactive: contentHeight > height
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true

    Connections {
        target: root.Window.window
        function onActiveFocusItemChanged() {
            root.reveal(root.Window.window.activeFocusItem)
        }
    }
    Column {
        id: column
        x: root.padding
        y: root.padding
        width: root.width - root.padding * 2
        spacing: root.spacing
    }
    Rectangle {
        visible: root.contentHeight > root.height
        parent: root
        anchors.right: parent.right
        width: Theme.unit
        radius: width / 2
        color: Theme.fieldBorder
        opacity: 0.6
        y: root.visibleArea.yPosition * root.height
        height: root.visibleArea.heightRatio * root.height
    }
}
