#include "platform/Clock.h"

#include <chrono>
#include <thread>

namespace orvella::platform {

void SystemClock::usleep(uint32_t microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

SystemClock& SystemClock::shared() {
    static SystemClock clock;
    return clock;
}

}  // namespace orvella::platform
