#pragma once
// Every control the core addresses over USB: where it lives (camera terminal, processing unit or
// a fixed extension unit), its selector, its SET_CUR/GET_CUR length and whether its value is
// signed. The probing, status and accessor tables refer to these entries by name.

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

namespace controls {
constexpr UvcControl AutoExposureMode{
    "Auto-Exposure Mode", UnitKind::CameraTerminal, 0, 0x02, 1, false};
constexpr UvcControl AutoExposurePriority{
    "Auto-Exposure Priority", UnitKind::CameraTerminal, 0, 0x03, 1, false};
constexpr UvcControl ExposureTimeAbsolute{
    "Exposure Time (Absolute)", UnitKind::CameraTerminal, 0, 0x04, 4, false};
constexpr UvcControl FocusAbsolute{"Focus (Absolute)", UnitKind::CameraTerminal, 0, 0x06, 2, false};
constexpr UvcControl FocusAuto{"Focus, Auto", UnitKind::CameraTerminal, 0, 0x08, 1, false};
constexpr UvcControl IrisRelative{"Iris (Relative)", UnitKind::CameraTerminal, 0, 0x0A, 1, false};
constexpr UvcControl ZoomAbsolute{"Zoom (Absolute)", UnitKind::CameraTerminal, 0, 0x0B, 2, false};
constexpr UvcControl PanTiltAbsolute{
    "Pan/Tilt (Absolute)", UnitKind::CameraTerminal, 0, 0x0D, 8, true};
constexpr UvcControl PanTiltRelative{
    "Pan/Tilt (Relative)", UnitKind::CameraTerminal, 0, 0x0E, 4, false};
constexpr UvcControl BacklightCompensation{
    "Backlight Compensation", UnitKind::ProcessingUnit, 0, 0x01, 2, false};
// GET_CUR of the brightness accessor reads 4 bytes; the control itself is 2 bytes wide.
constexpr UvcControl Brightness{"Brightness", UnitKind::ProcessingUnit, 0, 0x02, 2, true};
constexpr UvcControl Contrast{"Contrast", UnitKind::ProcessingUnit, 0, 0x03, 2, false};
constexpr UvcControl Gain{"Gain", UnitKind::ProcessingUnit, 0, 0x04, 2, false};
constexpr UvcControl PowerLineFrequency{
    "Power Line Frequency", UnitKind::ProcessingUnit, 0, 0x05, 1, false};
constexpr UvcControl Hue{"Hue", UnitKind::ProcessingUnit, 0, 0x06, 2, true};
constexpr UvcControl Saturation{"Saturation", UnitKind::ProcessingUnit, 0, 0x07, 2, false};
constexpr UvcControl Sharpness{"Sharpness", UnitKind::ProcessingUnit, 0, 0x08, 2, false};
constexpr UvcControl Gamma{"Gamma", UnitKind::ProcessingUnit, 0, 0x09, 2, false};
constexpr UvcControl WhiteBalanceTemperature{
    "White Balance Temperature", UnitKind::ProcessingUnit, 0, 0x0A, 2, false};
constexpr UvcControl WhiteBalanceTemperatureAuto{
    "White Balance Temperature, Auto", UnitKind::ProcessingUnit, 0, 0x0B, 1, false};
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
