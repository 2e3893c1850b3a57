// Following what happens to a camera behind the process's back: a control that another program
// (or the camera's own automatic mode) changed, and other programs opening the capture node. A
// change is taken into the SupportedControl record the way the query accessors and the status
// walk would have stored it, so everything that reads the record (the panel, the settings
// records, the timer) sees what the camera holds without asking it.

#include <algorithm>

#include "camera/ControlTable.h"
#include "camera/ControlValues.h"
#include "camera/ModelTables.h"
#include "camera/PanTilt.h"
#include "camera/QTCamera.h"
#include "camera/QTCameraChangeFollower.h"
#include "platform/CaptureDevice.h"
#include "platform/Log.h"

namespace orvella {

namespace {

using SC = SupportedControl;

// How a control's value is decoded into the record.
enum class Decode : uint8_t {
    Plain,         // as it is (sign-extended when the control is signed)
    ExposureTime,  // knob positions on the exposure-knob cameras
    Hue,           // resolution steps
    Focus,         // the motor-focus cameras keep the last value set, not the camera's
    PanTilt,       // two halves in resolution steps
    None,          // nothing to keep (a relative move)
};

// What overrides a reported automatic-mode state, as in the status walk.
enum class Override : uint8_t {
    None,
    ExposureTime,  // enabled whenever the exposure mode is manual
    Focus,         // enabled whenever auto focus is off
    FalseDisable,  // enabled on the one camera that reports it disabled although it works
};

struct FollowEntry {
    const UvcControl* control;
    int8_t SC::*present;
    long SC::*cur;         // null: Decode::PanTilt or Decode::None
    int8_t SC::*disabled;  // null: no automatic mode governs it
    Decode decode = Decode::Plain;
    Override override = Override::None;
};

constexpr FollowEntry kFollowed[] = {
    {&controls::AutoExposureMode, &SC::bAutoExposureMode, &SC::curAutoExposureMode, nullptr},
    {&controls::AutoExposurePriority, &SC::bAutoExposurePriority, &SC::curAutoExposurePriority,
     nullptr},
    {&controls::ExposureTimeAbsolute, &SC::bExposureTimeAbsolute, &SC::curExposureTimeAbsolute,
     &SC::bExposureTimeAbsoluteDisabled, Decode::ExposureTime, Override::ExposureTime},
    {&controls::FocusAbsolute, &SC::bFocusAbsolute, &SC::curFocusAbsolute,
     &SC::bFocusAbsoluteDisabled, Decode::Focus, Override::Focus},
    {&controls::FocusAuto, &SC::bFocusAuto, &SC::curFocusAuto, nullptr},
    {&controls::IrisRelative, &SC::bIrisRelative, nullptr, nullptr, Decode::None},
    {&controls::ZoomAbsolute, &SC::bZoomAbsolute, &SC::curZoomAbsolute, &SC::bZoomAbsoluteDisabled},
    {&controls::PanTiltAbsolute, &SC::bPanTiltAbsolute, nullptr, &SC::bPanTiltAbsoluteDisabled,
     Decode::PanTilt},
    {&controls::BacklightCompensation, &SC::bBacklightCompensation, &SC::curBacklightCompensation,
     &SC::bBacklightCompensationDisabled, Decode::Plain, Override::FalseDisable},
    {&controls::Brightness, &SC::bBrightness, &SC::curBrightness, &SC::bBrightnessDisabled,
     Decode::Plain, Override::FalseDisable},
    {&controls::Contrast, &SC::bContrast, &SC::curContrast, &SC::bContrastDisabled},
    {&controls::Gain, &SC::bGain, &SC::curGain, &SC::bGainDisabled},
    {&controls::PowerLineFrequency, &SC::bPowerLineFrequency, &SC::curPowerLineFrequency, nullptr},
    {&controls::Hue, &SC::bHue, &SC::curHue, &SC::bHueDisabled, Decode::Hue},
    {&controls::Saturation, &SC::bSaturation, &SC::curSaturation, &SC::bSaturationDisabled},
    {&controls::Sharpness, &SC::bSharpness, &SC::curSharpness, &SC::bSharpnessDisabled},
    {&controls::Gamma, &SC::bGamma, &SC::curGamma, &SC::bGammaDisabled},
    {&controls::WhiteBalanceTemperature, &SC::bWhiteBalanceTemperature,
     &SC::curWhiteBalanceTemperature, &SC::bWhiteBalanceTemperatureDisabled},
    {&controls::WhiteBalanceTemperatureAuto, &SC::bWhiteBalanceTemperatureAuto,
     &SC::curWhiteBalanceTemperatureAuto, nullptr},
};

constexpr long kAutoExposureModeManual = 1;

const FollowEntry* entryFor(const QTCamera& camera, uint8_t unit, uint8_t selector) {
    for (const FollowEntry& entry : kFollowed)
        if (entry.control->selector == selector && unitOf(camera, *entry.control) == unit)
            return &entry;
    return nullptr;
}

void takeValue(QTCamera& camera, const FollowEntry& entry, uint64_t raw) {
    SupportedControl& record = *camera.supportedControl();
    // The value is the control's own length; the record's fields are longs.
    long value = static_cast<long>(raw);
    if (entry.control->isSigned && entry.control->length == 2) value = signExtend16(value);
    switch (entry.decode) {
        case Decode::Plain:
            break;
        case Decode::ExposureTime:
            if (models::isExposureKnobCamera(camera.vendorID(), camera.productID()))
                value = QTCamera::MSLifeCamKnobFromExposureTime(value);
            break;
        case Decode::Hue:
            value = divideSteps(value, resolutionOf(record.resHue));
            break;
        case Decode::Focus:
            if (models::isExtensionUnitFocusCamera(camera.vendorID(), camera.productID())) return;
            break;
        case Decode::PanTilt:
            for (const PanTiltHalf& half : kPanTiltHalves)
                record.*half.cur =
                    divideSteps(panTiltHalf(raw, half), resolutionOf(record.*half.res));
            return;
        case Decode::None:
            return;
    }
    record.*entry.cur = value;
}

bool overridden(QTCamera& camera, const FollowEntry& entry) {
    const SupportedControl& record = *camera.supportedControl();
    switch (entry.override) {
        case Override::None:
            return false;
        case Override::ExposureTime:
            return record.curAutoExposureMode == kAutoExposureModeManual;
        case Override::Focus:
            return record.curFocusAuto == 0 ||
                   models::isExtensionUnitFocusCamera(camera.vendorID(), camera.productID());
        case Override::FalseDisable:
            return models::reportsFalseAutoModeDisable(camera.vendorID(), camera.productID());
    }
    return false;
}

}  // namespace

QTCamera::~QTCamera() {
    stopFollowingChanges();
}

bool QTCamera::followChanges(ControlChangeHandler onChange, CaptureUseHandler onUse) {
    stopFollowingChanges();
    _follower = std::make_unique<ChangeFollower>(*this);
    _follower->onChange = std::move(onChange);
    _follower->onUse = std::move(onUse);
    if (controlInterface && controlInterface->setControlChangeObserver(_follower.get()))
        _follower->interface = controlInterface;
    if (_qtCaptureDevice && _qtCaptureDevice->setCaptureUseObserver(_follower.get()))
        _follower->device = _qtCaptureDevice;
    return followsControlChanges();
}

void QTCamera::stopFollowingChanges() {
    if (!_follower) return;
    if (_follower->interface) _follower->interface->setControlChangeObserver(nullptr);
    if (_follower->device) _follower->device->setCaptureUseObserver(nullptr);
    _follower.reset();
}

bool QTCamera::followsControlChanges() const {
    return _follower && _follower->interface;
}

std::optional<FollowedChange> QTCamera::takeControlChange(const platform::ControlChange& change) {
    if (!controlInterface) return std::nullopt;  // gone, or reached another way
    const FollowEntry* entry = entryFor(*this, change.unit, change.selector);
    if (!entry || !(_supportedControl.*entry->present)) {
        const uint16_t key = static_cast<uint16_t>(change.unit << 8 | change.selector);
        if (std::find(_unknownChangesLogged.begin(), _unknownChangesLogged.end(), key) ==
            _unknownChangesLogged.end()) {
            _unknownChangesLogged.push_back(key);
            NSLog("Change of unit %u selector %u of %s ignored: no such control", change.unit,
                  change.selector, qPrintable(_displayName));
        }
        return std::nullopt;
    }
    if (change.valueChanged) takeValue(*this, *entry, change.value);
    // A mode switched to manual frees what it governed even when the camera reports nothing.
    if (change.valueChanged && entry->control == &controls::AutoExposureMode &&
        _supportedControl.curAutoExposureMode == kAutoExposureModeManual)
        _supportedControl.bExposureTimeAbsoluteDisabled = 0;
    if (change.valueChanged && entry->control == &controls::FocusAuto &&
        _supportedControl.curFocusAuto == 0)
        _supportedControl.bFocusAbsoluteDisabled = 0;
    if (change.flagsChanged && entry->disabled)
        _supportedControl.*entry->disabled = change.inactive && !overridden(*this, *entry) ? 1 : 0;

    FollowedChange followed;
    followed.control = entry->control;
    followed.change = change;
    followed.governed = entry->disabled && _supportedControl.*entry->disabled != 0;
    return followed;
}

}  // namespace orvella
