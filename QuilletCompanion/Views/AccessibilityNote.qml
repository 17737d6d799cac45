// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Which programs show their fields, and what helps those that don't.
Words {
    quiet: true
    text: qsTr("Most apps show their fields by themselves. Chromium and browsers made from it must be started with --force-renderer-accessibility, Java programs need their accessibility bridge, and of terminals only some show themselves, such as xfce4-terminal and Sakura.")
}
