<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>TRDurationToStringFormatter</name>
    <message>
        <source>%ih</source>
        <translation>%i Std.</translation>
    </message>
    <message>
        <source>%im</source>
        <translation>%i Min.</translation>
    </message>
    <message>
        <source>%is</source>
        <translation>%i Sek.</translation>
    </message>
</context>
<context>
    <name>TRAlert</name>
    <message>
        <source>Would you like to have the Vorlix menu item launch automatically at login?</source>
        <translation>Soll das Vorlix-Menüsymbol beim Anmelden automatisch starten?</translation>
    </message>
    <message>
        <source>Vorlix can only track your activities while the menu item is running.</source>
        <translation>Vorlix kann Ihre Tätigkeiten nur erfassen, solange das Menüsymbol läuft.</translation>
    </message>
    <message>
        <source>Launch at Login</source>
        <translation>Beim Anmelden starten</translation>
    </message>
    <message>
        <source>Don&apos;t start automatically</source>
        <translation>Nicht automatisch starten</translation>
    </message>
    <message>
        <source>Vorlix can&apos;t track most documents&apos; paths if the Accessibility API is disabled.</source>
        <translation>Vorlix kann die Pfade der meisten Dokumente nicht erfassen, solange die Bedienungshilfen ausgeschaltet sind.</translation>
    </message>
    <message>
        <source>Would you like to launch System Preferences so that you can turn on &quot;Enable access for assistive devices&quot;?</source>
        <translation>Möchten Sie die Systemeinstellungen öffnen, um „Zugriff für Hilfsgeräte aktivieren“ einzuschalten?</translation>
    </message>
    <message>
        <source>Open System Preferences</source>
        <translation>Systemeinstellungen öffnen</translation>
    </message>
    <message>
        <source>Continue Anyway</source>
        <translation>Trotzdem fortfahren</translation>
    </message>
    <message>
        <source>Do you really wish to quit the Vorlix menu item?</source>
        <translation>Möchten Sie das Vorlix-Menüsymbol wirklich beenden?</translation>
    </message>
    <message>
        <source>Keep Tracking</source>
        <translation>Weiter erfassen</translation>
    </message>
    <message>
        <source>Quit Menu Item</source>
        <translation>Menüsymbol beenden</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Do not show this message again</source>
        <translation>Diese Meldung nicht mehr anzeigen</translation>
    </message>
</context>
<context>
    <name>TRCustomActivityCreationViewController</name>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Meeting, phone call, reading…</source>
        <translation>Besprechung, Telefonat, Lesen …</translation>
    </message>
    <message>
        <source>Activity:</source>
        <translation>Tätigkeit:</translation>
    </message>
    <message>
        <source>Start:</source>
        <translation>Beginn:</translation>
    </message>
    <message>
        <source>Duration (hours:minutes):</source>
        <translation>Dauer (Stunden:Minuten):</translation>
    </message>
    <message>
        <source>What did you do while away from the computer?</source>
        <translation>Was haben Sie abseits des Computers getan?</translation>
    </message>
</context>
<context>
    <name>TRHelperAppDelegate</name>
    <message>
        <source>GNOME windows are not seen: enable the Vorlix Shell extension</source>
        <translation>GNOME-Fenster bleiben unsichtbar: Schalten Sie die Shell-Erweiterung von Vorlix ein</translation>
    </message>
    <message>
        <source>Run: %1, then restart Vorlix (log out and in first if it was just installed)</source>
        <translation>Führen Sie %1 aus und starten Sie Vorlix neu (nach einer frischen Installation zuerst ab- und wieder anmelden)</translation>
    </message>
    <message>
        <source>Open Vorlix</source>
        <translation>Vorlix öffnen</translation>
    </message>
    <message>
        <source>Add Custom Activity…</source>
        <translation>Eigene Tätigkeit hinzufügen …</translation>
    </message>
    <message>
        <source>Launch at Login</source>
        <translation>Beim Anmelden starten</translation>
    </message>
    <message>
        <source>Ask What I Did While Away</source>
        <translation>Nach der Abwesenheit fragen</translation>
    </message>
    <message>
        <source>Quit Vorlix Menu Item</source>
        <translation>Vorlix-Menüsymbol beenden</translation>
    </message>
    <message>
        <source>Enable Private Mode</source>
        <translation>Privatmodus einschalten</translation>
    </message>
    <message>
        <source>Disable Private Mode</source>
        <translation>Privatmodus ausschalten</translation>
    </message>
    <message>
        <source>Today: %1</source>
        <translation>Heute: %1</translation>
    </message>
</context>
<context>
    <name>TRStatusItem</name>
    <message>
        <source>Vorlix: tracking</source>
        <translation>Vorlix: erfasst</translation>
    </message>
    <message>
        <source>Vorlix: tracking (you are away)</source>
        <translation>Vorlix: erfasst (Sie sind abwesend)</translation>
    </message>
    <message>
        <source>Vorlix: private mode, nothing is recorded</source>
        <translation>Vorlix: Privatmodus, nichts wird erfasst</translation>
    </message>
</context>
<context>
    <name>iNotify</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>Ignorieren</translation>
    </message>
    <message>
        <source>Remind Me Later</source>
        <translation>Später erinnern</translation>
    </message>
    <message>
        <source>More Info</source>
        <translation>Mehr erfahren</translation>
    </message>
</context>
</TS>
