// SPDX-License-Identifier: MIT
pragma Singleton
import QtQuick
import Quillet

// Colours, spacing and type: the one place for each. Every pair of text and ground has a contrast of at least 4.5 to 1.
QtObject {
    readonly property bool dark: Look.dark
    readonly property bool contrast: Look.highContrast
    readonly property bool reduceMotion: Look.reduceMotion

    readonly property color window: contrast ? (dark ? "#000000" : "#ffffff") : (dark ? "#1e1e20" : "#f4f4f6")
    readonly property color card: contrast ? window : (dark ? "#2a2a2d" : "#ffffff")
    readonly property color field: contrast ? window : (dark ? "#151517" : "#ffffff")
    readonly property color border: contrast ? text : (dark ? "#4b4b51" : "#cfcfd6")
    readonly property color fieldBorder: contrast ? text : (dark ? "#85858d" : "#85858d")
    readonly property color text: contrast ? (dark ? "#ffffff" : "#000000") : (dark ? "#f4f4f6" : "#1b1b1e")
    readonly property color secondary: contrast ? text : (dark ? "#b0b0b8" : "#55555e")
    readonly property color accent: contrast ? (dark ? "#8fc7ff" : "#00409a") : (dark ? "#7ab7ff" : "#0a5cbf")
    readonly property color accentInk: dark ? "#0c141f" : "#ffffff"
    readonly property color hover: dark ? "#3a3a3f" : "#e6e6ec"
    readonly property color pressed: dark ? "#4a4a50" : "#d8d8e0"

    readonly property color good: dark ? "#5ecb7a" : "#18702f"
    readonly property color warning: dark ? "#f2ae52" : "#8a4f00"
    readonly property color pending: dark ? "#e6c84f" : "#735a00"
    readonly property color bad: dark ? "#ff8f87" : "#b3261e"
    readonly property color badInk: dark ? "#2a0906" : "#ffffff"
    // By the names that the texts' sources give them.
    readonly property var tints: ({none: text, green: good, yellow: pending, orange: warning, red: bad})
    // The pill is the same on every desktop: it lies over other programs' windows.
    readonly property color pill: "#1c1c1f"
    readonly property color pillButton: "#48484d"
    readonly property color pillInk: "#ffffff"

    // The desktop's own size, in pixels; all others follow from it.
    readonly property real body: Look.fontPixels
    readonly property real caption: Math.round(body * 0.87)
    readonly property real headline: Math.round(body * 1.15)
    readonly property real title: Math.round(body * 1.55)
    readonly property real display: Math.round(body * 2.6)

    readonly property real unit: Math.max(4, Math.round(body / 3.5))
    readonly property real radius: unit * 2
    // Nothing that is clicked is smaller.
    readonly property real target: Math.max(28, Math.round(body * 2.1))
    readonly property int quick: reduceMotion ? 0 : 120
    readonly property int slow: reduceMotion ? 0 : 600
}
