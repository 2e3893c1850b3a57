// Control requests as they reach the device: setup fields, data bytes, the single wake-and-retry
// and what reads deliver when a request fails.

#include <gtest/gtest.h>

#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "support/VirtualRig.h"

namespace orvella {
namespace {

using testing::VirtualRig;
using virtualcam::RecordedRequest;

// Camera terminal 1, processing unit 3 (brightness and hue declared), VideoControl interface 0;
// an extension control at unit 5 takes 8 raw bytes.
constexpr const char* kCamera = R"({
  "vendorID": "0x1234", "productID": "0x5678", "locationID": "0x14200000",
  "vc": ["0d240100013300000000000101",
         "122402010102000000000000000003000000",
         "0b24050301000002050000"],
  "controls": {"Brightness": {"min": -10, "max": 10, "cur": -1}},
  "extensionControls": [{"unit": 5, "selector": 1, "length": 8}]
})";

class Requests : public ::testing::Test {
  protected:
    void SetUp() override {
        device = rig.add(testing::cameraFromJson(kCamera));
        camera = rig.open(*device);
        ASSERT_TRUE(camera->controlInterface);
        device->clearRequests();
    }
    RecordedRequest last() const { return device->requests().back(); }

    VirtualRig rig;
    std::shared_ptr<virtualcam::VirtualCamera> device;
    std::unique_ptr<QTCamera> camera;
    log::ScopedCapture log;
};

TEST_F(Requests, SetupFieldsAndDataBytes) {
    // Brightness is unit 3, selector 2.
    EXPECT_EQ(camera->setData(-1, 2, 0x02, 3), kIOReturnSuccess);
    RecordedRequest r = last();
    EXPECT_EQ(r.bmRequestType, 0x21);
    EXPECT_EQ(r.bRequest, 0x01);
    EXPECT_EQ(r.wValue, 0x0200);
    EXPECT_EQ(r.wIndex, 0x0300);
    EXPECT_EQ(r.wLength, 2);
    EXPECT_EQ(r.data, (std::vector<uint8_t>{0xFF, 0xFF}));

    // Lengths other than 1, 2 and 4 send the low 32 bits zero-extended.
    EXPECT_EQ(camera->setData(-1, 8, 0x01, 5), kIOReturnSuccess);
    EXPECT_EQ(last().data, (std::vector<uint8_t>{0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));
    camera->setData(0x0A0B0C0D, 3, 0x01, 5);
    EXPECT_EQ(last().wLength, 3);
    EXPECT_EQ(last().data, (std::vector<uint8_t>{0x0D, 0x0C, 0x0B}));

    EXPECT_EQ(camera->setUInt64(0x8877665544332211ull, 0x01, 5), kIOReturnSuccess);
    EXPECT_EQ(last().data, (std::vector<uint8_t>{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}));

    // Selector and unit keep the low byte that wValue and wIndex have room for.
    camera->setData(1, 1, 0x102, 0x103);
    EXPECT_EQ(last().wValue, 0x0200);
    EXPECT_EQ(last().wIndex, 0x0300);
}

TEST_F(Requests, ReadsAreZeroExtended) {
    long value = 0;
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 3, &value), kIOReturnSuccess);
    EXPECT_EQ(value, 65535);  // -1 as two bytes; sign is the caller's business
    EXPECT_EQ(last().bmRequestType, 0xA1);
    EXPECT_EQ(last().bRequest, 0x81);
    EXPECT_EQ(last().wIndex, 0x0300);

    device->setCurrentValue(5, 1, static_cast<int64_t>(0xF1F2F3F4F5F6F7F8ull));
    value = 0;
    camera->getDataFor(0x81, 8, 0x01, 5, &value);
    EXPECT_EQ(value, 0xF5F6F7F8L);  // 8 bytes through this path keep only the low half
    uint64_t wide = 0;
    camera->getUInt64(0x81, 0x01, 5, &wide);
    EXPECT_EQ(wide, 0xF1F2F3F4F5F6F7F8ull);
}

TEST_F(Requests, FailedReadsStillWriteTheirValue) {
    device->stallSelector(3, 0x02);
    long value = 0x123456789AL;
    const IOReturn status = camera->getDataFor(0x81, 2, 0x02, 3, &value);
    EXPECT_EQ(status, kIOUSBPipeStalled);
    EXPECT_EQ(value, 0x789A);  // what the buffer held, at the request's width
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(log.lines().back(), "CameraControl Error: Control request failed: e000404f");

    value = 0;
    camera->getDataFor(0x81, 2, 0x02, 3, &value);
    EXPECT_EQ(value, 0);
}

