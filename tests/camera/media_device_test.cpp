// The media-device control path of built-in cameras over the virtual media-device layer: finding
// the control objects, the ranges they give, reading and writing values (with the midpoint
// nudge), control status, and what garbage from the layer does.

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <cstring>
#include <limits>

#include "camera/QTCamera.h"
#include "platform/virtual/VirtualPlatform.h"
#include "support/VirtualRig.h"

namespace orvella {
namespace {

namespace cmio = platform::cmio;
using virtualcam::VirtualCamera;
using virtualcam::VirtualPlatform;

struct BuiltIn {
    VirtualPlatform rig;
    platform::MediaObjectID device = 0;
    std::unique_ptr<QTCamera> camera;

    // The built-in fixture, with its control list replaced when `controls` is given.
    explicit BuiltIn(const char* controls = nullptr) {
        QFile file(QString::fromStdString(testing::fixturePath("builtin.json")));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        QJsonObject json = QJsonDocument::fromJson(file.readAll()).object();
        if (controls) {
            QJsonObject media = json["mediaDevice"].toObject();
            media["controls"] = QJsonDocument::fromJson(controls).array();
            json["mediaDevice"] = media;
        }
        QString error;
        auto capture =
            rig.addCamera(VirtualCamera::fromJson(QJsonDocument(json).toJson(), &error), &error);
        EXPECT_TRUE(capture) << error.toStdString();
        device = rig.mediaDeviceFor(*capture);
        camera = QTCamera::initWithQTCaptureDevice(rig.platform(), capture, device);
    }
    platform::MediaObjectID object(const char* classCode) {
        return rig.media().controlOfClass(device, platform::fourCC(classCode));
    }
    std::vector<float> sentValues() {
        std::vector<float> values;
        for (const auto& write : rig.media().writes())
            values.push_back(write.floatValue());
        return values;
    }
};

TEST(MediaDevicePath, FindsTheSevenControlsWithTheirRanges) {
    BuiltIn b;
    const SupportedControl& s = *b.camera->supportedControl();
    EXPECT_EQ(b.camera->vendorID(), 0x106B);
    EXPECT_EQ(b.camera->productID(), 0x8507);
    EXPECT_TRUE(s.bBrightness && s.bContrast && s.bHue && s.bSaturation && s.bSharpness &&
                s.bNoiseReduction && s.bExposureTimeAbsolute);
    EXPECT_EQ(s.minBrightness, 0);
    EXPECT_EQ(s.maxBrightness, 255);
    EXPECT_EQ(s.curBrightness, 128);
    EXPECT_EQ(s.defBrightness, 128);
    EXPECT_EQ(s.minHue, -180);
    EXPECT_EQ(s.resHue, 1);
    // Exposure has its absolute-native flag set: absolute value and range apply.
    EXPECT_EQ(s.curExposureTimeAbsolute, 166);
    EXPECT_EQ(s.maxExposureTimeAbsolute, 5000);
    // No USB control is claimed.
    EXPECT_FALSE(s.bGain);
    EXPECT_FALSE(s.bWhiteBalanceTemperature);
    const CMIOControl& brightness = b.camera->cmioControls().brightness;
    EXPECT_EQ(brightness.object, b.object("brit"));
    EXPECT_EQ(brightness.nativeRange[1], 255.0);
    EXPECT_EQ(brightness.absoluteRange[0], -1.0);
    EXPECT_EQ(b.camera->cmioControls().exposure.automaticManual, 1u);
    EXPECT_EQ(b.camera->getStringFromObject(b.object("brit"), cmio::kPropertyName), "Brightness");
}

TEST(MediaDevicePath, NamelessObjectsAreSkippedAndTheLaterOfTwoWins) {
    BuiltIn b(R"([{"class": "brit", "nativeValue": 10},
                  {"class": "ctst", "name": "Contrast", "nativeValue": 1},
                  {"class": "ctst", "name": "Contrast 2", "nativeValue": 2, "onOff": 0},
                  {"class": "zzzz", "name": "Unknown"}])");
    const SupportedControl& s = *b.camera->supportedControl();
    EXPECT_FALSE(s.bBrightness);
    EXPECT_EQ(b.camera->cmioControls().brightness.object, 0u);
    EXPECT_TRUE(s.bContrast);
    EXPECT_EQ(s.curContrast, 2);
    EXPECT_TRUE(s.bContrastDisabled);
}

TEST(MediaDevicePath, MidpointValueIsNudgedDown) {
    BuiltIn b;
    CMIOControl& brightness = b.camera->cmioControls().brightness;  // native 0..255
    EXPECT_EQ(b.camera->setData(&brightness, 127.5f), 0);
    EXPECT_EQ(b.camera->setData(&brightness, 128.0f), 0);
    EXPECT_EQ(b.sentValues(), (std::vector<float>{127.4f, 128.0f}));
    EXPECT_EQ(b.rig.media().writes()[0].selector, cmio::kPropertyNativeValue);
    EXPECT_EQ(brightness.nativeValue, 128.0f);

    // Absolute-native controls are written through the absolute value and range (1..5000).
    b.rig.media().clearWrites();
    CMIOControl& exposure = b.camera->cmioControls().exposure;
    b.camera->setData(&exposure, 2500.5f);
    ASSERT_EQ(b.rig.media().writes().size(), 1u);
    EXPECT_EQ(b.rig.media().writes()[0].selector, cmio::kPropertyAbsoluteValue);
    EXPECT_EQ(b.rig.media().writes()[0].floatValue(), 2500.4f);
    long value = 0;
    EXPECT_EQ(b.camera->getData(&value, &exposure), 0);
    EXPECT_EQ(value, 2500);
}

TEST(MediaDevicePath, SwitchedOffControlIsDisabledAndItsValueNotRead) {
    BuiltIn b;
    const auto brit = b.object("brit");
    const auto ctst = b.object("ctst");
    const float changed = 77.0f;
    std::vector<uint8_t> bytes(4);
    std::memcpy(bytes.data(), &changed, 4);
    ASSERT_TRUE(b.rig.media().setPropertyBytes(brit, cmio::kPropertyNativeValue, bytes));
    ASSERT_TRUE(b.rig.media().setPropertyBytes(ctst, cmio::kPropertyNativeValue, bytes));
    ASSERT_TRUE(b.rig.media().setPropertyBytes(brit, cmio::kPropertyOnOff, {0, 0, 0, 0}));

    bool disabled = false;
    EXPECT_EQ(b.camera->getStatusFromCMIOControl(&b.camera->cmioControls().brightness, &disabled),
              0);
    EXPECT_TRUE(disabled);
    EXPECT_EQ(b.camera->cmioControls().brightness.nativeValue, 128.0f);

    EXPECT_EQ(b.camera->getStatusFromCMIOControl(&b.camera->cmioControls().contrast, &disabled), 0);
    EXPECT_FALSE(disabled);
    EXPECT_EQ(b.camera->cmioControls().contrast.nativeValue, 77.0f);
}

TEST(MediaDevicePath, WrongSizesAndFailuresAreRefused) {
    BuiltIn b;
    const auto brit = b.object("brit");
    auto& media = b.rig.media();

    // The buffer form takes only a property of its own size.
    uint32_t small = 0xAAAAAAAA;
    EXPECT_EQ(b.camera->getData(&small, brit, cmio::kPropertyNativeRange, sizeof small),
              cmio::kBadPropertySizeError);
    EXPECT_EQ(small, 0xAAAAAAAAu);

    // A size that lies is refused before anything is copied.
    media.misreportSize(brit, cmio::kPropertyNativeValue, 64);
    long value = -1;
    EXPECT_EQ(b.camera->getData(&value, &b.camera->cmioControls().brightness),
              cmio::kBadPropertySizeError);
    EXPECT_EQ(b.camera->setData(&b.camera->cmioControls().brightness, 10.0f),
              cmio::kBadPropertySizeError);
    EXPECT_TRUE(media.writes().empty());
    media.misreportSize(brit, cmio::kPropertyName, 16);
    EXPECT_FALSE(b.camera->getStringFromObject(brit, cmio::kPropertyName));
    EXPECT_FALSE(b.camera->getStringFromObject(brit, cmio::kPropertyDeviceUID));
    media.clearFaults();

    // A failing on/off read is what the status reports.
    media.failProperty(brit, cmio::kPropertyOnOff, cmio::kUnspecifiedError);
    bool disabled = true;
    EXPECT_EQ(b.camera->getStatusFromCMIOControl(&b.camera->cmioControls().brightness, &disabled),
              0);  // on/off kept its old value (on), so the value read decides
    media.failProperty(brit, cmio::kPropertyNativeValue, cmio::kUnspecifiedError);
    EXPECT_EQ(b.camera->getStatusFromCMIOControl(&b.camera->cmioControls().brightness, &disabled),
              cmio::kUnspecifiedError);
    media.clearFaults();

    // The device goes away.
    media.removeDevice(b.device);
    EXPECT_EQ(b.camera->getData(&value, &b.camera->cmioControls().contrast), cmio::kBadObjectError);
    EXPECT_EQ(b.camera->getStatusFromCMIOControl(&b.camera->cmioControls().contrast, &disabled),
              cmio::kBadObjectError);
}

TEST(MediaDevicePath, GarbageFromTheLayerStaysHarmless) {
    BuiltIn b;
    auto& media = b.rig.media();
    // A value that is not a number reads as 0.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<uint8_t> bytes(4);
    std::memcpy(bytes.data(), &nan, 4);
    ASSERT_TRUE(media.setPropertyBytes(b.object("brit"), cmio::kPropertyNativeValue, bytes));
    long value = -1;
    EXPECT_EQ(b.camera->getData(&value, &b.camera->cmioControls().brightness), 0);
    EXPECT_EQ(value, 0);

    // A control list claiming gigabytes, and one that cannot be read, give no controls.
    for (bool huge : {true, false}) {
        if (huge)
            media.misreportSize(b.device, cmio::kPropertyOwnedObjects, 0xFFFFFFF0u);
        else
            media.failProperty(b.device, cmio::kPropertyOwnedObjects, cmio::kUnspecifiedError);
        auto rebuilt = QTCamera::initWithQTCaptureDevice(b.rig.platform(),
                                                         b.camera->qtCaptureDevice(), b.device);
        EXPECT_FALSE(rebuilt->supportedControl()->bBrightness);
        media.clearFaults();
    }
}

// The virtual layer itself: what discovery and the tests rely on.
TEST(VirtualMediaLayer, ListsDevicesFiltersControlsAndBehavesLikeADevice) {
    BuiltIn b;
    auto& media = b.rig.media();
    uint32_t ids[4] = {};
    uint32_t used = 0;
    ASSERT_EQ(
        media.getPropertyData(cmio::kSystemObject, {cmio::kPropertyDevices, cmio::kScopeInput}, 0,
                              nullptr, sizeof ids, &used, ids),
        0);
    EXPECT_EQ(used, 4u);
    EXPECT_EQ(ids[0], b.device);
    QString uid;
    EXPECT_EQ(media.getPropertyString(b.device, {cmio::kPropertyDeviceUID, cmio::kScopeInput}, 0,
                                      nullptr, cmio::kStringReferenceSize, &used, &uid),
              0);
    EXPECT_EQ(uid, "0x8020000005ac8507");

    const uint32_t hue = platform::fourCC("hue ");
    uint32_t size = 0;
    media.getPropertyDataSize(b.device, {cmio::kPropertyOwnedObjects, cmio::kScopeInput}, 4, &hue,
                              &size);
    EXPECT_EQ(size, 4u);
    // Strings never come as raw bytes, and the wrong scope is another property.
    uint8_t raw[64];
    EXPECT_EQ(media.getPropertyData(b.device, {cmio::kPropertyDeviceUID, cmio::kScopeInput}, 0,
                                    nullptr, sizeof raw, &used, raw),
              cmio::kBadPropertySizeError);
    EXPECT_EQ(
        media.getPropertyDataSize(b.object("brit"), {cmio::kPropertyNativeValue, cmio::kScopeInput},
                                  0, nullptr, &size),
        cmio::kUnknownPropertyError);

    // Writes are clamped into the range, the absolute value follows, read-only ones are refused.
    const float tooHigh = 300;
    const platform::PropertyAddress native{cmio::kPropertyNativeValue, cmio::kScopeGlobal};
    EXPECT_EQ(media.setPropertyData(b.object("brit"), native, 0, nullptr, 4, &tooHigh), 0);
    EXPECT_EQ(media.floatProperty(b.object("brit"), cmio::kPropertyNativeValue), 255.0f);
    EXPECT_EQ(media.floatProperty(b.object("brit"), cmio::kPropertyAbsoluteValue), 1.0f);
    const double range[2] = {0, 1};
    EXPECT_EQ(
        media.setPropertyData(b.object("brit"), {cmio::kPropertyNativeRange, cmio::kScopeGlobal}, 0,
                              nullptr, sizeof range, range),
        cmio::kIllegalOperationError);
    EXPECT_EQ(media.writes().size(), 2u);
    EXPECT_EQ(media.writes()[1].status, cmio::kIllegalOperationError);
}

TEST(VirtualMediaLayer, MalformedDefinitionsAreRefusedWithTheirPlace) {
    const char* bad[] = {
        R"({"controls": [{"class": "br"}]})",
        R"({"controls": [{"class": "brit", "nativeRange": [5, 1]}]})",
        R"({"controls": [{"class": "brit", "onOff": -1}]})",
        R"({"controls": [{"class": "brit", "nativValue": 1}]})",
        R"({"controls": {}})",
        R"({"uid": 7})",
        R"([])",
    };
    for (const char* media : bad) {
        const QByteArray json =
            QByteArray(R"({"vendorID": 1, "productID": 2, "mediaDevice": )") + media + "}";
        QString error;
        auto camera = VirtualCamera::fromJson(json, &error, "def.json");
        ASSERT_TRUE(camera) << error.toStdString();
        VirtualPlatform rig;
        EXPECT_FALSE(rig.addCamera(camera, &error)) << media;
        EXPECT_TRUE(error.startsWith("def.json: mediaDevice")) << error.toStdString();
        EXPECT_TRUE(rig.capture().devices().empty());
    }
}

}  // namespace
}  // namespace orvella
