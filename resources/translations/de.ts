<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Agent</name>
    <message>
        <source>installed, not trusted yet: run /hooks in it</source>
        <translation>installiert, noch nicht als vertrauenswürdig bestätigt: führen Sie darin /hooks aus</translation>
    </message>
    <message>
        <source>needs repair: choose “Wire my tools”</source>
        <translation>muss repariert werden: wählen Sie „Werkzeuge anbinden“</translation>
    </message>
    <message>
        <source>edited by you, and kept so</source>
        <translation>von Ihnen geändert und so belassen</translation>
    </message>
    <message>
        <source>its configuration cannot be read</source>
        <translation>die Konfiguration ist nicht lesbar</translation>
    </message>
    <message>
        <source>running</source>
        <translation>läuft</translation>
    </message>
    <message>
        <source>installed</source>
        <translation>installiert</translation>
    </message>
    <message>
        <source>validation wired</source>
        <translation>Prüfung angebunden</translation>
    </message>
    <message>
        <source>not wired</source>
        <translation>nicht angebunden</translation>
    </message>
    <message>
        <source>its version is unknown</source>
        <translation>die Version ist unbekannt</translation>
    </message>
</context>
<context>
    <name>Alert</name>
    <message>
        <source>Read the text of more programs?</source>
        <translation>Text weiterer Programme lesen?</translation>
    </message>
    <message>
        <source>This desktop does not show Kelvane what you have selected. Programs tell it themselves once accessibility is switched on: Firefox at once, Qt programs when they are started the next time.

That is a setting of yours, not of Kelvane: it stays on after you log out, every program of yours sees it, and any of them may then read the text of the others. It costs about 6 MB of memory, and Firefox starts a little more slowly.

You can switch it off again in Kelvane&apos;s Settings menu.</source>
        <translation>Dieser Desktop zeigt Kelvane nicht, was Sie ausgewählt haben. Sobald die Barrierefreiheit eingeschaltet ist, teilen die Programme es selbst mit: Firefox sofort, Qt-Programme nach ihrem nächsten Start.

Das ist Ihre Einstellung, nicht die von Kelvane: Sie bleibt nach dem Abmelden eingeschaltet, alle Ihre Programme sehen sie, und jedes davon kann dann den Text der anderen lesen. Sie kostet etwa 6 MB Arbeitsspeicher, und Firefox startet etwas langsamer.

