// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Window
import Quillet

// What the tray's icon shows: whether everything works, and the way to everything else.
Window {
    id: root

    width: 320
    height: Math.min(Math.ceil(page.wantedHeight), Screen.desktopAvailableHeight - 20, Screen.height - 20)
    title: qsTr("Quillet")
    color: Theme.window

    Rectangle {
        anchors.fill: parent
        color: "transparent"
        border.width: 1
        border.color: Theme.border
    }
    Page {
        id: page
        anchors.fill: parent
        padding: Theme.unit * 4
        spacing: Theme.unit * 3

        Column {
            width: parent.width
            spacing: Theme.unit / 2
            Words {
                width: parent.width
                text: desk.macName
                font.pixelSize: Theme.headline
                font.weight: Font.DemiBold
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
                Accessible.role: Accessible.Heading
            }
            Words {
                width: parent.width
                quiet: true
                text: desk.statusLine
            }
        }
        Column {
            width: parent.width
            spacing: Theme.unit * 1.5
            Repeater {
                model: desk.rows
                StatusRow {
                    required property var modelData
                    width: parent.width
                    title: modelData.title
                    value: modelData.value
                    tint: Theme.tints[modelData.tint]
                }
            }
        }
        WordStatsStrip {
            width: parent.width
            onClicked: {
                desk.dismissPopover()
                desk.openWindow("statistics")
            }
        }
        Words {
            width: parent.width
            visible: text !== ""
            text: desk.startupError
            color: Theme.bad
        }
        Words {
            width: parent.width
            visible: desk.revoked
            text: qsTr("This Mac's pairing identity was removed from the service. Reset it in Settings.")
            color: Theme.warning
        }
        ActionButton {
            visible: updates.pendingVersion !== ""
            anchors.left: parent.left
            prominent: true
            label: qsTr("Update to version %1…").arg(updates.pendingVersion)
            symbol: "arrow.down.circle.fill"
            onClicked: {
                desk.dismissPopover()
                updates.check()
            }
        }
        Rectangle {
            width: parent.width
            height: 1
            color: Theme.border
        }
        Column {
            width: parent.width
            MenuRow {
                width: parent.width
                focus: true
                label: qsTr("Pair an iPhone…")
                symbol: "iphone.badge.plus"
                onClicked: {
                    desk.dismissPopover()
                    desk.pair()
                }
            }
            MenuRow {
                width: parent.width
                label: qsTr("Test connection…")
                symbol: "antenna.radiowaves.left.and.right"
                onClicked: {
                    desk.dismissPopover()
                    desk.openWindow("connection-test")
                }
            }
            MenuRow {
                width: parent.width
                visible: !desk.onboardingCompleted
                label: qsTr("Continue setup…")
                symbol: "list.bullet.clipboard"
                onClicked: {
                    desk.dismissPopover()
                    desk.openWindow("onboarding")
                }
            }
            MenuRow {
                width: parent.width
                visible: dictation.hasLastText
                label: qsTr("Copy last dictation")
                symbol: "doc.on.doc"
                onClicked: {
                    desk.dismissPopover()
                    dictation.copyLastText()
                }
            }
            MenuRow {
                width: parent.width
                label: qsTr("Statistics")
                symbol: "chart.bar.fill"
                onClicked: {
                    desk.dismissPopover()
                    desk.openWindow("statistics")
                }
            }
            MenuRow {
                width: parent.width
                label: qsTr("Settings")
                symbol: "gearshape"
                onClicked: {
                    desk.dismissPopover()
                    desk.openWindow("settings")
                }
            }
            MenuRow {
                width: parent.width
                visible: updates.available
                label: qsTr("Check for Updates…")
                symbol: "arrow.triangle.2.circlepath"
                onClicked: {
                    desk.dismissPopover()
                    updates.check()
                }
            }
        }
        Rectangle {
            width: parent.width
            height: 1
            color: Theme.border
        }
        MenuRow {
            width: parent.width
            label: qsTr("Quit Quillet")
            symbol: "power"
            onClicked: desk.quit()
        }
    }
    Shortcut {
        sequences: ["Esc"]
        onActivated: desk.dismissPopover()
    }
}
