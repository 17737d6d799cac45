// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Window
import Quillet

// A window as large as its page, if the screen has room for it. Escape closes it.
Window {
    id: root

    property real pageWidth: 440
    property real pageHeight: page.wantedHeight
    property alias padding: page.padding
    property alias spacing: page.spacing
    default property alias content: page.content
    property alias above: above.data

    width: pageWidth
    height: Math.min(Math.ceil(pageHeight), Screen.desktopAvailableHeight - 60, Screen.height - 60)
    minimumWidth: pageWidth
    maximumWidth: pageWidth
    color: Theme.window
    // No dialog: some desktops keep those of a program over all its windows, also over the pill.
    flags: Qt.Window

    Page {
        id: page
        anchors.fill: parent
    }
    Item {
        id: above
        anchors.fill: parent
        LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
        LayoutMirroring.childrenInherit: true
    }
    Shortcut {
        sequences: ["Esc", StandardKey.Close]
        onActivated: root.close()
    }
}
