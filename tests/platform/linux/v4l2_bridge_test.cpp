// UVC requests translated to V4L2 control ioctls and back, as uvcvideo presents a camera.

#include <gtest/gtest.h>

#include <algorithm>

#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/linux/UvcV4l2Bridge.h"
#include "support/FakeV4l2Device.h"

namespace orvella::linuxplatform {
namespace {

using testing::FakeV4l2Device;
using Bytes = std::vector<uint8_t>;

constexpr uint8_t kTerminal = 1;
constexpr uint8_t kProcessing = 2;

class Bridge : public ::testing::Test {
  protected:
    void SetUp() override {
        auto& ae = v4l2.add(V4L2_CID_EXPOSURE_AUTO, 0, 3, 1, 3, V4L2_CTRL_TYPE_MENU);
        ae.menuMask = 0b1010;  // manual and aperture priority
        v4l2.add(V4L2_CID_EXPOSURE_AUTO_PRIORITY, 0, 1, 1, 0, V4L2_CTRL_TYPE_BOOLEAN);
        v4l2.add(V4L2_CID_EXPOSURE_ABSOLUTE, 3, 2047, 1, 250);
        v4l2.add(V4L2_CID_FOCUS_ABSOLUTE, 0, 250, 5, 0);
        v4l2.add(V4L2_CID_FOCUS_AUTO, 0, 1, 1, 1, V4L2_CTRL_TYPE_BOOLEAN);
        v4l2.add(V4L2_CID_IRIS_RELATIVE, -1, 1, 1, 0);
        v4l2.add(V4L2_CID_ZOOM_ABSOLUTE, 100, 500, 1, 100);
        v4l2.add(V4L2_CID_PAN_ABSOLUTE, -36000, 36000, 3600, 0);
        v4l2.add(V4L2_CID_TILT_ABSOLUTE, -36000, 36000, 3600, 0);
        v4l2.add(V4L2_CID_PAN_SPEED, -1, 160, 1, 0);
        v4l2.add(V4L2_CID_TILT_SPEED, -1, 120, 1, 0);
        v4l2.add(V4L2_CID_BACKLIGHT_COMPENSATION, 0, 2, 1, 1);
        v4l2.add(V4L2_CID_BRIGHTNESS, -64, 64, 1, 0);
        v4l2.add(V4L2_CID_CONTRAST, 0, 95, 1, 32);
        v4l2.add(V4L2_CID_GAIN, 0, 100, 1, 0);
        v4l2.add(V4L2_CID_POWER_LINE_FREQUENCY, 0, 2, 1, 2, V4L2_CTRL_TYPE_MENU);
        v4l2.add(V4L2_CID_HUE, -2000, 2000, 100, 0);
        v4l2.add(V4L2_CID_SATURATION, 0, 100, 1, 64);
        v4l2.add(V4L2_CID_SHARPNESS, 0, 7, 1, 3);
        v4l2.add(V4L2_CID_GAMMA, 100, 500, 1, 100);
        v4l2.add(V4L2_CID_WHITE_BALANCE_TEMPERATURE, 2800, 6500, 10, 4600);
        v4l2.add(V4L2_CID_AUTO_WHITE_BALANCE, 0, 1, 1, 1, V4L2_CTRL_TYPE_BOOLEAN);
        v4l2.xuControls[{9, 1}] = Bytes(4, 0);
        v4l2.xuControls[{7, 9}] = Bytes{1, 3, 1, 0, 10};

        units.cameraTerminal = kTerminal;
        units.cameraTerminalControls = 0x061A3E;
        units.processingUnit = kProcessing;
        units.processingUnitControls = 0x177F;
        units.extensionUnits = {9};
    }

    IOReturn get(uint8_t request, uint8_t unit, uint8_t selector, uint16_t length, Bytes& out) {
        out.assign(length, 0xEE);
        platform::ControlRequest r{0xA1,
                                   request,
                                   static_cast<uint16_t>(selector << 8),
                                   static_cast<uint16_t>(unit << 8),
                                   length,
                                   out.data(),
                                   0};
        const IOReturn status = bridge().controlRequest(r);
        out.resize(r.wLenDone);
        return status;
    }
    IOReturn set(uint8_t unit, uint8_t selector, Bytes data) {
        platform::ControlRequest r{0x21,
                                   0x01,
                                   static_cast<uint16_t>(selector << 8),
                                   static_cast<uint16_t>(unit << 8),
                                   static_cast<uint16_t>(data.size()),
                                   data.data(),
                                   0};
        return bridge().controlRequest(r);
    }
    UvcV4l2Bridge& bridge() {
        if (!bridge_) bridge_ = std::make_unique<UvcV4l2Bridge>(units, v4l2);
        return *bridge_;
    }

