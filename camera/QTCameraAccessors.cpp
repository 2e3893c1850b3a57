// The per-control accessors: one query and one set for any row of the control catalog. A query
// reads the current value (GET_CUR over USB, or the control object on the media-device path); a
// set writes the new value, reads it back with the query and keeps the read-back as the control's
// current value in the SupportedControl record. What sets a control apart (knob positions, hue
// steps, the motor focus, the pan/tilt pair, the relative iris, the zoom's read-back, the LED)
// follows from its row's value rule; the named operations are one-line wrappers.

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

using settings::kAutoExposureMode;
using settings::kBacklightCompensation;
using settings::kBrightness;
using settings::kContrast;
using settings::kExposureTimeAbsolute;
using settings::kFocusAbsolute;
using settings::kFocusAuto;
using settings::kGain;
using settings::kGamma;
using settings::kHue;
using settings::kLED;
using settings::kNoiseReduction;
using settings::kPanAbsolute;
using settings::kPowerLineFrequency;
using settings::kSaturation;
using settings::kSharpness;
using settings::kTiltAbsolute;
using settings::kWhiteBalanceTemperature;
using settings::kWhiteBalanceTemperatureAuto;
using settings::kZoomAbsolute;

const ControlDescription& rowOf(int32_t id) {
    return *catalog::byID(id);
}

// The control is reached over USB (the media-device-only and the LED rows are not).
bool hasUsbControl(const ControlDescription& row) {
    return row.uvc.length != 0;
}

bool onMediaDevice(const QTCamera& camera, const ControlDescription& row) {
    return row.object && usesMediaDevice(camera);
}

bool hasMediaDeviceQuirk(const QTCamera& camera) {
    return usesMediaDevice(camera) && models::hasMediaDeviceValueQuirk(camera.vendorID());
}

CMIOControl* objectOf(QTCamera& camera, const ControlDescription& row) {
    return &(camera.cmioControls().*row.object);
}

IOReturn readValue(QTCamera& camera, const ControlDescription& row, long* value) {
    if (!value) return kIOReturnBadArgument;
    *value = 0;
    if (onMediaDevice(camera, row)) return camera.getData(value, objectOf(camera, row));
    const UvcControl& control = row.uvc;
    const IOReturn status = camera.getDataFor(uvc::GET_CUR, row.readLength, control.selector,
                                              unitOf(camera, control), value);
    if (control.isSigned) *value = signExtend16(*value);
    return status;
}

IOReturn writeValue(QTCamera& camera, const ControlDescription& row, long value) {
    if (onMediaDevice(camera, row)) {
        // The quirk vendor's control objects mishandle one exact value; it is sent nudged.
        float sent = static_cast<float>(value);
        if (hasMediaDeviceQuirk(camera) && value == row.nudgedValue) sent = row.nudgedTo;
        return camera.setData(objectOf(camera, row), sent);
    }
    const UvcControl& control = row.uvc;
    return camera.setData(value, control.length, control.selector, unitOf(camera, control));
}

// Reads the control back with its own query and keeps the answer as its current value; the
// status of the read-back is not looked at. The quirk vendor's control objects answer with the
// nudged value, so for them the value asked for is kept instead.
void keepReadBack(QTCamera& camera, const ControlDescription& row, long asked) {
    long readBack = 0;
    camera.queryControl(row, &readBack);
    if (!row.cur) return;  // a row without a current-value field keeps nothing
    SupportedControl& record = *camera.supportedControl();
    record.*row.cur = readBack;
    if (onMediaDevice(camera, row) && hasMediaDeviceQuirk(camera)) record.*row.cur = asked;
}

// Pan and tilt share one 8-byte control; a row's half is the one its record fields name.
const PanTiltHalf& halfOf(const ControlDescription& row) {
    return row.cur == kTilt.cur ? kTilt : kPan;
}

// Pan and tilt are written together: the half being set gets the new value, the other its
// current one, each in resolution steps scaled back to device units. The write's status is not
// looked at; a failed read-back is returned and leaves the stored value alone.
IOReturn setPanTiltHalf(QTCamera& camera, const ControlDescription& row, long value) {
    SupportedControl& record = *camera.supportedControl();
    const PanTiltHalf& half = halfOf(row);
    const bool settingPan = half.shift == kPan.shift;
    const long pan = settingPan ? value : record.curPanAbsolute;
    const long tilt = settingPan ? record.curTiltAbsolute : value;
    const UvcControl& control = row.uvc;
    camera.setUInt64(packPanTilt(multiplySteps(pan, record.resPanAbsolute),
                                 multiplySteps(tilt, record.resTiltAbsolute)),
                     control.selector, unitOf(camera, control));
    long readBack = 0;
    const IOReturn status = camera.queryControl(row, &readBack);
    if (status != kIOReturnSuccess) return status;
    record.*half.cur = divideSteps(readBack, resolutionOf(record.*half.res));
    return status;
}

