<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="fr">
<context>
    <name>PreviewSheet</name>
    <message numerus="yes">
        <source>%n résultat(s)</source>
        <translation>
            <numerusform>%n résultat</numerusform>
            <numerusform>%n résultats</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>airnote::RelativeTime</name>
    <message numerus="yes">
        <source>il y a %n min</source>
        <translation>
            <numerusform>il y a %n min</numerusform>
            <numerusform>il y a %n min</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>il y a %n h</source>
        <translation>
            <numerusform>il y a %n h</numerusform>
            <numerusform>il y a %n h</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>il y a %n j</source>
        <translation>
            <numerusform>il y a %n j</numerusform>
            <numerusform>il y a %n j</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>il y a %n mois</source>
        <translation>
            <numerusform>il y a %n mois</numerusform>
            <numerusform>il y a %n mois</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>il y a %n an(s)</source>
        <translation>
            <numerusform>il y a %n an</numerusform>
            <numerusform>il y a %n ans</numerusform>
        </translation>
    </message>
</context>
</TS>