Im Menü „Einstellungen“ von Kelvane können Sie sie wieder ausschalten.</translation>
    </message>
    <message>
        <source>Leave Off</source>
        <translation>Ausgeschaltet lassen</translation>
    </message>
    <message>
        <source>Switch On</source>
        <translation>Einschalten</translation>
    </message>
    <message>
        <source>Switch accessibility off again?</source>
        <translation>Barrierefreiheit wieder ausschalten?</translation>
    </message>
    <message>
        <source>Kelvane will then read selected text from GTK programs only. If you use a screen reader or another program that needs the setting, leave it on.</source>
        <translation>Kelvane liest ausgewählten Text dann nur noch aus GTK-Programmen. Wenn Sie einen Bildschirmleser oder ein anderes Programm verwenden, das die Einstellung braucht, lassen Sie sie eingeschaltet.</translation>
    </message>
    <message>
        <source>Leave On</source>
        <translation>Eingeschaltet lassen</translation>
    </message>
    <message>
        <source>Switch Off</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>The setting could not be changed.</source>
        <translation>Die Einstellung konnte nicht geändert werden.</translation>
    </message>
    <message>
        <source>The desktop&apos;s accessibility service did not take it. Nothing else was changed.</source>
        <translation>Der Dienst für Barrierefreiheit des Desktops hat sie nicht angenommen. Sonst wurde nichts geändert.</translation>
    </message>
    <message>
        <source>Accessibility stays switched on.</source>
        <translation>Die Barrierefreiheit bleibt eingeschaltet.</translation>
    </message>
    <message>
        <source>Kelvane switched it on for you, and the desktop&apos;s accessibility service did not let it be switched off again. You can do so in your desktop&apos;s settings.</source>
        <translation>Kelvane hat sie für Sie eingeschaltet, und der Dienst für Barrierefreiheit des Desktops ließ sie nicht wieder ausschalten. Sie können das in den Einstellungen Ihres Desktops tun.</translation>
    </message>
    <message>
        <source>Accessibility is switched on already.</source>
        <translation>Die Barrierefreiheit ist bereits eingeschaltet.</translation>
    </message>
    <message>
        <source>Firefox tells Kelvane what is selected, and so do Qt programs that were started since.</source>
        <translation>Firefox teilt Kelvane mit, was ausgewählt ist, und ebenso Qt-Programme, die seither gestartet wurden.</translation>
    </message>
    <message>
        <source>The local service, trevix-local, is not installed. Install the whole package, or put trevix-local on your search path, and choose again.</source>
        <translation>Der lokale Dienst trevix-local ist nicht installiert. Installieren Sie das vollständige Paket oder legen Sie trevix-local in Ihren Suchpfad und wählen Sie noch einmal.</translation>
    </message>
    <message>
        <source>The local service has no key: %1. In a terminal this says more: %2</source>
        <translation>Der lokale Dienst hat keinen Schlüssel: %1. In einem Terminal erfahren Sie mehr mit: %2</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>%1 konnte nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>This machine cannot grade yet</source>
        <translation>Dieser Rechner kann noch nicht bewerten</translation>
    </message>
    <message>
        <source>On this machine: your work stays here and nothing else is needed.</source>
        <translation>Auf diesem Rechner: Ihre Arbeit bleibt hier, und mehr ist nicht nötig.</translation>
    </message>
    <message>
        <source>With a service account: your work is sent to %1, and you need a key.</source>
        <translation>Mit einem Dienstkonto: Ihre Arbeit wird an %1 gesendet, und Sie brauchen einen Schlüssel.</translation>
    </message>
    <message>
        <source>Now: on this machine.</source>
        <translation>Derzeit: auf diesem Rechner.</translation>
    </message>
    <message>
        <source>Now: with a service account.</source>
        <translation>Derzeit: mit einem Dienstkonto.</translation>
    </message>
    <message>
        <source>You can change this at any time: “Where to grade…” in the menu of the icon, or kelvane --service.</source>
        <translation>Sie können das jederzeit ändern: „Bewertungsort …“ im Menü des Symbols oder kelvane --service.</translation>
    </message>
    <message>
        <source>BRASK_API_BASE is set where Kelvane was started from, and wins over this choice.</source>
        <translation>BRASK_API_BASE ist dort gesetzt, von wo Kelvane gestartet wurde, und hat Vorrang vor dieser Wahl.</translation>
    </message>
    <message>
        <source>Where shall your work be graded?</source>
        <translation>Wo soll Ihre Arbeit bewertet werden?</translation>
    </message>
    <message>
        <source>Grade on this machine</source>
        <translation>Auf diesem Rechner bewerten</translation>
    </message>
    <message>
        <source>Use a service account</source>
        <translation>Dienstkonto verwenden</translation>
    </message>
    <message>
        <source>Leave it</source>
        <translation>So lassen</translation>
    </message>
    <message>
        <source>Later</source>
        <translation>Später</translation>
    </message>
    <message>
        <source>Send your work without encryption?</source>
        <translation>Ihre Arbeit unverschlüsselt senden?</translation>
    </message>
    <message>
        <source>%1 is not encrypted: whoever is on the way there can read your work and your service key. Kelvane remembers the answer in ~/.brask/plain-http.</source>
        <translation>%1 ist nicht verschlüsselt: Wer auf dem Weg dorthin mithört, kann Ihre Arbeit und Ihren Dienstschlüssel lesen. Kelvane merkt sich die Antwort in ~/.brask/plain-http.</translation>
    </message>
    <message>
        <source>Don&apos;t Send</source>
        <translation>Nicht senden</translation>
    </message>
    <message>
        <source>Send Unencrypted</source>
        <translation>Unverschlüsselt senden</translation>
    </message>
    <message>
        <source>Python 3 is required</source>
        <translation>Python 3 ist erforderlich</translation>
    </message>
    <message>
        <source>Kelvane runs the validator with python3, which isn’t installed. Install Apple’s Command Line Tools (Terminal: xcode-select --install), then choose “Wire my tools” from the menu.</source>
        <translation>Kelvane führt die Prüfung mit python3 aus, das nicht installiert ist. Installieren Sie Apples Command Line Tools (Terminal: xcode-select --install) und wählen Sie dann im Menü „Werkzeuge anbinden“.</translation>
    </message>
    <message>
        <source>your coding tools</source>
        <translation>Ihren Programmierwerkzeugen</translation>
    </message>
    <message>
        <source>Kelvane is wired</source>
        <translation>Kelvane ist angebunden</translation>
    </message>
    <message>
        <source>Validation is now active in: %1.
Get your free key at %2, then export BRASK_API_KEY.</source>
        <translation>Die Prüfung ist jetzt aktiv in: %1.
Holen Sie sich Ihren kostenlosen Schlüssel unter %2 und exportieren Sie dann BRASK_API_KEY.</translation>
    </message>
    <message>
        <source>Uninstall Kelvane?</source>
        <translation>Kelvane deinstallieren?</translation>
    </message>
    <message>
        <source>Removes Trevix validation from your coding tools, deletes ~/.brask, and removes this app. Your own MCP servers, hooks, and notes are left intact.</source>
        <translation>Entfernt die Trevix-Prüfung aus Ihren Programmierwerkzeugen, löscht ~/.brask und entfernt diese App. Ihre eigenen MCP-Server, Hooks und Notizen bleiben unangetastet.</translation>
    </message>
    <message>
        <source>Uninstall</source>
        <translation>Deinstallieren</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Kelvane removed</source>
        <translation>Kelvane wurde entfernt</translation>
    </message>
    <message>
        <source>Everything was removed — your own config was left intact. Thanks for trying it.</source>
        <translation>Alles wurde entfernt – Ihre eigene Konfiguration blieb unangetastet. Danke fürs Ausprobieren.</translation>
    </message>
</context>
<context>
    <name>Band</name>
    <message>
        <source>SHIP</source>
        <translation>FREIGEBEN</translation>
    </message>
    <message>
        <source>ROUTE TO FIX</source>
        <translation>NACHBESSERN</translation>
    </message>
    <message>
        <source>QUARANTINE</source>
        <translation>QUARANTÄNE</translation>
    </message>
    <message>
        <source>BLOCK</source>
        <translation>BLOCKIEREN</translation>
    </message>
</context>
<context>
    <name>FlawList</name>
    <message>
        <source>History…</source>
        <translation>Verlauf …</translation>
    </message>
    <message>
        <source>Copy all</source>
        <translation>Alle kopieren</translation>
    </message>
    <message>
        <source>Copy all flaws as text</source>
        <translation>Alle Mängel als Text kopieren</translation>
    </message>
    <message>
        <source>Less</source>
        <translation>Weniger</translation>
    </message>
    <message>
        <source>Show the first flaws only</source>
        <translation>Nur die ersten Mängel zeigen</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Go to line</source>
        <translation>Zur Zeile</translation>
    </message>
    <message>
        <source>Not a flaw</source>
        <translation>Kein Mangel</translation>
    </message>
    <message>
        <source>Add to dictionary</source>
        <translation>Ins Wörterbuch</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Copy the flaw as text</source>
        <translation>Mangel als Text kopieren</translation>
    </message>
