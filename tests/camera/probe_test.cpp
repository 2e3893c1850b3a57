// Capability probing: which requests the descriptor walk sends for the declared controls, in
// which order, what ends up in the SupportedControl record, the trace lines, and what malformed
// descriptors and misbehaving devices do.

#include <gtest/gtest.h>

#include <set>

#include "platform/Log.h"
#include "support/OpenedCamera.h"

namespace orvella {
namespace {

using testing::logged;
using testing::openFixture;
using testing::openJson;
using testing::Req;
using testing::trace;

TEST(Probe, DeclaredCameraTerminalBitsAreProbedInOrderAndTraced) {
    // bmControls 0B 00 FA: bits 0, 1, 3, 17 and 19-23. The catalog's pass asks for 1, 3 and 17
    // alone; the pass for the controls beyond it follows, each asked for its GET_INFO first
    // (scanning mode and simple focus are menus, the digital window and the region of interest
    // structures; bits 22 and 23 name no control).
    auto c = openJson(R"({"vendorID": "0x1234", "productID": "0x0001", "locationID": "0x11000000",
        "vc": ["0d240100013300006cdc020101", "1224020101020000000000000000030b00fa"],
        "controls": {"AutoExposureMode": {"res": 9, "def": 8, "cur": 10}}})");
    log::ScopedCapture log;
    c->probe();

    const std::vector<Req> expected = {
        {0x84, 0x02, 1, 1}, {0x81, 0x02, 1, 1}, {0x87, 0x02, 1, 1}, {0x86, 0x02, 1, 1},
        {0x82, 0x04, 1, 4}, {0x83, 0x04, 1, 4}, {0x84, 0x04, 1, 4}, {0x87, 0x04, 1, 4},
        {0x81, 0x04, 1, 4}, {0x86, 0x04, 1, 1}, {0x81, 0x08, 1, 1}, {0x87, 0x08, 1, 1},
        {0x86, 0x08, 1, 1}, {0x86, 0x01, 1, 1}, {0x81, 0x01, 1, 1}, {0x87, 0x01, 1, 1},
        {0x86, 0x12, 1, 1}, {0x81, 0x12, 1, 1}, {0x87, 0x12, 1, 1}, {0x86, 0x13, 1, 1},
        {0x86, 0x14, 1, 1},
    };
    EXPECT_EQ(trace(*c->device), expected);
    const std::vector<std::string> lines = {
        " ",
        "VC_INPUT_TERMINAL",
        "Auto-Exposure Mode",
        "    UVC_GET_RES",
        "    Manual Mode \u2013 manual Exposure Time, manual Iris",
        "    Aperture Priority Mode \u2013 auto Exposure Time, manual Iris",
        "    UVC_GET_CUR",
        "    Auto Mode \u2013 auto Exposure Time, auto Iris",
        "    Aperture Priority Mode \u2013 auto Exposure Time, manual Iris",
        "    UVC_GET_DEF",
        "    Aperture Priority Mode \u2013 auto Exposure Time, manual Iris",
        "Auto-Exposure Mode res(9), cur(10), def(8), info(3)",
        // The automatic mode owns the exposure time: GET_INFO bit 2.
        "Exposure Time (Absolute) min(3), max(2047), res(1), def(250), cur(250), info(7)",
        "Focus, Auto cur(1), def(1), info(3)",
        "Extra control ScanningMode: menu min(0), max(1), res(1), def(0), cur(0), info(3)",
        "Extra control FocusSimple: menu min(0), max(3), res(1), def(0), cur(0), info(3)",
        "Extra control DigitalWindow: 12 bytes, read-only",
        "Extra control RegionOfInterest: 10 bytes, read-only",
    };
    EXPECT_EQ(log.lines(), lines);

    const SupportedControl& s = c->record();
    EXPECT_EQ(c->camera->inputTerminalID, 1);
    EXPECT_TRUE(s.bAutoExposureMode_0 && s.bAutoExposureMode_3);
    EXPECT_FALSE(s.bAutoExposureMode_1 || s.bAutoExposureMode_2);
    EXPECT_EQ(s.curAutoExposureMode, 8);  // 0x0A: the highest bit wins
    EXPECT_EQ(s.defAutoExposureMode, 8);
    EXPECT_TRUE(s.bExposureTimeAbsolute && s.bFocusAuto);
    EXPECT_FALSE(s.bFocusAbsolute || s.bAutoExposurePriority);

    // A 33-byte bmControls declaring only bit 257, which is bit 1 modulo 256: nothing is asked.
    auto wide = openJson(R"({"vendorID": "0x1234", "productID": "0x0001",
        "locationID": "0x11000000", "vc": ["0d240100013d00006cdc020101",
        "302402010102000000000000000021)" +
                         std::string(64, '0') + R"(02"]})");
    log::ScopedCapture wideLog;
    wide->probe();
    EXPECT_TRUE(trace(*wide->device).empty());
    EXPECT_EQ(wideLog.lines(), (std::vector<std::string>{" ", "VC_INPUT_TERMINAL"}));
    EXPECT_FALSE(wide->record().bAutoExposureMode);
}

