#pragma once
// The per-camera record of every image control: presence flag, range, current and default values
// and disabled flag per control, plus the LED type and index. Probing fills the ranges, the status
// walk the disabled flags and the LED type, the accessors the current values.

#include <cstdint>

namespace orvella {

// Filled by nothing in the system; kept so the record has the same shape everywhere.
struct ExtUnitControl;

struct SupportedControl {
    // Auto-exposure mode; the four flags say which of the modes 1, 2, 4, 8 are offered.
    int8_t bAutoExposureMode = 0;
    int8_t bAutoExposureMode_0 = 0;
    int8_t bAutoExposureMode_1 = 0;
    int8_t bAutoExposureMode_2 = 0;
    int8_t bAutoExposureMode_3 = 0;
    long curAutoExposureMode = 0;
    long defAutoExposureMode = 0;

    int8_t bAutoExposurePriority = 0;
    long curAutoExposurePriority = 0;

    int8_t bExposureTimeAbsolute = 0;
    long minExposureTimeAbsolute = 0;
    long maxExposureTimeAbsolute = 0;
    long curExposureTimeAbsolute = 0;
    long defExposureTimeAbsolute = 0;
    int8_t bExposureTimeAbsoluteDisabled = 0;

    int8_t bFocusAbsolute = 0;
    long minFocusAbsolute = 0;
    long maxFocusAbsolute = 0;
    long curFocusAbsolute = 0;
    long defFocusAbsolute = 0;
    int8_t bFocusAbsoluteDisabled = 0;

    int8_t bFocusAuto = 0;
    long curFocusAuto = 0;
    long defFocusAuto = 0;

    int8_t bIrisRelative = 0;

    int8_t bZoomAbsolute = 0;
    uint16_t wObjectiveFocalLengthMin = 0;
    uint16_t wObjectiveFocalLengthMax = 0;
    long minZoomAbsolute = 0;
    long maxZoomAbsolute = 0;
    long curZoomAbsolute = 0;
    long defZoomAbsolute = 0;
    int8_t bZoomAbsoluteDisabled = 0;

    int8_t bPanTiltAbsolute = 0;
    long minPanAbsolute = 0;
    long maxPanAbsolute = 0;
    long resPanAbsolute = 0;
    long curPanAbsolute = 0;
    long defPanAbsolute = 0;
    long minTiltAbsolute = 0;
    long maxTiltAbsolute = 0;
    long resTiltAbsolute = 0;
    long curTiltAbsolute = 0;
    long defTiltAbsolute = 0;
    int8_t bPanTiltAbsoluteDisabled = 0;

    int8_t bBrightness = 0;
    long minBrightness = 0;
    long maxBrightness = 0;
    long curBrightness = 0;
    long defBrightness = 0;
    int8_t bBrightnessDisabled = 0;

    int8_t bContrast = 0;
    long minContrast = 0;
    long maxContrast = 0;
    long curContrast = 0;
    long defContrast = 0;
    int8_t bContrastDisabled = 0;

    int8_t bHue = 0;
    long minHue = 0;
    long maxHue = 0;
    long resHue = 0;
    long curHue = 0;
    long defHue = 0;
    int8_t bHueDisabled = 0;

    int8_t bSaturation = 0;
    long minSaturation = 0;
    long maxSaturation = 0;
    long curSaturation = 0;
    long defSaturation = 0;
    int8_t bSaturationDisabled = 0;

    int8_t bSharpness = 0;
    long minSharpness = 0;
    long maxSharpness = 0;
    long curSharpness = 0;
    long defSharpness = 0;
    int8_t bSharpnessDisabled = 0;

    int8_t bGamma = 0;
    long minGamma = 0;
    long maxGamma = 0;
    long resGamma = 0;
    long curGamma = 0;
    long defGamma = 0;
    int8_t bGammaDisabled = 0;

    int8_t bWhiteBalanceTemperature = 0;
    long minWhiteBalanceTemperature = 0;
    long maxWhiteBalanceTemperature = 0;
    long curWhiteBalanceTemperature = 0;
    long defWhiteBalanceTemperature = 0;
    int8_t bWhiteBalanceTemperatureDisabled = 0;

    int8_t bBacklightCompensation = 0;
    long minBacklightCompensation = 0;
    long maxBacklightCompensation = 0;
    long curBacklightCompensation = 0;
    long defBacklightCompensation = 0;
    int8_t bBacklightCompensationDisabled = 0;

    int8_t bGain = 0;
    long minGain = 0;
    long maxGain = 0;
    long curGain = 0;
    long defGain = 0;
    int8_t bGainDisabled = 0;

    int8_t bPowerLineFrequency = 0;
    long curPowerLineFrequency = 0;
    long defPowerLineFrequency = 0;
    int8_t bPowerLineFrequencySupportAuto = 0;

    int8_t bWhiteBalanceTemperatureAuto = 0;
    long curWhiteBalanceTemperatureAuto = 0;
    long defWhiteBalanceTemperatureAuto = 0;

    int8_t bNoiseReduction = 0;
    long minNoiseReduction = 0;
    long maxNoiseReduction = 0;
    long curNoiseReduction = 0;
    long defNoiseReduction = 0;
    int8_t bNoiseReductionDisabled = 0;

    ExtUnitControl* extUnitControl = nullptr;  // never filled

    bool operator==(const SupportedControl&) const = default;
    int32_t cameraLED = 0;                     // LED type 0, 1 or 2
    long ledIndex = 0;
};

}  // namespace orvella
