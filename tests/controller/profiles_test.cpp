// The controller's profiles: the save dialog, the pop-up and the tray menu in step, the last state
// a model's cameras share, what orvellactl sees of them, and the last state refreshed whenever a
// camera becomes current.

#include "tests/controller/ControllerRig.h"

namespace orvella::app {
namespace {

using namespace rig;

TEST_F(Controller, TheSaveDialogTrimsRefusesBlankAndTakenNamesAndComesBackAfterAConflict) {
    auto camera = plug(fixture("generic.json"));
    start();
    ASSERT_TRUE(orvella->qtCamera());
    const QString model = orvella->qtCamera()->camera().modelUniqueID();

    orvella->clickSaveNewProfile();
    auto* dialog = sheetNamed<QInputDialog>("SaveNewProfile");
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->windowModality(), Qt::WindowModal);
    EXPECT_EQ(dialog->parentWidget(), orvella->panel().window());
    auto* field = dialog->findChild<QLineEdit*>();
    ASSERT_TRUE(field);
    EXPECT_EQ(field->size(), QSize(300, 22));
    EXPECT_EQ(field->placeholderText(), ui::localized("ProfileName"));
    // While the dialog is open, the menu does not change what it works on.
    EXPECT_FALSE(orvella->statusMenu().mItmSettingsDefault->isEnabled());
    dialog->setTextValue(QStringLiteral("  Evening \n"));
    dialog->accept();
    QCoreApplication::processEvents();
    EXPECT_EQ(storedNames(model), QStringList{QStringLiteral("Evening")});
    EXPECT_EQ(popUpIndex(), 2);
    EXPECT_TRUE(orvella->statusMenu().mItmSettingsDefault->isEnabled());
    expectListsInStep();

    saveProfile(QStringLiteral("Morning"), false);  // cancel
    saveProfile(QStringLiteral("   "));             // blank
    EXPECT_EQ(storedNames(model), QStringList{QStringLiteral("Evening")});
    EXPECT_EQ(orvella->sheet(), nullptr);

