#pragma once
// Time as the core sees it: the fixed pauses between control requests go through a Clock so that
// tests run without waiting and can check the pauses that were asked for.

#include <cstdint>
#include <vector>

namespace orvella::platform {

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

// Returns at once and remembers every pause asked for.
class RecordingClock final : public Clock {
  public:
    void usleep(uint32_t microseconds) override { pauses.push_back(microseconds); }
    std::vector<uint32_t> pauses;
};

}  // namespace orvella::platform