TEST_F(Requests, SuspendedDeviceIsWokenAndTheRequestRetriedOnce) {
    device->setSuspended(true);
    long value = 0;
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 3, &value), kIOReturnSuccess);
    EXPECT_EQ(value, 65535);
    EXPECT_EQ(device->resumeCount(), 1);
    const auto requests = device->requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].status, kIOReturnNotResponding);
    EXPECT_EQ(requests[1].status, kIOReturnSuccess);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Requests, ExactlyOneRetryWhenTheDeviceKeepsNotResponding) {
    // Not suspended: the wake returns at once and the request goes out a second time only.
    device->failNext(kIOReturnNotResponding, 5);
    EXPECT_EQ(camera->setData(1, 2, 0x02, 3), kIOReturnNotResponding);
    EXPECT_EQ(device->requestCount(), 2u);
    EXPECT_EQ(device->resumeCount(), 0);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0], "CameraControl Error: Control request failed: e00002ed");

    // The not-responding code is recognised whatever its top three bits say.
    device->clearRequests();
    device->failNext(ioReturn(0x000002ED), 1);
    EXPECT_EQ(camera->setData(1, 2, 0x02, 3), kIOReturnSuccess);
    EXPECT_EQ(device->requestCount(), 2u);

    // Other errors are not retried.
    device->clearRequests();
    device->failNext(kIOReturnDeviceError, 1);
    EXPECT_EQ(camera->setData(1, 2, 0x02, 3), kIOReturnDeviceError);
    EXPECT_EQ(device->requestCount(), 1u);
}

TEST_F(Requests, DeviceGoneDuringTheWake) {
    // The request is not answered and the wake finds no device: no retry, the wake's status.
    device->failNext(kIOReturnNotResponding, 1);
    auto gone = std::make_shared<testing::StubUsbDevice>();  // a handle whose device went away
    gone->status = kIOReturnNoDevice;
    camera->devCamera = gone;
    EXPECT_EQ(camera->setData(1, 2, 0x02, 3), kIOReturnNoDevice);
    EXPECT_EQ(log.printed(), "GetUSBDeviceInformation: unable to open device. ret = e00002c0\n");
    EXPECT_EQ(log.lines().back(), "CameraControl Error: Control request failed: e00002c0");
    EXPECT_EQ(device->requestCount(), 1u);
}

TEST_F(Requests, VanishingMidRequestAnswersNoDevice) {
    device->vanishOnRequest(2);
    long value = 7;
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 3, &value), kIOReturnSuccess);
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 3, &value), kIOReturnNoDevice);
    EXPECT_EQ(camera->setData(0, 2, 0x02, 3), kIOReturnNoDevice);
    EXPECT_FALSE(device->present());
}

TEST(RequestsWithoutInterface, FailWithNoDevice) {
    VirtualRig rig;
    QTCamera camera(rig.platform);
    log::ScopedCapture log;
    long value = 5;
    EXPECT_EQ(camera.getDataFor(0x81, 1, 2, 1, &value), kIOReturnNoDevice);
    EXPECT_EQ(camera.setData(1, 1, 2, 1), kIOReturnNoDevice);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"CameraControl Error: No interface to send request",
                                        "CameraControl Error: No interface to send request"}));
    // Lengths beyond the 8-byte value are refused before anything is sent.
    EXPECT_EQ(camera.setData(1, 9, 2, 1), kIOReturnBadArgument);
    EXPECT_EQ(camera.getDataFor(0x81, -1, 2, 1, &value), kIOReturnBadArgument);
}

TEST(MapValue, MapsLinearlyAndSurvivesAZeroWidthSource) {
    EXPECT_FLOAT_EQ(QTCamera::mapValue(5, 0, 10, 0, 100), 50);
    EXPECT_FLOAT_EQ(QTCamera::mapValue(5, 5, 5, 20, 30), 20);
    EXPECT_FLOAT_EQ(QTCamera::mapValue(6, 5, 5, 20, 30), 30);
}

}  // namespace
}  // namespace orvella
