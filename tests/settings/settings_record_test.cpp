// The settings record: filled from a camera and applied back, over every fixture camera; the
// fixed order of application as the camera saw it; disabled controls; the shared pan/tilt entry;
// the aperture's current-camera rule and its stepping.

#include <gtest/gtest.h>

#include <QDir>
#include <functional>

#include "platform/Log.h"
#include "settings/SettingsRecord.h"
#include "support/OpenedCamera.h"
#include "tests/settings/SettingsRig.h"
#include "tools/CtlControls.h"

namespace orvella {
namespace {

using settings::allSettingsDict;
using settings::loadSettings;
using settings::settingsDict;
using settings::SettingsRecord;
using testing::FixtureCamera;
using testing::SetCur;
using testing::setCurs;

// Moves every control the camera has away from where it stands, automatic modes off first so
// that the manual values they govern can be written.
void moveEveryControl(QTCamera& camera) {
    SupportedControl& c = *camera.supportedControl();
    if (c.bAutoExposureMode) camera.setAutoExposureMode(1);
    if (c.bWhiteBalanceTemperatureAuto) camera.setWhiteBalanceTemperatureAuto(0);
    if (c.bFocusAuto) camera.setFocusAuto(0);
    camera.queryControlStatus();
    for (const tools::CtlControl& control : tools::ctlControls()) {
        if (!tools::isSupported(control, c) || !control.cur) continue;
        const std::string_view key = control.key;
        // Noise reduction is recorded but never applied, so it stays where it is.
        if (key == "AutoExposureMode" || key == "WhiteBalanceTemperatureAuto" ||
            key == "FocusAuto" || key == "NoiseReduction")
            continue;
        const long now = c.*control.cur;
        const long max = control.max ? c.*control.max : now + 1;
        tools::writeControl(camera, control, now < max ? now + 1 : now - 1);
    }
    if (c.cameraLED) camera.setLEDIndex(2);
    camera.queryControlStatus();
}

TEST(SettingsRecord, RoundTripsEveryFixtureCamera) {
    const QStringList fixtures =
        QDir(QString::fromStdString(testing::fixturePath(""))).entryList({"*.json"});
    ASSERT_GE(fixtures.size(), 10);
    for (const QString& name : fixtures) {
        SCOPED_TRACE(name.toStdString());
        FixtureCamera first(name.toStdString());
        ASSERT_TRUE(first.camera);
        moveEveryControl(*first.camera);
        SettingsRecord saved;
        allSettingsDict(saved, *first.camera, first.camera.get());
        EXPECT_FALSE(saved.isEmpty());

        FixtureCamera fresh(name.toStdString());
        loadSettings(saved, *fresh.camera);
        fresh.camera->queryControlStatus();
        SettingsRecord again;
        allSettingsDict(again, *fresh.camera, fresh.camera.get());
        EXPECT_EQ(again, saved);
        // The fresh camera did receive values: a round trip through an untouched record would
        // prove nothing.
        if (fresh.camera->cameraType() != CameraType::MediaDevice) {
            EXPECT_FALSE(setCurs(*fresh.device).empty());
        }
    }
}

// A clock that notes how many requests the camera had seen at each pause.
struct MarkingClock final : platform::Clock {
    std::function<size_t()> requestCount;
    std::vector<std::pair<uint32_t, size_t>> pauses;
    void usleep(uint32_t microseconds) override {
        pauses.emplace_back(microseconds, requestCount());
    }
};

TEST(SettingsRecord, AppliesInTheFixedOrder) {
    FixtureCamera cam("full-pu.json");
    SettingsRecord record{
        {"AutoExposureMode", qint64{1}},
        {"AutoExposurePriority", qint64{1}},
        {"ExposureTimeAbsolute", qint64{300}},
        {"Brightness", qint64{-5}},
        {"Contrast", qint64{40}},
        {"Hue", qint64{2}},
        {"Saturation", qint64{70}},
        {"Sharpness", qint64{4}},
        {"Gamma", qint64{120}},
        {"WhiteBalanceTemperatureAuto", qint64{0}},
        {"WhiteBalanceTemperature", qint64{5000}},
        {"PowerLineFrequency", qint64{2}},
        {"BacklightCompensation", qint64{2}},
        {"Gain", qint64{10}},
        {"FocusAuto", qint64{0}},
        {"FocusAbsolute", qint64{30}},
        {"ZoomAbsolute", qint64{150}},
        {"PanAbsolute", qint64{0}},
        {"TiltAbsolute", qint64{0}},
        {"Aperture", qint64{2}},
        {"NoiseReduction", qint64{9}},
    };
    for (const char* control :
         {"ExposureTimeAbsolute", "Brightness", "Contrast", "Hue", "Saturation", "Sharpness",
          "Gamma", "WhiteBalanceTemperature", "BacklightCompensation", "Gain", "FocusAbsolute",
          "ZoomAbsolute", "PanTiltAbsolute", "NoiseReduction"})
        record[QString(control) + "Disabled"] = false;
    MarkingClock clock;
    clock.requestCount = [&] { return cam.device->requestCount(); };
    loadSettings(record, *cam.camera, &clock);

    const int ct = cam.camera->inputTerminalID, pu = cam.camera->processingUnitID;
    std::vector<std::pair<int, int>> order;
    for (const SetCur& set : setCurs(*cam.device))
        order.emplace_back(set.unit, set.selector);
    const std::vector<std::pair<int, int>> expected{
        {ct, 0x02},  // auto-exposure mode (its priority is never sent)
        {ct, 0x04},  // exposure time
        {pu, 0x02}, {pu, 0x03}, {pu, 0x06}, {pu, 0x07}, {pu, 0x08},
        {pu, 0x09}, {pu, 0x0B}, {pu, 0x0A},  // white balance: automatic mode, then temperature
        {pu, 0x05},                          // power-line frequency
        {pu, 0x01}, {pu, 0x04},              // backlight compensation, gain
        {ct, 0x08}, {ct, 0x06},              // focus: automatic mode, then the value
        {ct, 0x0B},                          // zoom
        {ct, 0x0D}, {ct, 0x0D},              // pan, then tilt
        {ct, 0x0A}, {ct, 0x0A},              // two iris steps towards 2
    };
    EXPECT_EQ(order, expected);

    // The one pause asked of this clock is the focus wait, right before the focus is sent.
    ASSERT_EQ(clock.pauses.size(), 1u);
    EXPECT_EQ(clock.pauses[0].first, 200000u);
    const auto requests = cam.device->requests();
    ASSERT_LT(clock.pauses[0].second, requests.size());
    EXPECT_EQ(requests[clock.pauses[0].second].bmRequestType, 0x21);
    EXPECT_EQ(requests[clock.pauses[0].second].selector(), 0x06);
    // The automatic modes read back what they govern.
    EXPECT_EQ(cam.controls().curExposureTimeAbsolute, 300);
}

TEST(SettingsRecord, DisabledControlsKeepTheirOldValueAndAreNotApplied) {
    FixtureCamera cam("full-pu.json");
    cam.controls().bBrightnessDisabled = 1;
    SettingsRecord record{{"Brightness", qint64{17}}};
    log::ScopedCapture log;
    settingsDict(record, settings::kBrightness, *cam.camera, nullptr);
    EXPECT_EQ(record.value("BrightnessDisabled"), QVariant(true));
    EXPECT_EQ(record.value("Brightness"), QVariant(qint64{17}));
    EXPECT_TRUE(testing::logged(log, "    bBrightnessDisabled"));

    // Applying: a true disabled key is logged and skipped; a missing one applies nothing.
    log.clear();
    loadSettings(
        SettingsRecord{
            {"BrightnessDisabled", true}, {"Brightness", qint64{3}}, {"Contrast", qint64{50}}},
        *cam.camera);
    EXPECT_TRUE(setCurs(*cam.device).empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"    bBrightnessDisabled"});

