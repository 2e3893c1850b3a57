// The controller from start to quit: start-up and plug-in, the timer's re-send, the
// preferences, no camera and no tray, the format and frame rate in the panel, the stepped zoom.

#include "tests/controller/ControllerRig.h"

namespace orvella::app {
namespace {

using namespace rig;

TEST_F(Controller, StartUpAppliesTheLastStateAndTheStartProfileOncePerCamera) {
    {
        auto camera = plug(fixture("generic.json"));
        start();
        orvella->panel().row(SettingsID::kBrightness)->plusAction();  // last state: 1
        saveProfile(QStringLiteral("Start"));
        orvella->panel().row(SettingsID::kBrightness)->plusAction();  // last state: 2
        orvella->clickLoadAtStart();
        EXPECT_EQ(orvella->profileList().startRow(), 2);
        stop();
        platform.removeCamera(platform.capture().devices().front());
    }
    // Next start: the last state at plug-in, then the start profile when the panel shows it.
    auto camera = plug(fixture("generic.json"));
    start();
    EXPECT_EQ(testing::valuesWritten(*camera, kPU, kBrightnessSelector),
              (std::vector<int64_t>{2, 1}));
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), 1);
    EXPECT_EQ(popUpIndex(), 2);
    EXPECT_EQ(menuCheckedRow(), 2);
    EXPECT_EQ(orvella->statusMenu().profileItems().at(0)->icon().isNull(), false);
    // Showing the panel for the same camera object again applies nothing.
    settle();
    camera->clearRequests();
    orvella->switchCamera(orvella->qtCamera());
    EXPECT_EQ(setCurCount(*camera, kPU, kBrightnessSelector), 0);
}

