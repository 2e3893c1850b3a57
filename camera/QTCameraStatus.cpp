// The two bulk operations over every supported control: the status walk (which controls an
// automatic mode currently owns, and their current values) and the reset to defaults. Both visit
// the controls in one fixed order, which puts every automatic mode before the manual value it
// governs, so a reset writes the mode first and then sees the manual control disabled.

#include <iterator>

#include "camera/ControlTable.h"
#include "camera/ControlValues.h"
#include "camera/ModelTables.h"
#include "camera/PanTilt.h"
#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/UvcProtocol.h"

namespace orvella {

namespace {

using SC = SupportedControl;

// What sets a control apart from a plain read or write of its value.
enum class Rule : uint8_t {
    Plain,
    ExposureTime,  // enabled whenever the exposure mode is manual; knob positions; clamped
    Hue,           // kept in resolution steps
    Focus,         // motor-focus cameras use the extension unit; enabled while auto focus is off
    PanTilt,       // pan and tilt share one 8-byte control
};

struct StatusEntry {
    const UvcControl* control;
    int8_t SC::*present;
    int8_t SC::*disabled;  // null: no GET_INFO test
    long SC::*cur;
    long SC::*def;             // null: the reset writes 0
    const char* valueName;     // logged as "    <name> = <value>"
    const char* disabledName;  // logged as "    <name>" while disabled
    Rule rule = Rule::Plain;
    // The one camera that reports this control disabled although it works is told otherwise.
    bool falseAutoModeDisable = false;
};

constexpr StatusEntry kStatusOrder[] = {
    {&controls::AutoExposureMode, &SC::bAutoExposureMode, nullptr, &SC::curAutoExposureMode,
     &SC::defAutoExposureMode, "AutoExposureMode", nullptr},
    // Reset always turns the priority off rather than writing a default (none is probed).
    {&controls::AutoExposurePriority, &SC::bAutoExposurePriority, nullptr,
     &SC::curAutoExposurePriority, nullptr, "AutoExposurePriority", nullptr},
    {&controls::ExposureTimeAbsolute, &SC::bExposureTimeAbsolute,
     &SC::bExposureTimeAbsoluteDisabled, &SC::curExposureTimeAbsolute, &SC::defExposureTimeAbsolute,
     "ExposureTimeAbsolute", "bExposureTimeAbsoluteDisabled", Rule::ExposureTime},
    {&controls::Brightness, &SC::bBrightness, &SC::bBrightnessDisabled, &SC::curBrightness,
     &SC::defBrightness, "Brightness", "bBrightnessDisabled", Rule::Plain, true},
    {&controls::Contrast, &SC::bContrast, &SC::bContrastDisabled, &SC::curContrast,
     &SC::defContrast, "Contrast", "bContrastDisabled"},
    {&controls::Hue, &SC::bHue, &SC::bHueDisabled, &SC::curHue, &SC::defHue, "Hue", "bHueDisabled",
     Rule::Hue},
    {&controls::Saturation, &SC::bSaturation, &SC::bSaturationDisabled, &SC::curSaturation,
     &SC::defSaturation, "Saturation", "bSaturationDisabled"},
    {&controls::Sharpness, &SC::bSharpness, &SC::bSharpnessDisabled, &SC::curSharpness,
     &SC::defSharpness, "Sharpness", "bSharpnessDisabled"},
    {&controls::Gamma, &SC::bGamma, &SC::bGammaDisabled, &SC::curGamma, &SC::defGamma, "Gamma",
     "bGammaDisabled"},
    {&controls::WhiteBalanceTemperatureAuto, &SC::bWhiteBalanceTemperatureAuto, nullptr,
     &SC::curWhiteBalanceTemperatureAuto, &SC::defWhiteBalanceTemperatureAuto,
     "WhiteBalanceTemperatureAuto", nullptr},
    {&controls::WhiteBalanceTemperature, &SC::bWhiteBalanceTemperature,
     &SC::bWhiteBalanceTemperatureDisabled, &SC::curWhiteBalanceTemperature,
     &SC::defWhiteBalanceTemperature, "WhiteBalanceTemperature",
     "bWhiteBalanceTemperatureDisabled"},
    {&controls::PowerLineFrequency, &SC::bPowerLineFrequency, nullptr, &SC::curPowerLineFrequency,
     &SC::defPowerLineFrequency, "PowerLineFrequency", nullptr},
    {&controls::BacklightCompensation, &SC::bBacklightCompensation,
     &SC::bBacklightCompensationDisabled, &SC::curBacklightCompensation,
     &SC::defBacklightCompensation, "BacklightCompensation", "bBacklightCompensationDisabled",
     Rule::Plain, true},
    {&controls::Gain, &SC::bGain, &SC::bGainDisabled, &SC::curGain, &SC::defGain, "Gain",
     "bGainDisabled"},
    {&controls::FocusAuto, &SC::bFocusAuto, nullptr, &SC::curFocusAuto, &SC::defFocusAuto,
     "FocusAuto", nullptr},
    {&controls::FocusAbsolute, &SC::bFocusAbsolute, &SC::bFocusAbsoluteDisabled,
     &SC::curFocusAbsolute, &SC::defFocusAbsolute, "FocusAbsolute", "bFocusAbsoluteDisabled",
     Rule::Focus},
    // The "cur" in the zoom's log name is part of the trace as it has always read.
    {&controls::ZoomAbsolute, &SC::bZoomAbsolute, &SC::bZoomAbsoluteDisabled, &SC::curZoomAbsolute,
     &SC::defZoomAbsolute, "curZoomAbsolute", "bZoomAbsoluteDisabled"},
    {&controls::PanTiltAbsolute, &SC::bPanTiltAbsolute, &SC::bPanTiltAbsoluteDisabled, nullptr,
     nullptr, nullptr, "bPanTiltAbsoluteDisabled", Rule::PanTilt},
};

constexpr long kAutoExposureModeManual = 1;

// The media-device path: the seven controls that have a control object, in walk order.
struct MediaStatusEntry {
    int8_t SC::*present;
    int8_t SC::*disabled;
    CMIOControl CMIOControls::*object;
};

constexpr MediaStatusEntry kMediaStatusOrder[] = {
    {&SC::bExposureTimeAbsolute, &SC::bExposureTimeAbsoluteDisabled, &CMIOControls::exposure},
    {&SC::bBrightness, &SC::bBrightnessDisabled, &CMIOControls::brightness},
    {&SC::bContrast, &SC::bContrastDisabled, &CMIOControls::contrast},
    {&SC::bHue, &SC::bHueDisabled, &CMIOControls::hue},
    {&SC::bSaturation, &SC::bSaturationDisabled, &CMIOControls::saturation},
    {&SC::bSharpness, &SC::bSharpnessDisabled, &CMIOControls::sharpness},
    {&SC::bNoiseReduction, &SC::bNoiseReductionDisabled, &CMIOControls::noiseReduction},
};

// The query accessors of the same controls, for reading their values.
constexpr IOReturn (QTCamera::*kMediaQueries[])(long*) = {&QTCamera::queryExposureTimeAbsolute,
                                                          &QTCamera::queryBrightness,
                                                          &QTCamera::queryContrast,
                                                          &QTCamera::queryHue,
                                                          &QTCamera::querySaturation,
                                                          &QTCamera::querySharpness,
                                                          &QTCamera::queryNoiseReduction};
static_assert(std::size(kMediaQueries) == std::size(kMediaStatusOrder));

constexpr long SC::*kMediaValues[] = {
    &SC::curExposureTimeAbsolute, &SC::curBrightness, &SC::curContrast,      &SC::curHue,
    &SC::curSaturation,           &SC::curSharpness,  &SC::curNoiseReduction};
static_assert(std::size(kMediaValues) == std::size(kMediaStatusOrder));

struct MediaDefaultEntry {
    int8_t SC::*present;
    long SC::*def;
    IOReturn (QTCamera::*set)(long);
};

constexpr MediaDefaultEntry kMediaDefaultOrder[] = {
    {&SC::bExposureTimeAbsolute, &SC::defExposureTimeAbsolute, &QTCamera::setExposureTimeAbsolute},
    {&SC::bBrightness, &SC::defBrightness, &QTCamera::setBrightness},
    {&SC::bContrast, &SC::defContrast, &QTCamera::setContrast},
    {&SC::bHue, &SC::defHue, &QTCamera::setHue},
    {&SC::bSaturation, &SC::defSaturation, &QTCamera::setSaturation},
    // Sharpness is reset to the brightness default, not its own. Users' cameras have always been
    // reset this way; keep it.
    {&SC::bSharpness, &SC::defBrightness, &QTCamera::setSharpness},
    {&SC::bNoiseReduction, &SC::defNoiseReduction, &QTCamera::setNoiseReduction},
};

// Reads GET_INFO and tells whether an automatic mode owns the control. The status is not
// checked: a failed read delivers 0, which reads as enabled.
bool disabledByAutoMode(QTCamera& camera, const UvcControl& control) {
    long info = 0;
    camera.getDataFor(uvc::GET_INFO, 1, control.selector, unitOf(camera, control), &info);
    return (info & uvc::kInfoDisabledByAutoMode) != 0;
}

// Reads the GET_INFO test of a control, applies the overrides of the status walk when asked,
// stores the disabled flag and logs it. Returns whether the control is disabled.
bool testDisabled(QTCamera& camera, const StatusEntry& entry, bool applyOverrides) {
    SupportedControl& record = *camera.supportedControl();
    bool disabled = disabledByAutoMode(camera, *entry.control);
    if (applyOverrides) {
        // Under manual exposure some cameras still flag the exposure time as owned by the
        // automatic mode; the same goes for focus with auto focus off.
        if (entry.rule == Rule::ExposureTime &&
            record.curAutoExposureMode == kAutoExposureModeManual)
            disabled = false;
        if (entry.rule == Rule::Focus && record.curFocusAuto == 0) disabled = false;
        if (entry.falseAutoModeDisable &&
            models::reportsFalseAutoModeDisable(camera.vendorID(), camera.productID()))
            disabled = false;
    }
    record.*entry.disabled = disabled ? 1 : 0;
    if (disabled) NSLog("    %s", entry.disabledName);
    return disabled;
}

void readPanTilt(QTCamera& camera, const StatusEntry& entry) {
    SupportedControl& record = *camera.supportedControl();
    uint64_t value = 0;
    camera.getUInt64(uvc::GET_CUR, entry.control->selector, unitOf(camera, *entry.control), &value);
    for (const PanTiltHalf& half : kPanTiltHalves)
        record.*half.cur = divideSteps(panTiltHalf(value, half), resolutionOf(record.*half.res));
    NSLog("    PanAbsolute = %ld, TiltAbsolute = %ld", record.curPanAbsolute,
          record.curTiltAbsolute);
}

void readStatus(QTCamera& camera, const StatusEntry& entry) {
    SupportedControl& record = *camera.supportedControl();
    const UvcControl& control = *entry.control;
    if (entry.rule == Rule::Focus &&
        models::isExtensionUnitFocusCamera(camera.vendorID(), camera.productID())) {
        // The motor focus cannot be read; it is always available.
        record.bFocusAbsoluteDisabled = 0;
        return;
    }
    if (entry.disabled && testDisabled(camera, entry, true)) return;  // keeps its current value
    if (entry.rule == Rule::PanTilt) {
        readPanTilt(camera, entry);
        return;
    }

    long value = 0;
    camera.getDataFor(uvc::GET_CUR, control.length, control.selector, unitOf(camera, control),
                      &value);
    if (control.isSigned) value = signExtend16(value);
    long stored = value;
    switch (entry.rule) {
        case Rule::ExposureTime:
            if (models::isExposureKnobCamera(camera.vendorID(), camera.productID()))
                stored = QTCamera::MSLifeCamKnobFromExposureTime(stored);
            if (stored < record.minExposureTimeAbsolute)
                stored = record.minExposureTimeAbsolute;
            else if (stored > record.maxExposureTimeAbsolute)
                stored = record.maxExposureTimeAbsolute;
            value = stored;
            break;
        case Rule::Hue:
            // Kept in resolution steps; the log shows the device's own value.
            stored = divideSteps(value, resolutionOf(record.resHue));
            break;
        default:
            break;
    }
    record.*entry.cur = stored;
    NSLog("    %s = %ld", entry.valueName, value);
}

void writeDefault(QTCamera& camera, const StatusEntry& entry) {
    SupportedControl& record = *camera.supportedControl();
    const UvcControl& control = *entry.control;
    long value = entry.def ? record.*entry.def : 0;
    if (entry.rule == Rule::Focus &&
        models::isExtensionUnitFocusCamera(camera.vendorID(), camera.productID())) {
        camera.setData(value, controls::MotorFocus.length, controls::MotorFocus.selector,
                       unitOf(camera, controls::MotorFocus));
        record.curFocusAbsolute = value;
        return;
    }
    if (entry.disabled && testDisabled(camera, entry, false)) return;
    const int32_t unit = unitOf(camera, control);
    switch (entry.rule) {
        case Rule::PanTilt:
            camera.setUInt64(
                packPanTilt(multiplySteps(record.defPanAbsolute, record.resPanAbsolute),
                            multiplySteps(record.defTiltAbsolute, record.resTiltAbsolute)),
                control.selector, unit);
            return;
        case Rule::Hue:
            value = multiplySteps(value, record.resHue);
            break;
        default:
            break;
    }
    camera.setData(value, control.length, control.selector, unit);
}

}  // namespace

SupportedControl* QTCamera::queryControlStatus() {
    if (usesMediaDevice(*this)) {
        for (const MediaStatusEntry& entry : kMediaStatusOrder) {
            if (!(_supportedControl.*entry.present)) continue;
            bool disabled = false;
            getStatusFromCMIOControl(&(_cmioControls.*entry.object), &disabled);
            _supportedControl.*entry.disabled = disabled ? 1 : 0;
        }
        return &_supportedControl;
    }

    for (const StatusEntry& entry : kStatusOrder)
        if (_supportedControl.*entry.present) readStatus(*this, entry);
    if (_vendorID == models::kVendorLogitech)
        _supportedControl.cameraLED = models::ledType(_productID);
    return &_supportedControl;
}

SupportedControl* QTCamera::readCurrentValues() {
    queryControlStatus();
    if (!usesMediaDevice(*this)) return &_supportedControl;
    for (size_t i = 0; i < std::size(kMediaStatusOrder); ++i) {
        if (!(_supportedControl.*kMediaStatusOrder[i].present)) continue;
        long value = 0;
        if ((this->*kMediaQueries[i])(&value) == kIOReturnSuccess)
            _supportedControl.*kMediaValues[i] = value;
    }
    return &_supportedControl;
}

void QTCamera::setDefaults() {
    if (usesMediaDevice(*this)) {
        for (const MediaDefaultEntry& entry : kMediaDefaultOrder)
            if (_supportedControl.*entry.present) (this->*entry.set)(_supportedControl.*entry.def);
        return;
    }
    for (const StatusEntry& entry : kStatusOrder)
        if (_supportedControl.*entry.present) writeDefault(*this, entry);
}

}  // namespace orvella
