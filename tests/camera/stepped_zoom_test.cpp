// The stepped zoom every program uses to reach a stored zoom on a camera that takes no large jump.

#include <gtest/gtest.h>

#include "camera/SteppedZoom.h"
#include "support/OpenedCamera.h"
#include "support/RequestsSeen.h"

namespace orvella {
namespace {

std::vector<int64_t> zoomsSent(const virtualcam::VirtualCamera& device) {
    return testing::valuesWritten(device, device.cameraTerminalID(), 0x0B);
}

TEST(SteppedZoom, ClimbsOneStepPerRequestAndStopsAtTheCamerasMaximum) {
    testing::FixtureCamera cam("motor-ptz.json");  // zoom 100..500
    cam.device->clearRequests();
    zoomMSLifeCamStudio(*cam.camera, 0);
    EXPECT_EQ(zoomsSent(*cam.device), std::vector<int64_t>{0}) << "0 is one request";

    cam.device->clearRequests();
    zoomMSLifeCamStudio(*cam.camera, 5);
    EXPECT_EQ(zoomsSent(*cam.device), std::vector<int64_t>({0, 1, 2, 3, 4, 5}));

    // A target far beyond the camera's range does not step on for ever: 0..499, then the target.
    cam.device->clearRequests();
    zoomMSLifeCamStudio(*cam.camera, int64_t{1} << 40);
    EXPECT_EQ(zoomsSent(*cam.device).size(), 501u);

    // Which cameras need it.
    EXPECT_FALSE(needsSteppedZoom(*cam.camera));
    EXPECT_TRUE(needsSteppedZoom(*testing::FixtureCamera("exposure-knob.json").camera));
}

}  // namespace
}  // namespace orvella
