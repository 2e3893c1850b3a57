// Building cameras: identity parsed from the capture device, the naming of vendor 0x046D models,
// the camera dropped without a USB device, the media-device constructor and the USB-only one.

#include <gtest/gtest.h>

#include <QJsonObject>

#include "platform/CaptureDevice.h"
#include "platform/Log.h"
#include "support/OpenedCamera.h"

namespace orvella {
namespace {

using testing::FixtureCamera;
using virtualcam::VirtualCamera;
using virtualcam::VirtualPlatform;

// The C270 fixture with some keys replaced; a null value removes the key.
std::shared_ptr<VirtualCamera> c270(const QJsonObject& changes) {
    return testing::editedFixture("logitech-c270.json", [&](QJsonObject& json) {
        for (auto it = changes.begin(); it != changes.end(); ++it) {
            json.remove(it.key());
            if (!it.value().isNull()) json[it.key()] = it.value();
        }
    });
}

// A capture device with given identity strings, for cameras the USB side does not know.
struct FakeCaptureDevice final : platform::CaptureDevice {
    QString uid, model, name;
    FakeCaptureDevice(QString u, QString m, QString n)
        : uid(std::move(u)), model(std::move(m)), name(std::move(n)) {}
    QString uniqueID() const override { return uid; }
    QString modelUniqueID() const override { return model; }
    QString localizedDisplayName() const override { return name; }
    bool hasMediaType(platform::MediaType) const override { return true; }
    std::vector<platform::CaptureFormatDescription> formatDescriptions() const override {
        return {};
    }
};

TEST(CameraIdentity, UniqueIDGivesLocationVendorProductAndTheTableNamesTheModel) {
    // No product string: the model-name table names the camera.
    FixtureCamera usb(c270({{"productString", QJsonValue::Null}, {"displayName", "USB Camera"}}));
    const auto& camera = usb.camera;
    EXPECT_EQ(camera->uniqueID(), "0x1a200000046d0825");
    EXPECT_EQ(camera->locationID(), 0x1A200000u);
    EXPECT_EQ(camera->vendorID(), 0x046D);
    EXPECT_EQ(camera->productID(), 0x0825);
    EXPECT_EQ(camera->modelUniqueID(), "UVC Camera VendorID_1133 ProductID_2085");
    EXPECT_EQ(camera->displayName(), "USB Camera HD Webcam C270");
    EXPECT_EQ(camera->cameraType(), CameraType::Usb);
    EXPECT_EQ(camera->cameraMode(), CameraMode::Idle);
    EXPECT_TRUE(camera->date().has_value());
    EXPECT_TRUE(camera->qtCaptureDevice());
    // Interfaces found by location, probed, and the formats listed.
    EXPECT_TRUE(camera->controlInterface);
    EXPECT_NE(camera->processingUnitID, 0);
    EXPECT_FALSE(camera->formatArray().empty());

    // A device already named like its model keeps its name.
    FixtureCamera same(
        c270({{"productString", QJsonValue::Null}, {"displayName", "HD Webcam C270"}}));
    EXPECT_EQ(same.camera->displayName(), "HD Webcam C270");
}

TEST(CameraIdentity, ModelNameComesFromTheProductStringThenTableThenHex) {
    struct Case {
        const char* product;
        QJsonValue productString;
        const char* expected;
    };
    const Case cases[] = {
        {"0x0825", "Custom Model", "Cam Custom Model"},
        {"0x0800", QJsonValue::Null, "Cam 0x0800"},
        {"0x08CA", QJsonValue::Null, "Cam QuickCam Fusion"},
        // This model's product string is never read.
        {"0x0837", "Something Else", "Cam BCC950 ConferenceCam"},
    };
    for (const Case& c : cases) {
        FixtureCamera usb(c270({{"productID", c.product},
                                {"productString", c.productString},
                                {"displayName", "Cam"}}));
        EXPECT_EQ(usb.camera->displayName(), c.expected) << c.product;
    }
}

TEST(CameraIdentity, LogitechCameraWithoutUsbDeviceIsDroppedOthersAreKept) {
    VirtualPlatform rig;  // nothing on the USB bus
    auto logitech = QTCamera::initWithQTCaptureDevice(
        rig.platform(),
        std::make_shared<FakeCaptureDevice>("0x1a200000046d0825",
                                            "UVC Camera VendorID_1133 ProductID_2085", "Cam"));
    EXPECT_FALSE(logitech->qtCaptureDevice());
    EXPECT_EQ(logitech->displayName(), "Cam HD Webcam C270");

    auto other = QTCamera::initWithQTCaptureDevice(
        rig.platform(), std::make_shared<FakeCaptureDevice>("0x1a2000001d6b0102", "m", "Other"));
    EXPECT_TRUE(other->qtCaptureDevice());
    EXPECT_EQ(other->displayName(), "Other");
    EXPECT_FALSE(other->controlInterface);
    EXPECT_TRUE(other->formatArray().empty());

    // Not hexadecimal: the USB identifiers stay 0.
    auto garbage = QTCamera::initWithQTCaptureDevice(
        rig.platform(), std::make_shared<FakeCaptureDevice>("built-in", "m", "G"));
    EXPECT_EQ(garbage->locationID(), 0u);
    EXPECT_EQ(garbage->vendorID(), 0);
    EXPECT_EQ(garbage->productID(), 0);
}

TEST(CameraIdentity, FallsBackToVendorAndProductWhenTheLocationIsUnknown) {
    VirtualPlatform rig;
    QString error;
    rig.addCamera(c270({}), &error);
    // Same vendor and product, another location.
    auto camera = QTCamera::initWithQTCaptureDevice(
        rig.platform(), std::make_shared<FakeCaptureDevice>("0x14100000046d0825", "m", "Cam"));
    EXPECT_TRUE(camera->controlInterface);
    EXPECT_TRUE(camera->qtCaptureDevice());
    EXPECT_EQ(camera->locationID(), 0x14100000u);
}

TEST(CameraIdentity, LogsTheIdentityFirst) {
    log::ScopedCapture capture;
    FixtureCamera usb(c270({}));
    ASSERT_GE(capture.lines().size(), 5u);
    EXPECT_EQ(capture.lines()[0], " ");
    EXPECT_EQ(capture.lines()[1], "0x1a200000046d0825");
    EXPECT_EQ(capture.lines()[2], "UVC Camera VendorID_1133 ProductID_2085");
    EXPECT_EQ(capture.lines()[3], "C270 HD WEBCAM");
    for (const auto& line : capture.lines())
        EXPECT_EQ(line.find('\n'), std::string::npos);
}

TEST(CameraIdentity, MediaDeviceCameraTakesVendorAndProductFromTheModelIdentifier) {
    struct Case {
        const char* model;
        uint16_t vendor, product;
    };
    const Case cases[] = {
        {"Apple Camera VendorID_0x106B ProductID_0x8507", 0x106B, 0x8507},
        // Decimal pieces do not scan; a later piece overrides an earlier one; 16 bits are kept.
        {"Apple VendorID_4203 ProductID_0x1 ProductID_0x2", 0, 2},
        {"Apple  VendorID_0x12345 x", 0x2345, 0},
    };
    for (const Case& c : cases) {
        log::ScopedCapture capture;
        platform::Platform none;  // no media-device layer: no controls, and no crash
        auto camera = QTCamera::initWithQTCaptureDevice(
            none, std::make_shared<FakeCaptureDevice>("uid", c.model, "Built-in"), 7);
        EXPECT_EQ(camera->vendorID(), c.vendor) << c.model;
        EXPECT_EQ(camera->productID(), c.product) << c.model;
        EXPECT_EQ(camera->cameraType(), CameraType::MediaDevice);
        EXPECT_EQ(camera->cmioDeviceID(), 7u);
        EXPECT_EQ(camera->cameraMode(), CameraMode::None);
        EXPECT_EQ(camera->defaultFrameIndex(), 1);
        EXPECT_FALSE(camera->date().has_value());
        EXPECT_FALSE(camera->supportedControl()->bBrightness);
        EXPECT_TRUE(capture.lines().empty());
    }
}

TEST(CameraIdentity, UsbOnlyCameraHasNoIdentityStrings) {
    VirtualPlatform rig;
    QString error;
    rig.addCamera(c270({}), &error);
    auto camera = QTCamera::initWithLocationID(rig.platform(), 0x1A200000, 0x046D, 0x0825);
    EXPECT_EQ(camera->cameraType(), CameraType::UsbOnly);
    EXPECT_TRUE(camera->uniqueID().isEmpty());
    EXPECT_TRUE(camera->displayName().isEmpty());
    EXPECT_FALSE(camera->qtCaptureDevice());
    EXPECT_TRUE(camera->controlInterface);
    EXPECT_FALSE(camera->formatArray().empty());
    EXPECT_EQ(camera->cameraMode(), CameraMode::Idle);
}

}  // namespace
}  // namespace orvella
