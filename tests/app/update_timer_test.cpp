// The half-second timer's counters, sleep and wake, and the re-send walk it drives.
#include <gtest/gtest.h>

#include <QFile>
#include <map>
#include <string>
#include <vector>

#include "app/PeriodicReapply.h"
#include "app/UpdateTimer.h"
#include "camera/ControlCatalog.h"
#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/UvcProtocol.h"
#include "platform/virtual/VirtualPlatform.h"
#include "support/EventLoop.h"

namespace orvella::app {
namespace {

using testing::spin;
using testing::waitFor;

TEST(TickCounters, EachIntervalCountsOnItsOwn) {
    TickCounters counters;
    std::string fired;
    for (int tick = 1; tick <= 8; ++tick) {
        const TickCounters::Due due = counters.tick(4, 1);
        fired += due.refreshSliders ? 'S' : '.';
        fired += due.reconfigureWebcam ? 'R' : '.';
    }
    // Sliders every fourth tick (2 s), the re-send at every tick (0.5 s).
    EXPECT_EQ(fired, ".R.R.RSR.R.R.RSR");

    // Off (0 or less): nothing happens and the counters stay where they are.
    counters.tick(4, 3);
    counters.tick(4, 3);
    const TickCounters before = counters;
    for (int tick = 0; tick < 5; ++tick) {
        const TickCounters::Due due = counters.tick(0, -1);
        EXPECT_FALSE(due.refreshSliders || due.reconfigureWebcam);
    }
    EXPECT_EQ(counters.counterUpdateSlider, before.counterUpdateSlider);
    EXPECT_EQ(counters.counterReconfigureWebcam, before.counterReconfigureWebcam);

    // An interval lowered below the count fires at the next tick instead of never.
    TickCounters lowered;
    for (int tick = 0; tick < 6; ++tick)
        lowered.tick(20, 20);
    EXPECT_TRUE(lowered.tick(2, 2).refreshSliders);
}

struct Timer : ::testing::Test {
    // Short timings; the wake delay long enough to look inside it on a loaded machine.
    UpdateTimer timer{UpdateTimer::Timing{20, 40, 300}};
    int refreshes = 0;
    int resends = 0;
    void SetUp() override {
        QObject::connect(&timer, &UpdateTimer::refreshSliders, [this] { ++refreshes; });
        QObject::connect(&timer, &UpdateTimer::reconfigureWebcams, [this] { ++resends; });
        timer.setUpdateSliderTicks(2);
        timer.setReconfigureWebcamTicks(1);
    }
};

TEST_F(Timer, StartsAfterLaunchStopsForSleepAndResumesAfterWake) {
    timer.installTimerAfterLaunch();
    EXPECT_FALSE(timer.isRunning());
    ASSERT_TRUE(waitFor([&] { return resends >= 4; }));
    EXPECT_TRUE(timer.isRunning());
    EXPECT_GE(refreshes, 1);

    timer.systemWillSleep();
    EXPECT_FALSE(timer.isRunning());
    const TickCounters counters = timer.counters();
    const int sent = resends;
    spin(150);
    EXPECT_EQ(resends, sent);  // nothing while asleep

    timer.systemDidWake();
    EXPECT_TRUE(timer.isInstallPending());
    spin(60);  // within the wake delay
    EXPECT_EQ(resends, sent);
    ASSERT_TRUE(waitFor([&] { return resends > sent; }));
    // The counters kept their values across sleep.
    EXPECT_GE(timer.counters().counterUpdateSlider + 2, counters.counterUpdateSlider);
    EXPECT_EQ(timer.runningTimers(), 1);
}

TEST_F(Timer, SleepDuringTheWakeDelayKeepsItAsleep) {
    timer.systemDidWake();
    timer.systemWillSleep();
    spin(400);
    EXPECT_EQ(resends, 0);
    EXPECT_EQ(timer.runningTimers(), 0);
}

TEST_F(Timer, AWakeWithoutSleepLeavesTwoTimersAndSleepStopsOne) {
    timer.installTimer();
    timer.systemDidWake();
    ASSERT_TRUE(waitFor([&] { return timer.runningTimers() == 2; }));
    timer.systemWillSleep();
    EXPECT_EQ(timer.runningTimers(), 1);
    EXPECT_FALSE(timer.isRunning());
}

// ---- The re-send walk ----

struct Resend : ::testing::Test {
    virtualcam::VirtualPlatform platform;
    platform::RecordingClock clock;
    std::shared_ptr<virtualcam::VirtualCaptureDevice> device;
    std::unique_ptr<QTCamera> camera;

