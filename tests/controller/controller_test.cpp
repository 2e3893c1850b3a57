// The application controller over virtual cameras: the profile dialogs, the two profile lists in
// step, the last state shared by a model, start-up and plug-in, the timer's re-send and sleep.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "app/CameraDiscovery.h"
#include "app/Orvella.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/virtual/RequestLog.h"
#include "platform/virtual/VirtualPlatform.h"
#include "settings/DefaultsKeys.h"
#include "ui/ControlPanel.h"
#include "ui/Localization.h"
#include "ui/StatusBar.h"
#include "ui/StatusMenu.h"
#include "ui/UVCValueViewController.h"
#include "ui_ControlPanel.h"
#include "ui_UVCValueViewController.h"

namespace orvella::app {
namespace {

using settings::SettingsID;

// The processing unit of the fixture cameras and its brightness selector.
constexpr uint8_t kPU = 2;
constexpr uint8_t kBrightnessSelector = 2;
constexpr uint8_t kSetCur = 0x01;

QByteArray fixture(const char* name) {
    QFile file(QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/") + QLatin1String(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

// The generic camera at another USB location, optionally of another model.
QByteArray genericAt(const char* location, const char* product = "0x0102") {
    QByteArray json = fixture("generic.json");
    json.replace("\"0x14100000\"", QByteArray("\"") + location + "\"");
    json.replace("\"0x0102\"", QByteArray("\"") + product + "\"");
    return json;
}

int setCurCount(const virtualcam::VirtualCamera& camera, uint8_t unit, uint8_t selector) {
    int count = 0;
    for (const auto& request : camera.requests())
        if (request.bRequest == kSetCur && request.unit() == unit && request.selector() == selector)
            ++count;
    return count;
}

// The values written to a control of two bytes, in order.
std::vector<int> writtenValues(const virtualcam::VirtualCamera& camera, uint8_t unit,
                               uint8_t selector) {
    std::vector<int> values;
    for (const auto& request : camera.requests())
        if (request.bRequest == kSetCur && request.unit() == unit &&
            request.selector() == selector && request.data.size() == 2)
            values.push_back(static_cast<int16_t>(request.data[0] | (request.data[1] << 8)));
    return values;
}

int allSetCurCount(const virtualcam::VirtualCamera& camera) {
    int count = 0;
    for (const auto& request : camera.requests())
        if (request.bRequest == kSetCur) ++count;
    return count;
}

struct Controller : ::testing::Test {
    QTemporaryDir home;
    std::unique_ptr<settings::DefaultsStore> defaults;
    virtualcam::VirtualPlatform platform;
    platform::RecordingClock clock;
    platform::ManualPowerEvents power;
    CameraList cameras;
    std::unique_ptr<Orvella> orvella;
    std::unique_ptr<CameraDiscovery> discovery;

    QString storePath() const {
        return home.filePath(QStringLiteral("orvella/org.orvella.Orvella.plist"));
    }

    void SetUp() override { ASSERT_TRUE(home.isValid()); }
    void TearDown() override { stop(); }

    void start() {
        defaults = std::make_unique<settings::DefaultsStore>(storePath());
        OrvellaOptions options;
        options.trayAvailable = [] { return true; };
        options.timing = {20, 0, 40};
        options.popoverDelayMs = 0;
        orvella = std::make_unique<Orvella>(*defaults, cameras, nullptr, options);
        discovery = std::make_unique<CameraDiscovery>(platform.platform(&clock), platform.capture(),
                                                      cameras, *orvella);
        orvella->setDiscovery(discovery.get());
        orvella->setPowerEvents(&power);
        orvella->applicationDidFinishLaunching();
    }
    void stop() {
        if (!orvella) return;
        orvella->applicationWillTerminate();
        orvella->switchCamera(nullptr);
        while (cameras.size() > 0)
            cameras.take(cameras.size() - 1);
        discovery.reset();
        orvella.reset();
        defaults.reset();
    }
    std::shared_ptr<virtualcam::VirtualCamera> plug(
        const QByteArray& json,
        std::shared_ptr<virtualcam::VirtualCaptureDevice>* device = nullptr) {
        QString error;
        auto camera = virtualcam::VirtualCamera::fromJson(json, &error);
        EXPECT_TRUE(camera) << error.toStdString();
        auto added = platform.addCamera(camera, &error);
        EXPECT_TRUE(added) << error.toStdString();
        if (device) *device = added;
        return camera;
    }

    Ui::ControlPanel& ui() { return orvella->panel().outlets(); }
    int popUpIndex() { return ui().mPopProfile->currentIndex(); }
    // The row of the profile list the tray menu shows checked (0 the camera default, -1 none).
    int menuCheckedRow() {
        ui::StatusMenu& menu = orvella->statusMenu();
        if (menu.mItmSettingsDefault->isChecked()) return 0;
        const auto& items = menu.profileItems();
        for (std::size_t i = 0; i < items.size(); ++i)
            if (items[i]->isChecked()) return static_cast<int>(i) + settings::kFirstProfileIndex;
        return -1;
    }
    QStringList menuProfileTitles() {
        QStringList titles;
        for (QAction* item : orvella->statusMenu().profileItems())
            titles << item->text().trimmed();  // the menu indents its profiles
        return titles;
    }
    QStringList popUpProfileTitles() {
        QStringList titles;
        for (int i = settings::kFirstProfileIndex; i < ui().mPopProfile->count(); ++i)
            titles << ui().mPopProfile->itemText(i);
        return titles;
    }
    void expectListsInStep() {
        EXPECT_EQ(popUpProfileTitles(), menuProfileTitles());
        EXPECT_EQ(popUpIndex() < 0 ? -1 : popUpIndex(), menuCheckedRow());
    }

    template <typename Dialog>
    Dialog* sheetNamed(const char* name) {
        QCoreApplication::processEvents();
        auto* dialog = qobject_cast<Dialog*>(orvella->sheet());
        if (!dialog || dialog->objectName() != QLatin1String(name)) return nullptr;
        return dialog;
    }
    // Walks the save dialog: types `name` and presses Save (or Cancel).
    void saveProfile(const QString& name, bool accept = true) {
        orvella->clickSaveNewProfile();
        auto* dialog = sheetNamed<QInputDialog>("SaveNewProfile");
        ASSERT_TRUE(dialog);
        dialog->setTextValue(name);
        accept ? dialog->accept() : dialog->reject();
        QCoreApplication::processEvents();
    }
    void deleteSelectedProfile() {
        orvella->clickDeleteProfile();
        auto* box = sheetNamed<QMessageBox>("DeleteProfile");
        ASSERT_TRUE(box);
        box->buttons().first()->click();
        QCoreApplication::processEvents();
    }
    QStringList storedNames(const QString& model) {
        QStringList names;
        for (const auto& record : orvella->profileStore().profiles(model))
            names << record.value(QStringLiteral("SettingsName")).toString();
        return names;
    }
};

TEST_F(Controller, TheSaveDialogTrimsRefusesBlankAndTakenNamesAndComesBackAfterAConflict) {
    auto camera = plug(fixture("generic.json"));
    start();
    ASSERT_TRUE(orvella->qtCamera());
    const QString model = orvella->qtCamera()->modelUniqueID();

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
    const QString model = orvella->qtCamera()->modelUniqueID();

    saveProfile(QStringLiteral("A"));
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    saveProfile(QStringLiteral("B"));
    expectListsInStep();
    EXPECT_EQ(popUpIndex(), 3);

    // Choosing A from the menu applies it (brightness back to 0) and selects it in the pop-up.
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
    EXPECT_EQ(orvella->qtCamera()->locationID(), 0x14200000u);
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
    EXPECT_EQ(orvella->qtCamera()->locationID(), 0x14200000u);
    EXPECT_EQ(menuProfileTitles(), QStringList{QStringLiteral("Shared")});
    expectListsInStep();
    orvella->panel().row(SettingsID::kBrightness)->minusAction();
    const QString model = orvella->qtCamera()->modelUniqueID();
    EXPECT_EQ(orvella->profileStore().appDefaultRecord(model)->value(QStringLiteral("Brightness")),
              1);
    EXPECT_EQ(orvella->profileStore().records(model).size(), 2);  // one profile, one last state
}

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
    EXPECT_EQ(writtenValues(*camera, kPU, kBrightnessSelector), (std::vector<int>{2, 1}));
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), 1);
    EXPECT_EQ(popUpIndex(), 2);
    EXPECT_EQ(menuCheckedRow(), 2);
    EXPECT_EQ(orvella->statusMenu().profileItems().at(0)->icon().isNull(), false);
    // Showing the panel for the same camera object again applies nothing.
    camera->clearRequests();
    orvella->switchCamera(orvella->qtCamera());
    EXPECT_EQ(setCurCount(*camera, kPU, kBrightnessSelector), 0);
}

TEST_F(Controller, TheTimerResendsAtTheChosenIntervalAndRestsDuringSleep) {
    // "ReconfigureWebcam" at 1 tick, as a script may store it: every camera gets its values
    // again at every tick.
    {
        settings::DefaultsStore store(storePath());
        store.setInteger(1, QStringLiteral("ReconfigureWebcam"));
        ASSERT_TRUE(store.synchronize());
    }
    auto first = plug(fixture("generic.json"));
    auto second = plug(genericAt("0x14200000"));
    start();
    EXPECT_EQ(ui().mPopReconfigureWebcam->currentData().toInt(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(setCurCount(*first, kPU, kBrightnessSelector) >= 3, 5000);
    QTRY_VERIFY_WITH_TIMEOUT(setCurCount(*second, kPU, kBrightnessSelector) >= 3, 5000);

    power.sleep();
    first->clearRequests();
    second->clearRequests();
    QTest::qWait(200);  // ten ticks' worth
    EXPECT_EQ(allSetCurCount(*first), 0);
    EXPECT_EQ(allSetCurCount(*second), 0);

    power.wake();
    QTRY_VERIFY_WITH_TIMEOUT(setCurCount(*first, kPU, kBrightnessSelector) >= 1, 5000);

    // Off: nothing more is sent.
    orvella->selectReconfigureWebcam(0);
    QCoreApplication::processEvents();
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
    {
        settings::DefaultsStore store(storePath());
        store.setInteger(6, QStringLiteral("UpdateSlider"));
        ASSERT_TRUE(store.synchronize());
    }
    start();
    const int extra = ui().mPopUpdateSlider->findData(6);
    ASSERT_GE(extra, 0);
    EXPECT_EQ(ui().mPopUpdateSlider->currentIndex(), extra);
    emit ui().mPopUpdateSlider->activated(extra);
    EXPECT_EQ(settings::DefaultsStore(storePath()).integerForKey(QStringLiteral("UpdateSlider")),
              6);

    // Hiding the icon disables the icon choice; closing the panel hides it and is remembered.
    orvella->clickHideMenuBarIcon(true);
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

// The controller is the current camera's capture delegate: a session on it shows its frame rate
// in the panel, which shows no rate (and no bare unit) while none runs.
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

TEST_F(Controller, TheFrameRateOfASessionOnTheCurrentCameraShowsWhileItRuns) {
    plug(fixture("generic.json"));
    start();
    ASSERT_TRUE(orvella->qtCameraCapture());
    EXPECT_TRUE(ui().mTxtFPS->isHidden() && ui().mTxtFPSLabel->isHidden());
    ASSERT_EQ(orvella->qtCameraCapture()->startPreview(nullptr), 0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !ui().mTxtFPS->isHidden(); }, 5000));
    EXPECT_FALSE(ui().mTxtFPSLabel->isHidden());
    EXPECT_GT(ui().mTxtFPS->text().toInt(), 0);
    orvella->qtCameraCapture()->stopPreview(nullptr);
    EXPECT_TRUE(ui().mTxtFPS->isHidden() && ui().mTxtFPSLabel->isHidden());
    // A camera that goes away takes its session with it.
    ASSERT_EQ(orvella->qtCameraCapture()->startPreview(nullptr), 0);
    platform.removeCamera(platform.capture().devices().front());
    EXPECT_EQ(orvella->qtCameraCapture(), nullptr);
    EXPECT_TRUE(ui().mTxtFPS->isHidden());
}

TEST_F(Controller, OrvellactlAndTheApplicationShareProfilesAndTheStoreSurvivesARestart) {
    auto camera = plug(fixture("generic.json"));
    start();
    orvella->panel().row(SettingsID::kBrightness)->plusAction();
    saveProfile(QStringLiteral("From the app"));

    QProcess ctl;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path());
    ctl.setProcessEnvironment(environment);
    const QString generic = QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/generic.json");
    ctl.start(QStringLiteral(ORVELLA_ORVELLACTL),
              {QStringLiteral("--virtual"), generic, QStringLiteral("profile"),
               QStringLiteral("list"), QStringLiteral("1")});
    ASSERT_TRUE(ctl.waitForFinished(30000));
    EXPECT_EQ(ctl.exitCode(), 0) << ctl.readAllStandardError().toStdString();
    EXPECT_TRUE(ctl.readAllStandardOutput().contains("From the app"));

    // The other way round: saved by orvellactl, listed here once the file watch has seen it.
    ctl.start(QStringLiteral(ORVELLA_ORVELLACTL),
              {QStringLiteral("--virtual"), generic, QStringLiteral("profile"),
               QStringLiteral("save"), QStringLiteral("1"), QStringLiteral("From the tool")});
    ASSERT_TRUE(ctl.waitForFinished(30000));
    EXPECT_EQ(ctl.exitCode(), 0) << ctl.readAllStandardError().toStdString();
    QTRY_COMPARE_WITH_TIMEOUT(
        menuProfileTitles(),
        (QStringList{QStringLiteral("From the app"), QStringLiteral("From the tool")}), 10000);
    expectListsInStep();
    camera->clearRequests();
    orvella->selectProfile(3);  // the tool's profile holds brightness 0
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

}  // namespace
}  // namespace orvella::app

