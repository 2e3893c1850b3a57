// The virtual camera as a device: definitions it accepts and refuses, the answers it gives for
// undescribed controls, automatic-mode rules, clamping and the shipped definitions; changes
// behind the host's back and other programs' opens, told through the seam.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include "camera/QTCamera.h"
#include "platform/virtual/VirtualCaptureDevice.h"
#include "support/VirtualRig.h"

namespace orvella {
namespace {

using testing::cameraFromJson;
using testing::VirtualRig;
using virtualcam::VirtualCamera;

QString refusal(const std::string& json) {
    QString error;
    EXPECT_FALSE(VirtualCamera::fromJson(QByteArray::fromStdString(json), &error, "cam.json"));
    return error;
}

TEST(VirtualCameraDefinition, RefusesMalformedDefinitionsWithAReason) {
    EXPECT_TRUE(refusal("{").startsWith("cam.json: invalid JSON at offset"));
    EXPECT_EQ(refusal("[1]"), "cam.json: expected a JSON object");
    EXPECT_EQ(refusal(R"({"productID": 1})"), "cam.json: missing key \"vendorID\"");
    EXPECT_EQ(refusal(R"({"vendorID": "0x1g", "productID": 1})"),
              "cam.json: vendorID: \"0x1g\" is not a number");
    EXPECT_EQ(refusal(R"({"vendorID": 70000, "productID": 1})"),
              "cam.json: vendorID: 70000 is out of range 0..65535");
    EXPECT_EQ(refusal(R"({"vendorID": 1, "productID": 1, "vc": ["0d2"]})"),
              "cam.json: vc[0]: odd number of hex digits");
    EXPECT_EQ(refusal(R"({"vendorID": 1, "productID": 1, "vc": "0024"})"),
              "cam.json: vc: descriptor at byte 0 has bLength 0");
    EXPECT_EQ(refusal(R"({"vendorID": 1, "productID": 1, "controls": {"Brightnes": {}}})"),
              "cam.json: controls.Brightnes: unknown control");
    EXPECT_EQ(refusal(R"({"vendorID": 1, "productID": 1, "faults": {"slowMs": 60001}})"),
              "cam.json: faults.slowMs: 60001 is out of range 0..60000");
    EXPECT_EQ(refusal(R"({"vendorID": 1, "productID": 1, "faults": {"unansweredWaitMs": -1}})"),
              "cam.json: faults.unansweredWaitMs: -1 is out of range 0..60000");
    QString error;
    EXPECT_FALSE(VirtualCamera::fromFile("/nonexistent/cam.json", &error));
    EXPECT_TRUE(error.startsWith("/nonexistent/cam.json: cannot read"));
}

// A frame's size is what the frame player renders: 65534 x 65534 asked for 12.9 GB. A frame of
// 4096 x 2304 pixels is the largest taken, in every frame descriptor type.
TEST(VirtualCameraDefinition, RefusesFramesLargerThanTheLimit) {
    auto withFrame = [](const char* subtype, const char* size) {
        return std::string(R"({"vendorID": 1, "productID": 2, "vs": [
            "0f240102bf00810003000000010000",
            "1b240401025955593200001000800000aa00389b71100100000000", "2224)") +
               subtype + "0200" + size + R"(000077010000ca08006009001516050002151605002a2c0a00"]})";
    };
    for (const char* subtype : {"05", "07", "11"}) {
        SCOPED_TRACE(subtype);
        QString error;
        EXPECT_TRUE(VirtualCamera::fromJson(
            QByteArray::fromStdString(withFrame(subtype, "00100009")), &error))
            << error.toStdString();
        EXPECT_EQ(refusal(withFrame(subtype, "fefffeff")),
                  "cam.json: vs: format 1 frame 2 is 65534x65534, more than the 9437184 pixels a "
                  "frame may have");
        EXPECT_TRUE(refusal(withFrame(subtype, "00100209")).contains("4096x2306"));
    }
}

// Definition files are read only when they are regular files of at most 4 MB: a device would be
// read for ever, a huge file into memory.
TEST(VirtualCameraDefinition, ReadsOnlyRegularFilesOfBoundedSize) {
    QString error;
    EXPECT_FALSE(VirtualCamera::fromFile("/dev/zero", &error));
    EXPECT_EQ(error, "/dev/zero: not a regular file");

    QTemporaryDir dir;
    QFile big(dir.filePath("big.json"));
    ASSERT_TRUE(big.open(QIODevice::WriteOnly));
    const QByteArray definition = R"({"vendorID": 1, "productID": 2})";
    big.write(definition);
    big.write(QByteArray(VirtualCamera::kMaxDefinitionBytes - definition.size(), ' '));
    big.flush();
    EXPECT_TRUE(VirtualCamera::fromFile(big.fileName(), &error)) << error.toStdString();
    big.write(" ");
    big.close();
    EXPECT_FALSE(VirtualCamera::fromFile(big.fileName(), &error));
    EXPECT_EQ(error, big.fileName() + ": larger than 4 MB; a camera definition is a few kilobytes");
}

