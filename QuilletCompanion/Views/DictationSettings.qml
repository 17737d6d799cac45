// SPDX-License-Identifier: MIT
import QtQuick
import Quillet

// All that can be chosen about dictation.
Column {
    id: root

    spacing: Theme.unit * 2
    Component.onDestruction: dictation.stopRecording()

    Card {
        width: parent.width
        title: qsTr("Dictation on this Mac")
        Toggle {
            width: parent.width
            label: qsTr("Dictate on this Mac")
            detail: qsTr("Speak into your Mac's microphone and the text is typed where your cursor is.")
            on: dictation.enabled
            onToggled: value => dictation.setEnabled(value)
        }
        Column {
            width: parent.width
            visible: dictation.enabled
            spacing: Theme.unit * 3
            ShortcutField {
                width: parent.width
                role: "hold"
                label: qsTr("Hold to talk")
                detail: qsTr("Hold while you speak. Let go to type the text.")
                value: dictation.holdText
                problem: dictation.holdProblem
                isSet: dictation.hasHold
            }
            ShortcutField {
                width: parent.width
                role: "toggle"
                label: qsTr("Start and stop")
                detail: qsTr("Press once to start, and again to type the text.")
                value: dictation.toggleText
                problem: dictation.toggleProblem
                isSet: dictation.hasToggle
            }
            Toggle {
                width: parent.width
                label: qsTr("Show dictation button")
                detail: qsTr("A small button at the bottom of the screen. Click it to start and stop.")
                on: dictation.showsButton
                onToggled: value => dictation.setShowsButton(value)
            }
            Picker {
                width: parent.width
                label: qsTr("Language")
                options: dictation.languages
                current: dictation.language
                onPicked: index => dictation.setLanguage(index)
            }
            Toggle {
                width: parent.width
                label: qsTr("Streaming transcription")
                detail: qsTr("Transcribe while you speak. If the live connection fails, the same audio is transcribed after you stop.")
                on: dictation.streaming
                onToggled: value => dictation.setStreaming(value)
            }
            Toggle {
                width: parent.width
                label: qsTr("Remove filler words")
                detail: qsTr("Leave out ums and hesitations. Transcription starts after you stop.")
                on: dictation.clean
                onToggled: value => dictation.setClean(value)
            }
            Picker {
                width: parent.width
                label: qsTr("Music while dictating")
                options: [qsTr("Muffle"), qsTr("Pause"), qsTr("Keep playing")]
                current: dictation.audio
                detail: [qsTr("Music and videos keep playing but sound muffled, as if from the next room, until you stop speaking."),
                         qsTr("Music and videos pause while you speak and start again when you stop."),
                         qsTr("Music and videos play as usual.")][dictation.audio]
                onPicked: index => dictation.setAudio(index)
            }
            StatusRow {
                width: parent.width
                visible: dictation.audio === 0
                title: qsTr("System audio")
                value: dictation.systemAudioAccess
            }
            Words {
                width: parent.width
                visible: dictation.audio === 0
                quiet: true
                text: qsTr("To muffle music, turn on Quillet under System Audio Recording Only. Audio is filtered as it plays and never recorded.")
            }
            StatusRow {
                width: parent.width
                title: qsTr("Microphone")
                value: dictation.microphoneAccess
            }
            ActionButton {
                visible: desk.hasSoundSettings
                anchors.left: parent.left
                label: qsTr("Open sound settings")
                onClicked: desk.openSoundSettings()
            }
            Picker {
                width: parent.width
                label: qsTr("Microphone to use")
                detail: qsTr("Used for dictation on this Mac.")
                options: dictation.microphones
                current: dictation.microphone
                onPicked: index => dictation.setMicrophone(index)
            }
            Picker {
                width: parent.width
                label: qsTr("Transcribe")
                options: [qsTr("In the cloud"), qsTr("On this Mac")]
                current: dictation.recognizer
                onPicked: index => dictation.setRecognizer(index)
            }
            EngineField {
                width: parent.width
                visible: dictation.recognizer === 1
            }
            StatusRow {
                width: parent.width
                title: qsTr("Transcription")
                value: dictation.transcription
            }
            NoteRow {
                width: parent.width
                visible: !desk.axTrusted
                symbol: "exclamationmark.circle.fill"
                tint: Theme.warning
                text: qsTr("Allow Accessibility so dictation can type into other apps.")
            }
            ActionButton {
                visible: !desk.axTrusted
                anchors.left: parent.left
                label: qsTr("Open Settings")
                onClicked: desk.requestAccessibility()
            }
            Words {
                width: parent.width
                quiet: true
                text: qsTr("Press Esc to cancel a dictation. If there's no text field to type in, you can copy the text instead.")
            }
        }
    }
    Words {
        width: parent.width
        quiet: true
        text: dictation.privacyNote
    }
}
