// The media-device control path of built-in cameras over the virtual media-device layer: finding
// the control objects, the ranges they give, reading and writing values (with the midpoint
// nudge), control status, and what garbage from the layer does.

#include <gtest/gtest.h>

#include <QJsonArray>
#include <cstring>
#include <limits>

#include "support/OpenedCamera.h"

namespace orvella {
namespace {

namespace cmio = platform::cmio;
using testing::FixtureCamera;
using virtualcam::VirtualCamera;
using virtualcam::VirtualPlatform;

// Puts a float into a control object's property behind the camera's back.
void setFloat(FixtureCamera& b, platform::MediaObjectID object, uint32_t property, float value) {
    std::vector<uint8_t> bytes(4);
    std::memcpy(bytes.data(), &value, 4);
    ASSERT_TRUE(b.rig.media().setPropertyBytes(object, property, bytes));
}

TEST(MediaDevicePath, FindsTheSevenControlsWithTheirRanges) {
    FixtureCamera b("builtin.json");
    const SupportedControl& s = b.controls();
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
    // No USB-only control is claimed.
    EXPECT_FALSE(s.bGain);
    const CMIOControl& brightness = b.camera->cmioControls().brightness;
    EXPECT_EQ(brightness.object, b.object("brit"));
    EXPECT_EQ(brightness.absoluteRange[0], -1.0);
    EXPECT_EQ(b.camera->cmioControls().exposure.automaticManual, 1u);
    EXPECT_EQ(b.camera->getStringFromObject(b.object("brit"), cmio::kPropertyName), "Brightness");
}

TEST(MediaDevicePath, NamelessObjectsAreSkippedAndTheLaterOfTwoWins) {
    FixtureCamera b(testing::editedFixture("builtin.json", [](QJsonObject& json) {
        QJsonObject media = json["mediaDevice"].toObject();
        media["controls"] = QJsonDocument::fromJson(R"([{"class": "brit", "nativeValue": 10},
            {"class": "ctst", "name": "Contrast", "nativeValue": 1},
            {"class": "ctst", "name": "Contrast 2", "nativeValue": 2, "onOff": 0},
            {"class": "zzzz", "name": "Unknown"}])")
                                .array();
        json["mediaDevice"] = media;
    }));
    const SupportedControl& s = b.controls();
    EXPECT_FALSE(s.bBrightness);
    EXPECT_EQ(b.camera->cmioControls().brightness.object, 0u);
    EXPECT_TRUE(s.bContrast);
    EXPECT_EQ(s.curContrast, 2);
    EXPECT_TRUE(s.bContrastDisabled);
}

TEST(MediaDevicePath, MidpointValueIsNudgedDown) {
    FixtureCamera b("builtin.json");
    CMIOControl& brightness = b.camera->cmioControls().brightness;  // native 0..255
    EXPECT_EQ(b.camera->setData(&brightness, 127.5f), 0);
    EXPECT_EQ(b.camera->setData(&brightness, 128.0f), 0);
    EXPECT_EQ(b.written("brit"), (std::vector<float>{127.4f, 128.0f}));
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
    FixtureCamera b("builtin.json");
    setFloat(b, b.object("brit"), cmio::kPropertyNativeValue, 77.0f);
    setFloat(b, b.object("ctst"), cmio::kPropertyNativeValue, 77.0f);
    ASSERT_TRUE(
        b.rig.media().setPropertyBytes(b.object("brit"), cmio::kPropertyOnOff, {0, 0, 0, 0}));

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
    FixtureCamera b("builtin.json");
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
    media.removeDevice(b.media);
    EXPECT_EQ(b.camera->getData(&value, &b.camera->cmioControls().contrast), cmio::kBadObjectError);
    EXPECT_EQ(b.camera->getStatusFromCMIOControl(&b.camera->cmioControls().contrast, &disabled),
              cmio::kBadObjectError);
}

TEST(MediaDevicePath, GarbageFromTheLayerStaysHarmless) {
    FixtureCamera b("builtin.json");
    auto& media = b.rig.media();
    // A value that is not a number reads as 0.
    setFloat(b, b.object("brit"), cmio::kPropertyNativeValue,
             std::numeric_limits<float>::quiet_NaN());
    long value = -1;
    EXPECT_EQ(b.camera->getData(&value, &b.camera->cmioControls().brightness), 0);
    EXPECT_EQ(value, 0);

    // A control list claiming gigabytes, and one that cannot be read, give no controls.
    for (bool huge : {true, false}) {
        if (huge)
            media.misreportSize(b.media, cmio::kPropertyOwnedObjects, 0xFFFFFFF0u);
        else
            media.failProperty(b.media, cmio::kPropertyOwnedObjects, cmio::kUnspecifiedError);
        auto rebuilt = QTCamera::initWithQTCaptureDevice(b.rig.platform(),
                                                         b.camera->qtCaptureDevice(), b.media);
        EXPECT_FALSE(rebuilt->supportedControl()->bBrightness);
        media.clearFaults();
    }
}

// The virtual layer itself: what discovery and the tests rely on.
TEST(VirtualMediaLayer, ListsDevicesFiltersControlsAndBehavesLikeADevice) {
    FixtureCamera b("builtin.json");
    auto& media = b.rig.media();
    uint32_t ids[4] = {};
    uint32_t used = 0;
    ASSERT_EQ(
        media.getPropertyData(cmio::kSystemObject, {cmio::kPropertyDevices, cmio::kScopeInput}, 0,
                              nullptr, sizeof ids, &used, ids),
        0);
    EXPECT_EQ(used, 4u);
    EXPECT_EQ(ids[0], b.media);
    QString uid;
    EXPECT_EQ(media.getPropertyString(b.media, {cmio::kPropertyDeviceUID, cmio::kScopeInput}, 0,
                                      nullptr, cmio::kStringReferenceSize, &used, &uid),
              0);
    EXPECT_EQ(uid, "0x8020000005ac8507");

    const uint32_t hue = platform::fourCC("hue ");
    uint32_t size = 0;
    media.getPropertyDataSize(b.media, {cmio::kPropertyOwnedObjects, cmio::kScopeInput}, 4, &hue,
                              &size);
    EXPECT_EQ(size, 4u);
    // Strings never come as raw bytes, and the wrong scope is another property.
    uint8_t raw[64];
    EXPECT_EQ(media.getPropertyData(b.media, {cmio::kPropertyDeviceUID, cmio::kScopeInput}, 0,
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
