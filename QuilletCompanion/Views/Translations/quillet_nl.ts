<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="nl" sourcelanguage="en">
    <context>
        <name>AccessibilityNote</name>
        <message>
            <source>Most apps show their fields by themselves. Chromium and browsers made from it must be started with --force-renderer-accessibility, Java programs need their accessibility bridge, and of terminals only some show themselves, such as xfce4-terminal and Sakura.</source>
            <translation>De meeste apps tonen hun velden vanzelf. Chromium en verwante browsers moeten worden gestart met --force-renderer-accessibility, Java-programma’s hebben hun toegankelijkheidsbrug nodig, en van de terminals doen alleen sommige het, zoals xfce4-terminal en Sakura.</translation>
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
            <translation>Ingevoegd vanaf telefoon</translation>
        </message>
    </context>
    <context>
        <name>CheckPane</name>
        <message>
            <source>Test connection</source>
            <translation>Verbinding testen</translation>
        </message>
        <message>
            <source>Check again</source>
            <translation>Opnieuw controleren</translation>
        </message>
        <message>
            <source>Test field</source>
            <translation>Testveld</translation>
        </message>
        <message>
            <source>Click in this field, then speak on a paired iPhone. The text arrives here, even before Accessibility is allowed.</source>
            <translation>Klik in dit veld en spreek dan op een gekoppelde telefoon. De tekst komt hier aan, ook als toegankelijkheid nog niet is toegestaan.</translation>
        </message>
        <message>
            <source>Received from iPhone</source>
            <translation>Ontvangen van telefoon</translation>
        </message>
        <message>
            <source>Clear</source>
            <translation>Wissen</translation>
        </message>
    </context>
    <context>
        <name>Confirmation</name>
        <message>
            <source>Cancel</source>
            <translation>Annuleren</translation>
        </message>
    </context>
    <context>
        <name>DictationSettings</name>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Dicteren op deze computer</translation>
        </message>
        <message>
            <source>Dictate on this Mac</source>
            <translation>Dicteren op deze computer</translation>
        </message>
        <message>
            <source>Speak into your Mac's microphone and the text is typed where your cursor is.</source>
            <translation>Spreek in de microfoon van je computer en de tekst wordt getypt waar je cursor staat.</translation>
        </message>
        <message>
            <source>Hold to talk</source>
            <translation>Ingedrukt houden om te spreken</translation>
        </message>
        <message>
            <source>Hold while you speak. Let go to type the text.</source>
            <translation>Houd ingedrukt terwijl je spreekt. Laat los om de tekst te typen.</translation>
        </message>
        <message>
            <source>Start and stop</source>
            <translation>Starten en stoppen</translation>
        </message>
        <message>
            <source>Press once to start, and again to type the text.</source>
            <translation>Druk één keer om te starten en nog eens om de tekst te typen.</translation>
        </message>
        <message>
            <source>Show dictation button</source>
            <translation>Dicteerknop tonen</translation>
        </message>
        <message>
            <source>A small button at the bottom of the screen. Click it to start and stop.</source>
            <translation>Een kleine knop onder aan het scherm. Klik erop om te starten en te stoppen.</translation>
        </message>
        <message>
            <source>Language</source>
            <translation>Taal</translation>
        </message>
        <message>
            <source>Streaming transcription</source>
            <translation>Transcriptie tijdens het spreken</translation>
        </message>
        <message>
            <source>Transcribe while you speak. If the live connection fails, the same audio is transcribed after you stop.</source>
            <translation>Uitschrijven terwijl je spreekt. Valt de verbinding weg, dan wordt hetzelfde geluid uitgeschreven nadat je stopt.</translation>
        </message>
        <message>
            <source>Remove filler words</source>
            <translation>Stopwoorden weglaten</translation>
        </message>
        <message>
            <source>Leave out ums and hesitations. Transcription starts after you stop.</source>
            <translation>Laat ‘eh’ en aarzelingen weg. Het uitschrijven begint nadat je stopt.</translation>
        </message>
        <message>
            <source>Music while dictating</source>
            <translation>Muziek tijdens het dicteren</translation>
        </message>
        <message>
            <source>Muffle</source>
            <translation>Dempen</translation>
        </message>
        <message>
            <source>Pause</source>
            <translation>Pauzeren</translation>
        </message>
        <message>
            <source>Keep playing</source>
            <translation>Laten spelen</translation>
        </message>
        <message>
            <source>Music and videos keep playing but sound muffled, as if from the next room, until you stop speaking.</source>
            <translation>Muziek en video’s spelen door maar klinken gedempt, als uit de kamer ernaast, tot je stopt met spreken.</translation>
        </message>
        <message>
            <source>Music and videos pause while you speak and start again when you stop.</source>
            <translation>Muziek en video’s pauzeren terwijl je spreekt en gaan verder als je stopt.</translation>
        </message>
        <message>
            <source>Music and videos play as usual.</source>
            <translation>Muziek en video’s spelen gewoon door.</translation>
        </message>
        <message>
            <source>System audio</source>
            <translation>Systeemgeluid</translation>
        </message>
        <message>
            <source>To muffle music, turn on Quillet under System Audio Recording Only. Audio is filtered as it plays and never recorded.</source>
            <translation>Geluid wordt gefilterd terwijl het speelt en nooit opgenomen.</translation>
        </message>
        <message>
            <source>Microphone</source>
            <translation>Microfoon</translation>
        </message>
        <message>
            <source>Microphone to use</source>
            <translation>Te gebruiken microfoon</translation>
        </message>
        <message>
            <source>Used for dictation on this Mac.</source>
            <translation>Wordt gebruikt voor dicteren op deze computer.</translation>
        </message>
        <message>
            <source>Transcription</source>
            <translation>Transcriptie</translation>
        </message>
        <message>
            <source>Allow Accessibility so dictation can type into other apps.</source>
            <translation>Sta toegankelijkheid toe, zodat het dicteren in andere apps kan typen.</translation>
        </message>
        <message>
            <source>Open Settings</source>
            <translation>Toegankelijkheid aanzetten</translation>
        </message>
        <message>
            <source>Open sound settings</source>
            <translation>Geluidsinstellingen openen</translation>
        </message>
        <message>
            <source>Press Esc to cancel a dictation. If there's no text field to type in, you can copy the text instead.</source>
            <translation>Druk op Esc om een dictaat te annuleren. Is er geen tekstveld om in te typen, dan kun je de tekst kopiëren.</translation>
        </message>
        <message>
            <source>Transcribe</source>
            <translation>Transcriberen</translation>
        </message>
        <message>
            <source>In the cloud</source>
            <translation>In de cloud</translation>
        </message>
        <message>
            <source>On this Mac</source>
            <translation>Op deze computer</translation>
        </message>
    </context>
    <context>
        <name>EngineField</name>
        <message>
            <source>Engine</source>
            <translation>Spraakherkenner</translation>
        </message>
        <message>
            <source>Built in, English only</source>
            <translation>Ingebouwd, alleen Engels</translation>
        </message>
        <message>
            <source>Use engine</source>
            <translation>Gebruiken</translation>
        </message>
        <message>
            <source>Leave this empty for the engine in Quillet, or write the address of your own.</source>
            <translation>Laat dit leeg voor de spraakherkenner in Quillet, of vul het adres van een eigen in.</translation>
        </message>
    </context>
    <context>
        <name>OnboardingWindow</name>
        <message>
            <source>Set Up Quillet</source>
            <translation>Quillet instellen</translation>
        </message>
        <message>
            <source>Step %1 of %2</source>
            <translation>Stap %1 van %2</translation>
        </message>
        <message>
            <source>Use your iPhone to type on this Mac.</source>
            <translation>Typ op deze computer met je telefoon.</translation>
        </message>
        <message>
            <source>Speak on your iPhone and the words appear in the text field you're using here.</source>
            <translation>Spreek op je telefoon en de woorden verschijnen in het tekstveld dat je hier gebruikt.</translation>
        </message>
        <message>
            <source>Name this Mac</source>
            <translation>Geef deze computer een naam</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Computernaam</translation>
        </message>
        <message>
            <source>For example “Work laptop” or “Home Mac mini”. Your iPhone shows this name.</source>
            <translation>Bijvoorbeeld ‘Werklaptop’ of ‘Woonkamer’. Je telefoon toont deze naam.</translation>
        </message>
        <message>
            <source>Launch at Login</source>
            <translation>Starten bij aanmelden</translation>
        </message>
        <message>
            <source>Quillet lives in the menu bar. Close this window any time; it keeps running there.</source>
            <translation>Quillet staat in het systeemvak. Sluit dit venster wanneer je wilt; daar draait het door.</translation>
        </message>
        <message>
            <source>Pair an iPhone</source>
            <translation>Een telefoon koppelen</translation>
        </message>
        <message>
            <source>Test connection</source>
            <translation>Verbinding testen</translation>
        </message>
        <message>
            <source>Allow typing on this Mac</source>
            <translation>Typen op deze computer toestaan</translation>
        </message>
        <message>
            <source>Allow Quillet to insert text into the field you're using. macOS calls this Accessibility access. You can turn it off in System Settings.</source>
            <translation>Sta Quillet toe tekst in te voegen in het veld dat je gebruikt. Je bureaublad noemt dit toegankelijkheid. Je kunt het uitzetten in de instellingen daarvan.</translation>
        </message>
        <message>
            <source>Access is on, but this copy of Quillet needs to restart to use it.</source>
            <translation>De toegang staat aan, maar Quillet moet opnieuw starten om die te gebruiken.</translation>
        </message>
        <message>
            <source>Restart app</source>
            <translation>App herstarten</translation>
        </message>
        <message>
            <source>Quillet still can't type in other apps. Turn on its switch under Privacy &amp; Security → Accessibility.</source>
            <translation>Quillet kan nog steeds niet typen in andere apps. Zet toegankelijkheid, of de ondersteuning voor schermlezers, aan in de instellingen van je bureaublad.</translation>
        </message>
        <message>
            <source>Already on? Remove the entry, add this installed copy again, then reopen Quillet. Managed Macs may block access.</source>
            <translation>Staat het al aan? Sluit de apps waarin je schrijft en open ze opnieuw: veel apps kijken er alleen bij het starten naar.</translation>
        </message>
        <message>
            <source>Continue with drafts</source>
            <translation>Verder met concepten</translation>
        </message>
        <message>
            <source>Try again</source>
            <translation>Opnieuw proberen</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Toegankelijkheid aanzetten</translation>
        </message>
        <message>
            <source>Waiting for access…</source>
            <translation>Wachten op toegang…</translation>
        </message>
        <message>
            <source>Not now</source>
            <translation>Niet nu</translation>
        </message>
        <message>
            <source>Ready</source>
            <translation>Klaar</translation>
        </message>
        <message>
            <source>Open Notes, click in a note, then speak on your iPhone. Your words appear where the cursor is.</source>
            <translation>Open een tekstverwerker, klik erin en spreek dan op je telefoon. Je woorden verschijnen waar de cursor staat.</translation>
        </message>
        <message>
            <source>Done</source>
            <translation>Klaar</translation>
        </message>
        <message>
            <source>Open Notes</source>
            <translation>Editor openen</translation>
        </message>
    </context>
    <context>
        <name>PairWindow</name>
        <message>
            <source>Pair an iPhone</source>
            <translation>Een telefoon koppelen</translation>
        </message>
    </context>
    <context>
        <name>PairingPane</name>
        <message>
            <source>Preparing a pairing code…</source>
            <translation>Koppelcode voorbereiden…</translation>
        </message>
        <message>
            <source>Pair an iPhone</source>
            <translation>Een telefoon koppelen</translation>
        </message>
        <message>
            <source>Open Quillet on your iPhone and scan this code.</source>
            <translation>Open Quillet op je telefoon en scan deze code.</translation>
        </message>
        <message>
            <source>Pairing QR code</source>
            <translation>QR-code voor het koppelen</translation>
        </message>
        <message>
            <source>Enter this code on your iPhone</source>
            <translation>Voer deze code in op je telefoon</translation>
        </message>
        <message>
            <source>Waiting for the network…</source>
            <translation>Wachten op het netwerk…</translation>
        </message>
        <message>
            <source>Expires in %1</source>
            <translation>Verloopt over %1</translation>
        </message>
        <message numerus="yes">
            <source>Code refreshes in %1 seconds</source>
            <translation>
                <numerusform>Code wordt over %1 seconde vernieuwd</numerusform>
                <numerusform>Code wordt over %1 seconden vernieuwd</numerusform>
            </translation>
        </message>
        <message>
            <source>Show the QR code instead</source>
            <translation>Toon de QR-code</translation>
        </message>
        <message>
            <source>Enter code instead</source>
            <translation>Liever een code invoeren</translation>
        </message>
        <message>
            <source>Check that your iPhone shows the same four words.</source>
            <translation>Controleer of je telefoon dezelfde vier woorden toont.</translation>
        </message>
        <message>
            <source>Verification words: %1</source>
            <translation>Controlewoorden: %1</translation>
        </message>
        <message>
            <source>If the words are different, cancel. Someone else may be trying to pair.</source>
            <translation>Zijn de woorden anders, annuleer dan. Misschien probeert iemand anders te koppelen.</translation>
        </message>
        <message>
            <source>Confirm on your iPhone to finish.</source>
            <translation>Bevestig op je telefoon om af te ronden.</translation>
        </message>
        <message>
            <source>Cancel pairing</source>
            <translation>Koppelen annuleren</translation>
        </message>
        <message>
            <source>Confirm</source>
            <translation>Bevestigen</translation>
        </message>
        <message>
            <source>“%1” is paired</source>
            <translation>‘%1’ is gekoppeld</translation>
        </message>
        <message>
            <source>You can pair more iPhones at any time from the menu bar.</source>
            <translation>Je kunt altijd meer telefoons koppelen vanuit het systeemvak.</translation>
        </message>
        <message>
            <source>Pair another iPhone</source>
            <translation>Nog een telefoon koppelen</translation>
        </message>
        <message>
            <source>Continue</source>
            <translation>Doorgaan</translation>
        </message>
        <message>
            <source>Retrying automatically…</source>
            <translation>Wordt automatisch opnieuw geprobeerd…</translation>
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
            <translation>Dicteren starten</translation>
        </message>
        <message>
            <source>Cancel</source>
            <translation>Annuleren</translation>
        </message>
        <message>
            <source>Stop and insert</source>
            <translation>Stoppen en invoegen</translation>
        </message>
        <message>
            <source>Copy text</source>
            <translation>Tekst kopiëren</translation>
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
            <translation>De koppelidentiteit van deze computer is bij de dienst verwijderd. Stel de computer opnieuw in via Instellingen.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Een telefoon koppelen…</translation>
        </message>
        <message>
            <source>Test connection…</source>
            <translation>Verbinding testen…</translation>
        </message>
        <message>
            <source>Continue setup…</source>
            <translation>Instellen voortzetten…</translation>
        </message>
        <message>
            <source>Copy last dictation</source>
            <translation>Laatste dictaat kopiëren</translation>
        </message>
        <message>
            <source>Statistics</source>
            <translation>Statistieken</translation>
        </message>
        <message>
            <source>Settings</source>
            <translation>Instellingen</translation>
        </message>
        <message>
            <source>Quit Quillet</source>
            <translation>Quillet afsluiten</translation>
        </message>
        <message>
            <source>Update to version %1…</source>
            <translation>Werk bij naar versie %1…</translation>
        </message>
        <message>
            <source>Check for Updates…</source>
            <translation>Zoek naar updates…</translation>
        </message>
    </context>
    <context>
        <name>SettingsWindow</name>
        <message>
            <source>Quillet Settings</source>
            <translation>Quillet-instellingen</translation>
        </message>
        <message>
            <source>This Mac</source>
            <translation>Deze computer</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Computernaam</translation>
        </message>
        <message>
            <source>Save name</source>
            <translation>Naam opslaan</translation>
        </message>
        <message>
            <source>Launch at Login</source>
            <translation>Starten bij aanmelden</translation>
        </message>
        <message>
            <source>Paired iPhones</source>
            <translation>Gekoppelde telefoons</translation>
        </message>
        <message>
            <source>No iPhones are paired yet.</source>
            <translation>Er zijn nog geen telefoons gekoppeld.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Een telefoon koppelen…</translation>
        </message>
        <message>
            <source>Paired %1</source>
            <translation>Gekoppeld op %1</translation>
        </message>
        <message>
            <source>Last seen %1</source>
            <translation>Laatst gezien op %1</translation>
        </message>
        <message>
            <source>Revoke</source>
            <translation>Intrekken</translation>
        </message>
        <message>
            <source>Accessibility</source>
            <translation>Toegankelijkheid</translation>
        </message>
        <message>
            <source>Quillet can insert text into other apps.</source>
            <translation>Quillet kan tekst invoegen in andere apps.</translation>
        </message>
        <message>
            <source>Not allowed. Dictations are kept as drafts on your iPhone.</source>
            <translation>Niet toegestaan. Dictaten worden als concept op je telefoon bewaard.</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Toegankelijkheid aanzetten</translation>
        </message>
        <message>
            <source>Connection check</source>
            <translation>Verbindingscontrole</translation>
        </message>
        <message>
            <source>Open Test Connection…</source>
            <translation>Verbinding testen…</translation>
        </message>
        <message>
            <source>Updates</source>
            <translation>Updates</translation>
        </message>
        <message>
            <source>Development builds don't update themselves.</source>
            <translation>Ontwikkelversies werken zichzelf niet bij.</translation>
        </message>
        <message>
            <source>Dictated text is end-to-end encrypted between your iPhone and this Mac. The relay only passes ciphertext. Quillet never presses Return or uses the clipboard.</source>
            <translation>Gedicteerde tekst is van je telefoon tot deze computer end-to-end versleuteld. Het relais geeft alleen versleutelde tekst door. Quillet drukt nooit op Return en gebruikt het klembord niet.</translation>
        </message>
        <message>
            <source>Your paired iPhones receive only a minimal readiness update from this Mac: its name, whether it is ready, the current app's name, and a generic field type. Field contents and selected text are never sent.</source>
            <translation>Je gekoppelde telefoons krijgen van deze computer alleen een korte statusmelding: de naam, of hij klaar is, de naam van de huidige app en een algemeen soort veld. De inhoud van velden en geselecteerde tekst worden nooit verstuurd.</translation>
        </message>
        <message>
            <source>Feedback</source>
            <translation>Feedback</translation>
        </message>
        <message>
            <source>Message</source>
            <translation>Bericht</translation>
        </message>
        <message>
            <source>What's working, what isn't, what you'd like next</source>
            <translation>Wat goed gaat, wat niet, en wat je graag wilt</translation>
        </message>
        <message>
            <source>Your email</source>
            <translation>Je e-mailadres</translation>
        </message>
        <message>
            <source>Optional, if you'd like a reply</source>
            <translation>Optioneel, als je antwoord wilt</translation>
        </message>
        <message>
            <source>Goes straight to the developer with the app version, macOS version and Mac model. Nothing else is attached.</source>
            <translation>Gaat naar wie jouw Quillet-dienst beheert, met de versie van de app, de versie van het systeem en het model van de computer. Verder wordt er niets meegestuurd.</translation>
        </message>
        <message>
            <source>Sent. Thanks for your feedback!</source>
            <translation>Verstuurd. Bedankt voor je feedback!</translation>
        </message>
        <message>
            <source>Send Feedback</source>
            <translation>Feedback versturen</translation>
        </message>
        <message>
            <source>The service no longer accepts this Mac's identity. Reset it to pair again.</source>
            <translation>De dienst accepteert de identiteit van deze computer niet meer. Stel hem opnieuw in om weer te koppelen.</translation>
        </message>
        <message>
            <source>Reset this Mac</source>
            <translation>Deze computer opnieuw instellen</translation>
        </message>
        <message>
            <source>Delete my cloud data…</source>
            <translation>Mijn cloudgegevens verwijderen…</translation>
        </message>
        <message>
            <source>Removes this Mac's identity and pairings from the Quillet service, then clears its keys, paired iPhones and insertion journal from this Mac.</source>
            <translation>Verwijdert de identiteit en koppelingen van deze computer bij de Quillet-dienst en wist daarna de sleutels, gekoppelde telefoons en het invoegjournaal van deze computer.</translation>
        </message>
        <message>
            <source>This iPhone will no longer be able to type on this Mac. Other iPhones are not affected.</source>
            <translation>Deze telefoon kan dan niet meer typen op deze computer. Voor andere telefoons verandert er niets.</translation>
        </message>
        <message>
            <source>Delete your cloud data?</source>
            <translation>Je cloudgegevens verwijderen?</translation>
        </message>
        <message>
            <source>All paired iPhones will be disconnected and must pair again.</source>
            <translation>Alle gekoppelde telefoons worden losgekoppeld en moeten opnieuw koppelen.</translation>
        </message>
        <message>
            <source>Delete</source>
            <translation>Verwijderen</translation>
        </message>
        <message>
            <source>Check for updates automatically</source>
            <translation>Zoek automatisch naar updates</translation>
        </message>
        <message>
            <source>Download and install updates automatically</source>
            <translation>Download en installeer updates automatisch</translation>
        </message>
        <message>
            <source>Version %1</source>
            <translation>Versie %1</translation>
        </message>
        <message>
            <source>Check for Updates…</source>
            <translation>Zoek naar updates…</translation>
        </message>
    </context>
    <context>
        <name>ShortcutField</name>
        <message>
            <source>Turn “%1” off</source>
            <translation>‘%1’ uitzetten</translation>
        </message>
    </context>
    <context>
        <name>StatisticsWindow</name>
        <message>
            <source>Statistics</source>
            <translation>Statistieken</translation>
        </message>
        <message>
            <source>Words transcribed</source>
            <translation>Uitgeschreven woorden</translation>
        </message>
        <message>
            <source>Today</source>
            <translation>Vandaag</translation>
        </message>
        <message>
            <source>This week</source>
            <translation>Deze week</translation>
        </message>
        <message>
            <source>This month</source>
            <translation>Deze maand</translation>
        </message>
        <message>
            <source>Last 7 days</source>
            <translation>Laatste 7 dagen</translation>
        </message>
        <message>
            <source>Words per day, last 7 days</source>
            <translation>Woorden per dag, laatste 7 dagen</translation>
        </message>
        <message>
            <source>Words</source>
            <translation>Woorden</translation>
        </message>
        <message>
            <source>By device</source>
            <translation>Per apparaat</translation>
        </message>
        <message>
            <source>This device</source>
            <translation>Dit apparaat</translation>
        </message>
        <message>
            <source>Synced with iCloud across your devices. Only word counts are stored, never what you said.</source>
            <translation>Opgeteld over je apparaten via de map die ze delen. Alleen aantallen woorden worden bewaard, nooit wat je zei.</translation>
        </message>
        <message>
            <source>Counted on this device. Sign in to iCloud to add up all your devices. Only word counts are stored, never what you said.</source>
            <translation>Geteld op dit apparaat. Geef een map op die je apparaten delen om ze allemaal op te tellen. Alleen aantallen woorden worden bewaard, nooit wat je zei.</translation>
        </message>
    </context>
    <context>
        <name>TestConnectionWindow</name>
        <message>
            <source>Test Connection</source>
            <translation>Verbinding testen</translation>
        </message>
    </context>
    <context>
        <name>WordStatsStrip</name>
        <message>
            <source>Words transcribed today: %1. In total: %2.</source>
            <translation>Vandaag uitgeschreven woorden: %1. In totaal: %2.</translation>
        </message>
        <message>
            <source>Opens Statistics</source>
            <translation>Opent Statistieken</translation>
        </message>
        <message>
            <source>Today</source>
            <translation>Vandaag</translation>
        </message>
        <message>
            <source>Week</source>
            <translation>Week</translation>
        </message>
        <message>
            <source>Month</source>
            <translation>Maand</translation>
        </message>
        <message>
            <source>Total</source>
            <translation>Totaal</translation>
        </message>
    </context>
    <context>
        <name>Quillet</name>
        <message>
            <source>Open Quillet</source>
            <translation>Quillet openen</translation>
        </message>
        <message>
            <source>Quillet</source>
            <translation>Quillet</translation>
        </message>
        <message>
            <source>Ready</source>
            <translation>Klaar</translation>
        </message>
        <message>
            <source>Statistics</source>
            <translation>Statistieken</translation>
        </message>
        <message>
            <source>Settings</source>
            <translation>Instellingen</translation>
        </message>
        <message>
            <source>Connection</source>
            <translation>Verbinding</translation>
        </message>
        <message>
            <source>Accessibility</source>
            <translation>Toegankelijkheid</translation>
        </message>
        <message>
            <source>Allowed</source>
            <translation>Toegestaan</translation>
        </message>
        <message>
            <source>Not allowed</source>
            <translation>Niet toegestaan</translation>
        </message>
        <message>
            <source>Not asked yet</source>
            <translation>Nog niet gevraagd</translation>
        </message>
        <message>
            <source>Off</source>
            <translation>Uit</translation>
        </message>
        <message>
            <source>On</source>
            <translation>Aan</translation>
        </message>
        <message>
            <source>Listening</source>
            <translation>Luistert</translation>
        </message>
        <message>
            <source>Needs setup</source>
            <translation>Instellen nodig</translation>
        </message>
        <message>
            <source>Quillet service</source>
            <translation>Quillet-dienst</translation>
        </message>
        <message>
            <source>Reachable</source>
            <translation>Bereikbaar</translation>
        </message>
        <message>
            <source>Not reachable. Pairing and typing need internet.</source>
            <translation>Niet bereikbaar. Koppelen en typen vereisen internet.</translation>
        </message>
        <message>
            <source>Checking</source>
            <translation>Wordt gecontroleerd</translation>
        </message>
        <message>
            <source>Relay connection</source>
            <translation>Relaisverbinding</translation>
        </message>
        <message>
            <source>Connected</source>
            <translation>Verbonden</translation>
        </message>
        <message>
            <source>Reconnecting</source>
            <translation>Opnieuw verbinden</translation>
        </message>
        <message>
            <source>Reconnecting…</source>
            <translation>Opnieuw verbinden…</translation>
        </message>
        <message>
            <source>Offline</source>
            <translation>Offline</translation>
        </message>
        <message>
            <source>No text field</source>
            <translation>Geen tekstveld</translation>
        </message>
        <message>
            <source>Locked</source>
            <translation>Vergrendeld</translation>
        </message>
        <message>
            <source>Asleep</source>
            <translation>In slaapstand</translation>
        </message>
        <message>
            <source>Allow Accessibility to insert text</source>
            <translation>Sta toegankelijkheid toe om tekst in te voegen</translation>
        </message>
        <message>
            <source>Not allowed: drafts only</source>
            <translation>Niet toegestaan: alleen concepten</translation>
        </message>
        <message>
            <source>Paired iPhones</source>
            <translation>Gekoppelde telefoons</translation>
        </message>
        <message>
            <source>Mac needs internet to pair</source>
            <translation>Deze computer heeft internet nodig om te koppelen</translation>
        </message>
        <message>
            <source>Connect this Mac to the internet. This window stays ready.</source>
            <translation>Verbind deze computer met internet. Dit venster blijft klaarstaan.</translation>
        </message>
        <message>
            <source>Try again now</source>
            <translation>Nu opnieuw proberen</translation>
        </message>
        <message>
            <source>The pairing request expired</source>
            <translation>Het koppelverzoek is verlopen</translation>
        </message>
        <message>
            <source>Start again to get a new code.</source>
            <translation>Begin opnieuw voor een nieuwe code.</translation>
        </message>
        <message>
            <source>Start again</source>
            <translation>Opnieuw beginnen</translation>
        </message>
        <message>
            <source>Pairing was cancelled on the iPhone</source>
            <translation>Het koppelen is op de telefoon geannuleerd</translation>
        </message>
        <message>
            <source>Pairing cancelled</source>
            <translation>Koppelen geannuleerd</translation>
        </message>
        <message>
            <source>Nothing was paired. You can start again whenever you like.</source>
            <translation>Er is niets gekoppeld. Je kunt altijd opnieuw beginnen.</translation>
        </message>
        <message>
            <source>Pairing could not be verified</source>
            <translation>Het koppelen kon niet worden gecontroleerd</translation>
        </message>
        <message>
            <source>Nothing was paired. Start again with a new code.</source>
            <translation>Er is niets gekoppeld. Begin opnieuw met een nieuwe code.</translation>
        </message>
        <message>
            <source>Pairing is unavailable right now</source>
            <translation>Koppelen kan nu niet</translation>
        </message>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Dicteren op deze computer</translation>
        </message>
        <message>
            <source>Quillet, connected</source>
            <translation>Quillet, verbonden</translation>
        </message>
        <message>
            <source>Quillet, reconnecting</source>
            <translation>Quillet, opnieuw verbinden</translation>
        </message>
        <message>
            <source>Quillet, offline</source>
            <translation>Quillet, offline</translation>
        </message>
        <message>
            <source>Quillet, dictating</source>
            <translation>Quillet, dicteert</translation>
        </message>
        <message>
            <source>Sent. Thanks for your feedback!</source>
            <translation>Verstuurd. Bedankt voor je feedback!</translation>
        </message>
        <message>
            <source>That email address doesn't look right.</source>
            <translation>Dat e-mailadres lijkt niet te kloppen.</translation>
        </message>
        <message>
            <source>%1 of %2 characters</source>
            <translation>%1 van %2 tekens</translation>
        </message>
        <message>
            <source>Connect to the internet and try again.</source>
            <translation>Maak verbinding met internet en probeer het opnieuw.</translation>
        </message>
        <message>
            <source>You've sent several messages recently. Try again in an hour.</source>
            <translation>Je hebt kort geleden al meer berichten gestuurd. Probeer het over een uur opnieuw.</translation>
        </message>
        <message>
            <source>Something went wrong. Try again later.</source>
            <translation>Er ging iets mis. Probeer het later opnieuw.</translation>
        </message>
        <message>
            <source>Removed from this Mac. The service will be told when it is reachable.</source>
            <translation>Verwijderd van deze computer. De dienst krijgt het te horen zodra die bereikbaar is.</translation>
        </message>
        <message>
            <source>Quillet is not connected to the server.</source>
            <translation>Quillet is niet met de server verbonden.</translation>
        </message>
        <message>
            <source>Couldn't reach the Quillet service. Nothing was deleted.</source>
            <translation>De Quillet-dienst is niet bereikbaar. Er is niets verwijderd.</translation>
        </message>
        <message>
            <source>its keys</source>
            <translation>de sleutels</translation>
        </message>
        <message>
            <source>its paired iPhones</source>
            <translation>de gekoppelde telefoons</translation>
        </message>
        <message>
            <source>what it inserted</source>
            <translation>wat er is ingevoegd</translation>
        </message>
        <message>
            <source>Quillet could not access its key in your Keychain.</source>
            <translation>Quillet kon niet bij zijn sleutel in je sleutelbos.</translation>
        </message>
        <message>
            <source>Quillet has no folder to note in what it inserts, so it inserts nothing from iPhones.</source>
            <translation>Quillet heeft geen map om bij te houden wat het invoegt en voegt daarom niets van telefoons in.</translation>
        </message>
        <message>
            <source>Quillet can't read what it inserted earlier, so it inserts nothing from iPhones. See that its data folder can be read.</source>
            <translation>Quillet kan niet lezen wat het eerder invoegde en voegt daarom niets van telefoons in. Zorg dat de gegevensmap leesbaar is.</translation>
        </message>
        <message>
            <source>Quillet can't note what it inserts, so it inserts nothing from iPhones. See that its data folder can be written and that the disk isn't full.</source>
            <translation>Quillet kan niet bijhouden wat het invoegt en voegt daarom niets van telefoons in. Zorg dat de gegevensmap beschrijfbaar is en dat de schijf niet vol is.</translation>
        </message>
        <message numerus="yes">
            <source>%1 words in total</source>
            <translation>
                <numerusform>%1 woord in totaal</numerusform>
                <numerusform>%1 woorden in totaal</numerusform>
            </translation>
        </message>
        <message>
            <source>Your first dictation starts the count.</source>
            <translation>Je eerste dictaat begint de telling.</translation>
        </message>
        <message>
            <source>Longer than %1.</source>
            <translation>Langer dan %1.</translation>
        </message>
        <message>
            <source>Longer than %1. Tolstoy would be impressed.</source>
            <translation>Langer dan %1. Tolstoj zou onder de indruk zijn.</translation>
        </message>
        <message numerus="yes">
            <source>About %1 pages of a book.</source>
            <translation>
                <numerusform>Ongeveer %1 bladzijde van een boek.</numerusform>
                <numerusform>Ongeveer %1 bladzijden van een boek.</numerusform>
            </translation>
        </message>
        <message>
            <source>A page of a book is about 250 words. Keep talking.</source>
            <translation>Een bladzijde van een boek telt ongeveer 250 woorden. Praat vooral door.</translation>
        </message>
        <message>
            <source>%1 of the way to %2</source>
            <translation>%1 op weg naar %2</translation>
        </message>
        <message>
            <source>%1%</source>
            <translation>%1%</translation>
        </message>
        <message numerus="yes">
            <source>%1 days in a row</source>
            <translation>
                <numerusform>%1 dag op rij</numerusform>
                <numerusform>%1 dagen op rij</numerusform>
            </translation>
        </message>
        <message>
            <source>MMM d</source>
            <translation>d MMM</translation>
        </message>
        <message numerus="yes">
            <source>Best day: %1, %2 words</source>
            <translation>
                <numerusform>Beste dag: %1, %2 woord</numerusform>
                <numerusform>Beste dag: %1, %2 woorden</numerusform>
            </translation>
        </message>
        <message>
            <source>About %1 of typing saved</source>
            <translation>Ongeveer %1 typen bespaard</translation>
        </message>
        <message>
            <source>%1 hr</source>
            <translation>%1 u</translation>
        </message>
        <message>
            <source>%1 min</source>
            <translation>%1 min</translation>
        </message>
        <message>
            <source>The Little Prince</source>
            <translation>De kleine prins</translation>
        </message>
        <message>
            <source>The Great Gatsby</source>
            <translation>De grote Gatsby</translation>
        </message>
        <message>
            <source>Frankenstein</source>
            <translation>Frankenstein</translation>
        </message>
        <message>
            <source>Pride and Prejudice</source>
            <translation>Trots en vooroordeel</translation>
        </message>
        <message>
            <source>Moby-Dick</source>
            <translation>Moby Dick</translation>
        </message>
        <message>
            <source>War and Peace</source>
            <translation>Oorlog en vrede</translation>
        </message>
        <message>
            <source>Click to dictate</source>
            <translation>Klik om te dicteren</translation>
        </message>
        <message>
            <source>Inserted</source>
            <translation>Ingevoegd</translation>
        </message>
        <message>
            <source>No text field to type in</source>
            <translation>Geen tekstveld om in te typen</translation>
        </message>
        <message>
            <source>Can't type into a password field</source>
            <translation>Kan niet in een wachtwoordveld typen</translation>
        </message>
        <message>
            <source>This Mac is locked</source>
            <translation>Deze computer is vergrendeld</translation>
        </message>
        <message>
            <source>Allow Accessibility to type</source>
            <translation>Sta toegankelijkheid toe om te typen</translation>
        </message>
        <message>
            <source>Couldn't type here</source>
            <translation>Kon hier niet typen</translation>
        </message>
        <message>
            <source>Release the keys to type</source>
            <translation>Laat de toetsen los om te typen</translation>
        </message>
        <message>
            <source>Dictation on this Mac needs macOS 26 or later.</source>
            <translation>Dicteren op deze computer vereist een nieuwer systeem.</translation>
        </message>
        <message>
            <source>Allow microphone access in Quillet Settings.</source>
            <translation>Sta de microfoon toe in de instellingen van Quillet.</translation>
        </message>
        <message>
            <source>The microphone isn't available.</source>
            <translation>De microfoon is niet beschikbaar.</translation>
        </message>
        <message>
            <source>This language can't be dictated on this Mac.</source>
            <translation>Deze taal kan op deze computer niet worden gedicteerd.</translation>
        </message>
        <message>
            <source>Download the speech model in Quillet Settings.</source>
            <translation>Download het spraakmodel in de instellingen van Quillet.</translation>
        </message>
        <message>
            <source>Didn't catch that.</source>
            <translation>Dat was niet te verstaan.</translation>
        </message>
        <message>
            <source>Couldn't transcribe that. Try again.</source>
            <translation>Kon dat niet uitschrijven. Probeer het opnieuw.</translation>
        </message>
        <message>
            <source>Cloud transcription is unavailable. Try again shortly.</source>
            <translation>Transcriptie in de cloud is niet beschikbaar. Probeer het zo opnieuw.</translation>
        </message>
        <message>
            <source>Connect this Mac to the internet to dictate.</source>
            <translation>Verbind deze computer met internet om te dicteren.</translation>
        </message>
        <message>
            <source>Press keys…</source>
            <translation>Druk op toetsen…</translation>
        </message>
        <message>
            <source>Another app is using this shortcut. Choose a different one.</source>
            <translation>Een andere app gebruikt deze sneltoets. Kies een andere.</translation>
        </message>
        <message>
            <source>If pressing fn opens the emoji picker, set “Press 🌐 key to” to “Do Nothing” in System Settings → Keyboard.</source>
            <translation>Doet Fn ook iets anders, zet dat dan uit in de toetsenbordinstellingen van je bureaublad.</translation>
        </message>
        <message>
            <source>System default (%1)</source>
            <translation>Systeemstandaard (%1)</translation>
        </message>
        <message>
            <source>%1 (not connected)</source>
            <translation>%1 (niet aangesloten)</translation>
        </message>
        <message>
            <source>Use ⌘, ⌃ or ⌥ with that key, or a modifier key on its own.</source>
            <translation>Gebruik Super, Ctrl of Alt samen met die toets, of een combinatietoets alleen.</translation>
        </message>
        <message>
            <source>macOS already uses %1.</source>
            <translation>Je bureaublad gebruikt %1 al.</translation>
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
            <translation>Ctrl links</translation>
        </message>
        <message>
            <source>Right ⌃</source>
            <translation>Ctrl rechts</translation>
        </message>
        <message>
            <source>Left ⇧</source>
            <translation>Shift links</translation>
        </message>
        <message>
            <source>Right ⇧</source>
            <translation>Shift rechts</translation>
        </message>
        <message>
            <source>fn</source>
            <translation>Fn</translation>
        </message>
        <message>
            <source>Space</source>
            <translation>Spatie</translation>
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
            <source>Key </source>
            <translation>Toets </translation>
        </message>
        <message>
            <source>Hold %1 or press %2</source>
            <translation>Houd %1 ingedrukt of druk op %2</translation>
        </message>
        <message>
            <source>Hold %1 to dictate</source>
            <translation>Houd %1 ingedrukt om te dicteren</translation>
        </message>
        <message>
            <source>Press %1 to dictate</source>
            <translation>Druk op %1 om te dicteren</translation>
        </message>
        <message>
            <source>Automatic</source>
            <translation>Automatisch</translation>
        </message>
        <message>
            <source>System default</source>
            <translation>Systeemstandaard</translation>
        </message>
        <message>
            <source>On this Mac</source>
            <translation>Op deze computer</translation>
        </message>
        <message>
            <source>Your voice is sent securely through our service to Microsoft Azure for transcription. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Je stem wordt beveiligd via je Quillet-dienst naar %1 gestuurd om te worden uitgeschreven. Het geluid blijft tijdens het dicteren in het geheugen van deze computer en wordt daarna weggegooid.</translation>
        </message>
        <message>
            <source>Your voice is sent securely through our service for transcription. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Je stem wordt beveiligd naar je Quillet-dienst gestuurd om te worden uitgeschreven. Het geluid blijft tijdens het dicteren in het geheugen van deze computer en wordt daarna weggegooid.</translation>
        </message>
        <message>
            <source>Your voice is transcribed by an engine of your own. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Je stem wordt uitgeschreven door een eigen spraakherkenner. Het geluid blijft tijdens het dicteren in het geheugen van deze computer en wordt daarna weggegooid.</translation>
        </message>
        <message>
            <source>The address of the service holds a user name or a password, which Quillet never sends. Set it without them and start Quillet anew.</source>
            <translation>Het adres van de dienst bevat een gebruikersnaam of wachtwoord, dat Quillet nooit verstuurt. Stel het zonder in en start Quillet opnieuw.</translation>
        </message>
        <message>
            <source>The address of an engine begins with http, https or tcp.</source>
            <translation>Het adres van een spraakherkenner begint met http, https of tcp.</translation>
        </message>
    </context>
</TS>