TEST(Probe, EveryDeclaredControlOfAFullCamera) {
    auto c = openFixture("full-pu.json");
    log::ScopedCapture log;
    c->probe();

    std::set<int> terminal, processing;
    for (const Req& r : trace(*c->device))
        (r.unit == 1 ? terminal : processing).insert(r.selector);
    // Every declared control is asked: the catalog's, then the ones beyond it (the relative
    // iris is the catalog's and asked nothing at probing).
    EXPECT_EQ(terminal, (std::set<int>{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0B,
                                       0x0C, 0x0D, 0x0E, 0x0F, 0x10, 0x11}));
    EXPECT_EQ(processing, (std::set<int>{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A,
                                         0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x10, 0x11, 0x12, 0x13}));

    const SupportedControl& s = c->record();
    EXPECT_EQ(c->camera->processingUnitID, 2);
    EXPECT_TRUE(s.bIrisRelative && s.bAutoExposurePriority && s.bWhiteBalanceTemperatureAuto);
    EXPECT_EQ(s.bPowerLineFrequencySupportAuto, 1);  // default 3
    EXPECT_EQ(s.curPowerLineFrequency, 1);
    EXPECT_EQ(s.wObjectiveFocalLengthMax, 50);
    EXPECT_TRUE(logged(log, "Zoom wObjectiveFocalLengthMin(10), wObjectiveFocalLengthMax(50)"));
    EXPECT_TRUE(
        logged(log, "Digital Multiplier min(100), max(400), res(1), def(100), cur(100), info(3)"));
}

TEST(Probe, ResolutionsDividePanTiltAndHueButNotGamma) {
    auto c = openFixture("resolution.json");
    log::ScopedCapture log;
    c->probe();
    const SupportedControl& s = c->record();
    EXPECT_EQ(s.maxPanAbsolute, 10);   // 36000 in steps of 3600
    EXPECT_EQ(s.curTiltAbsolute, -2);  // -3600 in steps of 1800
    EXPECT_EQ(s.minHue, -180);         // -18000 in steps of 100
    EXPECT_EQ(s.resGamma, 10);
    EXPECT_EQ(s.maxGamma, 500);
    EXPECT_TRUE(
        logged(log, "Pan (Absolute) min(-10), max(10), res(3600), def(0), cur(2), info(3)"));
    // Hue's trace shows the raw values.
    EXPECT_TRUE(logged(log, "Hue min(-18000), max(18000), res(100), def(0), cur(-1000), info(3)"));
}

TEST(Probe, ModelQuirksOfExposure) {
    auto knob = openFixture("exposure-knob.json");
    log::ScopedCapture log;
    knob->probe();
    EXPECT_EQ(knob->record().minExposureTimeAbsolute, 1);
    EXPECT_EQ(knob->record().maxExposureTimeAbsolute, 14);
    EXPECT_EQ(knob->record().defExposureTimeAbsolute, 8);  // 156
    EXPECT_EQ(knob->record().curExposureTimeAbsolute, 9);  // 312
    EXPECT_TRUE(
        logged(log, "Exposure Time (Absolute) min(1), max(14), res(1), def(8), cur(9), info(3)"));

    // Motor-focus cameras declare no focus; it comes with the exposure control.
    auto motor = openFixture("xu-focus.json");
    motor->probe();
    EXPECT_EQ(motor->record().bFocusAbsolute, 1);
    EXPECT_EQ(motor->record().maxFocusAbsolute, 255);
}

TEST(Probe, RefusedRequestsKeepThePreviousAnswersAndZeroResolutionsCountAsOne) {
    // Brightness answers, contrast stalls: contrast keeps brightness's scratch values, which a
    // 2-byte read delivers zero-extended. Hue answers a resolution of 0.
    auto c = openJson(R"({"vendorID": "0x1234", "productID": "0x0003", "locationID": "0x11000000",
        "vc": ["0b24050201000002070000"],
        "controls": {"Brightness": {"min": -64, "max": 64, "res": 1, "def": 0, "cur": 5},
                     "Hue": {"min": [76, 255], "max": 180, "res": 0, "def": 0}}})");
    c->device->stallSelector(2, 0x03);
    c->probe();
    EXPECT_EQ(c->record().minContrast, 65472);
    EXPECT_EQ(c->record().curContrast, 5);
    EXPECT_EQ(c->record().minHue, -180);  // the bytes 4C FF
    EXPECT_EQ(c->record().resHue, 1);
}

TEST(Probe, MalformedDescriptorsAreSkippedAndLogged) {
    // A non-camera input terminal; a camera terminal whose bControlSize 3 outruns its 16 bytes;
    // a 7-byte processing unit; a 2-byte scrap; then a good processing unit.
    auto c = openJson(R"({"vendorID": "0x1234", "productID": "0x0004", "locationID": "0x11000000",
        "vc": ["0824020402020000", "122402050102000000000000000003ff",
               "07240502010000", "0224", "0b24050601000002010000"]})");
    log::ScopedCapture log;
    c->probe();
    EXPECT_EQ(c->camera->inputTerminalID, 0);
    EXPECT_EQ(c->camera->processingUnitID, 6);
    EXPECT_FALSE(c->record().bAutoExposureMode);
    EXPECT_TRUE(logged(log, "CameraControl Error: Descriptor too short (16 bytes, subtype 0x02)"));
    EXPECT_TRUE(logged(log, "CameraControl Error: Descriptor too short (7 bytes, subtype 0x05)"));
    EXPECT_TRUE(logged(log, "CameraControl Error: Descriptor too short (2 bytes, subtype 0x00)"));
    for (const Req& r : trace(*c->device))
        EXPECT_EQ(r.unit, 6);
}

}  // namespace
}  // namespace orvella