TEST(VirtualCameraDefinition, ShippedDefinitionsLoad) {
    const QDir dir(QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras"));
    const QStringList files = dir.entryList({"*.json"}, QDir::Files);
    EXPECT_GE(files.size(), 2);
    for (const QString& file : files) {
        QString error;
        EXPECT_TRUE(VirtualCamera::fromFile(dir.filePath(file), &error)) << error.toStdString();
    }
    auto demo = VirtualCamera::demo();
    ASSERT_TRUE(demo);
    EXPECT_EQ(demo->cameraTerminalID(), 1);
    EXPECT_EQ(demo->processingUnitID(), 2);
}

// A camera whose descriptors declare auto-exposure, exposure time, focus, focus auto (camera
// terminal 1) and brightness, white balance temperature and its auto mode (processing unit 2),
// with only brightness described.
constexpr const char* kDeclared = R"({
  "vendorID": 1, "productID": 2,
  "vc": ["0d240100013300000000000101",
         "1224020101020000000000000000032e0002",
         "0b24050201000002411000"],
  "controls": {"Brightness": {"min": -5, "max": 5, "def": 1}},
  "extensionControls": [{"unit": 9, "selector": 1, "length": 4}]
})";

class VirtualDevice : public ::testing::Test {
  protected:
    void SetUp() override {
        device = rig.add(cameraFromJson(kDeclared));
        camera = rig.open(*device);
        ASSERT_TRUE(camera->controlInterface);
    }
    long get(int request, int length, int selector, int unit) {
        long value = 0;
        status = camera->getDataFor(request, length, selector, unit, &value);
        return value;
    }
    VirtualRig rig;
    std::shared_ptr<VirtualCamera> device;
    std::unique_ptr<QTCamera> camera;
    IOReturn status = 0;
};

TEST_F(VirtualDevice, DeclaredControlsAnswerPlausiblyAndDescribedOnesAsWritten) {
    EXPECT_EQ(get(0x83, 4, 0x04, 1), 2047);  // exposure time maximum
    EXPECT_EQ(status, kIOReturnSuccess);
    EXPECT_EQ(get(0x84, 1, 0x02, 1), 0x09);  // auto-exposure: manual and aperture priority
    EXPECT_EQ(get(0x81, 1, 0x02, 1), 0x08);
    EXPECT_EQ(static_cast<int16_t>(get(0x82, 2, 0x02, 2)), -5);
    EXPECT_EQ(get(0x81, 2, 0x02, 2), 1);  // current follows the default when not given
    get(0x81, 2, 0x03, 2);                // contrast is not declared
    EXPECT_EQ(status, kIOUSBPipeStalled);
    get(0x85, 2, 0x02, 2);
    EXPECT_EQ(status, kIOReturnSuccess);
}

TEST_F(VirtualDevice, AutomaticModesGovernTheirManualControls) {
    // Aperture priority: exposure time is automatic, disabled and refuses writes.
    EXPECT_EQ(get(0x86, 1, 0x04, 1), 0x07);
    EXPECT_EQ(camera->setData(100, 4, 0x04, 1), kIOUSBPipeStalled);
    EXPECT_EQ(camera->setData(1, 1, 0x02, 1), kIOReturnSuccess);  // manual
    EXPECT_EQ(get(0x86, 1, 0x04, 1), 0x03);
    EXPECT_EQ(camera->setData(100, 4, 0x04, 1), kIOReturnSuccess);
    EXPECT_EQ(device->currentValue(1, 0x04), 100);

    // Only single offered modes are accepted.
    EXPECT_EQ(camera->setData(4, 1, 0x02, 1), kIOUSBPipeStalled);
    EXPECT_EQ(camera->setData(9, 1, 0x02, 1), kIOUSBPipeStalled);

    EXPECT_EQ(get(0x86, 1, 0x06, 1), 0x07);  // focus under auto focus
    camera->setData(0, 1, 0x08, 1);
    EXPECT_EQ(get(0x86, 1, 0x06, 1), 0x03);
    EXPECT_EQ(get(0x86, 1, 0x0A, 2), 0x07);  // white balance temperature under its auto mode
    camera->setData(0, 1, 0x0B, 2);
    EXPECT_EQ(get(0x86, 1, 0x0A, 2), 0x03);
}