</context>
<context>
    <name>History</name>
    <message>
        <source>no verdict</source>
        <translation>kein Urteil</translation>
    </message>
    <message numerus="yes">
        <source>%n line is not shown</source>
        <comment>%n lines are not shown</comment>
        <translation>
            <numerusform>%n Zeile wird nicht gezeigt</numerusform>
            <numerusform>%n Zeilen werden nicht gezeigt</numerusform>
        </translation>
    </message>
    <message>
        <source>Flaws</source>
        <translation>Mängel</translation>
    </message>
    <message>
        <source>No flaws were listed.</source>
        <translation>Es wurden keine Mängel aufgeführt.</translation>
    </message>
    <message>
        <source>Fixed</source>
        <translation>Behoben</translation>
    </message>
    <message>
        <source>Remaining</source>
        <translation>Verbleibend</translation>
    </message>
    <message>
        <source>New</source>
        <translation>Neu</translation>
    </message>
    <message>
        <source>Of a verdict with more than %1 flaws the first are compared.</source>
        <translation>Hat ein Urteil mehr als %1 Mängel, werden die ersten verglichen.</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Text</translation>
    </message>
    <message>
        <source>The work is the same.</source>
        <translation>Die Arbeit ist dieselbe.</translation>
    </message>
    <message>
        <source>The text is kept only of what this machine has graded; pictures are not.</source>
        <translation>Nur von dem, was dieser Rechner bewertet hat, wird der Text aufbewahrt; Bilder werden es nicht.</translation>
    </message>
    <message>
        <source>No line differs.</source>
        <translation>Keine Zeile ist anders.</translation>
    </message>
    <message>
        <source>Of a long text the first %1 KiB are kept.</source>
        <translation>Von einem langen Text werden die ersten %1 KiB aufbewahrt.</translation>
    </message>
    <message>
        <source>Verdicts will be listed here.</source>
        <translation>Hier erscheinen Ihre Urteile.</translation>
    </message>
    <message>
        <source>No verdict has these words.</source>
        <translation>Kein Urteil enthält diese Wörter.</translation>
    </message>
    <message numerus="yes">
        <source>%n verdict found.</source>
        <comment>%n verdicts found.</comment>
        <translation>
            <numerusform>%n Urteil gefunden.</numerusform>
            <numerusform>%n Urteile gefunden.</numerusform>
        </translation>
    </message>
    <message>
        <source>The verdict is deleted.</source>
        <translation>Das Urteil ist gelöscht.</translation>
    </message>
    <message>
        <source>All verdicts are deleted.</source>
        <translation>Alle Urteile sind gelöscht.</translation>
    </message>
</context>
<context>
    <name>HistoryWindow</name>
    <message>
        <source>History of verdicts</source>
        <translation>Verlauf der Urteile</translation>
    </message>
    <message>
        <source>Search verdicts</source>
        <translation>Urteile durchsuchen</translation>
    </message>
    <message>
        <source>Verdicts</source>
        <translation>Urteile</translation>
    </message>
    <message>
        <source>Delete all…</source>
        <translation>Alle löschen …</translation>
    </message>
    <message>
        <source>Delete all verdicts? This cannot be undone.</source>
        <translation>Alle Urteile löschen? Das lässt sich nicht rückgängig machen.</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>Behalten</translation>
    </message>
    <message>
        <source>Delete all</source>
        <translation>Alle löschen</translation>
    </message>
    <message>
        <source>Choose a verdict to see its flaws.</source>
        <translation>Wählen Sie ein Urteil, um seine Mängel zu sehen.</translation>
    </message>
    <message>
        <source>Full report</source>
        <translation>Gesamtbericht</translation>
    </message>
    <message>
        <source>Compare with the version before</source>
        <translation>Mit der vorigen Fassung vergleichen</translation>
    </message>
    <message>
        <source>Compare with the marked one</source>
        <translation>Mit dem markierten vergleichen</translation>
    </message>
    <message>
        <source>Take the mark away</source>
        <translation>Markierung entfernen</translation>
    </message>
    <message>
        <source>Mark to compare</source>
        <translation>Zum Vergleich markieren</translation>
    </message>
    <message>
        <source>Back to its flaws</source>
        <translation>Zurück zu den Mängeln</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Copy all of this as text</source>
        <translation>All dies als Text kopieren</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Delete this verdict</source>
        <translation>Dieses Urteil löschen</translation>
    </message>
    <message>
        <source>Differences</source>
        <translation>Unterschiede</translation>
    </message>
    <message>
        <source>Flaws</source>
        <translation>Mängel</translation>
    </message>
    <message>
        <source>Added: %1</source>
        <translation>Hinzugefügt: %1</translation>
    </message>
    <message>
        <source>Removed: %1</source>
        <translation>Entfernt: %1</translation>
    </message>
