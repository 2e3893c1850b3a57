// Other programs' changes: shown at once without a request, and the settings guard that puts the
// last state back.

#include <QSpinBox>

#include "tests/controller/ControllerRig.h"
#include "ui/AllControlsPage.h"

namespace orvella::app {
namespace {

using namespace rig;

TEST_F(Following, AForeignChangeShowsAtOnceWithoutARequestAndLeavesTheLastStateAlone) {
    auto camera = plug(fixture("generic.json"));  // aperture priority: exposure time governed
    start();
    settle();
    EXPECT_TRUE(orvella->qtCamera()->camera().followsControlChanges());
    EXPECT_FALSE(enabled(SettingsID::kExposureTimeAbsolute));
    settle();
    camera->clearRequests();

    setByOther(*camera, kPU, kBrightnessSelector, 30);
    QTRY_COMPARE_WITH_TIMEOUT(row(SettingsID::kBrightness).cur(), int64_t{30}, 1000);
    // Another program takes the exposure out of the automatic mode and sets it: the row comes
    // alive with the new value; back in aperture priority, it greys again.
    setByOther(*camera, kCT, kAutoExposureModeSelector, 1);
    setByOther(*camera, kCT, kExposureTimeSelector, 700);
    QTRY_VERIFY_WITH_TIMEOUT(enabled(SettingsID::kExposureTimeAbsolute), 1000);
    QTRY_COMPARE_WITH_TIMEOUT(row(SettingsID::kExposureTimeAbsolute).cur(), int64_t{700}, 1000);
    EXPECT_EQ(ui().mSegAutoExposureMode->selectedTag(), 1);
    setByOther(*camera, kCT, kAutoExposureModeSelector, 8);
    QTRY_VERIFY_WITH_TIMEOUT(!enabled(SettingsID::kExposureTimeAbsolute), 1000);
    // Automatic white balance switched on elsewhere: the switch follows, the temperature greys.
    setByOther(*camera, kPU, kWhiteBalanceAutoSelector, 1);
    QTRY_VERIFY_WITH_TIMEOUT(ui().mBtnWhiteBalanceTemperatureAuto->isChecked(), 1000);
    QTRY_VERIFY_WITH_TIMEOUT(!enabled(SettingsID::kWhiteBalanceTemperature), 1000);

    EXPECT_TRUE(camera->requests().empty());
    EXPECT_EQ(lastState("Brightness"), 0);  // what the guard would restore

    // The bus reads what the camera holds, even where no change was told.
    orvella->qtCamera()->post([](QTCamera& device) { device.stopFollowingChanges(); });
    settle();
    camera->setCurrentValue(kPU, kBrightnessSelector, 9);
    const auto values = controlValues(orvella->qtCamera()->camera().uniqueID());
    ASSERT_TRUE(values);
    EXPECT_EQ(values->value(QStringLiteral("Brightness")).toLongLong(), 9);
}

// The bus reads a camera's values in its session; a camera unplugged meanwhile is answered for
// at once, so the caller does not wait for the bus's time-out.
TEST_F(Following, ABusReadingOfACameraThatGoesIsAnsweredWithNone) {
    auto camera = plug(fixture("generic.json"));
    start();
    camera->setSlowness(std::chrono::milliseconds(200));
    std::optional<std::optional<QVariantMap>> got;
    orvella->controlValues(orvella->qtCamera()->camera().uniqueID(),
                           [&got](const std::optional<QVariantMap>& values) { got = values; });
    QTest::qWait(50);  // the reading is under way
    EXPECT_FALSE(got);
    platform.removeCamera(platform.capture().devices().front());
    ASSERT_TRUE(got);
    EXPECT_FALSE(*got);
}

TEST_F(Following, TheGuardRestoresOnceAfterSettlingIgnoresProbesAndOwnWritesAndStopsAtItsLimit) {
    storeGuard(true, 100);
    auto camera = plug(fixture("generic.json"));
    start();
    EXPECT_TRUE(ui().mBtnGuardSettings->isChecked());
    EXPECT_FALSE(ui().mTxtReconfigureWebcamNote->isHidden());
    row(SettingsID::kBrightness).plusAction();  // last state: brightness 1
    settle();
    camera->clearRequests();
    const auto restores = [&] { return setCurCount(*camera, kPU, kBrightnessSelector); };

    // A probe: opened and closed again before the settle time ends.
    ASSERT_TRUE(camera->openByAnotherProgram());
    ASSERT_TRUE(camera->closeByAnotherProgram());
    QTest::qWait(300);
    EXPECT_EQ(allSetCurCount(*camera), 0);

    // Another program opens the camera and sets the brightness: one restore, then quiet.
    ASSERT_TRUE(camera->openByAnotherProgram());
    setByOther(*camera, kPU, kBrightnessSelector, 40);
    QTRY_COMPARE_WITH_TIMEOUT(camera->currentValue(kPU, kBrightnessSelector), 1, 3000);
    QTest::qWait(300);
    EXPECT_EQ(restores(), 1);
    EXPECT_EQ(row(SettingsID::kBrightness).cur(), 1);
    EXPECT_EQ(orvella->guard().restoreCount(orvella->qtCamera()), 1);

    // The user's own change while the other program has the camera is no foreign one.
    row(SettingsID::kBrightness).plusAction();
    QTest::qWait(300);
    EXPECT_EQ(orvella->guard().restoreCount(orvella->qtCamera()), 1);
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), 2);

