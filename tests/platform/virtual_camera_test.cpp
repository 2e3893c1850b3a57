// The virtual camera as a device: definitions it accepts and refuses, the answers it gives for
// undescribed controls, automatic-mode rules, clamping and the shipped definitions.

#include <gtest/gtest.h>

#include <QDir>

#include "camera/QTCamera.h"
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
    QString error;
    EXPECT_FALSE(VirtualCamera::fromFile("/nonexistent/cam.json", &error));
    EXPECT_TRUE(error.startsWith("/nonexistent/cam.json: cannot read"));
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

}  // namespace
}  // namespace orvella
