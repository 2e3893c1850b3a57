#pragma once
// The controls orvellactl reads and writes, named by the keys users meet in profiles, each bound
// to its camera accessors and to its fields in the camera's SupportedControl record.

#include <span>
#include <string_view>

#include "camera/QTCamera.h"

namespace orvella::tools {

struct CtlControl {
    std::string_view key;
    IOReturn (QTCamera::*query)(long*);  // null: the value is only held in the record
    IOReturn (QTCamera::*set)(long);
    int8_t SupportedControl::*supported;  // null: the LED, present when the LED type is not 0
    long SupportedControl::*cur;          // each of these may be null
    long SupportedControl::*min;
    long SupportedControl::*max;
    long SupportedControl::*def;
    int8_t SupportedControl::*disabled;
};

std::span<const CtlControl> ctlControls();

// The control with this key, compared without regard to case; null if there is none.
const CtlControl* findCtlControl(std::string_view key);

bool isSupported(const CtlControl& control, const SupportedControl& record);

// Reads the control's value in the accessor's units.
IOReturn readControl(QTCamera& camera, const CtlControl& control, long* value);

}  // namespace orvella::tools
