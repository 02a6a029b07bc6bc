<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="fr">
<context>
    <name>HistoryView</name>
    <message>
        <source>Historique</source>
        <translation>History</translation>
    </message>
    <message>
        <source>Fermer</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>Aucune capture pour l&apos;instant.</source>
        <translation>No captures yet.</translation>
    </message>
    <message>
        <source>Exporter…</source>
        <translation>Export…</translation>
    </message>
    <message>
        <source>Exporter l&apos;historique</source>
        <translation>Export the history</translation>
    </message>
    <message>
        <source>historique-airnote.csv</source>
        <translation>airnote-history.csv</translation>
    </message>
    <message>
        <source>Rechercher un artiste ou un titre</source>
        <translation>Search an artist or a title</translation>
    </message>
    <message>
        <source>Tout</source>
        <translation>All</translation>
    </message>
    <message>
        <source>Sauvés</source>
        <translation>Saved</translation>
    </message>
    <message>
        <source>Pour plus tard</source>
        <translation>For later</translation>
    </message>
    <message>
        <source>Échecs</source>
        <translation>Failed</translation>
    </message>
    <message>
        <source>Notés</source>
        <translation>Noted</translation>
    </message>
    <message>
        <source>Réessayer, ouvrir et exporter sont indisponibles tant que le fichier n&apos;est pas réparé.</source>
        <translation>Retry, open and export are unavailable until the file is repaired.</translation>
    </message>
    <message>
        <source>Aucune capture ne correspond.</source>
        <translation>No capture matches.</translation>
    </message>
    <message>
        <source>Réessayer</source>
        <translation>Retry</translation>
    </message>
    <message>
        <source>Ouvrir dans Apple Music</source>
        <translation>Open in Apple Music</translation>
    </message>
    <message>
        <source>Copier</source>
        <translation>Copy</translation>
    </message>
</context>
<context>
    <name>ListeningBar</name>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Écouter %1</source>
        <translation>Listen to %1</translation>
    </message>
    <message>
        <source>En écoute</source>
        <translation>Listening</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>Volume</translation>
    </message>
</context>
<context>
    <name>NowPlayingView</name>
    <message>
        <source>Mise à jour…</source>
        <translation>Updating…</translation>
    </message>
    <message>
        <source>FIP injoignable</source>
        <translation>FIP is unreachable</translation>
    </message>
    <message>
        <source>Sauver dans Apple Music</source>
        <translation>Save to Apple Music</translation>
    </message>
    <message>
        <source>Chargement…</source>
        <translation>Loading…</translation>
    </message>
    <message>
        <source>Pas de musique en ce moment</source>
        <translation>No music right now</translation>
    </message>
    <message>
        <source>Historique…</source>
        <translation>History…</translation>
    </message>
    <message>
        <source>Vérifier les màj</source>
        <translation>Check for updates</translation>
    </message>
    <message>
        <source>Quitter</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>%1 — en ce moment</source>
        <translation>%1 — now playing</translation>
    </message>
    <message>
        <source>Changer de station</source>
        <translation>Change station</translation>
    </message>
</context>
<context>
    <name>PreviewSheet</name>
    <message>
        <source>Annuler</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Confirmer la sauvegarde</source>
        <translation>Confirm save</translation>
    </message>
    <message>
        <source>FIP : %1</source>
        <translation>FIP: %1</translation>
    </message>
    <message numerus="yes">
        <source>%n résultat(s)</source>
        <translation>
            <numerusform>%n result</numerusform>
            <numerusform>%n results</numerusform>
        </translation>
    </message>
    <message>
        <source>Confirmer</source>
        <translation>Confirm</translation>
    </message>
    <message>
        <source>Pas trouvé dans Apple Music</source>
        <translation>Not found in Apple Music</translation>
    </message>
    <message>
        <source>FIP joue : %1</source>
        <translation>FIP is playing: %1</translation>
    </message>
    <message>
        <source>Logger pour plus tard</source>
        <translation>Log for later</translation>
    </message>
</context>
<context>
    <name>UpdateDialog</name>
    <message>
        <source>Télécharger</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>airnote::Appcast</name>
    <message>
        <source>flux de mises à jour illisible, ligne %1 : %2</source>
        <translation>unreadable update feed, line %1: %2</translation>
    </message>
</context>
<context>
    <name>airnote::AppleMusicReplies</name>
    <message>
        <source>JSON illisible (%1, position %2)</source>
        <translation>unreadable JSON (%1, at offset %2)</translation>
    </message>