    // Noise reduction is logged when it is filled, never applied.
    cam.controls().bNoiseReduction = 1;
    cam.controls().bNoiseReductionDisabled = 1;
    log.clear();
    settingsDict(record, settings::kNoiseReduction, *cam.camera, nullptr);
    EXPECT_TRUE(testing::logged(log, "    bNoiseReductionDisabled"));
    log.clear();
    loadSettings(record, *cam.camera);
    EXPECT_FALSE(testing::logged(log, "    bNoiseReductionDisabled"));

    // The white-balance temperature waits for its automatic mode to be off.
    cam.device->clearRequests();
    loadSettings(SettingsRecord{{"WhiteBalanceTemperatureAuto", qint64{1}},
                                {"WhiteBalanceTemperatureDisabled", false},
                                {"WhiteBalanceTemperature", qint64{4000}}},
                 *cam.camera);
    ASSERT_EQ(setCurs(*cam.device).size(), 1u);
    EXPECT_EQ(setCurs(*cam.device)[0].selector, 0x0B);
}

TEST(SettingsRecord, PanAndTiltShareOneEntryAndOutOfRangeIdentifiersWriteNothing) {
    FixtureCamera cam("motor-ptz.json");
    ASSERT_TRUE(cam.controls().bPanTiltAbsolute);
    SettingsRecord pan, tilt;
    settingsDict(pan, settings::kPanAbsolute, *cam.camera, nullptr);
    settingsDict(tilt, settings::kTiltAbsolute, *cam.camera, nullptr);
    EXPECT_EQ(pan, tilt);
    EXPECT_EQ(QStringList(pan.keys()),
              QStringList({"PanAbsolute", "PanTiltAbsoluteDisabled", "TiltAbsolute"}));

    SettingsRecord whole, withNineteen;
    allSettingsDict(whole, *cam.camera, cam.camera.get());
    for (int32_t id = settings::kFirstSettingsID; id <= settings::kLastSettingsID; ++id)
        settingsDict(withNineteen, id, *cam.camera, cam.camera.get());
    EXPECT_EQ(whole, withNineteen);

    SettingsRecord none;
    for (int32_t id : {-1, 0, 23, 1000})
        settingsDict(none, id, *cam.camera, cam.camera.get());
    EXPECT_TRUE(none.isEmpty());
}

// The iris steps one unit per request, so the record keeps a position and the camera is stepped.
TEST(SettingsRecord, ApertureFollowsTheCurrentCameraAndSteps) {
    FixtureCamera cam("full-pu.json");
    FixtureCamera other("full-pu.json");
    const uint8_t ct = static_cast<uint8_t>(cam.camera->inputTerminalID);
    ASSERT_TRUE(cam.controls().bIrisRelative);
    other.device->setCurrentValue(ct, 0x0A, 5);

    SettingsRecord record;
    settingsDict(record, settings::kAperture, *cam.camera, nullptr);
    EXPECT_FALSE(record.contains("Aperture"));  // no current camera: no position
    settingsDict(record, settings::kAperture, *cam.camera, other.camera.get());
    EXPECT_EQ(record.value("Aperture"), QVariant(qint64{5}));  // the current camera's

    auto steps = [&](qint64 stored, int64_t position) {
        cam.device->setCurrentValue(ct, 0x0A, position);
        cam.device->clearRequests();
        loadSettings(SettingsRecord{{"Aperture", stored}}, *cam.camera);
        std::vector<int> sent;
        for (const SetCur& set : setCurs(*cam.device))
            sent.push_back(int8_t(set.data.at(0)));
        return sent;
    };
    cam.controls().curAutoExposureMode = 1;
    EXPECT_EQ(steps(3, 0), std::vector<int>({1, 1, 1}));
    EXPECT_EQ(steps(-2, 1), std::vector<int>({-1, -1, -1}));
    EXPECT_EQ(steps(4, 4), std::vector<int>());
    // A damaged record cannot hold the camera: at most one byte's range of steps.
    EXPECT_EQ(steps(std::numeric_limits<qint64>::max(), 0).size(), 255u);

    // Under the automatic and shutter-priority modes the iris is not the user's.
    for (long mode : {2L, 4L}) {
        cam.controls().curAutoExposureMode = mode;
        SettingsRecord unwritten;
        settingsDict(unwritten, settings::kAperture, *cam.camera, cam.camera.get());
        EXPECT_FALSE(unwritten.contains("Aperture"));
        EXPECT_TRUE(steps(3, 0).empty());
    }
}

TEST(SettingsRecord, BadValuesInARecordAreSkipped) {
    FixtureCamera cam("full-pu.json");
    loadSettings(SettingsRecord{{"BrightnessDisabled", QString("no")},
                                {"ContrastDisabled", false},
                                {"Contrast", QVariantList{1, 2}},
                                {"GainDisabled", false},
                                {"Gain", 1e300},
                                {"PowerLineFrequency", QByteArray("x")}},
                 *cam.camera);
    EXPECT_TRUE(setCurs(*cam.device).empty());
}

}  // namespace
}  // namespace orvella
