// The stepped zoom every program uses to reach a stored zoom on a camera that takes no large jump.

#include <gtest/gtest.h>

#include "camera/SteppedZoom.h"
#include "support/OpenedCamera.h"
#include "tests/settings/SettingsRig.h"

namespace orvella {
namespace {

std::vector<int64_t> zoomsSent(const virtualcam::VirtualCamera& device) {
    std::vector<int64_t> zooms;
    for (const auto& set : testing::setCurs(device))
        if (set.selector == 0x0B) {
            int64_t value = 0;
            for (size_t i = set.data.size(); i-- > 0;)
                value = value << 8 | set.data[i];
            zooms.push_back(value);
        }
    return zooms;
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
