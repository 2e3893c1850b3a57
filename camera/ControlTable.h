#pragma once
// How the core addresses a control over USB: where it lives (camera terminal, processing unit or
// a fixed extension unit), its selector, its SET_CUR/GET_CUR length and whether its value is
// signed. The image controls carry theirs in their control catalog rows (camera/ControlCatalog.h);
// the few controls no row describes are named here.

#include <cstdint>
#include <string_view>

namespace orvella {

enum class UnitKind : uint8_t {
    CameraTerminal,  // unit = inputTerminalID
    ProcessingUnit,  // unit = processingUnitID
    ExtensionUnit,   // unit = UvcControl::fixedUnit
};

struct UvcControl {
    std::string_view name;
    UnitKind unit;
    int32_t fixedUnit;  // only for ExtensionUnit; for LED type 2 the unit depends on the model
    uint8_t selector;
    uint8_t length;
    bool isSigned;
};

// The controls no catalog row describes: the relative pan/tilt and the digital multiplier (read
// and logged by probing; the relative pan/tilt also drives one motor camera), and the fixed
// extension-unit controls of the motor and LED models.
namespace controls {
constexpr UvcControl PanTiltRelative{
    "Pan/Tilt (Relative)", UnitKind::CameraTerminal, 0, 0x0E, 4, false};
constexpr UvcControl DigitalMultiplier{
    "Digital Multiplier", UnitKind::ProcessingUnit, 0, 0x0E, 2, false};
constexpr UvcControl MotorPanTiltStep{
    "Motor pan/tilt step", UnitKind::ExtensionUnit, 9, 0x01, 4, false};
constexpr UvcControl MotorReset{"Motor reset", UnitKind::ExtensionUnit, 9, 0x02, 1, false};
constexpr UvcControl MotorFocus{"Motor focus", UnitKind::ExtensionUnit, 9, 0x03, 2, false};
constexpr UvcControl LedType1{"LED, type 1", UnitKind::ExtensionUnit, 13, 0x01, 3, false};
constexpr UvcControl LedType2{"LED, type 2", UnitKind::ExtensionUnit, 0, 0x09, 5, false};
}  // namespace controls

}  // namespace orvella