</context>
<context>
    <name>Menu</name>
    <message>
        <source>Get a free key…</source>
        <translation>Kostenlosen Schlüssel holen …</translation>
    </message>
    <message>
        <source>Uninstall Kelvane…</source>
        <translation>Kelvane deinstallieren …</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Switch accessibility off again…</source>
        <translation>Barrierefreiheit wieder ausschalten …</translation>
    </message>
    <message>
        <source>Read text of more programs…</source>
        <translation>Text weiterer Programme lesen …</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Einstellungen …</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Fortsetzen</translation>
    </message>
    <message>
        <source>Pause for an hour</source>
        <translation>Eine Stunde pausieren</translation>
    </message>
    <message>
        <source>Kelvane — grade your work in any app</source>
        <translation>Kelvane – bewertet Ihre Arbeit in jeder App</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Where to grade…</source>
        <translation>Bewertungsort …</translation>
    </message>
    <message>
        <source>History…</source>
        <translation>Verlauf …</translation>
    </message>
</context>
<context>
    <name>Modality</name>
    <message>
        <source>design</source>
        <translation>Design</translation>
    </message>
    <message>
        <source>transcript</source>
        <translation>Transkript</translation>
    </message>
    <message>
        <source>metrics</source>
        <translation>Kennzahlen</translation>
    </message>
    <message>
        <source>a deck</source>
        <translation>Präsentation</translation>
    </message>
    <message>
        <source>code</source>
        <translation>Code</translation>
    </message>
    <message>
        <source>an image</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>video</source>
        <translation>Video</translation>
    </message>
    <message>
        <source>audio</source>
        <translation>Audio</translation>
    </message>
    <message>
        <source>a sheet</source>
        <translation>Tabelle</translation>
    </message>
    <message>
        <source>a doc</source>
        <translation>Dokument</translation>
    </message>
    <message>
        <source>text</source>
        <translation>Text</translation>
    </message>
    <message>
        <source>a picture</source>
        <translation>Bildschirmfoto</translation>
    </message>
</context>
<context>
    <name>Notice</name>
    <message>
        <source>Show</source>
        <translation>Anzeigen</translation>
    </message>
    <message>
        <source>Open report</source>
        <translation>Bericht öffnen</translation>
    </message>
    <message>
        <source>not graded</source>
        <translation>nicht bewertet</translation>
    </message>
    <message>
        <source>no verdict</source>
        <translation>kein Urteil</translation>
    </message>
    <message>
        <source>Agent: %1</source>
        <translation>Agent: %1</translation>
    </message>
    <message>
        <source>Agent in %1: %2</source>
        <translation>Agent in %1: %2</translation>
    </message>
    <message>
        <source>New verdict: %1</source>
        <translation>Neues Urteil: %1</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw</source>
        <comment>%n flaws</comment>
        <translation>
            <numerusform>%n Mangel</numerusform>
            <numerusform>%n Mängel</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Panel</name>
    <message>
        <source>Ready to grade</source>
        <translation>Bereit zum Bewerten</translation>
    </message>
    <message>
        <source>Others may read your key: chmod 600 ~/.brask/key</source>
        <translation>Andere können Ihren Schlüssel lesen: chmod 600 ~/.brask/key</translation>
    </message>
    <message>
        <source>Get a free key to start grading</source>
        <translation>Holen Sie sich einen kostenlosen Schlüssel, um zu bewerten</translation>
    </message>
    <message>
        <source>NOW</source>
        <translation>JETZT</translation>
    </message>
    <message>
        <source>You&apos;re in %1</source>
        <translation>Sie sind in %1</translation>
    </message>
    <message>
        <source>%1 · grades as %2</source>
        <translation>%1 · Bewertung als %2</translation>
    </message>
    <message>
        <source>Bring a supported app to the front</source>
        <translation>Holen Sie eine unterstützte App nach vorn</translation>
    </message>
    <message>
        <source>Kelvane works across 90+ apps</source>
        <translation>Kelvane arbeitet mit über 90 Apps</translation>
    </message>
    <message>
        <source>%1 isn&apos;t in the catalog yet</source>
        <translation>%1 ist noch nicht im Katalog</translation>
    </message>
    <message>
        <source>Judged by %1</source>
        <translation>Beurteilt von %1</translation>
    </message>
    <message>
        <source>Not checked: %1</source>
        <translation>Nicht geprüft: %1</translation>
    </message>
    <message>
        <source>A picture of a window of %1</source>
        <translation>Ein Bild eines Fensters von %1</translation>
    </message>
    <message>
        <source>What was selected in %1</source>
        <translation>Was in %1 ausgewählt war</translation>
    </message>
    <message>
        <source>Full report</source>
        <translation>Gesamtbericht</translation>
    </message>
    <message>
        <source>+%1 more</source>
        <translation>+%1 weitere</translation>
    </message>
    <message>
        <source>Nobody here can judge this kind of work.</source>
        <translation>Diese Art von Arbeit kann hier niemand beurteilen.</translation>
    </message>
    <message>
        <source>Clears your bar — ready to ship.</source>
        <translation>Erfüllt Ihren Anspruch – kann freigegeben werden.</translation>
    </message>
    <message>
        <source>Held below your bar. No itemised flaws returned.</source>
        <translation>Bleibt unter Ihrem Anspruch. Einzelne Mängel wurden nicht genannt.</translation>
    </message>
    <message>
        <source>Verdict: %1.</source>
        <translation>Urteil: %1.</translation>
    </message>
    <message>
        <source>No verdict.</source>
        <translation>Kein Urteil.</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw.</source>
        <comment>%n flaws.</comment>
        <translation>
            <numerusform>%n Mangel.</numerusform>
            <numerusform>%n Mängel.</numerusform>
        </translation>
    </message>
    <message>
        <source>Grading… the critic may be warming up</source>
        <translation>Wird bewertet … der Kritiker läuft sich eventuell noch warm</translation>
    </message>
    <message>
        <source>Nobody says which window is in front.</source>
        <translation>Welches Fenster vorn ist, teilt niemand mit.</translation>
    </message>
    <message>
        <source>Grade this</source>
        <translation>Bewerten</translation>
    </message>
    <message>
        <source>Iterate</source>
        <translation>Erneut prüfen</translation>
    </message>
    <message>
        <source>Get a free key to start grading →</source>
        <translation>Kostenlosen Schlüssel holen und loslegen →</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Cancel the grade</source>
        <translation>Bewertung abbrechen</translation>
    </message>
    <message>
        <source>AGENTS</source>
        <translation>AGENTEN</translation>
    </message>
    <message>
        <source>No coding agents detected yet</source>
        <translation>Noch keine Programmieragenten gefunden</translation>
    </message>
    <message>
        <source>WORKFLOW</source>
        <translation>ARBEITSABLAUF</translation>
    </message>
    <message>
        <source>multi-modal</source>
        <translation>multimodal</translation>
    </message>
    <message>
        <source>Wire my tools</source>
        <translation>Werkzeuge anbinden</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>und %1 weitere</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw</source>
        <comment>%n flaws</comment>
        <translation>
            <numerusform>%n Mangel</numerusform>
            <numerusform>%n Mängel</numerusform>
        </translation>
    </message>
    <message>
        <source>+%1 more in the full report</source>
        <translation>+%1 weitere im Gesamtbericht</translation>
    </message>
