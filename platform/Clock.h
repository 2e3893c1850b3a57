#pragma once
// Time as the program sees it. The fixed pauses between control requests go through a Clock so
// that tests run without waiting and can check the pauses that were asked for. Everything that
// reads the time instead (capture timestamps, the pacing of the virtual cameras' frames and
// sound, the USB/IP camera's stream, time limits) reads the one monotonic clock below.

#include <chrono>
#include <cstdint>
#include <mutex>
#include <vector>

namespace orvella::platform {

// The program's monotonic clock: CLOCK_MONOTONIC, the clock V4L2 stamps its buffers with.
using MonotonicClock = std::chrono::steady_clock;

// Now on the monotonic clock, in microseconds (the unit of frame and sound timestamps).
inline int64_t monotonicMicroseconds() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               MonotonicClock::now().time_since_epoch())
        .count();
}

class Clock {
  public:
    virtual ~Clock() = default;
    // Blocks the calling thread for the given number of microseconds.
    virtual void usleep(uint32_t microseconds) = 0;
};

// Really sleeps.
class SystemClock final : public Clock {
  public:
    void usleep(uint32_t microseconds) override;
    static SystemClock& shared();
};

// Returns at once and remembers every pause asked for. Cameras on sessions of their own may
// pause on one clock at once; read `pauses` once they are idle.
class RecordingClock final : public Clock {
  public:
    void usleep(uint32_t microseconds) override {
        std::lock_guard lock(mutex_);
        pauses.push_back(microseconds);
    }
    std::vector<uint32_t> pauses;

  private:
    std::mutex mutex_;
};

}  // namespace orvella::platform
