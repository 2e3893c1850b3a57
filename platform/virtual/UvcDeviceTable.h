#pragma once
// The virtual camera's view of the standard's camera-terminal and processing-unit controls
// (platform/UvcStandardControls.h): looked up by bmControls bit while a definition's descriptors
// are read, and by name where a definition describes a control.

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/UvcStandardControls.h"

namespace orvella::virtualcam {

using UvcDeviceControlInfo = uvc::StandardControl;
using UnitType = uvc::Unit;

// The entry for a bmControls bit, if the bit names a control.
inline std::optional<UvcDeviceControlInfo> controlForBit(UnitType unit, uint8_t bit) {
    const uvc::StandardControl* found = uvc::standardAtBit(unit, bit);
    return found ? std::optional(*found) : std::nullopt;
}

// The entry for a control's name in the standard table.
inline std::optional<std::pair<UnitType, UvcDeviceControlInfo>> controlNamed(
    std::string_view name) {
    const uvc::StandardControl* found = uvc::findStandard(name);
    return found ? std::optional(std::pair(found->unit, *found)) : std::nullopt;
}

}  // namespace orvella::virtualcam
