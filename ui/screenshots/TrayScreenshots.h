#pragma once
// The tray menu and the reminder popover, drawn for the documentation by orvella-ui-shots --tray.

#include <QString>

namespace orvella::ui::shots {

// Writes DIR/tray-menu.png and DIR/popover.png; false (with a line on standard error) when one
// cannot be made. Needs a display (xvfb-run -a) for the menu to be grabbed from the screen.
bool renderTray(const QString& dir);

}  // namespace orvella::ui::shots