    // A value the camera refuses is logged as not sticking.
    QVariantMap store = orvella->defaults().dictionaryForKey(QStringLiteral("Settings"));
    const QString model = orvella->qtCamera()->camera().modelUniqueID();
    QVariantList records = store.value(model).toList();
    QVariantMap appDefault = records.last().toMap();
    appDefault.insert(QStringLiteral("Brightness"), qint64{100});  // beyond the maximum, 64
    records.last() = appDefault;
    store.insert(model, records);
    orvella->defaults().setObject(store, QStringLiteral("Settings"));
    log::ScopedCapture log;
    setByOther(*camera, kPU, kBrightnessSelector, -10);
    QTRY_COMPARE_WITH_TIMEOUT(orvella->guard().restoreCount(orvella->qtCamera()), 2, 3000);
    const std::string stuck =
        "Settings guard: Brightness of Orvella Virtual Camera did not stick: "
        "wanted 100, got ";
    EXPECT_TRUE(std::any_of(log.lines().begin(), log.lines().end(),
                            [&](const std::string& l) { return l.rfind(stuck, 0) == 0; }));

    // A third restore, then the limit holds the fourth back (logged once).
    setByOther(*camera, kPU, kBrightnessSelector, -11);
    QTRY_COMPARE_WITH_TIMEOUT(orvella->guard().restoreCount(orvella->qtCamera()), 3, 3000);
    setByOther(*camera, kPU, kBrightnessSelector, -12);
    QTest::qWait(300);
    setByOther(*camera, kPU, kBrightnessSelector, -13);
    QTest::qWait(300);
    EXPECT_EQ(orvella->guard().restoreCount(orvella->qtCamera()), 3);
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), -13);
    EXPECT_EQ(std::count_if(log.lines().begin(), log.lines().end(),
                            [](const std::string& l) {
                                return l.find("leaving it alone") != std::string::npos;
                            }),
              1);
}

// The controls beyond the system's own: a change on the "All controls" tab goes into the last
// state under its own key, another program's change to it is followed and put back by the guard,
// and the bus names it.
TEST_F(Following, TheGuardAndTheBusCoverTheControlsBeyondTheSystemsOwn) {
    constexpr uint8_t kRollSelector = 0x0F;
    storeGuard(true, 100);
    auto camera = plug(fixture("logitech-extension-units.json"));
    start();
    settle();
    QSpinBox* roll = nullptr;
    for (QSpinBox* field : orvella->panel().allControlsPage().findChildren<QSpinBox*>())
        if (field->accessibleName() == QStringLiteral("Roll")) roll = field;
    ASSERT_TRUE(roll);
    roll->setValue(45);
    settle();
    EXPECT_EQ(camera->currentValue(kCT, kRollSelector), 45);
    EXPECT_EQ(lastState("x.RollAbsolute"), 45);
    camera->clearRequests();

    ASSERT_TRUE(camera->openByAnotherProgram());
    log::ScopedCapture log;
    setByOther(*camera, kCT, kRollSelector, -20);
    QTRY_COMPARE_WITH_TIMEOUT(roll->value(), -20, 1000);  // followed, shown
    QTRY_COMPARE_WITH_TIMEOUT(camera->currentValue(kCT, kRollSelector), 45, 3000);
    EXPECT_EQ(orvella->guard().restoreCount(orvella->qtCamera()), 1);
    EXPECT_TRUE(std::count(log.lines().begin(), log.lines().end(),
                           "RollAbsolute of Logitech Webcam C930e was changed by another program"));
    ASSERT_TRUE(camera->closeByAnotherProgram());

    const auto values = controlValues(orvella->qtCamera()->camera().uniqueID());
    ASSERT_TRUE(values);
    EXPECT_EQ(values->value(QStringLiteral("x.RollAbsolute")).toLongLong(), 45);
    EXPECT_FALSE(values->contains(QStringLiteral("x.xu.12.1")));
}

TEST_F(Following, TheGuardIsOffByDefaultAndRestsAcrossSleep) {
    storeGuard(false, 100);
    auto camera = plug(fixture("generic.json"));
    start();
    EXPECT_FALSE(ui().mBtnGuardSettings->isChecked());
    EXPECT_TRUE(ui().mTxtReconfigureWebcamNote->isHidden());
    settle();
    camera->clearRequests();
    ASSERT_TRUE(camera->openByAnotherProgram());
    setByOther(*camera, kPU, kBrightnessSelector, 40);
    QTest::qWait(300);
    EXPECT_EQ(allSetCurCount(*camera), 0);

    // Switched on in the panel: stored, and the re-send box says it is not needed.
    ui().mBtnGuardSettings->click();
    EXPECT_TRUE(orvella->defaults().boolForKey(QStringLiteral("GuardSettings")));
    EXPECT_FALSE(ui().mTxtReconfigureWebcamNote->isHidden());

    // Nothing that happens before or during a sleep is acted on, not even after the wake.
    setByOther(*camera, kPU, kBrightnessSelector, 41);
    settle();
    EXPECT_TRUE(orvella->guard().isPending(orvella->qtCamera()));
    power.sleep();
    setByOther(*camera, kPU, kBrightnessSelector, 42);
    power.wake();
    QTest::qWait(300);
    EXPECT_EQ(allSetCurCount(*camera), 0);
    // Once the cameras are back, a change is answered again.
    setByOther(*camera, kPU, kBrightnessSelector, 43);
    QTRY_COMPARE_WITH_TIMEOUT(camera->currentValue(kPU, kBrightnessSelector), 0, 3000);
}

}  // namespace
}  // namespace orvella::app