</context>
<context>
    <name>Preview</name>
    <message>
        <source>PREVIEW</source>
        <translation>VORSCHAU</translation>
    </message>
    <message>
        <source>This goes to %1</source>
        <translation>Dies geht an %1</translation>
    </message>
    <message>
        <source>This stays on this machine</source>
        <translation>Dies bleibt auf diesem Rechner</translation>
    </message>
    <message>
        <source>A picture of a window of %1, %2</source>
        <translation>Ein Bild eines Fensters von %1, %2</translation>
    </message>
    <message>
        <source>The text selected in %1, %2</source>
        <translation>Der in %1 ausgewählte Text, %2</translation>
    </message>
    <message>
        <source>The picture that is sent</source>
        <translation>Das Bild, das gesendet wird</translation>
    </message>
    <message>
        <source>The text that is sent</source>
        <translation>Der Text, der gesendet wird</translation>
    </message>
    <message>
        <source>Don&apos;t ask again for %1</source>
        <translation>Bei %1 nicht mehr fragen</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Senden</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>%1 kB</source>
        <translation>%1 kB</translation>
    </message>
    <message numerus="yes">
        <source>%n character</source>
        <comment>%n characters</comment>
        <translation>
            <numerusform>%n Zeichen</numerusform>
            <numerusform>%n Zeichen</numerusform>
        </translation>
    </message>
    <message>
        <source>What comes after the first %1 characters is left out: more is not judged at once.</source>
        <translation>Was nach den ersten %1 Zeichen kommt, wird weggelassen: Mehr wird nicht auf einmal beurteilt.</translation>
    </message>
    <message>
        <source>Sent with it: the application&apos;s name, what kind of work it is (%1) and %2 as its name.</source>
        <translation>Mitgesendet werden der Name der Anwendung, die Art der Arbeit (%1) und %2 als ihr Name.</translation>
    </message>
    <message>
        <source>Nothing of other windows is in the picture.</source>
        <translation>Von anderen Fenstern ist nichts im Bild.</translation>
    </message>
    <message>
        <source>Nothing of the document but this text is sent.</source>
        <translation>Vom Dokument wird nichts außer diesem Text gesendet.</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>„%1“</translation>
    </message>
</context>
<context>
    <name>RemovableRow</name>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Remove %1</source>
        <translation>%1 entfernen</translation>
    </message>
