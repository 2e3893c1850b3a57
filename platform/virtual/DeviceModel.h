#pragma once
// The device model of a virtual camera: what the camera is made of and how it answers. Its
// interfaces with their class-specific descriptors, its controls with their ranges and current
// values, its string descriptors and its streaming interfaces' probe and commit controls; and
// the rules a UVC device keeps: clamping or stalling out-of-range writes, the automatic modes
// that govern manual controls (GET_INFO bit 2, writes refused in the wrong state), the request
// error code after a stall. The definition reader fills it; VirtualCamera asks it once the fault
// plan let a request through. Not synchronized: the camera's lock guards it.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/ControlEvents.h"
#include "platform/IOReturn.h"
#include "platform/Usb.h"
#include "platform/UvcStandardControls.h"
#include "platform/virtual/StreamingNegotiation.h"

namespace orvella::virtualcam {

class FaultPlan;

// How a control's bytes are read for clamping and for the automatic-mode rules.
using ValueKind = uvc::ValueKind;

struct DeviceControl {
    std::string name;  // UVC standard name or "xu" for extension-unit controls
    uint8_t unit = 0;
    uint8_t selector = 0;
    uint16_t length = 0;  // up to 1024: a broken camera may claim more than any real one
    ValueKind kind = ValueKind::Unsigned;
    std::vector<uint8_t> min, max, res, def, cur;
    uint8_t info = 0x03;  // GET_INFO without the automatic-mode bit, which is computed
    std::optional<uint16_t> answerLength;  // fault: answer at most this many bytes
};

struct InterfaceDefinition {
    uint8_t interfaceClass = 0x0E;
    uint8_t subClass = 1;
    uint8_t number = 0;
    std::vector<platform::Descriptor> descriptors;
};

// One format and frame size the VideoStreaming descriptors declare (four-character code with the
// first character on top).
struct StreamingFormat {
    uint32_t fourCC = 0;
    int width = 0;
    int height = 0;
};

struct DeviceModel {
    // ---- What the definition declares ----
    std::vector<InterfaceDefinition> interfaces;
    std::vector<DeviceControl> controls;
    std::map<uint8_t, std::vector<uint8_t>> strings;  // string descriptors, whole bytes
    std::vector<uint8_t> unitIDs;  // every terminal and unit the VideoControl descriptors declare
    std::map<uint8_t, StreamingNegotiation> streaming;  // by VideoStreaming interface number
    // The unit ID of the first camera terminal / processing unit in the descriptors, 0 if none.
    uint8_t cameraTerminalID = 0;
    uint8_t processingUnitID = 0;
    bool clampOutOfRange = true;  // else an out-of-range write stalls

    // ---- State ----
    // The request error code of the last class request on the VideoControl interface.
    uint8_t requestErrorCode = 0;

    DeviceControl* find(uint8_t unit, uint8_t selector);
    const DeviceControl* find(uint8_t unit, uint8_t selector) const;
    // Whether an automatic mode of the same unit governs the control now.
    bool governedByAutoMode(const DeviceControl& control) const;
    // How the device judges a write of `value` (the control's length): 0 when it takes it, with
    // `value` clamped where the device clamps, else the request error code it refuses it with.
    uint8_t judgeWrite(const DeviceControl& control, std::vector<uint8_t>& value) const;
    // Gives a control a new current value and says what changed for a listener.
    std::vector<platform::ControlChange> replaceValue(DeviceControl& control,
                                                      std::vector<uint8_t> value);
    // GET_CUR decoded by the control's kind (pan/tilt: the 8 raw bytes).
    static int64_t currentValue(const DeviceControl& control);

    // A class request on the VideoControl interface; the bytes answered go to `answered`. The
    // fault plan's stalls are kept where the device would check the control.
    IOReturn answerVideoControl(platform::ControlRequest& request, std::vector<uint8_t>& answered,
                                const FaultPlan& faults);
    // A GET_DESCRIPTOR for a string; stalls for an index the device has no string at.
    IOReturn answerString(platform::ControlRequest& request, std::vector<uint8_t>& answered) const;

    // The formats the VideoStreaming descriptors declare, one per frame size, in order.
    std::vector<StreamingFormat> streamingFormats() const;
    // The probe or commit control of a VideoStreaming interface, empty when there is none.
    std::vector<uint8_t> streamingControl(uint8_t interfaceNumber, uint8_t selector) const;

  private:
    IOReturn answerControl(platform::ControlRequest& request, std::vector<uint8_t>& answered,
                           const FaultPlan& faults);
};

}  // namespace orvella::virtualcam
