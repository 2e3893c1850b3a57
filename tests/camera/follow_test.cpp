// Changes made behind the camera object's back: taken into the record as the query accessors
// would read them, automatic-mode states into the disabled flags, unknown controls ignored.

#include <gtest/gtest.h>

#include "platform/Log.h"
#include "support/OpenedCamera.h"

namespace orvella {
namespace {

using testing::logged;
using testing::openFixture;

constexpr uint8_t kCT = 1, kPU = 2;

// Takes every change another program makes to the device into the camera, as a follower would.
struct Following {
    std::unique_ptr<testing::OpenedCamera> c;
    std::vector<FollowedChange> taken;
    int listener = 0;

    explicit Following(const std::string& fixture) : c(openFixture(fixture)) {
        c->ready();
        listener = c->device->addControlChangeListener([this](const platform::ControlChange& ch) {
            if (auto followed = c->camera->takeControlChange(ch)) taken.push_back(*followed);
        });
    }
    ~Following() { c->device->removeControlChangeListener(listener); }
    void set(uint8_t unit, uint8_t selector, int64_t value) {
        std::string error;
        ASSERT_TRUE(c->device->setByAnotherProgram(unit, selector, value, &error)) << error;
    }
    long query(IOReturn (QTCamera::*q)(long*)) {
        long value = 0;
        EXPECT_EQ((c->camera.get()->*q)(&value), kIOReturnSuccess);
        return value;
    }
};

TEST(Follow, ValuesReachTheRecordAsTheQueryAccessorsReadThem) {
    Following f("resolution.json");
    f.set(kPU, 0x06, -2500);                           // hue, in steps of 100
    f.set(kCT, 0x0D, (int64_t{-5400} << 32) | 10800);  // pan 3 steps, tilt -3 steps
    EXPECT_TRUE(f.c->device->requests().empty());      // taking a change asks the camera nothing
    const SupportedControl& r = f.c->record();
    EXPECT_EQ(r.curHue, -25);
    EXPECT_EQ(r.curHue, f.query(&QTCamera::queryHue));
    EXPECT_EQ(r.curPanAbsolute, 3);
    EXPECT_EQ(r.curTiltAbsolute, -3);
    ASSERT_EQ(f.taken.size(), 2u);
    EXPECT_EQ(f.taken[0].control->title, "Hue");
    EXPECT_FALSE(f.taken[0].governed);

    Following knob("exposure-knob.json");  // the device holds a time, the record a knob position
    knob.set(kCT, 0x02, 1);                // manual exposure
    knob.set(kCT, 0x04, 156);
    EXPECT_EQ(knob.c->record().curExposureTimeAbsolute,
              knob.query(&QTCamera::queryExposureTimeAbsolute));

    Following generic("generic.json");
    generic.set(kPU, 0x02, -40);  // brightness is signed
    EXPECT_EQ(generic.c->record().curBrightness, -40);
}

TEST(Follow, AutomaticModesMoveTheDisabledFlags) {
    Following f("generic.json");  // aperture priority: the exposure time is the camera's
    ASSERT_EQ(f.c->record().bExposureTimeAbsoluteDisabled, 1);
    f.set(kCT, 0x02, 1);  // another program switches to manual exposure
    EXPECT_EQ(f.c->record().curAutoExposureMode, 1);
    EXPECT_EQ(f.c->record().bExposureTimeAbsoluteDisabled, 0);
    f.set(kCT, 0x04, 500);
    EXPECT_FALSE(f.taken.back().governed);
    f.set(kCT, 0x02, 8);  // and back: the exposure time is governed again
    EXPECT_EQ(f.c->record().bExposureTimeAbsoluteDisabled, 1);
    const auto flag = std::find_if(f.taken.rbegin(), f.taken.rend(), [](const FollowedChange& ch) {
        return ch.control == catalog::byID(settings::kExposureTimeAbsolute);
    });
    ASSERT_NE(flag, f.taken.rend());
    EXPECT_TRUE(flag->change.flagsChanged);
    EXPECT_TRUE(flag->governed);
}

TEST(Follow, UnknownControlsAndCamerasWithoutAnInterfaceChangeNothing) {
    auto c = openFixture("generic.json");
    c->ready();
    c->camera->setDisplayName(QStringLiteral("Cam"));
    const SupportedControl before = *c->camera->supportedControl();
    log::ScopedCapture log;
    platform::ControlChange unknown;
    unknown.unit = 9;
    unknown.selector = 1;
    unknown.valueChanged = true;
    EXPECT_FALSE(c->camera->takeControlChange(unknown));
    EXPECT_FALSE(c->camera->takeControlChange(unknown));
    platform::ControlChange absent = unknown;  // pan/tilt: a control this camera does not have
    absent.unit = kCT;
    absent.selector = 0x0D;
    EXPECT_FALSE(c->camera->takeControlChange(absent));
    EXPECT_EQ(log.lines().size(), 2u);  // once per control
    EXPECT_TRUE(logged(log, "Change of unit 9 selector 1 of Cam ignored: no such control"));

    platform::ControlChange brightness = absent;
    brightness.unit = kPU;
    brightness.selector = 0x02;
    brightness.value = 7;
    c->camera->controlInterface.reset();  // gone
    EXPECT_FALSE(c->camera->takeControlChange(brightness));
    EXPECT_EQ(c->camera->supportedControl()->curBrightness, before.curBrightness);
}

}  // namespace
}  // namespace orvella
