#pragma once
// Cameras built from fixture definitions the way the application builds them (capture device,
// then camera object; built-in cameras through their media-device object), a scratch preferences
// folder, and the SET_CUR requests a camera received.

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>
#include <QVariantMap>
#include <memory>
#include <string>

#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/virtual/VirtualPlatform.h"
#include "support/VirtualRig.h"

// Records and preferences print as "{key: value, ...}" in failure messages.
inline void PrintTo(const QVariantMap& map, std::ostream* os) {
    *os << "{";
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        *os << (it == map.cbegin() ? "" : ", ") << it.key().toStdString() << ": "
            << it.value().toString().toStdString();
    *os << "}";
}

namespace orvella::testing {

struct FixtureCamera {
    virtualcam::VirtualPlatform rig;
    platform::RecordingClock clock;
    std::shared_ptr<virtualcam::VirtualCamera> device;
    std::unique_ptr<QTCamera> camera;

    explicit FixtureCamera(const std::string& name) {
        QString error;
        auto capture = rig.addDefinitionFile(QString::fromStdString(fixturePath(name)), &error);
        EXPECT_TRUE(capture) << name << ": " << error.toStdString();
        if (!capture) return;
        device = capture->camera();
        camera = capture->isMediaDevice()
                     ? QTCamera::initWithQTCaptureDevice(rig.platform(&clock), capture,
                                                         rig.mediaDeviceFor(*capture))
                     : QTCamera::initWithQTCaptureDevice(rig.platform(&clock), capture);
        device->clearRequests();
    }
    SupportedControl& controls() { return *camera->supportedControl(); }
};

// One SET_CUR as (unit, selector, data).
struct SetCur {
    int unit, selector;
    std::vector<uint8_t> data;
    bool operator==(const SetCur&) const = default;
};
inline void PrintTo(const SetCur& s, std::ostream* os) {
    *os << "{" << s.unit << ", 0x" << std::hex << s.selector << ", [";
    for (uint8_t b : s.data)
        *os << " " << int(b);
    *os << std::dec << " ]}";
}

inline std::vector<SetCur> setCurs(const virtualcam::VirtualCamera& device) {
    std::vector<SetCur> out;
    for (const auto& r : device.requests())
        if (r.bmRequestType == 0x21 && r.bRequest == 0x01)
            out.push_back({r.unit(), r.selector(), r.data});
    return out;
}

// A preferences folder of its own, so no test touches the user's.
struct ScratchPreferences {
    QTemporaryDir dir;
    QString file() const { return dir.filePath("orvella/org.orvella.Orvella.plist"); }
};

}  // namespace orvella::testing