namespace orvella::app {
namespace {

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
    EXPECT_EQ(camera->currentValue(kPU, kBrightnessSelector), 1);

    // The current camera goes away while the name dialog is open: the dialog goes with it and
    // the other camera becomes current.
    orvella->clickSaveNewProfile();
    ASSERT_TRUE(orvella->sheet());
    platform.removeCamera(platform.capture().devices().front());
    QCoreApplication::processEvents();
    EXPECT_EQ(orvella->sheet(), nullptr);
    ASSERT_TRUE(orvella->qtCamera());
    EXPECT_EQ(orvella->qtCamera()->locationID(), 0x14200000u);
    expectListsInStep();
    platform.removeCamera(second);
    EXPECT_EQ(orvella->qtCamera(), nullptr);
    orvella->clickSaveNewProfile();  // nothing to save without a camera
    EXPECT_EQ(orvella->sheet(), nullptr);
}

TEST_F(Controller, WithoutATrayHostThePanelStaysOpenAsAWindow) {
    {
        settings::DefaultsStore store(storePath());
        store.setBool(false, QStringLiteral("Show/Hide Control Panel"));
        ASSERT_TRUE(store.synchronize());
    }
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

}  // namespace
}  // namespace orvella::app

namespace orvella::app {
namespace {

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
    constexpr uint8_t kCameraTerminal = 1, kZoomSelector = 0x0b;
    EXPECT_EQ(writtenValues(*second, kCameraTerminal, kZoomSelector), std::vector<int>{102});
    EXPECT_TRUE(orvella->panel().hasPendingZoom());
    QTRY_VERIFY_WITH_TIMEOUT(!orvella->panel().hasPendingZoom(), 5000);
    const std::vector<int> steps = writtenValues(*second, kCameraTerminal, kZoomSelector);
    ASSERT_GT(steps.size(), 3u);
    EXPECT_EQ(steps.back(), 102);
    EXPECT_EQ(second->currentValue(kCameraTerminal, kZoomSelector), 102);
}

}  // namespace
}  // namespace orvella::app

