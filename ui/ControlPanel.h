#pragma once
// The control panel: the application's one window. It puts together the camera pop-up, the
// camera's controls (CameraControlsPage, on the Basic and Advanced tabs), the Preferences tab
// (PreferencesPage), the profile box (ProfileBox) and the bottom line with the capture format,
// the frame rate and the reset button. It is owned and driven by the application controller: the
// controller makes a camera current (setQTCamera + loadSupportedControl) or clears the panel
// (disableAllCameraControl) and shows what it holds through calls named for what the user sees;
// the panel writes every user change to the camera and reports it back through
// ControlPanelDelegate. The profile and preference widgets only emit signals; their flows belong
// to the controller.

#include <QMap>
#include <QObject>
#include <QPair>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <array>
#include <cstdint>
#include <memory>

#include "ui/CameraControlsPage.h"
#include "ui/ControlPanelDelegate.h"
#include "ui/UVCValueViewController.h"

namespace Ui {
class ControlPanel;
}
class QAbstractItemModel;
class QWidget;
class QComboBox;

namespace orvella {
class CameraSession;
namespace platform {
class CaptureDevice;
}
}  // namespace orvella

namespace orvella::ui {

class PreferencesPage;
class PreviewArea;
class ProfileBox;

class AllControlsPage;

class ControlPanel : public QObject {
    Q_OBJECT

  public:
    static constexpr int kRowCount = CameraControlsPage::kRowCount;
    // Delay between applying a stored zoom and the stepped zoom of the camera that needs it.
    static constexpr int kSteppedZoomDelayMs = 1000;
    // Room left on a short screen for the window manager's title bar and frame.
    static constexpr int kWindowFrameAllowance = 40;
    // Every room's outlets under their interface files' names (ui/ControlPanelOutlets.h), for
    // tests and the screenshot tool.
    struct Outlets;

    // Loads the panel's interface file, builds the sixteen rows on their placeholders, localizes
    // every text and leaves the panel empty (no camera). Install the string table first: the
    // rows take their titles when they are built.
    ControlPanel();
    ~ControlPanel() override;

    QWidget* window() const { return window_.get(); }
    Outlets& outlets() { return *outlets_; }
    CameraControlsPage& controls() { return *controls_; }
    ProfileBox& profileBox() { return *profileBox_; }
    PreferencesPage& preferencesPage() { return *preferences_; }
    // The live preview above the controls (its owner decides when it runs).
    PreviewArea& preview() { return *preview_; }
    // The "All controls" tab: the current camera's controls beyond the rows.
    AllControlsPage& allControlsPage() { return *allControls_; }

    ControlPanelDelegate* delegate() const { return delegate_; }
    void setDelegate(ControlPanelDelegate* delegate) { delegate_ = delegate; }

    // The row of a setting identifier (3, 4, ... 21), null for identifiers without a row.
    UVCValueViewController* row(int32_t settingsID) const { return controls_->row(settingsID); }
    const CameraControlsPage::Rows& rows() const { return controls_->rows(); }

    // The current camera (borrowed); the panel reads and writes it until told otherwise.
    // The current camera's session (borrowed): the panel sends it what the user does and shows
    // what it publishes.
    CameraSession* qtCamera() const { return controls_->qtCamera(); }
    void setQTCamera(CameraSession* camera);

    // Sets every text from the string table (the panel's part of the controller's localize).
    void localize();

    // ---- Filling and following the camera ----
    void loadSupportedControl();
    void loadSupportedControlUVCValue();
    void disableAutoControl();
    void disableAutoControlUVCValue();
    void disableAllCameraControl();
    void enableDisableProfileButton();
    // Shows what the current camera's record holds -- values, automatic modes, which controls an
    // automatic mode owns -- without a single request to the camera: for changes the camera
    // took in from elsewhere (another program, its own automatic mode).
    void showCameraRecord();

    // ---- What the owner shows ----
    // The item models behind the camera and profile pop-ups. The profile model becomes the
    // panel's (it goes with the pop-up); the camera model stays its owner's.
    void setCameraModel(QAbstractItemModel* model);
    void setProfileModel(QAbstractItemModel* model);
    // The camera pop-up shows the current camera's row (-1: none); it can be used while any
    // camera is listed.
    void showCameraSelection(int row, bool anyCamera);
    // The profile pop-up shows `row` (-1: none) and the profile buttons follow it.
    void showProfileSelection(int row);
    int selectedProfileRow() const;
    QString selectedProfileTitle() const;
    // The selected item just became the start profile: it cannot be made so again.
    void showLoadAtStartChosen();
    // A new value of a control, read from the camera by the owner (nothing is sent back).
    void showControlValue(int32_t settingsID, long value);
    // A widget of the owner's shown above the controls (the no-camera banner).
    void showBanner(QWidget* banner);

