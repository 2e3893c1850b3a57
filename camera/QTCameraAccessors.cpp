// The per-control accessors: one query and one set per image control. A query reads the current
// value (GET_CUR over USB, or the control object on the media-device path); a set writes the new
// value, reads it back with its own query and keeps the read-back as the control's current value
// in the SupportedControl record. Controls are described once in the table below; the named
// operations are thin wrappers that add only their control's own rules.

#include <iterator>

#include "camera/ControlCatalog.h"
#include "camera/ControlTable.h"
#include "camera/ControlValues.h"
#include "camera/ModelTables.h"
#include "camera/PanTilt.h"
#include "camera/QTCamera.h"
#include "platform/UvcRequest.h"

namespace orvella {

namespace {

using SC = SupportedControl;

struct Accessor {
    const UvcControl* control;                    // null: not reachable over USB
    int32_t readLength;                           // GET_CUR length of the query
    long SC::*cur;                                // where a set keeps the read-back; null: nowhere
    CMIOControl CMIOControls::*object = nullptr;  // control object on the media-device path
    // The media-device quirk vendor's control objects mishandle one exact value; it is sent
    // nudged slightly below.
    long nudgedValue = 0;
    float nudgedTo = 0;
};

constexpr long kMidScale = 128;
constexpr float kMidScaleNudged = 127.9f;

constexpr Accessor kAutoExposureMode{&controls::AutoExposureMode, 1, &SC::curAutoExposureMode};
constexpr Accessor kExposureTime{&controls::ExposureTimeAbsolute, 4, &SC::curExposureTimeAbsolute,
                                 &CMIOControls::exposure,         0, -0.1f};
// Brightness is read as 4 bytes although the control is 2 bytes wide; only the low 16 bits
// count.
constexpr Accessor kBrightness{&controls::Brightness,     4,         &SC::curBrightness,
                               &CMIOControls::brightness, kMidScale, kMidScaleNudged};
constexpr Accessor kContrast{&controls::Contrast,     2,         &SC::curContrast,
                             &CMIOControls::contrast, kMidScale, kMidScaleNudged};
constexpr Accessor kHue{&controls::Hue,     2,         &SC::curHue,
                        &CMIOControls::hue, kMidScale, kMidScaleNudged};
constexpr Accessor kSaturation{&controls::Saturation,     2,         &SC::curSaturation,
                               &CMIOControls::saturation, kMidScale, kMidScaleNudged};
constexpr Accessor kSharpness{&controls::Sharpness,     2,         &SC::curSharpness,
                              &CMIOControls::sharpness, kMidScale, kMidScaleNudged};
constexpr Accessor kNoiseReduction{
    nullptr, 0, &SC::curNoiseReduction, &CMIOControls::noiseReduction, kMidScale, kMidScaleNudged};
constexpr Accessor kGamma{&controls::Gamma, 2, &SC::curGamma};
constexpr Accessor kWhiteBalanceTemperature{&controls::WhiteBalanceTemperature, 2,
                                            &SC::curWhiteBalanceTemperature};
constexpr Accessor kBacklightCompensation{&controls::BacklightCompensation, 2,
                                          &SC::curBacklightCompensation};
constexpr Accessor kGain{&controls::Gain, 2, &SC::curGain};
constexpr Accessor kPowerLineFrequency{&controls::PowerLineFrequency, 1,
                                       &SC::curPowerLineFrequency};
constexpr Accessor kWhiteBalanceTemperatureAuto{&controls::WhiteBalanceTemperatureAuto, 1,
                                                &SC::curWhiteBalanceTemperatureAuto};
constexpr Accessor kFocusAuto{&controls::FocusAuto, 1, &SC::curFocusAuto};
constexpr Accessor kFocusAbsolute{&controls::FocusAbsolute, 2, &SC::curFocusAbsolute};
constexpr Accessor kZoomAbsolute{&controls::ZoomAbsolute, 2, &SC::curZoomAbsolute};
constexpr Accessor kIrisRelative{&controls::IrisRelative, 1, nullptr};

using Query = IOReturn (QTCamera::*)(long*);

bool onMediaDevice(const QTCamera& camera, const Accessor& accessor) {
    return accessor.object && usesMediaDevice(camera);
}

bool hasMediaDeviceQuirk(const QTCamera& camera) {
    return usesMediaDevice(camera) && camera.vendorID() == models::kVendorBuiltInMediaDevice;
}

CMIOControl* objectOf(QTCamera& camera, const Accessor& accessor) {
    return &(camera.cmioControls().*accessor.object);
}

IOReturn readValue(QTCamera& camera, const Accessor& accessor, long* value) {
    if (!value) return kIOReturnBadArgument;
    *value = 0;
    if (onMediaDevice(camera, accessor)) return camera.getData(value, objectOf(camera, accessor));
    const UvcControl& control = *accessor.control;
    const IOReturn status = camera.getDataFor(uvc::GET_CUR, accessor.readLength, control.selector,
                                              unitOf(camera, control), value);
    if (control.isSigned) *value = signExtend16(*value);
    return status;
}

IOReturn writeValue(QTCamera& camera, const Accessor& accessor, long value) {
    if (onMediaDevice(camera, accessor)) {
        float sent = static_cast<float>(value);
        if (hasMediaDeviceQuirk(camera) && value == accessor.nudgedValue) sent = accessor.nudgedTo;
        return camera.setData(objectOf(camera, accessor), sent);
    }
    const UvcControl& control = *accessor.control;
    return camera.setData(value, control.length, control.selector, unitOf(camera, control));
}

// Reads the control back with its own query and keeps the answer as its current value; the
// status of the read-back is not looked at. The quirk vendor's control objects answer with the
// nudged value, so for them the value asked for is kept instead.
void keepReadBack(QTCamera& camera, const Accessor& accessor, Query query, long asked) {
    long readBack = 0;
    (camera.*query)(&readBack);
    SupportedControl& record = *camera.supportedControl();
    record.*accessor.cur = readBack;
    if (onMediaDevice(camera, accessor) && hasMediaDeviceQuirk(camera))
        record.*accessor.cur = asked;
}

IOReturn writeAndKeep(QTCamera& camera, const Accessor& accessor, Query query, long value) {
    const IOReturn status = writeValue(camera, accessor, value);
    keepReadBack(camera, accessor, query, value);
    return status;
}

// Pan and tilt are written together: the half being set gets the new value, the other its
// current one, each in resolution steps scaled back to device units. The write's status is not
// looked at; a failed read-back is returned and leaves the stored value alone.
IOReturn setPanTiltHalf(QTCamera& camera, const PanTiltHalf& half, long value, Query query) {
    SupportedControl& record = *camera.supportedControl();
    const bool settingPan = half.shift == kPan.shift;
    const long pan = settingPan ? value : record.curPanAbsolute;
    const long tilt = settingPan ? record.curTiltAbsolute : value;
    const UvcControl& control = controls::PanTiltAbsolute;
    camera.setUInt64(packPanTilt(multiplySteps(pan, record.resPanAbsolute),
                                 multiplySteps(tilt, record.resTiltAbsolute)),
                     control.selector, unitOf(camera, control));
    long readBack = 0;
    const IOReturn status = (camera.*query)(&readBack);
    if (status != kIOReturnSuccess) return status;
    record.*half.cur = divideSteps(readBack, resolutionOf(record.*half.res));
    return status;
}

IOReturn queryPanTiltHalf(QTCamera& camera, const PanTiltHalf& half, long* value) {
    if (!value) return kIOReturnBadArgument;
    const UvcControl& control = controls::PanTiltAbsolute;
    uint64_t both = 0;
    const IOReturn status =
        camera.getUInt64(uvc::GET_CUR, control.selector, unitOf(camera, control), &both);
    *value = panTiltHalf(both, half);
    return status;
}

// Motor steps. The relative motor camera moves while its relative pan/tilt control holds a
// direction, so each step is a start, a pause and a stop.
struct RelativeMotorStep {
    long value;  // pan direction, pan speed, tilt direction, tilt speed (little-endian bytes)
    uint32_t pauseMicroseconds;
};

constexpr RelativeMotorStep kRelativeMotorSteps[] = {
    {0x00010000, 40000},  // tilt +1
    {0x00FF0000, 40000},  // tilt -1
    {0x00000001, 20000},  // pan +1
    {0x000000FF, 20000},  // pan -1
};
constexpr long kRelativeMotorStop = 0;

// Other motor cameras take a step of 128 in pan (bytes 0-1) or tilt (bytes 2-3) on their motor
// extension unit, and one more direction that recentres both.
constexpr long kMotorSteps[] = {
    0xFF800000,  // tilt -128
    0x00800000,  // tilt +128
    0x00000080,  // pan +128
    0x0000FF80,  // pan -128
};
constexpr long kMotorResetDirection = 4;
constexpr long kMotorResetPanAndTilt = 3;

// LED index as the user picks it -> LED mode of the device.
constexpr long kLedModeOff = 0;
constexpr long kLedModeOn = 1;
constexpr long kLedModeAuto = 3;  // blinking / automatic

long ledMode(long index) {
    switch (index) {
        case 1:
            return kLedModeOn;
        case 2:
            return kLedModeOff;
        default:
            return kLedModeAuto;
    }
}

constexpr IOReturn kLedUnsupported = ioReturn(0xFFFFFFFF);
constexpr uint32_t kLedDoubleWritePause = 100000;

// The 5-byte LED request of LED type 2 cameras, built by hand.
IOReturn sendLedRequest(QTCamera& camera, const models::LedType2Unit& unit, long mode) {
    const UvcControl& control = controls::LedType2;
    uint8_t data[5] = {0x01, static_cast<uint8_t>(mode), 0x01, 0x00, unit.rate};
    static_assert(sizeof data == controls::LedType2.length);
    platform::ControlRequest request = uvc::setCurRequest(
        {static_cast<uint8_t>(unit.unit), control.selector, camera.interfaceNumber}, control.length,
        data);
    return camera.sendControlRequest(request);
}

}  // namespace

// ---- The plain pairs ----

IOReturn QTCamera::queryAutoExposureMode(long* value) {
    return readValue(*this, kAutoExposureMode, value);
}
IOReturn QTCamera::setAutoExposureMode(long value) {
    return writeAndKeep(*this, kAutoExposureMode, &QTCamera::queryAutoExposureMode, value);
}
IOReturn QTCamera::queryContrast(long* value) {
    return readValue(*this, kContrast, value);
}
IOReturn QTCamera::setContrast(long value) {
    return writeAndKeep(*this, kContrast, &QTCamera::queryContrast, value);
}
IOReturn QTCamera::querySaturation(long* value) {
    return readValue(*this, kSaturation, value);
}
IOReturn QTCamera::setSaturation(long value) {
    return writeAndKeep(*this, kSaturation, &QTCamera::querySaturation, value);
}
IOReturn QTCamera::querySharpness(long* value) {
    return readValue(*this, kSharpness, value);
}
IOReturn QTCamera::setSharpness(long value) {
    return writeAndKeep(*this, kSharpness, &QTCamera::querySharpness, value);
}
IOReturn QTCamera::queryGamma(long* value) {
    return readValue(*this, kGamma, value);
}
IOReturn QTCamera::setGamma(long value) {
    return writeAndKeep(*this, kGamma, &QTCamera::queryGamma, value);
}
IOReturn QTCamera::queryWhiteBalanceTemperature(long* value) {
    return readValue(*this, kWhiteBalanceTemperature, value);
}
IOReturn QTCamera::setWhiteBalanceTemperature(long value) {
    return writeAndKeep(*this, kWhiteBalanceTemperature, &QTCamera::queryWhiteBalanceTemperature,
                        value);
}
IOReturn QTCamera::queryBacklightCompensation(long* value) {
    return readValue(*this, kBacklightCompensation, value);
}
IOReturn QTCamera::setBacklightCompensation(long value) {
    return writeAndKeep(*this, kBacklightCompensation, &QTCamera::queryBacklightCompensation,
                        value);
}
IOReturn QTCamera::queryGain(long* value) {
    return readValue(*this, kGain, value);
}
IOReturn QTCamera::setGain(long value) {
    return writeAndKeep(*this, kGain, &QTCamera::queryGain, value);
}
IOReturn QTCamera::queryPowerLineFrequency(long* value) {
    return readValue(*this, kPowerLineFrequency, value);
}
IOReturn QTCamera::setPowerLineFrequency(long value) {
    return writeAndKeep(*this, kPowerLineFrequency, &QTCamera::queryPowerLineFrequency, value);
}
IOReturn QTCamera::queryWhiteBalanceTemperatureAuto(long* value) {
    return readValue(*this, kWhiteBalanceTemperatureAuto, value);
}
IOReturn QTCamera::setWhiteBalanceTemperatureAuto(long value) {
    return writeAndKeep(*this, kWhiteBalanceTemperatureAuto,
                        &QTCamera::queryWhiteBalanceTemperatureAuto, value);
}
IOReturn QTCamera::queryFocusAuto(long* value) {
    return readValue(*this, kFocusAuto, value);
}
IOReturn QTCamera::setFocusAuto(long value) {
    return writeAndKeep(*this, kFocusAuto, &QTCamera::queryFocusAuto, value);
}

// ---- Pairs with rules of their own ----

// Exposure-knob cameras present a knob position; the device holds a time.
IOReturn QTCamera::queryExposureTimeAbsolute(long* value) {
    const IOReturn status = readValue(*this, kExposureTime, value);
    if (value && models::isExposureKnobCamera(_vendorID, _productID))
        *value = MSLifeCamKnobFromExposureTime(*value);
    return status;
}
IOReturn QTCamera::setExposureTimeAbsolute(long value) {
    const long time = models::isExposureKnobCamera(_vendorID, _productID)
                          ? MSLifeCamExposureTimeFromKnob(value)
                          : value;
    return writeAndKeep(*this, kExposureTime, &QTCamera::queryExposureTimeAbsolute, time);
}

IOReturn QTCamera::queryBrightness(long* value) {
    return readValue(*this, kBrightness, value);
}
IOReturn QTCamera::setBrightness(long value) {
    const IOReturn status = writeValue(*this, kBrightness, value);
    usleep(50000);  // the value settles before it reads back right
    keepReadBack(*this, kBrightness, &QTCamera::queryBrightness, value);
    return status;
}

// Hue is presented in steps of its resolution.
IOReturn QTCamera::queryHue(long* value) {
    const IOReturn status = readValue(*this, kHue, value);
    if (value) *value = divideSteps(*value, resolutionOf(_supportedControl.resHue));
    return status;
}
IOReturn QTCamera::setHue(long value) {
    const long scaled =
        static_cast<int16_t>(multiplySteps(value, static_cast<int32_t>(_supportedControl.resHue)));
    const IOReturn status = writeValue(*this, kHue, scaled);
    keepReadBack(*this, kHue, &QTCamera::queryHue, value);
    return status;
}

// Motor-focus cameras cannot report their focus: the last value set stands for it.
IOReturn QTCamera::queryFocusAbsolute(long* value) {
    if (!models::isExtensionUnitFocusCamera(_vendorID, _productID))
        return readValue(*this, kFocusAbsolute, value);
    if (!value) return kIOReturnBadArgument;
    *value = _supportedControl.curFocusAbsolute;
    return kIOReturnSuccess;
}
IOReturn QTCamera::setFocusAbsolute(long value) {
    if (!models::isExtensionUnitFocusCamera(_vendorID, _productID))
        return writeAndKeep(*this, kFocusAbsolute, &QTCamera::queryFocusAbsolute, value);
    const UvcControl& motor = controls::MotorFocus;
    const IOReturn status = setData(value, motor.length, motor.selector, motor.fixedUnit);
    _supportedControl.curFocusAbsolute = value;
    return status;
}

IOReturn QTCamera::queryZoomAbsolute(long* value) {
    return readValue(*this, kZoomAbsolute, value);
}
IOReturn QTCamera::setZoomAbsolute(long value) {
    writeValue(*this, kZoomAbsolute, value);  // the read-back's status is the one that counts
    long readBack = 0;
    const IOReturn status = queryZoomAbsolute(&readBack);
    _supportedControl.curZoomAbsolute = readBack;
    return status;
}

// The pan and tilt queries return device units; the sets and the record work in steps.
IOReturn QTCamera::queryPanAbsolute(long* value) {
    return queryPanTiltHalf(*this, kPan, value);
}
IOReturn QTCamera::setPanAbsolute(long value) {
    return setPanTiltHalf(*this, kPan, value, &QTCamera::queryPanAbsolute);
}
IOReturn QTCamera::queryTiltAbsolute(long* value) {
    return queryPanTiltHalf(*this, kTilt, value);
}
IOReturn QTCamera::setTiltAbsolute(long value) {
    return setPanTiltHalf(*this, kTilt, value, &QTCamera::queryTiltAbsolute);
}

// Iris (relative) is a one-shot step: nothing to keep.
IOReturn QTCamera::queryIrisRelative(long* value) {
    return readValue(*this, kIrisRelative, value);
}
IOReturn QTCamera::setIrisRelative(long value) {
    writeValue(*this, kIrisRelative, value);
    long readBack = 0;
    return queryIrisRelative(&readBack);
}

// Noise reduction exists only as a media-device control object.
IOReturn QTCamera::queryNoiseReduction(long* value) {
    if (usesMediaDevice(*this)) return readValue(*this, kNoiseReduction, value);
    if (value) *value = 0;
    return kIOReturnError;
}
IOReturn QTCamera::setNoiseReduction(long value) {
    if (usesMediaDevice(*this))
        return writeAndKeep(*this, kNoiseReduction, &QTCamera::queryNoiseReduction, value);
    keepReadBack(*this, kNoiseReduction, &QTCamera::queryNoiseReduction, value);
    return kIOReturnError;
}

// ---- Motor and LED ----

IOReturn QTCamera::setPTZ(long direction) {
    if (models::isRelativePanTiltMotorCamera(_productID)) {
        // This camera knows only the four directions.
        if (direction < 0 || direction >= static_cast<long>(std::size(kRelativeMotorSteps)))
            return kIOReturnBadArgument;
        const RelativeMotorStep& step = kRelativeMotorSteps[direction];
        const UvcControl& control = controls::PanTiltRelative;
        const int32_t unit = unitOf(*this, control);
        setData(step.value, control.length, control.selector, unit);
        usleep(step.pauseMicroseconds);
        return setData(kRelativeMotorStop, control.length, control.selector, unit);
    }
    if (direction >= 0 && direction < static_cast<long>(std::size(kMotorSteps))) {
        const UvcControl& control = controls::MotorPanTiltStep;
        return setData(kMotorSteps[direction], control.length, control.selector, control.fixedUnit);
    }
    if (direction == kMotorResetDirection) {
        const UvcControl& control = controls::MotorReset;
        return setData(kMotorResetPanAndTilt, control.length, control.selector, control.fixedUnit);
    }
    return kIOReturnSuccess;
}

IOReturn QTCamera::setLEDIndex(long index) {
    const long mode = ledMode(index);
    IOReturn status;
    switch (_supportedControl.cameraLED) {
        case 1: {
            const UvcControl& control = controls::LedType1;
            status = setData(mode, control.length, control.selector, control.fixedUnit);
            break;
        }
        case 2: {
            const models::LedType2Unit unit = models::ledType2Unit(_productID);
            if (models::isLedDoubleWriteCamera(_productID) && mode != kLedModeOff) {
                // These switch on only when told "automatic" first and "on" a moment later.
                status = sendLedRequest(*this, unit, kLedModeAuto);
                if (mode == kLedModeOn) {
                    usleep(kLedDoubleWritePause);
                    status = sendLedRequest(*this, unit, kLedModeOn);
                }
            } else {
                status = sendLedRequest(*this, unit, mode);
            }
            break;
        }
        default:
            return kLedUnsupported;
    }
    _supportedControl.ledIndex = index;
    return status;
}

namespace {

struct NamedAccessors {
    IOReturn (QTCamera::*query)(long*);
    IOReturn (QTCamera::*set)(long);
};

// The named accessors by setting identifier.
constexpr NamedAccessors kNamed[] = {
    {},
    {&QTCamera::queryAutoExposureMode, &QTCamera::setAutoExposureMode},
    {},
    {&QTCamera::queryExposureTimeAbsolute, &QTCamera::setExposureTimeAbsolute},
    {&QTCamera::queryBrightness, &QTCamera::setBrightness},
    {&QTCamera::queryContrast, &QTCamera::setContrast},
    {&QTCamera::queryHue, &QTCamera::setHue},
    {&QTCamera::querySaturation, &QTCamera::setSaturation},
    {&QTCamera::querySharpness, &QTCamera::setSharpness},
    {&QTCamera::queryGamma, &QTCamera::setGamma},
    {&QTCamera::queryWhiteBalanceTemperatureAuto, &QTCamera::setWhiteBalanceTemperatureAuto},
    {&QTCamera::queryWhiteBalanceTemperature, &QTCamera::setWhiteBalanceTemperature},
    {&QTCamera::queryPowerLineFrequency, &QTCamera::setPowerLineFrequency},
    {&QTCamera::queryBacklightCompensation, &QTCamera::setBacklightCompensation},
    {&QTCamera::queryGain, &QTCamera::setGain},
    {&QTCamera::queryFocusAuto, &QTCamera::setFocusAuto},
    {&QTCamera::queryFocusAbsolute, &QTCamera::setFocusAbsolute},
    {&QTCamera::queryZoomAbsolute, &QTCamera::setZoomAbsolute},
    {&QTCamera::queryPanAbsolute, &QTCamera::setPanAbsolute},
    {&QTCamera::queryTiltAbsolute, &QTCamera::setTiltAbsolute},
    {&QTCamera::queryIrisRelative, &QTCamera::setIrisRelative},
    {&QTCamera::queryNoiseReduction, &QTCamera::setNoiseReduction},
    {nullptr, &QTCamera::setLEDIndex},
};

}  // namespace

IOReturn QTCamera::queryControl(const ControlDescription& control, long* value) {
    if (control.id < 0 || control.id >= static_cast<int32_t>(std::size(kNamed)) ||
        !kNamed[control.id].query)
        return kIOReturnBadArgument;
    return (this->*kNamed[control.id].query)(value);
}

IOReturn QTCamera::setControl(const ControlDescription& control, long value) {
    if (control.id < 0 || control.id >= static_cast<int32_t>(std::size(kNamed)) ||
        !kNamed[control.id].set)
        return kIOReturnBadArgument;
    return (this->*kNamed[control.id].set)(value);
}

}  // namespace orvella
