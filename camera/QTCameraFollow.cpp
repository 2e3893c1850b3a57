// Following what happens to a camera behind the process's back: a control that another program
// (or the camera's own automatic mode) changed, and other programs opening the capture node. A
// change is taken into the SupportedControl record the way the query accessors and the status
// walk would have stored it, so everything that reads the record (the panel, the settings
// records, the timer) sees what the camera holds without asking it.

#include <algorithm>

#include "camera/ControlCatalog.h"
#include "camera/ControlValues.h"
#include "camera/ModelTables.h"
#include "camera/PanTilt.h"
#include "camera/QTCamera.h"
#include "camera/QTCameraChangeFollower.h"
#include "platform/CaptureDevice.h"
#include "platform/Log.h"

namespace orvella {

namespace {

// The row of the control a change names. The unit is the camera's own number for its terminal or
// processing unit; where both carry the same number, the camera terminal's control is meant.
const ControlDescription* rowFor(const QTCamera& camera, uint8_t unit, uint8_t selector) {
    const ControlDescription* row = nullptr;
    if (unit == camera.inputTerminalID) row = catalog::byUvc(UnitKind::CameraTerminal, selector);
    if (!row && unit == camera.processingUnitID)
        row = catalog::byUvc(UnitKind::ProcessingUnit, selector);
    return row;
}

void takeValue(QTCamera& camera, const ControlDescription& row, uint64_t raw) {
    SupportedControl& record = *camera.supportedControl();
    // The value is the control's own length; the record's fields are longs.
    long value = static_cast<long>(raw);
    if (row.uvc.isSigned && row.uvc.length == 2) value = signExtend16(value);
    switch (row.rule) {
        case ValueRule::ExposureTime:
            if (models::isExposureKnobCamera(camera.vendorID(), camera.productID()))
                value = QTCamera::MSLifeCamKnobFromExposureTime(value);
            break;
        case ValueRule::ResolutionSteps:
            value = divideSteps(value, resolutionOf(record.*row.res));
            break;
        case ValueRule::Focus:
            // The motor-focus cameras keep the last value set, not the camera's.
            if (models::isExtensionUnitFocusCamera(camera.vendorID(), camera.productID())) return;
            break;
        case ValueRule::PanTilt:
            for (const PanTiltHalf& half : kPanTiltHalves)
                record.*half.cur =
                    divideSteps(panTiltHalf(raw, half), resolutionOf(record.*half.res));
            return;
        case ValueRule::Relative:
        case ValueRule::Led:
            return;  // nothing to keep
        case ValueRule::Plain:
        case ValueRule::KeepsResolution:
        case ValueRule::ZoomFocal:
        case ValueRule::PowerLine:
            break;
    }
    if (row.cur) record.*row.cur = value;
}

// What overrides a reported automatic-mode state, as in the status walk.
bool overridden(QTCamera& camera, const ControlDescription& row) {
    const SupportedControl& record = *camera.supportedControl();
    if (masterFreesControl(record, row)) return true;
    if (row.rule == ValueRule::Focus &&
        models::isExtensionUnitFocusCamera(camera.vendorID(), camera.productID()))
        return true;
    return row.falseAutoModeDisable &&
           models::reportsFalseAutoModeDisable(camera.vendorID(), camera.productID());
}

// A mode switched so that it frees a control it governs frees it even when the camera reports
// nothing (the controls whose GET_INFO is overruled the same way).
void freeGoverned(SupportedControl& record, const ControlDescription& master) {
    for (const ControlDescription& row : catalog::all())
        if (row.master == master.id && row.disabled && masterFreesControl(record, row))
            record.*row.disabled = 0;
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
    const ControlDescription* row = rowFor(*this, change.unit, change.selector);
    if ((!row || !(_supportedControl.*row->present)) && change.valueChanged) {
        // A control beyond the catalog's rows: each row over the control takes its part.
        FollowedChange followed;
        for (ExtraControl& extra : _extraControls) {
            if (extra.unit != change.unit || extra.selector != change.selector ||
                extra.kind == ExtraKind::Move || extra.kind == ExtraKind::Command ||
                (extra.size == 0 && extra.length > 8))
                continue;
            extra.cur = extras::valueInPayload(extra, change.value);
            extra.curKnown = true;
            if (followed.extraKey.isEmpty()) followed.extraKey = extra.key;
        }
        if (!followed.extraKey.isEmpty()) {
            followed.change = change;
            return followed;
        }
    }
    if (!row || !(_supportedControl.*row->present)) {
        const uint16_t key = static_cast<uint16_t>(change.unit << 8 | change.selector);
        if (std::find(_unknownChangesLogged.begin(), _unknownChangesLogged.end(), key) ==
            _unknownChangesLogged.end()) {
            _unknownChangesLogged.push_back(key);
            NSLog("Change of unit %u selector %u of %s ignored: no such control", change.unit,
                  change.selector, qPrintable(_displayName));
        }
        return std::nullopt;
    }
    if (change.valueChanged) {
        takeValue(*this, *row, change.value);
        freeGoverned(_supportedControl, *row);
    }
    if (change.flagsChanged && row->disabled)
        _supportedControl.*row->disabled = change.inactive && !overridden(*this, *row) ? 1 : 0;

    FollowedChange followed;
    followed.control = row;
    followed.change = change;
    followed.governed = row->disabled && _supportedControl.*row->disabled != 0;
    return followed;
}

}  // namespace orvella
