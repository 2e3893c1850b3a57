// Finding a camera's device and interfaces: which interfaces qualify, which one wins, and how
// vendor/product and location lookups match.

#include <gtest/gtest.h>

#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "support/VirtualRig.h"

namespace orvella {
namespace {

using testing::cameraFromJson;
using testing::VirtualRig;

std::string definition(const std::string& vendor, const std::string& product,
                       const std::string& location, const std::string& extra = "") {
    return R"({"vendorID": ")" + vendor + R"(", "productID": ")" + product +
           R"(", "locationID": ")" + location + R"(", "vc": ["0d240100010d00000000000101"])" +
           extra + "}";
}

// An interface's number, -1 for none.
int numberOf(const std::shared_ptr<platform::UsbInterface>& interface) {
    uint8_t number = 0;
    return interface && interface->getInterfaceNumber(number) == kIOReturnSuccess ? number : -1;
}

uint32_t locationOf(const QTCamera& camera) {
    uint32_t location = 0;
    if (camera.devCamera) camera.devCamera->getLocationID(location);
    return location;
}

TEST(InterfaceLookup, ControlInterfaceNumberReachesEveryRequest) {
    VirtualRig rig;
    auto device = rig.add(cameraFromJson(
        definition("0x1234", "0x0001", "0x14100000", R"(, "vcInterfaceNumber": 2)")));
    auto camera = rig.open(*device);
    ASSERT_TRUE(camera->controlInterface);
    EXPECT_EQ(camera->interfaceNumber, 2);
    device->clearRequests();
    camera->setData(1, 1, 0x02, 7);
    EXPECT_EQ(device->requests().at(0).wIndex, 0x0702);
}

TEST(InterfaceLookup, WhichInterfacesQualifyAndWhichWins) {
    const std::string vendorClass = R"(, "interfaces": [{"class": 255, "subclass": 1, "number": 0},
        {"class": 255, "subclass": 2, "number": 1}])";
    struct Case {
        const char *vendor, *product, *location;
        std::string extra;
        int control, stream;  // the interface numbers found, -1 for none
    };
    const Case cases[] = {
        // The vendor-specific class counts for two vendors only.
        {"0x046d", "0x0001", "0x14100000", vendorClass, 0, 1},
        {"0x199e", "0x0001", "0x14100000", vendorClass, 0, 1},
        {"0x1234", "0x0001", "0x14100000", vendorClass, -1, -1},
        // Apple's built-in camera: subclasses swapped and a class that is not video; only the
        // interface numbers count.
        {"0x05ac", "0x8501", "0xfa200000",
         R"(, "vcInterfaceNumber": 0, "interfaces": [{"class": 255, "subclass": 2, "number": 0},
            {"class": 255, "subclass": 1, "number": 1}, {"class": 14, "subclass": 1, "number": 2}])",
         0, 1},
        // The last qualifying interface wins.
        {"0x1234", "0x0001", "0x14100000",
         R"(, "vcInterfaceNumber": 3, "interfaces": [{"class": 14, "subclass": 1, "number": 0},
            {"class": 14, "subclass": 2, "number": 1}, {"class": 14, "subclass": 1, "number": 3},
            {"class": 14, "subclass": 3, "number": 4}])",
         3, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.vendor) + ":" + c.product + " " + c.extra);
        VirtualRig rig;
        auto device = rig.add(cameraFromJson(definition(c.vendor, c.product, c.location, c.extra)));
        auto camera = rig.open(*device);
        EXPECT_TRUE(camera->devCamera);  // the device is found all the same
        EXPECT_EQ(numberOf(camera->controlInterface), c.control);
        EXPECT_EQ(numberOf(camera->streamInterface), c.stream);
        if (c.control >= 0) {
            EXPECT_EQ(camera->interfaceNumber, c.control);
        }
    }
}

TEST(DeviceLookup, ByLocationWakesTheDeviceAndKeepsItsHandle) {
    VirtualRig rig;
    auto other = rig.add(cameraFromJson(definition("0x046d", "0x0825", "0x14100000")));
    auto device = rig.add(
        cameraFromJson(definition("0x046d", "0x0825", "0x1a200000", R"(, "suspended": true)")));
    auto camera = rig.open(*device);
    EXPECT_EQ(locationOf(*camera), 0x1a200000u);
    EXPECT_EQ(device->resumeCount(), 1);
    EXPECT_FALSE(device->suspended());

    QTCamera missing(rig.platform);
    missing.getControlInferace(&missing.controlInterface, &missing.streamInterface, 0x99000000u);
    EXPECT_FALSE(missing.controlInterface);
    EXPECT_FALSE(missing.devCamera);
}

TEST(DeviceLookup, ByVendorAndProductComparesTheProductSignExtended) {
    VirtualRig rig;
    rig.add(cameraFromJson(definition("0x046d", "0x8a0b", "0x14100000")));
    rig.add(cameraFromJson(definition("0x046d", "0x0825", "0x14200000")));

    QTCamera high(rig.platform);
    high.getControlInferace(&high.controlInterface, &high.streamInterface, 0x046D,
                            static_cast<int16_t>(0x8A0B));
    EXPECT_FALSE(high.controlInterface);
    EXPECT_FALSE(high.devCamera);

    QTCamera low(rig.platform);
    low.getControlInferace(&low.controlInterface, &low.streamInterface, 0x046D, int16_t{0x0825});
    EXPECT_EQ(locationOf(low), 0x14200000u);

    // The location lookup has no such limit.
    QTCamera byLocation(rig.platform);
    byLocation.getControlInferace(&byLocation.controlInterface, &byLocation.streamInterface,
                                  0x14100000u);
    EXPECT_TRUE(byLocation.controlInterface);
}

TEST(DeviceLookup, FindUSBDeviceWithVIDReturnsTheFirstMatch) {
    VirtualRig rig;
    rig.add(cameraFromJson(definition("0x046d", "0x0990", "0x14100000")));
    rig.add(cameraFromJson(definition("0x046d", "0x0825", "0x1a200000")));
    rig.add(cameraFromJson(definition("0x046d", "0x0825", "0x1a300000")));
    QTCamera camera(rig.platform);
    EXPECT_EQ(camera.findUSBDeviceWithVID(0x046D, 0x0825), 0x1a200000u);
    EXPECT_EQ(camera.findUSBDeviceWithVID(0x046D, 0x0826), 0u);
}

TEST(DeviceLookup, DevicesWithoutAPlugInAreSkippedWithALogLine) {
    VirtualRig rig;
    rig.add(cameraFromJson(
        definition("0x046d", "0x0825", "0x1a200000", R"(, "faults": {"plugIn": "0xe00002be"})")));
    rig.add(cameraFromJson(definition("0x046d", "0x0825", "0x1a300000")));
    log::ScopedCapture log;
    QTCamera camera(rig.platform);
    camera.getControlInferace(&camera.controlInterface, &camera.streamInterface, 0x046D,
                              int16_t{0x0825});
    EXPECT_EQ(locationOf(camera), 0x1a300000u);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "CameraControl Error: IOCreatePlugInInterfaceForService returned 0xe00002be."}));

    log.clear();
    QTCamera lookup(rig.platform);
    EXPECT_EQ(lookup.findUSBDeviceWithVID(0x046D, 0x0825), 0u);  // only the first is tried
    EXPECT_EQ(log.printed().rfind(
                  "ConfigureUSBDevice: unable to create plugin. ret = e00002be, iodev = ", 0),
              0u);
}

}  // namespace
}  // namespace orvella
