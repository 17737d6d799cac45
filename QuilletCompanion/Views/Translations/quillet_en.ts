<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
    <context>
        <name>BadgeWindow</name>
        <message>
            <source>Quillet</source>
            <translation>Quillet</translation>
        </message>
        <message>
            <source>Inserted from iPhone</source>
            <translation>Inserted from phone</translation>
        </message>
    </context>
    <context>
        <name>CheckPane</name>
        <message>
            <source>Test connection</source>
            <translation>Test connection</translation>
        </message>
        <message>
            <source>Check again</source>
            <translation>Check again</translation>
        </message>
        <message>
            <source>Test field</source>
            <translation>Test field</translation>
        </message>
        <message>
            <source>Click in this field, then speak on a paired iPhone. The text arrives here, even before Accessibility is allowed.</source>
            <translation>Click in this field, then speak on a paired phone. The text arrives here, even before Accessibility is allowed.</translation>
        </message>
        <message>
            <source>Received from iPhone</source>
            <translation>Received from phone</translation>
        </message>
        <message>
            <source>Clear</source>
            <translation>Clear</translation>
        </message>
    </context>
    <context>
        <name>Confirmation</name>
        <message>
            <source>Cancel</source>
            <translation>Cancel</translation>
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
            <source>Hold to talk</source>
            <translation>Hold to talk</translation>
        </message>
        <message>
            <source>Hold while you speak. Let go to type the text.</source>
            <translation>Hold while you speak. Let go to type the text.</translation>
        </message>
        <message>
            <source>Start and stop</source>
            <translation>Start and stop</translation>
        </message>
        <message>
            <source>Press once to start, and again to type the text.</source>
            <translation>Press once to start, and again to type the text.</translation>
        </message>
        <message>
            <source>Show dictation button</source>
            <translation>Show dictation button</translation>
        </message>
        <message>
            <source>A small button at the bottom of the screen. Click it to start and stop.</source>
            <translation>A small button at the bottom of the screen. Click it to start and stop.</translation>
        </message>
        <message>
            <source>Language</source>
            <translation>Language</translation>
        </message>
        <message>
            <source>Streaming transcription</source>
            <translation>Streaming transcription</translation>
        </message>
        <message>
            <source>Transcribe while you speak. If the live connection fails, the same audio is transcribed after you stop.</source>
            <translation>Transcribe while you speak. If the live connection fails, the same audio is transcribed after you stop.</translation>
        </message>
        <message>
            <source>Remove filler words</source>
            <translation>Remove filler words</translation>
        </message>
        <message>
            <source>Leave out ums and hesitations. Transcription starts after you stop.</source>
            <translation>Leave out ums and hesitations. Transcription starts after you stop.</translation>
        </message>
        <message>
            <source>Music while dictating</source>
            <translation>Music while dictating</translation>
        </message>
        <message>
            <source>Muffle</source>
            <translation>Muffle</translation>
        </message>
        <message>
            <source>Pause</source>
            <translation>Pause</translation>
        </message>
        <message>
            <source>Keep playing</source>
            <translation>Keep playing</translation>
        </message>
        <message>
            <source>Music and videos keep playing but sound muffled, as if from the next room, until you stop speaking.</source>
            <translation>Music and videos keep playing but sound muffled, as if from the next room, until you stop speaking.</translation>
        </message>
        <message>
            <source>Music and videos pause while you speak and start again when you stop.</source>
            <translation>Music and videos pause while you speak and start again when you stop.</translation>
        </message>
        <message>
            <source>Music and videos play as usual.</source>
            <translation>Music and videos play as usual.</translation>
        </message>
        <message>
            <source>Microphone</source>
            <translation>Microphone</translation>
        </message>
        <message>
            <source>Microphone to use</source>
            <translation>Microphone to use</translation>
        </message>
        <message>
            <source>Used for dictation on this Mac.</source>
            <translation>Used for dictation on this computer.</translation>
        </message>
        <message>
            <source>Transcription</source>
            <translation>Transcription</translation>
        </message>
        <message>
            <source>Allow Accessibility so dictation can type into other apps.</source>
            <translation>Allow Accessibility so dictation can type into other apps.</translation>
        </message>
        <message>
            <source>Open Settings</source>
            <translation>Open Settings</translation>
        </message>
        <message>
            <source>Press Esc to cancel a dictation. If there's no text field to type in, you can copy the text instead.</source>
            <translation>Press Esc to cancel a dictation. If there's no text field to type in, you can copy the text instead.</translation>
        </message>
        <message>
            <source>System audio</source>
            <translation>System audio</translation>
        </message>
        <message>
            <source>To muffle music, turn on Quillet under System Audio Recording Only. Audio is filtered as it plays and never recorded.</source>
            <translation>Audio is filtered as it plays and never recorded.</translation>
        </message>
    </context>
    <context>
        <name>OnboardingWindow</name>
        <message>
            <source>Set Up Quillet</source>
            <translation>Set Up Quillet</translation>
        </message>
        <message>
            <source>Step %1 of %2</source>
            <translation>Step %1 of %2</translation>
        </message>
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
            <source>Launch at Login</source>
            <translation>Launch at Login</translation>
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
            <source>Test connection</source>
            <translation>Test connection</translation>
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
            <source>Access is on, but this copy of Quillet needs to restart to use it.</source>
            <translation>Access is on, but this copy of Quillet needs to restart to use it.</translation>
        </message>
        <message>
            <source>Restart app</source>
            <translation>Restart app</translation>
        </message>
        <message>
            <source>Quillet still can't type in other apps. Turn on its switch under Privacy &amp; Security → Accessibility.</source>
            <translation>Quillet still can't type in other apps. Turn on accessibility, or the screen reader's support, in your desktop's settings.</translation>
        </message>
        <message>
            <source>Already on? Remove the entry, add this installed copy again, then reopen Quillet. Managed Macs may block access.</source>
            <translation>Already on? Close the apps that you write in and open them again: many look for it only when they start. Chromium and its kin need the option --force-renderer-accessibility, Java programs their accessibility bridge.</translation>
        </message>
        <message>
            <source>Continue with drafts</source>
            <translation>Continue with drafts</translation>
        </message>
        <message>
            <source>Try again</source>
            <translation>Try again</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Turn on accessibility</translation>
        </message>
        <message>
            <source>Waiting for access…</source>
            <translation>Waiting for access…</translation>
        </message>
        <message>
            <source>Not now</source>
            <translation>Not now</translation>
        </message>
        <message>
            <source>Ready</source>
            <translation>Ready</translation>
        </message>
        <message>
            <source>Open Notes, click in a note, then speak on your iPhone. Your words appear where the cursor is.</source>
            <translation>Open an editor, click into it, then speak on your phone. Your words appear where the cursor is.</translation>
        </message>
        <message>
            <source>Done</source>
            <translation>Done</translation>
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
            <source>Preparing a pairing code…</source>
            <translation>Preparing a pairing code…</translation>
        </message>
        <message>
            <source>Pair an iPhone</source>
            <translation>Pair a phone</translation>
        </message>
        <message>
            <source>Open Quillet on your iPhone and scan this code.</source>
            <translation>Open Quillet on your phone and scan this code.</translation>
        </message>
        <message>
            <source>Pairing QR code</source>
            <translation>Pairing QR code</translation>
        </message>
        <message>
            <source>Enter this code on your iPhone</source>
            <translation>Enter this code on your phone</translation>
        </message>
        <message>
            <source>Waiting for the network…</source>
            <translation>Waiting for the network…</translation>
        </message>
        <message>
            <source>Expires in %1</source>
            <translation>Expires in %1</translation>
        </message>
        <message>
            <source>Code refreshes in %1 seconds</source>
            <translation>Code refreshes in %1 seconds</translation>
        </message>
        <message>
            <source>Show the QR code instead</source>
            <translation>Show the QR code instead</translation>
        </message>
        <message>
            <source>Enter code instead</source>
            <translation>Enter code instead</translation>
        </message>
        <message>
            <source>Check that your iPhone shows the same four words.</source>
            <translation>Check that your phone shows the same four words.</translation>
        </message>
        <message>
            <source>Verification words: %1</source>
            <translation>Verification words: %1</translation>
        </message>
        <message>
            <source>If the words are different, cancel. Someone else may be trying to pair.</source>
            <translation>If the words are different, cancel. Someone else may be trying to pair.</translation>
        </message>
        <message>
            <source>Confirm on your iPhone to finish.</source>
            <translation>Confirm on your phone to finish.</translation>
        </message>
        <message>
            <source>Cancel pairing</source>
            <translation>Cancel pairing</translation>
        </message>
        <message>
            <source>Confirm</source>
            <translation>Confirm</translation>
        </message>
        <message>
            <source>“%1” is paired</source>
            <translation>“%1” is paired</translation>
        </message>
        <message>
            <source>You can pair more iPhones at any time from the menu bar.</source>
            <translation>You can pair more phones at any time from the tray.</translation>
        </message>
        <message>
            <source>Pair another iPhone</source>
            <translation>Pair another phone</translation>
        </message>
        <message>
            <source>Continue</source>
            <translation>Continue</translation>
        </message>
        <message>
            <source>Retrying automatically…</source>
            <translation>Retrying automatically…</translation>
        </message>
    </context>
    <context>
        <name>PillWindow</name>
        <message>
            <source>Quillet</source>
            <translation>Quillet</translation>
        </message>
        <message>
            <source>Start dictation</source>
            <translation>Start dictation</translation>
        </message>
        <message>
            <source>Cancel</source>
            <translation>Cancel</translation>
        </message>
        <message>
            <source>Stop and insert</source>
            <translation>Stop and insert</translation>
        </message>
        <message>
            <source>Copy text</source>
            <translation>Copy text</translation>
        </message>
    </context>
    <context>
        <name>PopoverWindow</name>
        <message>
            <source>Quillet</source>
            <translation>Quillet</translation>
        </message>
        <message>
            <source>This Mac's pairing identity was removed from the service. Reset it in Settings.</source>
            <translation>This computer's pairing identity was removed from the service. Reset it in Settings.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Pair a phone…</translation>
        </message>
        <message>
            <source>Test connection…</source>
            <translation>Test connection…</translation>
        </message>
        <message>
            <source>Continue setup…</source>
            <translation>Continue setup…</translation>
        </message>
        <message>
            <source>Copy last dictation</source>
            <translation>Copy last dictation</translation>
        </message>
        <message>
            <source>Statistics</source>
            <translation>Statistics</translation>
        </message>
        <message>
            <source>Settings</source>
            <translation>Settings</translation>
        </message>
        <message>
            <source>Quit Quillet</source>
            <translation>Quit Quillet</translation>
        </message>
    </context>
    <context>
        <name>SettingsWindow</name>
        <message>
            <source>Quillet Settings</source>
            <translation>Quillet Settings</translation>
        </message>
        <message>
            <source>This Mac</source>
            <translation>This computer</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Computer name</translation>
        </message>
        <message>
            <source>Save name</source>
            <translation>Save name</translation>
        </message>
        <message>
            <source>Launch at Login</source>
            <translation>Launch at Login</translation>
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
            <source>Paired %1</source>
            <translation>Paired %1</translation>
        </message>
        <message>
            <source>Last seen %1</source>
            <translation>Last seen %1</translation>
        </message>
        <message>
            <source>Revoke</source>
            <translation>Revoke</translation>
        </message>
        <message>
            <source>Accessibility</source>
            <translation>Accessibility</translation>
        </message>
        <message>
            <source>Quillet can insert text into other apps.</source>
            <translation>Quillet can insert text into other apps.</translation>
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
            <source>Connection check</source>
            <translation>Connection check</translation>
        </message>
        <message>
            <source>Open Test Connection…</source>
            <translation>Open Test Connection…</translation>
        </message>
        <message>
            <source>Updates</source>
            <translation>Updates</translation>
        </message>
        <message>
            <source>Development builds don't update themselves.</source>
            <translation>Development builds don't update themselves.</translation>
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
            <source>Feedback</source>
            <translation>Feedback</translation>
        </message>
        <message>
            <source>Message</source>
            <translation>Message</translation>
        </message>
        <message>
            <source>What's working, what isn't, what you'd like next</source>
            <translation>What's working, what isn't, what you'd like next</translation>
        </message>
        <message>
            <source>Your email</source>
            <translation>Your email</translation>
        </message>
        <message>
            <source>Optional, if you'd like a reply</source>
            <translation>Optional, if you'd like a reply</translation>
        </message>
        <message>
            <source>Goes straight to the developer with the app version, macOS version and Mac model. Nothing else is attached.</source>
            <translation>Goes to whoever runs your Quillet service, with the app version, the system's version and the computer's model. Nothing else is attached.</translation>
        </message>
        <message>
            <source>Sent. Thanks for your feedback!</source>
            <translation>Sent. Thanks for your feedback!</translation>
        </message>
        <message>
            <source>Send Feedback</source>
            <translation>Send Feedback</translation>
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
            <source>Delete my cloud data…</source>
            <translation>Delete my cloud data…</translation>
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
            <source>Delete your cloud data?</source>
            <translation>Delete your cloud data?</translation>
        </message>
        <message>
            <source>All paired iPhones will be disconnected and must pair again.</source>
            <translation>All paired phones will be disconnected and must pair again.</translation>
        </message>
        <message>
            <source>Delete</source>
            <translation>Delete</translation>
        </message>
    </context>
    <context>
        <name>ShortcutField</name>
        <message>
            <source>Turn “%1” off</source>
            <translation>Turn “%1” off</translation>
        </message>
    </context>
    <context>
        <name>StatisticsWindow</name>
        <message>
            <source>Statistics</source>
            <translation>Statistics</translation>
        </message>
        <message>
            <source>Words transcribed</source>
            <translation>Words transcribed</translation>
        </message>
        <message>
            <source>%1 words in total</source>
            <translation>%1 words in total</translation>
        </message>
        <message>
            <source>Today</source>
            <translation>Today</translation>
        </message>
        <message>
            <source>This week</source>
            <translation>This week</translation>
        </message>
        <message>
            <source>This month</source>
            <translation>This month</translation>
        </message>
        <message>
            <source>Last 7 days</source>
            <translation>Last 7 days</translation>
        </message>
        <message>
            <source>Words per day, last 7 days</source>
            <translation>Words per day, last 7 days</translation>
        </message>
        <message>
            <source>Words</source>
            <translation>Words</translation>
        </message>
        <message>
            <source>By device</source>
            <translation>By device</translation>
        </message>
        <message>
            <source>This device</source>
            <translation>This device</translation>
        </message>
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
        <name>TestConnectionWindow</name>
        <message>
            <source>Test Connection</source>
            <translation>Test Connection</translation>
        </message>
    </context>
    <context>
        <name>WordStatsStrip</name>
        <message>
            <source>Words transcribed today: %1. In total: %2.</source>
            <translation>Words transcribed today: %1. In total: %2.</translation>
        </message>
        <message>
            <source>Opens Statistics</source>
            <translation>Opens Statistics</translation>
        </message>
        <message>
            <source>Today</source>
            <translation>Today</translation>
        </message>
        <message>
            <source>Week</source>
            <translation>Week</translation>
        </message>
        <message>
            <source>Month</source>
            <translation>Month</translation>
        </message>
        <message>
            <source>Total</source>
            <translation>Total</translation>
        </message>
    </context>
    <context>
        <name>Quillet</name>
        <message>
            <source>Connection</source>
            <translation>Connection</translation>
        </message>
        <message>
            <source>Accessibility</source>
            <translation>Accessibility</translation>
        </message>
        <message>
            <source>Allowed</source>
            <translation>Allowed</translation>
        </message>
        <message>
            <source>Not allowed</source>
            <translation>Not allowed</translation>
        </message>
        <message>
            <source>Not asked yet</source>
            <translation>Not asked yet</translation>
        </message>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Dictation on this computer</translation>
        </message>
        <message>
            <source>Off</source>
            <translation>Off</translation>
        </message>
        <message>
            <source>On</source>
            <translation>On</translation>
        </message>
        <message>
            <source>Listening</source>
            <translation>Listening</translation>
        </message>
        <message>
            <source>Needs setup</source>
            <translation>Needs setup</translation>
        </message>
        <message>
            <source>Quillet, dictating</source>
            <translation>Quillet, dictating</translation>
        </message>
        <message>
            <source>Inserted</source>
            <translation>Inserted</translation>
        </message>
        <message>
            <source>No text field to type in</source>
            <translation>No text field to type in</translation>
        </message>
        <message>
            <source>Can't type into a password field</source>
            <translation>Can't type into a password field</translation>
        </message>
        <message>
            <source>Allow Accessibility to type</source>
            <translation>Allow Accessibility to type</translation>
        </message>
        <message>
            <source>Couldn't type here</source>
            <translation>Couldn't type here</translation>
        </message>
        <message>
            <source>Release the keys to type</source>
            <translation>Release the keys to type</translation>
        </message>
        <message>
            <source>Click to dictate</source>
            <translation>Click to dictate</translation>
        </message>
        <message>
            <source>Hold %1 or press %2</source>
            <translation>Hold %1 or press %2</translation>
        </message>
        <message>
            <source>Hold %1 to dictate</source>
            <translation>Hold %1 to dictate</translation>
        </message>
        <message>
            <source>Press %1 to dictate</source>
            <translation>Press %1 to dictate</translation>
        </message>
        <message>
            <source>Press keys…</source>
            <translation>Press keys…</translation>
        </message>
        <message>
            <source>Another app is using this shortcut. Choose a different one.</source>
            <translation>Another app is using this shortcut. Choose a different one.</translation>
        </message>
        <message>
            <source>Automatic</source>
            <translation>Automatic</translation>
        </message>
        <message>
            <source>System default</source>
            <translation>System default</translation>
        </message>
        <message>
            <source>System default (%1)</source>
            <translation>System default (%1)</translation>
        </message>
        <message>
            <source>%1 (not connected)</source>
            <translation>%1 (not connected)</translation>
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
        <message>
            <source>This Mac is locked</source>
            <translation>This computer is locked</translation>
        </message>
        <message>
            <source>If pressing fn opens the emoji picker, set “Press 🌐 key to” to “Do Nothing” in System Settings → Keyboard.</source>
            <translation>If pressing Fn does something else, too, turn that off in your desktop's settings.</translation>
        </message>
        <message>
            <source>Quillet, connected</source>
            <translation>Quillet, connected</translation>
        </message>
        <message>
            <source>Quillet, reconnecting</source>
            <translation>Quillet, reconnecting</translation>
        </message>
        <message>
            <source>Quillet, offline</source>
            <translation>Quillet, offline</translation>
        </message>
        <message>
            <source>its paired iPhones</source>
            <translation>its paired phones</translation>
        </message>
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
        <message>
            <source>Quillet could not access its key in your Keychain.</source>
            <translation>Quillet could not access its key in your keyring.</translation>
        </message>
        <message>
            <source>macOS already uses %1.</source>
            <translation>Your desktop already uses %1.</translation>
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
            <source>Use ⌘, ⌃ or ⌥ with that key, or a modifier key on its own.</source>
            <translation>Use Super, Ctrl or Alt with that key, or a modifier key on its own.</translation>
        </message>
    </context>
</TS>