TEST_F(VirtualDevice, OutOfRangeWritesAreClampedOrStalled) {
    EXPECT_EQ(camera->setData(-100, 2, 0x02, 2), kIOReturnSuccess);
    EXPECT_EQ(device->currentValue(2, 0x02), -5);
    EXPECT_EQ(camera->setData(0x7FFF, 2, 0x02, 2), kIOReturnSuccess);
    EXPECT_EQ(device->currentValue(2, 0x02), 5);
    // Extension controls without a range take any bytes.
    EXPECT_EQ(camera->setData(0xFF800000L, 4, 0x01, 9), kIOReturnSuccess);
    EXPECT_EQ(device->currentValue(9, 0x01), 0xFF800000L);

    VirtualRig strictRig;
    std::string strictJson = kDeclared;
    strictJson.insert(1, R"("outOfRange": "stall",)");
    auto strict = strictRig.add(cameraFromJson(strictJson));
    auto strictCamera = strictRig.open(*strict);
    EXPECT_EQ(strictCamera->setData(-100, 2, 0x02, 2), kIOUSBPipeStalled);
    EXPECT_EQ(strict->currentValue(2, 0x02), 1);
}

TEST_F(VirtualDevice, ShortAnswersAndWrongRequestsAreHandled) {
    device->clearRequests();
    long value = 0;
    // A read longer than the control gets the control's bytes only.
    EXPECT_EQ(camera->getDataFor(0x81, 4, 0x02, 2, &value), kIOReturnSuccess);
    EXPECT_EQ(device->requests().back().data.size(), 2u);
    // A write shorter than the control is refused.
    EXPECT_EQ(camera->setData(1, 1, 0x02, 2), kIOUSBPipeStalled);
    EXPECT_EQ(device->requests().back().status, kIOUSBPipeStalled);
}

// ---- Changes behind the host's back ----

struct RecordingObserver final : platform::ControlChangeObserver, platform::CaptureUseObserver {
    void controlChanged(const platform::ControlChange& change) override {
        changes.push_back(change);
    }
    void captureUseChanged(int foreignOpens) override { opens.push_back(foreignOpens); }
    std::vector<platform::ControlChange> changes;
    std::vector<int> opens;
};

// The VideoControl interface handle of the only camera on `usb`, straight from the seam.
std::shared_ptr<platform::UsbInterface> controlInterfaceOf(virtualcam::VirtualUsbHost& usb) {
    std::vector<std::shared_ptr<platform::UsbDeviceService>> services;
    usb.getMatchingServices(services);
    std::shared_ptr<platform::UsbDevice> device;
    services.at(0)->queryInterface(device);
    std::vector<std::shared_ptr<platform::UsbInterfaceService>> interfaces;
    device->createInterfaceIterator(interfaces);
    std::shared_ptr<platform::UsbInterface> handle;
    interfaces.at(0)->queryInterface(handle);
    return handle;
}

class BehindTheHostsBack : public VirtualDevice {
  protected:
    void SetUp() override {
        if (!QCoreApplication::instance())
            application = std::make_unique<QCoreApplication>(argc, argv);
        VirtualDevice::SetUp();
        handle = controlInterfaceOf(rig.usb);
        ASSERT_TRUE(handle->setControlChangeObserver(&observer));
    }
    void TearDown() override { handle.reset(); }
    // The changes delivered by the event loop since the last call.
    std::vector<platform::ControlChange> delivered() {
        QCoreApplication::sendPostedEvents();
        return std::exchange(observer.changes, {});
    }

    static inline int argc = 1;
    static inline char name[] = "test";
    static inline char* argv[] = {name, nullptr};
    std::unique_ptr<QCoreApplication> application;
    std::shared_ptr<platform::UsbInterface> handle;
    RecordingObserver observer;
};

TEST_F(BehindTheHostsBack, AnotherProgramsWritesReachTheObserverLaterAsGetCurAnswersThem) {
    EXPECT_TRUE(device->setByAnotherProgram(2, 0x02, -3));
    EXPECT_TRUE(observer.changes.empty());  // queued, never from inside the change
    auto changes = delivered();
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].unit, 2);
    EXPECT_EQ(changes[0].selector, 0x02);
    EXPECT_TRUE(changes[0].valueChanged);
    EXPECT_EQ(changes[0].value, 0xFFFDu);  // two bytes, little-endian
    EXPECT_FALSE(changes[0].flagsChanged);

    // Clamped like the host's write; the same value again changes nothing.
    EXPECT_TRUE(device->setByAnotherProgram(2, 0x02, -100));
    EXPECT_TRUE(device->setByAnotherProgram(2, 0x02, -5));
    changes = delivered();
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].value, 0xFFFBu);

    std::string error;
    EXPECT_FALSE(device->setByAnotherProgram(2, 0x03, 1, &error));
    EXPECT_EQ(error, "no such control");
    EXPECT_FALSE(device->setByAnotherProgram(1, 0x04, 100, &error));
    EXPECT_EQ(error, "governed by an automatic mode");
    EXPECT_FALSE(device->setByAnotherProgram(1, 0x02, 4, &error));
    EXPECT_EQ(error, "not a value the control takes");
    EXPECT_TRUE(delivered().empty());
    EXPECT_EQ(device->requestCount(), 0u);  // nothing of it is a host request
}

