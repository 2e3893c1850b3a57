// Capture devices from video4linux nodes, hot-plug rescans, and a camera built end to end on the
// Linux backend with the driver's controls.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <libusb.h>
#include <QCoreApplication>
#include <QTemporaryDir>
#include <fstream>
#include "camera/QTCamera.h"

#include "platform/Log.h"
#include "platform/libusb/LibusbHost.h"
#include "platform/linux/LinuxPlatform.h"
#include "support/EventLoop.h"
#include "support/FakeV4l2Device.h"
#include "support/SysfsTree.h"
#include "support/VirtualRig.h"

namespace orvella::linuxplatform {
namespace {

using testing::FakeV4l2Device;
using testing::FakeVideoOpener;
using testing::SysfsTree;

struct Recorder final : platform::CaptureDeviceObserver {
    std::vector<std::string> events;
    void captureDeviceConnected(const std::shared_ptr<platform::CaptureDevice>& d) override {
        events.push_back("+" + d->uniqueID().toStdString());
    }
    void captureDeviceDisconnected(const std::shared_ptr<platform::CaptureDevice>& d) override {
        events.push_back("-" + d->uniqueID().toStdString());
    }
};

class CaptureNodes : public ::testing::Test {
  protected:
    void SetUp() override {
        c270 = testing::loadFixture("logitech-c270.json");
        generic = testing::loadFixture("generic.json");
        opener.devices[tree.devRoot() + "/video0"] =
            &metadataFirst;  // node 0 is not always capture
        opener.devices[tree.devRoot() + "/video1"] = &capture;
        metadataFirst.deviceCaps = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
        opener.devices[tree.devRoot() + "/video2"] = &second;
        opener.devices[tree.devRoot() + "/video3"] = &secondMeta;
        secondMeta.deviceCaps = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
    }

    SysfsTree tree;
    std::shared_ptr<virtualcam::VirtualCamera> c270, generic;
    FakeV4l2Device metadataFirst, capture, second, secondMeta;
    FakeVideoOpener opener;
};

TEST_F(CaptureNodes, OneCaptureDevicePerCameraWithItsIdentity) {
    tree.addCamera(*c270, {});
    SysfsTree::Options next;
    next.firstVideoNode = 2;
    tree.addCamera(*generic, next);
    V4l2CaptureDeviceSystem system(tree.rootString(), tree.devRoot(), &opener);
    const auto devices = system.scan();
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0]->uniqueID(), "0x1a200000046d0825");
    EXPECT_EQ(devices[0]->modelUniqueID(), "UVC Camera VendorID_1133 ProductID_2085");
    EXPECT_EQ(devices[0]->localizedDisplayName(), "C270 HD WEBCAM");
    EXPECT_EQ(devices[0]->devicePath(),
              tree.devRoot() + "/video1");  // told apart by its capabilities
    EXPECT_EQ(devices[1]->devicePath(), tree.devRoot() + "/video2");
    EXPECT_EQ(system.inputDevicesWithMediaType(platform::MediaType::Sound).size(), 0u);
}

TEST_F(CaptureNodes, RescansReportEachCameraOnceAndOnlyWhenUsable) {
    V4l2CaptureDeviceSystem system(tree.rootString(), tree.devRoot(), &opener);
    Recorder recorder;
    system.setObserver(&recorder);
    bool pending = true;
    system.rescan(&pending);
    EXPECT_TRUE(recorder.events.empty());
    EXPECT_FALSE(pending);

    // udev has not set the permissions yet: the camera waits.
    opener.openErrors[tree.devRoot() + "/video0"] = EACCES;
    opener.openErrors[tree.devRoot() + "/video1"] = EACCES;
    const std::string name = tree.addCamera(*c270, {});
    system.rescan(&pending);
    EXPECT_TRUE(recorder.events.empty());
    EXPECT_TRUE(pending);

    opener.openErrors.clear();
    system.rescan(&pending);
    system.rescan(&pending);  // a second burst changes nothing
    EXPECT_EQ(recorder.events, std::vector<std::string>{"+0x1a200000046d0825"});
    EXPECT_FALSE(pending);

    tree.remove(name);
    system.rescan(&pending);
    EXPECT_EQ(recorder.events,
              (std::vector<std::string>{"+0x1a200000046d0825", "-0x1a200000046d0825"}));
}

TEST_F(CaptureNodes, ACameraListedAtStartIsNotReportedAgainByTheFirstRescan) {
    // The application lists the cameras, then the first hot-plug rescan runs: a camera reported
    // twice would be driven by two camera objects at once.
    tree.addCamera(*c270, {});
    V4l2CaptureDeviceSystem system(tree.rootString(), tree.devRoot(), &opener);
    Recorder recorder;
    system.setObserver(&recorder);
    const auto listed = system.inputDevicesWithMediaType(platform::MediaType::Video);
    ASSERT_EQ(listed.size(), 1u);
    system.rescan(nullptr);
    EXPECT_TRUE(recorder.events.empty());
    EXPECT_EQ(system.inputDevicesWithMediaType(platform::MediaType::Video).front(), listed.front());
}

