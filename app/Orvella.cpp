#include "app/Orvella.h"

#include <QApplication>
#include <QBoxLayout>
#include <QIdentityProxyModel>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>

#include "app/PeriodicReapply.h"
#include "camera/CameraSession.h"
#include "camera/ControlCatalog.h"
#include "platform/CaptureDevice.h"
#include "platform/Log.h"
#include "settings/CameraNames.h"
#include "settings/CameraProfiles.h"
#include "settings/DefaultsKeys.h"
#include "settings/SettingsRecord.h"
#include "ui/ControlPanel.h"
#include "ui/Images.h"
#include "ui/Localization.h"
#include "ui/PopViewController.h"
#include "ui/ProfileItemRoles.h"
#include "ui/StatusBar.h"
#include "ui/StatusMenu.h"

namespace orvella::app {

namespace {

using settings::ProfileListModel;

// How long quitting waits for the cameras' sessions to hand over what they did.
constexpr int kQuitSettleMs = 500;

// The profile list as the panel's pop-up reads it: the star as the item's image, the
// load-at-start tag under the panel's tag role, and a mark of "changed by hand" passed on to the
// list, so that the pop-up and the tray menu (which reads the list itself) show one state.
class ProfilePopUpModel final : public QIdentityProxyModel {
  public:
    explicit ProfilePopUpModel(ProfileListModel& list, QObject* parent)
        : QIdentityProxyModel(parent), list_(list) {
        setSourceModel(&list);
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (role == Qt::DecorationRole) {
            if (index.row() == ProfileListModel::kSeparatorRow) return {};
            return ui::imageNamed(
                QIdentityProxyModel::data(index, ProfileListModel::StarImageRole).toString());
        }
        if (role == ui::kProfileTagRole)
            return QIdentityProxyModel::data(index, ProfileListModel::TagRole);
        return QIdentityProxyModel::data(index, role);
    }
    bool setData(const QModelIndex& index, const QVariant& value, int role) override {
        if (role == ui::kProfileStateRole && value.toInt() == Qt::PartiallyChecked &&
            index.row() == list_.currentRow()) {
            list_.markModified();
            return true;
        }
        return false;
    }

  private:
    ProfileListModel& list_;
};

}  // namespace

class Orvella::FormatFollower final : public platform::CaptureFormatObserver {
  public:
    FormatFollower(ui::ControlPanel& panel, CameraSession* camera,
                   std::shared_ptr<platform::CaptureDevice> device)
        : panel_(panel), camera_(camera), device_(std::move(device)) {
        device_->setFormatObserver(this);
    }
    ~FormatFollower() override { device_->setFormatObserver(nullptr); }
    CameraSession* camera() const { return camera_; }
    void captureFormatChanged() override { panel_.qtCameraFormatChanged(device_.get()); }

