#pragma once
// The fault plan of a virtual camera: the faults a definition's "faults" key or a test injects,
// and when they strike. Controls that stall with a given request error code, requests that fail
// before reaching the device (the next n, or from the n-th on), requests left unanswered until
// the host gives up, the camera vanishing mid-request or at once, and the status its plug-in is
// created with. The camera asks the plan before each
// control request; the device model never sees a request the plan turned away. Not synchronized:
// the camera's lock guards it.

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/IOReturn.h"

namespace orvella::virtualcam {

class FaultPlan {
  public:
    // Every request to the control stalls; the request error code control then says `code`.
    void stallSelector(uint8_t unit, uint8_t selector, uint8_t code);
    void clearStalls() { stalls_.clear(); }
    // The request error code the control at (unit, selector) stalls with, if it is made to.
    std::optional<uint8_t> stallFor(uint8_t unit, uint8_t selector) const;

    // The next `count` control requests fail with `status`.
    void failNext(IOReturn status, int count);
    // The n-th control request from now (1 = the next one) finds the device gone.
    void vanishOnRequest(int n);
    // The n-th control request from now and the `count` - 1 after it fail with `status`; count 0
    // = every request from then on.
    void failOnRequest(int n, IOReturn status, int count);
    // The next `count` control requests get no answer: the host waits for its time-out, then
    // reports kIOReturnNotResponding.
    void leaveUnanswered(int count);
    void vanish() { present_ = false; }
    bool present() const { return present_; }

    // Counts one control request against the plan: the status it fails with without reaching
    // the device (kIOReturnNoDevice once the camera vanished), or none when it goes through.
    // *unanswered (if given) says whether the request is one the camera leaves unanswered.
    std::optional<IOReturn> takeControlRequest(bool* unanswered = nullptr);

    // What creating the camera's USB plug-in answers (kIOReturnSuccess: it is created).
    IOReturn plugInStatus() const { return plugInStatus_; }
    void setPlugInStatus(IOReturn status) { plugInStatus_ = status; }

  private:
    struct Stall {
        uint8_t unit, selector, code;
    };
    std::vector<Stall> stalls_;
    IOReturn failStatus_ = kIOReturnSuccess;
    int failCount_ = 0;
    int vanishCountdown_ = 0;
    int failCountdown_ = 0;  // failOnRequest: requests until failStatusLater_ takes effect
    IOReturn failStatusLater_ = kIOReturnSuccess;
    int failCountLater_ = 0;
    int unansweredCount_ = 0;
    bool present_ = true;
    IOReturn plugInStatus_ = kIOReturnSuccess;
};

}  // namespace orvella::virtualcam