TEST_F(CaptureNodes, AccessProblemsSayWhatToDo) {
    tree.addCamera(*c270, {});
    opener.openErrors[tree.devRoot() + "/video0"] = EACCES;
    opener.openErrors[tree.devRoot() + "/video1"] = EACCES;
    V4l2CaptureDeviceSystem system(tree.rootString(), tree.devRoot(), &opener);
    const auto devices = system.scan();
    ASSERT_EQ(devices.size(), 1u);  // the node is found by its index
    const auto problem = devices[0]->accessProblem();
    ASSERT_TRUE(problem);
    EXPECT_NE(problem->find("usermod -aG video"), std::string::npos);
}

TEST_F(CaptureNodes, UsbHostRescansReportDevicesThatComeAndGo) {
    struct UsbRecorder final : platform::UsbMatchingObserver {
        int added = 0, removed = 0;
        void usbDeviceAdded(const std::shared_ptr<platform::UsbDeviceService>&) override {
            ++added;
        }
        void usbDeviceRemoved(const std::shared_ptr<platform::UsbDeviceService>&) override {
            ++removed;
        }
    } recorder;
    LinuxUsbHost host(tree.rootString(), tree.devRoot(), &opener);
    host.setMatchingObserver(&recorder);
    const std::string name = tree.addCamera(*c270, {});
    host.rescan();
    host.rescan();
    EXPECT_EQ(recorder.added, 1);
    tree.remove(name);
    host.rescan();
    EXPECT_EQ(recorder.removed, 1);
}

TEST_F(CaptureNodes, CameraBuiltOnTheLinuxBackendProbesThroughTheDriver) {
    tree.addCamera(*c270, {});
    capture.add(V4L2_CID_BRIGHTNESS, 0, 255, 1, 128);
    capture.add(V4L2_CID_CONTRAST, 0, 255, 1, 32);
    auto& ae = capture.add(V4L2_CID_EXPOSURE_AUTO, 0, 3, 1, 3, V4L2_CTRL_TYPE_MENU);
    ae.menuMask = 0b1010;
    capture.add(V4L2_CID_EXPOSURE_ABSOLUTE, 1, 10000, 1, 166);
    LinuxPlatform machine(tree.rootString(), tree.devRoot(), &opener);
    platform::RecordingClock clock;
    const auto devices = machine.capture().scan();
    ASSERT_EQ(devices.size(), 1u);
    auto camera = QTCamera::initWithQTCaptureDevice(machine.platform(&clock), devices[0]);
    ASSERT_TRUE(camera->qtCaptureDevice());
    EXPECT_EQ(camera->vendorID(), 0x046D);
    EXPECT_EQ(camera->locationID(), 0x1a200000u);
    const SupportedControl& controls = *camera->supportedControl();
    EXPECT_TRUE(controls.bBrightness);
    EXPECT_EQ(controls.maxBrightness, 255);
    EXPECT_EQ(controls.curBrightness, 128);
    EXPECT_TRUE(controls.bAutoExposureMode_0);
    EXPECT_TRUE(controls.bAutoExposureMode_3);
    EXPECT_FALSE(controls.bAutoExposureMode_1);
    EXPECT_EQ(controls.curAutoExposureMode, 8);
    EXPECT_TRUE(controls.bExposureTimeAbsoluteDisabled);
    EXPECT_EQ(camera->formatArray().size(), 7u);
    EXPECT_EQ(camera->setBrightness(-5), kIOReturnSuccess);
    EXPECT_EQ(capture.value(V4L2_CID_BRIGHTNESS), 0);  // the driver clamps
}

// inotify works on a regular file as on a device node, so one stands in for the capture node.
TEST(CaptureUse, OtherProgramsOpensCountOwnOnesDoNot) {
    testing::ScopedApplication application;
    QTemporaryDir dir;
    const std::string path = dir.filePath("video0").toStdString();
    std::ofstream(path) << "";
    PosixVideoIoOpener& own = PosixVideoIoOpener::shared();
    V4l2CaptureDevice device(path, "", "Camera", 0x1a200000, 0x046d, 0x0825, own);
    struct Counts final : platform::CaptureUseObserver {
        std::vector<int> seen;
        void captureUseChanged(int foreignOpens) override { seen.push_back(foreignOpens); }
    } counts;

    const int before = ::open(path.c_str(), O_RDONLY);  // a program that had it open already
    ASSERT_TRUE(device.setCaptureUseObserver(&counts));
    ::close(before);  // its close does not count below zero
    int error = 0;
    auto probe = own.open(path, &error);  // this process's own probe
    ASSERT_TRUE(probe);
    probe.reset();
    // Another program opens it, and this process at once too: the kernel would merge the two
    // unread events into one.
    const int other = ::open(path.c_str(), O_RDONLY);
    auto held = own.open(path, &error);
    ASSERT_TRUE(held);
    ASSERT_TRUE(testing::waitFor([&] { return !counts.seen.empty(); }));
    held.reset();
    ::close(other);
    ::close(::open(path.c_str(), O_RDWR));  // another program's probe: a rise and a fall
    ASSERT_TRUE(testing::waitFor([&] { return counts.seen.size() >= 4; }));
    testing::spin(50);
    EXPECT_EQ(counts.seen, (std::vector<int>{1, 0, 1, 0}));

    // Stopped: nothing more is told.
    EXPECT_TRUE(device.setCaptureUseObserver(nullptr));
    ::close(::open(path.c_str(), O_RDONLY));
    testing::spin(30);
    EXPECT_EQ(counts.seen.size(), 4u);

    log::ScopedCapture log;
    V4l2CaptureDevice missing(path + "-gone", "", "Camera", 0, 1, 2, own);
    EXPECT_FALSE(missing.setCaptureUseObserver(&counts));
    EXPECT_EQ(log.lines().size(), 1u);
}

