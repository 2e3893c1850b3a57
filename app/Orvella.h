#pragma once
// The application controller: the one object that lives as long as the process and wires the
// parts together. It owns the control panel, the tray item with its menu and reminder popover
// (TrayPart), the profile store with its list model, the preferences with the Preferences tab's
// actions (PreferencesPart) and the half-second timer; it is the
// camera discovery's delegate (last state at plug-in, the current camera), the panel's delegate
// (a change is stored in the model's last-state record at once), the bus object's scripting
// target and the observer of sleep and wake. It follows every listed camera's changes made behind
// its back (the panel shows them at once) and owns the settings guard that restores a camera's
// last state after another program changed it. The profile and preference dialogs are
// window-modal dialogs on the panel, so the rest of the desktop stays usable while one is open.
//
// It also owns the panel's live preview of the current camera (PreviewPart,
// app/OrvellaCapture.cpp): while it runs, the frame rate it measures goes to the panel.

#include <QDialog>
#include <QObject>
#include <QPointer>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "app/CameraDiscovery.h"
#include "app/CameraList.h"
#include "app/CameraUsersPart.h"
#include "app/PreferencesPart.h"
#include "app/PreviewPart.h"
#include "app/ScriptingTarget.h"
#include "app/SettingsGuard.h"
#include "app/TrayPart.h"
#include "app/UpdateTimer.h"
#include "capture/QTCameraCapture.h"
#include "platform/PowerEvents.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"
#include "settings/ProfileListModel.h"
#include "settings/ProfileStore.h"
#include "ui/ControlPanelDelegate.h"

class QWidget;

namespace orvella::ui {
class ControlPanel;
}  // namespace orvella::ui

