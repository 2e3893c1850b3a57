// USB devices read from a sysfs tree: identity, location, descriptors, strings, suspend state,
// and control requests reaching the uvcvideo node, as the camera core uses them.

#include <gtest/gtest.h>

#include <QCoreApplication>

#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/linux/LinuxUsbHost.h"
#include "platform/linux/UsbDescriptors.h"
#include "support/EventLoop.h"
#include "support/FakeV4l2Device.h"
#include "support/SysfsTree.h"
#include "support/VirtualRig.h"

namespace orvella::linuxplatform {
namespace {

using testing::FakeV4l2Device;
using testing::FakeVideoOpener;
using testing::SysfsTree;

TEST(LocationID, BusAndPortPathAsMacOSBuildsIt) {
    EXPECT_EQ(locationIDFor(1, "2"), 0x01200000u);
    EXPECT_EQ(locationIDFor(26, "2"), 0x1a200000u);
    EXPECT_EQ(locationIDFor(3, "1.4.2"), 0x03142000u);
    EXPECT_EQ(locationIDFor(2, "0"), 0x02000000u);  // the root hub
    EXPECT_EQ(locationIDFor(1, "1.2.3.4.5.6.7"), 0x01123456u);
    EXPECT_EQ(locationIDFor(1, "1.x"), 0x01100000u);
}

TEST(UsbDescriptorBlob, MalformedBlobsEndTheWalkWithAWarning) {
    auto camera = testing::loadFixture("logitech-c270.json");
    std::vector<uint8_t> blob = virtualcam::UsbDeviceDescriptors(*camera).sysfsBlob();
    const UsbDeviceInfo whole = parseUsbDescriptors(blob);
    EXPECT_TRUE(whole.warnings.empty());
    ASSERT_EQ(whole.interfaces.size(), 2u);  // the streaming interface's alternate 1 is not listed
    EXPECT_EQ(whole.interfaces[0].classSpecific, camera->interfaces()[0].descriptors);
    EXPECT_EQ(whole.interfaces[1].classSpecific.size(), camera->interfaces()[1].descriptors.size());

    for (size_t cut : {size_t{5}, size_t{30}, blob.size() - 3}) {
        const std::vector<uint8_t> truncated(blob.begin(),
                                             blob.begin() + static_cast<std::ptrdiff_t>(cut));
        const UsbDeviceInfo info = parseUsbDescriptors(truncated);
        ASSERT_EQ(info.warnings.size(), 1u) << cut;
        EXPECT_TRUE(cut < 18 ? info.warnings[0] == "no device descriptor"
                             : info.warnings[0].starts_with("descriptor at byte ") &&
                                   info.warnings[0].ends_with(" left"))
            << info.warnings[0];
    }
    blob[44] = 0;  // a zero bLength in the middle (the first class-specific descriptor)
    EXPECT_EQ(parseUsbDescriptors(blob).warnings,
              std::vector<std::string>{"descriptor of length 0 at byte 44"});
}

class SysfsCamera : public ::testing::Test {
  protected:
    void SetUp() override {
        device = testing::loadFixture("logitech-c270.json");
        name = tree.addCamera(*device, {});
        opener.devices[tree.devRoot() + "/video0"] = &v4l2;
        v4l2.add(V4L2_CID_BRIGHTNESS, 0, 255, 1, 128);
        host = std::make_unique<LinuxUsbHost>(tree.rootString(), tree.devRoot(), &opener);
        platform.usb = host.get();
        platform.clock = &clock;
    }
    std::unique_ptr<QTCamera> open() {
        return testing::openCameraAt(platform, device->locationID());
    }