  private:
    ui::ControlPanel& panel_;
    CameraSession* camera_;
    std::shared_ptr<platform::CaptureDevice> device_;
};

Orvella::Orvella(settings::DefaultsStore& defaults, CameraList& cameras,
                 platform::LoginItem* loginItem, Options options)
    : defaults_(defaults),
      cameras_(cameras),
      profiles_(defaults),
      preferences_(defaults, loginItem),
      profileList_(profiles_),
      options_(std::move(options)),
      timer_(options_.timing),
      guard_([this](CameraSession& camera,
                    const QString& profile) { restoreLastState(camera, profile); },
             [this] {
                 SettingsGuard::Options guard = options_.guard;
                 guard.wakeDelayMs = options_.timing.wakeDelayMs;
                 return guard;
             }()) {
    // The sixteen rows are built with the panel.
    panel_ = std::make_unique<ui::ControlPanel>();
    tray_ = std::make_unique<TrayPart>(
        *panel_, preferences_, TrayPart::Options{options_.trayAvailable, options_.popoverDelayMs});
    // A dialog open on the panel ends before the panel is hidden or closed.
    connect(tray_.get(), &TrayPart::panelClosing, this, &Orvella::endSheet);
    preferencesPart_ =
        std::make_unique<PreferencesPart>(preferences_, defaults_, *panel_, *tray_, timer_, guard_);
    makePreview();
    cameras_.setUserNames(settings::userCameraNames(defaults_));
    // Who took a camera, and what each program's rule says (read where the preferences hold it).
    usersPart_ = std::make_unique<CameraUsersPart>(
        *panel_, tray_->statusBar(), defaults_, [this] { return qtCamera(); },
        [this] { return guard_.currentTime(); });
    connect(&guard_, &SettingsGuard::acted, usersPart_.get(), &CameraUsersPart::acted);
    usersPart_->setProfileNames([this] {
        QStringList names;
        if (CameraSession* camera = qtCamera())
            for (const settings::SettingsRecord& record :
                 profiles_.profiles(camera->camera().modelUniqueID()))
                names.append(record.value(settings::keys::kSettingsName).toString());
        return names;
    });
    connect(&profiles_, &settings::ProfileStore::profilesChanged, usersPart_.get(),
            &CameraUsersPart::showRules);
    guard_.setRules([this](CameraSession& camera, const platform::CameraUser* user) {
        ProgramRule rule =
            ProgramRules::read(defaults_.dictionaryForKey(settings::keys::kProgramRules),
                               defaults_.stringForKey(settings::keys::kDefaultProgramRule))
                .ruleFor(user);
        // A profile the model does not have (deleted since): my settings are kept.
        const QString model = camera.camera().modelUniqueID();
        if (rule.kind == ProgramRule::Kind::ApplyProfile &&
            profiles_.listIndexOf(model, rule.profile) < settings::kFirstProfileIndex) {
            NSLog(
                "Settings guard: %s has no profile \"%s\" (the rule of %s names it); keeping "
                "my settings",
                qUtf8Printable(camera.camera().displayName()), qUtf8Printable(rule.profile),
                qUtf8Printable(logName(user)));
            rule = ProgramRule{};
        }
        return rule;
    });
    wirePanel();
    wireMenu();
    buildNoCameraBanner();

    connect(&timer_, &UpdateTimer::refreshSliders, this, &Orvella::refreshAutoSliders);
    connect(&timer_, &UpdateTimer::reconfigureWebcams, this, &Orvella::reconfigureWebcams);
    // A camera object going away takes its pending stepped zoom and its following with it.
    connect(&cameras_, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex&, int first, int last) {
                for (int row = first; row <= last; ++row) {
                    CameraSession* camera = cameras_.at(row);
                    if (!camera) continue;
                    panel_->forgetCamera(camera);
                    if (camera == preview_->camera()) preview_->setCamera(nullptr);
                    stopFollowingFormats(camera);
                    // Its following ends with the session, which the list closes.
                    guard_.forget(camera);
                    usersPart_->forget(camera);
                    answerPendingValues(camera);
                }
            });
    connect(&cameras_, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex&, int first, int last) { followCameras(first, last); });
    connect(&cameras_, &QAbstractItemModel::rowsInserted, this, &Orvella::followCameraRow);
    connect(&cameras_, &QAbstractItemModel::rowsRemoved, this, &Orvella::followCameraRow);
    connect(&cameras_, &QAbstractItemModel::dataChanged, this, &Orvella::followCameraRow);
    followCameras(0, cameras_.size() - 1);
}

Orvella::~Orvella() {
    formatFollowers_.clear();
    // The list outlives the controller; its cameras must not call back into it: their sessions
    // close, dropping what they still had to do and tell.
    for (int row = 0; row < cameras_.size(); ++row)
        if (CameraSession* camera = cameras_.at(row)) {
            camera->close();
            guard_.forget(camera);
        }
    answerPendingValues(nullptr);
    if (power_) power_->setObserver(nullptr);
    endSheet();
}

void Orvella::setPowerEvents(platform::PowerEventSource* power) {
    if (power_) power_->setObserver(nullptr);
    power_ = power;
    if (power_ && launched_) power_->setObserver(this);
}

void Orvella::setDemoCamera(std::function<void()> addDemoCamera) {
    addDemoCamera_ = std::move(addDemoCamera);
    if (auto* button = noCamera_ ? noCamera_->findChild<QPushButton*>() : nullptr)
        button->setVisible(bool(addDemoCamera_));
}

// ---- Wiring ----

