// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// Several lines of text to type in. Tab leaves it, as it leaves every other control.
Rectangle {
    id: root

    property string label
    property string prompt
    property alias text: edit.text
    readonly property alias edit: edit

    implicitWidth: 240
    implicitHeight: 90
    radius: Theme.radius
    color: Theme.field
    border.width: 1
    border.color: Theme.fieldBorder

    Flickable {
        id: view
        anchors.fill: parent
        anchors.margins: Theme.unit * 2
        contentWidth: width
        contentHeight: edit.implicitHeight
        clip: true

        function showCursor(rectangle) {
            if (contentY >= rectangle.y)
                contentY = rectangle.y
            else if (contentY + height <= rectangle.y + rectangle.height)
                contentY = rectangle.y + rectangle.height - height
        }

        TextEdit {
            id: edit
            width: view.width
            height: Math.max(implicitHeight, view.height)
            color: Theme.text
            selectionColor: Theme.accent
            selectedTextColor: Theme.accentInk
            font.pixelSize: Theme.body
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            selectByMouse: true
            activeFocusOnTab: enabled
            onCursorRectangleChanged: view.showCursor(cursorRectangle)
            KeyNavigation.priority: KeyNavigation.BeforeItem
            Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
            Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
            Accessible.role: Accessible.EditableText
            Accessible.name: root.label
            Accessible.description: root.prompt
            Accessible.editable: true
            Accessible.multiLine: true
            Accessible.focusable: enabled

            Words {
                anchors.fill: parent
                visible: edit.text === "" && edit.preeditText === ""
                text: root.prompt
                color: Theme.secondary
                Accessible.ignored: true
            }
        }
    }
    FocusRing {
        shown: edit.activeFocus
    }
}