namespace orvella::app {

struct OrvellaOptions {
    // Whether a tray host shows the status item (default: Qt's own test).
    std::function<bool()> trayAvailable;
    UpdateTimer::Timing timing;
    // The settings guard's limits (its settle time is the preference; its wake delay the
    // timer's).
    SettingsGuard::Options guard;
    // Delay of the reminder popover after the panel is hidden.
    int popoverDelayMs = 200;
};

class Orvella final : public QObject,
                      public CameraDiscoveryDelegate,
                      public ScriptingTarget,
                      public platform::PowerObserver,
                      public capture::QTCameraDelegate {
    Q_OBJECT

  public:
    using Options = OrvellaOptions;

    // All borrowed: the user defaults, the camera list that discovery fills, and the login item
    // (may be null) behind "Launch at Login". Builds the panel (its sixteen rows) and the menu;
    // nothing is shown before applicationDidFinishLaunching.
    Orvella(settings::DefaultsStore& defaults, CameraList& cameras,
            platform::LoginItem* loginItem = nullptr, Options options = {});
    ~Orvella() override;

    // The discovery that fills the camera list (borrowed): a choice in the pop-up or the menu is
    // passed to it. The power source (borrowed) tells sleep and wake.
    void setDiscovery(CameraDiscovery* discovery) { discovery_ = discovery; }
    void setPowerEvents(platform::PowerEventSource* power);
    // What the no-camera panel's button does: plugs in the demo camera.
    void setDemoCamera(std::function<void()> addDemoCamera);

    // ---- Lifecycle ----
    // Start-up: preferences, cameras, sleep and wake, localize, tray, panel, the timer 1.0 s later.
    void applicationDidFinishLaunching();
    // The application was opened again (a second start): brings the panel to the front.
    void applicationWillBecomeActive();
    // Before the event loop ends: the timer stops, the observers go, the tray item is removed.
    void applicationWillTerminate();

    // ---- Tray and panel (TrayPart) ----
    void installStatusBar();
    void removeStatusBar();
    void setMenuIcon(bool blackAndWhite);
    void updatePanelMenu();
    void showHidePanelAndUpdateMenu();
    void showPopover();
    bool panelOn() const { return tray_->panelOn(); }

    // ---- Profiles ----
    void clickSaveNewProfile();
    // The rename sheet on the panel for the current camera: the name typed is kept in the
    // preferences' "Camera Names" and shown everywhere; an empty one goes back to the derived name.
    void clickRenameCamera();
    // Gives the camera(s) of `uniqueID` the name (empty: none of the user's) and shows it.
    void renameCamera(const QString& uniqueID, const QString& name);
    void clickUpdateProfile();
    void clickDeleteProfile();
    void clickLoadAtStart();
    void clickResetToDefault();
    // A profile chosen in the pop-up or the menu (its row in the list; 0 is the camera default).
    void selectProfile(int row);
    void updateSettings(int32_t settingsID);
    void buildProfileLists();
    // The save dialog's name with the camera's state read for it: stored, or the reason why not.
    void saveNewProfile(const QString& typed, const QString& model,
                        const std::optional<settings::SettingsRecord>& state);

    // ---- Preferences tab (PreferencesPart; the explanations are dialogs) ----
    void clickLaunchAtLogin(bool on);
    void selectBWMenuIcon(bool on);
    void clickHideMenuBarIcon(bool hidden);
    void selectUpdateSlider(int tag);
    void selectReconfigureWebcam(int tag);
    void clickGuardSettings(bool on);
    // Lock the look of the current camera (settings/LockTheLook.h) in its session; the result
    // becomes the last state, and the panel says what did not stick.
    void lockTheLook();
    void selectGuardSettleTime(int milliseconds);
    void clickReadIntervalInfo();
    void clickWriteIntervalInfo();

    // ---- Timer work ----
    void refreshAutoSliders();
    void reconfigureWebcams();

    // ---- Changes behind the process's back ----
    // A followed camera's control changed: the panel shows it at once when the camera is current;
    // the guard hears of it. The last-state record is left as it is.
    void cameraControlChanged(CameraSession& camera, const FollowedChange& change);
    // The guard's restore: the model's last state applied as at plug-in, then the controls read
    // back from the camera and those that did not stick logged (in the camera's session).
    // The camera's last state, or with a name that profile of its model (a program's rule; a
    // profile that is gone falls back to the last state, logged).
    void restoreLastState(CameraSession& camera, const QString& profile = {});

    // ---- Camera discovery ----
    void loadAppDefault(CameraSession& camera) override;
    void switchCamera(CameraSession* camera) override;
    void observeFormatChanges(bool on) override;

    // ---- Scripting ----
    std::vector<Camera> cameras() const override;
    QString applyProfile(const QString& uniqueID, const QString& profile) override;
    void setPanelVisible(bool visible) override;
    bool isPanelVisible() const override;
    void controlValues(const QString& uniqueID, ValuesReply reply) override;
    void cameraUsers(const QString& uniqueID, UsersReply reply) override;

    // ---- Sleep and wake ----
    void systemWillSleep() override;
    void systemDidWake() override;

    // ---- The current camera's preview ----
    PreviewPart& preview() { return *preview_; }
    void updateFPS(uint32_t fps) override;

    // ---- Parts, for the entry point and tests ----
    ui::ControlPanel& panel() { return *panel_; }
    ui::StatusMenu& statusMenu() { return tray_->menu(); }
    ui::StatusBar& statusBar() { return tray_->statusBar(); }
    settings::DefaultsStore& defaults() { return defaults_; }
    settings::ProfileStore& profileStore() { return profiles_; }
    settings::ProfileListModel& profileList() { return profileList_; }
    settings::Preferences& preferences() { return preferences_; }
    UpdateTimer& timer() { return timer_; }
    SettingsGuard& guard() { return guard_; }
    // The current camera's session, null for none.
    CameraSession* qtCamera() const { return cameras_.current(); }
    // The dialog open on the panel, null when none is.
    QDialog* sheet() const { return sheet_; }
    // The banner the panel shows while no camera is there.
    QWidget* noCameraBanner() const { return noCamera_; }

  private:
    void wirePanel();
    void wireMenu();
    void buildNoCameraBanner();
    void showSheet(QDialog* dialog, std::function<void(int)> done);
    void endSheet();
    void followProfileRow();
    void followCameraRow();
    void followCameras(int first, int last);
    void refreshPanelValues();
    void makePreview();
    void followCaptureSession(CameraSession* camera);
    void followFormats(CameraSession* camera);
    void stopFollowingFormats(CameraSession* camera);
    // The last-state record of the camera's model brought up to what the camera holds: the
    // entries of `settingsID` (all for 0), read in the camera's session, then stored.
    void updateLastState(CameraSession& camera, int32_t settingsID);
    // The settings record's apply in the camera's session, then the panel follows (when the
    // camera is current) and the last state with it.
    void applyRecord(CameraSession& camera, const settings::SettingsRecord& record);

    settings::DefaultsStore& defaults_;
    CameraList& cameras_;
    settings::ProfileStore profiles_;
    settings::Preferences preferences_;
    settings::ProfileListModel profileList_;
    Options options_;
    std::unique_ptr<ui::ControlPanel> panel_;
    ui::ControlPanelDelegate panelDelegate_;
    std::unique_ptr<TrayPart> tray_;
    std::unique_ptr<PreferencesPart> preferencesPart_;
    UpdateTimer timer_;
    SettingsGuard guard_;
    std::unique_ptr<CameraUsersPart> usersPart_;
    CameraDiscovery* discovery_ = nullptr;
    platform::PowerEventSource* power_ = nullptr;
    std::function<void()> addDemoCamera_;
    QPointer<QDialog> sheet_;
    QWidget* noCamera_ = nullptr;
    bool launched_ = false;
    std::unique_ptr<PreviewPart> preview_;  // goes before the panel it shows in
    // While format changes are observed: one follower per listed camera's capture device, which
    // passes the device's format changes to the panel (it shows those of the current camera).
    class FormatFollower;
    bool observingFormats_ = false;
    std::vector<std::unique_ptr<FormatFollower>> formatFollowers_;
    // The bus's readings of control values still in a camera's session: answered (with none)
    // when the camera goes before its session could read it, so no caller waits in vain.
    struct PendingValues {
        ValuesReply reply;
        bool answered = false;
        void answer(const std::optional<QVariantMap>& values);
    };
    std::multimap<const CameraSession*, std::shared_ptr<PendingValues>> pendingValues_;
    void answerPendingValues(const CameraSession* camera);
};

}  // namespace orvella::app
