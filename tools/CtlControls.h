#pragma once
// The controls orvellactl reads and writes, named by the keys users meet in profiles: the control
// catalog's rows (camera/ControlCatalog.h), seen the way the command line uses them.

#include <limits>
#include <span>
#include <string_view>

#include "camera/ControlCatalog.h"
#include "camera/QTCamera.h"

namespace orvella::tools {

struct CtlControl {
    std::string_view key;                 // the command-line name
    const ControlDescription* row;        // read and written through the camera's generic accessors
    int8_t SupportedControl::*supported;  // null: the LED, present when the LED type is not 0
    long SupportedControl::*cur;          // each of these may be null
    long SupportedControl::*min;
    long SupportedControl::*max;
    long SupportedControl::*def;
    int8_t SupportedControl::*disabled;
    // What the control's bytes carry, in the accessor's units: a value outside would be cut to
    // the control's width and reach the camera as another value.
    long lowest = std::numeric_limits<long>::min();
    long highest = std::numeric_limits<long>::max();
    long SupportedControl::*res = nullptr;  // the accessor counts steps of this resolution
};

// The values a write of the control is clamped to: the camera's own minimum and maximum when it
// gave a usable pair (not both 0, minimum not above maximum), within what the control's bytes
// carry.
struct ValueRange {
    long lowest;
    long highest;
};
ValueRange writableRange(const CtlControl& control, const SupportedControl& record);

std::span<const CtlControl> ctlControls();

// The control with this key, compared without regard to case; null if there is none.
const CtlControl* findCtlControl(std::string_view key);

bool isSupported(const CtlControl& control, const SupportedControl& record);

// Reads the control's value in the accessor's units.
IOReturn readControl(QTCamera& camera, const CtlControl& control, long* value);

// Writes the value as it is (no clamping), through the control's accessor.
IOReturn writeControl(QTCamera& camera, const CtlControl& control, long value);

}  // namespace orvella::tools
