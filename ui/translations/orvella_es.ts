<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES" sourcelanguage="en_US">
<context>
    <name>InfoPlist</name>
    <message>
        <source>CFBundleName</source>
        <translation>Orvella</translation>
    </message>
    <message>
        <source>GenericName</source>
        <translation>Ajustes de webcam</translation>
    </message>
    <message>
        <source>Comment</source>
        <translation>Ajuste la exposición, el enfoque, el balance de blancos y otros controles de imagen de las webcams USB</translation>
    </message>
</context>
<context>
    <name>Localizable</name>
    <message>
        <source>About</source>
        <translation>Acerca de %1</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Salir de %1</translation>
    </message>
    <message>
        <source>UseBWMenuIcon</source>
        <translation>Icono en blanco y negro en la bandeja</translation>
    </message>
    <message>
        <source>Control_Panel_Title</source>
        <translation>%1</translation>
    </message>
    <message>
        <source>Exposure</source>
        <translation>Exposición</translation>
    </message>
    <message>
        <source>Auto_Exposure_Mode</source>
        <translation>Modo de e&amp;xposición:</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Manual</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>&amp;Automático</translation>
    </message>
    <message>
        <source>Shutter_Priority</source>
        <translation>Prioridad obturador</translation>
    </message>
    <message>
        <source>Aperture_Priority</source>
        <translation>Prioridad apertura</translation>
    </message>
    <message>
        <source>White_Balance_Temperature</source>
        <translation>Balance de blancos (temperatura)</translation>
    </message>
    <message>
        <source>Power_Line_Frequency</source>
        <translation>Frecuencia de la red eléctrica</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Desactivada</translation>
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
        <translation>Compensación de contraluz</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Inicio</translation>
    </message>
    <message>
        <source>Launch_App_at_Login</source>
        <translation>&amp;Abrir %1 al iniciar sesión</translation>
    </message>
    <message>
        <source>Reset_to_Default</source>
        <translation>&amp;Restablecer valores</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Básico</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avanzado</translation>
    </message>
    <message>
        <source>Focus</source>
        <translation>Enfoque</translation>
    </message>
    <message>
        <source>PanTilt</source>
        <translation>Giro e inclinación</translation>
    </message>
    <message>
        <source>LED</source>
        <translation>LED</translation>
    </message>
    <message>
        <source>On</source>
        <translation>Encendido</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Apagado</translation>
    </message>
    <message>
        <source>ManageProfile</source>
        <translation>Perfiles</translation>
    </message>
    <message>
        <source>ProfileModified</source>
        <translation>(modificado)</translation>
    </message>
    <message>
        <source>CameraDefault</source>
        <translation>Valores de la cámara</translation>
    </message>
    <message>
        <source>SaveNewProfile</source>
        <translation>Guardar como nuevo…</translation>
    </message>
    <message>
        <source>UpdateProfile</source>
        <translation>Actualizar</translation>
    </message>
    <message>
        <source>DeleteProfile</source>
        <translation>Eliminar…</translation>
    </message>
    <message>
        <source>LoadAtStart</source>
        <translation>Cargar al inicio</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Preferencias</translation>
    </message>
    <message>
        <source>UpdateSlider</source>
        <translation>Actualizar controles en modo automático</translation>
    </message>
    <message>
        <source>ReconfigureWebcam</source>
        <translation>Volver a aplicar los ajustes a las cámaras</translation>
    </message>
    <message>
        <source>Webcam</source>
        <translation>Cámara</translation>
    </message>
    <message>
        <source>Profile</source>
        <translation>Perfil</translation>
    </message>
    <message>
        <source>HideMenuBarIcon</source>
        <translation>&amp;Ocultar el icono de la bandeja</translation>
    </message>
    <message>
        <source>PopOverText</source>
        <translation>%1 sigue funcionando en la bandeja del sistema. Pulse su icono para volver a mostrar el panel.</translation>
    </message>
    <message>
        <source>DisableNotification</source>
        <translation>No volver a mostrar</translation>
    </message>
    <message>
        <source>Exposure_Time</source>
        <translation>Tiempo de exposición</translation>
    </message>
    <message>
        <source>Gain</source>
        <translation>Ganancia</translation>
    </message>
    <message>
        <source>Aperture</source>
        <translation>Apertura</translation>
    </message>
    <message>
        <source>Brightness</source>
        <translation>Brillo</translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation>Contraste</translation>
    </message>
    <message>
        <source>Hue</source>
        <translation>Tono</translation>
    </message>
    <message>
        <source>Saturation</source>
        <translation>Saturación</translation>
    </message>
    <message>
        <source>Sharpness</source>
        <translation>Nitidez</translation>
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
        <translation>Giro</translation>
    </message>
    <message>
        <source>Tilt</source>
        <translation>Inclinación</translation>
    </message>
    <message>
        <source>NoiseReduction</source>
        <translation>Reducción de ruido</translation>
    </message>
    <message>
        <source>Hide_Panel</source>
        <translation>Ocultar el panel de %1</translation>
    </message>
    <message>
        <source>Show_Panel</source>
        <translation>Mostrar el panel de %1</translation>
    </message>
    <message>
        <source>SaveBtn</source>
        <translation>Guardar</translation>
    </message>
    <message>
        <source>CancelBtn</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>SaveCurrentSettingsInfo</source>
        <translation>Guardar los ajustes actuales de la cámara, a partir de «%1», como un perfil nuevo.</translation>
    </message>
    <message>
        <source>ProfileName</source>
        <translation>Nombre del perfil</translation>
    </message>
    <message>
        <source>ProfileConfilict</source>
        <translation>Ya existe un perfil con este nombre</translation>
    </message>
    <message>
        <source>OKBtn</source>
        <translation>Aceptar</translation>
    </message>
    <message>
        <source>ProfileConfilictInfo</source>
        <translation>Este modelo de cámara ya tiene un perfil llamado «%1». Elija otro nombre.</translation>
    </message>
    <message>
        <source>DeleteBtn</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>DeleteSavedSettingsInfo</source>
        <translation>Se eliminará el perfil «%1». Esta acción no se puede deshacer.</translation>
    </message>
    <message>
        <source>ReadIntervalInfoWS</source>
        <translation>Mientras un control está en modo automático, la cámara lo ajusta por sí misma. Con este intervalo, %1 vuelve a leer esos valores para que los controles deslizantes los muestren.</translation>
    </message>
    <message>
        <source>WriteIntervalInfo</source>
        <translation>Algunas cámaras olvidan sus ajustes, por ejemplo después de que otro programa las use. Con este intervalo, %1 vuelve a enviar los valores conocidos a todas las cámaras conectadas.</translation>
    </message>
    <message>
        <source>HideTrayIconInfo</source>
        <translation>Sin el icono de la bandeja, vuelva a iniciar %1 (desde el menú de aplicaciones o con la orden orvella) para recuperar este panel.</translation>
    </message>
    <message>
        <source>Interval_Off</source>
        <translation>Nunca</translation>
    </message>
    <message>
        <source>1_Second</source>
        <translation>Cada segundo</translation>
    </message>
    <message>
        <source>2_Seconds</source>
        <translation>Cada 2 segundos</translation>
    </message>
    <message>
        <source>5_Seconds</source>
        <translation>Cada 5 segundos</translation>
    </message>
    <message>
        <source>10_Seconds</source>
        <translation>Cada 10 segundos</translation>
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
        <translation>Inclinar hacia arriba</translation>
    </message>
    <message>
        <source>Move_Down</source>
        <translation>Inclinar hacia abajo</translation>
    </message>
    <message>
        <source>Move_Left</source>
        <translation>Girar a la izquierda</translation>
    </message>
    <message>
        <source>Move_Right</source>
        <translation>Girar a la derecha</translation>
    </message>
    <message>
        <source>Move_Center</source>
        <translation>Volver al centro</translation>
    </message>
    <message>
        <source>Interval_Info</source>
        <translation>¿Para qué sirve esto?</translation>
    </message>
    <message>
        <source>NoCamera</source>
        <translation>No hay ninguna cámara conectada</translation>
    </message>
    <message>
        <source>RenameCamera</source>
        <translation>Cambiar nombre…</translation>
    </message>
    <message>
        <source>RenameCameraTitle</source>
        <translation>Cambiar nombre de la cámara</translation>
    </message>
    <message>
        <source>RenameCameraInfo</source>
        <translation>Nombre para «%1». Déjelo vacío para volver al nombre propio de la cámara.</translation>
    </message>
    <message>
        <source>CameraName</source>
        <translation>Nombre de la cámara</translation>
    </message>
    <message>
        <source>CameraNotAnswering</source>
        <translation>La cámara no responde</translation>
    </message>
    <message>
        <source>NoCameraFound</source>
        <translation>No hay ninguna cámara conectada. Conecte una cámara web UVC o pruebe la cámara de demostración.</translation>
    </message>
    <message>
        <source>AddDemoCamera</source>
        <translation>Añadir la cámara de demostración</translation>
    </message>
    <message>
        <source>OtherPrograms</source>
        <translation>Otros programas</translation>
    </message>
    <message>
        <source>KeepMySettings</source>
        <translation>&amp;Mantener mis ajustes cuando otros programas usen la cámara</translation>
    </message>
    <message>
        <source>GuardSettleTime</source>
        <translation>Restaurar tras:</translation>
    </message>
    <message>
        <source>Wait_1_Second</source>
        <translation>1 segundo</translation>
    </message>
    <message>
        <source>Wait_2_Seconds</source>
        <translation>2 segundos</translation>
    </message>
    <message>
        <source>Wait_5_Seconds</source>
        <translation>5 segundos</translation>
    </message>
    <message>
        <source>ReconfigureWebcamGuardNote</source>
        <translation>No es necesario mientras se mantienen sus ajustes: %1 los restaura en cuanto otro programa los ha cambiado.</translation>
    </message>
    <message>
        <source>Display_Value_Of</source>
        <translation>Mostrar el valor de %1</translation>
    </message>
    <message>
        <source>Decrease_Control</source>
        <translation>Disminuir %1</translation>
    </message>
    <message>
        <source>Increase_Control</source>
        <translation>Aumentar %1</translation>
    </message>
    <message>
        <source>Auto_Control</source>
        <translation>%1 automático</translation>
    </message>
    <message>
        <source>AnotherProgram</source>
        <translation>Otro programa</translation>
    </message>
    <message>
        <source>AnotherUsersProgram</source>
        <translation>El programa de otro usuario</translation>
    </message>
    <message>
        <source>SecondsAgo</source>
        <translation>hace %1 s</translation>
    </message>
    <message>
        <source>MinutesAgo</source>
        <translation>hace %1 min</translation>
    </message>
    <message>
        <source>WhoChangedControls</source>
        <translation>%1 cambió %2 controles %3 — restaurados</translation>
    </message>
    <message>
        <source>WhoChangedOneControl</source>
        <translation>%1 cambió un control %2 — restaurado</translation>
    </message>
    <message>
        <source>WhoOpenedCamera</source>
        <translation>%1 abrió la cámara %2 — restaurado</translation>
    </message>
    <message>
        <source>WhoGotProfile</source>
        <translation>%1 abrió la cámara %2 — perfil «%3» aplicado</translation>
    </message>
    <message>
        <source>WhoLetGo</source>
        <translation>%1 dejó la cámara %2 — restaurado</translation>
    </message>
    <message>
        <source>ChromiumPipeWireNote</source>
        <translation>%1 restablece los controles de la cámara cada vez que la inicia. Iniciado con --enable-features=WebRtcPipeWireCamera usa la cámara a través de PipeWire y no los toca.</translation>
    </message>
    <message>
        <source>DismissNote</source>
        <translation>No volver a mostrar</translation>
    </message>
    <message>
        <source>RuleForProgram</source>
        <translation>Para</translation>
    </message>
    <message>
        <source>EveryOtherProgram</source>
        <translation>Todos los demás programas</translation>
    </message>
    <message>
        <source>RuleKeepMySettings</source>
        <translation>Mantener mis ajustes</translation>
    </message>
    <message>
        <source>RuleApplyProfile</source>
        <translation>Aplicar perfil</translation>
    </message>
    <message>
        <source>RuleLeaveAlone</source>
        <translation>No tocar la cámara</translation>
    </message>
    <message>
        <source>LockTheLook</source>
        <translation>Fijar la imagen</translation>
    </message>
    <message>
        <source>LookLocked</source>
        <translation>Imagen fijada: los modos automáticos ahora son manuales</translation>
    </message>
    <message>
        <source>LookNotStuck</source>
        <translation>Imagen fijada, pero esto no se mantuvo: %1</translation>
    </message>
    <message>
        <source>NothingToLock</source>
        <translation>Nada que fijar: ningún modo automático está activo</translation>
    </message>
    <message>
        <source>PreviewFormat</source>
        <translation>Vista previa</translation>
    </message>
    <message>
        <source>PreviewUnreadable</source>
        <translation>Algunos fotogramas no se pueden mostrar</translation>
    </message>
    <message>
        <source>PreviewInUse</source>
        <translation>En uso por otro programa</translation>
    </message>
    <message>
        <source>PreviewNoPicture</source>
        <translation>La cámara no envía imagen</translation>
    </message>
    <message>
        <source>ShowPreview</source>
        <translation>Mostrar vista previa</translation>
    </message>
    <message>
        <source>AllControls</source>
        <translation>Todos los controles</translation>
    </message>
    <message>
        <source>CameraGroup</source>
        <translation>Cámara</translation>
    </message>
    <message>
        <source>ImageGroup</source>
        <translation>Imagen</translation>
    </message>
    <message>
        <source>VendorGroup</source>
        <translation>Fabricante</translation>
    </message>
    <message>
        <source>NoMoreControls</source>
        <translation>Esta cámara no tiene más controles que los de las otras pestañas.</translation>
    </message>
    <message>
        <source>UnknownExtensionUnit</source>
        <translation>Unidad de extensión desconocida</translation>
    </message>
    <message>
        <source>ScanningMode</source>
        <translation>Modo de escaneo</translation>
    </message>
    <message>
        <source>ExposureTimeRelative</source>
        <translation>Paso de exposición</translation>
    </message>
    <message>
        <source>FocusRelative</source>
        <translation>Paso de enfoque</translation>
    </message>
    <message>
        <source>IrisAbsolute</source>
        <translation>Iris</translation>
    </message>
    <message>
        <source>ZoomRelative</source>
        <translation>Paso de zoom</translation>
    </message>
    <message>
        <source>PanRelative</source>
        <translation>Paso de giro</translation>
    </message>
    <message>
        <source>TiltRelative</source>
        <translation>Paso de inclinación</translation>
    </message>
    <message>
        <source>RollAbsolute</source>
        <translation>Rotación</translation>
    </message>
    <message>
        <source>RollRelative</source>
        <translation>Paso de rotación</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Obturador de privacidad</translation>
    </message>
    <message>
        <source>FocusSimple</source>
        <translation>Rango de enfoque</translation>
    </message>
    <message>
        <source>DigitalWindow</source>
        <translation>Ventana digital</translation>
    </message>
    <message>
        <source>RegionOfInterest</source>
        <translation>Región de interés</translation>
    </message>
    <message>
        <source>WhiteBalanceBlue</source>
        <translation>Balance de blancos, azul</translation>
    </message>
    <message>
        <source>WhiteBalanceRed</source>
        <translation>Balance de blancos, rojo</translation>
    </message>
    <message>
        <source>HueAuto</source>
        <translation>Tono automático</translation>
    </message>
    <message>
        <source>WhiteBalanceComponentAuto</source>
        <translation>Balance de color automático</translation>
    </message>
    <message>
        <source>DigitalMultiplier</source>
        <translation>Zoom digital</translation>
    </message>
    <message>
        <source>DigitalMultiplierLimit</source>
        <translation>Límite del zoom digital</translation>
    </message>
    <message>
        <source>AnalogVideoStandard</source>
        <translation>Norma de vídeo analógico</translation>
    </message>
    <message>
        <source>AnalogVideoLockStatus</source>
        <translation>Bloqueo de vídeo analógico</translation>
    </message>
    <message>
        <source>ContrastAuto</source>
        <translation>Contraste automático</translation>
    </message>
</context>
</TS>
