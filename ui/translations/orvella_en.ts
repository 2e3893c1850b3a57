<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en_US">
<context>
    <name>InfoPlist</name>
    <message>
        <source>CFBundleName</source>
        <translation>Orvella</translation>
    </message>
    <message>
        <source>GenericName</source>
        <translation>Webcam Settings</translation>
    </message>
    <message>
        <source>Comment</source>
        <translation>Adjust exposure, focus, white balance and other image controls of USB webcams</translation>
    </message>
</context>
<context>
    <name>Localizable</name>
    <message>
        <source>About</source>
        <translation>About %1</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Quit %1</translation>
    </message>
    <message>
        <source>UseBWMenuIcon</source>
        <translation>Use black and white tray icon</translation>
    </message>
    <message>
        <source>Control_Panel_Title</source>
        <translation>%1</translation>
    </message>
    <message>
        <source>Exposure</source>
        <translation>Exposure</translation>
    </message>
    <message>
        <source>Auto_Exposure_Mode</source>
        <translation>Auto e&amp;xposure:</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Manual</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>&amp;Auto</translation>
    </message>
    <message>
        <source>Shutter_Priority</source>
        <translation>Shutter priority</translation>
    </message>
    <message>
        <source>Aperture_Priority</source>
        <translation>Aperture priority</translation>
    </message>
    <message>
        <source>White_Balance_Temperature</source>
        <translation>White Balance Temperature</translation>
    </message>
    <message>
        <source>Power_Line_Frequency</source>
        <translation>Power Line Frequency</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Disabled</translation>
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
        <translation>Backlight Compensation</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Startup</translation>
    </message>
    <message>
        <source>Launch_App_at_Login</source>
        <translation>&amp;Launch %1 at login</translation>
    </message>
    <message>
        <source>Reset_to_Default</source>
        <translation>&amp;Reset to Default</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Basic</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Advanced</translation>
    </message>
    <message>
        <source>Focus</source>
        <translation>Focus</translation>
    </message>
    <message>
        <source>PanTilt</source>
        <translation>Pan and Tilt</translation>
    </message>
    <message>
        <source>LED</source>
        <translation>LED</translation>
    </message>
    <message>
        <source>On</source>
        <translation>On</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Off</translation>
    </message>
    <message>
        <source>ManageProfile</source>
        <translation>Profiles</translation>
    </message>
    <message>
        <source>ProfileModified</source>
        <translation>(modified)</translation>
    </message>
    <message>
        <source>CameraDefault</source>
        <translation>Camera default</translation>
    </message>
    <message>
        <source>SaveNewProfile</source>
        <translation>Save as New…</translation>
    </message>
    <message>
        <source>UpdateProfile</source>
        <translation>Update</translation>
    </message>
    <message>
        <source>DeleteProfile</source>
        <translation>Delete…</translation>
    </message>
    <message>
        <source>LoadAtStart</source>
        <translation>Load at Start</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Preferences</translation>
    </message>
    <message>
        <source>UpdateSlider</source>
        <translation>Refresh Sliders in Auto Mode</translation>
    </message>
    <message>
        <source>ReconfigureWebcam</source>
        <translation>Re-apply Settings to Cameras</translation>
    </message>
    <message>
        <source>Webcam</source>
        <translation>Camera</translation>
    </message>
    <message>
        <source>Profile</source>
        <translation>Profile</translation>
    </message>
    <message>
        <source>HideMenuBarIcon</source>
        <translation>&amp;Hide tray icon</translation>
    </message>
    <message>
        <source>PopOverText</source>
        <translation>%1 keeps running in the system tray. Click its icon to show the control panel again.</translation>
    </message>
    <message>
        <source>DisableNotification</source>
        <translation>Don't show this again</translation>
    </message>
    <message>
        <source>Exposure_Time</source>
        <translation>Exposure time</translation>
    </message>
    <message>
        <source>Gain</source>
        <translation>Gain</translation>
    </message>
    <message>
        <source>Aperture</source>
        <translation>Aperture</translation>
    </message>
    <message>
        <source>Brightness</source>
        <translation>Brightness</translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation>Contrast</translation>
    </message>
    <message>
        <source>Hue</source>
        <translation>Hue</translation>
    </message>
    <message>
        <source>Saturation</source>
        <translation>Saturation</translation>
    </message>
    <message>
        <source>Sharpness</source>
        <translation>Sharpness</translation>
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
        <translation>Pan</translation>
    </message>
    <message>
        <source>Tilt</source>
        <translation>Tilt</translation>
    </message>
    <message>
        <source>NoiseReduction</source>
        <translation>Noise reduction</translation>
    </message>
    <message>
        <source>Hide_Panel</source>
        <translation>Hide %1 Panel</translation>
    </message>
    <message>
        <source>Show_Panel</source>
        <translation>Show %1 Panel</translation>
    </message>
    <message>
        <source>SaveBtn</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>CancelBtn</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>SaveCurrentSettingsInfo</source>
        <translation>Save the camera's current settings, based on “%1”, as a new profile.</translation>
    </message>
    <message>
        <source>ProfileName</source>
        <translation>Profile name</translation>
    </message>
    <message>
        <source>ProfileConfilict</source>
        <translation>A profile with this name already exists</translation>
    </message>
    <message>
        <source>OKBtn</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>ProfileConfilictInfo</source>
        <translation>This camera model already has a profile named “%1”. Please choose another name.</translation>
    </message>
    <message>
        <source>DeleteBtn</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>DeleteSavedSettingsInfo</source>
        <translation>The profile “%1” will be deleted. This cannot be undone.</translation>
    </message>
    <message>
        <source>ReadIntervalInfoWS</source>
        <translation>While a control is in an automatic mode, the camera changes it by itself. At this interval %1 reads such values back so that the sliders show them.</translation>
    </message>
    <message>
        <source>WriteIntervalInfo</source>
        <translation>Some cameras forget their settings, for example after another program used them. At this interval %1 sends the known values to every connected camera again.</translation>
    </message>
    <message>
        <source>HideTrayIconInfo</source>
        <translation>Without the tray icon, start %1 again (from the applications menu, or with the command orvella) to bring back this panel.</translation>
    </message>
    <message>
        <source>Interval_Off</source>
        <translation>Off</translation>
    </message>
    <message>
        <source>1_Second</source>
        <translation>Every second</translation>
    </message>
    <message>
        <source>2_Seconds</source>
        <translation>Every 2 seconds</translation>
    </message>
    <message>
        <source>5_Seconds</source>
        <translation>Every 5 seconds</translation>
    </message>
    <message>
        <source>10_Seconds</source>
        <translation>Every 10 seconds</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Format:</translation>
    </message>
    <message>
        <source>FPS</source>
        <translation>fps</translation>
    </message>
    <message>
        <source>Move_Up</source>
        <translation>Tilt up</translation>
    </message>
    <message>
        <source>Move_Down</source>
        <translation>Tilt down</translation>
    </message>
    <message>
        <source>Move_Left</source>
        <translation>Pan left</translation>
    </message>
    <message>
        <source>Move_Right</source>
        <translation>Pan right</translation>
    </message>
    <message>
        <source>Move_Center</source>
        <translation>Back to the centre</translation>
    </message>
    <message>
        <source>Interval_Info</source>
        <translation>What does this do?</translation>
    </message>
    <message>
        <source>NoCamera</source>
        <translation>No camera connected</translation>
    </message>
    <message>
        <source>RenameCamera</source>
        <translation>Rename…</translation>
    </message>
    <message>
        <source>RenameCameraTitle</source>
        <translation>Rename Camera</translation>
    </message>
    <message>
        <source>RenameCameraInfo</source>
        <translation>Name for “%1”. Leave it empty to go back to the camera's own name.</translation>
    </message>
    <message>
        <source>CameraName</source>
        <translation>Camera name</translation>
    </message>
    <message>
        <source>CameraNotAnswering</source>
        <translation>The camera does not answer</translation>
    </message>
    <message>
        <source>NoCameraFound</source>
        <translation>No camera is connected. Plug in a UVC webcam, or try the demo camera.</translation>
    </message>
    <message>
        <source>AddDemoCamera</source>
        <translation>Add the Demo Camera</translation>
    </message>
    <message>
        <source>OtherPrograms</source>
        <translation>Other Programs</translation>
    </message>
    <message>
        <source>KeepMySettings</source>
        <translation>&amp;Keep my settings when other programs use the camera</translation>
    </message>
    <message>
        <source>GuardSettleTime</source>
        <translation>Restore after:</translation>
    </message>
    <message>
        <source>Wait_1_Second</source>
        <translation>1 second</translation>
    </message>
    <message>
        <source>Wait_2_Seconds</source>
        <translation>2 seconds</translation>
    </message>
    <message>
        <source>Wait_5_Seconds</source>
        <translation>5 seconds</translation>
    </message>
    <message>
        <source>ReconfigureWebcamGuardNote</source>
        <translation>Not needed while your settings are kept: %1 restores them as soon as another program has changed them.</translation>
    </message>
    <message>
        <source>Display_Value_Of</source>
        <translation>Show the Value of %1</translation>
    </message>
    <message>
        <source>Decrease_Control</source>
        <translation>Decrease %1</translation>
    </message>
    <message>
        <source>Increase_Control</source>
        <translation>Increase %1</translation>
    </message>
    <message>
        <source>Auto_Control</source>
        <translation>Automatic %1</translation>
    </message>
    <message>
        <source>AnotherProgram</source>
        <translation>Another program</translation>
    </message>
    <message>
        <source>AnotherUsersProgram</source>
        <translation>Another user's program</translation>
    </message>
    <message>
        <source>SecondsAgo</source>
        <translation>%1 s ago</translation>
    </message>
    <message>
        <source>MinutesAgo</source>
        <translation>%1 min ago</translation>
    </message>
    <message>
        <source>WhoChangedControls</source>
        <translation>%1 changed %2 controls %3 — restored</translation>
    </message>
    <message>
        <source>WhoChangedOneControl</source>
        <translation>%1 changed a control %2 — restored</translation>
    </message>
    <message>
        <source>WhoOpenedCamera</source>
        <translation>%1 opened the camera %2 — restored</translation>
    </message>
    <message>
        <source>WhoGotProfile</source>
        <translation>%1 opened the camera %2 — profile “%3” applied</translation>
    </message>
    <message>
        <source>WhoLetGo</source>
        <translation>%1 let go of the camera %2 — restored</translation>
    </message>
    <message>
        <source>ChromiumPipeWireNote</source>
        <translation>%1 resets the camera's controls each time it starts the camera. Started with --enable-features=WebRtcPipeWireCamera it uses the camera through PipeWire and leaves them alone.</translation>
    </message>
    <message>
        <source>DismissNote</source>
        <translation>Don't Show Again</translation>
    </message>
    <message>
        <source>RuleForProgram</source>
        <translation>For</translation>
    </message>
    <message>
        <source>EveryOtherProgram</source>
        <translation>Every other program</translation>
    </message>
    <message>
        <source>RuleKeepMySettings</source>
        <translation>Keep my settings</translation>
    </message>
    <message>
        <source>RuleApplyProfile</source>
        <translation>Apply profile</translation>
    </message>
    <message>
        <source>RuleLeaveAlone</source>
        <translation>Leave the camera alone</translation>
    </message>
    <message>
        <source>LockTheLook</source>
        <translation>Lock the Look</translation>
    </message>
    <message>
        <source>LookLocked</source>
        <translation>Look locked: the automatic modes are manual now</translation>
    </message>
    <message>
        <source>LookNotStuck</source>
        <translation>Look locked, but these did not stick: %1</translation>
    </message>
    <message>
        <source>NothingToLock</source>
        <translation>Nothing to lock: no automatic mode is on</translation>
    </message>
    <message>
        <source>PreviewFormat</source>
        <translation>Preview</translation>
    </message>
    <message>
        <source>PreviewUnreadable</source>
        <translation>Some frames cannot be shown</translation>
    </message>
    <message>
        <source>PreviewInUse</source>
        <translation>In use by another program</translation>
    </message>
    <message>
        <source>PreviewNoPicture</source>
        <translation>No picture from the camera</translation>
    </message>
    <message>
        <source>ShowPreview</source>
        <translation>Show preview</translation>
    </message>
    <message>
        <source>AllControls</source>
        <translation>All controls</translation>
    </message>
    <message>
        <source>CameraGroup</source>
        <translation>Camera</translation>
    </message>
    <message>
        <source>ImageGroup</source>
        <translation>Image</translation>
    </message>
    <message>
        <source>VendorGroup</source>
        <translation>Manufacturer</translation>
    </message>
    <message>
        <source>NoMoreControls</source>
        <translation>This camera has no controls beyond the ones on the other tabs.</translation>
    </message>
    <message>
        <source>UnknownExtensionUnit</source>
        <translation>Unknown extension unit</translation>
    </message>
    <message>
        <source>ScanningMode</source>
        <translation>Scanning mode</translation>
    </message>
    <message>
        <source>ExposureTimeRelative</source>
        <translation>Exposure step</translation>
    </message>
    <message>
        <source>FocusRelative</source>
        <translation>Focus step</translation>
    </message>
    <message>
        <source>IrisAbsolute</source>
        <translation>Iris</translation>
    </message>
    <message>
        <source>ZoomRelative</source>
        <translation>Zoom step</translation>
    </message>
    <message>
        <source>PanRelative</source>
        <translation>Pan step</translation>
    </message>
    <message>
        <source>TiltRelative</source>
        <translation>Tilt step</translation>
    </message>
    <message>
        <source>RollAbsolute</source>
        <translation>Roll</translation>
    </message>
    <message>
        <source>RollRelative</source>
        <translation>Roll step</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Privacy shutter</translation>
    </message>
    <message>
        <source>FocusSimple</source>
        <translation>Focus range</translation>
    </message>
    <message>
        <source>DigitalWindow</source>
        <translation>Digital window</translation>
    </message>
    <message>
        <source>RegionOfInterest</source>
        <translation>Region of interest</translation>
    </message>
    <message>
        <source>WhiteBalanceBlue</source>
        <translation>White balance, blue</translation>
    </message>
    <message>
        <source>WhiteBalanceRed</source>
        <translation>White balance, red</translation>
    </message>
    <message>
        <source>HueAuto</source>
        <translation>Automatic hue</translation>
    </message>
    <message>
        <source>WhiteBalanceComponentAuto</source>
        <translation>Automatic colour balance</translation>
    </message>
    <message>
        <source>DigitalMultiplier</source>
        <translation>Digital zoom</translation>
    </message>
    <message>
        <source>DigitalMultiplierLimit</source>
        <translation>Digital zoom limit</translation>
    </message>
    <message>
        <source>AnalogVideoStandard</source>
        <translation>Analog video standard</translation>
    </message>
    <message>
        <source>AnalogVideoLockStatus</source>
        <translation>Analog video lock</translation>
    </message>
    <message>
        <source>ContrastAuto</source>
        <translation>Automatic contrast</translation>
    </message>
</context>
</TS>
