#include "camera/QTCamera.h"

#include "camera/QTCameraChangeFollower.h"
#include "platform/Clock.h"

namespace orvella {

QTCamera::QTCamera(const platform::Platform& platform) : _platform(platform) {}

void QTCamera::usleep(uint32_t microseconds) {
    if (_platform.clock)
        _platform.clock->usleep(microseconds);
    else
        platform::SystemClock::shared().usleep(microseconds);
}

}  // namespace orvella
