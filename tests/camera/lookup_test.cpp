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

std::string interfaces(const std::string& list) {
    return R"(, "interfaces": [)" + list + "]";
}

TEST(InterfaceLookup, ControlInterfaceNumberReachesEveryRequest) {
    VirtualRig rig;
    auto device = rig.add(cameraFromJson(
        definition("0x1234", "0x0001", "0x14100000", R"(, "vcInterfaceNumber": 2)")));
    auto camera = rig.open(*device);
    ASSERT_TRUE(camera->controlInterface);
    ASSERT_TRUE(camera->streamInterface);
    EXPECT_EQ(camera->interfaceNumber, 2);
    EXPECT_EQ(camera->devCamera != nullptr, true);
    device->clearRequests();
    camera->setData(1, 1, 0x02, 7);
    EXPECT_EQ(device->requests().at(0).wIndex, 0x0702);
}

TEST(InterfaceLookup, VendorSpecificClassOnlyForTheTwoVendors) {
    const std::string vendorSpecific = interfaces(
        R"({"class": 255, "subclass": 1, "number": 0}, {"class": 255, "subclass": 2, "number": 1})");
    for (const char* vendor : {"0x046d", "0x199e", "0x1234"}) {
        VirtualRig rig;
        auto device =
            rig.add(cameraFromJson(definition(vendor, "0x0001", "0x14100000", vendorSpecific)));
        auto camera = rig.open(*device);
        const bool accepted = std::string(vendor) != "0x1234";
        EXPECT_EQ(camera->controlInterface != nullptr, accepted) << vendor;
        EXPECT_EQ(camera->streamInterface != nullptr, accepted) << vendor;
        EXPECT_TRUE(camera->devCamera) << vendor;  // the device is found all the same
    }
}

TEST(InterfaceLookup, AppleBuiltInCameraIsMatchedByInterfaceNumber) {
    VirtualRig rig;
    // Subclasses are swapped and the class is not video: only the numbers count.
    auto device = rig.add(cameraFromJson(definition(
        "0x05ac", "0x8501", "0xfa200000",
        R"(, "vcInterfaceNumber": 0, "interfaces": [{"class": 255, "subclass": 2, "number": 0},
            {"class": 255, "subclass": 1, "number": 1}, {"class": 14, "subclass": 1, "number": 2}])")));
    auto camera = rig.open(*device);
    uint8_t number = 99;
    ASSERT_TRUE(camera->controlInterface);
    camera->controlInterface->getInterfaceNumber(number);
    EXPECT_EQ(number, 0);
    camera->streamInterface->getInterfaceNumber(number);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(camera->interfaceNumber, 0);  // not written on this path
}

TEST(InterfaceLookup, LastQualifyingInterfaceWins) {
    VirtualRig rig;
    auto device = rig.add(cameraFromJson(definition(
        "0x1234", "0x0001", "0x14100000",
        R"(, "vcInterfaceNumber": 3, "interfaces": [{"class": 14, "subclass": 1, "number": 0},
            {"class": 14, "subclass": 2, "number": 1}, {"class": 14, "subclass": 1, "number": 3},
            {"class": 14, "subclass": 3, "number": 4}])")));
    auto camera = rig.open(*device);
    uint8_t number = 0;
    camera->controlInterface->getInterfaceNumber(number);
    EXPECT_EQ(number, 3);
    EXPECT_EQ(camera->interfaceNumber, 3);
    EXPECT_EQ(camera->controlInterface->classSpecificDescriptors().size(), 1u);
}

TEST(DeviceLookup, ByLocationWakesTheDeviceAndKeepsItsHandle) {
    VirtualRig rig;
    auto other = rig.add(cameraFromJson(definition("0x046d", "0x0825", "0x14100000")));
    auto device = rig.add(
        cameraFromJson(definition("0x046d", "0x0825", "0x1a200000", R"(, "suspended": true)")));
    auto camera = rig.open(*device);
    ASSERT_TRUE(camera->devCamera);
    uint32_t location = 0;
    camera->devCamera->getLocationID(location);
    EXPECT_EQ(location, 0x1a200000u);
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
    ASSERT_TRUE(low.devCamera);
    uint32_t location = 0;
    low.devCamera->getLocationID(location);
    EXPECT_EQ(location, 0x14200000u);

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
    auto good = rig.add(cameraFromJson(definition("0x046d", "0x0825", "0x1a300000")));
    log::ScopedCapture log;
    QTCamera camera(rig.platform);
    camera.getControlInferace(&camera.controlInterface, &camera.streamInterface, 0x046D,
                              int16_t{0x0825});
    ASSERT_TRUE(camera.devCamera);
    uint32_t location = 0;
    camera.devCamera->getLocationID(location);
    EXPECT_EQ(location, 0x1a300000u);
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
