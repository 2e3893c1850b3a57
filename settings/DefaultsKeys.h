#pragma once
// The keys of the application's user defaults and of the bookkeeping entries of a profile.

#include <QLatin1StringView>

namespace orvella::settings::keys {

// The profile store.
inline constexpr QLatin1StringView kSettings{"Settings"};
inline constexpr QLatin1StringView kLoadAtStart{"Load at Start"};
// Bookkeeping entries of a record in "Settings".
inline constexpr QLatin1StringView kSettingsName{"SettingsName"};
inline constexpr QLatin1StringView kAppDefault{"AppDefault"};
// The name of the last-state record.
inline constexpr QLatin1StringView kAppDefaultName{"AppDefault"};

// The application's own preferences.
inline constexpr QLatin1StringView kBlackAndWhiteMenuIcon{"Black and White Menu Icon"};
inline constexpr QLatin1StringView kShowHideControlPanel{"Show/Hide Control Panel"};
inline constexpr QLatin1StringView kLaunchAtLogin{"Launch at Login"};
inline constexpr QLatin1StringView kDisablePopup{"Disable Popup"};
inline constexpr QLatin1StringView kDisplayValue{"Display Value"};
inline constexpr QLatin1StringView kUpdateSlider{"UpdateSlider"};
inline constexpr QLatin1StringView kReconfigureWebcam{"ReconfigureWebcam"};
inline constexpr QLatin1StringView kHideMenuBarIcon{"Hide Menu Bar Icon"};
// The settings guard: whether a camera's last state is restored after another program changed it,
// and how long (milliseconds) the other program's changes must have settled first.
inline constexpr QLatin1StringView kGuardSettings{"GuardSettings"};
inline constexpr QLatin1StringView kGuardSettleTime{"GuardSettleTime"};
// What the guard does about each program ("keep", "alone", "profile:NAME" by program name), the
// rule for every other program, and the Chromium note dismissed for good.
inline constexpr QLatin1StringView kProgramRules{"ProgramRules"};
inline constexpr QLatin1StringView kDefaultProgramRule{"DefaultProgramRule"};
inline constexpr QLatin1StringView kChromiumNoteDismissed{"ChromiumCameraNoteDismissed"};
// Whether the panel shows the current camera's live picture (on unless switched off).
inline constexpr QLatin1StringView kShowPreview{"Show preview"};
// The names the user gave cameras: a dictionary from unique identifier to name.
inline constexpr QLatin1StringView kCameraNames{"Camera Names"};

}  // namespace orvella::settings::keys
