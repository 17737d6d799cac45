// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

PageWindow {
    id: root

    title: qsTr("Pair an iPhone")
    pageWidth: 420

    PairingPane {
        pairing: thePairing
        onFinished: root.close()
    }
}