    SysfsTree tree;
    std::shared_ptr<virtualcam::VirtualCamera> device;
    std::string name;
    FakeV4l2Device v4l2;
    FakeVideoOpener opener;
    std::unique_ptr<LinuxUsbHost> host;
    platform::RecordingClock clock;
    platform::Platform platform;
};

TEST_F(SysfsCamera, EnumeratesWithIdentityLocationAndDescriptors) {
    EXPECT_EQ(name, "26-2");
    std::vector<std::shared_ptr<platform::UsbDeviceService>> services;
    ASSERT_EQ(host->getMatchingServices(services), kIOReturnSuccess);
    ASSERT_EQ(services.size(), 1u);
    EXPECT_EQ(services[0]->idVendor(), 0x046D);
    EXPECT_EQ(services[0]->idProduct(), 0x0825);

    auto camera = open();
    ASSERT_TRUE(camera->controlInterface);
    ASSERT_TRUE(camera->streamInterface);
    EXPECT_EQ(camera->controlInterface->classSpecificDescriptors(),
              device->interfaces()[0].descriptors);
    EXPECT_EQ(camera->streamInterface->classSpecificDescriptors(),
              device->interfaces()[1].descriptors);
    QTCamera finder(platform);
    EXPECT_EQ(finder.findUSBDeviceWithVID(0x046D, 0x0825), 0x1a200000u);

    uint8_t index = 0;
    ASSERT_EQ(camera->devCamera->usbGetProductStringIndex(index), kIOReturnSuccess);
    char text[256];
    log::ScopedCapture log;
    ASSERT_EQ(GetStringDescriptor(camera->devCamera.get(), index, text, sizeof text, 0x0409),
              kIOReturnSuccess);
    EXPECT_STREQ(text, "C270 HD WEBCAM");
    EXPECT_TRUE(camera->serialNumber().isEmpty());  // the C270 fixture has none
}

TEST_F(SysfsCamera, TheSerialNumberComesFromTheSysfsString) {
    QByteArray json = testing::fixtureBytes("generic.json");
    json.replace("\"productString\"", "\"serialNumber\": \"0042-A\", \"productString\"");
    QString error;
    const auto twin = virtualcam::VirtualCamera::fromJson(json, &error);
    ASSERT_TRUE(twin) << error.toStdString();
    EXPECT_EQ(twin->serialNumberStringIndex(), 3);
    tree.addCamera(*twin, {.firstVideoNode = 2});
    host = std::make_unique<LinuxUsbHost>(tree.rootString(), tree.devRoot(), &opener);
    platform.usb = host.get();
    const auto camera = testing::openCameraAt(platform, twin->locationID());
    ASSERT_TRUE(camera->devCamera);
    uint8_t index = 0;
    ASSERT_EQ(camera->devCamera->usbGetSerialNumberStringIndex(index), kIOReturnSuccess);
    EXPECT_EQ(index, 3);
    char text[256];
    log::ScopedCapture log;
    ASSERT_EQ(GetStringDescriptor(camera->devCamera.get(), index, text, sizeof text, 0x0409),
              kIOReturnSuccess);
    EXPECT_STREQ(text, "0042-A");
}

TEST_F(SysfsCamera, ControlRequestsGoThroughTheCaptureNode) {
    auto camera = open();
    long value = 0;
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 2, &value), kIOReturnSuccess);
    EXPECT_EQ(value, 128);
    EXPECT_EQ(camera->setData(200, 2, 0x02, 2), kIOReturnSuccess);
    EXPECT_EQ(v4l2.value(V4L2_CID_BRIGHTNESS), 200);
    EXPECT_EQ(opener.opens, 2);  // once to tell the capture node, once to keep it open

    // An answer of "not responding" is retried once, after the wake the core asks for.
    v4l2.failures = {ETIMEDOUT};
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 2, &value), kIOReturnSuccess);
}

struct ChangeRecorder final : platform::ControlChangeObserver {
    std::vector<platform::ControlChange> changes;
    void controlChanged(const platform::ControlChange& change) override {
        changes.push_back(change);
    }
};

TEST_F(SysfsCamera, ControlEventsArriveThroughTheEventLoopUntilTheCameraGoes) {
    testing::ScopedApplication application;
    auto camera = open();
    ChangeRecorder recorder;
    // A node with nothing to watch cannot follow.
    log::ScopedCapture log;
    EXPECT_FALSE(camera->controlInterface->setControlChangeObserver(&recorder));
    EXPECT_EQ(log.lines().size(), 1u);

    v4l2.signalEvents();
    ASSERT_TRUE(camera->controlInterface->setControlChangeObserver(&recorder));
    v4l2.controls[V4L2_CID_BRIGHTNESS].value = 77;
    v4l2.raise(V4L2_CID_BRIGHTNESS, V4L2_EVENT_CTRL_CH_VALUE);
    ASSERT_TRUE(testing::waitFor([&] { return !recorder.changes.empty(); }));
    EXPECT_EQ(recorder.changes[0].unit, 2);
    EXPECT_EQ(recorder.changes[0].selector, 0x02);
    EXPECT_EQ(recorder.changes[0].value, 77u);

    // Unplugged: the watch ends with one line, and requests still answer "no device".
    log.clear();
    v4l2.unplugged = true;
    v4l2.wake();
    ASSERT_TRUE(testing::waitFor([&] { return !log.lines().empty(); }));
    EXPECT_NE(log.lines()[0].find("went away"), std::string::npos);
    v4l2.raise(V4L2_CID_BRIGHTNESS, V4L2_EVENT_CTRL_CH_VALUE);
    testing::spin(30);
    EXPECT_EQ(recorder.changes.size(), 1u);
    EXPECT_EQ(log.lines().size(), 1u);
    long value = 0;
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 2, &value), kIOReturnNoDevice);
}