    // A taken name, the last state's own included: the conflict, whose OK asks again.
    for (const char* taken : {"Evening", "AppDefault"}) {
        saveProfile(QString::fromLatin1(taken));
        auto* conflict = sheetNamed<QMessageBox>("ProfileConfilict");
        ASSERT_TRUE(conflict) << taken;
        EXPECT_TRUE(conflict->informativeText().contains(QLatin1String(taken)));
        conflict->buttons().first()->click();
        QCoreApplication::processEvents();
        auto* again = sheetNamed<QInputDialog>("SaveNewProfile");
        ASSERT_TRUE(again) << taken;
        again->reject();
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(storedNames(model), QStringList{QStringLiteral("Evening")});
    EXPECT_EQ(camera->requests().empty(), false);
}

TEST_F(Controller, PopUpAndMenuStayInStepThroughSavesDeletesUpdatesAndCameraSwitches) {
    auto first = plug(fixture("generic.json"));
    auto other = plug(genericAt("0x14200000", "0x0777"));  // another model
    start();
    ASSERT_EQ(cameras.size(), 2);
    const QString model = orvella->qtCamera()->camera().modelUniqueID();

    saveProfile(QStringLiteral("A"));
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    saveProfile(QStringLiteral("B"));
    expectListsInStep();
    EXPECT_EQ(popUpIndex(), 3);

    // Choosing A from the menu applies it (brightness back to 0) and selects it in the pop-up.
    settle();
    first->clearRequests();
    orvella->statusMenu().profileItems().at(0)->trigger();
    EXPECT_EQ(popUpIndex(), 2);
    expectListsInStep();
    EXPECT_EQ(first->currentValue(kPU, kBrightnessSelector), 0);
    EXPECT_GE(setCurCount(*first, kPU, kBrightnessSelector), 1);

    // A manual change marks A as changed in both lists; updating stores it and clears the mark.
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    EXPECT_TRUE(orvella->profileList().isModified());
    EXPECT_FALSE(orvella->statusMenu().profileItems().at(0)->isChecked());
    EXPECT_TRUE(orvella->statusMenu().profileItems().at(0)->text().endsWith(
        ui::localized("ProfileModified")));
    orvella->clickUpdateProfile();
    settle();
    EXPECT_FALSE(orvella->profileList().isModified());
    EXPECT_EQ(orvella->profileStore().profileAt(model, 2)->value(QStringLiteral("Brightness")), 1);
    expectListsInStep();

    // Deleting A leaves B alone, and nothing in force.
    deleteSelectedProfile();
    EXPECT_EQ(storedNames(model), QStringList{QStringLiteral("B")});
    EXPECT_EQ(popUpIndex(), -1);
    expectListsInStep();

    // The other model has its own (empty) list; back again, B is there.
    ui().mPopCamera->setCurrentIndex(1);
    emit orvella->panel().selectCamera(1);
    EXPECT_EQ(orvella->qtCamera()->camera().locationID(), 0x14200000u);
    EXPECT_TRUE(menuProfileTitles().isEmpty());
    expectListsInStep();
    orvella->statusMenu().cameraItems().at(0)->trigger();
    EXPECT_EQ(ui().mPopCamera->currentIndex(), 0);
    EXPECT_EQ(menuProfileTitles(), QStringList{QStringLiteral("B")});
    expectListsInStep();
}

TEST_F(Controller, TwoCamerasOfOneModelShareTheListAndTheLastStateWhichPlugInApplies) {
    auto first = plug(fixture("generic.json"));
    start();
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    saveProfile(QStringLiteral("Shared"));

    // The second camera of the model gets the last state at plug-in while it stays in the
    // background, and shows the same list when chosen.
    auto second = plug(genericAt("0x14200000"));
    ASSERT_EQ(cameras.size(), 2);
    EXPECT_EQ(cameras.currentRow(), 0);
    EXPECT_EQ(second->currentValue(kPU, kBrightnessSelector), 2);
    orvella->statusMenu().cameraItems().at(1)->trigger();
    EXPECT_EQ(orvella->qtCamera()->camera().locationID(), 0x14200000u);
    EXPECT_EQ(menuProfileTitles(), QStringList{QStringLiteral("Shared")});
    expectListsInStep();
    orvella->panel().row(SettingsID::kBrightness)->minusAction();
    settle();
    const QString model = orvella->qtCamera()->camera().modelUniqueID();
    EXPECT_EQ(orvella->profileStore().appDefaultRecord(model)->value(QStringLiteral("Brightness")),
              1);
    EXPECT_EQ(orvella->profileStore().records(model).size(), 2);  // one profile, one last state
}

// That orvellactl lists and applies what the application's store saved is the tool tests' part;
// here the running controller picks up a profile orvellactl saved, with both lists in step.
TEST_F(Controller, AProfileOrvellactlSavesShowsInTheRunningListsAndTheStoreSurvivesARestart) {
    auto camera = plug(fixture("generic.json"));
    start();
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    saveProfile(QStringLiteral("From the app"));

    // Saved by orvellactl, listed here once the file watch has seen it.
    orvellactl({"--virtual", testing::cameraFixture("generic.json"), "profile", "save", "1",
                "From the tool"});
    QTRY_COMPARE_WITH_TIMEOUT(
        menuProfileTitles(),
        (QStringList{QStringLiteral("From the app"), QStringLiteral("From the tool")}), 10000);
    expectListsInStep();
    settle();
    camera->clearRequests();
    orvella->selectProfile(3);  // the tool's profile holds brightness 0
    settle();
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), 0);
    EXPECT_EQ(menuCheckedRow(), 3);