void Orvella::wirePanel() {
    panelDelegate_.updateSettings = [this](int32_t id) { updateSettings(id); };
    panelDelegate_.displayValues = [this]() -> std::optional<QMap<QString, bool>> {
        const QVariant stored = defaults_.objectForKey(QStringLiteral("Display Value"));
        if (stored.typeId() != QMetaType::QVariantMap) return std::nullopt;
        QMap<QString, bool> values;
        const QVariantMap map = stored.toMap();
        for (auto it = map.begin(); it != map.end(); ++it)
            values.insert(it.key(), it->toBool());
        return values;
    };
    panelDelegate_.storeDisplayValue = [this](int32_t id, bool on) {
        preferences_.setDisplayValue(id, on);
    };
    panelDelegate_.buildProfileLists = [this] { buildProfileLists(); };
    panel_->setDelegate(&panelDelegate_);

    panel_->setProfileModel(new ProfilePopUpModel(profileList_, nullptr));
    panel_->setCameraModel(cameras_.popUpModel());
    connect(&profileList_, &ProfileListModel::currentRowChanged, this, &Orvella::followProfileRow);
    connect(&profileList_, &QAbstractItemModel::modelReset, this, &Orvella::followProfileRow);
    connect(&profileList_, &QAbstractItemModel::rowsInserted, this, &Orvella::followProfileRow);
    connect(&profileList_, &QAbstractItemModel::rowsRemoved, this, &Orvella::followProfileRow);
    connect(&profileList_, &QAbstractItemModel::dataChanged, panel_.get(),
            &ui::ControlPanel::enableDisableProfileButton);

    connect(panel_.get(), &ui::ControlPanel::selectCamera, this, [this](int popUpRow) {
        if (discovery_) discovery_->selectCamera(cameras_.rowForPopUpRow(popUpRow));
        followCameraRow();
    });
    connect(panel_.get(), &ui::ControlPanel::clickRenameCamera, this, &Orvella::clickRenameCamera);
    connect(panel_.get(), &ui::ControlPanel::selectProfile, this, &Orvella::selectProfile);
    connect(panel_.get(), &ui::ControlPanel::clickSaveNewProfile, this,
            &Orvella::clickSaveNewProfile);
    connect(panel_.get(), &ui::ControlPanel::clickUpdateProfile, this,
            &Orvella::clickUpdateProfile);
    connect(panel_.get(), &ui::ControlPanel::clickDeleteProfile, this,
            &Orvella::clickDeleteProfile);
    connect(panel_.get(), &ui::ControlPanel::clickLoadAtStart, this, &Orvella::clickLoadAtStart);
    connect(panel_.get(), &ui::ControlPanel::clickResetToDefault, this,
            &Orvella::clickResetToDefault);
    connect(panel_.get(), &ui::ControlPanel::clickLaunchAtLogin, this,
            &Orvella::clickLaunchAtLogin);
    connect(panel_.get(), &ui::ControlPanel::selectBWMenuIcon, this, &Orvella::selectBWMenuIcon);
    connect(panel_.get(), &ui::ControlPanel::clickHideMenuBarIcon, this,
            &Orvella::clickHideMenuBarIcon);
    connect(panel_.get(), &ui::ControlPanel::selectUpdateSlider, this,
            &Orvella::selectUpdateSlider);
    connect(panel_.get(), &ui::ControlPanel::selectReconfigureWebcam, this,
            &Orvella::selectReconfigureWebcam);
    connect(panel_.get(), &ui::ControlPanel::clickGuardSettings, this,
            &Orvella::clickGuardSettings);
    connect(panel_.get(), &ui::ControlPanel::clickLockTheLook, this, &Orvella::lockTheLook);
    connect(panel_.get(), &ui::ControlPanel::selectGuardSettleTime, this,
            &Orvella::selectGuardSettleTime);
    connect(panel_.get(), &ui::ControlPanel::clickReadIntervalInfo, this,
            &Orvella::clickReadIntervalInfo);
    connect(panel_.get(), &ui::ControlPanel::clickWriteIntervalInfo, this,
            &Orvella::clickWriteIntervalInfo);
}

