#pragma once
// The controls a UVC camera terminal and processing unit can declare: the unit, the bmControls
// bit, the selector, the length, how the bytes read, and the answers a plausible camera gives.
// This is the device's side of the protocol, independent of how the core uses the controls: the
// virtual cameras answer from it, and the control catalog takes each driven control's addressing
// from it by name, so a selector or a length is written in one place.

#include <cstdint>
#include <string_view>

namespace orvella::uvc {

enum class Unit : uint8_t { CameraTerminal, ProcessingUnit };

// How a control's bytes read.
enum class ValueKind : uint8_t {
    Unsigned,
    Signed,
    Bitmap,   // one bit per mode
    PanTilt,  // two signed 4-byte halves
    Raw,      // not a single number (relative moves, component pairs)
};

struct StandardControl {
    std::string_view name;
    Unit unit;
    uint8_t bit;  // bmControls bit
    uint8_t selector;
    uint8_t length;
    ValueKind kind;
    int64_t min, max, res, def;  // for PanTilt: applied to both halves

    constexpr bool isSigned() const {
        return kind == ValueKind::Signed || kind == ValueKind::PanTilt;
    }
};

namespace detail {
using K = ValueKind;
constexpr Unit CT = Unit::CameraTerminal;
constexpr Unit PU = Unit::ProcessingUnit;

// UVC 1.5 camera terminal controls, then processing unit controls, each in bit order.
inline constexpr StandardControl kControls[] = {
    {"ScanningMode", CT, 0, 0x01, 1, K::Unsigned, 0, 1, 1, 0},
    {"AutoExposureMode", CT, 1, 0x02, 1, K::Bitmap, 0, 0, 0x09, 0x08},
    {"AutoExposurePriority", CT, 2, 0x03, 1, K::Unsigned, 0, 1, 1, 0},
    {"ExposureTimeAbsolute", CT, 3, 0x04, 4, K::Unsigned, 3, 2047, 1, 250},
    {"ExposureTimeRelative", CT, 4, 0x05, 1, K::Raw, 0, 0, 0, 0},
    {"FocusAbsolute", CT, 5, 0x06, 2, K::Unsigned, 0, 250, 5, 0},
    {"FocusRelative", CT, 6, 0x07, 2, K::Raw, 0, 0, 0, 0},
    {"IrisAbsolute", CT, 7, 0x09, 2, K::Unsigned, 100, 1600, 1, 200},
    {"IrisRelative", CT, 8, 0x0A, 1, K::Raw, 0, 0, 0, 0},
    {"ZoomAbsolute", CT, 9, 0x0B, 2, K::Unsigned, 100, 500, 1, 100},
    {"ZoomRelative", CT, 10, 0x0C, 3, K::Raw, 0, 0, 0, 0},
    {"PanTiltAbsolute", CT, 11, 0x0D, 8, K::PanTilt, -36000, 36000, 3600, 0},
    {"PanTiltRelative", CT, 12, 0x0E, 4, K::Raw, 0, 0, 0, 0},
    {"RollAbsolute", CT, 13, 0x0F, 2, K::Signed, -180, 180, 1, 0},
    {"RollRelative", CT, 14, 0x10, 2, K::Raw, 0, 0, 0, 0},
    {"FocusAuto", CT, 17, 0x08, 1, K::Unsigned, 0, 1, 1, 1},
    {"Privacy", CT, 18, 0x11, 1, K::Unsigned, 0, 1, 1, 0},
    {"FocusSimple", CT, 19, 0x12, 1, K::Unsigned, 0, 3, 1, 0},
    {"DigitalWindow", CT, 20, 0x13, 12, K::Raw, 0, 0, 0, 0},
    {"RegionOfInterest", CT, 21, 0x14, 10, K::Raw, 0, 0, 0, 0},

    {"Brightness", PU, 0, 0x02, 2, K::Signed, -64, 64, 1, 0},
    {"Contrast", PU, 1, 0x03, 2, K::Unsigned, 0, 95, 1, 32},
    {"Hue", PU, 2, 0x06, 2, K::Signed, -2000, 2000, 1, 0},
    {"Saturation", PU, 3, 0x07, 2, K::Unsigned, 0, 100, 1, 64},
    {"Sharpness", PU, 4, 0x08, 2, K::Unsigned, 0, 7, 1, 3},
    {"Gamma", PU, 5, 0x09, 2, K::Unsigned, 100, 500, 1, 100},
    {"WhiteBalanceTemperature", PU, 6, 0x0A, 2, K::Unsigned, 2800, 6500, 10, 4600},
    {"WhiteBalanceComponent", PU, 7, 0x0C, 4, K::Raw, 0, 0, 0, 0},
    {"BacklightCompensation", PU, 8, 0x01, 2, K::Unsigned, 0, 2, 1, 1},
    {"Gain", PU, 9, 0x04, 2, K::Unsigned, 0, 100, 1, 0},
    {"PowerLineFrequency", PU, 10, 0x05, 1, K::Unsigned, 0, 2, 1, 2},
    {"HueAuto", PU, 11, 0x10, 1, K::Unsigned, 0, 1, 1, 0},
    {"WhiteBalanceTemperatureAuto", PU, 12, 0x0B, 1, K::Unsigned, 0, 1, 1, 1},
    {"WhiteBalanceComponentAuto", PU, 13, 0x0D, 1, K::Unsigned, 0, 1, 1, 1},
    {"DigitalMultiplier", PU, 14, 0x0E, 2, K::Unsigned, 100, 400, 1, 100},
    {"DigitalMultiplierLimit", PU, 15, 0x0F, 2, K::Unsigned, 100, 400, 1, 400},
    {"AnalogVideoStandard", PU, 16, 0x11, 1, K::Unsigned, 0, 5, 1, 0},
    {"AnalogVideoLockStatus", PU, 17, 0x12, 1, K::Unsigned, 0, 1, 1, 0},
    {"ContrastAuto", PU, 18, 0x13, 1, K::Unsigned, 0, 1, 1, 0},
};
}  // namespace detail

inline constexpr const auto& kStandardControls = detail::kControls;

// The control of this name ("Brightness", "PanTiltAbsolute", ...); null if the standard has none.
constexpr const StandardControl* findStandard(std::string_view name) {
    for (const StandardControl& control : kStandardControls)
        if (control.name == name) return &control;
    return nullptr;
}

// The control at a bmControls bit of a unit; null if the bit names none.
constexpr const StandardControl* standardAtBit(Unit unit, uint8_t bit) {
    for (const StandardControl& control : kStandardControls)
        if (control.unit == unit && control.bit == bit) return &control;
    return nullptr;
}

// The control of this name, for tables built at compile time: a name the standard does not have
// fails the build.
consteval const StandardControl& standard(std::string_view name) {
    for (const StandardControl& control : kStandardControls)
        if (control.name == name) return control;
    throw "not a control of the UVC standard";
}

}  // namespace orvella::uvc
