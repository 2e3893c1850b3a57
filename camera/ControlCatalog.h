#pragma once
// The one description of every image control the system drives: how it is addressed over USB,
// where the camera's record keeps it, which automatic mode governs it, how probing, the status
// walk, following, the settings record, the periodic re-send and the panel treat it, and its
// names. Every walker reads these rows instead of keeping a table of its own; the named per-
// control operations of QTCamera are thin wrappers over the generic ones that take a row.
//
// The rows are data, so a control found at run time (one a camera declares beyond these, or one
// of a vendor's extension unit) is one more ControlDescription; members a control does not have
// stay null. See docs/architecture.md ("One description per control").

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "camera/CMIOControl.h"
#include "camera/ControlTable.h"
#include "camera/SupportedControl.h"
#include "settings/SettingsID.h"

namespace orvella {

// What probing asks a declared control and how it reads the answers.
enum class ProbeKind : uint8_t {
    None,        // not probed (no UVC control, or handled apart)
    Name,        // only logged, its presence flag set
    Range,       // GET_MIN, GET_MAX, GET_RES, GET_DEF, GET_CUR, then GET_INFO
    Flag,        // GET_CUR, GET_DEF, GET_INFO
    CurInfo,     // GET_CUR, GET_INFO
    ModeBitmap,  // GET_RES, GET_CUR, GET_DEF, GET_INFO, read as mode bitmaps
    PanTilt,     // the range requests as 8-byte pan/tilt pairs
};

// How a value read from the camera becomes the record's value, and back.
enum class ValueRule : uint8_t {
    Plain,            // as it is (sign-extended when the control is signed)
    ExposureTime,     // knob positions on the exposure-knob cameras, clamped to the range
    ResolutionSteps,  // kept in resolution steps
    KeepsResolution,  // keeps its resolution, values not divided by it
    Focus,            // the motor-focus cameras use their extension unit
    ZoomFocal,        // zoom also keeps the terminal's objective focal lengths
    PowerLine,        // a default of 3 (auto) says the camera offers the automatic setting
    PanTilt,          // two halves in one 8-byte control
    Relative,         // moves by steps; nothing to keep
    Led,              // the model's own LED unit
};

// What the settings record holds for a control.
enum class RecordShape : uint8_t {
    None,          // kept in no record
    Plain,         // the value alone
    Guarded,       // the disabled flag, then the value while the flag is false
    PanTilt,       // the disabled flag, then both values
    StepPosition,  // a position reached by relative steps, while the master leaves it free
    Led,           // the LED type and index
};

// How a stored value is applied back to the camera.
enum class ApplyKind : uint8_t {
    Never,          // kept in the record, never sent
    Set,            // sent as it is
    SetThenQuery,   // an automatic mode: sent, then the value it governs is read back
    SetUnlessAuto,  // only while its automatic mode is off in the same record
    SetAfterWait,   // sent after a pause, so a change of its automatic mode has settled
    PanTilt,        // both halves, each when present
    StepTowards,    // stepped towards the stored position
    Led,            // the LED index
};

struct ControlDescription {
    int32_t id = 0;            // setting identifier (SettingsID), also the order of application
    std::string_view key{};    // settings key, log name of the status walk, command-line name
    std::string_view title{};  // as probing logs it
    // The name its record fields and disabled key carry ("PanTiltAbsolute" for pan and tilt);
    // empty: the key.
    std::string_view recordName{};
    // The status walk's log name; empty: the key.
    std::string_view statusName{};
    UvcControl uvc{};        // unit, selector, length and signedness (ProbeKind::None: unused)
    int8_t bit = -1;         // bit in its unit's bmControls; -1: not declared there
    uint8_t readLength = 0;  // GET_CUR length of the query (usually the control's length)
    // The pause between a set and its read-back, for a value that settles before it reads back
    // right.
    uint32_t settleMicroseconds = 0;
    ProbeKind probe = ProbeKind::None;
    ValueRule rule = ValueRule::Plain;

    // Where the camera's record keeps it; null where the control has no such field.
    int8_t SupportedControl::*present = nullptr;
    long SupportedControl::*min = nullptr;
    long SupportedControl::*max = nullptr;
    long SupportedControl::*res = nullptr;
    long SupportedControl::*cur = nullptr;
    long SupportedControl::*def = nullptr;
    int8_t SupportedControl::*disabled = nullptr;  // null: no automatic mode owns it

    // The automatic mode that governs it, as the driver's master control: the control with
    // setting identifier `master` leaves this one to the user while its value is one of the mode
    // bits in `masterManual` (exposure modes are single bits: 1 manual, 8 aperture priority), or,
    // with `masterManual` 0, while the master is off (0).
    int32_t master = 0;
    long masterManual = 0;
    // An automatic mode reads back the value it governs after it is set.
    int32_t readsBack = 0;
    // The one camera that reports this control disabled although it works is told otherwise.
    bool falseAutoModeDisable = false;

    // The camera's GET_INFO is not believed while the master frees the control: some cameras
    // still flag it as owned by the automatic mode.
    bool masterOverridesInfo = false;

    // The media-device path: its control object, and the one value the quirk vendor's objects
    // mishandle, which is sent as `nudgedTo` instead.
    CMIOControl CMIOControls::*object = nullptr;
    long nudgedValue = 0;
    float nudgedTo = 0;

    RecordShape shape = RecordShape::None;
    ApplyKind apply = ApplyKind::Never;

    // Its place in the periodic re-send (1 first; 0: not re-sent).
    uint8_t resendOrder = 0;

    // The panel's row: its place (1 first; 0: no row), its title's string key (empty: the "#"
    // title of a row inside a named box) and the images at its two ends.
    uint8_t panelOrder = 0;
    std::string_view panelTitle{};
    std::string_view lowImage{};
    std::string_view highImage{};

    // The second half of a pair that shares one USB control (tilt beside pan).
    int32_t pairedWith = 0;

    bool isFreedBy(long masterValue) const {
        return masterManual ? (masterValue & masterManual) != 0 : masterValue == 0;
    }
    std::string_view nameInRecord() const { return recordName.empty() ? key : recordName; }
    std::string_view nameInStatus() const { return statusName.empty() ? key : statusName; }
};

namespace catalog {

// Every row, in the order of application (which is setting-identifier order).
std::span<const ControlDescription> all();

// The row of a setting identifier; null outside 1 to 22.
const ControlDescription* byID(int32_t id);

// The row of the control a camera addresses by unit kind and selector, if the system drives it.
const ControlDescription* byUvc(UnitKind unit, uint8_t selector);

// The row named by its settings key ("Brightness"); null when none is.
const ControlDescription* byKey(std::string_view key);

// The rows that have a place in one of the other orders (`&ControlDescription::resendOrder`,
// `&ControlDescription::panelOrder`), in that order.
std::vector<const ControlDescription*> inOrder(uint8_t ControlDescription::*order);

// The row at a bmControls bit of a unit, if the system drives that control.
const ControlDescription* byBit(UnitKind unit, uint8_t bit);

}  // namespace catalog

}  // namespace orvella