    FakeV4l2Device v4l2;
    UvcUnits units;
    std::unique_ptr<UvcV4l2Bridge> bridge_;
};

struct Case {
    uint8_t unit, selector;
    Bytes bytes;                // the UVC payload
    std::vector<uint32_t> ids;  // the V4L2 controls it becomes
    std::vector<int64_t> values;
};

TEST_F(Bridge, EveryMappedControlTranslatesBothWays) {
    const std::vector<Case> cases{
        {kTerminal, 0x02, {0x01}, {V4L2_CID_EXPOSURE_AUTO}, {V4L2_EXPOSURE_MANUAL}},
        {kTerminal, 0x03, {0x01}, {V4L2_CID_EXPOSURE_AUTO_PRIORITY}, {1}},
        {kTerminal, 0x04, {0xF4, 0x01, 0, 0}, {V4L2_CID_EXPOSURE_ABSOLUTE}, {500}},
        {kTerminal, 0x08, {0x00}, {V4L2_CID_FOCUS_AUTO}, {0}},
        {kTerminal, 0x06, {40, 0}, {V4L2_CID_FOCUS_ABSOLUTE}, {40}},
        {kTerminal, 0x0A, {0xFF}, {V4L2_CID_IRIS_RELATIVE}, {-1}},
        {kTerminal, 0x0B, {150, 0}, {V4L2_CID_ZOOM_ABSOLUTE}, {150}},
        {kTerminal,
         0x0D,
         {0x10, 0x0E, 0, 0, 0xE0, 0xE3, 0xFF, 0xFF},
         {V4L2_CID_PAN_ABSOLUTE, V4L2_CID_TILT_ABSOLUTE},
         {3600, -7200}},
        {kTerminal, 0x0E, {0x01, 5, 0xFF, 1}, {V4L2_CID_PAN_SPEED, V4L2_CID_TILT_SPEED}, {5, -1}},
        {kProcessing, 0x01, {2, 0}, {V4L2_CID_BACKLIGHT_COMPENSATION}, {2}},
        {kProcessing, 0x02, {0xF6, 0xFF}, {V4L2_CID_BRIGHTNESS}, {-10}},
        {kProcessing, 0x03, {50, 0}, {V4L2_CID_CONTRAST}, {50}},
        {kProcessing, 0x04, {7, 0}, {V4L2_CID_GAIN}, {7}},
        {kProcessing, 0x05, {1}, {V4L2_CID_POWER_LINE_FREQUENCY}, {1}},
        {kProcessing, 0x06, {0x9C, 0xFF}, {V4L2_CID_HUE}, {-100}},
        {kProcessing, 0x07, {70, 0}, {V4L2_CID_SATURATION}, {70}},
        {kProcessing, 0x08, {5, 0}, {V4L2_CID_SHARPNESS}, {5}},
        {kProcessing, 0x09, {0x2C, 0x01}, {V4L2_CID_GAMMA}, {300}},
        {kProcessing, 0x0B, {0}, {V4L2_CID_AUTO_WHITE_BALANCE}, {0}},
        {kProcessing, 0x0A, {0x88, 0x13}, {V4L2_CID_WHITE_BALANCE_TEMPERATURE}, {5000}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message()
                     << "unit " << int(c.unit) << " selector " << int(c.selector));
        v4l2.calls.clear();
        ASSERT_EQ(set(c.unit, c.selector, c.bytes), kIOReturnSuccess);
        // One S_EXT_CTRLS carrying every control of the selector, so the driver sends one SET_CUR
        // (relative moves are tried first).
        ASSERT_FALSE(v4l2.calls.empty());
        EXPECT_EQ(v4l2.calls.back().request, static_cast<unsigned long>(VIDIOC_S_EXT_CTRLS));
        EXPECT_EQ(
            std::count_if(v4l2.calls.begin(), v4l2.calls.end(),
                          [](const auto& call) { return call.request == VIDIOC_S_EXT_CTRLS; }),
            1);
        EXPECT_EQ(v4l2.calls.back().ids, c.ids);
        for (size_t i = 0; i < c.ids.size(); ++i)
            EXPECT_EQ(v4l2.value(c.ids[i]), c.values[i]);

        Bytes read;
        ASSERT_EQ(get(0x81, c.unit, c.selector, static_cast<uint16_t>(c.bytes.size()), read),
                  kIOReturnSuccess);
        EXPECT_EQ(read, c.bytes);
    }
}

TEST_F(Bridge, RelativeMovesLoseWhatV4l2CannotSay) {
    // The motor camera's steps carry a direction and speed 0; the driver needs a speed.
    EXPECT_EQ(set(kTerminal, 0x0E, {0x00, 0x00, 0x01, 0x00}), kIOReturnSuccess);
    EXPECT_EQ(v4l2.value(V4L2_CID_TILT_SPEED), 1);
    EXPECT_EQ(v4l2.value(V4L2_CID_PAN_SPEED), 0);
    // The driver's range starts at -1, so every backward move runs at the slowest speed.
    EXPECT_EQ(set(kTerminal, 0x0E, {0xFF, 0x20, 0x00, 0x00}), kIOReturnSuccess);
    EXPECT_EQ(v4l2.value(V4L2_CID_PAN_SPEED), -1);
}

TEST_F(Bridge, RelativeMovesTheDriverWouldStopOrReverseAreRefused) {
    // uvcvideo gives iris relative an empty range and zoom continuous a positive minimum (the
    // speed byte of GET_MIN): opening the iris would become "stay", zooming out "zoom in".
    v4l2.add(V4L2_CID_IRIS_RELATIVE, 0, 0, 0, 0);
    v4l2.add(V4L2_CID_ZOOM_CONTINUOUS, 1, 7, 1, 1);
    for (const auto& [selector, bytes] :
         std::vector<std::pair<uint8_t, Bytes>>{{0x0A, {0x01}}, {0x0C, {0xFF, 0x00, 0x03}}}) {
        v4l2.calls.clear();
        EXPECT_EQ(set(kTerminal, selector, bytes), kIOUSBPipeStalled) << int(selector);
        for (const auto& call : v4l2.calls)
            EXPECT_NE(call.request, static_cast<unsigned long>(VIDIOC_S_EXT_CTRLS));
    }
    EXPECT_EQ(set(kTerminal, 0x0A, {0x00}), kIOReturnSuccess);  // "stay" stays possible
    EXPECT_EQ(set(kTerminal, 0x0C, {0x01, 0x00, 0x09}), kIOReturnSuccess);
    EXPECT_EQ(v4l2.value(V4L2_CID_ZOOM_CONTINUOUS), 7);  // faster than offered: the fastest
}

TEST_F(Bridge, RangesComeFromTheQueries) {
    Bytes b;
    EXPECT_EQ(get(0x82, kProcessing, 0x02, 2, b), kIOReturnSuccess);
    EXPECT_EQ(b, (Bytes{0xC0, 0xFF}));  // -64
    get(0x84, kProcessing, 0x0A, 2, b);
    EXPECT_EQ(b, (Bytes{10, 0}));
    get(0x87, kProcessing, 0x05, 1, b);
    EXPECT_EQ(b, (Bytes{2}));
    get(0x83, kTerminal, 0x0D, 8, b);
    EXPECT_EQ(b, (Bytes{0xA0, 0x8C, 0, 0, 0xA0, 0x8C, 0, 0}));
    // A relative move's range is a speed range; the driver's -1 minimum is the slowest speed.
    get(0x82, kTerminal, 0x0E, 4, b);
    EXPECT_EQ(b, (Bytes{0, 1, 0, 1}));
    get(0x85, kProcessing, 0x03, 2, b);
    EXPECT_EQ(b, (Bytes{2, 0}));
    // A longer read than the control gets the control's bytes only; a shorter one its prefix.
    get(0x81, kTerminal, 0x04, 8, b);
    EXPECT_EQ(b.size(), 4u);
    get(0x81, kTerminal, 0x04, 2, b);
    EXPECT_EQ(b, (Bytes{250, 0}));
}

TEST_F(Bridge, AutoExposureModeIsABitmapOnTheWireAndAMenuInTheDriver) {
    Bytes b;
    EXPECT_EQ(get(0x84, kTerminal, 0x02, 1, b), kIOReturnSuccess);
    EXPECT_EQ(b, (Bytes{0x09}));  // offered modes from the menu entries the driver accepts
    get(0x81, kTerminal, 0x02, 1, b);
    EXPECT_EQ(b, (Bytes{0x08}));
    get(0x87, kTerminal, 0x02, 1, b);
    EXPECT_EQ(b, (Bytes{0x08}));
    EXPECT_EQ(get(0x82, kTerminal, 0x02, 1, b), kIOUSBPipeStalled);  // the device has no range

    v4l2.calls.clear();
    EXPECT_EQ(set(kTerminal, 0x02, {0x03}), kIOUSBPipeStalled);  // two modes at once
    EXPECT_TRUE(v4l2.calls.empty());
    EXPECT_EQ(set(kTerminal, 0x02, {0x02}), kIOUSBPipeStalled);  // not offered: the driver refuses
    EXPECT_EQ(v4l2.value(V4L2_CID_EXPOSURE_AUTO), V4L2_EXPOSURE_APERTURE_PRIORITY);
}

TEST_F(Bridge, InfoReportsCapabilitiesAndAutomaticModes) {
    Bytes b;
    get(0x86, kTerminal, 0x04, 1, b);
    EXPECT_EQ(b, (Bytes{0x07}));  // aperture priority governs the exposure time
    set(kTerminal, 0x02, {0x01});
    get(0x86, kTerminal, 0x04, 1, b);
    EXPECT_EQ(b, (Bytes{0x03}));
    get(0x86, kProcessing, 0x0A, 1, b);
    EXPECT_EQ(b, (Bytes{0x07}));
    v4l2.controls[V4L2_CID_GAIN].flags = V4L2_CTRL_FLAG_READ_ONLY;
    get(0x86, kProcessing, 0x04, 1, b);
    EXPECT_EQ(b, (Bytes{0x01}));
}

TEST_F(Bridge, UnreachableControlsStallWithoutAskingTheDriver) {
    Bytes b;
    v4l2.calls.clear();
    EXPECT_EQ(get(0x81, kProcessing, 0x0E, 2, b), kIOUSBPipeStalled);  // digital multiplier
    EXPECT_EQ(set(kTerminal, 0x01, {1}), kIOUSBPipeStalled);           // scanning mode
    // Component auto shares its V4L2 control with temperature auto, which wins.
    EXPECT_EQ(get(0x81, kProcessing, 0x0D, 1, b), kIOUSBPipeStalled);
    EXPECT_TRUE(v4l2.calls.empty());
    // Declared by nobody: the driver says so.
    EXPECT_EQ(get(0x81, kProcessing, 0x10, 1, b), kIOUSBPipeStalled);
}

TEST_F(Bridge, ExtensionUnitRequestsReachTheDriverUnchanged) {
    Bytes step{0x00, 0x00, 0x80, 0xFF};
    EXPECT_EQ(set(9, 0x01, step), kIOReturnSuccess);
    const auto& call = v4l2.calls.back();
    EXPECT_EQ(call.request, static_cast<unsigned long>(UVCIOC_CTRL_QUERY));
    EXPECT_EQ(call.xu.unit, 9);
    EXPECT_EQ(call.xu.selector, 1);
    EXPECT_EQ(call.xu.query, 0x01);
    EXPECT_EQ(call.xu.size, 4);
    EXPECT_EQ(call.xuData, step);
    EXPECT_EQ((v4l2.xuControls[{9, 1}]), step);

    Bytes b;
    EXPECT_EQ(get(0x81, 7, 0x09, 5, b), kIOReturnSuccess);
    EXPECT_EQ(b, (Bytes{1, 3, 1, 0, 10}));
    v4l2.shortXuAnswer = 2;  // a 6.1 kernel returns the count of a short answer
    EXPECT_EQ(get(0x81, 7, 0x09, 5, b), kIOReturnSuccess);
    EXPECT_EQ(b.size(), 2u);
    EXPECT_EQ(get(0x81, 13, 0x01, 3, b), kIOUSBPipeStalled);  // no such unit: ENOENT
    EXPECT_EQ(get(0x81, 7, 0x09, 4, b), kIOUSBPipeStalled);   // wrong size: ENOBUFS
}

TEST_F(Bridge, ErrnoClassesBecomeTheStatusesTheCoreKnows) {
    const std::vector<std::pair<int, IOReturn>> classes{
        {ENODEV, kIOReturnNoDevice},     {ESHUTDOWN, kIOReturnNoDevice},
        {EPROTO, kIOReturnNoDevice},     {ETIMEDOUT, kIOReturnNotResponding},
        {EBUSY, kIOReturnNotResponding}, {EPIPE, kIOUSBPipeStalled},
        {EILSEQ, kIOUSBPipeStalled},     {EACCES, kIOUSBPipeStalled},
        {ERANGE, kIOUSBPipeStalled},     {EINVAL, kIOUSBPipeStalled},
        {EIO, kIOUSBPipeStalled},        {EREMOTE, kIOUSBPipeStalled},
        {ENOENT, kIOUSBPipeStalled},     {EBADRQC, kIOUSBPipeStalled},
        {ENOBUFS, kIOUSBPipeStalled},    {ENOMEM, kIOReturnNoMemory},
        {EOVERFLOW, kIOReturnOverrun},   {EXDEV, kIOReturnError},
    };
    for (const auto& [error, status] : classes) {
        SCOPED_TRACE(error);
        Bytes b;
        v4l2.failures = {error};
        EXPECT_EQ(get(0x81, kProcessing, 0x02, 2, b), status);
        v4l2.failures = {error};
        EXPECT_EQ(set(kProcessing, 0x02, {1, 0}), status);
        v4l2.failures = {error};
        EXPECT_EQ(set(9, 0x01, {0, 0, 0, 0}), status);
    }
    // Writing a control its automatic mode governs: the 6.1 device stalls with "wrong state".
    v4l2.inactiveWriteErrno = EILSEQ;
    EXPECT_EQ(set(kProcessing, 0x0A, {0x88, 0x13}), kIOUSBPipeStalled);
    EXPECT_EQ(v4l2.value(V4L2_CID_WHITE_BALANCE_TEMPERATURE), 4600);
}

TEST_F(Bridge, MalformedRequestsAreRefused) {
    Bytes b(1);
    platform::ControlRequest wrongType{0x80, 0x81, 0x0200, 0x0200, 2, b.data(), 0};
    EXPECT_EQ(bridge().controlRequest(wrongType), kIOUSBPipeStalled);
    EXPECT_EQ(set(kProcessing, 0x02, {1}), kIOUSBPipeStalled);  // shorter than the control
    platform::ControlRequest noBuffer{0xA1, 0x81, 0x0200, 0x0200, 2, nullptr, 0};
    EXPECT_EQ(bridge().controlRequest(noBuffer), kIOReturnBadArgument);
}

TEST_F(Bridge, ControlEventsBecomeUvcChangesOfTheWholePayload) {
    ASSERT_EQ(bridge().subscribeControlEvents(), 0);
    std::vector<uint32_t> subscribed;
    for (const auto& s : v4l2.subscriptions) {
        EXPECT_EQ(s.type, static_cast<uint32_t>(V4L2_EVENT_CTRL));
        EXPECT_EQ(s.flags, 0u);  // no feedback: this node's own value changes stay unreported
        subscribed.push_back(s.id);
    }
    // Every control the node has, once; the ones it lacks (hue auto) are skipped.
    EXPECT_EQ(std::count(subscribed.begin(), subscribed.end(), V4L2_CID_AUTO_WHITE_BALANCE), 1);
    EXPECT_EQ(std::count(subscribed.begin(), subscribed.end(), V4L2_CID_TILT_ABSOLUTE), 1);
    EXPECT_EQ(std::count(subscribed.begin(), subscribed.end(), V4L2_CID_HUE_AUTO), 0);
    EXPECT_EQ(subscribed.size(), v4l2.controls.size());

    auto take = [&] {
        int error = -1;
        auto changes = bridge().takeControlChanges(&error);
        EXPECT_EQ(error, 0);
        return changes;
    };
    v4l2.controls[V4L2_CID_BRIGHTNESS].value = -5;
    v4l2.raise(V4L2_CID_BRIGHTNESS, V4L2_EVENT_CTRL_CH_VALUE);
    v4l2.controls[V4L2_CID_EXPOSURE_AUTO].value = V4L2_EXPOSURE_APERTURE_PRIORITY;
    v4l2.raise(V4L2_CID_EXPOSURE_AUTO, V4L2_EVENT_CTRL_CH_VALUE);
    // Another program moves pan and tilt in one call: two events, one change of the pair.
    v4l2.controls[V4L2_CID_PAN_ABSOLUTE].value = 3600;
    v4l2.controls[V4L2_CID_TILT_ABSOLUTE].value = -7200;
    v4l2.raise(V4L2_CID_PAN_ABSOLUTE, V4L2_EVENT_CTRL_CH_VALUE);
    v4l2.raise(V4L2_CID_TILT_ABSOLUTE, V4L2_EVENT_CTRL_CH_VALUE);
    auto changes = take();
    ASSERT_EQ(changes.size(), 3u);
    EXPECT_EQ(changes[0].unit, kProcessing);
    EXPECT_EQ(changes[0].selector, 0x02);
    EXPECT_TRUE(changes[0].valueChanged);
    EXPECT_FALSE(changes[0].flagsChanged);
    EXPECT_EQ(changes[0].value, 0xFFFBu);  // -5 in the control's two bytes
    EXPECT_EQ(changes[1].unit, kTerminal);
    EXPECT_EQ(changes[1].value, 0x08u);  // menu index 3 is the aperture-priority bit
    EXPECT_EQ(changes[2].selector, 0x0D);
    EXPECT_EQ(changes[2].value, 0xFFFFE3E000000E10u);
    EXPECT_TRUE(take().empty());

    // This process switches exposure to manual: the driver tells it the exposure time's flag
    // change, with the value it already knows, which therefore is no change of value.
    Bytes b;
    ASSERT_EQ(get(0x81, kTerminal, 0x04, 4, b), kIOReturnSuccess);
    ASSERT_EQ(set(kTerminal, 0x02, {0x01}), kIOReturnSuccess);
    v4l2.raise(V4L2_CID_EXPOSURE_ABSOLUTE, V4L2_EVENT_CTRL_CH_FLAGS | V4L2_EVENT_CTRL_CH_VALUE);
    changes = take();
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].selector, 0x04);
    EXPECT_TRUE(changes[0].flagsChanged);
    EXPECT_FALSE(changes[0].inactive);
    EXPECT_FALSE(changes[0].valueChanged);
    // A write of the value the camera already holds changes nothing.
    v4l2.raise(V4L2_CID_BRIGHTNESS, V4L2_EVENT_CTRL_CH_VALUE);
    EXPECT_TRUE(take().empty());

