#pragma once
// A virtual USB bus with cameras from fixture files, and camera objects bound to it, for tests.

#include <gtest/gtest.h>

#include <QString>
#include <memory>
#include <string>

#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/virtual/VirtualCamera.h"
#include "platform/virtual/VirtualUsbHost.h"

namespace orvella::testing {

inline std::string fixturePath(const std::string& name) {
    return std::string(ORVELLA_FIXTURES_DIR) + "/cameras/" + name;
}

inline std::shared_ptr<virtualcam::VirtualCamera> loadFixture(const std::string& name) {
    QString error;
    auto camera =
        virtualcam::VirtualCamera::fromFile(QString::fromStdString(fixturePath(name)), &error);
    EXPECT_TRUE(camera) << error.toStdString();
    return camera;
}

inline std::shared_ptr<virtualcam::VirtualCamera> cameraFromJson(const std::string& json) {
    QString error;
    auto camera = virtualcam::VirtualCamera::fromJson(QByteArray::fromStdString(json), &error);
    EXPECT_TRUE(camera) << error.toStdString();
    return camera;
}

struct VirtualRig {
    virtualcam::VirtualUsbHost usb;
    platform::RecordingClock clock;
    platform::Platform platform{&usb, nullptr, &clock};

    std::shared_ptr<virtualcam::VirtualCamera> add(
        std::shared_ptr<virtualcam::VirtualCamera> camera) {
        usb.addCamera(camera);
        return camera;
    }
    // A camera object whose interfaces were looked up by the virtual camera's location.
    std::unique_ptr<QTCamera> open(const virtualcam::VirtualCamera& device) {
        auto camera = std::make_unique<QTCamera>(platform);
        camera->getControlInferace(&camera->controlInterface, &camera->streamInterface,
                                   device.locationID());
        return camera;
    }
};

}  // namespace orvella::testing
