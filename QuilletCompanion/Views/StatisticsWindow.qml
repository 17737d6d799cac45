// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

PageWindow {
    id: root

    title: qsTr("Statistics")
    pageWidth: 440
    pageHeight: 620

    Column {
        width: parent.width
        spacing: Theme.unit
        Words {
            width: parent.width
            text: qsTr("Words transcribed")
            quiet: true
            Accessible.role: Accessible.Heading
        }
        Words {
            width: parent.width
            text: statistics.total
            font.pixelSize: Theme.display
            font.weight: Font.Bold
            Accessible.name: statistics.totalText
        }
        Words {
            width: parent.width
            text: statistics.headline
        }
        ProgressLine {
            width: parent.width
            visible: statistics.nextText !== ""
            value: statistics.progress
            label: statistics.nextText
        }
        Words {
            width: parent.width
            visible: statistics.nextText !== ""
            quiet: true
            text: statistics.nextText
        }
    }
    Row {
        width: parent.width
        spacing: Theme.unit * 3
        Tile {
            width: (parent.width - parent.spacing * 2) / 3
            title: qsTr("Today")
            symbol: "sun.max.fill"
            tint: Theme.warning
            value: statistics.today
        }
        Tile {
            width: (parent.width - parent.spacing * 2) / 3
            title: qsTr("This week")
            symbol: "calendar"
            value: statistics.week
        }
        Tile {
            width: (parent.width - parent.spacing * 2) / 3
            title: qsTr("This month")
            symbol: "moon.stars.fill"
            value: statistics.month
        }
    }
    Card {
        width: parent.width
        NoteRow {
            visible: statistics.streakText !== ""
            width: parent.width
            symbol: "flame.fill"
            tint: Theme.warning
            text: statistics.streakText
        }
        Words {
            visible: statistics.streakText === ""
            width: parent.width
            text: qsTr("Last 7 days")
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Row {
            id: chart
            property real grown: Theme.reduceMotion ? 1 : 0
            width: parent.width
            height: 120
            Accessible.role: Accessible.Chart
            Accessible.name: qsTr("Words per day, last 7 days")
            NumberAnimation on grown {
                running: !Theme.reduceMotion
                to: 1
                duration: Theme.slow
                easing.type: Easing.OutCubic
            }
            Repeater {
                model: statistics.lastWeek
                Item {
                    id: day
                    required property var modelData
                    width: chart.width / 7
                    height: chart.height
                    Accessible.role: Accessible.StaticText
                    Accessible.name: modelData.name + ", " + qsTr("Words") + ": " + modelData.words
                    Words {
                        anchors.horizontalCenter: parent.horizontalCenter
                        anchors.bottom: bar.top
                        anchors.bottomMargin: 2
                        quiet: true
                        visible: day.modelData.share > 0
                        text: day.modelData.words
                        wrapMode: Text.NoWrap
                        Accessible.ignored: true
                    }
                    Rectangle {
                        id: bar
                        anchors.horizontalCenter: parent.horizontalCenter
                        anchors.bottom: letter.top
                        anchors.bottomMargin: Theme.unit
                        width: parent.width * 0.55
                        height: Math.max(2, (chart.height - letter.height * 2 - Theme.unit * 2) * day.modelData.share * chart.grown)
                        radius: 3
                        color: Theme.accent
                    }
                    Words {
                        id: letter
                        anchors.horizontalCenter: parent.horizontalCenter
                        anchors.bottom: parent.bottom
                        quiet: true
                        text: day.modelData.letter
                        wrapMode: Text.NoWrap
                        Accessible.ignored: true
                    }
                }
            }
        }
    }
    NoteRow {
        width: parent.width
        visible: text !== ""
        symbol: "trophy.fill"
        tint: Theme.pending
        text: statistics.bestDay
    }
    NoteRow {
        width: parent.width
        visible: text !== ""
        symbol: "hare.fill"
        tint: Theme.good
        text: statistics.timeSaved
    }
    Card {
        width: parent.width
        visible: statistics.devices.length > 0
        title: qsTr("By device")
        Repeater {
            model: statistics.devices
            Item {
                id: device
                required property var modelData
                width: parent.width
                height: Math.max(picture.height, names.implicitHeight)
                Accessible.role: Accessible.StaticText
                Accessible.name: modelData.name + (modelData.isThisDevice ? ", " + qsTr("This device") : "") + ": " + modelData.total
                Symbol {
                    id: picture
                    name: device.modelData.symbol
                    size: Theme.title
                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                }
                Column {
                    id: names
                    anchors.left: picture.right
                    anchors.right: figure.left
                    anchors.leftMargin: Theme.unit * 2
                    anchors.verticalCenter: parent.verticalCenter
                    Words {
                        width: parent.width
                        text: device.modelData.name
                        Accessible.ignored: true
                    }
                    Words {
                        width: parent.width
                        visible: device.modelData.isThisDevice
                        quiet: true
                        text: qsTr("This device")
                        Accessible.ignored: true
                    }
                }
                Words {
                    id: figure
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    text: device.modelData.total
                    font.weight: Font.DemiBold
                    Accessible.ignored: true
                }
            }
        }
    }
    NoteRow {
        width: parent.width
        quiet: true
        symbol: statistics.isShared ? "checkmark.icloud" : "icloud.slash"
        text: statistics.isShared ? qsTr("Synced with iCloud across your devices. Only word counts are stored, never what you said.")
            : qsTr("Counted on this device. Sign in to iCloud to add up all your devices. Only word counts are stored, never what you said.")
    }
}
