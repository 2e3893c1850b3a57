#pragma once
// Small helpers shared by probing, the status walk and the accessors: the unit a control is
// addressed to, and the value arithmetic of device answers. Device answers are untrusted, so the
// arithmetic is defined for every input (wrapping like the device's own fixed-width fields).

#include <cstdint>

#include "camera/ControlCatalog.h"
#include "camera/ControlTable.h"
#include "camera/QTCamera.h"

namespace orvella {

inline bool usesMediaDevice(const QTCamera& camera) {
    return camera.cameraType() == CameraType::MediaDevice;
}

// The unit or terminal ID that wIndex carries for a control.
inline int32_t unitOf(const QTCamera& camera, const UvcControl& control) {
    switch (control.unit) {
        case UnitKind::CameraTerminal:
            return camera.inputTerminalID;
        case UnitKind::ProcessingUnit:
            return camera.processingUnitID;
        case UnitKind::ExtensionUnit:
            break;
    }
    return control.fixedUnit;
}

// Whether the control's GET_INFO is to be overruled as "enabled": its automatic mode is one the
// camera's answer is not believed for, and the mode's current value in the record frees the
// control. A camera without the mode holds 0 for it, which frees a focus but no exposure time.
inline bool masterFreesControl(const SupportedControl& record, const ControlDescription& row) {
    if (!row.masterOverridesInfo) return false;
    const ControlDescription* master = catalog::byID(row.master);
    return master && master->cur && row.isFreedBy(record.*master->cur);
}

inline long signExtend16(long value) {
    return static_cast<int16_t>(static_cast<uint16_t>(value));
}

// Integer division truncating toward zero; the caller has replaced a zero divisor by 1. The one
// quotient that does not fit (LONG_MIN / -1) wraps.
inline long divideSteps(long value, long resolution) {
    if (resolution == 0) return value;
    if (resolution == -1) return static_cast<long>(0ul - static_cast<unsigned long>(value));
    return value / resolution;
}

// A value in resolution steps scaled back to device units, wrapping on overflow.
inline long multiplySteps(long value, long resolution) {
    return static_cast<long>(static_cast<unsigned long>(value) *
                             static_cast<unsigned long>(resolution));
}

// A resolution read from the record; a zero resolution is replaced by 1 in the record itself.
inline long resolutionOf(long& field) {
    if (field == 0) field = 1;
    return field;
}

}  // namespace orvella
