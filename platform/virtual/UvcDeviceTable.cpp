#include "platform/virtual/UvcDeviceTable.h"

#include <array>

namespace orvella::virtualcam {

namespace {

using K = ValueKind;

// UVC 1.5 camera terminal controls.
constexpr std::array kCameraTerminal{
    UvcDeviceControlInfo{"ScanningMode", 0, 0x01, 1, K::Unsigned, 0, 1, 1, 0},
    UvcDeviceControlInfo{"AutoExposureMode", 1, 0x02, 1, K::Bitmap, 0, 0, 0x09, 0x08},
    UvcDeviceControlInfo{"AutoExposurePriority", 2, 0x03, 1, K::Unsigned, 0, 1, 1, 0},
    UvcDeviceControlInfo{"ExposureTimeAbsolute", 3, 0x04, 4, K::Unsigned, 3, 2047, 1, 250},
    UvcDeviceControlInfo{"ExposureTimeRelative", 4, 0x05, 1, K::Raw, 0, 0, 0, 0},
    UvcDeviceControlInfo{"FocusAbsolute", 5, 0x06, 2, K::Unsigned, 0, 250, 5, 0},
    UvcDeviceControlInfo{"FocusRelative", 6, 0x07, 2, K::Raw, 0, 0, 0, 0},
    UvcDeviceControlInfo{"IrisAbsolute", 7, 0x09, 2, K::Unsigned, 100, 1600, 1, 200},
    UvcDeviceControlInfo{"IrisRelative", 8, 0x0A, 1, K::Raw, 0, 0, 0, 0},
    UvcDeviceControlInfo{"ZoomAbsolute", 9, 0x0B, 2, K::Unsigned, 100, 500, 1, 100},
    UvcDeviceControlInfo{"ZoomRelative", 10, 0x0C, 3, K::Raw, 0, 0, 0, 0},
    UvcDeviceControlInfo{"PanTiltAbsolute", 11, 0x0D, 8, K::PanTilt, -36000, 36000, 3600, 0},
    UvcDeviceControlInfo{"PanTiltRelative", 12, 0x0E, 4, K::Raw, 0, 0, 0, 0},
    UvcDeviceControlInfo{"RollAbsolute", 13, 0x0F, 2, K::Signed, -180, 180, 1, 0},
    UvcDeviceControlInfo{"RollRelative", 14, 0x10, 2, K::Raw, 0, 0, 0, 0},
    UvcDeviceControlInfo{"FocusAuto", 17, 0x08, 1, K::Unsigned, 0, 1, 1, 1},
    UvcDeviceControlInfo{"Privacy", 18, 0x11, 1, K::Unsigned, 0, 1, 1, 0},
    UvcDeviceControlInfo{"FocusSimple", 19, 0x12, 1, K::Unsigned, 0, 3, 1, 0},
};

// UVC 1.5 processing unit controls.
constexpr std::array kProcessingUnit{
    UvcDeviceControlInfo{"Brightness", 0, 0x02, 2, K::Signed, -64, 64, 1, 0},
    UvcDeviceControlInfo{"Contrast", 1, 0x03, 2, K::Unsigned, 0, 95, 1, 32},
    UvcDeviceControlInfo{"Hue", 2, 0x06, 2, K::Signed, -2000, 2000, 1, 0},
    UvcDeviceControlInfo{"Saturation", 3, 0x07, 2, K::Unsigned, 0, 100, 1, 64},
    UvcDeviceControlInfo{"Sharpness", 4, 0x08, 2, K::Unsigned, 0, 7, 1, 3},
    UvcDeviceControlInfo{"Gamma", 5, 0x09, 2, K::Unsigned, 100, 500, 1, 100},
    UvcDeviceControlInfo{"WhiteBalanceTemperature", 6, 0x0A, 2, K::Unsigned, 2800, 6500, 10, 4600},
    UvcDeviceControlInfo{"WhiteBalanceComponent", 7, 0x0C, 4, K::Raw, 0, 0, 0, 0},
    UvcDeviceControlInfo{"BacklightCompensation", 8, 0x01, 2, K::Unsigned, 0, 2, 1, 1},
    UvcDeviceControlInfo{"Gain", 9, 0x04, 2, K::Unsigned, 0, 100, 1, 0},
    UvcDeviceControlInfo{"PowerLineFrequency", 10, 0x05, 1, K::Unsigned, 0, 2, 1, 2},
    UvcDeviceControlInfo{"HueAuto", 11, 0x10, 1, K::Unsigned, 0, 1, 1, 0},
    UvcDeviceControlInfo{"WhiteBalanceTemperatureAuto", 12, 0x0B, 1, K::Unsigned, 0, 1, 1, 1},
    UvcDeviceControlInfo{"WhiteBalanceComponentAuto", 13, 0x0D, 1, K::Unsigned, 0, 1, 1, 1},
    UvcDeviceControlInfo{"DigitalMultiplier", 14, 0x0E, 2, K::Unsigned, 100, 400, 1, 100},
    UvcDeviceControlInfo{"DigitalMultiplierLimit", 15, 0x0F, 2, K::Unsigned, 100, 400, 1, 400},
    UvcDeviceControlInfo{"AnalogVideoStandard", 16, 0x11, 1, K::Unsigned, 0, 5, 1, 0},
    UvcDeviceControlInfo{"AnalogVideoLockStatus", 17, 0x12, 1, K::Unsigned, 0, 1, 1, 0},
    UvcDeviceControlInfo{"ContrastAuto", 18, 0x13, 1, K::Unsigned, 0, 1, 1, 0},
};

template <size_t N>
std::optional<UvcDeviceControlInfo> byBit(const std::array<UvcDeviceControlInfo, N>& table,
                                          uint8_t bit) {
    for (const auto& entry : table)
        if (entry.bit == bit) return entry;
    return std::nullopt;
}

}  // namespace

std::optional<UvcDeviceControlInfo> controlForBit(UnitType unit, uint8_t bit) {
    return unit == UnitType::CameraTerminal ? byBit(kCameraTerminal, bit)
                                            : byBit(kProcessingUnit, bit);
}

std::optional<std::pair<UnitType, UvcDeviceControlInfo>> controlNamed(std::string_view name) {
    for (const auto& entry : kCameraTerminal)
        if (entry.name == name) return std::make_pair(UnitType::CameraTerminal, entry);
    for (const auto& entry : kProcessingUnit)
        if (entry.name == name) return std::make_pair(UnitType::ProcessingUnit, entry);
    return std::nullopt;
}

}  // namespace orvella::virtualcam
