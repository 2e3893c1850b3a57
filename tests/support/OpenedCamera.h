#pragma once
// A virtual camera with a camera object bound to it by location, a camera built as the
// application builds it, and the requests that reached a device as a USB analyser would list them.

#include <algorithm>
#include <compare>
#include <ostream>

#include "platform/FourCC.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualPlatform.h"
#include "support/RequestsSeen.h"
#include "support/VirtualRig.h"

namespace orvella::testing {

// One request: code (SET_CUR 0x01, GET_CUR 0x81, ...), selector, unit, wLength.
struct Req {
    int code, selector, unit, length;
    auto operator<=>(const Req&) const = default;
};
inline void PrintTo(const Req& r, std::ostream* os) {
    *os << std::hex << "{0x" << r.code << ", 0x" << r.selector << ", " << r.unit << ", " << r.length
        << "}";
}

inline std::vector<Req> trace(const virtualcam::VirtualCamera& device) {
    std::vector<Req> out;
    for (const auto& r : device.requests())
        out.push_back({r.bRequest, r.selector(), r.unit(), r.wLength});
    return out;
}

inline bool logged(const log::ScopedCapture& log, const std::string& line) {
    return std::find(log.lines().begin(), log.lines().end(), line) != log.lines().end();
}

// The data bytes of the SET_CUR requests, in order.
inline std::vector<std::vector<uint8_t>> writes(const virtualcam::VirtualCamera& device) {
    std::vector<std::vector<uint8_t>> out;
    for (const SetCur& s : setCurs(device))
        out.push_back(s.data);
    return out;
}

struct OpenedCamera {
    VirtualRig rig;
    std::shared_ptr<virtualcam::VirtualCamera> device;
    std::unique_ptr<QTCamera> camera;

    explicit OpenedCamera(std::shared_ptr<virtualcam::VirtualCamera> definition)
        : device(rig.add(std::move(definition))), camera(rig.open(*device)) {
        camera->setVendorID(device->vendorID());
        camera->setProductID(device->productID());
    }
    SupportedControl& record() { return *camera->supportedControl(); }
    void probe() { camera->querySupportedCameraControl(camera->controlInterface.get()); }
    // Probes and reads the status, then forgets those requests.
    void ready() {
        probe();
        camera->queryControlStatus();
        device->clearRequests();
    }
};

inline auto openFixture(const std::string& name) {
    return std::make_unique<OpenedCamera>(loadFixture(name));
}
inline auto openJson(const std::string& json) {
    return std::make_unique<OpenedCamera>(cameraFromJson(json));
}

// A camera built the way the application builds it: capture device first, then the camera object
// (built-in cameras through their media-device object). The requests of the build are forgotten.
struct FixtureCamera {
    virtualcam::VirtualPlatform rig;
    platform::RecordingClock clock;
    std::shared_ptr<virtualcam::VirtualCamera> device;
    std::shared_ptr<virtualcam::VirtualCaptureDevice> capture;
    platform::MediaObjectID media = 0;
    std::unique_ptr<QTCamera> camera;

    explicit FixtureCamera(const std::string& name) : FixtureCamera(loadFixture(name)) {}
    explicit FixtureCamera(std::shared_ptr<virtualcam::VirtualCamera> definition) {
        QString error;
        capture = rig.addCamera(definition, &error);
        EXPECT_TRUE(capture) << error.toStdString();
        if (!capture) return;
        device = std::move(definition);
        media = rig.mediaDeviceFor(*capture);
        camera = media ? QTCamera::initWithQTCaptureDevice(rig.platform(&clock), capture, media)
                       : QTCamera::initWithQTCaptureDevice(rig.platform(&clock), capture);
        device->clearRequests();
    }
    SupportedControl& controls() { return *camera->supportedControl(); }
    // The media-device control object of a class, and the values written to it in order.
    platform::MediaObjectID object(const char* classCode) {
        return rig.media().controlOfClass(media, platform::fourCC(classCode));
    }
    std::vector<float> written(const char* classCode) {
        std::vector<float> values;
        for (const auto& write : rig.media().writes())
            if (write.object == object(classCode)) values.push_back(write.floatValue());
        return values;
    }
};

}  // namespace orvella::testing