    // Events of a control no UVC control maps to: ignored, with one line.
    log::ScopedCapture log;
    v4l2.add(V4L2_CID_ROTATE, 0, 270, 90, 0);
    v4l2.raise(V4L2_CID_ROTATE, V4L2_EVENT_CTRL_CH_VALUE);
    v4l2.raise(V4L2_CID_ROTATE, V4L2_EVENT_CTRL_CH_VALUE);
    EXPECT_TRUE(take().empty());
    EXPECT_EQ(log.lines().size(), 1u);

    // The camera goes away: the events end with its errno.
    v4l2.raise(V4L2_CID_BRIGHTNESS, V4L2_EVENT_CTRL_CH_VALUE);
    v4l2.unplugged = true;
    int error = 0;
    EXPECT_TRUE(bridge().takeControlChanges(&error).empty());
    EXPECT_EQ(error, ENODEV);
}

TEST(UvcUnits, ComeFromTheDescriptorsAndSurviveShortOnes) {
    const std::vector<platform::Descriptor> descriptors{
        {0x0d, 0x24, 0x01, 0x00, 0x01},  // header, cut short
        {0x12, 0x24, 0x02, 0x04, 0x01, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0x03, 0x0E, 0x00, 0x02},
        {0x0b, 0x24, 0x05, 0x05, 0x04, 0, 0, 0x02, 0x5B},  // bmControls cut short
        {0x1b, 0x24, 0x06, 0x07},                          // extension unit
        {0x09, 0x24, 0x02, 0x08, 0x01, 0x01},              // not a camera
        {0x24},
    };
    const UvcUnits units = UvcUnits::fromDescriptors(descriptors);
    EXPECT_EQ(units.cameraTerminal, 4);
    EXPECT_EQ(units.cameraTerminalControls, 0x02000Eu);
    EXPECT_EQ(units.processingUnit, 5);
    EXPECT_EQ(units.processingUnitControls, 0x5Bu);
    EXPECT_EQ(units.extensionUnits, std::vector<uint8_t>{7});
}

}  // namespace
}  // namespace orvella::linuxplatform
