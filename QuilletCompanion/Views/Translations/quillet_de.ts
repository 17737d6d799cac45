<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
    <context>
        <name>AccessibilityNote</name>
        <message>
            <source>Most apps show their fields by themselves. Chromium and browsers made from it must be started with --force-renderer-accessibility, Java programs need their accessibility bridge, and of terminals only some show themselves, such as xfce4-terminal and Sakura.</source>
            <translation>Die meisten Apps zeigen ihre Felder von selbst. Chromium und verwandte Browser müssen mit --force-renderer-accessibility gestartet werden, Java-Programme brauchen ihre Accessibility Bridge, und von den Terminals tun es nur einige, etwa xfce4-terminal und Sakura.</translation>
        </message>
    </context>
    <context>
        <name>BadgeWindow</name>
        <message>
            <source>Quillet</source>
            <translation>Quillet</translation>
        </message>
        <message>
            <source>Inserted from iPhone</source>
            <translation>Vom Telefon eingefügt</translation>
        </message>
    </context>
    <context>
        <name>CheckPane</name>
        <message>
            <source>Test connection</source>
            <translation>Verbindung testen</translation>
        </message>
        <message>
            <source>Check again</source>
            <translation>Erneut prüfen</translation>
        </message>
        <message>
            <source>Test field</source>
            <translation>Testfeld</translation>
        </message>
        <message>
            <source>Click in this field, then speak on a paired iPhone. The text arrives here, even before Accessibility is allowed.</source>
            <translation>Klicken Sie in dieses Feld und sprechen Sie dann auf einem gekoppelten Telefon. Der Text kommt hier an, auch wenn die Barrierefreiheit noch nicht erlaubt ist.</translation>
        </message>
        <message>
            <source>Received from iPhone</source>
            <translation>Vom Telefon empfangen</translation>
        </message>
        <message>
            <source>Clear</source>
            <translation>Leeren</translation>
        </message>
    </context>
    <context>
        <name>Confirmation</name>
        <message>
            <source>Cancel</source>
            <translation>Abbrechen</translation>
        </message>
    </context>
    <context>
        <name>DictationSettings</name>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Diktieren auf diesem Computer</translation>
        </message>
        <message>
            <source>Dictate on this Mac</source>
            <translation>Auf diesem Computer diktieren</translation>
        </message>
        <message>
            <source>Speak into your Mac's microphone and the text is typed where your cursor is.</source>
            <translation>Sprechen Sie ins Mikrofon Ihres Computers, und der Text wird dort getippt, wo Ihr Cursor steht.</translation>
        </message>
        <message>
            <source>Hold to talk</source>
            <translation>Zum Sprechen halten</translation>
        </message>
        <message>
            <source>Hold while you speak. Let go to type the text.</source>
            <translation>Beim Sprechen gedrückt halten. Loslassen, um den Text zu tippen.</translation>
        </message>
        <message>
            <source>Start and stop</source>
            <translation>Starten und beenden</translation>
        </message>
        <message>
            <source>Press once to start, and again to type the text.</source>
            <translation>Einmal drücken zum Starten, noch einmal, um den Text zu tippen.</translation>
        </message>
        <message>
            <source>Show dictation button</source>
            <translation>Diktierknopf anzeigen</translation>
        </message>
        <message>
            <source>A small button at the bottom of the screen. Click it to start and stop.</source>
            <translation>Ein kleiner Knopf am unteren Bildschirmrand. Klicken Sie darauf, um zu starten und zu beenden.</translation>
        </message>
        <message>
            <source>Language</source>
            <translation>Sprache</translation>
        </message>
        <message>
            <source>Streaming transcription</source>
            <translation>Transkription beim Sprechen</translation>
        </message>
        <message>
            <source>Transcribe while you speak. If the live connection fails, the same audio is transcribed after you stop.</source>
            <translation>Transkribiert, während Sie sprechen. Fällt die Live-Verbindung aus, wird dieselbe Aufnahme nach dem Ende transkribiert.</translation>
        </message>
        <message>
            <source>Remove filler words</source>
            <translation>Füllwörter weglassen</translation>
        </message>
        <message>
            <source>Leave out ums and hesitations. Transcription starts after you stop.</source>
            <translation>Lässt „Ähs“ und Zögern weg. Die Transkription beginnt, wenn Sie aufhören.</translation>
        </message>
        <message>
            <source>Music while dictating</source>
            <translation>Musik beim Diktieren</translation>
        </message>
        <message>
            <source>Muffle</source>
            <translation>Dämpfen</translation>
        </message>
        <message>
            <source>Pause</source>
            <translation>Anhalten</translation>
        </message>
        <message>
            <source>Keep playing</source>
            <translation>Weiterspielen</translation>
        </message>
        <message>
            <source>Music and videos keep playing but sound muffled, as if from the next room, until you stop speaking.</source>
            <translation>Musik und Videos laufen weiter, klingen aber gedämpft wie aus dem Nebenzimmer, bis Sie aufhören zu sprechen.</translation>
        </message>
        <message>
            <source>Music and videos pause while you speak and start again when you stop.</source>
            <translation>Musik und Videos halten an, während Sie sprechen, und laufen danach weiter.</translation>
        </message>
        <message>
            <source>Music and videos play as usual.</source>
            <translation>Musik und Videos laufen wie gewohnt.</translation>
        </message>
        <message>
            <source>System audio</source>
            <translation>Systemton</translation>
        </message>
        <message>
            <source>To muffle music, turn on Quillet under System Audio Recording Only. Audio is filtered as it plays and never recorded.</source>
            <translation>Der Ton wird beim Abspielen gefiltert und nie aufgenommen.</translation>
        </message>
        <message>
            <source>Microphone</source>
            <translation>Mikrofon</translation>
        </message>
        <message>
            <source>Microphone to use</source>
            <translation>Zu verwendendes Mikrofon</translation>
        </message>
        <message>
            <source>Used for dictation on this Mac.</source>
            <translation>Wird zum Diktieren auf diesem Computer verwendet.</translation>
        </message>
        <message>
            <source>Transcription</source>
            <translation>Transkription</translation>
        </message>
        <message>
            <source>Allow Accessibility so dictation can type into other apps.</source>
            <translation>Erlauben Sie die Barrierefreiheit, damit das Diktat in andere Apps tippen kann.</translation>
        </message>
        <message>
            <source>Open Settings</source>
            <translation>Barrierefreiheit einschalten</translation>
        </message>
        <message>
            <source>Open sound settings</source>
            <translation>Audioeinstellungen öffnen</translation>
        </message>
        <message>
            <source>Press Esc to cancel a dictation. If there's no text field to type in, you can copy the text instead.</source>
            <translation>Mit Esc brechen Sie ein Diktat ab. Gibt es kein Textfeld, können Sie den Text stattdessen kopieren.</translation>
        </message>
        <message>
            <source>Transcribe</source>
            <translation>Transkribieren</translation>
        </message>
        <message>
            <source>In the cloud</source>
            <translation>In der Cloud</translation>
        </message>
        <message>
            <source>On this Mac</source>
            <translation>Auf diesem Computer</translation>
        </message>
    </context>
    <context>
        <name>EngineField</name>
        <message>
            <source>Engine</source>
            <translation>Spracherkennung</translation>
        </message>
        <message>
            <source>Built in, English only</source>
            <translation>Eingebaut, nur Englisch</translation>
        </message>
        <message>
            <source>Use engine</source>
            <translation>Verwenden</translation>
        </message>
        <message>
            <source>Leave this empty for the engine in Quillet, or write the address of your own.</source>
            <translation>Leer lassen für die Spracherkennung in Quillet, oder die Adresse Ihrer eigenen eintragen.</translation>
        </message>
    </context>
    <context>
        <name>OnboardingWindow</name>
        <message>
            <source>Set Up Quillet</source>
            <translation>Quillet einrichten</translation>
        </message>
        <message>
            <source>Step %1 of %2</source>
            <translation>Schritt %1 von %2</translation>
        </message>
        <message>
            <source>Use your iPhone to type on this Mac.</source>
            <translation>Schreiben Sie mit Ihrem Telefon auf diesem Computer.</translation>
        </message>
        <message>
            <source>Speak on your iPhone and the words appear in the text field you're using here.</source>
            <translation>Sprechen Sie auf Ihrem Telefon, und die Wörter erscheinen im Textfeld, das Sie hier verwenden.</translation>
        </message>
        <message>
            <source>Name this Mac</source>
            <translation>Diesem Computer einen Namen geben</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Computername</translation>
        </message>
        <message>
            <source>For example “Work laptop” or “Home Mac mini”. Your iPhone shows this name.</source>
            <translation>Zum Beispiel „Arbeitslaptop“ oder „Wohnzimmer“. Ihr Telefon zeigt diesen Namen.</translation>
        </message>
        <message>
            <source>Launch at Login</source>
            <translation>Beim Anmelden starten</translation>
        </message>
        <message>
            <source>Quillet lives in the menu bar. Close this window any time; it keeps running there.</source>
            <translation>Quillet finden Sie im Infobereich. Schließen Sie dieses Fenster, wann Sie möchten; dort läuft es weiter.</translation>
        </message>
        <message>
            <source>Pair an iPhone</source>
            <translation>Telefon koppeln</translation>
        </message>
        <message>
            <source>Test connection</source>
            <translation>Verbindung testen</translation>
        </message>
        <message>
            <source>Allow typing on this Mac</source>
            <translation>Tippen auf diesem Computer erlauben</translation>
        </message>
        <message>
            <source>Allow Quillet to insert text into the field you're using. macOS calls this Accessibility access. You can turn it off in System Settings.</source>
            <translation>Erlauben Sie Quillet, Text in das Feld einzufügen, das Sie verwenden. Ihr Desktop nennt das Barrierefreiheit. In seinen Einstellungen können Sie sie ausschalten.</translation>
        </message>
        <message>
            <source>Access is on, but this copy of Quillet needs to restart to use it.</source>
            <translation>Der Zugriff ist eingeschaltet, aber Quillet muss neu starten, um ihn zu nutzen.</translation>
        </message>
        <message>
            <source>Restart app</source>
            <translation>App neu starten</translation>
        </message>
        <message>
            <source>Quillet still can't type in other apps. Turn on its switch under Privacy &amp; Security → Accessibility.</source>
            <translation>Quillet kann in anderen Apps noch immer nicht tippen. Schalten Sie in den Einstellungen Ihres Desktops die Barrierefreiheit oder die Unterstützung für Bildschirmleser ein.</translation>
        </message>
        <message>
            <source>Already on? Remove the entry, add this installed copy again, then reopen Quillet. Managed Macs may block access.</source>
            <translation>Schon eingeschaltet? Schließen Sie die Apps, in denen Sie schreiben, und öffnen Sie sie erneut: Viele sehen nur beim Start danach.</translation>
        </message>
        <message>
            <source>Continue with drafts</source>
            <translation>Mit Entwürfen fortfahren</translation>
        </message>
        <message>
            <source>Try again</source>
            <translation>Erneut versuchen</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Barrierefreiheit einschalten</translation>
        </message>
        <message>
            <source>Waiting for access…</source>
            <translation>Warten auf Zugriff …</translation>
        </message>
        <message>
            <source>Not now</source>
            <translation>Nicht jetzt</translation>
        </message>
        <message>
            <source>Ready</source>
            <translation>Bereit</translation>
        </message>
        <message>
            <source>Open Notes, click in a note, then speak on your iPhone. Your words appear where the cursor is.</source>
            <translation>Öffnen Sie einen Editor, klicken Sie hinein und sprechen Sie dann auf Ihrem Telefon. Ihre Wörter erscheinen dort, wo der Cursor steht.</translation>
        </message>
        <message>
            <source>Done</source>
            <translation>Fertig</translation>
        </message>
        <message>
            <source>Open Notes</source>
            <translation>Editor öffnen</translation>
        </message>
    </context>
    <context>
        <name>PairWindow</name>
        <message>
            <source>Pair an iPhone</source>
            <translation>Telefon koppeln</translation>
        </message>
    </context>
    <context>
        <name>PairingPane</name>
        <message>
            <source>Preparing a pairing code…</source>
            <translation>Kopplungscode wird vorbereitet …</translation>
        </message>
        <message>
            <source>Pair an iPhone</source>
            <translation>Telefon koppeln</translation>
        </message>
        <message>
            <source>Open Quillet on your iPhone and scan this code.</source>
            <translation>Öffnen Sie Quillet auf Ihrem Telefon und scannen Sie diesen Code.</translation>
        </message>
        <message>
            <source>Pairing QR code</source>
            <translation>QR-Code zum Koppeln</translation>
        </message>
        <message>
            <source>Enter this code on your iPhone</source>
            <translation>Geben Sie diesen Code auf Ihrem Telefon ein</translation>
        </message>
        <message>
            <source>Waiting for the network…</source>
            <translation>Warten auf das Netzwerk …</translation>
        </message>
        <message>
            <source>Expires in %1</source>
            <translation>Läuft ab in %1</translation>
        </message>
        <message numerus="yes">
            <source>Code refreshes in %1 seconds</source>
            <translation>
                <numerusform>Neuer Code in %1 Sekunde</numerusform>
                <numerusform>Neuer Code in %1 Sekunden</numerusform>
            </translation>
        </message>
        <message>
            <source>Show the QR code instead</source>
            <translation>Stattdessen den QR-Code zeigen</translation>
        </message>
        <message>
            <source>Enter code instead</source>
            <translation>Stattdessen Code eingeben</translation>
        </message>
        <message>
            <source>Check that your iPhone shows the same four words.</source>
            <translation>Prüfen Sie, ob Ihr Telefon dieselben vier Wörter zeigt.</translation>
        </message>
        <message>
            <source>Verification words: %1</source>
            <translation>Prüfwörter: %1</translation>
        </message>
        <message>
            <source>If the words are different, cancel. Someone else may be trying to pair.</source>
            <translation>Wenn die Wörter abweichen, brechen Sie ab. Vielleicht versucht jemand anderes, sich zu koppeln.</translation>
        </message>
        <message>
            <source>Confirm on your iPhone to finish.</source>
            <translation>Bestätigen Sie auf Ihrem Telefon, um abzuschließen.</translation>
        </message>
        <message>
            <source>Cancel pairing</source>
            <translation>Kopplung abbrechen</translation>
        </message>
        <message>
            <source>Confirm</source>
            <translation>Bestätigen</translation>
        </message>
        <message>
            <source>“%1” is paired</source>
            <translation>„%1“ ist gekoppelt</translation>
        </message>
        <message>
            <source>You can pair more iPhones at any time from the menu bar.</source>
            <translation>Weitere Telefone können Sie jederzeit über den Infobereich koppeln.</translation>
        </message>
        <message>
            <source>Pair another iPhone</source>
            <translation>Weiteres Telefon koppeln</translation>
        </message>
        <message>
            <source>Continue</source>
            <translation>Weiter</translation>
        </message>
        <message>
            <source>Retrying automatically…</source>
            <translation>Neuer Versuch läuft automatisch …</translation>
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
            <translation>Diktat starten</translation>
        </message>
        <message>
            <source>Cancel</source>
            <translation>Abbrechen</translation>
        </message>
        <message>
            <source>Stop and insert</source>
            <translation>Beenden und einfügen</translation>
        </message>
        <message>
            <source>Copy text</source>
            <translation>Text kopieren</translation>
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
            <translation>Die Kopplungsidentität dieses Computers wurde beim Dienst entfernt. Setzen Sie sie in den Einstellungen zurück.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Telefon koppeln …</translation>
        </message>
        <message>
            <source>Test connection…</source>
            <translation>Verbindung testen …</translation>
        </message>
        <message>
            <source>Continue setup…</source>
            <translation>Einrichtung fortsetzen …</translation>
        </message>
        <message>
            <source>Copy last dictation</source>
            <translation>Letztes Diktat kopieren</translation>
        </message>
        <message>
            <source>Statistics</source>
            <translation>Statistik</translation>
        </message>
        <message>
            <source>Settings</source>
            <translation>Einstellungen</translation>
        </message>
        <message>
            <source>Quit Quillet</source>
            <translation>Quillet beenden</translation>
        </message>
        <message>
            <source>Update to version %1…</source>
            <translation>Auf Version %1 aktualisieren …</translation>
        </message>
        <message>
            <source>Check for Updates…</source>
            <translation>Nach Updates suchen …</translation>
        </message>
    </context>
    <context>
        <name>SettingsWindow</name>
        <message>
            <source>Quillet Settings</source>
            <translation>Quillet-Einstellungen</translation>
        </message>
        <message>
            <source>This Mac</source>
            <translation>Dieser Computer</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Computername</translation>
        </message>
        <message>
            <source>Save name</source>
            <translation>Namen speichern</translation>
        </message>
        <message>
            <source>Launch at Login</source>
            <translation>Beim Anmelden starten</translation>
        </message>
        <message>
            <source>Paired iPhones</source>
            <translation>Gekoppelte Telefone</translation>
        </message>
        <message>
            <source>No iPhones are paired yet.</source>
            <translation>Es sind noch keine Telefone gekoppelt.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Telefon koppeln …</translation>
        </message>
        <message>
            <source>Paired %1</source>
            <translation>Gekoppelt am %1</translation>
        </message>
        <message>
            <source>Last seen %1</source>
            <translation>Zuletzt gesehen am %1</translation>
        </message>
        <message>
            <source>Revoke</source>
            <translation>Entziehen</translation>
        </message>
        <message>
            <source>Accessibility</source>
            <translation>Barrierefreiheit</translation>
        </message>
        <message>
            <source>Quillet can insert text into other apps.</source>
            <translation>Quillet kann Text in andere Apps einfügen.</translation>
        </message>
        <message>
            <source>Not allowed. Dictations are kept as drafts on your iPhone.</source>
            <translation>Nicht erlaubt. Diktate bleiben als Entwürfe auf Ihrem Telefon.</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Barrierefreiheit einschalten</translation>
        </message>
        <message>
            <source>Connection check</source>
            <translation>Verbindungsprüfung</translation>
        </message>
        <message>
            <source>Open Test Connection…</source>
            <translation>Verbindungstest öffnen …</translation>
        </message>
        <message>
            <source>Updates</source>
            <translation>Aktualisierungen</translation>
        </message>
        <message>
            <source>Development builds don't update themselves.</source>
            <translation>Entwicklungsversionen aktualisieren sich nicht selbst.</translation>
        </message>
        <message>
            <source>Dictated text is end-to-end encrypted between your iPhone and this Mac. The relay only passes ciphertext. Quillet never presses Return or uses the clipboard.</source>
            <translation>Diktierter Text ist von Ihrem Telefon bis zu diesem Computer Ende-zu-Ende verschlüsselt. Das Relais reicht nur verschlüsselten Text weiter. Quillet drückt nie die Eingabetaste und benutzt die Zwischenablage nicht.</translation>
        </message>
        <message>
            <source>Your paired iPhones receive only a minimal readiness update from this Mac: its name, whether it is ready, the current app's name, and a generic field type. Field contents and selected text are never sent.</source>
            <translation>Ihre gekoppelten Telefone erhalten von diesem Computer nur eine knappe Statusmeldung: seinen Namen, ob er bereit ist, den Namen der aktuellen App und eine allgemeine Feldart. Feldinhalte und ausgewählter Text werden nie gesendet.</translation>
        </message>
        <message>
            <source>Feedback</source>
            <translation>Rückmeldung</translation>
        </message>
        <message>
            <source>Message</source>
            <translation>Nachricht</translation>
        </message>
        <message>
            <source>What's working, what isn't, what you'd like next</source>
            <translation>Was klappt, was nicht, was Sie sich wünschen</translation>
        </message>
        <message>
            <source>Your email</source>
            <translation>Ihre E-Mail-Adresse</translation>
        </message>
        <message>
            <source>Optional, if you'd like a reply</source>
            <translation>Optional, falls Sie eine Antwort möchten</translation>
        </message>
        <message>
            <source>Goes straight to the developer with the app version, macOS version and Mac model. Nothing else is attached.</source>
            <translation>Geht an die Betreiber Ihres Quillet-Dienstes, mit App-Version, Systemversion und Computermodell. Sonst wird nichts angehängt.</translation>
        </message>
        <message>
            <source>Sent. Thanks for your feedback!</source>
            <translation>Gesendet. Danke für Ihre Rückmeldung!</translation>
        </message>
        <message>
            <source>Send Feedback</source>
            <translation>Rückmeldung senden</translation>
        </message>
        <message>
            <source>The service no longer accepts this Mac's identity. Reset it to pair again.</source>
            <translation>Der Dienst akzeptiert die Identität dieses Computers nicht mehr. Setzen Sie sie zurück, um neu zu koppeln.</translation>
        </message>
        <message>
            <source>Reset this Mac</source>
            <translation>Diesen Computer zurücksetzen</translation>
        </message>
        <message>
            <source>Delete my cloud data…</source>
            <translation>Meine Cloud-Daten löschen …</translation>
        </message>
        <message>
            <source>Removes this Mac's identity and pairings from the Quillet service, then clears its keys, paired iPhones and insertion journal from this Mac.</source>
            <translation>Entfernt Identität und Kopplungen dieses Computers vom Quillet-Dienst und löscht dann seine Schlüssel, die gekoppelten Telefone und das Einfügeprotokoll von diesem Computer.</translation>
        </message>
        <message>
            <source>This iPhone will no longer be able to type on this Mac. Other iPhones are not affected.</source>
            <translation>Dieses Telefon kann dann nicht mehr auf diesem Computer tippen. Andere Telefone sind nicht betroffen.</translation>
        </message>
        <message>
            <source>Delete your cloud data?</source>
            <translation>Ihre Cloud-Daten löschen?</translation>
        </message>
        <message>
            <source>All paired iPhones will be disconnected and must pair again.</source>
            <translation>Alle gekoppelten Telefone werden getrennt und müssen neu gekoppelt werden.</translation>
        </message>
        <message>
            <source>Delete</source>
            <translation>Löschen</translation>
        </message>
        <message>
            <source>Check for updates automatically</source>
            <translation>Automatisch nach Updates suchen</translation>
        </message>
        <message>
            <source>Download and install updates automatically</source>
            <translation>Updates automatisch laden und installieren</translation>
        </message>
        <message>
            <source>Version %1</source>
            <translation>Version %1</translation>
        </message>
        <message>
            <source>Check for Updates…</source>
            <translation>Nach Updates suchen …</translation>
        </message>
    </context>
    <context>
        <name>ShortcutField</name>
        <message>
            <source>Turn “%1” off</source>
            <translation>„%1“ ausschalten</translation>
        </message>
    </context>
    <context>
        <name>StatisticsWindow</name>
        <message>
            <source>Statistics</source>
            <translation>Statistik</translation>
        </message>
        <message>
            <source>Words transcribed</source>
            <translation>Transkribierte Wörter</translation>
        </message>
        <message>
            <source>Today</source>
            <translation>Heute</translation>
        </message>
        <message>
            <source>This week</source>
            <translation>Diese Woche</translation>
        </message>
        <message>
            <source>This month</source>
            <translation>Dieser Monat</translation>
        </message>
        <message>
            <source>Last 7 days</source>
            <translation>Letzte 7 Tage</translation>
        </message>
        <message>
            <source>Words per day, last 7 days</source>
            <translation>Wörter pro Tag, letzte 7 Tage</translation>
        </message>
        <message>
            <source>Words</source>
            <translation>Wörter</translation>
        </message>
        <message>
            <source>By device</source>
            <translation>Nach Gerät</translation>
        </message>
        <message>
            <source>This device</source>
            <translation>Dieses Gerät</translation>
        </message>
        <message>
            <source>Synced with iCloud across your devices. Only word counts are stored, never what you said.</source>
            <translation>Über den gemeinsamen Ordner Ihrer Geräte zusammengezählt. Gespeichert wird nur die Zahl der Wörter, nie, was Sie gesagt haben.</translation>
        </message>
        <message>
            <source>Counted on this device. Sign in to iCloud to add up all your devices. Only word counts are stored, never what you said.</source>
            <translation>Auf diesem Gerät gezählt. Geben Sie einen Ordner an, den Ihre Geräte teilen, um alle zusammenzuzählen. Gespeichert wird nur die Zahl der Wörter, nie, was Sie gesagt haben.</translation>
        </message>
    </context>
    <context>
        <name>TestConnectionWindow</name>
        <message>
            <source>Test Connection</source>
            <translation>Verbindung testen</translation>
        </message>
    </context>
    <context>
        <name>WordStatsStrip</name>
        <message>
            <source>Words transcribed today: %1. In total: %2.</source>
            <translation>Heute transkribierte Wörter: %1. Insgesamt: %2.</translation>
        </message>
        <message>
            <source>Opens Statistics</source>
            <translation>Öffnet die Statistik</translation>
        </message>
        <message>
            <source>Today</source>
            <translation>Heute</translation>
        </message>
        <message>
            <source>Week</source>
            <translation>Woche</translation>
        </message>
        <message>
            <source>Month</source>
            <translation>Monat</translation>
        </message>
        <message>
            <source>Total</source>
            <translation>Gesamt</translation>
        </message>
    </context>
    <context>
        <name>Quillet</name>
        <message>
            <source>Open Quillet</source>
            <translation>Quillet öffnen</translation>
        </message>
        <message>
            <source>Quillet</source>
            <translation>Quillet</translation>
        </message>
        <message>
            <source>Ready</source>
            <translation>Bereit</translation>
        </message>
        <message>
            <source>Statistics</source>
            <translation>Statistik</translation>
        </message>
        <message>
            <source>Settings</source>
            <translation>Einstellungen</translation>
        </message>
        <message>
            <source>Connection</source>
            <translation>Verbindung</translation>
        </message>
        <message>
            <source>Accessibility</source>
            <translation>Barrierefreiheit</translation>
        </message>
        <message>
            <source>Allowed</source>
            <translation>Erlaubt</translation>
        </message>
        <message>
            <source>Not allowed</source>
            <translation>Nicht erlaubt</translation>
        </message>
        <message>
            <source>Not asked yet</source>
            <translation>Noch nicht gefragt</translation>
        </message>
        <message>
            <source>Off</source>
            <translation>Aus</translation>
        </message>
        <message>
            <source>On</source>
            <translation>Ein</translation>
        </message>
        <message>
            <source>Listening</source>
            <translation>Hört zu</translation>
        </message>
        <message>
            <source>Needs setup</source>
            <translation>Nicht eingerichtet</translation>
        </message>
        <message>
            <source>Quillet service</source>
            <translation>Quillet-Dienst</translation>
        </message>
        <message>
            <source>Reachable</source>
            <translation>Erreichbar</translation>
        </message>
        <message>
            <source>Not reachable. Pairing and typing need internet.</source>
            <translation>Nicht erreichbar. Koppeln und Tippen brauchen Internet.</translation>
        </message>
        <message>
            <source>Checking</source>
            <translation>Wird geprüft</translation>
        </message>
        <message>
            <source>Relay connection</source>
            <translation>Relaisverbindung</translation>
        </message>
        <message>
            <source>Connected</source>
            <translation>Verbunden</translation>
        </message>
        <message>
            <source>Reconnecting</source>
            <translation>Wird neu verbunden</translation>
        </message>
        <message>
            <source>Reconnecting…</source>
            <translation>Wird neu verbunden …</translation>
        </message>
        <message>
            <source>Offline</source>
            <translation>Offline</translation>
        </message>
        <message>
            <source>No text field</source>
            <translation>Kein Textfeld</translation>
        </message>
        <message>
            <source>Locked</source>
            <translation>Gesperrt</translation>
        </message>
        <message>
            <source>Asleep</source>
            <translation>Im Ruhezustand</translation>
        </message>
        <message>
            <source>Allow Accessibility to insert text</source>
            <translation>Barrierefreiheit erlauben, um Text einzufügen</translation>
        </message>
        <message>
            <source>Not allowed: drafts only</source>
            <translation>Nicht erlaubt: nur Entwürfe</translation>
        </message>
        <message>
            <source>Paired iPhones</source>
            <translation>Gekoppelte Telefone</translation>
        </message>
        <message>
            <source>Mac needs internet to pair</source>
            <translation>Dieser Computer braucht Internet zum Koppeln</translation>
        </message>
        <message>
            <source>Connect this Mac to the internet. This window stays ready.</source>
            <translation>Verbinden Sie diesen Computer mit dem Internet. Dieses Fenster bleibt bereit.</translation>
        </message>
        <message>
            <source>Try again now</source>
            <translation>Jetzt erneut versuchen</translation>
        </message>
        <message>
            <source>The pairing request expired</source>
            <translation>Die Kopplungsanfrage ist abgelaufen</translation>
        </message>
        <message>
            <source>Start again to get a new code.</source>
            <translation>Beginnen Sie von vorn, um einen neuen Code zu erhalten.</translation>
        </message>
        <message>
            <source>Start again</source>
            <translation>Von vorn beginnen</translation>
        </message>
        <message>
            <source>Pairing was cancelled on the iPhone</source>
            <translation>Die Kopplung wurde auf dem Telefon abgebrochen</translation>
        </message>
        <message>
            <source>Pairing cancelled</source>
            <translation>Kopplung abgebrochen</translation>
        </message>
        <message>
            <source>Nothing was paired. You can start again whenever you like.</source>
            <translation>Es wurde nichts gekoppelt. Sie können jederzeit von vorn beginnen.</translation>
        </message>
        <message>
            <source>Pairing could not be verified</source>
            <translation>Die Kopplung konnte nicht geprüft werden</translation>
        </message>
        <message>
            <source>Nothing was paired. Start again with a new code.</source>
            <translation>Es wurde nichts gekoppelt. Beginnen Sie mit einem neuen Code von vorn.</translation>
        </message>
        <message>
            <source>Pairing is unavailable right now</source>
            <translation>Koppeln ist gerade nicht möglich</translation>
        </message>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Diktieren auf diesem Computer</translation>
        </message>
        <message>
            <source>Quillet, connected</source>
            <translation>Quillet, verbunden</translation>
        </message>
        <message>
            <source>Quillet, reconnecting</source>
            <translation>Quillet, wird neu verbunden</translation>
        </message>
        <message>
            <source>Quillet, offline</source>
            <translation>Quillet, offline</translation>
        </message>
        <message>
            <source>Quillet, dictating</source>
            <translation>Quillet, diktiert</translation>
        </message>
        <message>
            <source>Sent. Thanks for your feedback!</source>
            <translation>Gesendet. Danke für Ihre Rückmeldung!</translation>
        </message>
        <message>
            <source>That email address doesn't look right.</source>
            <translation>Diese E-Mail-Adresse scheint nicht zu stimmen.</translation>
        </message>
        <message>
            <source>%1 of %2 characters</source>
            <translation>%1 von %2 Zeichen</translation>
        </message>
        <message>
            <source>Connect to the internet and try again.</source>
            <translation>Stellen Sie eine Internetverbindung her und versuchen Sie es erneut.</translation>
        </message>
        <message>
            <source>You've sent several messages recently. Try again in an hour.</source>
            <translation>Sie haben vor Kurzem mehrere Nachrichten gesendet. Versuchen Sie es in einer Stunde erneut.</translation>
        </message>
        <message>
            <source>Something went wrong. Try again later.</source>
            <translation>Etwas ist schiefgegangen. Versuchen Sie es später erneut.</translation>
        </message>
        <message>
            <source>Removed from this Mac. The service will be told when it is reachable.</source>
            <translation>Von diesem Computer entfernt. Der Dienst erfährt es, sobald er erreichbar ist.</translation>
        </message>
        <message>
            <source>Quillet is not connected to the server.</source>
            <translation>Quillet ist nicht mit dem Server verbunden.</translation>
        </message>
        <message>
            <source>Couldn't reach the Quillet service. Nothing was deleted.</source>
            <translation>Der Quillet-Dienst ist nicht erreichbar. Es wurde nichts gelöscht.</translation>
        </message>
        <message>
            <source>its keys</source>
            <translation>seine Schlüssel</translation>
        </message>
        <message>
            <source>its paired iPhones</source>
            <translation>seine gekoppelten Telefone</translation>
        </message>
        <message>
            <source>what it inserted</source>
            <translation>was eingefügt wurde</translation>
        </message>
        <message>
            <source>Quillet could not access its key in your Keychain.</source>
            <translation>Quillet konnte nicht auf seinen Schlüssel in Ihrem Schlüsselbund zugreifen.</translation>
        </message>
        <message>
            <source>Quillet has no folder to note in what it inserts, so it inserts nothing from iPhones.</source>
            <translation>Quillet hat keinen Ordner, um festzuhalten, was es einfügt, und fügt daher nichts von Telefonen ein.</translation>
        </message>
        <message>
            <source>Quillet can't read what it inserted earlier, so it inserts nothing from iPhones. See that its data folder can be read.</source>
            <translation>Quillet kann nicht lesen, was es früher eingefügt hat, und fügt daher nichts von Telefonen ein. Sorgen Sie dafür, dass sein Datenordner lesbar ist.</translation>
        </message>
        <message>
            <source>Quillet can't note what it inserts, so it inserts nothing from iPhones. See that its data folder can be written and that the disk isn't full.</source>
            <translation>Quillet kann nicht festhalten, was es einfügt, und fügt daher nichts von Telefonen ein. Sorgen Sie dafür, dass sein Datenordner beschreibbar und der Datenträger nicht voll ist.</translation>
        </message>
        <message numerus="yes">
            <source>%1 words in total</source>
            <translation>
                <numerusform>%1 Wort insgesamt</numerusform>
                <numerusform>%1 Wörter insgesamt</numerusform>
            </translation>
        </message>
        <message>
            <source>Your first dictation starts the count.</source>
            <translation>Mit Ihrem ersten Diktat beginnt die Zählung.</translation>
        </message>
        <message>
            <source>Longer than %1.</source>
            <translation>Länger als „%1“.</translation>
        </message>
        <message>
            <source>Longer than %1. Tolstoy would be impressed.</source>
            <translation>Länger als „%1“. Tolstoi wäre beeindruckt.</translation>
        </message>
        <message numerus="yes">
            <source>About %1 pages of a book.</source>
            <translation>
                <numerusform>Etwa %1 Buchseite.</numerusform>
                <numerusform>Etwa %1 Buchseiten.</numerusform>
            </translation>
        </message>
        <message>
            <source>A page of a book is about 250 words. Keep talking.</source>
            <translation>Eine Buchseite hat etwa 250 Wörter. Sprechen Sie weiter.</translation>
        </message>
        <message>
            <source>%1 of the way to %2</source>
            <translation>%1 des Weges bis „%2“</translation>
        </message>
        <message>
            <source>%1%</source>
            <translation>%1 %</translation>
        </message>
        <message numerus="yes">
            <source>%1 days in a row</source>
            <translation>
                <numerusform>%1 Tag in Folge</numerusform>
                <numerusform>%1 Tage in Folge</numerusform>
            </translation>
        </message>
        <message>
            <source>MMM d</source>
            <translation>d. MMM</translation>
        </message>
        <message numerus="yes">
            <source>Best day: %1, %2 words</source>
            <translation>
                <numerusform>Bester Tag: %1, %2 Wort</numerusform>
                <numerusform>Bester Tag: %1, %2 Wörter</numerusform>
            </translation>
        </message>
        <message>
            <source>About %1 of typing saved</source>
            <translation>Etwa %1 Tippen gespart</translation>
        </message>
        <message>
            <source>%1 hr</source>
            <translation>%1 Std.</translation>
        </message>
        <message>
            <source>%1 min</source>
            <translation>%1 Min.</translation>
        </message>
        <message>
            <source>The Little Prince</source>
            <translation>Der kleine Prinz</translation>
        </message>
        <message>
            <source>The Great Gatsby</source>
            <translation>Der große Gatsby</translation>
        </message>
        <message>
            <source>Frankenstein</source>
            <translation>Frankenstein</translation>
        </message>
        <message>
            <source>Pride and Prejudice</source>
            <translation>Stolz und Vorurteil</translation>
        </message>
        <message>
            <source>Moby-Dick</source>
            <translation>Moby-Dick</translation>
        </message>
        <message>
            <source>War and Peace</source>
            <translation>Krieg und Frieden</translation>
        </message>
        <message>
            <source>Click to dictate</source>
            <translation>Zum Diktieren klicken</translation>
        </message>
        <message>
            <source>Inserted</source>
            <translation>Eingefügt</translation>
        </message>
        <message>
            <source>No text field to type in</source>
            <translation>Kein Textfeld zum Tippen</translation>
        </message>
        <message>
            <source>Can't type into a password field</source>
            <translation>In Passwortfelder wird nicht getippt</translation>
        </message>
        <message>
            <source>This Mac is locked</source>
            <translation>Dieser Computer ist gesperrt</translation>
        </message>
        <message>
            <source>Allow Accessibility to type</source>
            <translation>Zum Tippen Barrierefreiheit erlauben</translation>
        </message>
        <message>
            <source>Couldn't type here</source>
            <translation>Hier konnte nicht getippt werden</translation>
        </message>
        <message>
            <source>Release the keys to type</source>
            <translation>Zum Tippen die Tasten loslassen</translation>
        </message>
        <message>
            <source>Dictation on this Mac needs macOS 26 or later.</source>
            <translation>Diktieren auf diesem Computer braucht ein neueres System.</translation>
        </message>
        <message>
            <source>Allow microphone access in Quillet Settings.</source>
            <translation>Erlauben Sie das Mikrofon in den Quillet-Einstellungen.</translation>
        </message>
        <message>
            <source>The microphone isn't available.</source>
            <translation>Das Mikrofon ist nicht verfügbar.</translation>
        </message>
        <message>
            <source>This language can't be dictated on this Mac.</source>
            <translation>Diese Sprache kann auf diesem Computer nicht diktiert werden.</translation>
        </message>
        <message>
            <source>Download the speech model in Quillet Settings.</source>
            <translation>Laden Sie das Sprachmodell in den Quillet-Einstellungen.</translation>
        </message>
        <message>
            <source>Didn't catch that.</source>
            <translation>Das war nicht zu verstehen.</translation>
        </message>
        <message>
            <source>Couldn't transcribe that. Try again.</source>
            <translation>Das ließ sich nicht transkribieren. Versuchen Sie es erneut.</translation>
        </message>
        <message>
            <source>Cloud transcription is unavailable. Try again shortly.</source>
            <translation>Die Cloud-Transkription ist nicht verfügbar. Versuchen Sie es gleich erneut.</translation>
        </message>
        <message>
            <source>Connect this Mac to the internet to dictate.</source>
            <translation>Verbinden Sie diesen Computer zum Diktieren mit dem Internet.</translation>
        </message>
        <message>
            <source>Press keys…</source>
            <translation>Tasten drücken …</translation>
        </message>
        <message>
            <source>Another app is using this shortcut. Choose a different one.</source>
            <translation>Eine andere App verwendet dieses Tastenkürzel. Wählen Sie ein anderes.</translation>
        </message>
        <message>
            <source>If pressing fn opens the emoji picker, set “Press 🌐 key to” to “Do Nothing” in System Settings → Keyboard.</source>
            <translation>Wenn Fn auch etwas anderes auslöst, schalten Sie das in den Tastatureinstellungen Ihres Desktops aus.</translation>
        </message>
        <message>
            <source>System default (%1)</source>
            <translation>Systemstandard (%1)</translation>
        </message>
        <message>
            <source>%1 (not connected)</source>
            <translation>%1 (nicht verbunden)</translation>
        </message>
        <message>
            <source>Use ⌘, ⌃ or ⌥ with that key, or a modifier key on its own.</source>
            <translation>Verwenden Sie Super, Strg oder Alt mit dieser Taste oder eine Zusatztaste allein.</translation>
        </message>
        <message>
            <source>macOS already uses %1.</source>
            <translation>Ihr Desktop verwendet %1 bereits.</translation>
        </message>
        <message>
            <source>⌃</source>
            <translation>Strg+</translation>
        </message>
        <message>
            <source>⌥</source>
            <translation>Alt+</translation>
        </message>
        <message>
            <source>⇧</source>
            <translation>Umschalt+</translation>
        </message>
        <message>
            <source>⌘</source>
            <translation>Super+</translation>
        </message>
        <message>
            <source>Left ⌘</source>
            <translation>Super links</translation>
        </message>
        <message>
            <source>Right ⌘</source>
            <translation>Super rechts</translation>
        </message>
        <message>
            <source>Left ⌥</source>
            <translation>Alt links</translation>
        </message>
        <message>
            <source>Right ⌥</source>
            <translation>Alt rechts</translation>
        </message>
        <message>
            <source>Left ⌃</source>
            <translation>Strg links</translation>
        </message>
        <message>
            <source>Right ⌃</source>
            <translation>Strg rechts</translation>
        </message>
        <message>
            <source>Left ⇧</source>
            <translation>Umschalt links</translation>
        </message>
        <message>
            <source>Right ⇧</source>
            <translation>Umschalt rechts</translation>
        </message>
        <message>
            <source>fn</source>
            <translation>Fn</translation>
        </message>
        <message>
            <source>Space</source>
            <translation>Leertaste</translation>
        </message>
        <message>
            <source>↩</source>
            <translation>Eingabe</translation>
        </message>
        <message>
            <source>⇥</source>
            <translation>Tab</translation>
        </message>
        <message>
            <source>⌫</source>
            <translation>Rücktaste</translation>
        </message>
        <message>
            <source>⌦</source>
            <translation>Entf</translation>
        </message>
        <message>
            <source>⎋</source>
            <translation>Esc</translation>
        </message>
        <message>
            <source>↖</source>
            <translation>Pos1</translation>
        </message>
        <message>
            <source>↘</source>
            <translation>Ende</translation>
        </message>
        <message>
            <source>⇞</source>
            <translation>Bild auf</translation>
        </message>
        <message>
            <source>⇟</source>
            <translation>Bild ab</translation>
        </message>
        <message>
            <source>Key </source>
            <translation>Taste </translation>
        </message>
        <message>
            <source>Hold %1 or press %2</source>
            <translation>%1 halten oder %2 drücken</translation>
        </message>
        <message>
            <source>Hold %1 to dictate</source>
            <translation>%1 halten, um zu diktieren</translation>
        </message>
        <message>
            <source>Press %1 to dictate</source>
            <translation>%1 drücken, um zu diktieren</translation>
        </message>
        <message>
            <source>Automatic</source>
            <translation>Automatisch</translation>
        </message>
        <message>
            <source>System default</source>
            <translation>Systemstandard</translation>
        </message>
        <message>
            <source>On this Mac</source>
            <translation>Auf diesem Computer</translation>
        </message>
        <message>
            <source>Your voice is sent securely through our service to Microsoft Azure for transcription. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Ihre Stimme wird sicher über Ihren Quillet-Dienst zur Transkription an %1 gesendet. Der Ton bleibt während des Diktats im Arbeitsspeicher dieses Computers und wird danach verworfen.</translation>
        </message>
        <message>
            <source>Your voice is sent securely through our service for transcription. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Ihre Stimme wird sicher zur Transkription an Ihren Quillet-Dienst gesendet. Der Ton bleibt während des Diktats im Arbeitsspeicher dieses Computers und wird danach verworfen.</translation>
        </message>
        <message>
            <source>Your voice is transcribed by an engine of your own. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Ihre Stimme wird von Ihrer eigenen Spracherkennung transkribiert. Der Ton bleibt während des Diktats im Arbeitsspeicher dieses Computers und wird danach verworfen.</translation>
        </message>
        <message>
            <source>The address of the service holds a user name or a password, which Quillet never sends. Set it without them and start Quillet anew.</source>
            <translation>Die Adresse des Dienstes enthält einen Benutzernamen oder ein Passwort, das Quillet nie sendet. Geben Sie sie ohne diese an und starten Sie Quillet neu.</translation>
        </message>
        <message>
            <source>The address of an engine begins with http, https or tcp.</source>
            <translation>Die Adresse einer Spracherkennung beginnt mit http, https oder tcp.</translation>
        </message>
    </context>
</TS>