namespace orvella::app {
namespace {

constexpr uint8_t kCT = 1, kZoomSelector = 0x0B;

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
    QStringList fromApp;
    for (const auto& r : camera->requests())
        if (r.bmRequestType == 0x21)
            fromApp << QString::fromStdString(virtualcam::RequestLog::transferLine(
                1,
                {r.bmRequestType, r.bRequest, uint8_t(r.wValue), uint8_t(r.wValue >> 8),
                 uint8_t(r.wIndex), uint8_t(r.wIndex >> 8), uint8_t(r.wLength),
                 uint8_t(r.wLength >> 8)},
                r.data, virtualcam::RequestLog::outcomeFor(r.status)));
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
    QProcess ctl;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path());
    ctl.setProcessEnvironment(environment);
    ctl.start(QStringLiteral(ORVELLA_ORVELLACTL),
              {"--virtual", definition, "--request-log", log, "apply-last", "1"});
    ASSERT_TRUE(ctl.waitForFinished(60000));
    EXPECT_EQ(ctl.exitCode(), 0) << ctl.readAllStandardError().toStdString();
    QFile written(log);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const QStringList fromTool = QString::fromUtf8(written.readAll())
                                     .split('\n', Qt::SkipEmptyParts)
                                     .filter(QRegularExpression("^1 21 "));
    EXPECT_EQ(fromTool, fromApp);
}

