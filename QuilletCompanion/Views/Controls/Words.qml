// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Text that is read, wrapped where there is a width for it.
Text {
    property bool quiet: false

    color: quiet ? Theme.secondary : Theme.text
    font.pixelSize: quiet ? Theme.caption : Theme.body
    wrapMode: Text.Wrap
    textFormat: Text.PlainText
    horizontalAlignment: Text.AlignLeft
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