void Orvella::wireMenu() {
    ui::StatusMenu* menu = &tray_->menu();
    menu->setCameraModel(&cameras_);
    // The camera-default item acts only while there is a camera: the panel's emptying takes its
    // action away, building the lists for a camera gives it back.
    menu->setCameraDefaultActive(false);
    connect(panel_.get(), &ui::ControlPanel::cameraControlsCleared, menu,
            [menu] { menu->setCameraDefaultActive(false); });
    menu->setProfileModel(&profileList_, settings::kFirstProfileIndex,
                          ProfileListModel::MenuStarImageRole);
    connect(menu, &ui::StatusMenu::cameraSelected, this, [this](int row) {
        if (discovery_) discovery_->selectCamera(row);
        followCameraRow();
    });
    connect(menu, &ui::StatusMenu::profileSelected, this, [this](int row) {
        // The menu's camera-default item always resets the camera to its own defaults.
        if (row == ProfileListModel::kCameraDefaultRow)
            clickResetToDefault();
        else
            selectProfile(row);
    });
    connect(menu, &ui::StatusMenu::quitClicked, qApp, &QCoreApplication::quit);
    connect(menu, &ui::StatusMenu::aboutClicked, this, [this] {
        QMessageBox::about(
            panel_->window(), ui::nameFormat("About"),
            QStringLiteral("<b>%1</b> %2<br>%3")
                .arg(ui::applicationName(), QCoreApplication::applicationVersion(),
                     ui::PopViewController::infoValueForKey(QStringLiteral("Comment"))));
    });
}

void Orvella::buildNoCameraBanner() {
    noCamera_ = new QWidget(panel_->window());
    noCamera_->setObjectName(QStringLiteral("mVwNoCamera"));
    auto* layout = new QHBoxLayout(noCamera_);
    auto* label = new QLabel(ui::localized("NoCameraFound"), noCamera_);
    label->setWordWrap(true);
    auto* button = new QPushButton(ui::localized("AddDemoCamera"), noCamera_);
    button->setObjectName(QStringLiteral("mBtnAddDemoCamera"));
    button->setVisible(false);
    layout->addWidget(label, 1);
    layout->addWidget(button);
    connect(button, &QPushButton::clicked, this, [this] {
        if (addDemoCamera_) addDemoCamera_();
    });
    panel_->showBanner(noCamera_);
    noCamera_->setVisible(cameras_.size() == 0);
}

// ---- Lifecycle ----

void Orvella::applicationDidFinishLaunching() {
    // The rows exist since construction; now the preferences, tidying the profile store.
    preferences_.startUp(profiles_);
    profiles_.watchForOtherProcesses();
    preferencesPart_->showStored();
    preview_->showStored();
    tray_->setPanelOn(preferences_.panelOn());

    if (discovery_) discovery_->registerDeviceCallbackHandler();
    launched_ = true;
    if (power_) power_->setObserver(this);

    profileList_.setCameraDefaultTitle(ui::localized("CameraDefault"));
    panel_->localize();
    tray_->menu().localize(ui::applicationName());
    tray_->statusBar().setMenuIcon(preferences_.bwMenuIcon() != 0);

    if (preferences_.hideMenuBarIcon() == 0) installStatusBar();
    showHidePanelAndUpdateMenu();
    timer_.installTimerAfterLaunch();
    // One line that scripts and benchmarks can wait for.
    NSLog("Ready: %d camera(s), control panel %s", cameras_.size(),
          tray_->panelOn() ? "shown" : "hidden");
}

void Orvella::applicationWillBecomeActive() {
    tray_->setPanelOn(true);
    tray_->bringPanelToFront();
    tray_->updatePanelMenu();
}

void Orvella::applicationWillTerminate() {
    // What the cameras' sessions still have to hand over (the last slider step's record) is
    // taken in, as long as the cameras answer soon; then the preferences' writer writes what
    // waits before the program ends.
    CameraSession::settleAll(kQuitSettleMs);
    defaults_.flush();
    timer_.systemWillSleep();  // stops the timer and any start still pending
    guard_.setEnabled(false);
    setPowerEvents(nullptr);
    endSheet();
    tray_->removeStatusBar();
}

// ---- Tray and panel ----

void Orvella::installStatusBar() {
    tray_->installStatusBar();
}

void Orvella::removeStatusBar() {
    tray_->removeStatusBar();
}

void Orvella::setMenuIcon(bool blackAndWhite) {
    tray_->setMenuIcon(blackAndWhite);
}

void Orvella::updatePanelMenu() {
    tray_->updatePanelMenu();
}

void Orvella::showHidePanelAndUpdateMenu() {
    tray_->showHidePanelAndUpdateMenu();
}

void Orvella::showPopover() {
    tray_->showPopover();
}

// ---- Timer work ----

