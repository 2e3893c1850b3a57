#pragma once

#include <cstdint>

namespace orvella::settings {

// The setting identifiers shared by the settings record, the control rows, the panel's switches
// and the profile store. Each names one control (or, for 18 and 19, one pair of controls) whose
// entries a change updates. 0 stands for "all settings" where an operation accepts it.
enum SettingsID : int32_t {
    kAllSettings = 0,
    kAutoExposureMode = 1,
    kAutoExposurePriority = 2,
    kExposureTimeAbsolute = 3,
    kBrightness = 4,
    kContrast = 5,
    kHue = 6,
    kSaturation = 7,
    kSharpness = 8,
    kGamma = 9,
    kWhiteBalanceTemperatureAuto = 10,
    kWhiteBalanceTemperature = 11,
    kPowerLineFrequency = 12,
    kBacklightCompensation = 13,
    kGain = 14,
    kFocusAuto = 15,
    kFocusAbsolute = 16,
    kZoomAbsolute = 17,
    kPanAbsolute = 18,  // pan and tilt share one entry: both identifiers write the same keys
    kTiltAbsolute = 19,
    kAperture = 20,
    kNoiseReduction = 21,
    kLED = 22,
};

constexpr int32_t kFirstSettingsID = 1;
constexpr int32_t kLastSettingsID = 22;

}  // namespace orvella::settings