// The timer's rest during sleep is the timer tests' part (UpdateTimer), and that sleep reaches it
// from logind the end-to-end tests'.
TEST_F(Controller, TheTimerResendsToEveryCameraAtTheChosenInterval) {
    // "ReconfigureWebcam" at 1 tick, as a script may store it: every camera gets its values
    // again at every tick.
    storePreference("ReconfigureWebcam", 1);
    auto first = plug(fixture("generic.json"));
    auto second = plug(genericAt("0x14200000"));
    start();
    EXPECT_EQ(ui().mPopReconfigureWebcam->currentData().toInt(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(setCurCount(*first, kPU, kBrightnessSelector) >= 3, 5000);
    QTRY_VERIFY_WITH_TIMEOUT(setCurCount(*second, kPU, kBrightnessSelector) >= 3, 5000);

    // Off: nothing more is sent.
    orvella->selectReconfigureWebcam(0);
    QCoreApplication::processEvents();
    settle();
    first->clearRequests();
    QTest::qWait(100);
    EXPECT_EQ(allSetCurCount(*first), 0);
}

TEST_F(Controller, PreferencesResetAndTheIntervalInformation) {
    auto camera = plug(fixture("generic.json"));
    start();
    EXPECT_EQ(orvella->defaults().integerForKey(QStringLiteral("Black and White Menu Icon")), 1);
    EXPECT_TRUE(orvella->panelOn());
    EXPECT_TRUE(orvella->panel().window()->isVisible());

    // Reset to camera defaults: brightness back to its default, launch at login off.
    ui().mBtnLaunchAtLogin->setChecked(true);
    orvella->clickLaunchAtLogin(true);
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    orvella->clickResetToDefault();
    EXPECT_FALSE(orvella->defaults().boolForKey(QStringLiteral("Launch at Login")));
    EXPECT_FALSE(ui().mBtnLaunchAtLogin->isChecked());
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), 0);
    EXPECT_EQ(popUpIndex(), 0);
    EXPECT_EQ(menuCheckedRow(), 0);

    orvella->clickReadIntervalInfo();
    auto* info = sheetNamed<QMessageBox>("UpdateSlider");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->informativeText(), ui::nameFormat("ReadIntervalInfoWS"));
    EXPECT_TRUE(info->informativeText().contains(QLatin1String("Orvella")));
    info->buttons().first()->click();
    orvella->clickWriteIntervalInfo();
    info = sheetNamed<QMessageBox>("ReconfigureWebcam");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->informativeText(), ui::nameFormat("WriteIntervalInfo"));
    info->buttons().first()->click();

    // An interval the pop-ups do not offer shows as an item of its own, and choosing that item
    // keeps it.
    stop();
    storePreference("UpdateSlider", 6);
    start();
    const int extra = ui().mPopUpdateSlider->findData(6);
    ASSERT_GE(extra, 0);
    EXPECT_EQ(ui().mPopUpdateSlider->currentIndex(), extra);
    emit ui().mPopUpdateSlider->activated(extra);
    EXPECT_EQ(settings::DefaultsStore(storePath()).integerForKey(QStringLiteral("UpdateSlider")),
              6);

    // Hiding the icon first says how to get the panel back (starting the program again), as a
    // dialog on the panel; Cancel keeps the icon, OK hides it and disables the icon choice.
    for (const bool confirm : {false, true}) {
        orvella->clickHideMenuBarIcon(true);
        auto* note = sheetNamed<QMessageBox>("HideMenuBarIcon");
        ASSERT_TRUE(note);
        EXPECT_EQ(note->windowModality(), Qt::WindowModal);
        EXPECT_EQ(note->parentWidget(), orvella->panel().window());
        EXPECT_EQ(note->informativeText(), ui::nameFormat("HideTrayIconInfo"));
        EXPECT_TRUE(note->informativeText().contains(QLatin1String("start Orvella again")));
        EXPECT_TRUE(orvella->statusBar().isInstalled());  // not before the answer
        for (QAbstractButton* button : note->buttons())
            if ((note->buttonRole(button) == QMessageBox::AcceptRole) == confirm) button->click();
        settle();
        EXPECT_EQ(orvella->statusBar().isInstalled(), !confirm);
        EXPECT_EQ(ui().mBtnHideMenuBarIcon->isChecked(), confirm);
    }
    EXPECT_FALSE(ui().mBtnBWMenuIcon->isEnabled());
    EXPECT_FALSE(orvella->statusBar().isInstalled());
    orvella->clickHideMenuBarIcon(false);
    EXPECT_TRUE(ui().mBtnBWMenuIcon->isEnabled());
    orvella->panel().window()->close();
    EXPECT_FALSE(orvella->panelOn());
    EXPECT_FALSE(orvella->defaults().boolForKey(QStringLiteral("Show/Hide Control Panel")));
    // A second start (through the bus) brings it back.
    orvella->setPanelVisible(true);
    EXPECT_TRUE(orvella->panel().window()->isVisible());
}

TEST_F(Controller, WithoutACameraThePanelOffersTheDemoCamera) {
    start();
    EXPECT_FALSE(orvella->noCameraBanner()->isHidden());
    // Without a camera the tray's camera-default item is off and does nothing.
    QAction* cameraDefault = orvella->statusMenu().mItmSettingsDefault;
    EXPECT_FALSE(cameraDefault->isEnabled());
    EXPECT_FALSE(cameraDefault->isChecked());
    int asked = 0;
    orvella->setDemoCamera([&] {
        ++asked;
        plug(fixture("generic.json"));
    });
    auto* button = orvella->noCameraBanner()->findChild<QPushButton*>();
    ASSERT_TRUE(button);
    button->click();
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(cameras.size(), 1);
    EXPECT_TRUE(orvella->noCameraBanner()->isHidden());
    EXPECT_EQ(ui().mPopCamera->currentIndex(), 0);
    EXPECT_TRUE(cameraDefault->isEnabled());
    cameraDefault->trigger();  // the reset: the camera default is in force
    EXPECT_TRUE(cameraDefault->isChecked());
    // Unplugged again: the panel says so once more and its controls are off, the tray's
    // camera-default item included.
    platform.removeCamera(platform.capture().devices().front());
    EXPECT_FALSE(orvella->noCameraBanner()->isHidden());
    EXPECT_EQ(orvella->qtCamera(), nullptr);
    EXPECT_FALSE(ui().mPopProfile->isEnabled());
    EXPECT_FALSE(cameraDefault->isEnabled());
    EXPECT_FALSE(cameraDefault->isChecked());
}

