// Who took the camera and what each program's rule does: named openers of a virtual camera
// (as the --virtual-control FIFO's "open N PID NAME" makes them) drive the guard, and what
// reached the camera is read from its requests.

#include <QPushButton>

#include "tests/controller/ControllerRig.h"
#include "ui/ControlPanelOutlets.h"
#include "ui/PreferencesPage.h"
#include "ui_PreferencesPage.h"

namespace orvella::app {
namespace {

using namespace rig;

struct CameraUsers : Following {
    std::shared_ptr<virtualcam::VirtualCamera> camera;

    void SetUp() override {
        guardOptions.maxRestores = 100;  // every case here restores; the limit is tested elsewhere
        storeGuard(true, 100);
        camera = plug(fixture("generic.json"));
    }
    void storeRules(QVariantMap byProgram, const QString& others = {}) {
        settings::DefaultsStore store(storePath());
        store.setObject(byProgram, QStringLiteral("ProgramRules"));
        if (!others.isEmpty()) store.setObject(others, QStringLiteral("DefaultProgramRule"));
        ASSERT_TRUE(store.synchronize());
    }
    // The user's brightness 1 as the last state; a profile "Call" with brightness 20.
    void startWithProfile() {
        start();
        row(SettingsID::kBrightness).plusAction();
        const QString model = orvella->qtCamera()->camera().modelUniqueID();
        settings::SettingsRecord call = *orvella->profileStore().appDefaultRecord(model);
        call.insert(QStringLiteral("Brightness"), qint64{20});
        call.remove(QStringLiteral("AppDefault"));
        ASSERT_TRUE(
            orvella->profileStore().saveSettings(QStringLiteral("Call"), false, model, call));
        settle();
        camera->clearRequests();
    }
    int brightnessWrites() { return setCurCount(*camera, kPU, kBrightnessSelector); }
    int brightness() {
        return static_cast<int>(camera->currentValue(kPU, kBrightnessSelector).value_or(-999));
    }
    static bool logged(const log::ScopedCapture& log, const std::string& text) {
        return std::any_of(log.lines().begin(), log.lines().end(),
                           [&](const std::string& l) { return l.find(text) != std::string::npos; });
    }
};

TEST_F(CameraUsers, TheProgramThatChangedTheCameraIsNamedInThePanelTheTrayAndTheLog) {
    startWithProfile();
    log::ScopedCapture log;
    ASSERT_TRUE(camera->openByAnotherProgram(4242, "chromium"));
    for (int value : {30, 31, 32})
        setByOther(*camera, kPU, kBrightnessSelector, value);
    setByOther(*camera, kPU, 0x03, 2);  // contrast
    QTRY_COMPARE_WITH_TIMEOUT(brightness(), 1, 3000);
    settle();
    EXPECT_TRUE(logged(log,
                       "Settings guard: restoring the last state of Orvella Virtual Camera "
                       "(chromium changed 4 controls)"));
    EXPECT_EQ(orvella->panel().whoChangedText(), "chromium changed 4 controls 0 s ago — restored");
    EXPECT_TRUE(orvella->statusBar().toolTip().endsWith(
        "Orvella Virtual Camera: chromium changed 4 controls 0 s ago — restored"));
    // The bus's users of the camera, found on its session.
    std::optional<std::optional<std::vector<platform::CameraUser>>> users;
    orvella->cameraUsers(orvella->qtCamera()->camera().uniqueID(),
                         [&users](auto found) { users = std::move(found); });
    QTRY_VERIFY_WITH_TIMEOUT(users.has_value(), 2000);
    ASSERT_TRUE(*users);
    ASSERT_EQ((*users)->size(), 1u);
    EXPECT_EQ((*users)->front().pid, 4242);

    // Chromium resets the camera: the note says how to start it so that it does not, until
    // dismissed for good.
    EXPECT_TRUE(orvella->panel().isChromiumNoteShown());
    orvella->panel().window()->findChild<QPushButton*>("mBtnDismissChromiumNote")->click();
    EXPECT_FALSE(orvella->panel().isChromiumNoteShown());
    settle();
    EXPECT_TRUE(orvella->defaults().boolForKey(QStringLiteral("ChromiumCameraNoteDismissed")));
    ASSERT_TRUE(camera->closeByAnotherProgram());
    ASSERT_TRUE(camera->openByAnotherProgram(4243, "chromium"));
    setByOther(*camera, kPU, kBrightnessSelector, 33);
    QTRY_COMPARE_WITH_TIMEOUT(orvella->guard().restoreCount(orvella->qtCamera()), 2, 3000);
    EXPECT_FALSE(orvella->panel().isChromiumNoteShown());
    EXPECT_EQ(orvella->panel().whoChangedText(), "chromium changed a control 0 s ago — restored");
}

TEST_F(CameraUsers, EachProgramsRuleKeepsAppliesAProfileOrLeavesTheCameraAlone) {
    storeRules({{"obs", "alone"}, {"zoom", "profile:Call"}, {"skype", "profile:Gone"}});
    startWithProfile();
    log::ScopedCapture log;

    // Left alone while it uses the camera; the last state back when it lets go.
    ASSERT_TRUE(camera->openByAnotherProgram(100, "obs"));
    setByOther(*camera, kPU, kBrightnessSelector, 40);
    QTest::qWait(400);
    EXPECT_EQ(brightnessWrites(), 0);
    EXPECT_EQ(brightness(), 40);
    ASSERT_TRUE(camera->closeByAnotherProgram(100));
    QTRY_COMPARE_WITH_TIMEOUT(brightness(), 1, 3000);
    EXPECT_EQ(brightnessWrites(), 1);
    EXPECT_TRUE(logged(log, "(obs let go of it)"));

    // Its profile applied each time it starts using the camera, the last state when it lets go.
    for (int time = 0; time < 2; ++time) {
        camera->clearRequests();
        ASSERT_TRUE(camera->openByAnotherProgram(200 + time, "zoom"));
        QTRY_COMPARE_WITH_TIMEOUT(brightness(), 20, 3000);
        ASSERT_TRUE(camera->closeByAnotherProgram());
        QTRY_COMPARE_WITH_TIMEOUT(brightness(), 1, 3000);
        EXPECT_EQ(testing::valuesWritten(*camera, kPU, kBrightnessSelector),
                  (std::vector<int64_t>{20, 1}));
    }
    EXPECT_TRUE(logged(log,
                       "Settings guard: applying profile \"Call\" to Orvella Virtual Camera "
                       "for zoom"));
    settle();
    EXPECT_EQ(orvella->panel().whoChangedText(), "zoom let go of the camera 0 s ago — restored");

    // A rule naming a profile that is gone keeps my settings, said once in the log.
    camera->clearRequests();
    ASSERT_TRUE(camera->openByAnotherProgram(300, "skype"));
    setByOther(*camera, kPU, kBrightnessSelector, 41);
    QTRY_COMPARE_WITH_TIMEOUT(brightness(), 1, 3000);
    EXPECT_TRUE(logged(log, "Orvella Virtual Camera has no profile \"Gone\""));
    ASSERT_TRUE(camera->closeByAnotherProgram());
    QTest::qWait(300);
    EXPECT_EQ(brightnessWrites(), 1);

    // Two programs at once: the last opener's rule wins, said in the log.
    camera->clearRequests();
    ASSERT_TRUE(camera->openByAnotherProgram(400, "chromium"));
    ASSERT_TRUE(camera->openByAnotherProgram(401, "obs"));
    setByOther(*camera, kPU, kBrightnessSelector, 42);
    QTest::qWait(400);
    EXPECT_EQ(brightnessWrites(), 0);
    EXPECT_TRUE(
        logged(log, "chromium and obs use Orvella Virtual Camera at once; the rule of obs"));
    // obs lets go: chromium still has it, and its rule (keep my settings) restores.
    ASSERT_TRUE(camera->closeByAnotherProgram(401));
    QTRY_COMPARE_WITH_TIMEOUT(brightness(), 1, 3000);
    ASSERT_TRUE(camera->closeByAnotherProgram(400));
}

TEST_F(CameraUsers, TheDefaultRuleIsForEveryOtherProgramAndRulesRestWithTheGuardOff) {
    storeRules({{"obs", "profile:Call"}}, "alone");
    startWithProfile();
    // The Preferences tab shows the stored rules, offers the programs seen and the profiles.
    auto& page = orvella->panel().window()->findChild<ui::PreferencesPage*>()->outlets();
    EXPECT_EQ(page.mPopRuleAction->currentIndex(), 2);  // every other program: left alone
    ASSERT_GE(page.mPopRuleProfile->findText("Call"), 0) << page.mPopRuleProfile->count();
    page.mPopRuleProgram->setCurrentIndex(page.mPopRuleProgram->findText("obs"));
    EXPECT_EQ(page.mPopRuleAction->currentIndex(), 1);
    EXPECT_EQ(page.mPopRuleProfile->currentText(), "Call");
    ASSERT_TRUE(camera->openByAnotherProgram(500, "guvcview"));
    setByOther(*camera, kPU, kBrightnessSelector, 40);
    QTest::qWait(400);
    EXPECT_EQ(brightnessWrites(), 0);
    ASSERT_TRUE(camera->closeByAnotherProgram());
    QTRY_COMPARE_WITH_TIMEOUT(brightness(), 1, 3000);

    // A program seen is offered; a rule chosen for it is stored at once.
    const int guvcview = page.mPopRuleProgram->findText("guvcview");
    ASSERT_GE(guvcview, 0);
    page.mPopRuleProgram->setCurrentIndex(guvcview);
    page.mPopRuleAction->setCurrentIndex(0);
    emit page.mPopRuleAction->activated(0);
    settle();
    EXPECT_EQ(orvella->defaults().dictionaryForKey("ProgramRules").value("guvcview").toString(),
              "keep");
    EXPECT_EQ(orvella->defaults().stringForKey("DefaultProgramRule"), "alone");

    // With the guard off no rule acts.
    ui().mBtnGuardSettings->click();
    settle();
    camera->clearRequests();
    ASSERT_TRUE(camera->openByAnotherProgram(501, "obs"));
    setByOther(*camera, kPU, kBrightnessSelector, 40);
    ASSERT_TRUE(camera->closeByAnotherProgram());
    QTest::qWait(400);
    EXPECT_EQ(allSetCurCount(*camera), 0);
}

}  // namespace
}  // namespace orvella::app

