#pragma once
// What a camera tells without being asked: a control that another program (or the camera's own
// automatic mode) changed, another program opening or closing the camera's capture node, and a
// change of the capture device's current format.
// Backends deliver both on the thread that registered the observer, from its event loop, never
// from inside a request; changes this process made itself are never reported as values.

#include <cstdint>

namespace orvella::platform {

// One control of a VideoControl interface changed behind this process's back.
struct ControlChange {
    uint8_t unit = 0;      // terminal or unit ID, as in wIndex's high byte
    uint8_t selector = 0;  // as in wValue's high byte
    // The new current value, when it changed: the GET_CUR payload read as an unsigned
    // little-endian number of the control's length (at most 8 bytes), exactly as a GET_CUR
    // would now answer it.
    bool valueChanged = false;
    uint64_t value = 0;
    // The new "governed by an automatic mode" state (GET_INFO bit 2), when it changed.
    bool flagsChanged = false;
    bool inactive = false;
};

class ControlChangeObserver {
  public:
    virtual ~ControlChangeObserver() = default;
    virtual void controlChanged(const ControlChange& change) = 0;
};

// Other programs' use of a capture node. This process's own opens are not counted; a program
// that opens the node and closes it at once (a probe) shows as a rise and a fall, which a caller
// that waits a moment before acting can ignore.
class CaptureUseObserver {
  public:
    virtual ~CaptureUseObserver() = default;
    // `foreignOpens`: how many opens of the node by other programs are outstanding now.
    virtual void captureUseChanged(int foreignOpens) = 0;
};

// A capture device's current format changed: another program's stream set one, a stream
// started, or the source changed. The observer reads formatDescriptions() again.
class CaptureFormatObserver {
  public:
    virtual ~CaptureFormatObserver() = default;
    virtual void captureFormatChanged() = 0;
};

}  // namespace orvella::platform
