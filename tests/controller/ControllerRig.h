#pragma once
// The application controller over virtual cameras, for the controller tests: a scratch
// preferences folder, a virtual platform with a recording clock and power events, the controller
// and its discovery started and stopped as the application does, and ways to read the panel, the
// tray menu and the dialogs.
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
#include "platform/virtual/VirtualPlatform.h"
#include "settings/DefaultsKeys.h"
#include "ui/ControlPanel.h"
#include "ui/ControlPanelOutlets.h"
#include "ui/Localization.h"
#include "ui/StatusBar.h"
#include "ui/StatusMenu.h"
#include "ui/UVCValueViewController.h"
#include "ui_UVCValueViewController.h"

#include "support/Orvellactl.h"
#include "support/RequestsSeen.h"
#include "support/VirtualRig.h"

namespace orvella::app::rig {

using settings::SettingsID;

// The processing unit of the fixture cameras and its brightness selector.
constexpr uint8_t kPU = 2;
constexpr uint8_t kBrightnessSelector = 2;
// The camera terminal of the fixture cameras and its zoom selector.
constexpr uint8_t kCT = 1, kZoomSelector = 0x0B;

inline QByteArray fixture(const char* name) {
    return testing::fixtureBytes(name);
}
using testing::genericAt;

inline int setCurCount(const virtualcam::VirtualCamera& camera, uint8_t unit, uint8_t selector) {
    CameraSession::settleAll();
    return static_cast<int>(testing::setCursOf(camera, unit, selector).size());
}

inline int allSetCurCount(const virtualcam::VirtualCamera& camera) {
    CameraSession::settleAll();
    return static_cast<int>(testing::setCurs(camera).size());
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
    // The preferences written on their own thread, as the application writes them.
    bool backgroundWrites = false;

    QString storePath() const {
        return home.filePath(QStringLiteral("orvella/org.orvella.Orvella.plist"));
    }

    void SetUp() override { ASSERT_TRUE(home.isValid()); }
    // Writes one preference into the file before the controller starts.
    void storePreference(const char* key, const QVariant& value) {
        settings::DefaultsStore store(storePath());
        store.setObject(value, QLatin1String(key));
        EXPECT_TRUE(store.synchronize());
    }
    // orvellactl on the same preferences file.
    testing::CtlRun orvellactl(const QStringList& arguments) const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path());
        const testing::CtlRun run = testing::runOrvellactl(arguments, environment);
        EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
        return run;
    }
    void TearDown() override { stop(); }
    SettingsGuardOptions guardOptions;  // the guard's limits for start()

    void start() {
        defaults = std::make_unique<settings::DefaultsStore>(storePath());
        if (backgroundWrites) defaults->enableBackgroundWrites();
        OrvellaOptions options;
        options.trayAvailable = [] { return true; };
        options.timing = {20, 0, 40};
        options.popoverDelayMs = 0;
        options.guard = guardOptions;
        orvella = std::make_unique<Orvella>(*defaults, cameras, nullptr, options);
        discovery = std::make_unique<CameraDiscovery>(platform.platform(&clock), platform.capture(),
                                                      cameras, *orvella);
        orvella->setDiscovery(discovery.get());
        orvella->setPowerEvents(&power);
        orvella->applicationDidFinishLaunching();
        settle();
    }
    void stop() {
        if (!orvella) return;
        CameraSession::settleAll();
        orvella->applicationWillTerminate();
        orvella->switchCamera(nullptr);
        while (cameras.size() > 0)
            cameras.take(cameras.size() - 1);
        // The camera objects go on their sessions' threads, before the platform they talk to.
        CameraSession::waitForSessionsToEnd(10000);
        discovery.reset();
        orvella.reset();
        defaults.reset();
    }
    std::shared_ptr<virtualcam::VirtualCamera> plug(
        const QByteArray& json,
        std::shared_ptr<virtualcam::VirtualCaptureDevice>* device = nullptr) {
        if (orvella) settle();  // what the application was doing first
        QString error;
        auto camera = virtualcam::VirtualCamera::fromJson(json, &error);
        EXPECT_TRUE(camera) << error.toStdString();
        auto added = platform.addCamera(camera, &error);
        EXPECT_TRUE(added) << error.toStdString();
        if (device) *device = added;
        if (orvella) settle();  // the last state applied at plug-in
        return camera;
    }

    // Waits for every camera session's work and replies: what the panel shows and the camera
    // got once the application has done what it was asked.
    static void settle() { ASSERT_TRUE(CameraSession::settleAll()); }
    orvella::ui::ControlPanel::Outlets& ui() {
        settle();
        return orvella->panel().outlets();
    }
    // The bus's reading of a camera's values, once its session has read them.
    std::optional<QVariantMap> controlValues(const QString& uniqueID) {
        std::optional<std::optional<QVariantMap>> got;
        orvella->controlValues(uniqueID,
                               [&got](const std::optional<QVariantMap>& values) { got = values; });
        settle();
        return got ? *got : std::nullopt;
    }
    int popUpIndex() { return ui().mPopProfile->currentIndex(); }
    // The row of the profile list the tray menu shows checked (0 the camera default, -1 none).
    int menuCheckedRow() {
        settle();
        ui::StatusMenu& menu = orvella->statusMenu();
        if (menu.mItmSettingsDefault->isChecked()) return 0;
        const auto& items = menu.profileItems();
        for (std::size_t i = 0; i < items.size(); ++i)
            if (items[i]->isChecked()) return static_cast<int>(i) + settings::kFirstProfileIndex;
        return -1;
    }
    QStringList menuProfileTitles() {
        settle();
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
        settle();
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
        settle();
    }
    void deleteSelectedProfile() {
        orvella->clickDeleteProfile();
        auto* box = sheetNamed<QMessageBox>("DeleteProfile");
        ASSERT_TRUE(box);
        box->buttons().first()->click();
        settle();
    }
    QStringList storedNames(const QString& model) {
        settle();
        QStringList names;
        for (const auto& record : orvella->profileStore().profiles(model))
            names << record.value(QStringLiteral("SettingsName")).toString();
        return names;
    }
};

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
    ui::UVCValueViewController& row(int32_t id) {
        settle();
        return *orvella->panel().row(id);
    }
    bool enabled(int32_t id) { return row(id).outlets().sldControl->isEnabled(); }
    qint64 lastState(const char* key) {
        settle();
        return orvella->profileStore()
            .appDefaultRecord(orvella->qtCamera()->camera().modelUniqueID())
            ->value(QLatin1String(key))
            .toLongLong();
    }
};

}  // namespace orvella::app::rig
