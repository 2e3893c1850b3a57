#pragma once
// Every control a camera has beyond the catalog's rows: the camera-terminal and processing-unit
// controls it declares that the system does not drive (roll, privacy, digital multiplier, hue
// auto, relative moves, ...) and the controls of its vendors' extension units. They are found
// when the camera is probed, one ExtraControl each, and kept by the camera beside its
// SupportedControl record. Extension-unit controls are known from a data file
// (camera/extension-units.json, compiled in); a unit the file does not know is listed with its
// selectors, read-only. Nothing is written that the row does not allow: a read-only or unknown
// control, a value outside its range or menu, a length the camera and the file disagree on.

#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "camera/ControlTable.h"
#include "platform/IOReturn.h"

namespace orvella {

class QTCamera;
namespace platform {
class UsbInterface;
}

// How a control is shown and written.
enum class ExtraKind : uint8_t {
    Range,     // a number between min and max in steps of res
    Boolean,   // 0 or 1
    Menu,      // one of its items' values
    Bitmap,    // one bit per choice
    Command,   // one of its items, written as the item's bytes; not read back
    Move,      // a relative move: -1, 0 (stop) or +1, shown as buttons, never kept
    ReadOnly,  // shown, never written
};

// Where the interface groups it.
enum class ExtraGroup : uint8_t { Camera, Image, Vendor };

struct ExtraItem {
    long value = 0;                             // the value of a menu item
    std::vector<std::vector<uint8_t>> payload;  // a command item's writes, in order
    QString name;
};

struct ExtraControl {
    QString key;   // command-line name ("RollAbsolute", "logitech.led1.mode")
    QString name;  // English name; the string table's key for the standard ones
    ExtraGroup group = ExtraGroup::Camera;
    ExtraKind kind = ExtraKind::ReadOnly;
    UnitKind unitKind = UnitKind::CameraTerminal;
    uint8_t unit = 0;  // the terminal or unit ID wIndex carries
    uint8_t selector = 0;
    uint16_t length = 0;  // bytes of the whole control
    uint8_t offset = 0;   // bytes of the value inside the control
    uint8_t size = 0;     // 0: the whole control (at most 8 bytes)
    bool isSigned = false;
    uint8_t info = 0;       // GET_INFO as the camera answered
    bool writable = false;  // the camera takes SET_CUR and the row allows a write
    // A setting key of the system's own that already keeps this control (the LED mode): shown
    // and settable, not kept twice in a record.
    QString drivenBy;
    // The command-line name of the automatic mode that governs it (white-balance component:
    // its automatic mode), empty: none.
    QString master;
    QString guid;    // an extension unit's GUID, as text
    QString stored;  // what a value kept in a record means (extension units)
    long min = 0, max = 0, res = 1, def = 0, cur = 0;
    bool curKnown = false;  // a command has no value until one is written
    bool kept = true;       // false: never kept in a record (a reset)
    std::vector<ExtraItem> items;

    // Kept in profiles and the last state under recordKey().
    bool isStored() const;
    // The settings key: "x." and the command-line name. The system's own keys are letters only,
    // so no key of it begins with "x.".
    QString recordKey() const { return QStringLiteral("x.") + key; }
    const ExtraItem* itemWithValue(long value) const;
    // Whether `value` is one the row lets through to the camera.
    bool allows(long value) const;
};

using ExtraControls = std::vector<ExtraControl>;

namespace extras {

// The record key prefix of every extra control.
inline constexpr char kRecordPrefix[] = "x.";

// Walks the VideoControl interface's descriptors again after the catalog's probe and finds the
// extra controls: declared standard controls without a catalog row (GET_INFO, then the range
// requests by kind) and every extension unit's declared selectors (GET_LEN, GET_INFO, then its
// values). A control the camera stalls on, or whose length or value does not fit, is left out
// or read-only with one log line.
ExtraControls probe(QTCamera& camera, platform::UsbInterface& videoControl);

// Reads the control's current value into `value` (and its record); a command answers its last
// written item, a move 0.
IOReturn query(QTCamera& camera, ExtraControl& control, long* value);
// Writes `value` and reads it back into the record. Refused without a request
// (kIOReturnNotPermitted) for a control that is not writable, kIOReturnBadArgument for a value
// the row does not allow.
IOReturn set(QTCamera& camera, ExtraControl& control, long value);

// Reads again every extra control a record keeps (ExtraControl::isStored), so a record made
// afterwards holds what the camera holds now.
void readKept(QTCamera& camera);

// The command-line name of the automatic mode that governs the standard extra control of this
// name ("WhiteBalanceRed": "WhiteBalanceComponentAuto"); empty when none does.
QString masterOf(const QString& key);

// Whether two lists hold the same controls with the same values and writability (a snapshot
// changed when they do not).
bool sameState(const ExtraControls& a, const ExtraControls& b);

// The row's value inside a control's payload read as an unsigned little-endian number (what a
// followed change carries; controls of at most 8 bytes).
long valueInPayload(const ExtraControl& control, uint64_t payload);

// The extension-unit controls of the data file, for tests and the documentation: the number of
// units and controls it describes, or an error text when it does not parse.
struct DataFileSummary {
    int units = 0;
    int controls = 0;
    QString error;
};
DataFileSummary dataFileSummary();

// The GUID of descriptor bytes 4 to 19 of an extension unit, as text.
QString guidText(const uint8_t* bytes);

QString kindName(ExtraKind kind);
QString groupName(ExtraGroup group);

}  // namespace extras

}  // namespace orvella