TEST_F(BehindTheHostsBack, AnAutomaticModeChangeAlsoFlagsTheControlsItGoverns) {
    EXPECT_TRUE(device->setByAnotherProgram(1, 0x02, 1));  // manual exposure
    auto changes = delivered();
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0].selector, 0x02);
    EXPECT_EQ(changes[0].value, 1u);
    EXPECT_EQ(changes[1].selector, 0x04);
    EXPECT_FALSE(changes[1].valueChanged);
    EXPECT_TRUE(changes[1].flagsChanged);
    EXPECT_FALSE(changes[1].inactive);

    ASSERT_TRUE(device->setCurrentValue(2, 0x0B, 0));  // white balance auto off, raw
    changes = delivered();
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[1].selector, 0x0A);
    EXPECT_FALSE(changes[1].inactive);
    ASSERT_TRUE(device->setCurrentValue(2, 0x0B, 1));
    changes = delivered();
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_TRUE(changes[1].inactive);
}

TEST_F(BehindTheHostsBack, TheHostsOwnWritesAndGoneCamerasTellNothing) {
    EXPECT_EQ(camera->setData(3, 2, 0x02, 2), kIOReturnSuccess);
    EXPECT_EQ(camera->setData(1, 1, 0x02, 1), kIOReturnSuccess);
    EXPECT_TRUE(delivered().empty());

    device->setCurrentValue(2, 0x02, 4);
    device->vanish();  // unplugged before the event loop ran
    EXPECT_TRUE(delivered().empty());

    EXPECT_TRUE(handle->setControlChangeObserver(nullptr));
    EXPECT_FALSE(device->setByAnotherProgram(2, 0x02, 0));
}

TEST_F(BehindTheHostsBack, OtherProgramsOpensAreCountedAndTold) {
    QString error;
    auto capture = virtualcam::VirtualCaptureDevice::create(device, &error);
    ASSERT_TRUE(capture) << error.toStdString();
    ASSERT_TRUE(capture->setCaptureUseObserver(&observer));
    EXPECT_FALSE(device->closeByAnotherProgram());
    EXPECT_TRUE(device->openByAnotherProgram());
    EXPECT_TRUE(device->openByAnotherProgram());
    EXPECT_TRUE(device->closeByAnotherProgram());
    EXPECT_EQ(device->foreignOpens(), 1);
    EXPECT_TRUE(observer.opens.empty());
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(observer.opens, (std::vector<int>{1, 2, 1}));

    capture->setCaptureUseObserver(nullptr);
    EXPECT_TRUE(device->closeByAnotherProgram());
    device->vanish();
    EXPECT_FALSE(device->openByAnotherProgram());
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(observer.opens.size(), 3u);
}

TEST_F(BehindTheHostsBack, AFormatAnotherProgramsStreamSetsIsTheDevicesAndIsTold) {
    auto streaming = testing::loadFixture("generic.json");  // three formats and sizes
    QString error;
    auto capture = virtualcam::VirtualCaptureDevice::create(streaming, &error);
    ASSERT_TRUE(capture) << error.toStdString();
    struct Formats final : platform::CaptureFormatObserver {
        int told = 0;
        void captureFormatChanged() override { ++told; }
    } formats;
    const auto offered = streaming->streamingFormats();
    ASSERT_GE(offered.size(), 2u);
    EXPECT_EQ(capture->formatDescriptions().at(0).width, offered.front().width);
    ASSERT_TRUE(capture->setFormatObserver(&formats));

    const auto& last = offered.back();
    std::string why;
    ASSERT_TRUE(streaming->streamFormatByAnotherProgram(last.fourCC, last.width, last.height, &why))
        << why;
    EXPECT_EQ(formats.told, 0);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(formats.told, 1);
    EXPECT_EQ(capture->formatDescriptions().at(0).formatType, last.fourCC);
    EXPECT_EQ(capture->formatDescriptions().at(0).height, last.height);
    // A size the descriptors do not declare is refused and changes nothing.
    EXPECT_FALSE(streaming->streamFormatByAnotherProgram(last.fourCC, 7, 7, &why));
    EXPECT_EQ(why, "the camera offers no such format and size");

    capture->setFormatObserver(nullptr);
    ASSERT_TRUE(streaming->streamFormatByAnotherProgram(
        offered.front().fourCC, offered.front().width, offered.front().height));
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(formats.told, 1);
}

}  // namespace
}  // namespace orvella