    // ---- Preferences tab ----
    void showLaunchAtLogin(bool on);
    void showMenuIcon(bool blackAndWhite);
    // Whether the tray icon is hidden; its black-and-white choice only applies while it is not.
    void showTrayIconHidden(bool hidden);
    // The stored intervals (counts of half-second ticks); one the pop-ups do not offer (a script
    // wrote it) is shown as an item of its own.
    void showIntervals(int updateSliderTicks, int reconfigureWebcamTicks);

    // ---- Settings guard (Preferences tab) ----
    // Shows the guard's state and settle time; while it is on, the re-send box says that its
    // blind re-send is not needed.
    void showGuardSettings(bool on, int settleMs);
    // The Preferences tab's rules for programs (PreferencesPage::showProgramRules).
    void showProgramRules(const QStringList& programs,
                          const QMap<QString, QPair<int, QString>>& rules,
                          const QPair<int, QString>& otherPrograms, const QStringList& profiles);
    // The line about another program's use of the camera (ui/WhoChanged.h); empty hides it.
    void showWhoChanged(const QString& text);
    QString whoChangedText() const;
    // The note for a program of the Chromium family (ui/WhoChanged.h); empty hides it.
    void showChromiumNote(const QString& program);
    bool isChromiumNoteShown() const;

    // ---- What the camera's controls report ----
    // The user changed a setting: the selected profile counts as changed by hand and the owner
    // stores the change.
    void settingChanged(int32_t settingsID);
    void titleClicked(bool displayValue, int32_t settingsID);

    // ---- Format and frame rate ----
    void showQTFormat(const platform::CaptureDevice* device);
    // A capture device's formats changed: shown when it is the current camera's video device.
    void qtCameraFormatChanged(const platform::CaptureDevice* device);
    // The frame rate of a running capture session. The rate and its unit are shown from the
    // first report on; clearFPS hides both again when no session runs (no bare unit).
    void updateFPS(double framesPerSecond);
    void clearFPS();

    // ---- Stepped zoom ----
    // zoomMSLifeCamStudio (camera/SteppedZoom.h) kSteppedZoomDelayMs from now on the event loop.
    // A camera that goes away before then must be passed to forgetCamera.
    void scheduleZoomMSLifeCamStudio(int64_t target, CameraSession* camera);
    // Drops the pending stepped zooms of a camera that is going away.
    void forgetCamera(CameraSession* camera);
    bool hasPendingZoom() const { return !pendingZooms_.empty(); }

    // The tag of each item of an interval pop-up (the stored preference values).
    static int intervalTag(const QComboBox* pop, int index);
    static bool selectIntervalTag(QComboBox* pop, int tag);

  signals:
    // The user picked a camera in the camera pop-up.
    void selectCamera(int index);
    // The user asked to rename the current camera ("Rename…" beside the pop-up).
    void clickRenameCamera();
    // The user picked an item of the profile pop-up.
    void selectProfile(int index);
    void clickSaveNewProfile();
    void clickUpdateProfile();
    void clickDeleteProfile();
    void clickLoadAtStart();
    void clickResetToDefault();
    // Preferences tab.
    void clickLaunchAtLogin(bool on);
    void selectBWMenuIcon(bool on);
    void clickHideMenuBarIcon(bool on);
    void selectUpdateSlider(int tag);
    void selectReconfigureWebcam(int tag);
    void clickReadIntervalInfo();
    void clickWriteIntervalInfo();
    void clickGuardSettings(bool on);
    // "Lock the Look": the current camera's automatic modes to be fixed where they are.
    void clickLockTheLook();
    // A rule chosen for a program (PreferencesPage::setProgramRule).
    void setProgramRule(const QString& program, int kind, const QString& profile);
    // The Chromium note's "Don't Show Again" (the note is hidden already).
    void dismissChromiumNote();
    void selectGuardSettleTime(int milliseconds);
    // disableAllCameraControl emptied the profile list: the tray menu's camera-default item is
    // to lose its check mark and action.
    void cameraControlsCleared();

  private:
    // The bottom line says whether the current camera answers.
    void showAnswering(bool answering);
    QSet<CameraSession*> watched_;  // sessions whose publishing the panel follows
    // disableAllCameraControl without the pan/tilt buttons: the state before the first camera.
    void emptyPanel();
    void placeRooms();
    void fitScreen();
    void wireActions();
    bool cameraChosen() const;

    std::unique_ptr<Ui::ControlPanel> ui_;
    std::unique_ptr<QWidget> window_;
    // The rooms; the profile box and the preferences page belong to the window.
    std::unique_ptr<CameraControlsPage> controls_;
    ProfileBox* profileBox_ = nullptr;
    PreferencesPage* preferences_ = nullptr;
    std::unique_ptr<PreviewArea> preview_;
    AllControlsPage* allControls_ = nullptr;
    std::unique_ptr<Outlets> outlets_;
    ControlPanelDelegate* delegate_ = nullptr;

    struct PendingZoom {
        int64_t target;
        CameraSession* camera;
        QTimer* timer;
    };
    std::vector<PendingZoom> pendingZooms_;
};

}  // namespace orvella::ui
