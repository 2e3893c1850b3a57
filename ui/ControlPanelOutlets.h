#pragma once
// Every widget of the control panel under its interface file's name, whichever room holds it:
// the window's own, the camera's controls, the profile box and the Preferences tab. For tests
// and the screenshot tool, which look inside the panel; the panel's owner drives it through
// ControlPanel's calls.

#include "ui/ControlPanel.h"
#include "ui_CameraControlsPage.h"
#include "ui_ControlPanel.h"
#include "ui_PreferencesPage.h"
#include "ui_ProfileBox.h"

namespace orvella::ui {

// Copied together when the panel is built; no room replaces a widget afterwards.
struct ControlPanel::Outlets : Ui::ControlPanel,
                               Ui::CameraControlsPage,
                               Ui::ProfileBox,
                               Ui::PreferencesPage {};

}  // namespace orvella::ui
