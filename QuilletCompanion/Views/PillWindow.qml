// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Window
import Quillet

// The phase of a dictation at the bottom of the screen, and the button that begins one. The window is larger than what is
// seen of it, so that it need not move while its content changes.
Window {
    id: root

    readonly property string phase: dictation.phase
    readonly property rect outline: Qt.rect(pill.x, pill.y, pill.width, pill.height)

    title: qsTr("Quillet")
    width: 460
    height: 84
    color: "transparent"
    onOutlineChanged: panel.shape(root, outline, pill.radius)

    Rectangle {
        id: pill
        readonly property real padding: 12

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        width: Math.min(root.width, row.width + padding * 2)
        height: Math.min(root.height, Math.max(40, row.height + 12))
        radius: 20
        color: Theme.pill
        clip: true
        LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
        LayoutMirroring.childrenInherit: true

        Behavior on width {
            enabled: !Theme.reduceMotion
            // Response 0.18 s, damping 0.85, in this animation's steps of 16 ms.
            SpringAnimation {
                spring: 19.5
                damping: 0.95
                epsilon: 0.25
            }
        }
        HoverHandler {
            id: hover
        }
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 8

            Pressable {
                visible: root.phase === "idle"
                width: start.width
                height: 28
                label: qsTr("Start dictation")
                hint: dictation.hint
                onClicked: dictation.toggleFromPanel()
                Row {
                    id: start
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: 8
                    Symbol {
                        name: "mic.fill"
                        color: Theme.pillInk
                        size: 24
                    }
                    PillWords {
                        visible: hover.hovered
                        room: 390
                        text: dictation.hint
                        Accessible.ignored: true
                    }
                }
            }
            PillButton {
                visible: root.phase === "recording"
                label: qsTr("Cancel")
                symbol: "xmark"
                onClicked: dictation.cancel()
            }
            Row {
                id: meter
                readonly property var bars: dictation.bars
                visible: root.phase === "recording"
                LayoutMirroring.enabled: false // the newest is at the right
                anchors.verticalCenter: parent.verticalCenter
                height: 22
                spacing: 2.5
                Repeater {
                    model: 16
                    Rectangle {
                        required property int index
                        y: (22 - height) / 2
                        width: 3
                        height: meter.bars[index]
                        radius: 1.5
                        color: Theme.pillInk
                    }
                }
            }
            PillButton {
                visible: root.phase === "recording"
                label: qsTr("Stop and insert")
                symbol: "stop.fill"
                onClicked: dictation.stop()
            }
            Row {
                visible: root.phase === "transcribing"
                anchors.verticalCenter: parent.verticalCenter
                spacing: 4
                Repeater {
                    model: 3
                    Rectangle {
                        required property int index
                        width: 6
                        height: 6
                        radius: 3
                        color: Theme.pillInk
                        opacity: dictation.dotOpacity(index, wave.seconds, !Theme.reduceMotion)
                    }
                }
                Timer {
                    id: wave
                    property real seconds: 0
                    interval: 50
                    repeat: true
                    running: root.phase === "transcribing" && !Theme.reduceMotion
                    onTriggered: seconds += interval / 1000
                }
            }
            Symbol {
                visible: dictation.outcome !== ""
                anchors.verticalCenter: parent.verticalCenter
                name: root.phase === "inserted" ? "checkmark.circle.fill"
                    : root.phase === "notInserted" ? "text.badge.xmark" : "exclamationmark.triangle.fill"
                color: Theme.pillInk
                size: 18
            }
            PillWords {
                visible: text !== ""
                room: root.phase === "notInserted" ? 350 - copy.width : 350
                text: dictation.outcome
            }
            Pressable {
                id: copy
                visible: root.phase === "notInserted"
                width: copyWords.width + 20
                height: 28
                anchors.verticalCenter: parent.verticalCenter
                label: qsTr("Copy text")
                onClicked: dictation.copyOutcome()
                Rectangle {
                    anchors.fill: parent
                    radius: height / 2
                    color: Theme.pillButton
                }
                PillWords {
                    id: copyWords
                    anchors.horizontalCenter: parent.horizontalCenter
                    room: 150
                    text: qsTr("Copy text")
                    Accessible.ignored: true
                }
            }
            PillButton {
                visible: root.phase === "notInserted" || root.phase === "failed"
                label: qsTr("Cancel")
                symbol: "xmark"
                onClicked: dictation.dismiss()
            }
        }
    }
}