    void SetUp() override { open("logitech-c270.json"); }
    void open(const char* file) {
        QString error;
        device = platform.addDefinitionFile(
            QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/") + QLatin1String(file), &error);
        ASSERT_TRUE(device) << error.toStdString();
        camera = QTCamera::initWithQTCaptureDevice(platform.platform(&clock), device);
        ASSERT_TRUE(camera);
        device->camera()->clearRequests();
    }
    // The (unit, selector) of every SET_CUR the camera received, in order.
    std::vector<std::pair<int, int>> writes() const {
        std::vector<std::pair<int, int>> result;
        for (const auto& request : device->camera()->requests())
            if (request.bRequest == uvc::SET_CUR)
                result.emplace_back(request.unit(), request.selector());
        return result;
    }
    bool wrote(int unit, int selector) const {
        const auto all = writes();
        return std::find(all.begin(), all.end(), std::make_pair(unit, selector)) != all.end();
    }
};

TEST_F(Resend, SendsTheRecordsValuesWithoutExposureWhileAnAutomaticModeRules) {
    SupportedControl& record = *camera->supportedControl();
    ASSERT_TRUE(record.bAutoExposureMode && record.bBrightness && record.bGain);
    const int ct = device->camera()->cameraTerminalID();
    const int pu = device->camera()->processingUnitID();
    record.curAutoExposureMode = 8;  // aperture priority
    record.curBrightness = 77;
    reconfigureWebcam(*camera);
    const auto sent = writes();
    ASSERT_FALSE(sent.empty());
    EXPECT_EQ(sent.front(), std::make_pair(ct, 0x02));  // the exposure mode first
    EXPECT_FALSE(wrote(ct, 0x04));                      // no exposure time
    EXPECT_FALSE(wrote(pu, 0x04));                      // no gain
    EXPECT_TRUE(wrote(pu, 0x02));                       // brightness and the rest
    EXPECT_EQ(device->camera()->currentValue(pu, 0x02), 77);
    // Nothing is read before the values go out.
    EXPECT_EQ(device->camera()->requests().front().bRequest, uvc::SET_CUR);

    device->camera()->clearRequests();
    record.curAutoExposureMode = 1;  // manual
    reconfigureWebcam(*camera);
    EXPECT_TRUE(wrote(ct, 0x04));
    EXPECT_TRUE(wrote(pu, 0x04));
}

// A camera with every control: which controls each state of the automatic modes lets through,
// and in which order.
struct ResendAll : Resend {
    void SetUp() override { open("full-pu.json"); }
    // The SET_CURs the camera received, by short name.
    std::string sent() const {
        const int ct = device->camera()->cameraTerminalID();
        const int pu = device->camera()->processingUnitID();
        const std::map<std::pair<int, int>, const char*> names = {
            {{ct, 0x02}, "AE"},  {{ct, 0x04}, "Exp"},  {{pu, 0x04}, "Gain"}, {{pu, 0x02}, "Bri"},
            {{pu, 0x03}, "Con"}, {{pu, 0x06}, "Hue"},  {{pu, 0x07}, "Sat"},  {{pu, 0x08}, "Sha"},
            {{pu, 0x09}, "Gam"}, {{pu, 0x0B}, "WBA"},  {{pu, 0x0A}, "WBT"},  {{ct, 0x08}, "FA"},
            {{ct, 0x06}, "Foc"}, {{ct, 0x0B}, "Zoom"}, {{ct, 0x0D}, "PT"},   {{pu, 0x05}, "PLF"},
            {{pu, 0x01}, "BL"}};
        std::string result;
        for (const auto& write : writes()) {
            const auto name = names.find(write);
            result += result.empty() ? "" : " ";
            result += name == names.end() ? "?" : name->second;
        }
        return result;
    }
};

TEST_F(ResendAll, EachAutomaticModeHoldsBackOnlyWhatItOwns) {
    const struct {
        long exposureMode, whiteBalanceAuto, focusAuto;
        bool mastersPresent;
        const char* expected;
    } cases[] = {
        {1, 0, 0, true, "AE Exp Gain Bri Con Hue Sat Sha Gam WBA WBT FA Foc Zoom PT PLF BL"},
        {2, 1, 1, true, "AE Bri Con Hue Sat Sha Gam WBA FA Zoom PT PLF BL"},
        {4, 0, 1, true, "AE Bri Con Hue Sat Sha Gam WBA WBT FA Zoom PT PLF BL"},
        {8, 1, 0, true, "AE Bri Con Hue Sat Sha Gam WBA FA Foc Zoom PT PLF BL"},
        // Without its automatic mode a control is always the user's.
        {2, 1, 1, false, "Exp Gain Bri Con Hue Sat Sha Gam WBT Foc Zoom PT PLF BL"},
    };
    SupportedControl& record = *camera->supportedControl();
    ASSERT_TRUE(record.bAutoExposureMode && record.bWhiteBalanceTemperatureAuto &&
                record.bFocusAuto && record.bPanTiltAbsolute && record.bBacklightCompensation);
    const SupportedControl probed = record;
    for (const auto& c : cases) {
        record = probed;
        record.curAutoExposureMode = c.exposureMode;
        record.curWhiteBalanceTemperatureAuto = c.whiteBalanceAuto;
        record.curFocusAuto = c.focusAuto;
        if (!c.mastersPresent)
            record.bAutoExposureMode = record.bWhiteBalanceTemperatureAuto = record.bFocusAuto = 0;
        device->camera()->clearRequests();
        reconfigureWebcam(*camera);
        EXPECT_EQ(sent(), c.expected) << "mode " << c.exposureMode;
    }
    // A control the camera lacks is not sent.
    record = probed;
    record.curAutoExposureMode = 1;
    record.bGain = record.bPanTiltAbsolute = 0;
    device->camera()->clearRequests();
    reconfigureWebcam(*camera);
    EXPECT_EQ(sent(), "AE Exp Bri Con Hue Sat Sha Gam WBA FA Zoom PLF BL");
}

// The identifiers of the sliders to refresh, in order.
std::vector<int32_t> autoSliderIDs(const SupportedControl& c) {
    std::vector<int32_t> ids;
    for (const ControlDescription* control : autoSlidersToRefresh(c))
        ids.push_back(control->id);
    return ids;
}

TEST(AutoSliders, FollowTheAutomaticModes) {
    using namespace settings;
    using IDs = std::vector<int32_t>;
    SupportedControl c;
    EXPECT_EQ(autoSliderIDs(c), IDs{});
    c.bAutoExposureMode = c.bExposureTimeAbsolute = c.bGain = 1;
    for (long mode : {2L, 4L, 8L}) {
        c.curAutoExposureMode = mode;
        EXPECT_EQ(autoSliderIDs(c), (IDs{kExposureTimeAbsolute, kGain}));
    }
    c.curAutoExposureMode = 1;
    EXPECT_EQ(autoSliderIDs(c), IDs{});
    c.bWhiteBalanceTemperatureAuto = 1;
    c.curWhiteBalanceTemperatureAuto = 1;
    EXPECT_EQ(autoSliderIDs(c), IDs{});  // no temperature control
    c.bWhiteBalanceTemperature = 1;
    EXPECT_EQ(autoSliderIDs(c), IDs{kWhiteBalanceTemperature});
    c.bFocusAuto = c.bFocusAbsolute = 1;
    EXPECT_EQ(autoSliderIDs(c), IDs{kWhiteBalanceTemperature});
    c.curFocusAuto = 1;
    EXPECT_EQ(autoSliderIDs(c), (IDs{kWhiteBalanceTemperature, kFocusAbsolute}));
}

}  // namespace
}  // namespace orvella::app
