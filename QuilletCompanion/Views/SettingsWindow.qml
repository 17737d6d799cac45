// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

PageWindow {
    id: root

    title: qsTr("Quillet Settings")
    pageWidth: 560

    Card {
        width: parent.width
        title: qsTr("This Mac")
        Row {
            width: parent.width
            spacing: Theme.unit * 2
            Field {
                id: name
                width: parent.width - save.width - parent.spacing
                label: qsTr("Mac name")
                prompt: qsTr("Mac name")
                Component.onCompleted: {
                    text = desk.macName
                    input.forceActiveFocus()
                }
                onAccepted: save.press()
            }
            ActionButton {
                id: save
                label: qsTr("Save name")
                enabled: (desk.macName, settings.canSaveName(name.text))
                onClicked: {
                    desk.rename(name.text)
                    name.text = desk.macName
                }
            }
        }
        Toggle {
            width: parent.width
            label: qsTr("Launch at Login")
            on: desk.launchAtLogin
            onToggled: value => desk.setLaunchAtLogin(value)
        }
    }
    Card {
        width: parent.width
        title: qsTr("Paired iPhones")
        Words {
            width: parent.width
            visible: settings.peers.length === 0
            text: qsTr("No iPhones are paired yet.")
        }
        ActionButton {
            visible: settings.peers.length === 0
            anchors.left: parent.left
            label: qsTr("Pair an iPhone…")
            onClicked: desk.openWindow("pair")
        }
        Repeater {
            model: settings.peers
            Item {
                id: peer
                required property var modelData
                width: parent.width
                height: Math.max(words.implicitHeight, revoke.height)
                Symbol {
                    id: phone
                    name: "iphone.gen3"
                    size: Theme.title
                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                }
                Column {
                    id: words
                    anchors.left: phone.right
                    anchors.right: revoke.left
                    anchors.leftMargin: Theme.unit * 2
                    anchors.rightMargin: Theme.unit * 2
                    anchors.verticalCenter: parent.verticalCenter
                    Words {
                        width: parent.width
                        text: peer.modelData.name
                        font.weight: Font.DemiBold
                    }
                    Words {
                        width: parent.width
                        quiet: true
                        text: qsTr("Paired %1").arg(peer.modelData.paired)
                    }
                    Words {
                        width: parent.width
                        visible: peer.modelData.seen !== undefined
                        quiet: true
                        text: qsTr("Last seen %1").arg(peer.modelData.seen || "")
                    }
                }
                ActionButton {
                    id: revoke
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    label: qsTr("Revoke")
                    hint: peer.modelData.name
                    destructive: true
                    onClicked: {
                        revocation.candidate = peer.modelData.id
                        revocation.ask()
                    }
                }
            }
        }
        Words {
            width: parent.width
            visible: text !== ""
            quiet: true
            text: settings.revokeMessage
        }
    }
    Card {
        width: parent.width
        title: qsTr("Accessibility")
        NoteRow {
            width: parent.width
            symbol: desk.axTrusted ? "checkmark.circle.fill" : "exclamationmark.circle.fill"
            tint: desk.axTrusted ? Theme.good : Theme.warning
            text: desk.axTrusted ? qsTr("Quillet can insert text into other apps.")
                : qsTr("Not allowed. Dictations are kept as drafts on your iPhone.")
        }
        ActionButton {
            visible: !desk.axTrusted
            anchors.left: parent.left
            label: qsTr("Open Accessibility Settings")
            onClicked: desk.requestAccessibility()
        }
        AccessibilityNote {
            width: parent.width
        }
    }
    Card {
        width: parent.width
        title: qsTr("Connection check")
        ActionButton {
            anchors.left: parent.left
            label: qsTr("Open Test Connection…")
            onClicked: desk.openWindow("connection-test")
        }
    }
    Card {
        width: parent.width
        title: qsTr("Updates")
        Toggle {
            width: parent.width
            visible: updates.available
            label: qsTr("Check for updates automatically")
            on: updates.automaticallyChecks
            onToggled: value => updates.automaticallyChecks = value
        }
        Toggle {
            width: parent.width
            visible: updates.available
            label: qsTr("Download and install updates automatically")
            on: updates.automaticallyInstalls
            onToggled: value => updates.automaticallyInstalls = value
        }
        Words {
            width: parent.width
            visible: updates.available
            text: qsTr("Version %1").arg(desk.version)
        }
        ActionButton {
            visible: updates.available
            anchors.left: parent.left
            label: qsTr("Check for Updates…")
            onClicked: updates.check()
        }
        Words {
            width: parent.width
            visible: !updates.available
            text: qsTr("Development builds don't update themselves.")
        }
    }
    Column {
        width: parent.width
        spacing: Theme.unit * 2
        Words {
            width: parent.width
            quiet: true
            text: qsTr("Dictated text is end-to-end encrypted between your iPhone and this Mac. The relay only passes ciphertext. Quillet never presses Return or uses the clipboard.")
        }
        Words {
            width: parent.width
            quiet: true
            text: qsTr("Your paired iPhones receive only a minimal readiness update from this Mac: its name, whether it is ready, the current app's name, and a generic field type. Field contents and selected text are never sent.")
        }
    }
    DictationSettings {
        width: parent.width
    }
    Card {
        width: parent.width
        title: qsTr("Feedback")
        Words {
            width: parent.width
            text: message.label
            quiet: true
            Accessible.ignored: true
        }
        TextBox {
            id: message
            width: parent.width
            label: qsTr("Message")
            prompt: qsTr("What's working, what isn't, what you'd like next")
            text: settings.message
            edit.onTextChanged: settings.message = edit.text
        }
        Words {
            width: parent.width
            text: reply.label
            quiet: true
            Accessible.ignored: true
        }
        Field {
            id: reply
            width: parent.width
            label: qsTr("Your email")
            prompt: qsTr("Optional, if you'd like a reply")
            text: settings.replyTo
            input.onTextChanged: settings.replyTo = input.text
        }
        Connections {
            target: settings
            function onChanged() {
                if (message.text !== settings.message) message.text = settings.message
                if (reply.text !== settings.replyTo) reply.text = settings.replyTo
            }
        }
        Words {
            width: parent.width
            quiet: true
            text: qsTr("Goes straight to the developer with the app version, macOS version and Mac model. Nothing else is attached.")
        }
        Words {
            width: parent.width
            visible: text !== ""
            color: Theme.bad
            text: settings.feedbackProblem
        }
        NoteRow {
            width: parent.width
            visible: settings.feedbackSent
            symbol: "checkmark.circle.fill"
            tint: Theme.good
            text: qsTr("Sent. Thanks for your feedback!")
        }
        ActionButton {
            anchors.left: parent.left
            label: qsTr("Send Feedback")
            enabled: settings.canSendFeedback
            onClicked: settings.sendFeedback()
        }
    }
    Card {
        width: parent.width
        Words {
            width: parent.width
            visible: desk.revoked
            text: qsTr("The service no longer accepts this Mac's identity. Reset it to pair again.")
            color: Theme.warning
        }
        ActionButton {
            visible: desk.revoked
            anchors.left: parent.left
            label: qsTr("Reset this Mac")
            onClicked: {
                desk.resetLocal()
                desk.openWindow("onboarding")
            }
        }
        ActionButton {
            anchors.left: parent.left
            label: qsTr("Delete my cloud data…")
            destructive: true
            enabled: !settings.deleting
            onClicked: deletion.ask()
        }
        Words {
            width: parent.width
            visible: text !== ""
            color: Theme.bad
            text: settings.deleteError
        }
        Words {
            width: parent.width
            quiet: true
            text: qsTr("Removes this Mac's identity and pairings from the Quillet service, then clears its keys, paired iPhones and insertion journal from this Mac.")
        }
    }

    above: [
        Confirmation {
            id: revocation
            property string candidate
            message: qsTr("This iPhone will no longer be able to type on this Mac. Other iPhones are not affected.")
            action: qsTr("Revoke")
            onConfirmed: settings.revoke(candidate)
        },
        Confirmation {
            id: deletion
            title: qsTr("Delete your cloud data?")
            message: qsTr("All paired iPhones will be disconnected and must pair again.")
            action: qsTr("Delete")
            onConfirmed: settings.deleteCloudData()
        }
    ]
    Connections {
        target: settings
        function onDeleted() {
            desk.openWindow("onboarding")
        }
    }
}
