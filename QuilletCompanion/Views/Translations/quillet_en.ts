<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
    <context>
        <name>BadgeWindow</name>
        <message>
            <source>Inserted from iPhone</source>
            <translation>Inserted from phone</translation>
        </message>
    </context>
    <context>
        <name>CheckPane</name>
        <message>
            <source>Click in this field, then speak on a paired iPhone. The text arrives here, even before Accessibility is allowed.</source>
            <translation>Click in this field, then speak on a paired phone. The text arrives here, even before Accessibility is allowed.</translation>
        </message>
        <message>
            <source>Received from iPhone</source>
            <translation>Received from phone</translation>
        </message>
    </context>
    <context>
        <name>DictationSettings</name>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Dictation on this computer</translation>
        </message>
        <message>
            <source>Dictate on this Mac</source>
            <translation>Dictate on this computer</translation>
        </message>
        <message>
            <source>Speak into your Mac's microphone and the text is typed where your cursor is.</source>
            <translation>Speak into your computer's microphone and the text is typed where your cursor is.</translation>
        </message>
        <message>
            <source>To muffle music, turn on Quillet under System Audio Recording Only. Audio is filtered as it plays and never recorded.</source>
            <translation>Audio is filtered as it plays and never recorded.</translation>
        </message>
        <message>
            <source>Used for dictation on this Mac.</source>
            <translation>Used for dictation on this computer.</translation>
        </message>
        <message>
            <source>Open Settings</source>
            <translation>Turn on accessibility</translation>
        </message>
        <message>
            <source>On this Mac</source>
            <translation>On this computer</translation>
        </message>
    </context>
    <context>
        <name>OnboardingWindow</name>
        <message>
            <source>Use your iPhone to type on this Mac.</source>
            <translation>Use your phone to type on this computer.</translation>
        </message>
        <message>
            <source>Speak on your iPhone and the words appear in the text field you're using here.</source>
            <translation>Speak on your phone and the words appear in the text field you're using here.</translation>
        </message>
        <message>
            <source>Name this Mac</source>
            <translation>Name this computer</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Computer name</translation>
        </message>
        <message>
            <source>For example “Work laptop” or “Home Mac mini”. Your iPhone shows this name.</source>
            <translation>For example “Work laptop” or “Living room”. Your phone shows this name.</translation>
        </message>
        <message>
            <source>Quillet lives in the menu bar. Close this window any time; it keeps running there.</source>
            <translation>Quillet lives in the tray. Close this window any time; it keeps running there.</translation>
        </message>
        <message>
            <source>Pair an iPhone</source>
            <translation>Pair a phone</translation>
        </message>
        <message>
            <source>Allow typing on this Mac</source>
            <translation>Allow typing on this computer</translation>
        </message>
        <message>
            <source>Allow Quillet to insert text into the field you're using. macOS calls this Accessibility access. You can turn it off in System Settings.</source>
            <translation>Allow Quillet to insert text into the field you're using. Your desktop calls this accessibility. You can turn it off in its settings.</translation>
        </message>
        <message>
            <source>Quillet still can't type in other apps. Turn on its switch under Privacy &amp; Security → Accessibility.</source>
            <translation>Quillet still can't type in other apps. Turn on accessibility, or the screen reader's support, in your desktop's settings.</translation>
        </message>
        <message>
            <source>Already on? Remove the entry, add this installed copy again, then reopen Quillet. Managed Macs may block access.</source>
            <translation>Already on? Close the apps that you write in and open them again: many look for it only when they start.</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Turn on accessibility</translation>
        </message>
        <message>
            <source>Open Notes, click in a note, then speak on your iPhone. Your words appear where the cursor is.</source>
            <translation>Open an editor, click into it, then speak on your phone. Your words appear where the cursor is.</translation>
        </message>
        <message>
            <source>Open Notes</source>
            <translation>Open editor</translation>
        </message>
    </context>
    <context>
        <name>PairWindow</name>
        <message>
            <source>Pair an iPhone</source>
            <translation>Pair a phone</translation>
        </message>
    </context>
    <context>
        <name>PairingPane</name>
        <message>
            <source>Pair an iPhone</source>
            <translation>Pair a phone</translation>
        </message>
        <message>
            <source>Open Quillet on your iPhone and scan this code.</source>
            <translation>Open Quillet on your phone and scan this code.</translation>
        </message>
        <message>
            <source>Enter this code on your iPhone</source>
            <translation>Enter this code on your phone</translation>
        </message>
        <message numerus="yes">
            <source>Code refreshes in %1 seconds</source>
            <translation>
                <numerusform>Code refreshes in %1 second</numerusform>
                <numerusform>Code refreshes in %1 seconds</numerusform>
            </translation>
        </message>
        <message>
            <source>Check that your iPhone shows the same four words.</source>
            <translation>Check that your phone shows the same four words.</translation>
        </message>
        <message>
            <source>Confirm on your iPhone to finish.</source>
            <translation>Confirm on your phone to finish.</translation>
        </message>
        <message>
            <source>You can pair more iPhones at any time from the menu bar.</source>
            <translation>You can pair more phones at any time from the tray.</translation>
        </message>
        <message>
            <source>Pair another iPhone</source>
            <translation>Pair another phone</translation>
        </message>
    </context>
    <context>
        <name>PopoverWindow</name>
        <message>
            <source>This Mac's pairing identity was removed from the service. Reset it in Settings.</source>
            <translation>This computer's pairing identity was removed from the service. Reset it in Settings.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Pair a phone…</translation>
        </message>
    </context>
    <context>
        <name>SettingsWindow</name>
        <message>
            <source>This Mac</source>
            <translation>This computer</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Computer name</translation>
        </message>
        <message>
            <source>Paired iPhones</source>
            <translation>Paired phones</translation>
        </message>
        <message>
            <source>No iPhones are paired yet.</source>
            <translation>No phones are paired yet.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Pair a phone…</translation>
        </message>
        <message>
            <source>Not allowed. Dictations are kept as drafts on your iPhone.</source>
            <translation>Not allowed. Dictations are kept as drafts on your phone.</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Turn on accessibility</translation>
        </message>
        <message>
            <source>Dictated text is end-to-end encrypted between your iPhone and this Mac. The relay only passes ciphertext. Quillet never presses Return or uses the clipboard.</source>
            <translation>Dictated text is end-to-end encrypted between your phone and this computer. The relay only passes ciphertext. Quillet never presses Return or uses the clipboard.</translation>
        </message>
        <message>
            <source>Your paired iPhones receive only a minimal readiness update from this Mac: its name, whether it is ready, the current app's name, and a generic field type. Field contents and selected text are never sent.</source>
            <translation>Your paired phones receive only a minimal readiness update from this computer: its name, whether it is ready, the current app's name, and a generic field type. Field contents and selected text are never sent.</translation>
        </message>
        <message>
            <source>Goes straight to the developer with the app version, macOS version and Mac model. Nothing else is attached.</source>
            <translation>Goes to whoever runs your Quillet service, with the app version, the system's version and the computer's model. Nothing else is attached.</translation>
        </message>
        <message>
            <source>The service no longer accepts this Mac's identity. Reset it to pair again.</source>
            <translation>The service no longer accepts this computer's identity. Reset it to pair again.</translation>
        </message>
        <message>
            <source>Reset this Mac</source>
            <translation>Reset this computer</translation>
        </message>
        <message>
            <source>Removes this Mac's identity and pairings from the Quillet service, then clears its keys, paired iPhones and insertion journal from this Mac.</source>
            <translation>Removes this computer's identity and pairings from the Quillet service, then clears its keys, paired phones and insertion journal from this computer.</translation>
        </message>
        <message>
            <source>This iPhone will no longer be able to type on this Mac. Other iPhones are not affected.</source>
            <translation>This phone will no longer be able to type on this computer. Other phones are not affected.</translation>
        </message>
        <message>
            <source>All paired iPhones will be disconnected and must pair again.</source>
            <translation>All paired phones will be disconnected and must pair again.</translation>
        </message>
    </context>
    <context>
        <name>StatisticsWindow</name>
        <message>
            <source>Synced with iCloud across your devices. Only word counts are stored, never what you said.</source>
            <translation>Added up over your devices through the folder that they share. Only word counts are stored, never what you said.</translation>
        </message>
        <message>
            <source>Counted on this device. Sign in to iCloud to add up all your devices. Only word counts are stored, never what you said.</source>
            <translation>Counted on this device. Name a folder that your devices share to add them all up. Only word counts are stored, never what you said.</translation>
        </message>
    </context>
    <context>
        <name>Quillet</name>
        <message>
            <source>Paired iPhones</source>
            <translation>Paired phones</translation>
        </message>
        <message>
            <source>Mac needs internet to pair</source>
            <translation>This computer needs internet to pair</translation>
        </message>
        <message>
            <source>Connect this Mac to the internet. This window stays ready.</source>
            <translation>Connect this computer to the internet. This window stays ready.</translation>
        </message>
        <message>
            <source>Pairing was cancelled on the iPhone</source>
            <translation>Pairing was cancelled on the phone</translation>
        </message>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Dictation on this computer</translation>
        </message>
        <message>
            <source>Removed from this Mac. The service will be told when it is reachable.</source>
            <translation>Removed from this computer. The service will be told when it is reachable.</translation>
        </message>
        <message>
            <source>its paired iPhones</source>
            <translation>its paired phones</translation>
        </message>
        <message>
            <source>Quillet could not access its key in your Keychain.</source>
            <translation>Quillet could not access its key in your keyring.</translation>
        </message>
        <message>
            <source>Quillet has no folder to note in what it inserts, so it inserts nothing from iPhones.</source>
            <translation>Quillet has no folder to note in what it inserts, so it inserts nothing from phones.</translation>
        </message>
        <message>
            <source>Quillet can't read what it inserted earlier, so it inserts nothing from iPhones. See that its data folder can be read.</source>
            <translation>Quillet can't read what it inserted earlier, so it inserts nothing from phones. See that its data folder can be read.</translation>
        </message>
        <message>
            <source>Quillet can't note what it inserts, so it inserts nothing from iPhones. See that its data folder can be written and that the disk isn't full.</source>
            <translation>Quillet can't note what it inserts, so it inserts nothing from phones. See that its data folder can be written and that the disk isn't full.</translation>
        </message>
        <message numerus="yes">
            <source>%1 words in total</source>
            <translation>
                <numerusform>%1 word in total</numerusform>
                <numerusform>%1 words in total</numerusform>
            </translation>
        </message>
        <message numerus="yes">
            <source>About %1 pages of a book.</source>
            <translation>
                <numerusform>About %1 page of a book.</numerusform>
                <numerusform>About %1 pages of a book.</numerusform>
            </translation>
        </message>
        <message numerus="yes">
            <source>%1 days in a row</source>
            <translation>
                <numerusform>%1 day in a row</numerusform>
                <numerusform>%1 days in a row</numerusform>
            </translation>
        </message>
        <message numerus="yes">
            <source>Best day: %1, %2 words</source>
            <translation>
                <numerusform>Best day: %1, %2 word</numerusform>
                <numerusform>Best day: %1, %2 words</numerusform>
            </translation>
        </message>
        <message>
            <source>This Mac is locked</source>
            <translation>This computer is locked</translation>
        </message>
        <message>
            <source>Dictation on this Mac needs macOS 26 or later.</source>
            <translation>Dictation on this computer needs a newer system.</translation>
        </message>
        <message>
            <source>This language can't be dictated on this Mac.</source>
            <translation>This language can't be dictated on this computer.</translation>
        </message>
        <message>
            <source>Connect this Mac to the internet to dictate.</source>
            <translation>Connect this computer to the internet to dictate.</translation>
        </message>
        <message>
            <source>If pressing fn opens the emoji picker, set “Press 🌐 key to” to “Do Nothing” in System Settings → Keyboard.</source>
            <translation>If pressing Fn does something else, too, turn that off in your desktop's keyboard settings.</translation>
        </message>
        <message>
            <source>Use ⌘, ⌃ or ⌥ with that key, or a modifier key on its own.</source>
            <translation>Use Super, Ctrl or Alt with that key, or a modifier key on its own.</translation>
        </message>
        <message>
            <source>macOS already uses %1.</source>
            <translation>Your desktop already uses %1.</translation>
        </message>
        <message>
            <source>⌃</source>
            <translation>Ctrl+</translation>
        </message>
        <message>
            <source>⌥</source>
            <translation>Alt+</translation>
        </message>
        <message>
            <source>⇧</source>
            <translation>Shift+</translation>
        </message>
        <message>
            <source>⌘</source>
            <translation>Super+</translation>
        </message>
        <message>
            <source>Left ⌘</source>
            <translation>Left Super</translation>
        </message>
        <message>
            <source>Right ⌘</source>
            <translation>Right Super</translation>
        </message>
        <message>
            <source>Left ⌥</source>
            <translation>Left Alt</translation>
        </message>
        <message>
            <source>Right ⌥</source>
            <translation>Right Alt</translation>
        </message>
        <message>
            <source>Left ⌃</source>
            <translation>Left Ctrl</translation>
        </message>
        <message>
            <source>Right ⌃</source>
            <translation>Right Ctrl</translation>
        </message>
        <message>
            <source>Left ⇧</source>
            <translation>Left Shift</translation>
        </message>
        <message>
            <source>Right ⇧</source>
            <translation>Right Shift</translation>
        </message>
        <message>
            <source>fn</source>
            <translation>Fn</translation>
        </message>
        <message>
            <source>↩</source>
            <translation>Return</translation>
        </message>
        <message>
            <source>⇥</source>
            <translation>Tab</translation>
        </message>
        <message>
            <source>⌫</source>
            <translation>Backspace</translation>
        </message>
        <message>
            <source>⌦</source>
            <translation>Delete</translation>
        </message>
        <message>
            <source>⎋</source>
            <translation>Esc</translation>
        </message>
        <message>
            <source>↖</source>
            <translation>Home</translation>
        </message>
        <message>
            <source>↘</source>
            <translation>End</translation>
        </message>
        <message>
            <source>⇞</source>
            <translation>Page Up</translation>
        </message>
        <message>
            <source>⇟</source>
            <translation>Page Down</translation>
        </message>
        <message>
            <source>On this Mac</source>
            <translation>On this computer</translation>
        </message>
        <message>
            <source>Your voice is sent securely through our service to Microsoft Azure for transcription. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Your voice is sent securely through your Quillet service to %1 for transcription. Audio is held in memory on this computer during dictation and discarded afterwards.</translation>
        </message>
        <message>
            <source>Your voice is sent securely through our service for transcription. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Your voice is sent securely to your Quillet service for transcription. Audio is held in memory on this computer during dictation and discarded afterwards.</translation>
        </message>
        <message>
            <source>Your voice is transcribed by an engine of your own. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Your voice is transcribed by an engine of your own. Audio is held in memory on this computer during dictation and discarded afterwards.</translation>
        </message>
    </context>
</TS>
