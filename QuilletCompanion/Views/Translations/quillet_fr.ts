<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
    <context>
        <name>AccessibilityNote</name>
        <message>
            <source>Most apps show their fields by themselves. Chromium and browsers made from it must be started with --force-renderer-accessibility, Java programs need their accessibility bridge, and of terminals only some show themselves, such as xfce4-terminal and Sakura.</source>
            <translation>La plupart des applications montrent leurs champs d’elles-mêmes. Chromium et ses dérivés doivent être lancés avec --force-renderer-accessibility, les programmes Java ont besoin de leur pont d’accessibilité, et seuls certains terminaux le font, comme xfce4-terminal et Sakura.</translation>
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
            <translation>Inséré depuis le téléphone</translation>
        </message>
    </context>
    <context>
        <name>CheckPane</name>
        <message>
            <source>Test connection</source>
            <translation>Tester la connexion</translation>
        </message>
        <message>
            <source>Check again</source>
            <translation>Vérifier à nouveau</translation>
        </message>
        <message>
            <source>Test field</source>
            <translation>Champ de test</translation>
        </message>
        <message>
            <source>Click in this field, then speak on a paired iPhone. The text arrives here, even before Accessibility is allowed.</source>
            <translation>Cliquez dans ce champ, puis parlez sur un téléphone associé. Le texte arrive ici, même si l’accessibilité n’est pas encore autorisée.</translation>
        </message>
        <message>
            <source>Received from iPhone</source>
            <translation>Reçu du téléphone</translation>
        </message>
        <message>
            <source>Clear</source>
            <translation>Effacer</translation>
        </message>
    </context>
    <context>
        <name>Confirmation</name>
        <message>
            <source>Cancel</source>
            <translation>Annuler</translation>
        </message>
    </context>
    <context>
        <name>DictationSettings</name>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Dictée sur cet ordinateur</translation>
        </message>
        <message>
            <source>Dictate on this Mac</source>
            <translation>Dicter sur cet ordinateur</translation>
        </message>
        <message>
            <source>Speak into your Mac's microphone and the text is typed where your cursor is.</source>
            <translation>Parlez dans le microphone de votre ordinateur et le texte est écrit là où se trouve votre curseur.</translation>
        </message>
        <message>
            <source>Hold to talk</source>
            <translation>Maintenir pour parler</translation>
        </message>
        <message>
            <source>Hold while you speak. Let go to type the text.</source>
            <translation>Maintenez pendant que vous parlez. Relâchez pour écrire le texte.</translation>
        </message>
        <message>
            <source>Start and stop</source>
            <translation>Démarrer et arrêter</translation>
        </message>
        <message>
            <source>Press once to start, and again to type the text.</source>
            <translation>Appuyez une fois pour démarrer, puis à nouveau pour écrire le texte.</translation>
        </message>
        <message>
            <source>Show dictation button</source>
            <translation>Afficher le bouton de dictée</translation>
        </message>
        <message>
            <source>A small button at the bottom of the screen. Click it to start and stop.</source>
            <translation>Un petit bouton en bas de l’écran. Cliquez dessus pour démarrer et arrêter.</translation>
        </message>
        <message>
            <source>Language</source>
            <translation>Langue</translation>
        </message>
        <message>
            <source>Streaming transcription</source>
            <translation>Transcription en continu</translation>
        </message>
        <message>
            <source>Transcribe while you speak. If the live connection fails, the same audio is transcribed after you stop.</source>
            <translation>Transcrire pendant que vous parlez. Si la connexion directe échoue, le même son est transcrit quand vous arrêtez.</translation>
        </message>
        <message>
            <source>Remove filler words</source>
            <translation>Supprimer les hésitations</translation>
        </message>
        <message>
            <source>Leave out ums and hesitations. Transcription starts after you stop.</source>
            <translation>Ignore les « euh » et les hésitations. La transcription commence quand vous arrêtez.</translation>
        </message>
        <message>
            <source>Music while dictating</source>
            <translation>Musique pendant la dictée</translation>
        </message>
        <message>
            <source>Muffle</source>
            <translation>Étouffer</translation>
        </message>
        <message>
            <source>Pause</source>
            <translation>Mettre en pause</translation>
        </message>
        <message>
            <source>Keep playing</source>
            <translation>Laisser jouer</translation>
        </message>
        <message>
            <source>Music and videos keep playing but sound muffled, as if from the next room, until you stop speaking.</source>
            <translation>La musique et les vidéos continuent, mais étouffées, comme de la pièce voisine, jusqu’à ce que vous cessiez de parler.</translation>
        </message>
        <message>
            <source>Music and videos pause while you speak and start again when you stop.</source>
            <translation>La musique et les vidéos s’interrompent pendant que vous parlez et reprennent ensuite.</translation>
        </message>
        <message>
            <source>Music and videos play as usual.</source>
            <translation>La musique et les vidéos jouent normalement.</translation>
        </message>
        <message>
            <source>System audio</source>
            <translation>Son du système</translation>
        </message>
        <message>
            <source>To muffle music, turn on Quillet under System Audio Recording Only. Audio is filtered as it plays and never recorded.</source>
            <translation>Le son est filtré pendant la lecture et jamais enregistré.</translation>
        </message>
        <message>
            <source>Microphone</source>
            <translation>Microphone</translation>
        </message>
        <message>
            <source>Microphone to use</source>
            <translation>Microphone à utiliser</translation>
        </message>
        <message>
            <source>Used for dictation on this Mac.</source>
            <translation>Utilisé pour la dictée sur cet ordinateur.</translation>
        </message>
        <message>
            <source>Transcription</source>
            <translation>Transcription</translation>
        </message>
        <message>
            <source>Allow Accessibility so dictation can type into other apps.</source>
            <translation>Autorisez l’accessibilité pour que la dictée puisse écrire dans d’autres applications.</translation>
        </message>
        <message>
            <source>Open Settings</source>
            <translation>Activer l’accessibilité</translation>
        </message>
        <message>
            <source>Open sound settings</source>
            <translation>Ouvrir les paramètres du son</translation>
        </message>
        <message>
            <source>Press Esc to cancel a dictation. If there's no text field to type in, you can copy the text instead.</source>
            <translation>Appuyez sur Échap pour annuler une dictée. S’il n’y a pas de champ où écrire, vous pouvez copier le texte.</translation>
        </message>
        <message>
            <source>Transcribe</source>
            <translation>Transcrire</translation>
        </message>
        <message>
            <source>In the cloud</source>
            <translation>Dans le cloud</translation>
        </message>
        <message>
            <source>On this Mac</source>
            <translation>Sur cet ordinateur</translation>
        </message>
    </context>
    <context>
        <name>EngineField</name>
        <message>
            <source>Engine</source>
            <translation>Moteur</translation>
        </message>
        <message>
            <source>Built in, English only</source>
            <translation>Intégré, anglais seulement</translation>
        </message>
        <message>
            <source>Use engine</source>
            <translation>Utiliser</translation>
        </message>
        <message>
            <source>Leave this empty for the engine in Quillet, or write the address of your own.</source>
            <translation>Laissez ce champ vide pour le moteur de Quillet, ou saisissez l’adresse du vôtre.</translation>
        </message>
    </context>
    <context>
        <name>OnboardingWindow</name>
        <message>
            <source>Set Up Quillet</source>
            <translation>Configurer Quillet</translation>
        </message>
        <message>
            <source>Step %1 of %2</source>
            <translation>Étape %1 sur %2</translation>
        </message>
        <message>
            <source>Use your iPhone to type on this Mac.</source>
            <translation>Utilisez votre téléphone pour écrire sur cet ordinateur.</translation>
        </message>
        <message>
            <source>Speak on your iPhone and the words appear in the text field you're using here.</source>
            <translation>Parlez sur votre téléphone et les mots apparaissent dans le champ de texte que vous utilisez ici.</translation>
        </message>
        <message>
            <source>Name this Mac</source>
            <translation>Nommez cet ordinateur</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Nom de l’ordinateur</translation>
        </message>
        <message>
            <source>For example “Work laptop” or “Home Mac mini”. Your iPhone shows this name.</source>
            <translation>Par exemple « Portable du bureau » ou « Salon ». Votre téléphone affiche ce nom.</translation>
        </message>
        <message>
            <source>Launch at Login</source>
            <translation>Lancer à l’ouverture de session</translation>
        </message>
        <message>
            <source>Quillet lives in the menu bar. Close this window any time; it keeps running there.</source>
            <translation>Quillet se trouve dans la zone de notification. Fermez cette fenêtre quand vous voulez ; il continue d’y fonctionner.</translation>
        </message>
        <message>
            <source>Pair an iPhone</source>
            <translation>Associer un téléphone</translation>
        </message>
        <message>
            <source>Test connection</source>
            <translation>Tester la connexion</translation>
        </message>
        <message>
            <source>Allow typing on this Mac</source>
            <translation>Autoriser la saisie sur cet ordinateur</translation>
        </message>
        <message>
            <source>Allow Quillet to insert text into the field you're using. macOS calls this Accessibility access. You can turn it off in System Settings.</source>
            <translation>Autorisez Quillet à insérer du texte dans le champ que vous utilisez. Votre bureau appelle cela l’accessibilité. Vous pouvez la désactiver dans ses paramètres.</translation>
        </message>
        <message>
            <source>Access is on, but this copy of Quillet needs to restart to use it.</source>
            <translation>L’accès est activé, mais Quillet doit redémarrer pour l’utiliser.</translation>
        </message>
        <message>
            <source>Restart app</source>
            <translation>Redémarrer l’application</translation>
        </message>
        <message>
            <source>Quillet still can't type in other apps. Turn on its switch under Privacy &amp; Security → Accessibility.</source>
            <translation>Quillet ne peut toujours pas écrire dans d’autres applications. Activez l’accessibilité, ou la prise en charge des lecteurs d’écran, dans les paramètres de votre bureau.</translation>
        </message>
        <message>
            <source>Already on? Remove the entry, add this installed copy again, then reopen Quillet. Managed Macs may block access.</source>
            <translation>Déjà activée ? Fermez les applications dans lesquelles vous écrivez et rouvrez-les : beaucoup ne la cherchent qu’au démarrage.</translation>
        </message>
        <message>
            <source>Continue with drafts</source>
            <translation>Continuer avec des brouillons</translation>
        </message>
        <message>
            <source>Try again</source>
            <translation>Réessayer</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Activer l’accessibilité</translation>
        </message>
        <message>
            <source>Waiting for access…</source>
            <translation>En attente de l’accès…</translation>
        </message>
        <message>
            <source>Not now</source>
            <translation>Pas maintenant</translation>
        </message>
        <message>
            <source>Ready</source>
            <translation>Prêt</translation>
        </message>
        <message>
            <source>Open Notes, click in a note, then speak on your iPhone. Your words appear where the cursor is.</source>
            <translation>Ouvrez un éditeur, cliquez dedans, puis parlez sur votre téléphone. Vos mots apparaissent là où se trouve le curseur.</translation>
        </message>
        <message>
            <source>Done</source>
            <translation>Terminé</translation>
        </message>
        <message>
            <source>Open Notes</source>
            <translation>Ouvrir l’éditeur</translation>
        </message>
    </context>
    <context>
        <name>PairWindow</name>
        <message>
            <source>Pair an iPhone</source>
            <translation>Associer un téléphone</translation>
        </message>
    </context>
    <context>
        <name>PairingPane</name>
        <message>
            <source>Preparing a pairing code…</source>
            <translation>Préparation d’un code d’association…</translation>
        </message>
        <message>
            <source>Pair an iPhone</source>
            <translation>Associer un téléphone</translation>
        </message>
        <message>
            <source>Open Quillet on your iPhone and scan this code.</source>
            <translation>Ouvrez Quillet sur votre téléphone et scannez ce code.</translation>
        </message>
        <message>
            <source>Pairing QR code</source>
            <translation>Code QR d’association</translation>
        </message>
        <message>
            <source>Enter this code on your iPhone</source>
            <translation>Saisissez ce code sur votre téléphone</translation>
        </message>
        <message>
            <source>Waiting for the network…</source>
            <translation>En attente du réseau…</translation>
        </message>
        <message>
            <source>Expires in %1</source>
            <translation>Expire dans %1</translation>
        </message>
        <message numerus="yes">
            <source>Code refreshes in %1 seconds</source>
            <translation>
                <numerusform>Le code change dans %1 seconde</numerusform>
                <numerusform>Le code change dans %1 secondes</numerusform>
            </translation>
        </message>
        <message>
            <source>Show the QR code instead</source>
            <translation>Afficher plutôt le code QR</translation>
        </message>
        <message>
            <source>Enter code instead</source>
            <translation>Saisir plutôt un code</translation>
        </message>
        <message>
            <source>Check that your iPhone shows the same four words.</source>
            <translation>Vérifiez que votre téléphone affiche les quatre mêmes mots.</translation>
        </message>
        <message>
            <source>Verification words: %1</source>
            <translation>Mots de vérification : %1</translation>
        </message>
        <message>
            <source>If the words are different, cancel. Someone else may be trying to pair.</source>
            <translation>Si les mots sont différents, annulez. Quelqu’un d’autre essaie peut-être de s’associer.</translation>
        </message>
        <message>
            <source>Confirm on your iPhone to finish.</source>
            <translation>Confirmez sur votre téléphone pour terminer.</translation>
        </message>
        <message>
            <source>Cancel pairing</source>
            <translation>Annuler l’association</translation>
        </message>
        <message>
            <source>Confirm</source>
            <translation>Confirmer</translation>
        </message>
        <message>
            <source>“%1” is paired</source>
            <translation>« %1 » est associé</translation>
        </message>
        <message>
            <source>You can pair more iPhones at any time from the menu bar.</source>
            <translation>Vous pouvez associer d’autres téléphones à tout moment depuis la zone de notification.</translation>
        </message>
        <message>
            <source>Pair another iPhone</source>
            <translation>Associer un autre téléphone</translation>
        </message>
        <message>
            <source>Continue</source>
            <translation>Continuer</translation>
        </message>
        <message>
            <source>Retrying automatically…</source>
            <translation>Nouvelle tentative automatique…</translation>
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
            <translation>Commencer la dictée</translation>
        </message>
        <message>
            <source>Cancel</source>
            <translation>Annuler</translation>
        </message>
        <message>
            <source>Stop and insert</source>
            <translation>Arrêter et insérer</translation>
        </message>
        <message>
            <source>Copy text</source>
            <translation>Copier le texte</translation>
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
            <translation>L’identité d’association de cet ordinateur a été supprimée du service. Réinitialisez-la dans les paramètres.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Associer un téléphone…</translation>
        </message>
        <message>
            <source>Test connection…</source>
            <translation>Tester la connexion…</translation>
        </message>
        <message>
            <source>Continue setup…</source>
            <translation>Poursuivre la configuration…</translation>
        </message>
        <message>
            <source>Copy last dictation</source>
            <translation>Copier la dernière dictée</translation>
        </message>
        <message>
            <source>Statistics</source>
            <translation>Statistiques</translation>
        </message>
        <message>
            <source>Settings</source>
            <translation>Paramètres</translation>
        </message>
        <message>
            <source>Quit Quillet</source>
            <translation>Quitter Quillet</translation>
        </message>
        <message>
            <source>Update to version %1…</source>
            <translation>Mettre à jour vers la version %1…</translation>
        </message>
        <message>
            <source>Check for Updates…</source>
            <translation>Rechercher les mises à jour…</translation>
        </message>
    </context>
    <context>
        <name>SettingsWindow</name>
        <message>
            <source>Quillet Settings</source>
            <translation>Paramètres de Quillet</translation>
        </message>
        <message>
            <source>This Mac</source>
            <translation>Cet ordinateur</translation>
        </message>
        <message>
            <source>Mac name</source>
            <translation>Nom de l’ordinateur</translation>
        </message>
        <message>
            <source>Save name</source>
            <translation>Enregistrer le nom</translation>
        </message>
        <message>
            <source>Launch at Login</source>
            <translation>Lancer à l’ouverture de session</translation>
        </message>
        <message>
            <source>Paired iPhones</source>
            <translation>Téléphones associés</translation>
        </message>
        <message>
            <source>No iPhones are paired yet.</source>
            <translation>Aucun téléphone n’est encore associé.</translation>
        </message>
        <message>
            <source>Pair an iPhone…</source>
            <translation>Associer un téléphone…</translation>
        </message>
        <message>
            <source>Paired %1</source>
            <translation>Associé le %1</translation>
        </message>
        <message>
            <source>Last seen %1</source>
            <translation>Vu pour la dernière fois le %1</translation>
        </message>
        <message>
            <source>Revoke</source>
            <translation>Révoquer</translation>
        </message>
        <message>
            <source>Accessibility</source>
            <translation>Accessibilité</translation>
        </message>
        <message>
            <source>Quillet can insert text into other apps.</source>
            <translation>Quillet peut insérer du texte dans d’autres applications.</translation>
        </message>
        <message>
            <source>Not allowed. Dictations are kept as drafts on your iPhone.</source>
            <translation>Non autorisé. Les dictées sont conservées comme brouillons sur votre téléphone.</translation>
        </message>
        <message>
            <source>Open Accessibility Settings</source>
            <translation>Activer l’accessibilité</translation>
        </message>
        <message>
            <source>Connection check</source>
            <translation>Vérification de la connexion</translation>
        </message>
        <message>
            <source>Open Test Connection…</source>
            <translation>Ouvrir le test de connexion…</translation>
        </message>
        <message>
            <source>Updates</source>
            <translation>Mises à jour</translation>
        </message>
        <message>
            <source>Development builds don't update themselves.</source>
            <translation>Les versions de développement ne se mettent pas à jour elles-mêmes.</translation>
        </message>
        <message>
            <source>Dictated text is end-to-end encrypted between your iPhone and this Mac. The relay only passes ciphertext. Quillet never presses Return or uses the clipboard.</source>
            <translation>Le texte dicté est chiffré de bout en bout entre votre téléphone et cet ordinateur. Le relais ne transmet que du texte chiffré. Quillet n’appuie jamais sur Entrée et n’utilise pas le presse-papiers.</translation>
        </message>
        <message>
            <source>Your paired iPhones receive only a minimal readiness update from this Mac: its name, whether it is ready, the current app's name, and a generic field type. Field contents and selected text are never sent.</source>
            <translation>Vos téléphones associés ne reçoivent de cet ordinateur qu’un état minimal : son nom, s’il est prêt, le nom de l’application en cours et un type de champ générique. Le contenu des champs et le texte sélectionné ne sont jamais envoyés.</translation>
        </message>
        <message>
            <source>Feedback</source>
            <translation>Votre avis</translation>
        </message>
        <message>
            <source>Message</source>
            <translation>Message</translation>
        </message>
        <message>
            <source>What's working, what isn't, what you'd like next</source>
            <translation>Ce qui marche, ce qui ne marche pas, ce que vous aimeriez ensuite</translation>
        </message>
        <message>
            <source>Your email</source>
            <translation>Votre adresse e-mail</translation>
        </message>
        <message>
            <source>Optional, if you'd like a reply</source>
            <translation>Facultatif, si vous souhaitez une réponse</translation>
        </message>
        <message>
            <source>Goes straight to the developer with the app version, macOS version and Mac model. Nothing else is attached.</source>
            <translation>Envoyé à la personne qui gère votre service Quillet, avec la version de l’application, la version du système et le modèle de l’ordinateur. Rien d’autre n’est joint.</translation>
        </message>
        <message>
            <source>Sent. Thanks for your feedback!</source>
            <translation>Envoyé. Merci pour votre avis !</translation>
        </message>
        <message>
            <source>Send Feedback</source>
            <translation>Envoyer l’avis</translation>
        </message>
        <message>
            <source>The service no longer accepts this Mac's identity. Reset it to pair again.</source>
            <translation>Le service n’accepte plus l’identité de cet ordinateur. Réinitialisez-la pour vous associer à nouveau.</translation>
        </message>
        <message>
            <source>Reset this Mac</source>
            <translation>Réinitialiser cet ordinateur</translation>
        </message>
        <message>
            <source>Delete my cloud data…</source>
            <translation>Supprimer mes données en ligne…</translation>
        </message>
        <message>
            <source>Removes this Mac's identity and pairings from the Quillet service, then clears its keys, paired iPhones and insertion journal from this Mac.</source>
            <translation>Supprime du service Quillet l’identité et les associations de cet ordinateur, puis efface de cet ordinateur ses clés, les téléphones associés et le journal des insertions.</translation>
        </message>
        <message>
            <source>This iPhone will no longer be able to type on this Mac. Other iPhones are not affected.</source>
            <translation>Ce téléphone ne pourra plus écrire sur cet ordinateur. Les autres téléphones ne sont pas concernés.</translation>
        </message>
        <message>
            <source>Delete your cloud data?</source>
            <translation>Supprimer vos données en ligne ?</translation>
        </message>
        <message>
            <source>All paired iPhones will be disconnected and must pair again.</source>
            <translation>Tous les téléphones associés seront déconnectés et devront être associés à nouveau.</translation>
        </message>
        <message>
            <source>Delete</source>
            <translation>Supprimer</translation>
        </message>
        <message>
            <source>Check for updates automatically</source>
            <translation>Rechercher automatiquement les mises à jour</translation>
        </message>
        <message>
            <source>Download and install updates automatically</source>
            <translation>Télécharger et installer automatiquement les mises à jour</translation>
        </message>
        <message>
            <source>Version %1</source>
            <translation>Version %1</translation>
        </message>
        <message>
            <source>Check for Updates…</source>
            <translation>Rechercher les mises à jour…</translation>
        </message>
    </context>
    <context>
        <name>ShortcutField</name>
        <message>
            <source>Turn “%1” off</source>
            <translation>Désactiver « %1 »</translation>
        </message>
    </context>
    <context>
        <name>StatisticsWindow</name>
        <message>
            <source>Statistics</source>
            <translation>Statistiques</translation>
        </message>
        <message>
            <source>Words transcribed</source>
            <translation>Mots transcrits</translation>
        </message>
        <message>
            <source>Today</source>
            <translation>Aujourd’hui</translation>
        </message>
        <message>
            <source>This week</source>
            <translation>Cette semaine</translation>
        </message>
        <message>
            <source>This month</source>
            <translation>Ce mois-ci</translation>
        </message>
        <message>
            <source>Last 7 days</source>
            <translation>7 derniers jours</translation>
        </message>
        <message>
            <source>Words per day, last 7 days</source>
            <translation>Mots par jour, 7 derniers jours</translation>
        </message>
        <message>
            <source>Words</source>
            <translation>Mots</translation>
        </message>
        <message>
            <source>By device</source>
            <translation>Par appareil</translation>
        </message>
        <message>
            <source>This device</source>
            <translation>Cet appareil</translation>
        </message>
        <message>
            <source>Synced with iCloud across your devices. Only word counts are stored, never what you said.</source>
            <translation>Additionné sur vos appareils grâce au dossier qu’ils partagent. Seul le nombre de mots est conservé, jamais ce que vous avez dit.</translation>
        </message>
        <message>
            <source>Counted on this device. Sign in to iCloud to add up all your devices. Only word counts are stored, never what you said.</source>
            <translation>Compté sur cet appareil. Indiquez un dossier partagé par vos appareils pour tous les additionner. Seul le nombre de mots est conservé, jamais ce que vous avez dit.</translation>
        </message>
    </context>
    <context>
        <name>TestConnectionWindow</name>
        <message>
            <source>Test Connection</source>
            <translation>Tester la connexion</translation>
        </message>
    </context>
    <context>
        <name>WordStatsStrip</name>
        <message>
            <source>Words transcribed today: %1. In total: %2.</source>
            <translation>Mots transcrits aujourd’hui : %1. Au total : %2.</translation>
        </message>
        <message>
            <source>Opens Statistics</source>
            <translation>Ouvre les statistiques</translation>
        </message>
        <message>
            <source>Today</source>
            <translation>Aujourd’hui</translation>
        </message>
        <message>
            <source>Week</source>
            <translation>Semaine</translation>
        </message>
        <message>
            <source>Month</source>
            <translation>Mois</translation>
        </message>
        <message>
            <source>Total</source>
            <translation>Total</translation>
        </message>
    </context>
    <context>
        <name>Quillet</name>
        <message>
            <source>Open Quillet</source>
            <translation>Ouvrir Quillet</translation>
        </message>
        <message>
            <source>Quillet</source>
            <translation>Quillet</translation>
        </message>
        <message>
            <source>Ready</source>
            <translation>Prêt</translation>
        </message>
        <message>
            <source>Statistics</source>
            <translation>Statistiques</translation>
        </message>
        <message>
            <source>Settings</source>
            <translation>Paramètres</translation>
        </message>
        <message>
            <source>Connection</source>
            <translation>Connexion</translation>
        </message>
        <message>
            <source>Accessibility</source>
            <translation>Accessibilité</translation>
        </message>
        <message>
            <source>Allowed</source>
            <translation>Autorisé</translation>
        </message>
        <message>
            <source>Not allowed</source>
            <translation>Non autorisé</translation>
        </message>
        <message>
            <source>Not asked yet</source>
            <translation>Pas encore demandé</translation>
        </message>
        <message>
            <source>Off</source>
            <translation>Désactivé</translation>
        </message>
        <message>
            <source>On</source>
            <translation>Activé</translation>
        </message>
        <message>
            <source>Listening</source>
            <translation>À l’écoute</translation>
        </message>
        <message>
            <source>Needs setup</source>
            <translation>À configurer</translation>
        </message>
        <message>
            <source>Quillet service</source>
            <translation>Service Quillet</translation>
        </message>
        <message>
            <source>Reachable</source>
            <translation>Joignable</translation>
        </message>
        <message>
            <source>Not reachable. Pairing and typing need internet.</source>
            <translation>Injoignable. L’association et la saisie nécessitent Internet.</translation>
        </message>
        <message>
            <source>Checking</source>
            <translation>Vérification</translation>
        </message>
        <message>
            <source>Relay connection</source>
            <translation>Connexion au relais</translation>
        </message>
        <message>
            <source>Connected</source>
            <translation>Connecté</translation>
        </message>
        <message>
            <source>Reconnecting</source>
            <translation>Reconnexion</translation>
        </message>
        <message>
            <source>Reconnecting…</source>
            <translation>Reconnexion…</translation>
        </message>
        <message>
            <source>Offline</source>
            <translation>Hors ligne</translation>
        </message>
        <message>
            <source>No text field</source>
            <translation>Aucun champ de texte</translation>
        </message>
        <message>
            <source>Locked</source>
            <translation>Verrouillé</translation>
        </message>
        <message>
            <source>Asleep</source>
            <translation>En veille</translation>
        </message>
        <message>
            <source>Allow Accessibility to insert text</source>
            <translation>Autorisez l’accessibilité pour insérer du texte</translation>
        </message>
        <message>
            <source>Not allowed: drafts only</source>
            <translation>Non autorisé : brouillons seulement</translation>
        </message>
        <message>
            <source>Paired iPhones</source>
            <translation>Téléphones associés</translation>
        </message>
        <message>
            <source>Mac needs internet to pair</source>
            <translation>Cet ordinateur a besoin d’Internet pour l’association</translation>
        </message>
        <message>
            <source>Connect this Mac to the internet. This window stays ready.</source>
            <translation>Connectez cet ordinateur à Internet. Cette fenêtre reste prête.</translation>
        </message>
        <message>
            <source>Try again now</source>
            <translation>Réessayer maintenant</translation>
        </message>
        <message>
            <source>The pairing request expired</source>
            <translation>La demande d’association a expiré</translation>
        </message>
        <message>
            <source>Start again to get a new code.</source>
            <translation>Recommencez pour obtenir un nouveau code.</translation>
        </message>
        <message>
            <source>Start again</source>
            <translation>Recommencer</translation>
        </message>
        <message>
            <source>Pairing was cancelled on the iPhone</source>
            <translation>L’association a été annulée sur le téléphone</translation>
        </message>
        <message>
            <source>Pairing cancelled</source>
            <translation>Association annulée</translation>
        </message>
        <message>
            <source>Nothing was paired. You can start again whenever you like.</source>
            <translation>Rien n’a été associé. Vous pouvez recommencer quand vous voulez.</translation>
        </message>
        <message>
            <source>Pairing could not be verified</source>
            <translation>L’association n’a pas pu être vérifiée</translation>
        </message>
        <message>
            <source>Nothing was paired. Start again with a new code.</source>
            <translation>Rien n’a été associé. Recommencez avec un nouveau code.</translation>
        </message>
        <message>
            <source>Pairing is unavailable right now</source>
            <translation>L’association est indisponible pour le moment</translation>
        </message>
        <message>
            <source>Dictation on this Mac</source>
            <translation>Dictée sur cet ordinateur</translation>
        </message>
        <message>
            <source>Quillet, connected</source>
            <translation>Quillet, connecté</translation>
        </message>
        <message>
            <source>Quillet, reconnecting</source>
            <translation>Quillet, reconnexion</translation>
        </message>
        <message>
            <source>Quillet, offline</source>
            <translation>Quillet, hors ligne</translation>
        </message>
        <message>
            <source>Quillet, dictating</source>
            <translation>Quillet, dictée en cours</translation>
        </message>
        <message>
            <source>Sent. Thanks for your feedback!</source>
            <translation>Envoyé. Merci pour votre avis !</translation>
        </message>
        <message>
            <source>That email address doesn't look right.</source>
            <translation>Cette adresse e-mail ne semble pas correcte.</translation>
        </message>
        <message>
            <source>%1 of %2 characters</source>
            <translation>%1 sur %2 caractères</translation>
        </message>
        <message>
            <source>Connect to the internet and try again.</source>
            <translation>Connectez-vous à Internet et réessayez.</translation>
        </message>
        <message>
            <source>You've sent several messages recently. Try again in an hour.</source>
            <translation>Vous avez envoyé plusieurs messages récemment. Réessayez dans une heure.</translation>
        </message>
        <message>
            <source>Something went wrong. Try again later.</source>
            <translation>Une erreur s’est produite. Réessayez plus tard.</translation>
        </message>
        <message>
            <source>Removed from this Mac. The service will be told when it is reachable.</source>
            <translation>Retiré de cet ordinateur. Le service en sera informé dès qu’il sera joignable.</translation>
        </message>
        <message>
            <source>Quillet is not connected to the server.</source>
            <translation>Quillet n’est pas connecté au serveur.</translation>
        </message>
        <message>
            <source>Couldn't reach the Quillet service. Nothing was deleted.</source>
            <translation>Le service Quillet est injoignable. Rien n’a été supprimé.</translation>
        </message>
        <message>
            <source>its keys</source>
            <translation>ses clés</translation>
        </message>
        <message>
            <source>its paired iPhones</source>
            <translation>ses téléphones associés</translation>
        </message>
        <message>
            <source>what it inserted</source>
            <translation>ce qu’il a inséré</translation>
        </message>
        <message>
            <source>Quillet could not access its key in your Keychain.</source>
            <translation>Quillet n’a pas pu accéder à sa clé dans votre trousseau.</translation>
        </message>
        <message>
            <source>Quillet has no folder to note in what it inserts, so it inserts nothing from iPhones.</source>
            <translation>Quillet n’a pas de dossier où noter ce qu’il insère, il n’insère donc rien depuis les téléphones.</translation>
        </message>
        <message>
            <source>Quillet can't read what it inserted earlier, so it inserts nothing from iPhones. See that its data folder can be read.</source>
            <translation>Quillet ne peut pas lire ce qu’il a inséré auparavant, il n’insère donc rien depuis les téléphones. Vérifiez que son dossier de données est lisible.</translation>
        </message>
        <message>
            <source>Quillet can't note what it inserts, so it inserts nothing from iPhones. See that its data folder can be written and that the disk isn't full.</source>
            <translation>Quillet ne peut pas noter ce qu’il insère, il n’insère donc rien depuis les téléphones. Vérifiez que son dossier de données est accessible en écriture et que le disque n’est pas plein.</translation>
        </message>
        <message numerus="yes">
            <source>%1 words in total</source>
            <translation>
                <numerusform>%1 mot au total</numerusform>
                <numerusform>%1 mots au total</numerusform>
            </translation>
        </message>
        <message>
            <source>Your first dictation starts the count.</source>
            <translation>Votre première dictée lance le compteur.</translation>
        </message>
        <message>
            <source>Longer than %1.</source>
            <translation>Plus long que « %1 ».</translation>
        </message>
        <message>
            <source>Longer than %1. Tolstoy would be impressed.</source>
            <translation>Plus long que « %1 ». Tolstoï serait impressionné.</translation>
        </message>
        <message numerus="yes">
            <source>About %1 pages of a book.</source>
            <translation>
                <numerusform>Environ %1 page d’un livre.</numerusform>
                <numerusform>Environ %1 pages d’un livre.</numerusform>
            </translation>
        </message>
        <message>
            <source>A page of a book is about 250 words. Keep talking.</source>
            <translation>Une page de livre compte environ 250 mots. Continuez à parler.</translation>
        </message>
        <message>
            <source>%1 of the way to %2</source>
            <translation>%1 du chemin vers « %2 »</translation>
        </message>
        <message>
            <source>%1%</source>
            <translation>%1 %</translation>
        </message>
        <message numerus="yes">
            <source>%1 days in a row</source>
            <translation>
                <numerusform>%1 jour d’affilée</numerusform>
                <numerusform>%1 jours d’affilée</numerusform>
            </translation>
        </message>
        <message>
            <source>MMM d</source>
            <translation>d MMM</translation>
        </message>
        <message numerus="yes">
            <source>Best day: %1, %2 words</source>
            <translation>
                <numerusform>Meilleur jour : %1, %2 mot</numerusform>
                <numerusform>Meilleur jour : %1, %2 mots</numerusform>
            </translation>
        </message>
        <message>
            <source>About %1 of typing saved</source>
            <translation>Environ %1 de frappe économisées</translation>
        </message>
        <message>
            <source>%1 hr</source>
            <translation>%1 h</translation>
        </message>
        <message>
            <source>%1 min</source>
            <translation>%1 min</translation>
        </message>
        <message>
            <source>The Little Prince</source>
            <translation>Le Petit Prince</translation>
        </message>
        <message>
            <source>The Great Gatsby</source>
            <translation>Gatsby le Magnifique</translation>
        </message>
        <message>
            <source>Frankenstein</source>
            <translation>Frankenstein</translation>
        </message>
        <message>
            <source>Pride and Prejudice</source>
            <translation>Orgueil et Préjugés</translation>
        </message>
        <message>
            <source>Moby-Dick</source>
            <translation>Moby Dick</translation>
        </message>
        <message>
            <source>War and Peace</source>
            <translation>Guerre et Paix</translation>
        </message>
        <message>
            <source>Click to dictate</source>
            <translation>Cliquez pour dicter</translation>
        </message>
        <message>
            <source>Inserted</source>
            <translation>Inséré</translation>
        </message>
        <message>
            <source>No text field to type in</source>
            <translation>Aucun champ où écrire</translation>
        </message>
        <message>
            <source>Can't type into a password field</source>
            <translation>Impossible d’écrire dans un champ de mot de passe</translation>
        </message>
        <message>
            <source>This Mac is locked</source>
            <translation>Cet ordinateur est verrouillé</translation>
        </message>
        <message>
            <source>Allow Accessibility to type</source>
            <translation>Autorisez l’accessibilité pour écrire</translation>
        </message>
        <message>
            <source>Couldn't type here</source>
            <translation>Impossible d’écrire ici</translation>
        </message>
        <message>
            <source>Release the keys to type</source>
            <translation>Relâchez les touches pour écrire</translation>
        </message>
        <message>
            <source>Dictation on this Mac needs macOS 26 or later.</source>
            <translation>La dictée sur cet ordinateur nécessite un système plus récent.</translation>
        </message>
        <message>
            <source>Allow microphone access in Quillet Settings.</source>
            <translation>Autorisez le microphone dans les paramètres de Quillet.</translation>
        </message>
        <message>
            <source>The microphone isn't available.</source>
            <translation>Le microphone n’est pas disponible.</translation>
        </message>
        <message>
            <source>This language can't be dictated on this Mac.</source>
            <translation>Cette langue ne peut pas être dictée sur cet ordinateur.</translation>
        </message>
        <message>
            <source>Download the speech model in Quillet Settings.</source>
            <translation>Téléchargez le modèle vocal dans les paramètres de Quillet.</translation>
        </message>
        <message>
            <source>Didn't catch that.</source>
            <translation>Je n’ai pas compris.</translation>
        </message>
        <message>
            <source>Couldn't transcribe that. Try again.</source>
            <translation>Impossible de transcrire. Réessayez.</translation>
        </message>
        <message>
            <source>Cloud transcription is unavailable. Try again shortly.</source>
            <translation>La transcription en ligne est indisponible. Réessayez bientôt.</translation>
        </message>
        <message>
            <source>Connect this Mac to the internet to dictate.</source>
            <translation>Connectez cet ordinateur à Internet pour dicter.</translation>
        </message>
        <message>
            <source>Press keys…</source>
            <translation>Appuyez sur des touches…</translation>
        </message>
        <message>
            <source>Another app is using this shortcut. Choose a different one.</source>
            <translation>Une autre application utilise ce raccourci. Choisissez-en un autre.</translation>
        </message>
        <message>
            <source>If pressing fn opens the emoji picker, set “Press 🌐 key to” to “Do Nothing” in System Settings → Keyboard.</source>
            <translation>Si la touche Fn fait aussi autre chose, désactivez cela dans les paramètres du clavier de votre bureau.</translation>
        </message>
        <message>
            <source>System default (%1)</source>
            <translation>Par défaut du système (%1)</translation>
        </message>
        <message>
            <source>%1 (not connected)</source>
            <translation>%1 (non connecté)</translation>
        </message>
        <message>
            <source>Use ⌘, ⌃ or ⌥ with that key, or a modifier key on its own.</source>
            <translation>Utilisez Super, Ctrl ou Alt avec cette touche, ou une touche de modification seule.</translation>
        </message>
        <message>
            <source>macOS already uses %1.</source>
            <translation>Votre bureau utilise déjà %1.</translation>
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
            <translation>Maj+</translation>
        </message>
        <message>
            <source>⌘</source>
            <translation>Super+</translation>
        </message>
        <message>
            <source>Left ⌘</source>
            <translation>Super gauche</translation>
        </message>
        <message>
            <source>Right ⌘</source>
            <translation>Super droite</translation>
        </message>
        <message>
            <source>Left ⌥</source>
            <translation>Alt gauche</translation>
        </message>
        <message>
            <source>Right ⌥</source>
            <translation>Alt droite</translation>
        </message>
        <message>
            <source>Left ⌃</source>
            <translation>Ctrl gauche</translation>
        </message>
        <message>
            <source>Right ⌃</source>
            <translation>Ctrl droite</translation>
        </message>
        <message>
            <source>Left ⇧</source>
            <translation>Maj gauche</translation>
        </message>
        <message>
            <source>Right ⇧</source>
            <translation>Maj droite</translation>
        </message>
        <message>
            <source>fn</source>
            <translation>Fn</translation>
        </message>
        <message>
            <source>Space</source>
            <translation>Espace</translation>
        </message>
        <message>
            <source>↩</source>
            <translation>Entrée</translation>
        </message>
        <message>
            <source>⇥</source>
            <translation>Tab</translation>
        </message>
        <message>
            <source>⌫</source>
            <translation>Retour arrière</translation>
        </message>
        <message>
            <source>⌦</source>
            <translation>Suppr</translation>
        </message>
        <message>
            <source>⎋</source>
            <translation>Échap</translation>
        </message>
        <message>
            <source>↖</source>
            <translation>Début</translation>
        </message>
        <message>
            <source>↘</source>
            <translation>Fin</translation>
        </message>
        <message>
            <source>⇞</source>
            <translation>Page préc.</translation>
        </message>
        <message>
            <source>⇟</source>
            <translation>Page suiv.</translation>
        </message>
        <message>
            <source>Key </source>
            <translation>Touche </translation>
        </message>
        <message>
            <source>Hold %1 or press %2</source>
            <translation>Maintenez %1 ou appuyez sur %2</translation>
        </message>
        <message>
            <source>Hold %1 to dictate</source>
            <translation>Maintenez %1 pour dicter</translation>
        </message>
        <message>
            <source>Press %1 to dictate</source>
            <translation>Appuyez sur %1 pour dicter</translation>
        </message>
        <message>
            <source>Automatic</source>
            <translation>Automatique</translation>
        </message>
        <message>
            <source>System default</source>
            <translation>Par défaut du système</translation>
        </message>
        <message>
            <source>On this Mac</source>
            <translation>Sur cet ordinateur</translation>
        </message>
        <message>
            <source>Your voice is sent securely through our service to Microsoft Azure for transcription. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Votre voix est envoyée de façon sécurisée, via votre service Quillet, à %1 pour être transcrite. Le son est gardé en mémoire sur cet ordinateur pendant la dictée, puis effacé.</translation>
        </message>
        <message>
            <source>Your voice is sent securely through our service for transcription. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Votre voix est envoyée de façon sécurisée à votre service Quillet pour être transcrite. Le son est gardé en mémoire sur cet ordinateur pendant la dictée, puis effacé.</translation>
        </message>
        <message>
            <source>Your voice is transcribed by an engine of your own. Audio is held in memory on this Mac during dictation and discarded afterwards.</source>
            <translation>Votre voix est transcrite par un moteur qui vous est propre. Le son est gardé en mémoire sur cet ordinateur pendant la dictée, puis effacé.</translation>
        </message>
        <message>
            <source>The address of the service holds a user name or a password, which Quillet never sends. Set it without them and start Quillet anew.</source>
            <translation>L’adresse du service contient un nom d’utilisateur ou un mot de passe, que Quillet n’envoie jamais. Indiquez-la sans eux et redémarrez Quillet.</translation>
        </message>
        <message>
            <source>The address of an engine begins with http, https or tcp.</source>
            <translation>L’adresse d’un moteur commence par http, https ou tcp.</translation>
        </message>
    </context>
</TS>
