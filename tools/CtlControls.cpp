#include "tools/CtlControls.h"

#include <algorithm>
#include <cctype>

namespace orvella::tools {

namespace {

using C = QTCamera;
using S = SupportedControl;

// The widths of the controls' values (camera/ControlTable.h).
constexpr long kS16Min = -32768, kS16Max = 32767, kU16Max = 65535, kU8Max = 255;
constexpr long kS32Min = -2147483648L, kS32Max = 2147483647L, kU32Max = 4294967295L;

constexpr CtlControl kControls[] = {
    {"Brightness", &C::queryBrightness, &C::setBrightness, &S::bBrightness, &S::curBrightness,
     &S::minBrightness, &S::maxBrightness, &S::defBrightness, &S::bBrightnessDisabled, kS16Min,
     kS16Max},
    {"Contrast", &C::queryContrast, &C::setContrast, &S::bContrast, &S::curContrast,
     &S::minContrast, &S::maxContrast, &S::defContrast, &S::bContrastDisabled, 0, kU16Max},
    {"Hue", &C::queryHue, &C::setHue, &S::bHue, &S::curHue, &S::minHue, &S::maxHue, &S::defHue,
     &S::bHueDisabled, kS16Min, kS16Max, &S::resHue},
    {"Saturation", &C::querySaturation, &C::setSaturation, &S::bSaturation, &S::curSaturation,
     &S::minSaturation, &S::maxSaturation, &S::defSaturation, &S::bSaturationDisabled, 0, kU16Max},
    {"Sharpness", &C::querySharpness, &C::setSharpness, &S::bSharpness, &S::curSharpness,
     &S::minSharpness, &S::maxSharpness, &S::defSharpness, &S::bSharpnessDisabled, 0, kU16Max},
    {"Gamma", &C::queryGamma, &C::setGamma, &S::bGamma, &S::curGamma, &S::minGamma, &S::maxGamma,
     &S::defGamma, &S::bGammaDisabled, 0, kU16Max},
    {"Gain", &C::queryGain, &C::setGain, &S::bGain, &S::curGain, &S::minGain, &S::maxGain,
     &S::defGain, &S::bGainDisabled, 0, kU16Max},
    {"BacklightCompensation", &C::queryBacklightCompensation, &C::setBacklightCompensation,
     &S::bBacklightCompensation, &S::curBacklightCompensation, &S::minBacklightCompensation,
     &S::maxBacklightCompensation, &S::defBacklightCompensation, &S::bBacklightCompensationDisabled,
     0, kU16Max},
    {"PowerLineFrequency", &C::queryPowerLineFrequency, &C::setPowerLineFrequency,
     &S::bPowerLineFrequency, &S::curPowerLineFrequency, nullptr, nullptr,
     &S::defPowerLineFrequency, nullptr, 0, kU8Max},
    {"WhiteBalanceTemperature", &C::queryWhiteBalanceTemperature, &C::setWhiteBalanceTemperature,
     &S::bWhiteBalanceTemperature, &S::curWhiteBalanceTemperature, &S::minWhiteBalanceTemperature,
     &S::maxWhiteBalanceTemperature, &S::defWhiteBalanceTemperature,
     &S::bWhiteBalanceTemperatureDisabled, 0, kU16Max},
    {"WhiteBalanceTemperatureAuto", &C::queryWhiteBalanceTemperatureAuto,
     &C::setWhiteBalanceTemperatureAuto, &S::bWhiteBalanceTemperatureAuto,
     &S::curWhiteBalanceTemperatureAuto, nullptr, nullptr, &S::defWhiteBalanceTemperatureAuto,
     nullptr, 0, kU8Max},
    {"AutoExposureMode", &C::queryAutoExposureMode, &C::setAutoExposureMode, &S::bAutoExposureMode,
     &S::curAutoExposureMode, nullptr, nullptr, &S::defAutoExposureMode, nullptr, 0, kU8Max},
    {"ExposureTimeAbsolute", &C::queryExposureTimeAbsolute, &C::setExposureTimeAbsolute,
     &S::bExposureTimeAbsolute, &S::curExposureTimeAbsolute, &S::minExposureTimeAbsolute,
     &S::maxExposureTimeAbsolute, &S::defExposureTimeAbsolute, &S::bExposureTimeAbsoluteDisabled, 0,
     kU32Max},
    {"FocusAuto", &C::queryFocusAuto, &C::setFocusAuto, &S::bFocusAuto, &S::curFocusAuto, nullptr,
     nullptr, &S::defFocusAuto, nullptr, 0, kU8Max},
    {"FocusAbsolute", &C::queryFocusAbsolute, &C::setFocusAbsolute, &S::bFocusAbsolute,
     &S::curFocusAbsolute, &S::minFocusAbsolute, &S::maxFocusAbsolute, &S::defFocusAbsolute,
     &S::bFocusAbsoluteDisabled, 0, kU16Max},
    {"ZoomAbsolute", &C::queryZoomAbsolute, &C::setZoomAbsolute, &S::bZoomAbsolute,
     &S::curZoomAbsolute, &S::minZoomAbsolute, &S::maxZoomAbsolute, &S::defZoomAbsolute,
     &S::bZoomAbsoluteDisabled, 0, kU16Max},
    // Pan and tilt: the record counts resolution steps, the query answers device units.
    {"PanAbsolute", &C::queryPanAbsolute, &C::setPanAbsolute, &S::bPanTiltAbsolute,
     &S::curPanAbsolute, &S::minPanAbsolute, &S::maxPanAbsolute, &S::defPanAbsolute,
     &S::bPanTiltAbsoluteDisabled, kS32Min, kS32Max, &S::resPanAbsolute},
    {"TiltAbsolute", &C::queryTiltAbsolute, &C::setTiltAbsolute, &S::bPanTiltAbsolute,
     &S::curTiltAbsolute, &S::minTiltAbsolute, &S::maxTiltAbsolute, &S::defTiltAbsolute,
     &S::bPanTiltAbsoluteDisabled, kS32Min, kS32Max, &S::resTiltAbsolute},
    // A relative control: the value is a step, and nothing is kept in the record.
    {"IrisRelative", &C::queryIrisRelative, &C::setIrisRelative, &S::bIrisRelative, nullptr,
     nullptr, nullptr, nullptr, nullptr, -128, 127},
    {"NoiseReduction", &C::queryNoiseReduction, &C::setNoiseReduction, &S::bNoiseReduction,
     &S::curNoiseReduction, &S::minNoiseReduction, &S::maxNoiseReduction, &S::defNoiseReduction,
     &S::bNoiseReductionDisabled},
    // The LED cannot be read from the camera; the last index set is what the record holds.
    {"LEDIndex", nullptr, &C::setLEDIndex, nullptr, &S::ledIndex, nullptr, nullptr, nullptr,
     nullptr},
};

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

}  // namespace

std::span<const CtlControl> ctlControls() {
    return kControls;
}

const CtlControl* findCtlControl(std::string_view key) {
    for (const CtlControl& control : kControls)
        if (equalsIgnoringCase(control.key, key)) return &control;
    return nullptr;
}

ValueRange writableRange(const CtlControl& control, const SupportedControl& record) {
    ValueRange range{control.lowest, control.highest};
    // Steps of a resolution: the bytes carry the value times the resolution.
    if (control.res && record.*control.res > 1) {
        range.lowest /= record.*control.res;
        range.highest /= record.*control.res;
    }
    if (control.min && control.max) {
        const long min = record.*control.min, max = record.*control.max;
        if ((min != 0 || max != 0) && min <= max) {
            range.lowest = std::clamp(min, range.lowest, range.highest);
            range.highest = std::clamp(max, range.lowest, range.highest);
        }
    }
    return range;
}

bool isSupported(const CtlControl& control, const SupportedControl& record) {
    if (!control.supported) return record.cameraLED != 0;
    return record.*control.supported != 0;
}

IOReturn readControl(QTCamera& camera, const CtlControl& control, long* value) {
    if (control.query) return (camera.*control.query)(value);
    *value = control.cur ? camera.supportedControl()->*control.cur : 0;
    return kIOReturnSuccess;
}

}  // namespace orvella::tools
