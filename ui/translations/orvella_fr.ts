<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en_US">
<context>
    <name>InfoPlist</name>
    <message>
        <source>CFBundleName</source>
        <translation>Orvella</translation>
    </message>
    <message>
        <source>GenericName</source>
        <translation>Réglages de webcam</translation>
    </message>
    <message>
        <source>Comment</source>
        <translation>Régler l'exposition, la mise au point, la balance des blancs et les autres paramètres d'image des webcams USB</translation>
    </message>
</context>
<context>
    <name>Localizable</name>
    <message>
        <source>About</source>
        <translation>À propos de %1</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Quitter %1</translation>
    </message>
    <message>
        <source>UseBWMenuIcon</source>
        <translation>Icône noir et blanc dans la zone de notification</translation>
    </message>
    <message>
        <source>Control_Panel_Title</source>
        <translation>%1</translation>
    </message>
    <message>
        <source>Exposure</source>
        <translation>Exposition</translation>
    </message>
    <message>
        <source>Auto_Exposure_Mode</source>
        <translation>Mode d'e&amp;xposition :</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Manuel</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>&amp;Auto</translation>
    </message>
    <message>
        <source>Shutter_Priority</source>
        <translation>Priorité vitesse</translation>
    </message>
    <message>
        <source>Aperture_Priority</source>
        <translation>Priorité ouverture</translation>
    </message>
    <message>
        <source>White_Balance_Temperature</source>
        <translation>Balance des blancs (température)</translation>
    </message>
    <message>
        <source>Power_Line_Frequency</source>
        <translation>Fréquence du secteur</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Désactivée</translation>
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
        <translation>Compensation du contre-jour</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Démarrage</translation>
    </message>
    <message>
        <source>Launch_App_at_Login</source>
        <translation>&amp;Lancer %1 à l'ouverture de session</translation>
    </message>
    <message>
        <source>Reset_to_Default</source>
        <translation>&amp;Réinitialiser</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Général</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avancé</translation>
    </message>
    <message>
        <source>Focus</source>
        <translation>Mise au point</translation>
    </message>
    <message>
        <source>PanTilt</source>
        <translation>Orientation</translation>
    </message>
    <message>
        <source>LED</source>
        <translation>Voyant</translation>
    </message>
    <message>
        <source>On</source>
        <translation>Activé</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Désactivé</translation>
    </message>
    <message>
        <source>ManageProfile</source>
        <translation>Profils</translation>
    </message>
    <message>
        <source>ProfileModified</source>
        <translation>(modifié)</translation>
    </message>
    <message>
        <source>CameraDefault</source>
        <translation>Réglages d'origine</translation>
    </message>
    <message>
        <source>SaveNewProfile</source>
        <translation>Enregistrer sous…</translation>
    </message>
    <message>
        <source>UpdateProfile</source>
        <translation>Mettre à jour</translation>
    </message>
    <message>
        <source>DeleteProfile</source>
        <translation>Supprimer…</translation>
    </message>
    <message>
        <source>LoadAtStart</source>
        <translation>Charger au démarrage</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Préférences</translation>
    </message>
    <message>
        <source>UpdateSlider</source>
        <translation>Actualiser les curseurs en mode automatique</translation>
    </message>
    <message>
        <source>ReconfigureWebcam</source>
        <translation>Réappliquer les réglages aux caméras</translation>
    </message>
    <message>
        <source>Webcam</source>
        <translation>Caméra</translation>
    </message>
    <message>
        <source>Profile</source>
        <translation>Profil</translation>
    </message>
    <message>
        <source>HideMenuBarIcon</source>
        <translation>&amp;Masquer l'icône de notification</translation>
    </message>
    <message>
        <source>PopOverText</source>
        <translation>%1 reste actif dans la zone de notification. Cliquez sur son icône pour afficher de nouveau le panneau.</translation>
    </message>
    <message>
        <source>DisableNotification</source>
        <translation>Ne plus afficher</translation>
    </message>
    <message>
        <source>Exposure_Time</source>
        <translation>Temps de pose</translation>
    </message>
    <message>
        <source>Gain</source>
        <translation>Gain</translation>
    </message>
    <message>
        <source>Aperture</source>
        <translation>Ouverture</translation>
    </message>
    <message>
        <source>Brightness</source>
        <translation>Luminosité</translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation>Contraste</translation>
    </message>
    <message>
        <source>Hue</source>
        <translation>Teinte</translation>
    </message>
    <message>
        <source>Saturation</source>
        <translation>Saturation</translation>
    </message>
    <message>
        <source>Sharpness</source>
        <translation>Netteté</translation>
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
        <translation>Panoramique</translation>
    </message>
    <message>
        <source>Tilt</source>
        <translation>Inclinaison</translation>
    </message>
    <message>
        <source>NoiseReduction</source>
        <translation>Réduction du bruit</translation>
    </message>
    <message>
        <source>Hide_Panel</source>
        <translation>Masquer le panneau %1</translation>
    </message>
    <message>
        <source>Show_Panel</source>
        <translation>Afficher le panneau %1</translation>
    </message>
    <message>
        <source>SaveBtn</source>
        <translation>Enregistrer</translation>
    </message>
    <message>
        <source>CancelBtn</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>SaveCurrentSettingsInfo</source>
        <translation>Enregistrer les réglages actuels de la caméra, à partir de « %1 », comme nouveau profil.</translation>
    </message>
    <message>
        <source>ProfileName</source>
        <translation>Nom du profil</translation>
    </message>
    <message>
        <source>ProfileConfilict</source>
        <translation>Un profil porte déjà ce nom</translation>
    </message>
    <message>
        <source>OKBtn</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>ProfileConfilictInfo</source>
        <translation>Ce modèle de caméra a déjà un profil nommé « %1 ». Veuillez choisir un autre nom.</translation>
    </message>
    <message>
        <source>DeleteBtn</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>DeleteSavedSettingsInfo</source>
        <translation>Le profil « %1 » sera supprimé. Cette action est irréversible.</translation>
    </message>
    <message>
        <source>ReadIntervalInfoWS</source>
        <translation>Lorsqu'un réglage est en mode automatique, la caméra le modifie elle-même. À cet intervalle, %1 relit ces valeurs pour que les curseurs les affichent.</translation>
    </message>
    <message>
        <source>WriteIntervalInfo</source>
        <translation>Certaines caméras oublient leurs réglages, par exemple après avoir servi à un autre programme. À cet intervalle, %1 renvoie les valeurs connues à toutes les caméras branchées.</translation>
    </message>
    <message>
        <source>HideTrayIconInfo</source>
        <translation>Sans l'icône de la zone de notification, relancez %1 (depuis le menu des applications ou avec la commande orvella) pour retrouver ce panneau.</translation>
    </message>
    <message>
        <source>Interval_Off</source>
        <translation>Jamais</translation>
    </message>
    <message>
        <source>1_Second</source>
        <translation>Chaque seconde</translation>
    </message>
    <message>
        <source>2_Seconds</source>
        <translation>Toutes les 2 secondes</translation>
    </message>
    <message>
        <source>5_Seconds</source>
        <translation>Toutes les 5 secondes</translation>
    </message>
    <message>
        <source>10_Seconds</source>
        <translation>Toutes les 10 secondes</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Format :</translation>
    </message>
    <message>
        <source>FPS</source>
        <translation>i/s</translation>
    </message>
    <message>
        <source>Move_Up</source>
        <translation>Incliner vers le haut</translation>
    </message>
    <message>
        <source>Move_Down</source>
        <translation>Incliner vers le bas</translation>
    </message>
    <message>
        <source>Move_Left</source>
        <translation>Tourner vers la gauche</translation>
    </message>
    <message>
        <source>Move_Right</source>
        <translation>Tourner vers la droite</translation>
    </message>
    <message>
        <source>Move_Center</source>
        <translation>Revenir au centre</translation>
    </message>
    <message>
        <source>Interval_Info</source>
        <translation>À quoi cela sert-il ?</translation>
    </message>
    <message>
        <source>NoCamera</source>
        <translation>Aucune caméra branchée</translation>
    </message>
    <message>
        <source>RenameCamera</source>
        <translation>Renommer…</translation>
    </message>
    <message>
        <source>RenameCameraTitle</source>
        <translation>Renommer la caméra</translation>
    </message>
    <message>
        <source>RenameCameraInfo</source>
        <translation>Nom pour « %1 ». Laissez-le vide pour revenir au nom propre de la caméra.</translation>
    </message>
    <message>
        <source>CameraName</source>
        <translation>Nom de la caméra</translation>
    </message>
    <message>
        <source>CameraNotAnswering</source>
        <translation>La caméra ne répond pas</translation>
    </message>
    <message>
        <source>NoCameraFound</source>
        <translation>Aucune caméra n'est branchée. Branchez une webcam UVC ou essayez la caméra de démonstration.</translation>
    </message>
    <message>
        <source>AddDemoCamera</source>
        <translation>Ajouter la caméra de démonstration</translation>
    </message>
    <message>
        <source>OtherPrograms</source>
        <translation>Autres programmes</translation>
    </message>
    <message>
        <source>KeepMySettings</source>
        <translation>&amp;Conserver mes réglages quand d'autres programmes utilisent la caméra</translation>
    </message>
    <message>
        <source>GuardSettleTime</source>
        <translation>Rétablir après :</translation>
    </message>
    <message>
        <source>Wait_1_Second</source>
        <translation>1 seconde</translation>
    </message>
    <message>
        <source>Wait_2_Seconds</source>
        <translation>2 secondes</translation>
    </message>
    <message>
        <source>Wait_5_Seconds</source>
        <translation>5 secondes</translation>
    </message>
    <message>
        <source>ReconfigureWebcamGuardNote</source>
        <translation>Inutile tant que vos réglages sont conservés : %1 les rétablit dès qu'un autre programme les a modifiés.</translation>
    </message>
    <message>
        <source>Display_Value_Of</source>
        <translation>Afficher la valeur de %1</translation>
    </message>
    <message>
        <source>Decrease_Control</source>
        <translation>Diminuer %1</translation>
    </message>
    <message>
        <source>Increase_Control</source>
        <translation>Augmenter %1</translation>
    </message>
    <message>
        <source>Auto_Control</source>
        <translation>%1 automatique</translation>
    </message>
    <message>
        <source>AnotherProgram</source>
        <translation>Un autre programme</translation>
    </message>
    <message>
        <source>AnotherUsersProgram</source>
        <translation>Le programme d'un autre utilisateur</translation>
    </message>
    <message>
        <source>SecondsAgo</source>
        <translation>il y a %1 s</translation>
    </message>
    <message>
        <source>MinutesAgo</source>
        <translation>il y a %1 min</translation>
    </message>
    <message>
        <source>WhoChangedControls</source>
        <translation>%1 a modifié %2 réglages %3 — rétablis</translation>
    </message>
    <message>
        <source>WhoChangedOneControl</source>
        <translation>%1 a modifié un réglage %2 — rétabli</translation>
    </message>
    <message>
        <source>WhoOpenedCamera</source>
        <translation>%1 a ouvert la caméra %2 — réglages rétablis</translation>
    </message>
    <message>
        <source>WhoGotProfile</source>
        <translation>%1 a ouvert la caméra %2 — profil « %3 » appliqué</translation>
    </message>
    <message>
        <source>WhoLetGo</source>
        <translation>%1 a libéré la caméra %2 — réglages rétablis</translation>
    </message>
    <message>
        <source>ChromiumPipeWireNote</source>
        <translation>%1 réinitialise les réglages de la caméra à chaque démarrage de la caméra. Lancé avec --enable-features=WebRtcPipeWireCamera, il passe par PipeWire et n'y touche plus.</translation>
    </message>
    <message>
        <source>DismissNote</source>
        <translation>Ne plus afficher</translation>
    </message>
    <message>
        <source>RuleForProgram</source>
        <translation>Pour</translation>
    </message>
    <message>
        <source>EveryOtherProgram</source>
        <translation>Tous les autres programmes</translation>
    </message>
    <message>
        <source>RuleKeepMySettings</source>
        <translation>Garder mes réglages</translation>
    </message>
    <message>
        <source>RuleApplyProfile</source>
        <translation>Appliquer le profil</translation>
    </message>
    <message>
        <source>RuleLeaveAlone</source>
        <translation>Ne pas toucher à la caméra</translation>
    </message>
    <message>
        <source>LockTheLook</source>
        <translation>Figer l'image</translation>
    </message>
    <message>
        <source>LookLocked</source>
        <translation>Image figée : les modes automatiques sont désormais manuels</translation>
    </message>
    <message>
        <source>LookNotStuck</source>
        <translation>Image figée, mais ceci n'a pas tenu : %1</translation>
    </message>
    <message>
        <source>NothingToLock</source>
        <translation>Rien à figer : aucun mode automatique n'est actif</translation>
    </message>
    <message>
        <source>PreviewFormat</source>
        <translation>Aperçu</translation>
    </message>
    <message>
        <source>PreviewUnreadable</source>
        <translation>Certaines images ne peuvent pas être affichées</translation>
    </message>
    <message>
        <source>PreviewInUse</source>
        <translation>Utilisée par un autre programme</translation>
    </message>
    <message>
        <source>PreviewNoPicture</source>
        <translation>Aucune image de la caméra</translation>
    </message>
    <message>
        <source>ShowPreview</source>
        <translation>Afficher l’aperçu</translation>
    </message>
    <message>
        <source>AllControls</source>
        <translation>Tous les réglages</translation>
    </message>
    <message>
        <source>CameraGroup</source>
        <translation>Caméra</translation>
    </message>
    <message>
        <source>ImageGroup</source>
        <translation>Image</translation>
    </message>
    <message>
        <source>VendorGroup</source>
        <translation>Fabricant</translation>
    </message>
    <message>
        <source>NoMoreControls</source>
        <translation>Cette caméra n’a pas d’autres réglages que ceux des autres onglets.</translation>
    </message>
    <message>
        <source>UnknownExtensionUnit</source>
        <translation>Unité d’extension inconnue</translation>
    </message>
    <message>
        <source>ScanningMode</source>
        <translation>Mode de balayage</translation>
    </message>
    <message>
        <source>ExposureTimeRelative</source>
        <translation>Pas d’exposition</translation>
    </message>
    <message>
        <source>FocusRelative</source>
        <translation>Pas de mise au point</translation>
    </message>
    <message>
        <source>IrisAbsolute</source>
        <translation>Iris</translation>
    </message>
    <message>
        <source>ZoomRelative</source>
        <translation>Pas de zoom</translation>
    </message>
    <message>
        <source>PanRelative</source>
        <translation>Pas de panoramique</translation>
    </message>
    <message>
        <source>TiltRelative</source>
        <translation>Pas d’inclinaison</translation>
    </message>
    <message>
        <source>RollAbsolute</source>
        <translation>Rotation</translation>
    </message>
    <message>
        <source>RollRelative</source>
        <translation>Pas de rotation</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Obturateur de confidentialité</translation>
    </message>
    <message>
        <source>FocusSimple</source>
        <translation>Plage de mise au point</translation>
    </message>
    <message>
        <source>DigitalWindow</source>
        <translation>Fenêtre numérique</translation>
    </message>
    <message>
        <source>RegionOfInterest</source>
        <translation>Région d’intérêt</translation>
    </message>
    <message>
        <source>WhiteBalanceBlue</source>
        <translation>Balance des blancs, bleu</translation>
    </message>
    <message>
        <source>WhiteBalanceRed</source>
        <translation>Balance des blancs, rouge</translation>
    </message>
    <message>
        <source>HueAuto</source>
        <translation>Teinte automatique</translation>
    </message>
    <message>
        <source>WhiteBalanceComponentAuto</source>
        <translation>Balance des couleurs automatique</translation>
    </message>
    <message>
        <source>DigitalMultiplier</source>
        <translation>Zoom numérique</translation>
    </message>
    <message>
        <source>DigitalMultiplierLimit</source>
        <translation>Limite du zoom numérique</translation>
    </message>
    <message>
        <source>AnalogVideoStandard</source>
        <translation>Norme vidéo analogique</translation>
    </message>
    <message>
        <source>AnalogVideoLockStatus</source>
        <translation>Verrouillage vidéo analogique</translation>
    </message>
    <message>
        <source>ContrastAuto</source>
        <translation>Contraste automatique</translation>
    </message>
</context>
</TS>