void Orvella::refreshAutoSliders() {
    CameraSession* camera = qtCamera();
    if (!camera) return;
    // A refresh still waiting behind a slow request is not asked for twice.
    camera->ask(
        [this, camera](QTCamera& device) -> CameraSession::Reply {
            std::vector<std::pair<int32_t, long>> values;
            for (const ControlDescription* control :
                 autoSlidersToRefresh(*device.supportedControl())) {
                long value = 0;
                if (device.queryControl(*control, &value) == 0)
                    values.emplace_back(control->id, value);
            }
            return [this, camera, values] {
                if (camera != qtCamera()) return;
                for (const auto& [id, value] : values)
                    panel_->showControlValue(id, value);
            };
        },
        CameraSession::kRefreshKey);
}

void Orvella::reconfigureWebcams() {
    for (int row = 0; row < cameras_.size(); ++row)
        if (CameraSession* camera = cameras_.at(row))
            camera->post([](QTCamera& device) { reconfigureWebcam(device); },
                         CameraSession::kResendKey);
}

// ---- Changes behind the process's back ----

void Orvella::followCameras(int first, int last) {
    for (int row = first; row <= last; ++row) {
        CameraSession* camera = cameras_.at(row);
        if (!camera) continue;
        guard_.follow(camera);
        followFormats(camera);
        // The camera tells its changes on its session's thread, having taken them into its
        // record; they reach the interface with the record.
        auto publish = camera->publisher();
        camera->post([this, camera, publish](QTCamera& device) {
            device.followChanges(
                [this, camera, publish](const FollowedChange& change) {
                    publish([this, camera, change] { cameraControlChanged(*camera, change); });
                },
                [this, camera, publish, &device](int foreignOpens) {
                    // Who uses it is found here, on the camera's session (a scan of /proc).
                    // The open is told before the opener's descriptor shows in /proc (the
                    // kernel announces it first), so a scan that finds nobody looks again a
                    // few times, 20 ms apart.
                    std::vector<platform::CameraUser> users;
                    for (int scan = 0;
                         scan < 5 && foreignOpens > 0 && device.qtCaptureDevice() && users.empty();
                         ++scan) {
                        if (scan > 0) QThread::msleep(20);
                        users = device.qtCaptureDevice()->captureUsers();
                    }
                    publish([this, camera, foreignOpens, users = std::move(users)] {
                        guard_.captureUseChanged(camera, foreignOpens, users);
                        usersPart_->seen(users);
                        preview_->captureUseChanged(camera, foreignOpens);
                    });
                });
        });
    }
}

void Orvella::cameraControlChanged(CameraSession& session, const FollowedChange& change) {
    if (cameras_.rowOf(&session) < 0) return;  // on its way out
    const QTCamera& camera = session.camera();
    // What an automatic mode moves changes all the time; another program's write is worth a line.
    if (change.change.valueChanged && !change.governed && change.control)
        NSLog("%.*s of %s was changed by another program",
              static_cast<int>(change.control->title.size()), change.control->title.data(),
              qUtf8Printable(camera.displayName()));
    else if (change.change.valueChanged && !change.extraKey.isEmpty())
        NSLog("%s of %s was changed by another program", qUtf8Printable(change.extraKey),
              qUtf8Printable(camera.displayName()));
    if (&session == qtCamera()) panel_->showCameraRecord();
    guard_.controlChanged(&session, change);
}