TEST_F(Controller, SlidersOfAutomaticControlsFollowTheCameraAtTheirInterval) {
    {
        settings::DefaultsStore store(storePath());
        store.setInteger(2, QStringLiteral("UpdateSlider"));  // every second
        ASSERT_TRUE(store.synchronize());
    }
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

}  // namespace
}  // namespace orvella::app

namespace orvella::app {
namespace {

constexpr uint8_t kAutoExposureModeSelector = 0x02, kExposureTimeSelector = 0x04;
constexpr uint8_t kWhiteBalanceAutoSelector = 0x0B;

struct Following : Controller {
    void setByOther(virtualcam::VirtualCamera& camera, uint8_t unit, uint8_t selector,
                    int64_t value) {
        std::string error;
        ASSERT_TRUE(camera.setByAnotherProgram(unit, selector, value, &error)) << error;
    }
    void storeGuard(bool on, int settleMs) {
        settings::DefaultsStore store(storePath());
        store.setBool(on, QStringLiteral("GuardSettings"));
        store.setInteger(settleMs, QStringLiteral("GuardSettleTime"));
        ASSERT_TRUE(store.synchronize());
    }
    ui::UVCValueViewController& row(int32_t id) { return *orvella->panel().row(id); }
    bool enabled(int32_t id) { return row(id).outlets().sldControl->isEnabled(); }
    qint64 lastState(const char* key) {
        return orvella->profileStore()
            .appDefaultRecord(orvella->qtCamera()->modelUniqueID())
            ->value(QLatin1String(key))
            .toLongLong();
    }
};

TEST_F(Following, AForeignChangeShowsAtOnceWithoutARequestAndLeavesTheLastStateAlone) {
    auto camera = plug(fixture("generic.json"));  // aperture priority: exposure time governed
    start();
    EXPECT_TRUE(orvella->qtCamera()->followsControlChanges());
    EXPECT_FALSE(enabled(SettingsID::kExposureTimeAbsolute));
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
    orvella->qtCamera()->stopFollowingChanges();
    camera->setCurrentValue(kPU, kBrightnessSelector, 9);
    const auto values = orvella->controlValues(orvella->qtCamera()->uniqueID());
    ASSERT_TRUE(values);
    EXPECT_EQ(values->value(QStringLiteral("Brightness")).toLongLong(), 9);
}

TEST_F(Following, TheGuardRestoresOnceAfterSettlingIgnoresProbesAndOwnWritesAndStopsAtItsLimit) {
    storeGuard(true, 100);
    auto camera = plug(fixture("generic.json"));
    start();
    EXPECT_TRUE(ui().mBtnGuardSettings->isChecked());
    EXPECT_FALSE(ui().mTxtReconfigureWebcamNote->isHidden());
    row(SettingsID::kBrightness).plusAction();  // last state: brightness 1
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
    const QString model = orvella->qtCamera()->modelUniqueID();
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

TEST_F(Following, TheGuardIsOffByDefaultAndRestsAcrossSleep) {
    storeGuard(false, 100);
    auto camera = plug(fixture("generic.json"));
    start();
    EXPECT_FALSE(ui().mBtnGuardSettings->isChecked());
    EXPECT_TRUE(ui().mTxtReconfigureWebcamNote->isHidden());
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
    QCoreApplication::processEvents();
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

namespace orvella::app {
namespace {

// The list's item is chosen whenever a camera becomes current, also the camera default or no
// item: the last state is refreshed with the camera current, and the camera default applies
// nothing.
TEST_F(Following, ACameraBecomingCurrentRefreshesItsLastStateAndTheCameraDefaultSendsNothing) {
    // The first camera's record is made at plug-in, before it is current; only the current
    // camera's iris position can be read, so the record is completed when the panel shows it.
    auto iris = plug(fixture("full-pu.json"));  // aperture priority, a relative iris
    start();
    const QString model = orvella->qtCamera()->modelUniqueID();
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
    // The automatic mode moves the exposure without telling.
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