</context>
<context>
    <name>airnote::AppleMusicService</name>
    <message>
        <source>Capté depuis Radio France FIP via Airnote</source>
        <translation>Captured from Radio France FIP via Airnote</translation>
    </message>
    <message>
        <source>réseau : %1</source>
        <translation>network: %1</translation>
    </message>
    <message>
        <source>réponse invalide : %1</source>
        <translation>invalid response: %1</translation>
    </message>
    <message>
        <source>aucun serveur de jetons n&apos;est configuré</source>
        <translation>no token server is configured</translation>
    </message>
    <message>
        <source>vitrine Apple Music illisible dans la réponse</source>
        <translation>no readable Apple Music storefront in the response</translation>
    </message>
    <message>
        <source>L&apos;identifiant de playlist FIP enregistré était invalide ; il a été effacé, réessayez</source>
        <translation>The stored FIP playlist identifier was invalid; it has been cleared, please try again</translation>
    </message>
    <message>
        <source>identifiant de playlist inattendu dans la réponse d&apos;Apple Music</source>
        <translation>unexpected playlist identifier in Apple Music&apos;s response</translation>
    </message>
</context>
<context>
    <name>airnote::HistoryExport</name>
    <message>
        <source>Export impossible : aucun fichier indiqué</source>
        <translation>Cannot export: no file given</translation>
    </message>
    <message>
        <source>Export impossible : %1 est un dossier</source>
        <translation>Cannot export: %1 is a folder</translation>
    </message>
    <message>
        <source>Export impossible : le dossier %1 n&apos;existe pas</source>
        <translation>Cannot export: the folder %1 does not exist</translation>
    </message>
    <message>
        <source>Export impossible : %1</source>
        <translation>Cannot export: %1</translation>
    </message>
    <message>
        <source>Historique illisible, rien n&apos;est exporté : %1</source>
        <translation>Unreadable history, nothing exported: %1</translation>
    </message>
</context>
<context>
    <name>airnote::HistoryModel</name>
    <message>
        <source>Historique exporté dans %1</source>
        <translation>History exported to %1</translation>
    </message>
    <message>
        <source>Historique illisible : %1</source>
        <translation>Unreadable history: %1</translation>
    </message>
</context>
<context>
    <name>airnote::RelativeTime</name>
    <message>
        <source>à l&apos;instant</source>
        <translation>just now</translation>
    </message>
    <message numerus="yes">
        <source>il y a %n min</source>
        <translation>
            <numerusform>%n min. ago</numerusform>
            <numerusform>%n min. ago</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>il y a %n h</source>
        <translation>
            <numerusform>%n hr. ago</numerusform>
            <numerusform>%n hr. ago</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>il y a %n j</source>
        <translation>
            <numerusform>%n day ago</numerusform>
            <numerusform>%n days ago</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>il y a %n mois</source>
        <translation>
            <numerusform>%n mo. ago</numerusform>
            <numerusform>%n mo. ago</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>il y a %n an(s)</source>
        <translation>
            <numerusform>%n yr. ago</numerusform>
            <numerusform>%n yr. ago</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>airnote::SaveFileDialog</name>
    <message>
        <source>CSV (*.csv)</source>
        <translation>CSV (*.csv)</translation>
    </message>
</context>
<context>
    <name>airnote::ServiceError</name>
    <message>
        <source>Token Apple Music indisponible : %1</source>
        <translation>Apple Music token unavailable: %1</translation>
    </message>
    <message>
        <source>API Apple Music erreur %1 : %2</source>
        <translation>Apple Music API error %1: %2</translation>
    </message>
    <message>
        <source>Ajout impossible : %1</source>
        <translation>Could not add the song: %1</translation>
    </message>
    <message>
        <source>Apple Music non autorisé</source>
        <translation>Apple Music is not authorized</translation>
    </message>
    <message>
        <source>Abonnement Apple Music requis</source>
        <translation>An Apple Music subscription is required</translation>
    </message>
    <message>
        <source>Aucune correspondance trouvée</source>
        <translation>No match found</translation>
    </message>
    <message>
        <source>Impossible de créer la playlist FIP</source>
        <translation>Could not create the FIP playlist</translation>
    </message>
</context>
<context>
    <name>airnote::SheetState</name>
    <message>
        <source>Recherche dans Apple Music…</source>
        <translation>Searching Apple Music…</translation>
    </message>
    <message>
        <source>Sauvegarde…</source>
        <translation>Saving…</translation>
    </message>
    <message>
        <source>Sauvé dans Apple Music</source>
        <translation>Saved to Apple Music</translation>
    </message>
    <message>
        <source>Déjà sauvé récemment</source>
        <translation>Already saved recently</translation>
    </message>
    <message>
        <source>Échec</source>
        <translation>Failed</translation>
    </message>
