#pragma once
// The frames-per-second count of a capture session. Each frame brings the time t in seconds since
// the reference date. A frame that comes 1.0 s or more after the last report closes the second:
// the count so far is reported and the count starts again from 0, so the closing frame itself is
// counted in neither second (30 frames a second report 29 or 30, depending on where the second
// boundaries fall). Touched by the capture thread only.

#include <cstdint>
#include <optional>

namespace orvella::capture {

struct FrameRateCounter {
    double interval = 0.0;  // t at the last report
    uint32_t framesThisSecond = 0;
    uint32_t fps = 0;

    // The rate to report when this frame closes a second.
    std::optional<uint32_t> frameArrived(double t) {
        if (t - interval >= 1.0) {
            fps = framesThisSecond;
            framesThisSecond = 0;
            interval = t;
            return fps;
        }
        ++framesThisSecond;
        return std::nullopt;
    }
};

}  // namespace orvella::capture