// A format another program's stream sets on the current camera shows in the panel at once; one
// set on a camera in the background does not.
TEST_F(Controller, ThePanelShowsTheFormatTheCurrentCameraStreamsNow) {
    auto camera = plug(fixture("generic.json"));
    auto background = plug(genericAt("0x14200000"));
    start();
    EXPECT_EQ(ui().mTxtFormatType->text(), QStringLiteral("YUY2"));
    EXPECT_EQ(ui().mTxtFormatSummary->text(), QStringLiteral("YUY2, 640 x 480"));
    const uint32_t mjpg = 0x4D4A5047;
    std::string error;
    ASSERT_TRUE(background->streamFormatByAnotherProgram(mjpg, 1280, 720, &error)) << error;
    QTest::qWait(50);
    EXPECT_EQ(ui().mTxtFormatSummary->text(), QStringLiteral("YUY2, 640 x 480"));
    ASSERT_TRUE(camera->streamFormatByAnotherProgram(mjpg, 1280, 720, &error)) << error;
    QTRY_COMPARE_WITH_TIMEOUT(ui().mTxtFormatSummary->text(), QStringLiteral("MJPG, 1280 x 720"),
                              1000);
    EXPECT_EQ(ui().mTxtFormatType->text(), QStringLiteral("MJPG"));
    // The camera in the background, once chosen, shows the format it streams.
    orvella->statusMenu().cameraItems().at(1)->trigger();
    EXPECT_EQ(ui().mTxtFormatSummary->text(), QStringLiteral("MJPG, 1280 x 720"));
    // Unplugged, nothing is told any more and nothing breaks.
    platform.removeCamera(platform.capture().devices().front());
    platform.removeCamera(platform.capture().devices().front());
    EXPECT_EQ(discovery->observingCount(), 0u);
    EXPECT_FALSE(camera->streamFormatByAnotherProgram(mjpg, 1280, 720, &error));
    QCoreApplication::processEvents();
    EXPECT_EQ(ui().mTxtFormatSummary->text(), QString());
}

TEST_F(Controller, BadSurroundingsLoseNothing) {
    // A preferences file that is no property list: set aside, the application starts afresh.
    QDir().mkpath(QFileInfo(storePath()).path());
    {
        QFile garbage(storePath());
        ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
        garbage.write("<plist><dict><key>Settings</key><array>");
    }
    auto camera = plug(fixture("generic.json"));
    std::shared_ptr<virtualcam::VirtualCaptureDevice> second;
    plug(genericAt("0x14200000", "0x0777"), &second);
    start();
    EXPECT_FALSE(orvella->defaults().setAsidePath().isEmpty());
    ASSERT_TRUE(orvella->qtCamera());
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    settle();
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), 1);

    // The current camera goes away while the name dialog is open: the dialog goes with it and
    // the other camera becomes current.
    orvella->clickSaveNewProfile();
    ASSERT_TRUE(orvella->sheet());
    platform.removeCamera(platform.capture().devices().front());
    QCoreApplication::processEvents();
    EXPECT_EQ(orvella->sheet(), nullptr);
    ASSERT_TRUE(orvella->qtCamera());
    EXPECT_EQ(orvella->qtCamera()->camera().locationID(), 0x14200000u);
    expectListsInStep();
    platform.removeCamera(second);
    EXPECT_EQ(orvella->qtCamera(), nullptr);
    orvella->clickSaveNewProfile();  // nothing to save without a camera
    EXPECT_EQ(orvella->sheet(), nullptr);
}