    // A restart leaves the store as the application wrote it, byte for byte.
    stop();
    QFile file(storePath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    file.close();
    start();
    stop();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
}

// As the application runs, with the preferences written on their own thread: a profile orvellactl
// saves meanwhile shows in the running lists, and quitting writes the last slider step, which
// the writer would otherwise still hold back.
TEST_F(Controller, WithBackgroundWritesTheToolsProfileShowsAndQuittingLosesNoStep) {
    backgroundWrites = true;
    plug(fixture("generic.json"));
    start();
    saveProfile(QStringLiteral("From the app"));
    orvellactl({"--virtual", testing::cameraFixture("generic.json"), "profile", "save", "1",
                "From the tool"});
    QTRY_COMPARE_WITH_TIMEOUT(
        menuProfileTitles(),
        (QStringList{QStringLiteral("From the app"), QStringLiteral("From the tool")}), 10000);
    expectListsInStep();

    for (int step = 0; step < 4; ++step)
        orvella->panel().row(SettingsID::kBrightness)->plusAction();
    // A write has just been made, so the next step waits for the writer's interval.
    ASSERT_TRUE(defaults->flush());
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    settle();
    const QString model = orvella->qtCamera()->camera().modelUniqueID();
    const QVariant last =
        orvella->profileStore().appDefaultRecord(model)->value(QStringLiteral("Brightness"));
    orvella->applicationWillTerminate();
    settings::DefaultsStore file(storePath());
    settings::ProfileStore stored(file);
    ASSERT_TRUE(stored.appDefaultRecord(model));
    EXPECT_EQ(stored.appDefaultRecord(model)->value(QStringLiteral("Brightness")), last);
    EXPECT_EQ(stored.profiles(model).size(), 2);
}

// The list's item is chosen whenever a camera becomes current, also the camera default or no
// item: the last state is refreshed with the camera current, and the camera default applies
// nothing.
TEST_F(Following, ACameraBecomingCurrentRefreshesItsLastStateAndTheCameraDefaultSendsNothing) {
    // The first camera's record is made at plug-in, before it is current; only the current
    // camera's iris position can be read, so the record is completed when the panel shows it.
    auto iris = plug(fixture("full-pu.json"));  // aperture priority, a relative iris
    start();
    const QString model = orvella->qtCamera()->camera().modelUniqueID();
    ASSERT_TRUE(orvella->profileStore().appDefaultRecord(model));
    EXPECT_TRUE(
        orvella->profileStore().appDefaultRecord(model)->contains(QStringLiteral("Aperture")));
    EXPECT_EQ(popUpIndex(), -1);
    stop();
    platform.removeCamera(platform.capture().devices().front());

    auto camera = plug(fixture("generic.json"));
    start();
    setByOther(*camera, kPU, kBrightnessSelector, 30);
    QTRY_COMPARE_WITH_TIMEOUT(row(SettingsID::kBrightness).cur(), int64_t{30}, 1000);
    EXPECT_EQ(lastState("Brightness"), 0);
    settle();
    camera->clearRequests();
    // "Camera default" chosen in the panel: in force in both lists, nothing sent, and the last
    // state holds what the camera holds now.
    ui().mPopProfile->setCurrentIndex(0);
    emit ui().mPopProfile->activated(0);
    EXPECT_EQ(popUpIndex(), 0);
    EXPECT_EQ(menuCheckedRow(), 0);
    EXPECT_EQ(allSetCurCount(*camera), 0);
    EXPECT_EQ(lastState("Brightness"), 30);
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), 30);
}

// Choosing a profile or resetting the camera re-reads the camera's modes and values; a row an
// automatic mode owns keeps the value it showed.
TEST_F(Following, AGovernedRowKeepsItsValueWhenAProfileIsChosenOrTheCameraReset) {
    auto camera = plug(fixture("generic.json"));  // aperture priority: exposure time governed
    start();
    saveProfile(QStringLiteral("Evening"));
    row(SettingsID::kBrightness).plusAction();
    ASSERT_FALSE(enabled(SettingsID::kExposureTimeAbsolute));
    const int64_t shown = row(SettingsID::kExposureTimeAbsolute).cur();
    // The automatic mode moves the exposure without telling (its changes are not followed).
    orvella->qtCamera()->post([](QTCamera& device) { device.stopFollowingChanges(); });
    settle();
    ASSERT_TRUE(camera->setCurrentValue(kCT, kExposureTimeSelector, 700));
    ASSERT_NE(shown, 700);

    orvella->selectProfile(2);
    EXPECT_EQ(row(SettingsID::kBrightness).cur(), 0);
    EXPECT_EQ(row(SettingsID::kExposureTimeAbsolute).cur(), shown);
    orvella->clickResetToDefault();
    EXPECT_EQ(row(SettingsID::kExposureTimeAbsolute).cur(), shown);
    EXPECT_FALSE(enabled(SettingsID::kExposureTimeAbsolute));
}

}  // namespace
}  // namespace orvella::app