void Orvella::restoreLastState(CameraSession& session, const QString& profile) {
    const QTCamera& camera = session.camera();
    QList<settings::SettingsRecord> lastStates;
    if (!profile.isEmpty()) {
        // A program's rule: the profile of the camera's model by that name, as the file holds it.
        if (profiles_.defaults().changedOnDisk()) profiles_.reload();
        const int index = profiles_.listIndexOf(camera.modelUniqueID(), profile);
        if (const auto record = index >= settings::kFirstProfileIndex
                                    ? profiles_.profileAt(camera.modelUniqueID(), index)
                                    : std::nullopt)
            lastStates = {*record};
        else
            NSLog(
                "Settings guard: %s has no profile \"%s\" (a program's rule names it); keeping "
                "my settings",
                qUtf8Printable(camera.displayName()), qUtf8Printable(profile));
    }
    if (lastStates.isEmpty()) lastStates = profiles_.appDefaultRecords(camera.modelUniqueID());
    if (lastStates.isEmpty()) {
        NSLog("Settings guard: %s has no last state to restore",
              qUtf8Printable(camera.displayName()));
        return;
    }
    std::optional<long> steppedZoom;
    for (const settings::SettingsRecord& record : lastStates)
        if (const auto target = settings::steppedZoomTarget(camera, record)) steppedZoom = target;
    const settings::SettingsRecord wanted = lastStates.front();
    session.ask([this, &session, lastStates, wanted,
                 steppedZoom](QTCamera& device) -> CameraSession::Reply {
        for (const settings::SettingsRecord& record : lastStates)
            settings::loadSettings(record, device);
        // What the camera holds now, against what was sent.
        device.readCurrentValues();
        settings::SettingsRecord now;
        settings::allSettingsDict(now, device, nullptr);
        for (const settings::SettingMismatch& miss :
             settings::settingsThatDidNotStick(wanted, now)) {
            // The stepped zoom gets there a second later.
            const std::string_view zoomKey = catalog::byID(settings::kZoomAbsolute)->key;
            if (steppedZoom &&
                miss.key == QLatin1String(zoomKey.data(), static_cast<qsizetype>(zoomKey.size())))
                continue;
            NSLog("Settings guard: %s of %s did not stick: wanted %lld, got %lld",
                  qUtf8Printable(miss.key), qUtf8Printable(device.displayName()),
                  static_cast<long long>(miss.wanted), static_cast<long long>(miss.got));
        }
        return [this, &session, steppedZoom] {
            if (steppedZoom) panel_->scheduleZoomMSLifeCamStudio(*steppedZoom, &session);
            if (&session == qtCamera()) panel_->showCameraRecord();
        };
    });
}

// ---- Camera discovery ----

void Orvella::loadAppDefault(CameraSession& session) {
    const QTCamera& camera = session.camera();
    const QString model = camera.modelUniqueID();
    const QList<settings::SettingsRecord> lastStates = profiles_.appDefaultRecords(model);
    if (lastStates.isEmpty()) {
        // A model seen for the first time: its last state is what the camera holds.
        const bool current = &session == qtCamera();
        session.ask([this, model, current](QTCamera& device) -> CameraSession::Reply {
            auto state = settings::readRecord(device, settings::kAllSettings, current);
            return [this, model, state] {
                profiles_.saveSettings(QString(settings::keys::kAppDefaultName), true, model,
                                       state);
            };
        });
    } else {
        std::optional<long> steppedZoom;
        for (const settings::SettingsRecord& record : lastStates)
            if (const auto target = settings::steppedZoomTarget(camera, record))
                steppedZoom = target;
        session.post([lastStates](QTCamera& device) {
            for (const settings::SettingsRecord& record : lastStates)
                settings::loadSettings(record, device);
        });
        if (steppedZoom) panel_->scheduleZoomMSLifeCamStudio(*steppedZoom, &session);
    }
    followCameraRow();
}

void Orvella::switchCamera(CameraSession* session) {
    endSheet();
    followCaptureSession(session);
    panel_->setQTCamera(session);
    if (session) {
        NSLog("Current camera: %s", qUtf8Printable(session->camera().displayName()));
        panel_->loadSupportedControl();
    } else {
        panel_->disableAllCameraControl();
        profileList_.clear();
    }
    followCameraRow();
}

void Orvella::observeFormatChanges(bool on) {
    // Every listed camera's capture device tells its format changes; the panel shows those of
    // the current camera's.
    observingFormats_ = on;
    formatFollowers_.clear();
    if (on)
        for (int row = 0; row < cameras_.size(); ++row)
            followFormats(cameras_.at(row));
}

void Orvella::followFormats(CameraSession* camera) {
    if (!observingFormats_ || !camera || !camera->camera().qtCaptureDevice()) return;
    for (const auto& follower : formatFollowers_)
        if (follower->camera() == camera) return;
    formatFollowers_.push_back(
        std::make_unique<FormatFollower>(*panel_, camera, camera->camera().qtCaptureDevice()));
}

void Orvella::stopFollowingFormats(CameraSession* camera) {
    std::erase_if(formatFollowers_,
                  [camera](const auto& follower) { return follower->camera() == camera; });
}

// ---- Sleep and wake ----

void Orvella::systemWillSleep() {
    NSLog("System will sleep: the timer stops");
    defaults_.flush();
    timer_.systemWillSleep();
    guard_.systemWillSleep();
    preview_->systemWillSleep();
}

void Orvella::systemDidWake() {
    NSLog("System woke: the timer starts again shortly");
    timer_.systemDidWake();
    guard_.systemDidWake();
    preview_->systemDidWake();
}

}  // namespace orvella::app
