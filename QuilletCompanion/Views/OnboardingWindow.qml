// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// From nothing to the first word, step by step.
PageWindow {
    id: root

    function finish() {
        desk.completeOnboarding()
        root.close()
    }

    title: qsTr("Set Up Quillet")
    pageWidth: 520
    padding: 32
    Component.onCompleted: if (desk.onboardingStep === "accessibility" && desk.axTrusted) desk.setOnboardingStep("ready")

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Theme.unit * 2
        Accessible.role: Accessible.StaticText
        Accessible.name: qsTr("Step %1 of %2").arg(desk.onboardingNumber).arg(4)
        Repeater {
            model: 4
            Rectangle {
                required property int index
                width: index + 1 === desk.onboardingNumber ? 22 : 8
                height: 8
                radius: 4
                color: index < desk.onboardingNumber ? Theme.accent : Theme.fieldBorder
            }
        }
    }
    Loader {
        width: parent.width
        sourceComponent: desk.onboardingStep === "welcome" ? welcome : desk.onboardingStep === "pair" ? pair
            : desk.onboardingStep === "accessibility" ? accessibility : ready
    }

    Component {
        id: welcome
        Column {
            id: step
            property bool launches: true
            spacing: Theme.unit * 4
            Symbol {
                anchors.horizontalCenter: parent.horizontalCenter
                name: "iphone.and.arrow.forward"
                size: 46
                color: Theme.accent
            }
            Words {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("Use your iPhone to type on this Mac.")
                font.pixelSize: Theme.title
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            Words {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("Speak on your iPhone and the words appear in the text field you're using here.")
            }
            Card {
                width: parent.width
                title: qsTr("Name this Mac")
                Field {
                    id: name
                    width: parent.width
                    label: qsTr("Mac name")
                    prompt: qsTr("Mac name")
                    Component.onCompleted: {
                        text = desk.macName
                        input.forceActiveFocus()
                    }
                    onAccepted: go.press()
                }
                Words {
                    width: parent.width
                    quiet: true
                    text: qsTr("For example “Work laptop” or “Home Mac mini”. Your iPhone shows this name.")
                }
                Toggle {
                    width: parent.width
                    label: qsTr("Launch at Login")
                    on: step.launches
                    onToggled: value => step.launches = value
                }
            }
            NoteRow {
                width: parent.width
                symbol: "menubar.rectangle"
                quiet: true
                text: qsTr("Quillet lives in the menu bar. Close this window any time; it keeps running there.")
            }
            ActionButton {
                id: go
                anchors.horizontalCenter: parent.horizontalCenter
                label: qsTr("Pair an iPhone")
                prominent: true
                onClicked: {
                    desk.nameDuringSetUp(name.text)
                    desk.setLaunchAtLogin(step.launches)
                    desk.setOnboardingStep("pair")
                }
            }
        }
    }
    Component {
        id: pair
        Column {
            spacing: Theme.unit * 4
            Component.onCompleted: thePairing.start()
            PairingPane {
                pairing: thePairing
                onFinished: desk.setOnboardingStep(desk.axTrusted ? "ready" : "accessibility")
            }
            ActionButton {
                anchors.horizontalCenter: parent.horizontalCenter
                link: true
                label: qsTr("Test connection")
                onClicked: desk.openWindow("connection-test")
            }
        }
    }
    Component {
        id: accessibility
        Column {
            id: step
            property bool openedSettings: false
            property bool returnedWithoutAccess: false
            readonly property bool allowed: desk.axTrusted && !desk.axNeedsRestart
            onAllowedChanged: if (allowed) Qt.callLater(() => desk.setOnboardingStep("ready"))
            Component.onCompleted: desk.refreshAccessibilityTrust()
            Connections {
                target: root
                function onActiveChanged() {
                    if (!root.active) return
                    desk.refreshAccessibilityTrust()
                    if (step.openedSettings && !desk.axTrusted) step.returnedWithoutAccess = true
                }
            }
            function request() {
                desk.requestAccessibility()
                openedSettings = true
            }

            spacing: Theme.unit * 4
            Words {
                width: parent.width
                text: qsTr("Allow typing on this Mac")
                font.pixelSize: Theme.title
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            Words {
                width: parent.width
                text: qsTr("Allow Quillet to insert text into the field you're using. macOS calls this Accessibility access. You can turn it off in System Settings.")
            }
            AccessibilityNote {
                width: parent.width
                visible: !desk.axNeedsRestart
            }
            Column {
                visible: desk.axNeedsRestart
                width: parent.width
                spacing: Theme.unit * 3
                Words {
                    width: parent.width
                    text: qsTr("Access is on, but this copy of Quillet needs to restart to use it.")
                }
                ActionButton {
                    anchors.left: parent.left
                    label: qsTr("Restart app")
                    prominent: true
                    onClicked: desk.restartApp()
                }
            }
            Column {
                visible: !desk.axNeedsRestart && step.returnedWithoutAccess
                width: parent.width
                spacing: Theme.unit * 3
                NoteRow {
                    width: parent.width
                    symbol: "exclamationmark.triangle.fill"
                    tint: Theme.warning
                    text: qsTr("Quillet still can't type in other apps. Turn on its switch under Privacy & Security → Accessibility.")
                }
                Words {
                    width: parent.width
                    quiet: true
                    text: qsTr("Already on? Remove the entry, add this installed copy again, then reopen Quillet. Managed Macs may block access.")
                }
                Row {
                    anchors.left: parent.left
                    spacing: Theme.unit * 2
                    ActionButton {
                        label: qsTr("Continue with drafts")
                        onClicked: root.finish()
                    }
                    ActionButton {
                        label: qsTr("Try again")
                        prominent: true
                        onClicked: {
                            step.returnedWithoutAccess = false
                            step.request()
                        }
                    }
                }
            }
            Column {
                visible: !desk.axNeedsRestart && !step.returnedWithoutAccess
                width: parent.width
                spacing: Theme.unit * 3
                ActionButton {
                    anchors.left: parent.left
                    label: qsTr("Open Accessibility Settings")
                    prominent: true
                    onClicked: step.request()
                }
                Row {
                    anchors.left: parent.left
                    visible: step.openedSettings
                    spacing: Theme.unit * 2
                    Spinner {
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Words {
                        text: qsTr("Waiting for access…")
                        anchors.verticalCenter: parent.verticalCenter
                    }
                }
                ActionButton {
                    x: -Theme.unit // so that its words begin where others do
                    link: true
                    anchors.left: parent.left
                    label: qsTr("Not now")
                    onClicked: root.finish()
                }
            }
        }
    }
    Component {
        id: ready
        Column {
            spacing: Theme.unit * 4
            Symbol {
                anchors.horizontalCenter: parent.horizontalCenter
                name: "checkmark.seal.fill"
                size: 50
                color: Theme.good
            }
            Words {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("Ready")
                font.pixelSize: Theme.title
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            Words {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("Open Notes, click in a note, then speak on your iPhone. Your words appear where the cursor is.")
            }
            NotesIllustration {
                anchors.horizontalCenter: parent.horizontalCenter
            }
            Row {
                anchors.horizontalCenter: parent.horizontalCenter
                spacing: Theme.unit * 2
                ActionButton {
                    label: qsTr("Done")
                    onClicked: root.finish()
                }
                ActionButton {
                    label: qsTr("Open Notes")
                    prominent: true
                    onClicked: {
                        desk.openEditor()
                        root.finish()
                    }
                }
            }
        }
    }
}
