<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>CrashReport</name>
    <message>
        <source>Crash Report</source>
        <translation>Absturzbericht</translation>
    </message>
    <message>
        <source>%1 quit unexpectedly</source>
        <translation>%1 wurde unerwartet beendet</translation>
    </message>
    <message>
        <source>The last time it ran, %1 came to an end that was not planned. The report below says where. It helps to mend the fault if you send it.</source>
        <translation>Bei der letzten Verwendung nahm %1 ein Ende, das nicht vorgesehen war. Der nachstehende Bericht sagt, an welcher Stelle. Wenn Sie ihn senden, hilft er dabei, den zugrunde liegenden Fehler zu beheben.</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Bericht</translation>
    </message>
    <message>
        <source>What were you &amp;doing when it happened?</source>
        <translation>Was haben &amp;Sie unmittelbar vor dem unerwarteten Programmende getan?</translation>
    </message>
    <message>
        <source>What were you doing when it happened?</source>
        <translation>Was haben Sie unmittelbar vor dem unerwarteten Programmende getan?</translation>
    </message>
    <message>
        <source>For example: I had just opened a file and chose Print.</source>
        <translation>Zum Beispiel: Ich hatte gerade eine Datei geöffnet und „Drucken“ gewählt.</translation>
    </message>
    <message>
        <source>Your &amp;e-mail address, if you would like to be asked about it:</source>
        <translation>Ihre &amp;E-Mail-Adresse, sofern Sie mit Rückfragen zu diesem Absturz einverstanden sind:</translation>
    </message>
    <message>
        <source>Your e-mail address</source>
        <translation>Ihre E-Mail-Adresse</translation>
    </message>
    <message>
        <source>name@example.com</source>
        <translation>name@example.com</translation>
    </message>
    <message>
        <source>Send Report passes the whole report, your e-mail address and your description to the makers of %1.</source>
        <translation>„Bericht senden“ übermittelt den vollständigen Bericht, Ihre E-Mail-Adresse und Ihre Beschreibung an die Herstellerinnen und Hersteller von %1.</translation>
    </message>
    <message>
        <source>They receive it at %1.</source>
        <translation>Empfangen wird er unter %1.</translation>
    </message>
    <message>
        <source>Sending</source>
        <translation>Wird gesendet</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>&amp;Send Report</source>
        <translation>&amp;Bericht senden</translation>
    </message>
    <message>
        <source>Send Report</source>
        <translation>Bericht senden</translation>
    </message>
    <message>
        <source>Loading…</source>
        <translation>Wird geladen …</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
    <message>
        <source>Crash report</source>
        <translation>Absturzbericht</translation>
    </message>
</context>
<context>
    <name>MapWindow</name>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>Click to set a mark.</source>
        <translation>Klicken Sie, um eine Markierung zu setzen.</translation>
    </message>
</context>
<context>
    <name>AutoPilot</name>
    <message>
        <source>I set a mark at the edge of the map, and the window was gone.</source>
        <translation>Ich habe am Rand der Karte eine Markierung gesetzt, und das Fenster war weg.</translation>
    </message>
</context>
<context>
    <name>FeedbackPanel</name>
    <message>
        <source>Feedback</source>
        <translation>Rückmeldung</translation>
    </message>
    <message>
        <source>How do you like it so far?</source>
        <translation>Wie gefällt Ihnen das Programm bisher?</translation>
    </message>
    <message>
        <source>Get &amp;Support</source>
        <translation>&amp;Hilfe erhalten</translation>
    </message>
    <message>
        <source>Get Support</source>
        <translation>Hilfe erhalten</translation>
    </message>
    <message>
        <source>&amp;No, Thanks</source>
        <translation>&amp;Nein, danke</translation>
    </message>
    <message>
        <source>No, Thanks</source>
        <translation>Nein, danke</translation>
    </message>
    <message>
        <source>&amp;Later</source>
        <translation>&amp;Später</translation>
    </message>
    <message>
        <source>Later</source>
        <translation>Später</translation>
    </message>
    <message>
        <source>&amp;Rate Now</source>
        <translation>&amp;Jetzt bewerten</translation>
    </message>
    <message>
        <source>Rate Now</source>
        <translation>Jetzt bewerten</translation>
    </message>
</context>
<context>
    <name>Localizable</name>
    <message>
        <source>If you like %@, please consider rating the app or leaving a review on the Mac App Store, thanks!</source>
        <translation>Wenn Ihnen %@ gefällt, bewerten Sie das Programm bitte, oder schreiben Sie eine Rezension im Mac App Store. Vielen Dank!</translation>
    </message>
    <message>
        <source>Sign Up for News</source>
        <translation>Neuigkeiten abonnieren</translation>
    </message>
    <message>
        <source>For the latest news about apps and updates, subscribe to our infrequent mailing list. Your details will not be shared with anyone else.</source>
        <translation>Abonnieren Sie unseren gelegentlichen Rundbrief, um Neues über Programme und Aktualisierungen zu erfahren. Ihre Angaben werden an niemanden weitergegeben.</translation>
    </message>
    <message>
        <source>Subscribe…</source>
        <translation>Abonnieren …</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>AboutPanel</name>
    <message>
        <source>About %1</source>
        <translation>Über %1</translation>
    </message>
    <message>
        <source>Credits</source>
        <translation>Mitwirkende</translation>
    </message>
    <message>
        <source>&amp;Copy Version</source>
        <translation>&amp;Versionsangaben kopieren</translation>
    </message>
    <message>
        <source>Copy Version</source>
        <translation>Versionsangaben kopieren</translation>
    </message>
    <message>
        <source>Copies the version and that of the system, for a message to the makers.</source>
        <translation>Kopiert die Version und die des Systems, für eine Nachricht an die Hersteller.</translation>
    </message>
    <message>
        <source>&amp;Web Site</source>
        <translation>&amp;Website</translation>
    </message>
    <message>
        <source>Web Site</source>
        <translation>Website</translation>
    </message>
</context>
<context>
    <name>InfoPlist</name>
    <message>
        <source>NSHumanReadableCopyright</source>
        <translation>© 2026 Die Herstellerinnen und Hersteller von Cartographer</translation>
    </message>
</context>
<context>
    <name>HelpMenu</name>
    <message>
        <source>&amp;About Cartographer</source>
        <translation>&amp;Über Cartographer</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;Rate Cartographer…</source>
        <translation>Cartographer &amp;bewerten …</translation>
    </message>
    <message>
        <source>&amp;News by E-Mail…</source>
        <translation>&amp;Neuigkeiten per E-Mail …</translation>
    </message>
    <message>
        <source>Thank you for rating Cartographer.</source>
        <translation>Danke, dass Sie Cartographer bewerten.</translation>
    </message>
    <message>
        <source>You will be asked again next month.</source>
        <translation>Sie werden nächsten Monat wieder gefragt.</translation>
    </message>
    <message>
        <source>You will not be asked again.</source>
        <translation>Sie werden nicht wieder gefragt.</translation>
    </message>
    <message>
        <source>What can we help you with?</source>
        <translation>Womit können wir Ihnen helfen?</translation>
    </message>
</context>
</TS>
