// The two bulk operations over every supported control: the status walk (which controls an
// automatic mode currently owns, and their current values) and the reset to defaults. Both visit
// the rows of the control catalog in its order, which puts every automatic mode before the manual
// value it governs, so a reset writes the mode first and then sees the manual control disabled.

#include <string_view>

#include "camera/ControlCatalog.h"
#include "camera/ControlValues.h"
#include "camera/ModelTables.h"
#include "camera/PanTilt.h"
#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/UvcProtocol.h"

namespace orvella {

namespace {

using settings::kBrightness;
using settings::kSharpness;

// The status walk and the reset visit the probed controls in catalog order.
bool inStatusWalk(const ControlDescription& row) {
    switch (row.probe) {
        case ProbeKind::Range:
        case ProbeKind::Flag:
        case ProbeKind::CurInfo:
        case ProbeKind::ModeBitmap:
        case ProbeKind::PanTilt:
            return true;
        case ProbeKind::None:
        case ProbeKind::Name:
            break;
    }
    return false;
}

// Reads GET_INFO and tells whether an automatic mode owns the control. The status is not
// checked: a failed read delivers 0, which reads as enabled.
bool disabledByAutoMode(QTCamera& camera, const UvcControl& control) {
    long info = 0;
    camera.getDataFor(uvc::GET_INFO, 1, control.selector, unitOf(camera, control), &info);
    return (info & uvc::kInfoDisabledByAutoMode) != 0;
}

// Reads the GET_INFO test of a control, applies the overrides of the status walk when asked,
// stores the disabled flag and logs it. Returns whether the control is disabled.
bool testDisabled(QTCamera& camera, const ControlDescription& row, bool applyOverrides) {
    SupportedControl& record = *camera.supportedControl();
    bool disabled = disabledByAutoMode(camera, row.uvc);
    if (applyOverrides) {
        // Under manual exposure some cameras still flag the exposure time as owned by the
        // automatic mode; the same goes for focus with auto focus off.
        if (masterFreesControl(record, row)) disabled = false;
        if (row.falseAutoModeDisable &&
            models::reportsFalseAutoModeDisable(camera.vendorID(), camera.productID()))
            disabled = false;
    }
    record.*row.disabled = disabled ? 1 : 0;
    if (disabled) {
        const std::string_view name = row.nameInRecord();
        NSLog("    b%.*sDisabled", static_cast<int>(name.size()), name.data());
    }
    return disabled;
}

void readPanTilt(QTCamera& camera, const ControlDescription& pan) {
    SupportedControl& record = *camera.supportedControl();
    const ControlDescription& tilt = *catalog::byID(pan.pairedWith);
    uint64_t value = 0;
    camera.getUInt64(uvc::GET_CUR, pan.uvc.selector, unitOf(camera, pan.uvc), &value);
    for (const PanTiltHalf& half : kPanTiltHalves)
        record.*half.cur = divideSteps(panTiltHalf(value, half), resolutionOf(record.*half.res));
    NSLog("    %.*s = %ld, %.*s = %ld", static_cast<int>(pan.key.size()), pan.key.data(),
          record.*pan.cur, static_cast<int>(tilt.key.size()), tilt.key.data(), record.*tilt.cur);
}

void readStatus(QTCamera& camera, const ControlDescription& row) {
    SupportedControl& record = *camera.supportedControl();
    const UvcControl& control = row.uvc;
    if (row.rule == ValueRule::Focus &&
        models::isExtensionUnitFocusCamera(camera.vendorID(), camera.productID())) {
        // The motor focus cannot be read; it is always available.
        record.*row.disabled = 0;
        return;
    }
    if (row.disabled && testDisabled(camera, row, true)) return;  // keeps its current value
    if (row.rule == ValueRule::PanTilt) {
        readPanTilt(camera, row);
        return;
    }

    long value = 0;
    camera.getDataFor(uvc::GET_CUR, control.length, control.selector, unitOf(camera, control),
                      &value);
    if (control.isSigned) value = signExtend16(value);
    long stored = value;
    switch (row.rule) {
        case ValueRule::ExposureTime:
            // Knob positions on the exposure-knob cameras, clamped to the probed range.
            if (models::isExposureKnobCamera(camera.vendorID(), camera.productID()))
                stored = QTCamera::MSLifeCamKnobFromExposureTime(stored);
            if (stored < record.*row.min)
                stored = record.*row.min;
            else if (stored > record.*row.max)
                stored = record.*row.max;
            value = stored;
            break;
        case ValueRule::ResolutionSteps:
            // Kept in resolution steps; the log shows the device's own value.
            stored = divideSteps(value, resolutionOf(record.*row.res));
            break;
        default:
            break;
    }
    record.*row.cur = stored;
    const std::string_view name = row.nameInStatus();
    NSLog("    %.*s = %ld", static_cast<int>(name.size()), name.data(), value);
}

void writeDefault(QTCamera& camera, const ControlDescription& row) {
    SupportedControl& record = *camera.supportedControl();
    const UvcControl& control = row.uvc;
    // A control without a probed default (the exposure priority) is turned off.
    long value = row.def ? record.*row.def : 0;
    if (row.rule == ValueRule::Focus &&
        models::isExtensionUnitFocusCamera(camera.vendorID(), camera.productID())) {
        camera.setData(value, controls::MotorFocus.length, controls::MotorFocus.selector,
                       unitOf(camera, controls::MotorFocus));
        record.*row.cur = value;
        return;
    }
    if (row.disabled && testDisabled(camera, row, false)) return;
    const int32_t unit = unitOf(camera, control);
    switch (row.rule) {
        case ValueRule::PanTilt: {
            const ControlDescription& tilt = *catalog::byID(row.pairedWith);
            camera.setUInt64(packPanTilt(multiplySteps(record.*row.def, record.*row.res),
                                         multiplySteps(record.*tilt.def, record.*tilt.res)),
                             control.selector, unit);
            return;
        }
        case ValueRule::ResolutionSteps:
            value = multiplySteps(value, record.*row.res);
            break;
        default:
            break;
    }
    camera.setData(value, control.length, control.selector, unit);
}

// The value the media-device reset writes: the control's own default, except that sharpness is
// reset to the brightness default. Users' cameras have always been reset this way; keep it.
long mediaDefaultOf(const SupportedControl& record, const ControlDescription& row) {
    if (row.id == kSharpness) return record.*catalog::byID(kBrightness)->def;
    return record.*row.def;
}

}  // namespace

SupportedControl* QTCamera::queryControlStatus() {
    if (usesMediaDevice(*this)) {
        for (const ControlDescription& row : catalog::all()) {
            if (!row.object || !(_supportedControl.*row.present)) continue;
            bool disabled = false;
            getStatusFromCMIOControl(&(_cmioControls.*row.object), &disabled);
            _supportedControl.*row.disabled = disabled ? 1 : 0;
        }
        return &_supportedControl;
    }

    for (const ControlDescription& row : catalog::all())
        if (inStatusWalk(row) && _supportedControl.*row.present) readStatus(*this, row);
    // Only the LED vendor's cameras are told their type; others keep what they had.
    if (models::hasLedModels(_vendorID))
        _supportedControl.cameraLED = models::ledType(_vendorID, _productID);
    return &_supportedControl;
}

SupportedControl* QTCamera::readCurrentValues() {
    queryControlStatus();
    if (!usesMediaDevice(*this)) return &_supportedControl;
    for (const ControlDescription& row : catalog::all()) {
        if (!row.object || !(_supportedControl.*row.present)) continue;
        long value = 0;
        if (queryControl(row, &value) == kIOReturnSuccess) _supportedControl.*row.cur = value;
    }
    return &_supportedControl;
}

void QTCamera::setDefaults() {
    if (usesMediaDevice(*this)) {
        for (const ControlDescription& row : catalog::all())
            if (row.object && _supportedControl.*row.present)
                setControl(row, mediaDefaultOf(_supportedControl, row));
        return;
    }
    for (const ControlDescription& row : catalog::all())
        if (inStatusWalk(row) && _supportedControl.*row.present) writeDefault(*this, row);
    // Then the controls beyond the catalog that a record keeps, to the camera's GET_DEF (a
    // vendor's command has no default the camera tells, and is left as it is).
    for (ExtraControl& control : _extraControls)
        if (control.isStored() && control.kind != ExtraKind::Command && control.allows(control.def))
            extras::set(*this, control, control.def);
}

}  // namespace orvella