// The pan and tilt queries return device units; the sets and the record work in steps.
IOReturn queryPanTiltHalf(QTCamera& camera, const ControlDescription& row, long* value) {
    if (!value) return kIOReturnBadArgument;
    const UvcControl& control = row.uvc;
    uint64_t both = 0;
    const IOReturn status =
        camera.getUInt64(uvc::GET_CUR, control.selector, unitOf(camera, control), &both);
    *value = panTiltHalf(both, halfOf(row));
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

// ---- The generic pair ----

IOReturn QTCamera::queryControl(const ControlDescription& control, long* value) {
    switch (control.rule) {
        case ValueRule::Led:
            return kIOReturnBadArgument;  // the LED is only set
        case ValueRule::PanTilt:
            return queryPanTiltHalf(*this, control, value);
        case ValueRule::Focus:
            // Motor-focus cameras cannot report their focus: the last value set stands for it.
            if (!models::isExtensionUnitFocusCamera(_vendorID, _productID)) break;
            if (!value) return kIOReturnBadArgument;
            *value = _supportedControl.*control.cur;
            return kIOReturnSuccess;
        case ValueRule::ExposureTime: {
            // Exposure-knob cameras present a knob position; the device holds a time.
            const IOReturn status = readValue(*this, control, value);
            if (value && models::isExposureKnobCamera(_vendorID, _productID))
                *value = MSLifeCamKnobFromExposureTime(*value);
            return status;
        }
        case ValueRule::ResolutionSteps: {
            // Presented in steps of its resolution.
            const IOReturn status = readValue(*this, control, value);
            if (value) *value = divideSteps(*value, resolutionOf(_supportedControl.*control.res));
            return status;
        }
        default:
            break;
    }
    if (!hasUsbControl(control) && !onMediaDevice(*this, control)) {
        // Reached only through a control object this camera does not have.
        if (value) *value = 0;
        return kIOReturnError;
    }
    return readValue(*this, control, value);
}

IOReturn QTCamera::setControl(const ControlDescription& control, long value) {
    switch (control.rule) {
        case ValueRule::Led: {
            const long mode = ledMode(value);
            IOReturn status;
            switch (_supportedControl.cameraLED) {
                case 1: {
                    const UvcControl& led = controls::LedType1;
                    status = setData(mode, led.length, led.selector, led.fixedUnit);
                    break;
                }
                case 2: {
                    const models::LedType2Unit unit = models::ledType2Unit(_productID);
                    if (models::isLedDoubleWriteCamera(_productID) && mode != kLedModeOff) {
                        // These switch on only when told "automatic" first and "on" a moment
                        // later.
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
            _supportedControl.ledIndex = value;
            return status;
        }
        case ValueRule::PanTilt:
            return setPanTiltHalf(*this, control, value);
        case ValueRule::Focus:
            if (!models::isExtensionUnitFocusCamera(_vendorID, _productID)) break;
            {
                const UvcControl& motor = controls::MotorFocus;
                const IOReturn status =
                    setData(value, motor.length, motor.selector, motor.fixedUnit);
                _supportedControl.*control.cur = value;
                return status;
            }
        case ValueRule::ExposureTime:
            if (models::isExposureKnobCamera(_vendorID, _productID))
                value = MSLifeCamExposureTimeFromKnob(value);
            break;
        case ValueRule::ResolutionSteps: {
            const long scaled = static_cast<int16_t>(
                multiplySteps(value, static_cast<int32_t>(_supportedControl.*control.res)));
            const IOReturn status = writeValue(*this, control, scaled);
            keepReadBack(*this, control, value);
            return status;
        }
        case ValueRule::Relative: {
            // A one-shot step: nothing to keep; the read-back's status is returned.
            writeValue(*this, control, value);
            long readBack = 0;
            return queryControl(control, &readBack);
        }
        case ValueRule::ZoomFocal: {
            writeValue(*this, control, value);  // the read-back's status is the one that counts
            long readBack = 0;
            const IOReturn status = queryControl(control, &readBack);
            _supportedControl.*control.cur = readBack;
            return status;
        }
        default:
            break;
    }
    if (!hasUsbControl(control) && !onMediaDevice(*this, control)) {
        keepReadBack(*this, control, value);
        return kIOReturnError;
    }
    const IOReturn status = writeValue(*this, control, value);
    if (control.settleMicroseconds) usleep(control.settleMicroseconds);
    keepReadBack(*this, control, value);
    return status;
}

// ---- The named pairs ----

IOReturn QTCamera::queryAutoExposureMode(long* value) {
    return queryControl(rowOf(kAutoExposureMode), value);
}
IOReturn QTCamera::setAutoExposureMode(long value) {
    return setControl(rowOf(kAutoExposureMode), value);
}
IOReturn QTCamera::queryExposureTimeAbsolute(long* value) {
    return queryControl(rowOf(kExposureTimeAbsolute), value);
}
IOReturn QTCamera::setExposureTimeAbsolute(long value) {
    return setControl(rowOf(kExposureTimeAbsolute), value);
}
IOReturn QTCamera::queryBrightness(long* value) {
    return queryControl(rowOf(kBrightness), value);
}
IOReturn QTCamera::setBrightness(long value) {
    return setControl(rowOf(kBrightness), value);
}
IOReturn QTCamera::queryContrast(long* value) {
    return queryControl(rowOf(kContrast), value);
}
IOReturn QTCamera::setContrast(long value) {
    return setControl(rowOf(kContrast), value);
}
IOReturn QTCamera::queryHue(long* value) {
    return queryControl(rowOf(kHue), value);
}
IOReturn QTCamera::setHue(long value) {
    return setControl(rowOf(kHue), value);
}
IOReturn QTCamera::querySaturation(long* value) {
    return queryControl(rowOf(kSaturation), value);
}
IOReturn QTCamera::setSaturation(long value) {
    return setControl(rowOf(kSaturation), value);
}
IOReturn QTCamera::querySharpness(long* value) {
    return queryControl(rowOf(kSharpness), value);
}
IOReturn QTCamera::setSharpness(long value) {
    return setControl(rowOf(kSharpness), value);
}
IOReturn QTCamera::queryGamma(long* value) {
    return queryControl(rowOf(kGamma), value);
}
IOReturn QTCamera::setGamma(long value) {
    return setControl(rowOf(kGamma), value);
}
IOReturn QTCamera::queryWhiteBalanceTemperature(long* value) {
    return queryControl(rowOf(kWhiteBalanceTemperature), value);
}
IOReturn QTCamera::setWhiteBalanceTemperature(long value) {
    return setControl(rowOf(kWhiteBalanceTemperature), value);
}
IOReturn QTCamera::queryBacklightCompensation(long* value) {
    return queryControl(rowOf(kBacklightCompensation), value);
}
IOReturn QTCamera::setBacklightCompensation(long value) {
    return setControl(rowOf(kBacklightCompensation), value);
}
IOReturn QTCamera::queryGain(long* value) {
    return queryControl(rowOf(kGain), value);
}
IOReturn QTCamera::setGain(long value) {
    return setControl(rowOf(kGain), value);
}
IOReturn QTCamera::queryPowerLineFrequency(long* value) {
    return queryControl(rowOf(kPowerLineFrequency), value);
}
IOReturn QTCamera::setPowerLineFrequency(long value) {
    return setControl(rowOf(kPowerLineFrequency), value);
}
IOReturn QTCamera::queryWhiteBalanceTemperatureAuto(long* value) {
    return queryControl(rowOf(kWhiteBalanceTemperatureAuto), value);
}
IOReturn QTCamera::setWhiteBalanceTemperatureAuto(long value) {
    return setControl(rowOf(kWhiteBalanceTemperatureAuto), value);
}
IOReturn QTCamera::queryFocusAuto(long* value) {
    return queryControl(rowOf(kFocusAuto), value);
}
IOReturn QTCamera::setFocusAuto(long value) {
    return setControl(rowOf(kFocusAuto), value);
}
IOReturn QTCamera::queryFocusAbsolute(long* value) {
    return queryControl(rowOf(kFocusAbsolute), value);
}
IOReturn QTCamera::setFocusAbsolute(long value) {
    return setControl(rowOf(kFocusAbsolute), value);
}
IOReturn QTCamera::queryZoomAbsolute(long* value) {
    return queryControl(rowOf(kZoomAbsolute), value);
}
IOReturn QTCamera::setZoomAbsolute(long value) {
    return setControl(rowOf(kZoomAbsolute), value);
}
IOReturn QTCamera::queryPanAbsolute(long* value) {
    return queryControl(rowOf(kPanAbsolute), value);
}
IOReturn QTCamera::setPanAbsolute(long value) {
    return setControl(rowOf(kPanAbsolute), value);
}
IOReturn QTCamera::queryTiltAbsolute(long* value) {
    return queryControl(rowOf(kTiltAbsolute), value);
}
IOReturn QTCamera::setTiltAbsolute(long value) {
    return setControl(rowOf(kTiltAbsolute), value);
}
IOReturn QTCamera::queryIrisRelative(long* value) {
    return queryControl(rowOf(settings::kAperture), value);
}
IOReturn QTCamera::setIrisRelative(long value) {
    return setControl(rowOf(settings::kAperture), value);
}
IOReturn QTCamera::queryNoiseReduction(long* value) {
    return queryControl(rowOf(kNoiseReduction), value);
}
IOReturn QTCamera::setNoiseReduction(long value) {
    return setControl(rowOf(kNoiseReduction), value);
}
IOReturn QTCamera::setLEDIndex(long index) {
    return setControl(rowOf(kLED), index);
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

}  // namespace orvella
