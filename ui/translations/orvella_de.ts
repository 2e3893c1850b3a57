<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>InfoPlist</name>
    <message>
        <source>CFBundleName</source>
        <translation>Orvella</translation>
    </message>
    <message>
        <source>GenericName</source>
        <translation>Webcam-Einstellungen</translation>
    </message>
    <message>
        <source>Comment</source>
        <translation>Belichtung, Fokus, Weißabgleich und weitere Bildregler von USB-Webcams einstellen</translation>
    </message>
</context>
<context>
    <name>Localizable</name>
    <message>
        <source>About</source>
        <translation>Über %1</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>%1 beenden</translation>
    </message>
    <message>
        <source>UseBWMenuIcon</source>
        <translation>Schwarz-weißes Symbol im Infobereich</translation>
    </message>
    <message>
        <source>Control_Panel_Title</source>
        <translation>%1</translation>
    </message>
    <message>
        <source>Exposure</source>
        <translation>Belichtung</translation>
    </message>
    <message>
        <source>Auto_Exposure_Mode</source>
        <translation>Belichtungs&amp;modus:</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Manuell</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>&amp;Automatik</translation>
    </message>
    <message>
        <source>Shutter_Priority</source>
        <translation>Zeitvorwahl</translation>
    </message>
    <message>
        <source>Aperture_Priority</source>
        <translation>Blendenvorwahl</translation>
    </message>
    <message>
        <source>White_Balance_Temperature</source>
        <translation>Weißabgleich (Farbtemperatur)</translation>
    </message>
    <message>
        <source>Power_Line_Frequency</source>
        <translation>Netzfrequenz</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>50_Hz</source>
        <translation>50 Hz</translation>
    </message>
    <message>
        <source>60_Hz</source>
        <translation>60 Hz</translation>
    </message>
    <message>
        <source>Backlight_Compensation</source>
        <translation>Gegenlichtausgleich</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Start</translation>
    </message>
    <message>
        <source>Launch_App_at_Login</source>
        <translation>%1 bei der Anmeldung &amp;starten</translation>
    </message>
    <message>
        <source>Reset_to_Default</source>
        <translation>Auf Standard &amp;zurücksetzen</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Erweitert</translation>
    </message>
    <message>
        <source>Focus</source>
        <translation>Fokus</translation>
    </message>
    <message>
        <source>PanTilt</source>
        <translation>Schwenken und Neigen</translation>
    </message>
    <message>
        <source>LED</source>
        <translation>LED</translation>
    </message>
    <message>
        <source>On</source>
        <translation>Ein</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>ManageProfile</source>
        <translation>Profilverwaltung</translation>
    </message>
    <message>
        <source>ProfileModified</source>
        <translation>(geändert)</translation>
    </message>
    <message>
        <source>CameraDefault</source>
        <translation>Kamera-Standard</translation>
    </message>
    <message>
        <source>SaveNewProfile</source>
        <translation>Neu speichern …</translation>
    </message>
    <message>
        <source>UpdateProfile</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>DeleteProfile</source>
        <translation>Löschen …</translation>
    </message>
    <message>
        <source>LoadAtStart</source>
        <translation>Beim Start laden</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>UpdateSlider</source>
        <translation>Regler im Automatikmodus auffrischen</translation>
    </message>
    <message>
        <source>ReconfigureWebcam</source>
        <translation>Einstellungen erneut an die Kameras senden</translation>
    </message>
    <message>
        <source>Webcam</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <source>Profile</source>
        <translation>Profil</translation>
    </message>
    <message>
        <source>HideMenuBarIcon</source>
        <translation>Symbol im Infobereich aus&amp;blenden</translation>
    </message>
    <message>
        <source>PopOverText</source>
        <translation>%1 läuft im Infobereich weiter. Klicken Sie auf das Symbol, um das Bedienfeld wieder anzuzeigen.</translation>
    </message>
    <message>
        <source>DisableNotification</source>
        <translation>Nicht mehr anzeigen</translation>
    </message>
    <message>
        <source>Exposure_Time</source>
        <translation>Belichtungszeit</translation>
    </message>
    <message>
        <source>Gain</source>
        <translation>Verstärkung</translation>
    </message>
    <message>
        <source>Aperture</source>
        <translation>Blende</translation>
    </message>
    <message>
        <source>Brightness</source>
        <translation>Helligkeit</translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation>Kontrast</translation>
    </message>
    <message>
        <source>Hue</source>
        <translation>Farbton</translation>
    </message>
    <message>
        <source>Saturation</source>
        <translation>Sättigung</translation>
    </message>
    <message>
        <source>Sharpness</source>
        <translation>Schärfe</translation>
    </message>
    <message>
        <source>Gamma</source>
        <translation>Gamma</translation>
    </message>
    <message>
        <source>Zoom</source>
        <translation>Zoom</translation>
    </message>
    <message>
        <source>Pan</source>
        <translation>Schwenken</translation>
    </message>
    <message>
        <source>Tilt</source>
        <translation>Neigen</translation>
    </message>
    <message>
        <source>NoiseReduction</source>
        <translation>Rauschminderung</translation>
    </message>
    <message>
        <source>Hide_Panel</source>
        <translation>%1-Bedienfeld ausblenden</translation>
    </message>
    <message>
        <source>Show_Panel</source>
        <translation>%1-Bedienfeld anzeigen</translation>
    </message>
    <message>
        <source>SaveBtn</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>CancelBtn</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>SaveCurrentSettingsInfo</source>
        <translation>Die aktuellen Einstellungen der Kamera, ausgehend von „%1“, als neues Profil speichern.</translation>
    </message>
    <message>
        <source>ProfileName</source>
        <translation>Profilname</translation>
    </message>
    <message>
        <source>ProfileConfilict</source>
        <translation>Ein Profil mit diesem Namen gibt es bereits</translation>
    </message>
    <message>
        <source>OKBtn</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>ProfileConfilictInfo</source>
        <translation>Für dieses Kameramodell gibt es schon ein Profil namens „%1“. Bitte wählen Sie einen anderen Namen.</translation>
    </message>
    <message>
        <source>DeleteBtn</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>DeleteSavedSettingsInfo</source>
        <translation>Das Profil „%1“ wird gelöscht. Das lässt sich nicht rückgängig machen.</translation>
    </message>
    <message>
        <source>ReadIntervalInfoWS</source>
        <translation>Solange ein Regler im Automatikmodus ist, ändert die Kamera den Wert selbst. In diesem Abstand liest %1 solche Werte zurück, damit die Regler sie anzeigen.</translation>
    </message>
    <message>
        <source>WriteIntervalInfo</source>
        <translation>Manche Kameras vergessen ihre Einstellungen, etwa nachdem ein anderes Programm sie benutzt hat. In diesem Abstand sendet %1 die bekannten Werte erneut an alle angeschlossenen Kameras.</translation>
    </message>
    <message>
        <source>HideTrayIconInfo</source>
        <translation>Ohne das Symbol im Infobereich bringt ein erneuter Start von %1 (aus dem Anwendungsmenü oder mit dem Befehl orvella) dieses Bedienfeld zurück.</translation>
    </message>
    <message>
        <source>Interval_Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>1_Second</source>
        <translation>Jede Sekunde</translation>
    </message>
    <message>
        <source>2_Seconds</source>
        <translation>Alle 2 Sekunden</translation>
    </message>
    <message>
        <source>5_Seconds</source>
        <translation>Alle 5 Sekunden</translation>
    </message>
    <message>
        <source>10_Seconds</source>
        <translation>Alle 10 Sekunden</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Format:</translation>
    </message>
    <message>
        <source>FPS</source>
        <translation>B/s</translation>
    </message>
    <message>
        <source>Move_Up</source>
        <translation>Nach oben neigen</translation>
    </message>
    <message>
        <source>Move_Down</source>
        <translation>Nach unten neigen</translation>
    </message>
    <message>
        <source>Move_Left</source>
        <translation>Nach links schwenken</translation>
    </message>
    <message>
        <source>Move_Right</source>
        <translation>Nach rechts schwenken</translation>
    </message>
    <message>
        <source>Move_Center</source>
        <translation>Zurück zur Mitte</translation>
    </message>
    <message>
        <source>Interval_Info</source>
        <translation>Was bewirkt das?</translation>
    </message>
    <message>
        <source>NoCamera</source>
        <translation>Keine Kamera angeschlossen</translation>
    </message>
    <message>
        <source>RenameCamera</source>
        <translation>Umbenennen…</translation>
    </message>
    <message>
        <source>RenameCameraTitle</source>
        <translation>Kamera umbenennen</translation>
    </message>
    <message>
        <source>RenameCameraInfo</source>
        <translation>Name für „%1“. Leer lassen, um wieder den eigenen Namen der Kamera zu zeigen.</translation>
    </message>
    <message>
        <source>CameraName</source>
        <translation>Kameraname</translation>
    </message>
    <message>
        <source>CameraNotAnswering</source>
        <translation>Die Kamera antwortet nicht</translation>
    </message>
    <message>
        <source>NoCameraFound</source>
        <translation>Keine Kamera angeschlossen. Schließen Sie eine UVC-Webcam an oder probieren Sie die Demo-Kamera aus.</translation>
    </message>
    <message>
        <source>AddDemoCamera</source>
        <translation>Demo-Kamera hinzufügen</translation>
    </message>
    <message>
        <source>OtherPrograms</source>
        <translation>Andere Programme</translation>
    </message>
    <message>
        <source>KeepMySettings</source>
        <translation>&amp;Meine Einstellungen behalten, wenn andere Programme die Kamera nutzen</translation>
    </message>
    <message>
        <source>GuardSettleTime</source>
        <translation>Wiederherstellen nach:</translation>
    </message>
    <message>
        <source>Wait_1_Second</source>
        <translation>1 Sekunde</translation>
    </message>
    <message>
        <source>Wait_2_Seconds</source>
        <translation>2 Sekunden</translation>
    </message>
    <message>
        <source>Wait_5_Seconds</source>
        <translation>5 Sekunden</translation>
    </message>
    <message>
        <source>ReconfigureWebcamGuardNote</source>
        <translation>Nicht nötig, solange Ihre Einstellungen behalten werden: %1 stellt sie wieder her, sobald ein anderes Programm sie geändert hat.</translation>
    </message>
    <message>
        <source>Display_Value_Of</source>
        <translation>Wert von %1 anzeigen</translation>
    </message>
    <message>
        <source>Decrease_Control</source>
        <translation>%1 verringern</translation>
    </message>
    <message>
        <source>Increase_Control</source>
        <translation>%1 erhöhen</translation>
    </message>
    <message>
        <source>Auto_Control</source>
        <translation>%1 automatisch</translation>
    </message>
    <message>
        <source>AnotherProgram</source>
        <translation>Ein anderes Programm</translation>
    </message>
    <message>
        <source>AnotherUsersProgram</source>
        <translation>Das Programm eines anderen Benutzers</translation>
    </message>
    <message>
        <source>SecondsAgo</source>
        <translation>vor %1 s</translation>
    </message>
    <message>
        <source>MinutesAgo</source>
        <translation>vor %1 min</translation>
    </message>
    <message>
        <source>WhoChangedControls</source>
        <translation>%1 hat %3 %2 Einstellungen geändert – wiederhergestellt</translation>
    </message>
    <message>
        <source>WhoChangedOneControl</source>
        <translation>%1 hat %2 eine Einstellung geändert – wiederhergestellt</translation>
    </message>
    <message>
        <source>WhoOpenedCamera</source>
        <translation>%1 hat %2 die Kamera geöffnet – wiederhergestellt</translation>
    </message>
    <message>
        <source>WhoGotProfile</source>
        <translation>%1 hat %2 die Kamera geöffnet – Profil „%3“ angewendet</translation>
    </message>
    <message>
        <source>WhoLetGo</source>
        <translation>%1 hat %2 die Kamera freigegeben – wiederhergestellt</translation>
    </message>
    <message>
        <source>ChromiumPipeWireNote</source>
        <translation>%1 setzt die Einstellungen der Kamera bei jedem Start der Kamera zurück. Mit --enable-features=WebRtcPipeWireCamera gestartet, nutzt es die Kamera über PipeWire und lässt sie unverändert.</translation>
    </message>
    <message>
        <source>DismissNote</source>
        <translation>Nicht mehr anzeigen</translation>
    </message>
    <message>
        <source>RuleForProgram</source>
        <translation>Für</translation>
    </message>
    <message>
        <source>EveryOtherProgram</source>
        <translation>Alle anderen Programme</translation>
    </message>
    <message>
        <source>RuleKeepMySettings</source>
        <translation>Meine Einstellungen behalten</translation>
    </message>
    <message>
        <source>RuleApplyProfile</source>
        <translation>Profil anwenden</translation>
    </message>
    <message>
        <source>RuleLeaveAlone</source>
        <translation>Kamera in Ruhe lassen</translation>
    </message>
    <message>
        <source>LockTheLook</source>
        <translation>Bild festhalten</translation>
    </message>
    <message>
        <source>LookLocked</source>
        <translation>Bild festgehalten: die Automatiken sind jetzt manuell</translation>
    </message>
    <message>
        <source>LookNotStuck</source>
        <translation>Bild festgehalten, aber dies hat nicht gehalten: %1</translation>
    </message>
    <message>
        <source>NothingToLock</source>
        <translation>Nichts festzuhalten: keine Automatik ist an</translation>
    </message>
    <message>
        <source>PreviewFormat</source>
        <translation>Vorschau</translation>
    </message>
    <message>
        <source>PreviewUnreadable</source>
        <translation>Einige Bilder können nicht angezeigt werden</translation>
    </message>
    <message>
        <source>PreviewInUse</source>
        <translation>Von einem anderen Programm verwendet</translation>
    </message>
    <message>
        <source>PreviewNoPicture</source>
        <translation>Kein Bild von der Kamera</translation>
    </message>
    <message>
        <source>ShowPreview</source>
        <translation>Vorschau zeigen</translation>
    </message>
    <message>
        <source>AllControls</source>
        <translation>Alle Regler</translation>
    </message>
    <message>
        <source>CameraGroup</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <source>ImageGroup</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>VendorGroup</source>
        <translation>Hersteller</translation>
    </message>
    <message>
        <source>NoMoreControls</source>
        <translation>Diese Kamera hat keine Regler außer denen auf den anderen Reitern.</translation>
    </message>
    <message>
        <source>UnknownExtensionUnit</source>
        <translation>Unbekannte Erweiterungseinheit</translation>
    </message>
    <message>
        <source>ScanningMode</source>
        <translation>Abtastmodus</translation>
    </message>
    <message>
        <source>ExposureTimeRelative</source>
        <translation>Belichtungsschritt</translation>
    </message>
    <message>
        <source>FocusRelative</source>
        <translation>Fokusschritt</translation>
    </message>
    <message>
        <source>IrisAbsolute</source>
        <translation>Blende</translation>
    </message>
    <message>
        <source>ZoomRelative</source>
        <translation>Zoomschritt</translation>
    </message>
    <message>
        <source>PanRelative</source>
        <translation>Schwenkschritt</translation>
    </message>
    <message>
        <source>TiltRelative</source>
        <translation>Neigeschritt</translation>
    </message>
    <message>
        <source>RollAbsolute</source>
        <translation>Drehung</translation>
    </message>
    <message>
        <source>RollRelative</source>
        <translation>Drehschritt</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Sichtschutz</translation>
    </message>
    <message>
        <source>FocusSimple</source>
        <translation>Fokusbereich</translation>
    </message>
    <message>
        <source>DigitalWindow</source>
        <translation>Digitales Fenster</translation>
    </message>
    <message>
        <source>RegionOfInterest</source>
        <translation>Interessensbereich</translation>
    </message>
    <message>
        <source>WhiteBalanceBlue</source>
        <translation>Weißabgleich Blau</translation>
    </message>
    <message>
        <source>WhiteBalanceRed</source>
        <translation>Weißabgleich Rot</translation>
    </message>
    <message>
        <source>HueAuto</source>
        <translation>Farbton automatisch</translation>
    </message>
    <message>
        <source>WhiteBalanceComponentAuto</source>
        <translation>Farbabgleich automatisch</translation>
    </message>
    <message>
        <source>DigitalMultiplier</source>
        <translation>Digitalzoom</translation>
    </message>
    <message>
        <source>DigitalMultiplierLimit</source>
        <translation>Digitalzoom-Grenze</translation>
    </message>
    <message>
        <source>AnalogVideoStandard</source>
        <translation>Analoge Videonorm</translation>
    </message>
    <message>
        <source>AnalogVideoLockStatus</source>
        <translation>Analoge Videosynchronisation</translation>
    </message>
    <message>
        <source>ContrastAuto</source>
        <translation>Kontrast automatisch</translation>
    </message>
</context>
</TS>
