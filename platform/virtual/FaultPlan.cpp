#include "platform/virtual/FaultPlan.h"

#include <algorithm>
#include <limits>

namespace orvella::virtualcam {

void FaultPlan::stallSelector(uint8_t unit, uint8_t selector, uint8_t code) {
    stalls_.push_back({unit, selector, code});
}

std::optional<uint8_t> FaultPlan::stallFor(uint8_t unit, uint8_t selector) const {
    for (const Stall& s : stalls_)
        if (s.unit == unit && s.selector == selector) return s.code;
    return std::nullopt;
}

void FaultPlan::failNext(IOReturn status, int count) {
    failStatus_ = status;
    failCount_ = std::max(count, 0);
}

void FaultPlan::vanishOnRequest(int n) {
    vanishCountdown_ = std::max(n, 0);
}

void FaultPlan::failOnRequest(int n, IOReturn status, int count) {
    failCountdown_ = std::max(n, 0);
    failStatusLater_ = status;
    failCountLater_ = count > 0 ? count : std::numeric_limits<int>::max();
}

void FaultPlan::leaveUnanswered(int count) {
    unansweredCount_ = std::max(count, 0);
}

std::optional<IOReturn> FaultPlan::takeControlRequest(bool* unanswered) {
    if (unanswered) *unanswered = false;
    if (present_ && vanishCountdown_ > 0 && --vanishCountdown_ == 0) present_ = false;
    if (present_ && failCountdown_ > 0 && --failCountdown_ == 0) {
        failStatus_ = failStatusLater_;
        failCount_ = failCountLater_;
    }
    if (!present_) return kIOReturnNoDevice;
    if (unansweredCount_ > 0) {
        --unansweredCount_;
        if (unanswered) *unanswered = true;
        return kIOReturnNotResponding;
    }
    if (failCount_ > 0) {
        --failCount_;
        return failStatus_;
    }
    return std::nullopt;
}

}  // namespace orvella::virtualcam
