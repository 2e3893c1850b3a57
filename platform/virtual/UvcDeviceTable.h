#pragma once
// What a UVC camera terminal and processing unit offer, by bmControls bit: the selector, the
// length of the control and the answers a plausible camera gives when a definition does not
// describe the control. This is the device's side of the protocol, independent of how the core
// uses the controls.

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/virtual/DeviceModel.h"

namespace orvella::virtualcam {

struct UvcDeviceControlInfo {
    std::string_view name;
    uint8_t bit;  // bmControls bit
    uint8_t selector;
    uint8_t length;
    ValueKind kind;
    int64_t min, max, res, def;  // for PanTilt: applied to both halves
};

enum class UnitType { CameraTerminal, ProcessingUnit };

// The entry for a bmControls bit, if the bit names a control.
std::optional<UvcDeviceControlInfo> controlForBit(UnitType unit, uint8_t bit);
// The entry for a control name ("Brightness", "PanTiltAbsolute", ...).
std::optional<std::pair<UnitType, UvcDeviceControlInfo>> controlNamed(std::string_view name);

}  // namespace orvella::virtualcam