namespace orvella::app {
namespace {

using namespace rig;

// Lock the look on a camera in aperture priority with auto white balance switched on: the modes
// go manual, the values they found are written after the switch, and the result is the last state.
TEST_F(Following, LockTheLookKeepsWhatTheAutomaticModesFoundAsTheLastState) {
    constexpr uint8_t kWhiteBalanceTemperatureSelector = 0x0A;
    auto camera = plug(fixture("generic.json"));
    start();
    setByOther(*camera, kPU, kWhiteBalanceAutoSelector, 1);
    // What the modes found.
    camera->setCurrentValue(kCT, kExposureTimeSelector, 333);
    camera->setCurrentValue(kPU, kWhiteBalanceTemperatureSelector, 5000);
    settle();
    camera->clearRequests();

    orvella->lockTheLook();
    settle();
    using testing::valuesWritten;
    EXPECT_EQ(valuesWritten(*camera, kCT, kAutoExposureModeSelector), std::vector<int64_t>{1});
    EXPECT_EQ(valuesWritten(*camera, kCT, kExposureTimeSelector), std::vector<int64_t>{333});
    EXPECT_EQ(valuesWritten(*camera, kPU, kWhiteBalanceAutoSelector), std::vector<int64_t>{0});
    EXPECT_EQ(valuesWritten(*camera, kPU, kWhiteBalanceTemperatureSelector),
              std::vector<int64_t>{5000});
    EXPECT_EQ(lastState("AutoExposureMode"), 1);
    EXPECT_EQ(lastState("ExposureTimeAbsolute"), 333);
    EXPECT_EQ(lastState("WhiteBalanceTemperatureAuto"), 0);
    EXPECT_EQ(lastState("WhiteBalanceTemperature"), 5000);
    EXPECT_TRUE(enabled(SettingsID::kExposureTimeAbsolute));
    EXPECT_EQ(orvella->panel().whoChangedText(), "Look locked: the automatic modes are manual now");

    // Locked already: nothing is sent.
    camera->clearRequests();
    orvella->lockTheLook();
    settle();
    EXPECT_EQ(allSetCurCount(*camera), 0);
    EXPECT_EQ(orvella->panel().whoChangedText(), "Nothing to lock: no automatic mode is on");
}

}  // namespace
}  // namespace orvella::app
