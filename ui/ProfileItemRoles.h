#pragma once
// The roles of a profile list's items, shared by the profile pop-up, the tray menu's profile
// section and the model behind both: index 0 is the camera default, 1 a separator, 2.. the
// profiles. The check state is the profile's state: checked when it is in force, partially
// checked (the mixed state) when a control was changed since it was loaded, unchecked otherwise.

#include <Qt>

namespace orvella::ui {

// int: 1 for the load-at-start profile (shown with the "Star" image), 0 for every other.
constexpr int kProfileTagRole = Qt::UserRole + 1;
constexpr int kProfileStateRole = Qt::CheckStateRole;

}  // namespace orvella::ui
