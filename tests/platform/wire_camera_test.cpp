// A virtual camera as a USB device on the wire, as a host stack meets it: the descriptors of
// enumeration, the standard requests, the request error code after a stall and the streaming
// probe/commit negotiation.

#include <gtest/gtest.h>

#include "platform/virtual/StreamingNegotiation.h"
#include "platform/virtual/UsbDeviceDescriptors.h"
#include "platform/virtual/UsbWireDevice.h"
#include "support/VirtualRig.h"

namespace orvella::virtualcam {
namespace {

using Bytes = std::vector<uint8_t>;
using Outcome = UsbWireDevice::Outcome;

std::array<uint8_t, 8> setup(uint8_t type, uint8_t request, uint16_t value, uint16_t index,
                             uint16_t length) {
    return {type,
            request,
            static_cast<uint8_t>(value),
            static_cast<uint8_t>(value >> 8),
            static_cast<uint8_t>(index),
            static_cast<uint8_t>(index >> 8),
            static_cast<uint8_t>(length),
            static_cast<uint8_t>(length >> 8)};
}

uint32_t le32(const Bytes& b, size_t at) {
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<uint32_t>(b[at + 3]) << 24;
}

TEST(UsbWireDevice, EnumeratesAndConfiguresLikeAUvcCamera) {
    auto camera = testing::loadFixture("logitech-c270.json");
    UsbWireDevice device(camera);

    const auto deviceDescriptor = device.control(setup(0x80, 6, 0x0100, 0, 64), {});
    ASSERT_EQ(deviceDescriptor.outcome, Outcome::Done);
    ASSERT_EQ(deviceDescriptor.data.size(), 18u);  // a short answer to the 64-byte first read
    EXPECT_EQ(deviceDescriptor.data[8] | deviceDescriptor.data[9] << 8, 0x046D);
    EXPECT_EQ(deviceDescriptor.data[15], camera->productStringIndex());

    const Bytes& config = device.descriptors().configuration();
    EXPECT_EQ(device.control(setup(0x80, 6, 0x0200, 0, 9), {}).data,
              Bytes(config.begin(), config.begin() + 9));
    ASSERT_EQ(config[2] | config[3] << 8, static_cast<int>(config.size()));
    // The whole configuration walks by bLength to its end; collect what the host will parse.
    std::vector<Bytes> endpoints;
    Bytes vcClassSpecific;
    int interfaceDescriptors = 0;
    for (size_t at = 0; at < config.size(); at += config[at]) {
        ASSERT_GE(config[at], 2);
        ASSERT_LE(at + config[at], config.size());
        if (config[at + 1] == 4) ++interfaceDescriptors;
        if (config[at + 1] == 5)
            endpoints.emplace_back(config.begin() + at, config.begin() + at + config[at]);
        if (config[at + 1] == 0x24 && interfaceDescriptors == 1)
            vcClassSpecific.insert(vcClassSpecific.end(), config.begin() + at,
                                   config.begin() + at + config[at]);
    }
    EXPECT_EQ(interfaceDescriptors, 3);  // VideoControl, VideoStreaming alternates 0 and 1
    Bytes expected;
    for (const auto& d : camera->interfaces()[0].descriptors)
        expected.insert(expected.end(), d.begin(), d.end());
    EXPECT_EQ(vcClassSpecific, expected);
    ASSERT_EQ(endpoints.size(), 2u);
    EXPECT_EQ(endpoints[0][3], 0x03);  // the status interrupt endpoint...
    EXPECT_EQ(endpoints[1][2], 0x81);  // ...leaves 0x81 to the video, as the input header says
    EXPECT_EQ(endpoints[1][3], 0x05);
    EXPECT_NE(endpoints[0][2], endpoints[1][2]);

    EXPECT_EQ(device.control(setup(0x80, 6, 0x0302, 0x0409, 255), {}).data.size(),
              30u);  // "C270 HD WEBCAM"
    EXPECT_EQ(device.control(setup(0x80, 6, 0x0307, 0x0409, 255), {}).outcome, Outcome::Stall);

    // Class requests wait for a configuration; interfaces take the alternates they have.
    EXPECT_EQ(device.control(setup(0xA1, 0x81, 0x0200, 0x0200, 2), {}).outcome, Outcome::Stall);
    EXPECT_EQ(device.control(setup(0x00, 9, 1, 0, 0), {}).outcome, Outcome::Done);
    EXPECT_EQ(device.control(setup(0x80, 8, 0, 0, 1), {}).data, Bytes{1});
    EXPECT_EQ(device.control(setup(0x01, 11, 1, 1, 0), {}).outcome, Outcome::Done);
    EXPECT_EQ(device.control(setup(0x81, 10, 0, 1, 1), {}).data, Bytes{1});
    EXPECT_EQ(device.control(setup(0x01, 11, 2, 1, 0), {}).outcome, Outcome::Stall);
    EXPECT_EQ(device.control(setup(0x01, 11, 0, 5, 0), {}).outcome, Outcome::Stall);
    EXPECT_EQ(device.control(setup(0x80, 0, 0, 0, 2), {}).data, (Bytes{0, 0}));
    EXPECT_EQ(device.control(setup(0xC0, 1, 0, 0, 4), {}).outcome, Outcome::Stall);  // vendor
}

TEST(UsbWireDevice, ClassRequestOutcomesFollowTheCamera) {
    auto camera = testing::loadFixture("logitech-c270.json");
    UsbWireDevice device(camera);
    device.control(setup(0x00, 9, 1, 0, 0), {});

    EXPECT_EQ(device.control(setup(0xA1, 0x81, 0x0200, 0x0200, 2), {}).data, (Bytes{0x80, 0x00}));
    const auto set = device.control(setup(0x21, 0x01, 0x0200, 0x0200, 2), {0x10, 0x00});
    EXPECT_EQ(set.outcome, Outcome::Done);
    EXPECT_EQ(set.length, 2u);
    EXPECT_EQ(camera->currentValue(2, 2), 0x10);
    // A data stage shorter than announced is refused without reaching the camera.
    const size_t logged = camera->requestCount();
    EXPECT_EQ(device.control(setup(0x21, 0x01, 0x0200, 0x0200, 2), {0x20}).outcome, Outcome::Stall);
    EXPECT_EQ(camera->requestCount(), logged);

    camera->failNext(kIOReturnNotResponding);
    EXPECT_EQ(device.control(setup(0xA1, 0x81, 0x0200, 0x0200, 2), {}).outcome, Outcome::NoAnswer);
    camera->vanishOnRequest(1);
    EXPECT_EQ(device.control(setup(0xA1, 0x81, 0x0200, 0x0200, 2), {}).outcome, Outcome::Gone);
}

IOReturn request(VirtualCamera& camera, uint8_t type, uint8_t code, uint8_t unit, uint8_t selector,
                 Bytes& data, uint8_t interfaceNumber = 0) {
    platform::ControlRequest r{type,
                               code,
                               static_cast<uint16_t>(selector << 8),
                               static_cast<uint16_t>(unit << 8 | interfaceNumber),
                               static_cast<uint16_t>(data.size()),
                               data.data(),
                               0};
    return camera.controlRequest(interfaceNumber, r);
}

TEST(VirtualCameraRequestErrorCode, SaysWhyTheLastRequestStalled) {
    auto camera = testing::loadFixture("logitech-c270.json");
    auto code = [&] {
        Bytes b{0xEE};
        EXPECT_EQ(request(*camera, 0xA1, 0x81, 0, 0x02, b), kIOReturnSuccess);
        return b[0];
    };
    Bytes two{0xB8, 0x0B}, one{0};
    // White balance temperature while its automatic mode is on: wrong state.
    EXPECT_EQ(request(*camera, 0x21, 0x01, 2, 0x0A, two), kIOUSBPipeStalled);
    EXPECT_EQ(code(), 2);
    EXPECT_EQ(code(), 2);  // reading the code leaves it
    EXPECT_EQ(request(*camera, 0xA1, 0x81, 2, 0x0A, two), kIOReturnSuccess);
    EXPECT_EQ(code(), 0);
    EXPECT_EQ(request(*camera, 0xA1, 0x81, 2, 0x11, two), kIOUSBPipeStalled);  // no such control
    EXPECT_EQ(code(), 6);
    EXPECT_EQ(request(*camera, 0xA1, 0x81, 0x55, 0x02, two), kIOUSBPipeStalled);  // no such unit
    EXPECT_EQ(code(), 5);
    EXPECT_EQ(request(*camera, 0xA1, 0x88, 2, 0x02, two), kIOUSBPipeStalled);  // no such request
    EXPECT_EQ(code(), 7);
    one[0] = 0x04;  // shutter priority: not a mode this camera offers
    EXPECT_EQ(request(*camera, 0x21, 0x01, 1, 0x02, one), kIOUSBPipeStalled);
    EXPECT_EQ(code(), 8);
    camera->stallSelector(2, 0x02, 1);
    EXPECT_EQ(request(*camera, 0xA1, 0x81, 2, 0x02, two), kIOUSBPipeStalled);
    EXPECT_EQ(code(), 1);
    EXPECT_EQ(camera->requestErrorCode(), 1);

    auto strict = testing::cameraFromJson(R"({"vendorID": 1, "productID": 2, "outOfRange": "stall",
        "vc": ["0d240100013300000000000101", "0b24050201000002010000"]})");
    Bytes big{0xFF, 0x7F};
    EXPECT_EQ(request(*strict, 0x21, 0x01, 2, 0x02, big), kIOUSBPipeStalled);
    EXPECT_EQ(strict->requestErrorCode(), 4);
}

Bytes probe(uint8_t format, uint8_t frame, uint32_t interval, size_t length = 26) {
    Bytes b(length, 0);
    b[2] = format;
    b[3] = frame;
    for (int i = 0; i < 4; ++i)
        b[4 + i] = static_cast<uint8_t>(interval >> (8 * i));
    return b;
}

TEST(StreamingNegotiation, SettlesOnFormatsFramesAndIntervalsTheCameraOffers) {
    auto camera = testing::loadFixture("full-pu.json");  // UVC 1.0: 26-byte controls
    const uint8_t vs = camera->interfaces()[1].number;
    Bytes b(26, 0);
    ASSERT_EQ(request(*camera, 0xA1, 0x87, 0, 0x01, b, vs), kIOReturnSuccess);
    EXPECT_EQ(b[2], 1);                      // the first format...
    EXPECT_EQ(b[3], 2);                      // ...its default frame (320x240)...
    EXPECT_EQ(le32(b, 4), 333333u);          // ...its default interval
    EXPECT_EQ(le32(b, 18), 320u * 240 * 2);  // frame size
    EXPECT_EQ(le32(b, 22), StreamingNegotiation::kMaxPayloadTransferSize);

    struct Case {
        Bytes proposed;
        uint8_t format, frame;
        uint32_t interval;
    };
    const std::vector<Case> cases{
        {probe(1, 1, 700000), 1, 1, 666666},    // nearest discrete interval
        {probe(2, 3, 400000), 2, 3, 333333},    // continuous 333333..2000000 step 333333
        {probe(2, 3, 9000000), 2, 3, 1999998},  // the slowest step
        {probe(9, 1, 0), 1, 1, 333333},         // unknown format: the first one
        {probe(1, 9, 0), 1, 2, 333333},         // unknown frame: the default one
    };
    for (const Case& c : cases) {
        Bytes sent = c.proposed;
        ASSERT_EQ(request(*camera, 0x21, 0x01, 0, 0x01, sent, vs), kIOReturnSuccess);
        Bytes got(26, 0);
        ASSERT_EQ(request(*camera, 0xA1, 0x81, 0, 0x01, got, vs), kIOReturnSuccess);
        EXPECT_EQ(got[2], c.format);
        EXPECT_EQ(got[3], c.frame);
        EXPECT_EQ(le32(got, 4), c.interval) << int(c.format) << "/" << int(c.frame);
    }
    Bytes commit = probe(1, 2, 333333);
    ASSERT_EQ(request(*camera, 0x21, 0x01, 0, 0x02, commit, vs), kIOReturnSuccess);
    EXPECT_EQ(le32(camera->streamingControl(vs, 0x02), 18), 320u * 240 * 2);
    EXPECT_EQ(request(*camera, 0xA1, 0x82, 0, 0x02, b, vs),
              kIOUSBPipeStalled);  // no range on commit
    Bytes tooShort(20, 0);
    EXPECT_EQ(request(*camera, 0x21, 0x01, 0, 0x01, tooShort, vs), kIOUSBPipeStalled);
    // Unit 0 of the VideoControl interface has the request error code control only.
    EXPECT_EQ(request(*camera, 0xA1, 0x81, 0, 0x01, b, 0), kIOUSBPipeStalled);
}

TEST(StreamingNegotiation, LongerControlsFromUvc11AndMalformedFramesSkipped) {
    const std::vector<platform::Descriptor> vs{
        {0x1b, 0x24, 0x04, 0x01, 0x02, 'Y',  'U',  'Y', '2', 0, 0, 0x10, 0, 0x80,
         0,    0,    0xAA, 0,    0x38, 0x9B, 0x71, 16,  2,   0, 0, 0,    0},
        {0x26, 0x24, 0x05, 0x01, 0x00},  // cut short: skipped
        {0x1e, 0x24, 0x05, 0x02, 0,    0x40, 0x01, 0xF0, 0,    0,    0,    0,    0,    0,    0,
         0,    0,    0x00, 0x58, 0x02, 0x00, 0x15, 0x16, 0x05, 0x00, 0x01, 0x15, 0x16, 0x05, 0x00},
    };
    StreamingNegotiation negotiation(vs, 0x0110, 48000000);
    ASSERT_EQ(negotiation.controlLength(), 34u);
    const Bytes& p = negotiation.probe();
    EXPECT_EQ(p[3], 2);  // the default frame 2 is the one that parsed
    EXPECT_EQ(le32(p, 18), 0x025800u);
    EXPECT_EQ(le32(p, 26), 48000000u);
}

}  // namespace
}  // namespace orvella::virtualcam