TEST_F(Controller, WithoutATrayHostThePanelStaysOpenAsAWindow) {
    storePreference("Show/Hide Control Panel", false);
    defaults = std::make_unique<settings::DefaultsStore>(storePath());
    OrvellaOptions options;
    options.trayAvailable = [] { return false; };
    orvella = std::make_unique<Orvella>(*defaults, cameras, nullptr, options);
    orvella->applicationDidFinishLaunching();
    EXPECT_TRUE(orvella->panelOn());
    EXPECT_TRUE(orvella->panel().window()->isVisible());
    // Closing hides it; a second start (the bus) shows it again.
    orvella->panel().window()->close();
    EXPECT_FALSE(orvella->panel().window()->isVisible());
    EXPECT_FALSE(orvella->isPanelVisible());
    orvella->setPanelVisible(true);
    EXPECT_TRUE(orvella->isPanelVisible());
}

TEST_F(Controller, ALifeCamStudioGetsItsStoredZoomStepByStepASecondAfterPlugIn) {
    QByteArray lifeCam = fixture("motor-ptz.json");
    lifeCam.replace("\"0x046d\"", "\"0x045e\"");
    lifeCam.replace("\"0x0837\"", "\"0x0772\"");
    auto first = plug(lifeCam);
    start();
    orvella->panel().row(SettingsID::kZoomAbsolute)->plusAction();
    orvella->panel().row(SettingsID::kZoomAbsolute)->plusAction();  // last state: zoom 102

    QByteArray another = lifeCam;
    another.replace("\"0x14400000\"", "\"0x14500000\"");
    auto second = plug(another);
    EXPECT_EQ(testing::valuesWritten(*second, kCT, kZoomSelector), std::vector<int64_t>{102});
    EXPECT_TRUE(orvella->panel().hasPendingZoom());
    QTRY_VERIFY_WITH_TIMEOUT(!orvella->panel().hasPendingZoom(), 5000);
    const std::vector<int64_t> steps = testing::valuesWritten(*second, kCT, kZoomSelector);
    ASSERT_GT(steps.size(), 3u);
    EXPECT_EQ(steps.back(), 102);
    EXPECT_EQ(second->currentValue(kCT, kZoomSelector), 102);
}

// The application and orvellactl put one stored record on a camera with the same requests, the
// stepped zoom of a stored zoom beyond the camera's range included.
TEST_F(Controller, OrvellaAndOrvellactlSendTheSameRequestsForTheSameStoredRecord) {
    QByteArray lifeCam = fixture("motor-ptz.json");  // zoom 100..500
    lifeCam.replace("\"0x046d\"", "\"0x045e\"");
    lifeCam.replace("\"0x0837\"", "\"0x0772\"");
    const auto storeRecord = [&] {
        settings::DefaultsStore store(storePath());
        store.setObject(QVariantMap{{"UVC Camera VendorID_1118 ProductID_1906",
                                     QVariantList{QVariantMap{{"SettingsName", "AppDefault"},
                                                              {"AppDefault", true},
                                                              {"ZoomAbsoluteDisabled", false},
                                                              {"ZoomAbsolute", 600},
                                                              {"BrightnessDisabled", false},
                                                              {"Brightness", 3}}}}},
                        "Settings");
        ASSERT_TRUE(store.synchronize());
    };
    storeRecord();
    start();
    auto camera = plug(lifeCam);
    QTRY_VERIFY_WITH_TIMEOUT(!orvella->panel().hasPendingZoom(), 5000);
    settle();
    const QStringList fromApp =
        testing::requestLogLines(*camera).filter(QRegularExpression("^1 21 "));
    ASSERT_GT(fromApp.size(), 500);
    // The camera became current, so the application refreshed the last state with what the
    // camera holds; the zoom follows the stepped zoom, which never goes past the camera's maximum.
    const QString model = QStringLiteral("UVC Camera VendorID_1118 ProductID_1906");
    EXPECT_EQ(orvella->profileStore().appDefaultRecord(model)->value("ZoomAbsolute").toLongLong(),
              camera->currentValue(kCT, kZoomSelector));
    stop();
    storeRecord();  // orvellactl gets the same record

    const QString definition = home.filePath("lifecam.json"), log = home.filePath("requests.log");
    QFile file(definition);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(lifeCam);
    file.close();
    orvellactl({"--virtual", definition, "--request-log", log, "apply-last", "1"});
    const QStringList fromTool = testing::fileLines(log).filter(QRegularExpression("^1 21 "));
    EXPECT_EQ(fromTool, fromApp);
}

