// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

PageWindow {
    title: qsTr("Test Connection")
    pageWidth: 440
    padding: 24

    CheckPane {}
}
