// The status walk and the reset to defaults: request sequences, disabled flags under each
// automatic mode and their overrides, clamping, the LED type, and the media-device path.

#include <gtest/gtest.h>

#include "platform/Log.h"
#include "support/OpenedCamera.h"

namespace orvella {
namespace {

using testing::logged;
using testing::openFixture;
using testing::openJson;
using testing::Req;
using testing::trace;
using testing::writes;

// Exposure, focus, brightness, contrast and backlight all report "disabled by an automatic mode"
// in GET_INFO, although manual exposure and manual focus are selected.
std::string misreportingCamera(const char* product) {
    return std::string(R"({"vendorID": "0x046d", "productID": ")") + product + R"(",
        "locationID": "0x11000000",
        "vc": ["1224020101020000000000000000032a0002", "0b24050201000002030100"],
        "controls": {"AutoExposureMode": {"res": 9, "def": 1, "cur": 1},
                     "ExposureTimeAbsolute": {"info": 7}, "FocusAuto": {"def": 0},
                     "FocusAbsolute": {"info": 7}, "Brightness": {"info": 7},
                     "Contrast": {"info": 7}, "BacklightCompensation": {"info": 7}}})";
}

TEST(Status, ReadsEachControlAfterItsInfoByteAndTracesIt) {
    auto c = openFixture("resolution.json");
    c->probe();
    c->device->setCurrentValue(2, 0x02, -5);
    c->device->setCurrentValue(1, 0x04, 5000);  // above the exposure maximum, 2047
    c->device->clearRequests();
    log::ScopedCapture log;
    c->camera->queryControlStatus();

    const std::vector<Req> expected = {
        {0x81, 0x02, 1, 1},                      // auto-exposure mode
        {0x86, 0x04, 1, 1}, {0x81, 0x04, 1, 4},  // exposure time
        {0x86, 0x02, 2, 1}, {0x81, 0x02, 2, 2},  // brightness
        {0x86, 0x06, 2, 1}, {0x81, 0x06, 2, 2},  // hue
        {0x86, 0x09, 2, 1}, {0x81, 0x09, 2, 2},  // gamma
        {0x86, 0x0D, 1, 1}, {0x81, 0x0D, 1, 8},  // pan/tilt
    };
    EXPECT_EQ(trace(*c->device), expected);
    const std::vector<std::string> lines = {
        "    AutoExposureMode = 1", "    ExposureTimeAbsolute = 2047",        "    Brightness = -5",
        "    Hue = -1000",  // raw, while the record keeps steps
        "    Gamma = 300",          "    PanAbsolute = 2, TiltAbsolute = -2",
    };
    EXPECT_EQ(log.lines(), lines);
    EXPECT_EQ(c->record().curExposureTimeAbsolute, 2047);
    EXPECT_EQ(c->record().curHue, -10);
}

TEST(Status, AutomaticModesDisableTheControlsTheyOwn) {
    // Aperture priority, auto focus and auto white balance are on.
    auto c = openFixture("motor-ptz.json");
    c->probe();
    c->record().curExposureTimeAbsolute = 777;
    log::ScopedCapture log;
    c->camera->queryControlStatus();
    const SupportedControl& s = c->record();
    EXPECT_EQ(s.bExposureTimeAbsoluteDisabled, 1);
    EXPECT_EQ(s.curExposureTimeAbsolute, 777);  // not read while disabled
    EXPECT_EQ(s.bFocusAbsoluteDisabled, 1);
    EXPECT_EQ(s.bWhiteBalanceTemperatureDisabled, 1);
    EXPECT_EQ(s.bBrightnessDisabled, 0);
    for (const char* line : {"    bExposureTimeAbsoluteDisabled", "    bFocusAbsoluteDisabled",
                             "    bWhiteBalanceTemperatureDisabled", "    curZoomAbsolute = 100"})
        EXPECT_TRUE(logged(log, line)) << line;
}

TEST(Status, ManualModesAndOneModelOverrideTheInfoByte) {
    auto c = openJson(misreportingCamera("0x0918"));
    c->ready();
    const SupportedControl& s = c->record();
    EXPECT_EQ(s.bExposureTimeAbsoluteDisabled, 0);  // manual exposure
    EXPECT_EQ(s.bFocusAbsoluteDisabled, 0);         // auto focus off
    EXPECT_EQ(s.bBrightnessDisabled, 0);            // this model's false report
    EXPECT_EQ(s.bBacklightCompensationDisabled, 0);
    EXPECT_EQ(s.bContrastDisabled, 1);

    auto other = openJson(misreportingCamera("0x0919"));
    other->ready();
    EXPECT_EQ(other->record().bBrightnessDisabled, 1);
    EXPECT_EQ(other->record().bBacklightCompensationDisabled, 1);
    EXPECT_EQ(other->record().bExposureTimeAbsoluteDisabled, 0);
}

TEST(Status, KnobCamerasClampTheKnobPosition) {
    auto knob = openFixture("exposure-knob.json");
    knob->probe();
    knob->device->setCurrentValue(1, 0x04, 20000);  // knob 15, above this model's 14
    knob->camera->queryControlStatus();
    EXPECT_EQ(knob->record().curExposureTimeAbsolute, 14);
}

TEST(Status, LedTypeByModel) {
    // The LED accessor tests cover the fixtures of both LED types.
    auto motorFocus = openFixture("xu-focus.json");
    motorFocus->ready();
    EXPECT_EQ(motorFocus->record().cameraLED, 1);
    auto unknown = openJson(misreportingCamera("0x0800"));
    unknown->record().cameraLED = 1;
    unknown->ready();
    EXPECT_EQ(unknown->record().cameraLED, 0);
    // Other vendors keep what they had.
    auto other = openFixture("resolution.json");
    other->record().cameraLED = 2;
    other->ready();
    EXPECT_EQ(other->record().cameraLED, 2);
}

TEST(Defaults, AutoModesFirstThenOnlyWhatTheyLeaveEnabled) {
    auto c = openFixture("motor-ptz.json");
    c->probe();
    // The camera is in manual modes now; the defaults turn the automatic modes back on.
    c->device->setCurrentValue(1, 0x02, 1);
    c->device->setCurrentValue(1, 0x08, 0);
    c->device->setCurrentValue(2, 0x0B, 0);
    c->camera->queryControlStatus();
    c->device->clearRequests();
    log::ScopedCapture log;
    c->camera->setDefaults();

    const std::vector<Req> expected = {
        {0x01, 0x02, 1, 1},                      // auto-exposure mode: aperture priority
        {0x86, 0x04, 1, 1},                      // exposure time: now disabled, skipped
        {0x86, 0x02, 2, 1}, {0x01, 0x02, 2, 2},  // brightness
        {0x86, 0x03, 2, 1}, {0x01, 0x03, 2, 2},  // contrast
        {0x86, 0x07, 2, 1}, {0x01, 0x07, 2, 2},  // saturation
        {0x86, 0x08, 2, 1}, {0x01, 0x08, 2, 2},  // sharpness
        {0x01, 0x0B, 2, 1},                      // white balance auto
        {0x86, 0x0A, 2, 1},                      // white balance temperature: skipped
        {0x01, 0x05, 2, 1},                      // power line frequency
        {0x86, 0x01, 2, 1}, {0x01, 0x01, 2, 2},  // backlight compensation
        {0x86, 0x04, 2, 1}, {0x01, 0x04, 2, 2},  // gain
        {0x01, 0x08, 1, 1},                      // auto focus
        {0x86, 0x06, 1, 1},                      // focus: skipped
        {0x86, 0x0B, 1, 1}, {0x01, 0x0B, 1, 2},  // zoom
        {0x86, 0x0D, 1, 1}, {0x01, 0x0D, 1, 8},  // pan/tilt
    };
    EXPECT_EQ(trace(*c->device), expected);
    EXPECT_EQ(writes(*c->device).front(), (std::vector<uint8_t>{0x08}));
    for (const char* line : {"    bExposureTimeAbsoluteDisabled", "    bFocusAbsoluteDisabled",
                             "    bWhiteBalanceTemperatureDisabled"})
        EXPECT_TRUE(logged(log, line)) << line;
}

TEST(Defaults, ScaledControlsAndTheMotorFocus) {
    auto c = openFixture("resolution.json");
    c->ready();
    c->record().defHue = 3;
    c->record().defPanAbsolute = 2;
    c->record().defTiltAbsolute = -1;
    c->camera->setDefaults();
    const auto data = writes(*c->device);
    ASSERT_EQ(data.size(), 6u);  // mode, exposure, brightness, hue, gamma, pan/tilt
    EXPECT_EQ(data[1], (std::vector<uint8_t>{0xFA, 0x00, 0x00, 0x00}));  // exposure 250 as stored
    EXPECT_EQ(data[3], (std::vector<uint8_t>{0x2C, 0x01}));              // hue 3 x 100
    // Pan 2 x 3600, tilt -1 x 1800.
    EXPECT_EQ(data[5], (std::vector<uint8_t>{0x20, 0x1C, 0x00, 0x00, 0xF8, 0xF8, 0xFF, 0xFF}));

    auto motor = openFixture("xu-focus.json");
    motor->ready();
    motor->record().defFocusAbsolute = 40;
    motor->camera->setDefaults();
    const std::vector<Req> sent = trace(*motor->device);
    EXPECT_NE(std::find(sent.begin(), sent.end(), Req{0x01, 0x03, 9, 2}), sent.end());
    EXPECT_EQ(std::find(sent.begin(), sent.end(), Req{0x86, 0x06, 1, 1}), sent.end());
    EXPECT_EQ(motor->record().curFocusAbsolute, 40);
}

TEST(MediaDevice, StatusResetAndTheQuirkVendorsNudges) {
    testing::FixtureCamera b("builtin.json");
    ASSERT_TRUE(b.camera);
    b.rig.media().setPropertyBytes(b.object("ctst"), platform::fourCC("fcoo"), {0, 0, 0, 0});
    log::ScopedCapture log;
    b.camera->queryControlStatus();
    EXPECT_EQ(b.camera->supportedControl()->bContrastDisabled, 1);
    EXPECT_EQ(b.camera->supportedControl()->bBrightnessDisabled, 0);
    EXPECT_TRUE(log.lines().empty());

    b.camera->setDefaults();
    const SupportedControl& s = *b.camera->supportedControl();
    // Sharpness gets the brightness default, 128, nudged to 127.9 for this vendor.
    EXPECT_EQ(b.written("shrp"), std::vector<float>{127.9f});
    EXPECT_EQ(s.curSharpness, s.defBrightness);
    EXPECT_EQ(b.written("xpsr"), std::vector<float>{166.0f});

    // This vendor's objects get 128 as 127.9 and exposure 0 as -0.1; the record keeps what was
    // asked. Brightness pauses as over USB.
    b.camera->setBrightness(128);
    EXPECT_EQ(b.written("brit"), (std::vector<float>{127.9f, 127.9f}));
    EXPECT_EQ(s.curBrightness, 128);
    EXPECT_EQ(b.clock.pauses, (std::vector<uint32_t>{50000, 50000}));
    b.camera->setExposureTimeAbsolute(0);
    EXPECT_EQ(b.written("xpsr").back(), -0.1f);
    EXPECT_EQ(s.curExposureTimeAbsolute, 0);
}

}  // namespace
}  // namespace orvella