TEST_F(Controller, SlidersOfAutomaticControlsFollowTheCameraAtTheirInterval) {
    storePreference("UpdateSlider", 2);           // every second
    auto camera = plug(fixture("generic.json"));  // aperture priority: exposure time is automatic
    start();
    EXPECT_EQ(ui().mPopUpdateSlider->currentData().toInt(), 2);
    constexpr uint8_t kCameraTerminal = 1, kExposureTimeSelector = 0x04;
    ASSERT_TRUE(camera->setCurrentValue(kCameraTerminal, kExposureTimeSelector, 700));
    QTRY_COMPARE_WITH_TIMEOUT(orvella->panel().row(SettingsID::kExposureTimeAbsolute)->cur(),
                              int64_t{700}, 5000);
    // Refreshing reads; it writes nothing.
    EXPECT_EQ(allSetCurCount(*camera), 0);
}

TEST_F(Controller, AMinimisedPanelIsShownAgainByTheBusASecondStartAndTheMenu) {
    start();
    QWidget* window = orvella->panel().window();
    ui::StatusMenu& menu = orvella->statusMenu();
    const QString hide = ui::tray::nameFormat("Hide_Panel", ui::applicationName());
    const QString show = ui::tray::nameFormat("Show_Panel", ui::applicationName());
    ASSERT_TRUE(orvella->isPanelVisible());
    EXPECT_EQ(menu.mItmShowHide->text(), hide);

    // Minimised from the task bar: out of sight, and the menu offers to show it.
    window->showMinimized();
    EXPECT_FALSE(orvella->isPanelVisible());
    EXPECT_EQ(menu.mItmShowHide->text(), show);

    // The bus's ShowPanel restores it.
    orvella->setPanelVisible(true);
    EXPECT_FALSE(window->isMinimized());
    EXPECT_TRUE(orvella->isPanelVisible());
    EXPECT_EQ(menu.mItmShowHide->text(), hide);

    // A second start of the program.
    window->showMinimized();
    orvella->applicationWillBecomeActive();
    EXPECT_FALSE(window->isMinimized());
    EXPECT_TRUE(orvella->isPanelVisible());

    // The menu's "Show" shows it rather than hiding it.
    window->showMinimized();
    menu.mItmShowHide->trigger();
    EXPECT_FALSE(window->isMinimized());
    EXPECT_TRUE(orvella->isPanelVisible());
    EXPECT_TRUE(orvella->panelOn());
    EXPECT_EQ(menu.mItmShowHide->text(), hide);
    // Then it hides it as before.
    menu.mItmShowHide->trigger();
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(menu.mItmShowHide->text(), show);
}

// A slider step reaches the camera as its write and read-back, nothing else: the record of it is
// made from what those told (no extra "is it there" read), and the store writes on its own.
TEST_F(Following, ASliderStepIsItsWriteAndReadBackOnly) {
    auto camera = plug(fixture("generic.json"));
    start();
    settle();
    camera->clearRequests();
    row(SettingsID::kBrightness).slideAction(7);
    settle();
    std::vector<std::pair<int, int>> seen;
    for (const auto& r : camera->requests())
        seen.emplace_back(r.bRequest, r.selector());
    EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{0x01, kBrightnessSelector},
                                                      {0x81, kBrightnessSelector}}));
    EXPECT_EQ(lastState("Brightness"), 7);
}

}  // namespace
}  // namespace orvella::app
