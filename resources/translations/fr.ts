<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>Agent</name>
    <message>
        <source>installed, not trusted yet: run /hooks in it</source>
        <translation>installé, pas encore approuvé&#xa0;: exécutez-y /hooks</translation>
    </message>
    <message>
        <source>needs repair: choose “Wire my tools”</source>
        <translation>à réparer&#xa0;: choisissez «&#xa0;Connecter mes outils&#xa0;»</translation>
    </message>
    <message>
        <source>edited by you, and kept so</source>
        <translation>modifié par vous et laissé tel quel</translation>
    </message>
    <message>
        <source>its configuration cannot be read</source>
        <translation>sa configuration est illisible</translation>
    </message>
    <message>
        <source>running</source>
        <translation>en cours d’exécution</translation>
    </message>
    <message>
        <source>installed</source>
        <translation>installé</translation>
    </message>
    <message>
        <source>validation wired</source>
        <translation>validation connectée</translation>
    </message>
    <message>
        <source>not wired</source>
        <translation>non connecté</translation>
    </message>
    <message>
        <source>its version is unknown</source>
        <translation>sa version est inconnue</translation>
    </message>
</context>
<context>
    <name>Alert</name>
    <message>
        <source>Read the text of more programs?</source>
        <translation>Lire le texte d’autres programmes&#xa0;?</translation>
    </message>
    <message>
        <source>This desktop does not show Kelvane what you have selected. Programs tell it themselves once accessibility is switched on: Firefox at once, Qt programs when they are started the next time.

That is a setting of yours, not of Kelvane: it stays on after you log out, every program of yours sees it, and any of them may then read the text of the others. It costs about 6 MB of memory, and Firefox starts a little more slowly.

You can switch it off again in Kelvane&apos;s Settings menu.</source>
        <translation>Ce bureau n’indique pas à Kelvane ce que vous avez sélectionné. Les programmes le font eux-mêmes dès que l’accessibilité est activée&#xa0;: Firefox immédiatement, les programmes Qt à leur prochain démarrage.

C’est un réglage à vous, et non de Kelvane&#xa0;: il reste actif après la fermeture de la session, tous vos programmes le voient, et chacun d’eux peut alors lire le texte des autres. Il occupe environ 6 Mo de mémoire et Firefox démarre un peu plus lentement.