// The node's format is read again when the driver sends a source change, and, where it sends
// none (uvcvideo), when another program opens or closes the node; only a format that differs
// from the last one read is told, on the event loop.
TEST(CaptureFormat, SourceChangesAndOtherProgramsStreamsAreFollowed) {
    testing::ScopedApplication application;
    QTemporaryDir dir;
    const std::string path = dir.filePath("video0").toStdString();
    std::ofstream(path) << "";
    FakeV4l2Device node;
    node.pix.pixelformat = V4L2_PIX_FMT_YUYV;
    node.pix.width = 640;
    node.pix.height = 480;
    node.sourceChangeEvents = true;
    node.signalEvents();
    FakeVideoOpener opener;
    opener.devices[path] = &node;
    V4l2CaptureDevice device(path, "", "Camera", 0x1a200000, 0x046d, 0x0825, opener);
    struct Changes final : platform::CaptureFormatObserver {
        int told = 0;
        void captureFormatChanged() override { ++told; }
    } changes;

    ASSERT_TRUE(device.setFormatObserver(&changes));
    ASSERT_EQ(node.subscriptions.size(), 1u);
    EXPECT_EQ(node.subscriptions[0].type, uint32_t{V4L2_EVENT_SOURCE_CHANGE});
    node.pix.pixelformat = V4L2_PIX_FMT_MJPEG;
    node.pix.width = 1280;
    node.pix.height = 720;
    node.raiseSourceChange();
    EXPECT_EQ(changes.told, 0) << "told on the event loop, not at once";
    ASSERT_TRUE(testing::waitFor([&] { return changes.told == 1; }));
    EXPECT_EQ(device.formatDescriptions().at(0).localizedFormatSummary, "MJPG, 1280 x 720");
    node.raiseSourceChange();  // nothing new
    testing::spin(50);
    EXPECT_EQ(changes.told, 1);
    // Another frame interval is another format too.
    node.timePerFrame = {1, 15};
    node.raiseSourceChange();
    ASSERT_TRUE(testing::waitFor([&] { return changes.told == 2; }));

    // A driver without source changes: another program's stream, seen by its open and close.
    EXPECT_TRUE(device.setFormatObserver(nullptr));
    node.sourceChangeEvents = false;
    node.subscriptions.clear();
    changes.told = 0;
    ASSERT_TRUE(device.setFormatObserver(&changes));
    EXPECT_TRUE(node.subscriptions.empty());
    const int other = ::open(path.c_str(), O_RDWR);
    node.pix.pixelformat = V4L2_PIX_FMT_YUYV;  // the other program sets its format and streams
    ::close(other);
    ASSERT_TRUE(testing::waitFor([&] { return changes.told == 1; }));
    EXPECT_EQ(device.formatDescriptions().at(0).localizedFormatSummary, "YUYV, 1280 x 720");
    ::close(::open(path.c_str(), O_RDONLY));  // a probe that changes nothing
    testing::spin(50);
    EXPECT_EQ(changes.told, 1);

    // Stopped: nothing more is told.
    EXPECT_TRUE(device.setFormatObserver(nullptr));
    node.pix.width = 320;
    ::close(::open(path.c_str(), O_RDONLY));
    testing::spin(50);
    EXPECT_EQ(changes.told, 1);
}

TEST(Libusb, StatusesAndAMachineWithoutUsb) {
    EXPECT_EQ(libusbplatform::ioReturnForLibusb(LIBUSB_ERROR_NO_DEVICE), kIOReturnNoDevice);
    EXPECT_EQ(libusbplatform::ioReturnForLibusb(LIBUSB_ERROR_TIMEOUT), kIOReturnNotResponding);
    EXPECT_EQ(libusbplatform::ioReturnForLibusb(LIBUSB_ERROR_PIPE), kIOUSBPipeStalled);
    EXPECT_EQ(libusbplatform::ioReturnForLibusb(LIBUSB_ERROR_ACCESS), kIOReturnNotPermitted);
    libusbplatform::LibusbHost host;
    std::vector<std::shared_ptr<platform::UsbDeviceService>> services;
    EXPECT_EQ(host.getMatchingServices(services), kIOReturnSuccess);
    platform::ControlRequest request{0xA1, 0x81, 0x0200, 0x0200, 0, nullptr, 0};
    EXPECT_EQ(host.controlRequest(250, 127, request, 10), kIOReturnNoDevice);  // no such device
}

}  // namespace
}  // namespace orvella::linuxplatform