</context>
<context>
    <name>Sentence</name>
    <message>
        <source>Couldn&apos;t capture anything to grade.</source>
        <translation>Es konnte nichts zum Bewerten erfasst werden.</translation>
    </message>
    <message>
        <source>Nothing was sent.</source>
        <translation>Es wurde nichts gesendet.</translation>
    </message>
    <message>
        <source>Grade cancelled.</source>
        <translation>Bewertung abgebrochen.</translation>
    </message>
    <message>
        <source>No saved file that was opened lately holds this text.</source>
        <translation>Keine zuletzt geöffnete gespeicherte Datei enthält diesen Text.</translation>
    </message>
    <message>
        <source>Does not count any more.</source>
        <translation>Zählt nicht mehr.</translation>
    </message>
    <message>
        <source>“%1” is in your dictionary.</source>
        <translation>„%1“ steht in Ihrem Wörterbuch.</translation>
    </message>
    <message>
        <source>Taken back.</source>
        <translation>Zurückgenommen.</translation>
    </message>
    <message>
        <source>Copied.</source>
        <translation>Kopiert.</translation>
    </message>
    <message>
        <source>Could not be said: %1</source>
        <translation>Konnte nicht übermittelt werden: %1</translation>
    </message>
    <message numerus="yes">
        <source>Paused for %n more minute.</source>
        <comment>Paused for %n more minutes.</comment>
        <translation>
            <numerusform>Noch %n Minute pausiert.</numerusform>
            <numerusform>Noch %n Minuten pausiert.</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing is captured from %1: it keeps passwords.</source>
        <translation>Aus %1 wird nichts erfasst: Dort werden Passwörter aufbewahrt.</translation>
    </message>
    <message>
        <source>Nothing is captured from %1, as you set it.</source>
        <translation>Aus %1 wird nichts erfasst, wie Sie es eingestellt haben.</translation>
    </message>
    <message>
        <source>No text selection found — graded a screenshot of %1&apos;s window. Select text first for a text grade.</source>
        <translation>Kein Text ausgewählt – bewertet wurde ein Bildschirmfoto des Fensters von %1. Wählen Sie zuerst Text aus, um Text zu bewerten.</translation>
    </message>
    <message>
        <source>Grant Accessibility (System Settings ▸ Privacy) to grade your text selection; graded a window screenshot for now.</source>
        <translation>Erlauben Sie „Bedienungshilfen“ (Systemeinstellungen ▸ Datenschutz), um ausgewählten Text zu bewerten; vorerst wurde ein Bildschirmfoto des Fensters bewertet.</translation>
    </message>
    <message>
        <source>%1 isn&apos;t running anymore — open it and press Grade.</source>
        <translation>%1 läuft nicht mehr – öffnen Sie es und drücken Sie „Bewerten“.</translation>
    </message>
    <message>
        <source>Graded a frame of %1. For the full render, export the file and run `brask grade &lt;file&gt;`.</source>
        <translation>Bewertet wurde ein Einzelbild von %1. Für das vollständige Ergebnis exportieren Sie die Datei und führen Sie `brask grade &lt;file&gt;` aus.</translation>
    </message>
    <message>
        <source>Couldn&apos;t capture %1&apos;s window — grant Screen Recording in System Settings ▸ Privacy, and make sure the window is open on screen.</source>
        <translation>Das Fenster von %1 konnte nicht erfasst werden – erlauben Sie „Bildschirmaufnahme“ unter Systemeinstellungen ▸ Datenschutz und achten Sie darauf, dass das Fenster auf dem Bildschirm geöffnet ist.</translation>
    </message>
    <message>
        <source>the grade was cancelled</source>
        <translation>die Bewertung wurde abgebrochen</translation>
    </message>
    <message>
        <source>could not reach the eval API</source>
        <translation>der Bewertungsdienst war nicht erreichbar</translation>
    </message>
    <message>
        <source>the service key holds a line break — check BRASK_API_KEY or ~/.brask/key</source>
        <translation>der Dienstschlüssel enthält einen Zeilenumbruch – prüfen Sie BRASK_API_KEY oder ~/.brask/key</translation>
    </message>
    <message>
        <source>The service answers, but not in a way that can be read.</source>
        <translation>Der Dienst antwortet, aber seine Antwort ist nicht lesbar.</translation>
    </message>
    <message>
        <source>nothing was sent: %1 is not encrypted and was not allowed — see ~/.brask/plain-http</source>
        <translation>es wurde nichts gesendet: %1 ist nicht verschlüsselt und wurde nicht erlaubt – siehe ~/.brask/plain-http</translation>
    </message>
    <message>
        <source>not authorized — check your Trevix key (HTTP %1)</source>
        <translation>nicht berechtigt – prüfen Sie Ihren Trevix-Schlüssel (HTTP %1)</translation>
    </message>
    <message>
        <source>eval API error (HTTP %1)</source>
        <translation>Fehler des Bewertungsdienstes (HTTP %1)</translation>
    </message>
    <message>
        <source>grade timed out after %1s</source>
        <translation>Zeitüberschreitung der Bewertung nach %1 s</translation>
    </message>
    <message>
        <source>grade failed</source>
        <translation>Bewertung fehlgeschlagen</translation>
    </message>
    <message>
        <source>grade cancelled</source>
        <translation>Bewertung abgebrochen</translation>
    </message>
    <message>
        <source>no job_id in response</source>
        <translation>keine job_id in der Antwort</translation>
    </message>
    <message>
        <source>the service refused</source>
        <translation>der Dienst hat abgelehnt</translation>
    </message>
    <message>
        <source>there is no key in %1</source>
        <translation>in %1 steht kein Schlüssel</translation>
    </message>
    <message>
        <source>%1: others may read or write it; the key in it is not used (make it yours, chmod 600)</source>
        <translation>%1: Andere dürfen die Datei lesen oder schreiben; der Schlüssel darin wird nicht verwendet (machen Sie sie zu Ihrer, chmod 600)</translation>
    </message>
    <message>
        <source>this machine</source>
        <translation>diesem Rechner</translation>
    </message>
    <message>
        <source>%1 To read every program and to photograph a window, turn on its Shell extension, then log in again.</source>
        <translation>%1 Um jedes Programm zu lesen und Fenster aufzunehmen, schalten Sie die Shell-Erweiterung ein und melden Sie sich neu an.</translation>
    </message>
    <message>
        <source>No desktop answers here: start Kelvane from inside your session.</source>
        <translation>Hier antwortet kein Desktop: Starten Sie Kelvane in Ihrer Sitzung.</translation>
    </message>
    <message>
        <source>GNOME shows Kelvane the windows of X11 programs only.</source>
        <translation>GNOME zeigt Kelvane nur die Fenster von X11-Programmen.</translation>
    </message>
    <message>
        <source>This desktop shows Kelvane the windows of X11 programs only. Log in to an X11 session to have the others graded.</source>
        <translation>Dieser Desktop zeigt Kelvane nur die Fenster von X11-Programmen. Melden Sie sich in einer X11-Sitzung an, um die anderen bewerten zu lassen.</translation>
    </message>
    <message>
        <source>On GNOME Kelvane reads text from GTK, Qt and Firefox windows.</source>
        <translation>Unter GNOME liest Kelvane Text aus Fenstern von GTK, Qt und Firefox.</translation>
    </message>
    <message>
        <source>This desktop tells Kelvane only of programs that speak to assistive technology: select text in a GTK, Qt or Firefox window.</source>
        <translation>Dieser Desktop zeigt Kelvane nur Programme, die mit Hilfstechnologien sprechen: Wählen Sie Text in einem Fenster von GTK, Qt oder Firefox aus.</translation>
    </message>
    <message>
        <source>This desktop lets no program read a selection or photograph a window.</source>
        <translation>Dieser Desktop lässt kein Programm eine Auswahl lesen oder ein Fenster aufnehmen.</translation>
    </message>
    <message>
        <source>KWin lets only an installed Kelvane photograph windows: install the package, or select text.</source>
        <translation>KWin lässt nur ein installiertes Kelvane Fenster aufnehmen: Installieren Sie das Paket oder wählen Sie Text aus.</translation>
    </message>
    <message>
        <source>This desktop does not tell where windows are, so none can be photographed: select text.</source>
        <translation>Dieser Desktop verrät nicht, wo Fenster sind, daher kann keines aufgenommen werden: Wählen Sie Text aus.</translation>
    </message>
    <message>
        <source>This desktop lets no program read a selection: a picture of the window is graded.</source>
        <translation>Dieser Desktop lässt kein Programm eine Auswahl lesen: Bewertet wird ein Bild des Fensters.</translation>
    </message>
    <message>
        <source>On GNOME a window can be photographed once Kelvane&apos;s Shell extension is on; selected text can be graded without.</source>
        <translation>Unter GNOME kann ein Fenster aufgenommen werden, sobald die Shell-Erweiterung von Kelvane eingeschaltet ist; ausgewählter Text lässt sich auch ohne sie bewerten.</translation>
    </message>
    <message>
        <source>On this desktop no program may photograph a window: select text instead.</source>
        <translation>Auf diesem Desktop darf kein Programm ein Fenster aufnehmen: Wählen Sie stattdessen Text aus.</translation>
    </message>
    <message>
        <source>On Linux no permission is needed: the window has to be on this workspace, not minimised, and its program has to answer.</source>
        <translation>Unter Linux ist keine Erlaubnis nötig: Das Fenster muss auf dieser Arbeitsfläche und nicht minimiert sein, und sein Programm muss antworten.</translation>
    </message>
    <message>
        <source>This keyboard has no key “%1”.</source>
        <translation>Diese Tastatur hat keine Taste „%1“.</translation>
    </message>
    <message>
        <source>The display does not answer.</source>
        <translation>Die Anzeige antwortet nicht.</translation>
    </message>
    <message>
        <source>Another program has these keys already, or the desktop itself.</source>
        <translation>Diese Tasten hat bereits ein anderes Programm oder der Desktop selbst.</translation>
    </message>
    <message>
        <source>The system gives no more files.</source>
        <translation>Das System gibt keine weiteren Dateien frei.</translation>
    </message>
    <message>
        <source>Here no program can have keys of its own: give “kelvane --grade” a shortcut in the desktop&apos;s settings.</source>
        <translation>Hier kann kein Programm eigene Tasten haben: Geben Sie „kelvane --grade“ in den Einstellungen des Desktops ein Tastenkürzel.</translation>
    </message>
    <message>
        <source>The desktop did not give these keys; its own settings of shortcuts may.</source>
        <translation>Der Desktop hat diese Tasten nicht vergeben; in seinen Einstellungen für Tastenkürzel ist es vielleicht möglich.</translation>
    </message>
    <message>
        <source>The desktop has taken these keys back; its own settings of shortcuts may give them again.</source>
        <translation>Der Desktop hat diese Tasten zurückgenommen; in seinen Einstellungen für Tastenkürzel lassen sie sich vielleicht wieder vergeben.</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>is “elsewhere”, “always” or “never”</source>
        <translation>muss „elsewhere“, „always“ oder „never“ sein</translation>
    </message>
    <message>
        <source>is an object with “always” or “never” for each application</source>
        <translation>muss ein Objekt mit „always“ oder „never“ für jede Anwendung sein</translation>
    </message>
    <message>
        <source>%1; “%2” has neither</source>
        <translation>%1; „%2“ hat keines von beiden</translation>
    </message>
    <message>
        <source>is a list of identifiers of applications</source>
        <translation>muss eine Liste von Bezeichnern von Anwendungen sein</translation>
    </message>
    <message>
        <source>is a list of texts</source>
        <translation>muss eine Liste von Texten sein</translation>
    </message>
    <message>
        <source>has “%1”: %2</source>
        <translation>enthält „%1“: %2</translation>
    </message>
    <message>
        <source>is true or false</source>
        <translation>muss true oder false sein</translation>
    </message>
    <message>
        <source>is a text such as “Ctrl+Alt+G”, or an empty one</source>
        <translation>muss ein Text wie „Ctrl+Alt+G“ oder ein leerer sein</translation>
    </message>
    <message>
        <source>is no combination of keys: %1</source>
        <translation>ist keine Tastenkombination: %1</translation>
    </message>
    <message>
        <source>is %1, or empty for the desktop&apos;s</source>
        <translation>muss %1 sein oder leer für die des Desktops</translation>
    </message>
    <message>
        <source>an identifier is not empty</source>
        <translation>ein Bezeichner ist nicht leer</translation>
    </message>
    <message>
        <source>no identifier is that long</source>
        <translation>so lang ist kein Bezeichner</translation>
    </message>
    <message>
        <source>“*” stands at the end alone</source>
        <translation>„*“ steht nur am Ende</translation>
    </message>
    <message>
        <source>at least three characters stand before “*”</source>
        <translation>vor „*“ stehen mindestens drei Zeichen</translation>
    </message>
    <message>
        <source>longer than any settings are</source>
        <translation>länger, als Einstellungen sein können</translation>
    </message>
    <message>
        <source>not JSON from here on; nothing of the file is used</source>
        <translation>ab hier kein JSON; nichts aus der Datei wird verwendet</translation>
    </message>
    <message>
        <source>not an object of JSON</source>
        <translation>kein JSON-Objekt</translation>
    </message>
    <message>
        <source>“%1” %2</source>
        <translation>„%1“ %2</translation>
    </message>
    <message>
        <source>stands there twice; the last one counts</source>
        <translation>steht zweimal da; das letzte zählt</translation>
    </message>
    <message>
        <source>is no setting of this version; it stays as it is</source>
        <translation>ist keine Einstellung dieser Version; sie bleibt, wie sie ist</translation>
    </message>
    <message>
        <source>somebody else could have written it; nothing of it is used (make it yours, chmod 600)</source>
        <translation>jemand anderes könnte sie geschrieben haben; nichts daraus wird verwendet (machen Sie sie zu Ihrer, chmod 600)</translation>
    </message>
    <message>
        <source>cannot be read</source>
        <translation>nicht lesbar</translation>
    </message>
    <message>
        <source>Mend it, or delete it.</source>
        <translation>Berichtigen oder löschen Sie die Datei.</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>%1 konnte nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>“%1” is none of Ctrl, Alt, Shift and Super.</source>
        <translation>„%1“ ist weder Ctrl noch Alt, Shift oder Super.</translation>
    </message>
    <message>
        <source>“%1” stands there twice.</source>
        <translation>„%1“ steht zweimal da.</translation>
    </message>
    <message>
        <source>The key is missing, as in Ctrl+Alt+G.</source>
        <translation>Die Taste fehlt, wie in Ctrl+Alt+G.</translation>
    </message>
    <message>
        <source>There is no key “%1”.</source>
        <translation>Es gibt keine Taste „%1“.</translation>
    </message>
    <message>
        <source>A key that you type with needs Ctrl, Alt or Super beside it.</source>
        <translation>Eine Taste, mit der Sie schreiben, braucht Ctrl, Alt oder Super dazu.</translation>
    </message>
    <message>
        <source>Work is graded by %1.</source>
        <translation>Bewertet wird von %1.</translation>
    </message>
    <message>
        <source>When it leaves this machine</source>
        <translation>Wenn sie diesen Rechner verlässt</translation>
    </message>
    <message>
        <source>Always</source>
        <translation>Immer</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>Nie</translation>
    </message>
    <message>
        <source>%1: always shown</source>
        <translation>%1: immer gezeigt</translation>
    </message>
    <message>
        <source>%1: sent without asking</source>
        <translation>%1: ohne Nachfrage gesendet</translation>
    </message>
    <message>
        <source>Never capture %1</source>
        <translation>%1 nie erfassen</translation>
    </message>
    <message>
        <source>As the desktop</source>
        <translation>Wie der Desktop</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>WHERE TO GRADE</source>
        <translation>BEWERTUNGSORT</translation>
    </message>
    <message>
        <source>Choose where to grade…</source>
        <translation>Bewertungsort wählen …</translation>
    </message>
    <message>
        <source>SHOW WORK BEFORE IT IS SENT</source>
        <translation>ARBEIT VOR DEM SENDEN ZEIGEN</translation>
    </message>
    <message>
        <source>NEVER CAPTURE</source>
        <translation>NIE ERFASSEN</translation>
    </message>
    <message>
        <source>Password managers</source>
        <translation>Passwortverwaltungen</translation>
    </message>
    <message>
        <source>Identifier of an application that is never captured</source>
        <translation>Bezeichner einer Anwendung, die nie erfasst wird</translation>
    </message>
    <message>
        <source>As org.example.diary or com.example.*</source>
        <translation>Etwa org.example.diary oder com.example.*</translation>
    </message>
    <message>
        <source>KEYS THAT GRADE WHAT IS IN FRONT</source>
        <translation>TASTEN ZUM BEWERTEN</translation>
    </message>
    <message>
        <source>Keys that grade what is in front</source>
        <translation>Tasten, die bewerten, was vorn ist</translation>
    </message>
    <message>
        <source>None. As Ctrl+Alt+G, then Return</source>
        <translation>Keine. Etwa Ctrl+Alt+G, dann Eingabe</translation>
    </message>
    <message>
        <source>LANGUAGE</source>
        <translation>SPRACHE</translation>
    </message>
    <message>
        <source>CODING TOOLS</source>
        <translation>PROGRAMMIERWERKZEUGE</translation>
    </message>
    <message>
        <source>Wire my tools</source>
        <translation>Werkzeuge anbinden</translation>
    </message>
    <message>
        <source>NOTIFICATIONS</source>
        <translation>BENACHRICHTIGUNGEN</translation>
    </message>
    <message>
        <source>Verdicts that come while the panel is closed</source>
        <translation>Urteile, die bei geschlossenem Panel eintreffen</translation>
    </message>
</context>
<context>
    <name>Shortcut</name>
    <message>
        <source>Grade what is in front</source>
        <translation>Bewerten, was vorn ist</translation>
    </message>
</context>
<context>
    <name>VerdictSection</name>
    <message>
        <source>Show all flaws</source>
        <translation>Alle Mängel zeigen</translation>
    </message>
</context>
<context>
    <name>Window</name>
    <message>
        <source>History of verdicts</source>
        <translation>Verlauf der Urteile</translation>
    </message>
    <message>
        <source>Kelvane Settings</source>
        <translation>Kelvane-Einstellungen</translation>
    </message>
</context>
</TS>
