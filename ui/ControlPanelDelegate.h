#pragma once
// What the control panel asks of the application controller that owns it: the flows that reach
// beyond the panel (the profile store, the preferences). Every handler is optional; a panel
// without one leaves that step out.

#include <QMap>
#include <QString>
#include <cstdint>
#include <functional>
#include <optional>

namespace orvella::ui {

struct ControlPanelDelegate {
    // Stores the current state of one setting (0 = all) in the camera model's last-state record.
    std::function<void(int32_t settingsID)> updateSettings;
    // The stored "Display Value" choices, keyed by the setting identifier in decimal ("3");
    // nullopt when the preferences hold no such dictionary.
    std::function<std::optional<QMap<QString, bool>>()> displayValues;
    // Stores one "Display Value" choice (read, copy, change, write back, synchronize).
    std::function<void(int32_t settingsID, bool displayValue)> storeDisplayValue;
    // Rebuilds the profile lists for the current camera's model, marks and selects the start
    // profile and applies it once (the camera's bLoadAtStart flag).
    std::function<void()> buildProfileLists;
};

}  // namespace orvella::ui