TEST_F(SysfsCamera, SuspendStateComesFromRuntimeStatus) {
    SysfsTree suspendedTree;
    SysfsTree::Options suspended;
    suspended.suspended = true;
    suspendedTree.addCamera(*device, suspended);
    LinuxUsbHost suspendedHost(suspendedTree.rootString(), suspendedTree.devRoot(), &opener);
    platform::Platform p{&suspendedHost, nullptr, &clock};
    auto camera = testing::openCameraAt(p, device->locationID());
    ASSERT_TRUE(camera->devCamera);
    uint32_t info = 0;
    EXPECT_EQ(camera->devCamera->getUSBDeviceInformation(info), kIOReturnSuccess);
    EXPECT_EQ(info, 0x20u);
    EXPECT_EQ(camera->awakeDeviceThenClose(camera->devCamera.get()), kIOReturnSuccess);
}

TEST_F(SysfsCamera, UnpluggedCameraAnswersNoDevice) {
    auto camera = open();
    long value = 0;
    ASSERT_EQ(camera->getDataFor(0x81, 2, 0x02, 2, &value), kIOReturnSuccess);
    // The node goes first: the driver answers ENODEV in the middle of the request.
    v4l2.unplugged = true;
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 2, &value), kIOReturnNoDevice);
    tree.remove(name);
    EXPECT_EQ(camera->setData(1, 2, 0x02, 2), kIOReturnNoDevice);
    uint32_t location = 0;
    EXPECT_EQ(camera->devCamera->getLocationID(location), kIOReturnNoDevice);
    std::vector<std::shared_ptr<platform::UsbDeviceService>> services;
    EXPECT_EQ(host->getMatchingServices(services), kIOReturnSuccess);
    EXPECT_TRUE(services.empty());
}

TEST_F(SysfsCamera, PermissionProblemsSayWhatToDo) {
    opener.openErrors[tree.devRoot() + "/video0"] = EACCES;
    auto camera = open();
    log::ScopedCapture log;
    long value = 0;
    EXPECT_EQ(camera->getDataFor(0x81, 2, 0x02, 2, &value), kIOUSBPipeStalled);
    bool explained = false;
    for (const std::string& line : log.lines())
        explained |= line.find("Permission denied") != std::string::npos &&
                     line.find("'video' group") != std::string::npos;
    EXPECT_TRUE(explained);
}

TEST(SysfsUnbound, InterfaceWithoutADriverNeedsTheRawTransport) {
    struct Raw final : RawUsbTransport {
        int calls = 0;
        IOReturn controlRequest(unsigned bus, unsigned address, platform::ControlRequest& request,
                                uint32_t) override {
            ++calls;
            EXPECT_EQ(bus, 26u);
            EXPECT_EQ(address, 1u);
            request.wLenDone = request.wLength;
            return kIOReturnSuccess;
        }
    } raw;
    SysfsTree tree;
    auto device = testing::loadFixture("logitech-c270.json");
    SysfsTree::Options unbound;
    unbound.boundToUvcvideo = false;
    tree.addCamera(*device, unbound);
    FakeVideoOpener opener;
    LinuxUsbHost withRaw(tree.rootString(), tree.devRoot(), &opener, &raw);
    platform::Platform p{&withRaw, nullptr, nullptr};
    auto camera = testing::openCameraAt(p, device->locationID());
    ASSERT_TRUE(camera->controlInterface);
    EXPECT_EQ(camera->setData(1, 2, 0x02, 2), kIOReturnSuccess);
    EXPECT_EQ(raw.calls, 1);

    LinuxUsbHost withoutRaw(tree.rootString(), tree.devRoot(), &opener);
    platform::Platform q{&withoutRaw, nullptr, nullptr};
    auto other = testing::openCameraAt(q, device->locationID());
    log::ScopedCapture log;
    EXPECT_EQ(other->setData(1, 2, 0x02, 2), kIOReturnNotPermitted);
    struct : platform::ControlChangeObserver {
        void controlChanged(const platform::ControlChange&) override {}
    } ignored;
    EXPECT_FALSE(other->controlInterface->setControlChangeObserver(&ignored));
}

}  // namespace
}  // namespace orvella::linuxplatform