</context>
<context>
    <name>airnote::SignInServer</name>
    <message>
        <source>Requête refusée.</source>
        <translation>Request refused.</translation>
    </message>
    <message>
        <source>Connexion à Apple Music…</source>
        <translation>Connecting to Apple Music…</translation>
    </message>
    <message>
        <source>Autorisez Airnote à ajouter des morceaux à votre bibliothèque Apple Music.</source>
        <translation>Allow Airnote to add songs to your Apple Music library.</translation>
    </message>
    <message>
        <source>Connecté. Vous pouvez fermer cet onglet.</source>
        <translation>Signed in. You can close this tab.</translation>
    </message>
    <message>
        <source>Connexion refusée.</source>
        <translation>Sign-in declined.</translation>
    </message>
    <message>
        <source>Erreur : %1</source>
        <translation>Error: %1</translation>
    </message>
    <message>
        <source>Airnote a refusé la réponse (%1).</source>
        <translation>Airnote refused the answer (%1).</translation>
    </message>
    <message>
        <source>MusicKit n&apos;a pas pu être chargé. Vérifiez la connexion à Internet.</source>
        <translation>MusicKit could not be loaded. Check your Internet connection.</translation>
    </message>
    <message>
        <source>fr</source>
        <comment>the language code of the sign-in page</comment>
        <translation>en</translation>
    </message>
    <message>
        <source>Airnote – Connexion à Apple Music</source>
        <translation>Airnote – Sign in to Apple Music</translation>
    </message>
    <message>
        <source>Se connecter à Apple Music</source>
        <translation>Sign in to Apple Music</translation>
    </message>
</context>
<context>
    <name>airnote::StationPlayer</name>
    <message>
        <source>Connexion au flux…</source>
        <translation>Connecting to the stream…</translation>
    </message>
    <message>
        <source>Flux interrompu, nouvel essai dans %1 s</source>
        <translation>Stream interrupted, trying again in %1 s</translation>
    </message>
    <message>
        <source>Aucune sortie audio : écoute impossible</source>
        <translation>No audio output: cannot play</translation>
    </message>
</context>
<context>
    <name>airnote::TokenResponse</name>
    <message>
        <source>la réponse n&apos;est pas un objet JSON</source>
        <translation>the response is not a JSON object</translation>
    </message>
    <message>
        <source>la clé &quot;token&quot; manque ou n&apos;est pas un texte</source>
        <translation>the &quot;token&quot; key is missing or is not a string</translation>
    </message>
    <message>
        <source>la clé &quot;expiresIn&quot; manque ou n&apos;est pas un entier</source>
        <translation>the &quot;expiresIn&quot; key is missing or is not an integer</translation>
    </message>
</context>
<context>
    <name>airnote::TrayIcon</name>
    <message>
        <source>Ouvrir</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>Quitter</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>Se déconnecter</source>
        <translation>Sign out</translation>
    </message>
    <message>
        <source>Se connecter à Apple Music</source>
        <translation>Sign in to Apple Music</translation>
    </message>
    <message>
        <source>Station</source>
        <translation>Station</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Écouter</source>
        <translation>Listen</translation>
    </message>
</context>
<context>
    <name>airnote::UpdateChecker</name>
    <message>
        <source>Recherche d&apos;une mise à jour…</source>
        <translation>Checking for updates…</translation>
    </message>
    <message>
        <source>Airnote est à jour</source>
        <translation>Airnote is up to date</translation>
    </message>
    <message>
        <source>Airnote %1 est disponible (version installée : %2)</source>
        <translation>Airnote %1 is available (installed version: %2)</translation>
    </message>
    <message>
        <source>aucun flux de mises à jour n&apos;est configuré</source>
        <translation>no update feed is configured</translation>
    </message>
    <message>
        <source>lien de téléchargement refusé (https seulement)</source>
        <translation>download link refused (https only)</translation>
    </message>
    <message>
        <source>le serveur a répondu HTTP %1</source>
        <translation>the server answered HTTP %1</translation>
    </message>
    <message>
        <source>Vérification impossible : %1</source>
        <translation>Could not check for updates: %1</translation>
    </message>
</context>
<context>
    <name>airnote::WebSession</name>
    <message>
        <source>redirection refusée vers %1</source>
        <translation>redirect to %1 refused</translation>
    </message>
    <message>
        <source>réponse trop volumineuse : plus de %1 Mo</source>
        <translation>response too large: over %1 MB</translation>
    </message>
    <message>
        <source>délai dépassé : réponse incomplète après %1 s</source>
        <translation>timed out: response incomplete after %1 s</translation>
    </message>
</context>
</TS>