Vous pouvez le désactiver dans le menu Réglages de Kelvane.</translation>
    </message>
    <message>
        <source>Leave Off</source>
        <translation>Laisser désactivée</translation>
    </message>
    <message>
        <source>Switch On</source>
        <translation>Activer</translation>
    </message>
    <message>
        <source>Switch accessibility off again?</source>
        <translation>Désactiver de nouveau l’accessibilité&#xa0;?</translation>
    </message>
    <message>
        <source>Kelvane will then read selected text from GTK programs only. If you use a screen reader or another program that needs the setting, leave it on.</source>
        <translation>Kelvane ne lira alors le texte sélectionné que dans les programmes GTK. Si vous utilisez un lecteur d’écran ou un autre programme qui a besoin de ce réglage, laissez-le activé.</translation>
    </message>
    <message>
        <source>Leave On</source>
        <translation>Laisser activée</translation>
    </message>
    <message>
        <source>Switch Off</source>
        <translation>Désactiver</translation>
    </message>
    <message>
        <source>The setting could not be changed.</source>
        <translation>Le réglage n’a pas pu être modifié.</translation>
    </message>
    <message>
        <source>The desktop&apos;s accessibility service did not take it. Nothing else was changed.</source>
        <translation>Le service d’accessibilité du bureau ne l’a pas accepté. Rien d’autre n’a été modifié.</translation>
    </message>
    <message>
        <source>Accessibility stays switched on.</source>
        <translation>L’accessibilité reste activée.</translation>
    </message>
    <message>
        <source>Kelvane switched it on for you, and the desktop&apos;s accessibility service did not let it be switched off again. You can do so in your desktop&apos;s settings.</source>
        <translation>Kelvane l’avait activée pour vous, et le service d’accessibilité du bureau n’a pas permis de la désactiver. Vous pouvez le faire dans les réglages de votre bureau.</translation>
    </message>
    <message>
        <source>Accessibility is switched on already.</source>
        <translation>L’accessibilité est déjà activée.</translation>
    </message>
    <message>
        <source>Firefox tells Kelvane what is selected, and so do Qt programs that were started since.</source>
        <translation>Firefox indique à Kelvane ce qui est sélectionné, de même que les programmes Qt démarrés depuis.</translation>
    </message>
    <message>
        <source>The local service, trevix-local, is not installed. Install the whole package, or put trevix-local on your search path, and choose again.</source>
        <translation>Le service local, trevix-local, n’est pas installé. Installez le paquet complet, ou placez trevix-local dans votre chemin de recherche, puis choisissez de nouveau.</translation>
    </message>
    <message>
        <source>The local service has no key: %1. In a terminal this says more: %2</source>
        <translation>Le service local n’a pas de clé&#xa0;: %1. Pour en savoir plus, exécutez dans un terminal&#xa0;: %2</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>Impossible d’écrire %1.</translation>
    </message>
    <message>
        <source>This machine cannot grade yet</source>
        <translation>Cette machine ne peut pas encore évaluer</translation>
    </message>
    <message>
        <source>On this machine: your work stays here and nothing else is needed.</source>
        <translation>Sur cette machine&#xa0;: votre travail reste ici et rien d’autre n’est nécessaire.</translation>
    </message>
    <message>
        <source>With a service account: your work is sent to %1, and you need a key.</source>
        <translation>Avec un compte de service&#xa0;: votre travail est envoyé à %1 et il vous faut une clé.</translation>
    </message>
    <message>
        <source>Now: on this machine.</source>
        <translation>Actuellement&#xa0;: sur cette machine.</translation>
    </message>
    <message>
        <source>Now: with a service account.</source>
        <translation>Actuellement&#xa0;: avec un compte de service.</translation>
    </message>
    <message>
        <source>You can change this at any time: “Where to grade…” in the menu of the icon, or kelvane --service.</source>
        <translation>Vous pouvez changer cela à tout moment&#xa0;: «&#xa0;Lieu d’évaluation…&#xa0;» dans le menu de l’icône, ou kelvane --service.</translation>
    </message>
    <message>
        <source>BRASK_API_BASE is set where Kelvane was started from, and wins over this choice.</source>
        <translation>BRASK_API_BASE est définie là d’où Kelvane a été démarré et l’emporte sur ce choix.</translation>
    </message>
    <message>
        <source>Where shall your work be graded?</source>
        <translation>Où votre travail doit-il être évalué&#xa0;?</translation>
    </message>
    <message>
        <source>Grade on this machine</source>
        <translation>Évaluer sur cette machine</translation>
    </message>
    <message>
        <source>Use a service account</source>
        <translation>Utiliser un compte de service</translation>
    </message>
    <message>
        <source>Leave it</source>
        <translation>Ne rien changer</translation>
    </message>
    <message>
        <source>Later</source>
        <translation>Plus tard</translation>
    </message>
    <message>
        <source>Send your work without encryption?</source>
        <translation>Envoyer votre travail sans chiffrement&#xa0;?</translation>
    </message>
    <message>
        <source>%1 is not encrypted: whoever is on the way there can read your work and your service key. Kelvane remembers the answer in ~/.brask/plain-http.</source>
        <translation>%1 n’est pas chiffré&#xa0;: quiconque se trouve sur le trajet peut lire votre travail et votre clé de service. Kelvane garde la réponse dans ~/.brask/plain-http.</translation>
    </message>
    <message>
        <source>Don&apos;t Send</source>
        <translation>Ne pas envoyer</translation>
    </message>
    <message>
        <source>Send Unencrypted</source>
        <translation>Envoyer sans chiffrement</translation>
    </message>
    <message>
        <source>Python 3 is required</source>
        <translation>Python 3 est nécessaire</translation>
    </message>
    <message>
        <source>Kelvane runs the validator with python3, which isn’t installed. Install Apple’s Command Line Tools (Terminal: xcode-select --install), then choose “Wire my tools” from the menu.</source>
        <translation>Kelvane exécute la validation avec python3, qui n’est pas installé. Installez les Command Line Tools d’Apple (Terminal&#xa0;: xcode-select --install), puis choisissez «&#xa0;Connecter mes outils&#xa0;» dans le menu.</translation>
    </message>
    <message>
        <source>your coding tools</source>
        <translation>vos outils de programmation</translation>
    </message>
    <message>
        <source>Kelvane is wired</source>
        <translation>Kelvane est connecté</translation>
    </message>
    <message>
        <source>Validation is now active in: %1.
Get your free key at %2, then export BRASK_API_KEY.</source>
        <translation>La validation est maintenant active dans&#xa0;: %1.
Obtenez votre clé gratuite sur %2, puis exportez BRASK_API_KEY.</translation>
    </message>
    <message>
        <source>Uninstall Kelvane?</source>
        <translation>Désinstaller Kelvane&#xa0;?</translation>
    </message>
    <message>
        <source>Removes Trevix validation from your coding tools, deletes ~/.brask, and removes this app. Your own MCP servers, hooks, and notes are left intact.</source>
        <translation>Retire la validation Trevix de vos outils de programmation, supprime ~/.brask et désinstalle cette application. Vos propres serveurs MCP, hooks et notes restent intacts.</translation>
    </message>
    <message>
        <source>Uninstall</source>
        <translation>Désinstaller</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Kelvane removed</source>
        <translation>Kelvane a été désinstallé</translation>
    </message>
    <message>
        <source>Everything was removed — your own config was left intact. Thanks for trying it.</source>
        <translation>Tout a été retiré — votre propre configuration est restée intacte. Merci de l’avoir essayé.</translation>
    </message>
</context>
<context>
    <name>Band</name>
    <message>
        <source>SHIP</source>
        <translation>À LIVRER</translation>
    </message>
    <message>
        <source>ROUTE TO FIX</source>
        <translation>À CORRIGER</translation>
    </message>
    <message>
        <source>QUARANTINE</source>
        <translation>QUARANTAINE</translation>
    </message>
    <message>
        <source>BLOCK</source>
        <translation>BLOQUER</translation>
    </message>
</context>
<context>
    <name>FlawList</name>
    <message>
        <source>History…</source>
        <translation>Historique…</translation>
    </message>
    <message>
        <source>Copy all</source>
        <translation>Tout copier</translation>
    </message>
    <message>
        <source>Copy all flaws as text</source>
        <translation>Copier tous les défauts sous forme de texte</translation>
    </message>
    <message>
        <source>Less</source>
        <translation>Moins</translation>
    </message>
    <message>
        <source>Show the first flaws only</source>
        <translation>Afficher seulement les premiers défauts</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Go to line</source>
        <translation>Aller à la ligne</translation>
    </message>
    <message>
        <source>Not a flaw</source>
        <translation>Pas un défaut</translation>
    </message>
    <message>
        <source>Add to dictionary</source>
        <translation>Ajouter au dictionnaire</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copier</translation>
    </message>
    <message>
        <source>Copy the flaw as text</source>
        <translation>Copier le défaut sous forme de texte</translation>
    </message>
</context>
<context>
    <name>History</name>
    <message>
        <source>no verdict</source>
        <translation>pas de verdict</translation>
    </message>
    <message numerus="yes">
        <source>%n line is not shown</source>
        <comment>%n lines are not shown</comment>
        <translation>
            <numerusform>%n ligne n’est pas affichée</numerusform>
            <numerusform>%n lignes ne sont pas affichées</numerusform>
        </translation>
    </message>
    <message>
        <source>Flaws</source>
        <translation>Défauts</translation>
    </message>
    <message>
        <source>No flaws were listed.</source>
        <translation>Aucun défaut n’a été signalé.</translation>
    </message>
    <message>
        <source>Fixed</source>
        <translation>Corrigés</translation>
    </message>
    <message>
        <source>Remaining</source>
        <translation>Restants</translation>
    </message>
    <message>
        <source>New</source>
        <translation>Nouveaux</translation>
    </message>
    <message>
        <source>Of a verdict with more than %1 flaws the first are compared.</source>
        <translation>Si un verdict compte plus de %1 défauts, les premiers sont comparés.</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Texte</translation>
    </message>
    <message>
        <source>The work is the same.</source>
        <translation>Le travail est identique.</translation>
    </message>
    <message>
        <source>The text is kept only of what this machine has graded; pictures are not.</source>
        <translation>Le texte n’est conservé que pour ce que cette machine a évalué&#xa0;; les images ne le sont pas.</translation>
    </message>
    <message>
        <source>No line differs.</source>
        <translation>Aucune ligne ne diffère.</translation>
    </message>
    <message>
        <source>Of a long text the first %1 KiB are kept.</source>
        <translation>Seuls les %1 premiers Kio d’un long texte sont conservés.</translation>
    </message>
    <message>
        <source>Verdicts will be listed here.</source>
        <translation>Les verdicts apparaîtront ici.</translation>
    </message>
    <message>
        <source>No verdict has these words.</source>
        <translation>Aucun verdict ne contient ces mots.</translation>
    </message>
    <message numerus="yes">
        <source>%n verdict found.</source>
        <comment>%n verdicts found.</comment>
        <translation>
            <numerusform>%n verdict trouvé.</numerusform>
            <numerusform>%n verdicts trouvés.</numerusform>
        </translation>
    </message>
    <message>
        <source>The verdict is deleted.</source>
        <translation>Le verdict est supprimé.</translation>
    </message>
    <message>
        <source>All verdicts are deleted.</source>
        <translation>Tous les verdicts sont supprimés.</translation>
    </message>
</context>
<context>
    <name>HistoryWindow</name>
    <message>
        <source>History of verdicts</source>
        <translation>Historique des verdicts</translation>
    </message>
    <message>
        <source>Search verdicts</source>
        <translation>Rechercher dans les verdicts</translation>
    </message>
    <message>
        <source>Verdicts</source>
        <translation>Verdicts</translation>
    </message>
    <message>
        <source>Delete all…</source>
        <translation>Tout supprimer…</translation>
    </message>
    <message>
        <source>Delete all verdicts? This cannot be undone.</source>
        <translation>Supprimer tous les verdicts&#xa0;? Cette action est irréversible.</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>Conserver</translation>
    </message>
    <message>
        <source>Delete all</source>
        <translation>Tout supprimer</translation>
    </message>
    <message>
        <source>Choose a verdict to see its flaws.</source>
        <translation>Choisissez un verdict pour voir ses défauts.</translation>
    </message>
    <message>
        <source>Full report</source>
        <translation>Rapport complet</translation>
    </message>
    <message>
        <source>Compare with the version before</source>
        <translation>Comparer à la version précédente</translation>
    </message>
    <message>
        <source>Compare with the marked one</source>
        <translation>Comparer à celui qui est marqué</translation>
    </message>
    <message>
        <source>Take the mark away</source>
        <translation>Retirer la marque</translation>
    </message>
    <message>
        <source>Mark to compare</source>
        <translation>Marquer pour comparer</translation>
    </message>
    <message>
        <source>Back to its flaws</source>
        <translation>Revenir aux défauts</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copier</translation>
    </message>
    <message>
        <source>Copy all of this as text</source>
        <translation>Copier tout ceci sous forme de texte</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Delete this verdict</source>
        <translation>Supprimer ce verdict</translation>
    </message>
    <message>
        <source>Differences</source>
        <translation>Différences</translation>
    </message>
    <message>
        <source>Flaws</source>
        <translation>Défauts</translation>
    </message>
    <message>
        <source>Added: %1</source>
        <translation>Ajouté&#xa0;: %1</translation>
    </message>
    <message>
        <source>Removed: %1</source>
        <translation>Supprimé&#xa0;: %1</translation>
    </message>
</context>
<context>
    <name>Menu</name>
    <message>
        <source>Get a free key…</source>
        <translation>Obtenir une clé gratuite…</translation>
    </message>
    <message>
        <source>Uninstall Kelvane…</source>
        <translation>Désinstaller Kelvane…</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Quitter</translation>
    </message>
    <message>
        <source>Switch accessibility off again…</source>
        <translation>Désactiver l’accessibilité…</translation>
    </message>
    <message>
        <source>Read text of more programs…</source>
        <translation>Lire le texte d’autres programmes…</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Réglages…</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Reprendre</translation>
    </message>
    <message>
        <source>Pause for an hour</source>
        <translation>Suspendre pendant une heure</translation>
    </message>
    <message>
        <source>Kelvane — grade your work in any app</source>
        <translation>Kelvane — évaluez votre travail dans toute application</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Ouvrir</translation>
    </message>
    <message>
        <source>Where to grade…</source>
        <translation>Lieu d’évaluation…</translation>
    </message>
    <message>
        <source>History…</source>
        <translation>Historique…</translation>
    </message>
</context>
<context>
    <name>Modality</name>
    <message>
        <source>design</source>
        <translation>design</translation>
    </message>
    <message>
        <source>transcript</source>
        <translation>transcription</translation>
    </message>
    <message>
        <source>metrics</source>
        <translation>indicateurs</translation>
    </message>
    <message>
        <source>a deck</source>
        <translation>présentation</translation>
    </message>
    <message>
        <source>code</source>
        <translation>code</translation>
    </message>
    <message>
        <source>an image</source>
        <translation>image</translation>
    </message>
    <message>
        <source>video</source>
        <translation>vidéo</translation>
    </message>
    <message>
        <source>audio</source>
        <translation>audio</translation>
    </message>
    <message>
        <source>a sheet</source>
        <translation>feuille de calcul</translation>
    </message>
    <message>
        <source>a doc</source>
        <translation>document</translation>
    </message>
    <message>
        <source>text</source>
        <translation>texte</translation>
    </message>
    <message>
        <source>a picture</source>
        <translation>capture d’écran</translation>
    </message>
</context>
<context>
    <name>Notice</name>
    <message>
        <source>Show</source>
        <translation>Afficher</translation>
    </message>
    <message>
        <source>Open report</source>
        <translation>Ouvrir le rapport</translation>
    </message>
    <message>
        <source>not graded</source>
        <translation>non évalué</translation>
    </message>
    <message>
        <source>no verdict</source>
        <translation>pas de verdict</translation>
    </message>
    <message>
        <source>Agent: %1</source>
        <translation>Agent&#xa0;: %1</translation>
    </message>
    <message>
        <source>Agent in %1: %2</source>
        <translation>Agent dans %1&#xa0;: %2</translation>
    </message>
    <message>
        <source>New verdict: %1</source>
        <translation>Nouveau verdict&#xa0;: %1</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw</source>
        <comment>%n flaws</comment>
        <translation>
            <numerusform>%n défaut</numerusform>
            <numerusform>%n défauts</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Panel</name>
    <message>
        <source>Ready to grade</source>
        <translation>Prêt à évaluer</translation>
    </message>
    <message>
        <source>Others may read your key: chmod 600 ~/.brask/key</source>
        <translation>D’autres peuvent lire votre clé&#xa0;: chmod 600 ~/.brask/key</translation>
    </message>
    <message>
        <source>Get a free key to start grading</source>
        <translation>Obtenez une clé gratuite pour commencer à évaluer</translation>
    </message>
    <message>
        <source>NOW</source>
        <translation>MAINTENANT</translation>
    </message>
    <message>
        <source>You&apos;re in %1</source>
        <translation>Vous êtes dans %1</translation>
    </message>
    <message>
        <source>%1 · grades as %2</source>
        <translation>%1 · évaluation&#xa0;: %2</translation>
    </message>
    <message>
        <source>Bring a supported app to the front</source>
        <translation>Mettez une application prise en charge au premier plan</translation>
    </message>
    <message>
        <source>Kelvane works across 90+ apps</source>
        <translation>Kelvane fonctionne avec plus de 90 applications</translation>
    </message>
    <message>
        <source>%1 isn&apos;t in the catalog yet</source>
        <translation>%1 n’est pas encore dans le catalogue</translation>
    </message>
    <message>
        <source>Judged by %1</source>
        <translation>Jugé par %1</translation>
    </message>
    <message>
        <source>Not checked: %1</source>
        <translation>Non vérifié&#xa0;: %1</translation>
    </message>
    <message>
        <source>A picture of a window of %1</source>
        <translation>Une image d’une fenêtre de %1</translation>
    </message>
    <message>
        <source>What was selected in %1</source>
        <translation>Ce qui était sélectionné dans %1</translation>
    </message>
    <message>
        <source>Full report</source>
        <translation>Rapport complet</translation>
    </message>
    <message>
        <source>+%1 more</source>
        <translation>+%1 autres</translation>
    </message>
    <message>
        <source>Nobody here can judge this kind of work.</source>
        <translation>Personne ici ne peut juger ce type de travail.</translation>
    </message>
    <message>
        <source>Clears your bar — ready to ship.</source>
        <translation>Atteint votre niveau d’exigence — prêt à livrer.</translation>
    </message>
    <message>
        <source>Held below your bar. No itemised flaws returned.</source>
        <translation>En dessous de votre niveau d’exigence. Aucun défaut détaillé n’a été renvoyé.</translation>
    </message>
    <message>
        <source>Verdict: %1.</source>
        <translation>Verdict&#xa0;: %1.</translation>
    </message>
    <message>
        <source>No verdict.</source>
        <translation>Pas de verdict.</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw.</source>
        <comment>%n flaws.</comment>
        <translation>
            <numerusform>%n défaut.</numerusform>
            <numerusform>%n défauts.</numerusform>
        </translation>
    </message>
    <message>
        <source>Grading… the critic may be warming up</source>
        <translation>Évaluation… le critique est peut-être en train de démarrer</translation>
    </message>
    <message>
        <source>Nobody says which window is in front.</source>
        <translation>Rien n’indique quelle fenêtre est au premier plan.</translation>
    </message>
    <message>
        <source>Grade this</source>
        <translation>Évaluer</translation>
    </message>
    <message>
        <source>Iterate</source>
        <translation>Réévaluer</translation>
    </message>
    <message>
        <source>Get a free key to start grading →</source>
        <translation>Obtenir une clé gratuite pour commencer →</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Cancel the grade</source>
        <translation>Annuler l’évaluation</translation>
    </message>
    <message>
        <source>AGENTS</source>
        <translation>AGENTS</translation>
    </message>
    <message>
        <source>No coding agents detected yet</source>
        <translation>Aucun agent de programmation détecté pour l’instant</translation>
    </message>
    <message>
        <source>WORKFLOW</source>
        <translation>FLUX DE TRAVAIL</translation>
    </message>
    <message>
        <source>multi-modal</source>
        <translation>multimodal</translation>
    </message>
    <message>
        <source>Wire my tools</source>
        <translation>Connecter mes outils</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Réglages</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>et %1 autres</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw</source>
        <comment>%n flaws</comment>
        <translation>
            <numerusform>%n défaut</numerusform>
            <numerusform>%n défauts</numerusform>
        </translation>
    </message>
    <message>
        <source>+%1 more in the full report</source>
        <translation>+%1 autres dans le rapport complet</translation>
    </message>
</context>
<context>
    <name>Preview</name>
    <message>
        <source>PREVIEW</source>
        <translation>APERÇU</translation>
    </message>
    <message>
        <source>This goes to %1</source>
        <translation>Ceci est envoyé à %1</translation>
    </message>
    <message>
        <source>This stays on this machine</source>
        <translation>Ceci reste sur cette machine</translation>
    </message>
    <message>
        <source>A picture of a window of %1, %2</source>
        <translation>Une image d’une fenêtre de %1, %2</translation>
    </message>
    <message>
        <source>The text selected in %1, %2</source>
        <translation>Le texte sélectionné dans %1, %2</translation>
    </message>
    <message>
        <source>The picture that is sent</source>
        <translation>L’image envoyée</translation>
    </message>
    <message>
        <source>The text that is sent</source>
        <translation>Le texte envoyé</translation>
    </message>
    <message>
        <source>Don&apos;t ask again for %1</source>
        <translation>Ne plus demander pour %1</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Envoyer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>%1 kB</source>
        <translation>%1 Ko</translation>
    </message>
    <message numerus="yes">
        <source>%n character</source>
        <comment>%n characters</comment>
        <translation>
            <numerusform>%n caractère</numerusform>
            <numerusform>%n caractères</numerusform>
        </translation>
    </message>
    <message>
        <source>What comes after the first %1 characters is left out: more is not judged at once.</source>
        <translation>Ce qui suit les %1 premiers caractères est laissé de côté&#xa0;: on n’en juge pas plus à la fois.</translation>
    </message>
    <message>
        <source>Sent with it: the application&apos;s name, what kind of work it is (%1) and %2 as its name.</source>
        <translation>Envoyés avec&#xa0;: le nom de l’application, le type de travail (%1) et %2 comme nom.</translation>
    </message>
    <message>
        <source>Nothing of other windows is in the picture.</source>
        <translation>L’image ne contient rien des autres fenêtres.</translation>
    </message>
    <message>
        <source>Nothing of the document but this text is sent.</source>
        <translation>Rien d’autre du document que ce texte n’est envoyé.</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>«&#xa0;%1&#xa0;»</translation>
    </message>
</context>
<context>
    <name>RemovableRow</name>
    <message>
        <source>Remove</source>
        <translation>Retirer</translation>
    </message>
    <message>
        <source>Remove %1</source>
        <translation>Retirer %1</translation>
    </message>
</context>
<context>
    <name>Sentence</name>
    <message>
        <source>Couldn&apos;t capture anything to grade.</source>
        <translation>Rien n’a pu être capturé pour l’évaluation.</translation>
    </message>
    <message>
        <source>Nothing was sent.</source>
        <translation>Rien n’a été envoyé.</translation>
    </message>
    <message>
        <source>Grade cancelled.</source>
        <translation>Évaluation annulée.</translation>
    </message>
    <message>
        <source>No saved file that was opened lately holds this text.</source>
        <translation>Aucun fichier enregistré et ouvert récemment ne contient ce texte.</translation>
    </message>
    <message>
        <source>Does not count any more.</source>
        <translation>Ne compte plus.</translation>
    </message>
    <message>
        <source>“%1” is in your dictionary.</source>
        <translation>«&#xa0;%1&#xa0;» est dans votre dictionnaire.</translation>
    </message>
    <message>
        <source>Taken back.</source>
        <translation>Retiré.</translation>
    </message>
    <message>
        <source>Copied.</source>
        <translation>Copié.</translation>
    </message>
    <message>
        <source>Could not be said: %1</source>
        <translation>N’a pas pu être transmis&#xa0;: %1</translation>
    </message>
    <message numerus="yes">
        <source>Paused for %n more minute.</source>
        <comment>Paused for %n more minutes.</comment>
        <translation>
            <numerusform>Suspendu pendant encore %n minute.</numerusform>
            <numerusform>Suspendu pendant encore %n minutes.</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing is captured from %1: it keeps passwords.</source>
        <translation>Rien n’est capturé dans %1&#xa0;: cette application conserve des mots de passe.</translation>
    </message>
    <message>
        <source>Nothing is captured from %1, as you set it.</source>
        <translation>Rien n’est capturé dans %1, selon vos réglages.</translation>
    </message>
    <message>
        <source>No text selection found — graded a screenshot of %1&apos;s window. Select text first for a text grade.</source>
        <translation>Aucun texte sélectionné — une capture de la fenêtre de %1 a été évaluée. Sélectionnez d’abord du texte pour évaluer le texte.</translation>
    </message>
    <message>
        <source>Grant Accessibility (System Settings ▸ Privacy) to grade your text selection; graded a window screenshot for now.</source>
        <translation>Autorisez l’accessibilité (Réglages Système ▸ Confidentialité) pour évaluer le texte sélectionné&#xa0;; une capture de la fenêtre a été évaluée pour l’instant.</translation>
    </message>
    <message>
        <source>%1 isn&apos;t running anymore — open it and press Grade.</source>
        <translation>%1 n’est plus en cours d’exécution — ouvrez l’application et appuyez sur «&#xa0;Évaluer&#xa0;».</translation>
    </message>
    <message>
        <source>Graded a frame of %1. For the full render, export the file and run `brask grade &lt;file&gt;`.</source>
        <translation>Une image de %1 a été évaluée. Pour le rendu complet, exportez le fichier et exécutez `brask grade &lt;file&gt;`.</translation>
    </message>
    <message>
        <source>Couldn&apos;t capture %1&apos;s window — grant Screen Recording in System Settings ▸ Privacy, and make sure the window is open on screen.</source>
        <translation>La fenêtre de %1 n’a pas pu être capturée — autorisez l’enregistrement de l’écran dans Réglages Système ▸ Confidentialité et vérifiez que la fenêtre est ouverte à l’écran.</translation>
    </message>
    <message>
        <source>the grade was cancelled</source>
        <translation>l’évaluation a été annulée</translation>
    </message>
    <message>
        <source>could not reach the eval API</source>
        <translation>impossible de joindre le service d’évaluation</translation>
    </message>
    <message>
        <source>the service key holds a line break — check BRASK_API_KEY or ~/.brask/key</source>
        <translation>la clé de service contient un saut de ligne — vérifiez BRASK_API_KEY ou ~/.brask/key</translation>
    </message>
    <message>
        <source>The service answers, but not in a way that can be read.</source>
        <translation>Le service répond, mais sa réponse est illisible.</translation>
    </message>
    <message>
        <source>nothing was sent: %1 is not encrypted and was not allowed — see ~/.brask/plain-http</source>
        <translation>rien n’a été envoyé&#xa0;: %1 n’est pas chiffré et n’a pas été autorisé — voir ~/.brask/plain-http</translation>
    </message>
    <message>
        <source>not authorized — check your Trevix key (HTTP %1)</source>
        <translation>non autorisé — vérifiez votre clé Trevix (HTTP %1)</translation>
    </message>
    <message>
        <source>eval API error (HTTP %1)</source>
        <translation>erreur du service d’évaluation (HTTP %1)</translation>
    </message>
    <message>
        <source>grade timed out after %1s</source>
        <translation>délai d’évaluation dépassé après %1 s</translation>
    </message>
    <message>
        <source>grade failed</source>
        <translation>échec de l’évaluation</translation>
    </message>
    <message>
        <source>grade cancelled</source>
        <translation>évaluation annulée</translation>
    </message>
    <message>
        <source>no job_id in response</source>
        <translation>pas de job_id dans la réponse</translation>
    </message>
    <message>
        <source>the service refused</source>
        <translation>le service a refusé</translation>
    </message>
    <message>
        <source>there is no key in %1</source>
        <translation>il n’y a pas de clé dans %1</translation>
    </message>
    <message>
        <source>%1: others may read or write it; the key in it is not used (make it yours, chmod 600)</source>
        <translation>%1&#xa0;: d’autres peuvent lire ou modifier ce fichier&#xa0;; la clé qu’il contient n’est pas utilisée (appropriez-vous-le, chmod 600)</translation>
    </message>
    <message>
        <source>this machine</source>
        <translation>cette machine</translation>
    </message>
    <message>
        <source>%1 To read every program and to photograph a window, turn on its Shell extension, then log in again.</source>
        <translation>%1 Pour lire tous les programmes et photographier une fenêtre, activez l’extension Shell de Kelvane, puis rouvrez la session.</translation>
    </message>
    <message>
        <source>No desktop answers here: start Kelvane from inside your session.</source>
        <translation>Aucun bureau ne répond ici&#xa0;: démarrez Kelvane depuis votre session.</translation>
    </message>
    <message>
        <source>GNOME shows Kelvane the windows of X11 programs only.</source>
        <translation>GNOME ne montre à Kelvane que les fenêtres des programmes X11.</translation>
    </message>
    <message>
        <source>This desktop shows Kelvane the windows of X11 programs only. Log in to an X11 session to have the others graded.</source>
        <translation>Ce bureau ne montre à Kelvane que les fenêtres des programmes X11. Ouvrez une session X11 pour faire évaluer les autres.</translation>
    </message>
    <message>
        <source>On GNOME Kelvane reads text from GTK, Qt and Firefox windows.</source>
        <translation>Sous GNOME, Kelvane lit le texte des fenêtres GTK, Qt et Firefox.</translation>
    </message>
    <message>
        <source>This desktop tells Kelvane only of programs that speak to assistive technology: select text in a GTK, Qt or Firefox window.</source>
        <translation>Ce bureau ne signale à Kelvane que les programmes qui parlent aux technologies d’assistance&#xa0;: sélectionnez du texte dans une fenêtre GTK, Qt ou Firefox.</translation>
    </message>
    <message>
        <source>This desktop lets no program read a selection or photograph a window.</source>
        <translation>Ce bureau ne laisse aucun programme lire une sélection ni photographier une fenêtre.</translation>
    </message>
    <message>
        <source>KWin lets only an installed Kelvane photograph windows: install the package, or select text.</source>
        <translation>KWin ne laisse photographier les fenêtres qu’à un Kelvane installé&#xa0;: installez le paquet ou sélectionnez du texte.</translation>
    </message>
    <message>
        <source>This desktop does not tell where windows are, so none can be photographed: select text.</source>
        <translation>Ce bureau n’indique pas où sont les fenêtres, aucune ne peut donc être photographiée&#xa0;: sélectionnez du texte.</translation>
    </message>
    <message>
        <source>This desktop lets no program read a selection: a picture of the window is graded.</source>
        <translation>Ce bureau ne laisse aucun programme lire une sélection&#xa0;: une image de la fenêtre est évaluée.</translation>
    </message>
    <message>
        <source>On GNOME a window can be photographed once Kelvane&apos;s Shell extension is on; selected text can be graded without.</source>
        <translation>Sous GNOME, une fenêtre peut être photographiée dès que l’extension Shell de Kelvane est activée&#xa0;; le texte sélectionné peut être évalué sans elle.</translation>
    </message>
    <message>
        <source>On this desktop no program may photograph a window: select text instead.</source>
        <translation>Sur ce bureau, aucun programme ne peut photographier une fenêtre&#xa0;: sélectionnez plutôt du texte.</translation>
    </message>
    <message>
        <source>On Linux no permission is needed: the window has to be on this workspace, not minimised, and its program has to answer.</source>
        <translation>Sous Linux, aucune autorisation n’est nécessaire&#xa0;: la fenêtre doit être sur cet espace de travail, ne pas être réduite, et son programme doit répondre.</translation>
    </message>
    <message>
        <source>This keyboard has no key “%1”.</source>
        <translation>Ce clavier n’a pas de touche «&#xa0;%1&#xa0;».</translation>
    </message>
    <message>
        <source>The display does not answer.</source>
        <translation>L’affichage ne répond pas.</translation>
    </message>
    <message>
        <source>Another program has these keys already, or the desktop itself.</source>
        <translation>Un autre programme, ou le bureau lui-même, utilise déjà ces touches.</translation>
    </message>
    <message>
        <source>The system gives no more files.</source>
        <translation>Le système n’accorde plus de fichiers.</translation>
    </message>
    <message>
        <source>Here no program can have keys of its own: give “kelvane --grade” a shortcut in the desktop&apos;s settings.</source>
        <translation>Ici, aucun programme ne peut avoir ses propres touches&#xa0;: attribuez un raccourci à «&#xa0;kelvane --grade&#xa0;» dans les réglages du bureau.</translation>
    </message>
    <message>
        <source>The desktop did not give these keys; its own settings of shortcuts may.</source>
        <translation>Le bureau n’a pas accordé ces touches&#xa0;; ses propres réglages de raccourcis le permettent peut-être.</translation>
    </message>
    <message>
        <source>The desktop has taken these keys back; its own settings of shortcuts may give them again.</source>
        <translation>Le bureau a repris ces touches&#xa0;; ses propres réglages de raccourcis permettent peut-être de les redonner.</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>is “elsewhere”, “always” or “never”</source>
        <translation>doit être «&#xa0;elsewhere&#xa0;», «&#xa0;always&#xa0;» ou «&#xa0;never&#xa0;»</translation>
    </message>
    <message>
        <source>is an object with “always” or “never” for each application</source>
        <translation>doit être un objet avec «&#xa0;always&#xa0;» ou «&#xa0;never&#xa0;» pour chaque application</translation>
    </message>
    <message>
        <source>%1; “%2” has neither</source>
        <translation>%1&#xa0;; «&#xa0;%2&#xa0;» n’a ni l’un ni l’autre</translation>
    </message>
    <message>
        <source>is a list of identifiers of applications</source>
        <translation>doit être une liste d’identifiants d’applications</translation>
    </message>
    <message>
        <source>is a list of texts</source>
        <translation>doit être une liste de textes</translation>
    </message>
    <message>
        <source>has “%1”: %2</source>
        <translation>contient «&#xa0;%1&#xa0;»&#xa0;: %2</translation>
    </message>
    <message>
        <source>is true or false</source>
        <translation>doit être true ou false</translation>
    </message>
    <message>
        <source>is a text such as “Ctrl+Alt+G”, or an empty one</source>
        <translation>doit être un texte comme «&#xa0;Ctrl+Alt+G&#xa0;», ou un texte vide</translation>
    </message>
    <message>
        <source>is no combination of keys: %1</source>
        <translation>n’est pas une combinaison de touches&#xa0;: %1</translation>
    </message>
    <message>
        <source>is %1, or empty for the desktop&apos;s</source>
        <translation>doit être %1, ou vide pour celle du bureau</translation>
    </message>
    <message>
        <source>an identifier is not empty</source>
        <translation>un identifiant n’est pas vide</translation>
    </message>
    <message>
        <source>no identifier is that long</source>
        <translation>aucun identifiant n’est aussi long</translation>
    </message>
    <message>
        <source>“*” stands at the end alone</source>
        <translation>«&#xa0;*&#xa0;» ne se place qu’à la fin</translation>
    </message>
    <message>
        <source>at least three characters stand before “*”</source>
        <translation>au moins trois caractères précèdent «&#xa0;*&#xa0;»</translation>
    </message>
    <message>
        <source>longer than any settings are</source>
        <translation>plus long que des réglages ne peuvent l’être</translation>
    </message>
    <message>
        <source>not JSON from here on; nothing of the file is used</source>
        <translation>n’est plus du JSON à partir d’ici&#xa0;; rien du fichier n’est utilisé</translation>
    </message>
    <message>
        <source>not an object of JSON</source>
        <translation>n’est pas un objet JSON</translation>
    </message>
    <message>
        <source>“%1” %2</source>
        <translation>«&#xa0;%1&#xa0;» %2</translation>
    </message>
    <message>
        <source>stands there twice; the last one counts</source>
        <translation>figure deux fois&#xa0;; la dernière compte</translation>
    </message>
    <message>
        <source>is no setting of this version; it stays as it is</source>
        <translation>n’est pas un réglage de cette version&#xa0;; il reste tel quel</translation>
    </message>
    <message>
        <source>somebody else could have written it; nothing of it is used (make it yours, chmod 600)</source>
        <translation>quelqu’un d’autre a pu l’écrire&#xa0;; rien n’en est utilisé (appropriez-vous ce fichier, chmod 600)</translation>
    </message>
    <message>
        <source>cannot be read</source>
        <translation>illisible</translation>
    </message>
    <message>
        <source>Mend it, or delete it.</source>
        <translation>Corrigez le fichier ou supprimez-le.</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>Impossible d’écrire %1.</translation>
    </message>
    <message>
        <source>“%1” is none of Ctrl, Alt, Shift and Super.</source>
        <translation>«&#xa0;%1&#xa0;» n’est ni Ctrl, ni Alt, ni Shift, ni Super.</translation>
    </message>
    <message>
        <source>“%1” stands there twice.</source>
        <translation>«&#xa0;%1&#xa0;» figure deux fois.</translation>
    </message>
    <message>
        <source>The key is missing, as in Ctrl+Alt+G.</source>
        <translation>Il manque la touche, comme dans Ctrl+Alt+G.</translation>
    </message>
    <message>
        <source>There is no key “%1”.</source>
        <translation>Il n’y a pas de touche «&#xa0;%1&#xa0;».</translation>
    </message>
    <message>
        <source>A key that you type with needs Ctrl, Alt or Super beside it.</source>
        <translation>Une touche qui sert à écrire doit être accompagnée de Ctrl, Alt ou Super.</translation>
    </message>
    <message>
        <source>Work is graded by %1.</source>
        <translation>Le travail est évalué par %1.</translation>
    </message>
    <message>
        <source>When it leaves this machine</source>
        <translation>S’il quitte cette machine</translation>
    </message>
    <message>
        <source>Always</source>
        <translation>Toujours</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>Jamais</translation>
    </message>
    <message>
        <source>%1: always shown</source>
        <translation>%1&#xa0;: toujours montré</translation>
    </message>
    <message>
        <source>%1: sent without asking</source>
        <translation>%1&#xa0;: envoyé sans demander</translation>
    </message>
    <message>
        <source>Never capture %1</source>
        <translation>Ne jamais capturer %1</translation>
    </message>
    <message>
        <source>As the desktop</source>
        <translation>Comme le bureau</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>Réglages</translation>
    </message>
    <message>
        <source>WHERE TO GRADE</source>
        <translation>LIEU D’ÉVALUATION</translation>
    </message>
    <message>
        <source>Choose where to grade…</source>
        <translation>Choisir le lieu d’évaluation…</translation>
    </message>
    <message>
        <source>SHOW WORK BEFORE IT IS SENT</source>
        <translation>MONTRER LE TRAVAIL AVANT L’ENVOI</translation>
    </message>
    <message>
        <source>NEVER CAPTURE</source>
        <translation>NE JAMAIS CAPTURER</translation>
    </message>
    <message>
        <source>Password managers</source>
        <translation>Gestionnaires de mots de passe</translation>
    </message>
    <message>
        <source>Identifier of an application that is never captured</source>
        <translation>Identifiant d’une application qui n’est jamais capturée</translation>
    </message>
    <message>
        <source>As org.example.diary or com.example.*</source>
        <translation>Comme org.example.diary ou com.example.*</translation>
    </message>
    <message>
        <source>KEYS THAT GRADE WHAT IS IN FRONT</source>
        <translation>TOUCHES POUR ÉVALUER</translation>
    </message>
    <message>
        <source>Keys that grade what is in front</source>
        <translation>Touches qui évaluent ce qui est au premier plan</translation>
    </message>
    <message>
        <source>None. As Ctrl+Alt+G, then Return</source>
        <translation>Aucune. Par exemple Ctrl+Alt+G, puis Entrée</translation>
    </message>
    <message>
        <source>LANGUAGE</source>
        <translation>LANGUE</translation>
    </message>
    <message>
        <source>CODING TOOLS</source>
        <translation>OUTILS DE PROGRAMMATION</translation>
    </message>
    <message>
        <source>Wire my tools</source>
        <translation>Connecter mes outils</translation>
    </message>
    <message>
        <source>NOTIFICATIONS</source>
        <translation>NOTIFICATIONS</translation>
    </message>
    <message>
        <source>Verdicts that come while the panel is closed</source>
        <translation>Verdicts qui arrivent quand le panneau est fermé</translation>
    </message>
</context>
<context>
    <name>Shortcut</name>
    <message>
        <source>Grade what is in front</source>
        <translation>Évaluer ce qui est au premier plan</translation>
    </message>
</context>
<context>
    <name>VerdictSection</name>
    <message>
        <source>Show all flaws</source>
        <translation>Afficher tous les défauts</translation>
    </message>
</context>
<context>
    <name>Window</name>
    <message>
        <source>History of verdicts</source>
        <translation>Historique des verdicts</translation>
    </message>
    <message>
        <source>Kelvane Settings</source>
        <translation>Réglages de Kelvane</translation>
    </message>
</context>
</TS>
