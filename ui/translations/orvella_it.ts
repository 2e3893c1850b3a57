<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it_IT" sourcelanguage="en_US">
<context>
    <name>InfoPlist</name>
    <message>
        <source>CFBundleName</source>
        <translation>Orvella</translation>
    </message>
    <message>
        <source>GenericName</source>
        <translation>Impostazioni webcam</translation>
    </message>
    <message>
        <source>Comment</source>
        <translation>Regola esposizione, messa a fuoco, bilanciamento del bianco e altri controlli d'immagine delle webcam USB</translation>
    </message>
</context>
<context>
    <name>Localizable</name>
    <message>
        <source>About</source>
        <translation>Informazioni su %1</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Esci da %1</translation>
    </message>
    <message>
        <source>UseBWMenuIcon</source>
        <translation>Icona in bianco e nero nell'area di notifica</translation>
    </message>
    <message>
        <source>Control_Panel_Title</source>
        <translation>%1</translation>
    </message>
    <message>
        <source>Exposure</source>
        <translation>Esposizione</translation>
    </message>
    <message>
        <source>Auto_Exposure_Mode</source>
        <translation>Modalità di e&amp;sposizione:</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Manuale</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>&amp;Automatica</translation>
    </message>
    <message>
        <source>Shutter_Priority</source>
        <translation>Priorità tempi</translation>
    </message>
    <message>
        <source>Aperture_Priority</source>
        <translation>Priorità diaframma</translation>
    </message>
    <message>
        <source>White_Balance_Temperature</source>
        <translation>Bilanciamento del bianco (temperatura)</translation>
    </message>
    <message>
        <source>Power_Line_Frequency</source>
        <translation>Frequenza di rete</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Disattivata</translation>
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
        <translation>Compensazione del controluce</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Avvio</translation>
    </message>
    <message>
        <source>Launch_App_at_Login</source>
        <translation>&amp;Avvia %1 all'accesso</translation>
    </message>
    <message>
        <source>Reset_to_Default</source>
        <translation>&amp;Ripristina predefiniti</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Base</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avanzate</translation>
    </message>
    <message>
        <source>Focus</source>
        <translation>Messa a fuoco</translation>
    </message>
    <message>
        <source>PanTilt</source>
        <translation>Rotazione e inclinazione</translation>
    </message>
    <message>
        <source>LED</source>
        <translation>LED</translation>
    </message>
    <message>
        <source>On</source>
        <translation>Acceso</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Spento</translation>
    </message>
    <message>
        <source>ManageProfile</source>
        <translation>Profili</translation>
    </message>
    <message>
        <source>ProfileModified</source>
        <translation>(modificato)</translation>
    </message>
    <message>
        <source>CameraDefault</source>
        <translation>Predefiniti della videocamera</translation>
    </message>
    <message>
        <source>SaveNewProfile</source>
        <translation>Salva come nuovo…</translation>
    </message>
    <message>
        <source>UpdateProfile</source>
        <translation>Aggiorna</translation>
    </message>
    <message>
        <source>DeleteProfile</source>
        <translation>Elimina…</translation>
    </message>
    <message>
        <source>LoadAtStart</source>
        <translation>Carica all'avvio</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Preferenze</translation>
    </message>
    <message>
        <source>UpdateSlider</source>
        <translation>Aggiorna i cursori in modalità automatica</translation>
    </message>
    <message>
        <source>ReconfigureWebcam</source>
        <translation>Riapplica le impostazioni alle videocamere</translation>
    </message>
    <message>
        <source>Webcam</source>
        <translation>Videocamera</translation>
    </message>
    <message>
        <source>Profile</source>
        <translation>Profilo</translation>
    </message>
    <message>
        <source>HideMenuBarIcon</source>
        <translation>&amp;Nascondi l'icona nell'area di notifica</translation>
    </message>
    <message>
        <source>PopOverText</source>
        <translation>%1 resta attivo nell'area di notifica. Fai clic sulla sua icona per mostrare di nuovo il pannello.</translation>
    </message>
    <message>
        <source>DisableNotification</source>
        <translation>Non mostrare più</translation>
    </message>
    <message>
        <source>Exposure_Time</source>
        <translation>Tempo di esposizione</translation>
    </message>
    <message>
        <source>Gain</source>
        <translation>Guadagno</translation>
    </message>
    <message>
        <source>Aperture</source>
        <translation>Diaframma</translation>
    </message>
    <message>
        <source>Brightness</source>
        <translation>Luminosità</translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation>Contrasto</translation>
    </message>
    <message>
        <source>Hue</source>
        <translation>Tonalità</translation>
    </message>
    <message>
        <source>Saturation</source>
        <translation>Saturazione</translation>
    </message>
    <message>
        <source>Sharpness</source>
        <translation>Nitidezza</translation>
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
        <translation>Rotazione</translation>
    </message>
    <message>
        <source>Tilt</source>
        <translation>Inclinazione</translation>
    </message>
    <message>
        <source>NoiseReduction</source>
        <translation>Riduzione del rumore</translation>
    </message>
    <message>
        <source>Hide_Panel</source>
        <translation>Nascondi il pannello di %1</translation>
    </message>
    <message>
        <source>Show_Panel</source>
        <translation>Mostra il pannello di %1</translation>
    </message>
    <message>
        <source>SaveBtn</source>
        <translation>Salva</translation>
    </message>
    <message>
        <source>CancelBtn</source>
        <translation>Annulla</translation>
    </message>
    <message>
        <source>SaveCurrentSettingsInfo</source>
        <translation>Salva le impostazioni attuali della videocamera, partendo da «%1», come nuovo profilo.</translation>
    </message>
    <message>
        <source>ProfileName</source>
        <translation>Nome del profilo</translation>
    </message>
    <message>
        <source>ProfileConfilict</source>
        <translation>Esiste già un profilo con questo nome</translation>
    </message>
    <message>
        <source>OKBtn</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>ProfileConfilictInfo</source>
        <translation>Questo modello di videocamera ha già un profilo chiamato «%1». Scegli un altro nome.</translation>
    </message>
    <message>
        <source>DeleteBtn</source>
        <translation>Elimina</translation>
    </message>
    <message>
        <source>DeleteSavedSettingsInfo</source>
        <translation>Il profilo «%1» verrà eliminato. L'operazione non può essere annullata.</translation>
    </message>
    <message>
        <source>ReadIntervalInfoWS</source>
        <translation>Quando un controllo è in modalità automatica, la videocamera lo regola da sé. A questo intervallo %1 rilegge tali valori perché i cursori li mostrino.</translation>
    </message>
    <message>
        <source>WriteIntervalInfo</source>
        <translation>Alcune videocamere dimenticano le impostazioni, ad esempio dopo essere state usate da un altro programma. A questo intervallo %1 invia di nuovo i valori noti a tutte le videocamere collegate.</translation>
    </message>
    <message>
        <source>HideTrayIconInfo</source>
        <translation>Senza l'icona nell'area di notifica, avvia di nuovo %1 (dal menu delle applicazioni o con il comando orvella) per riavere questo pannello.</translation>
    </message>
    <message>
        <source>Interval_Off</source>
        <translation>Mai</translation>
    </message>
    <message>
        <source>1_Second</source>
        <translation>Ogni secondo</translation>
    </message>
    <message>
        <source>2_Seconds</source>
        <translation>Ogni 2 secondi</translation>
    </message>
    <message>
        <source>5_Seconds</source>
        <translation>Ogni 5 secondi</translation>
    </message>
    <message>
        <source>10_Seconds</source>
        <translation>Ogni 10 secondi</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Formato:</translation>
    </message>
    <message>
        <source>FPS</source>
        <translation>fps</translation>
    </message>
    <message>
        <source>Move_Up</source>
        <translation>Inclina verso l'alto</translation>
    </message>
    <message>
        <source>Move_Down</source>
        <translation>Inclina verso il basso</translation>
    </message>
    <message>
        <source>Move_Left</source>
        <translation>Ruota a sinistra</translation>
    </message>
    <message>
        <source>Move_Right</source>
        <translation>Ruota a destra</translation>
    </message>
    <message>
        <source>Move_Center</source>
        <translation>Torna al centro</translation>
    </message>
    <message>
        <source>Interval_Info</source>
        <translation>A cosa serve?</translation>
    </message>
    <message>
        <source>NoCamera</source>
        <translation>Nessuna videocamera collegata</translation>
    </message>
    <message>
        <source>RenameCamera</source>
        <translation>Rinomina…</translation>
    </message>
    <message>
        <source>RenameCameraTitle</source>
        <translation>Rinomina videocamera</translation>
    </message>
    <message>
        <source>RenameCameraInfo</source>
        <translation>Nome per «%1». Lascialo vuoto per tornare al nome proprio della videocamera.</translation>
    </message>
    <message>
        <source>CameraName</source>
        <translation>Nome della videocamera</translation>
    </message>
    <message>
        <source>CameraNotAnswering</source>
        <translation>La videocamera non risponde</translation>
    </message>
    <message>
        <source>NoCameraFound</source>
        <translation>Nessuna videocamera collegata. Collega una webcam UVC o prova la videocamera dimostrativa.</translation>
    </message>
    <message>
        <source>AddDemoCamera</source>
        <translation>Aggiungi la videocamera dimostrativa</translation>
    </message>
    <message>
        <source>OtherPrograms</source>
        <translation>Altri programmi</translation>
    </message>
    <message>
        <source>KeepMySettings</source>
        <translation>&amp;Mantieni le mie impostazioni quando altri programmi usano la videocamera</translation>
    </message>
    <message>
        <source>GuardSettleTime</source>
        <translation>Ripristina dopo:</translation>
    </message>
    <message>
        <source>Wait_1_Second</source>
        <translation>1 secondo</translation>
    </message>
    <message>
        <source>Wait_2_Seconds</source>
        <translation>2 secondi</translation>
    </message>
    <message>
        <source>Wait_5_Seconds</source>
        <translation>5 secondi</translation>
    </message>
    <message>
        <source>ReconfigureWebcamGuardNote</source>
        <translation>Non serve finché le impostazioni vengono mantenute: %1 le ripristina appena un altro programma le ha modificate.</translation>
    </message>
    <message>
        <source>Display_Value_Of</source>
        <translation>Mostra il valore di %1</translation>
    </message>
    <message>
        <source>Decrease_Control</source>
        <translation>Diminuisci %1</translation>
    </message>
    <message>
        <source>Increase_Control</source>
        <translation>Aumenta %1</translation>
    </message>
    <message>
        <source>Auto_Control</source>
        <translation>%1 automatico</translation>
    </message>
    <message>
        <source>AnotherProgram</source>
        <translation>Un altro programma</translation>
    </message>
    <message>
        <source>AnotherUsersProgram</source>
        <translation>Il programma di un altro utente</translation>
    </message>
    <message>
        <source>SecondsAgo</source>
        <translation>%1 s fa</translation>
    </message>
    <message>
        <source>MinutesAgo</source>
        <translation>%1 min fa</translation>
    </message>
    <message>
        <source>WhoChangedControls</source>
        <translation>%1 ha cambiato %2 controlli %3 — ripristinati</translation>
    </message>
    <message>
        <source>WhoChangedOneControl</source>
        <translation>%1 ha cambiato un controllo %2 — ripristinato</translation>
    </message>
    <message>
        <source>WhoOpenedCamera</source>
        <translation>%1 ha aperto la videocamera %2 — ripristinato</translation>
    </message>
    <message>
        <source>WhoGotProfile</source>
        <translation>%1 ha aperto la videocamera %2 — profilo «%3» applicato</translation>
    </message>
    <message>
        <source>WhoLetGo</source>
        <translation>%1 ha rilasciato la videocamera %2 — ripristinato</translation>
    </message>
    <message>
        <source>ChromiumPipeWireNote</source>
        <translation>%1 reimposta i controlli della videocamera ogni volta che la avvia. Avviato con --enable-features=WebRtcPipeWireCamera usa la videocamera tramite PipeWire e non li tocca.</translation>
    </message>
    <message>
        <source>DismissNote</source>
        <translation>Non mostrare più</translation>
    </message>
    <message>
        <source>RuleForProgram</source>
        <translation>Per</translation>
    </message>
    <message>
        <source>EveryOtherProgram</source>
        <translation>Tutti gli altri programmi</translation>
    </message>
    <message>
        <source>RuleKeepMySettings</source>
        <translation>Mantieni le mie impostazioni</translation>
    </message>
    <message>
        <source>RuleApplyProfile</source>
        <translation>Applica profilo</translation>
    </message>
    <message>
        <source>RuleLeaveAlone</source>
        <translation>Non toccare la videocamera</translation>
    </message>
    <message>
        <source>LockTheLook</source>
        <translation>Blocca l'immagine</translation>
    </message>
    <message>
        <source>LookLocked</source>
        <translation>Immagine bloccata: le modalità automatiche ora sono manuali</translation>
    </message>
    <message>
        <source>LookNotStuck</source>
        <translation>Immagine bloccata, ma questo non è stato mantenuto: %1</translation>
    </message>
    <message>
        <source>NothingToLock</source>
        <translation>Niente da bloccare: nessuna modalità automatica è attiva</translation>
    </message>
    <message>
        <source>PreviewFormat</source>
        <translation>Anteprima</translation>
    </message>
    <message>
        <source>PreviewUnreadable</source>
        <translation>Alcuni fotogrammi non possono essere mostrati</translation>
    </message>
    <message>
        <source>PreviewInUse</source>
        <translation>In uso da un altro programma</translation>
    </message>
    <message>
        <source>PreviewNoPicture</source>
        <translation>Nessuna immagine dalla fotocamera</translation>
    </message>
    <message>
        <source>ShowPreview</source>
        <translation>Mostra anteprima</translation>
    </message>
    <message>
        <source>AllControls</source>
        <translation>Tutti i controlli</translation>
    </message>
    <message>
        <source>CameraGroup</source>
        <translation>Fotocamera</translation>
    </message>
    <message>
        <source>ImageGroup</source>
        <translation>Immagine</translation>
    </message>
    <message>
        <source>VendorGroup</source>
        <translation>Produttore</translation>
    </message>
    <message>
        <source>NoMoreControls</source>
        <translation>Questa fotocamera non ha altri controlli oltre a quelli delle altre schede.</translation>
    </message>
    <message>
        <source>UnknownExtensionUnit</source>
        <translation>Unità di estensione sconosciuta</translation>
    </message>
    <message>
        <source>ScanningMode</source>
        <translation>Modalità di scansione</translation>
    </message>
    <message>
        <source>ExposureTimeRelative</source>
        <translation>Passo di esposizione</translation>
    </message>
    <message>
        <source>FocusRelative</source>
        <translation>Passo di messa a fuoco</translation>
    </message>
    <message>
        <source>IrisAbsolute</source>
        <translation>Diaframma</translation>
    </message>
    <message>
        <source>ZoomRelative</source>
        <translation>Passo di zoom</translation>
    </message>
    <message>
        <source>PanRelative</source>
        <translation>Passo di panoramica</translation>
    </message>
    <message>
        <source>TiltRelative</source>
        <translation>Passo di inclinazione</translation>
    </message>
    <message>
        <source>RollAbsolute</source>
        <translation>Rotazione</translation>
    </message>
    <message>
        <source>RollRelative</source>
        <translation>Passo di rotazione</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Otturatore privacy</translation>
    </message>
    <message>
        <source>FocusSimple</source>
        <translation>Intervallo di messa a fuoco</translation>
    </message>
    <message>
        <source>DigitalWindow</source>
        <translation>Finestra digitale</translation>
    </message>
    <message>
        <source>RegionOfInterest</source>
        <translation>Regione di interesse</translation>
    </message>
    <message>
        <source>WhiteBalanceBlue</source>
        <translation>Bilanciamento del bianco, blu</translation>
    </message>
    <message>
        <source>WhiteBalanceRed</source>
        <translation>Bilanciamento del bianco, rosso</translation>
    </message>
    <message>
        <source>HueAuto</source>
        <translation>Tonalità automatica</translation>
    </message>
    <message>
        <source>WhiteBalanceComponentAuto</source>
        <translation>Bilanciamento colore automatico</translation>
    </message>
    <message>
        <source>DigitalMultiplier</source>
        <translation>Zoom digitale</translation>
    </message>
    <message>
        <source>DigitalMultiplierLimit</source>
        <translation>Limite zoom digitale</translation>
    </message>
    <message>
        <source>AnalogVideoStandard</source>
        <translation>Standard video analogico</translation>
    </message>
    <message>
        <source>AnalogVideoLockStatus</source>
        <translation>Aggancio video analogico</translation>
    </message>
    <message>
        <source>ContrastAuto</source>
        <translation>Contrasto automatico</translation>
    </message>
</context>
</TS>
