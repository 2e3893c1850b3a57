#pragma once
// The control panel: the application's one window with the current camera's controls. It holds
// the sixteen control rows, the automatic-mode switches, the pan/tilt buttons and the LED control,
// the capture format and frame rate, and lays out the profile box and the preferences tab. It is
// owned and driven by the application controller: the controller makes a camera current
// (setQTCamera + loadSupportedControl) or clears the panel (disableAllCameraControl); the panel
// writes every user change to the camera and reports it back through ControlPanelDelegate. The
// profile and preference widgets only emit signals; their flows belong to the controller.

#include <QObject>
#include <QTimer>
#include <array>
#include <cstdint>
#include <memory>

#include "ui/ControlPanelDelegate.h"
#include "ui/UVCValueDelegate.h"
#include "ui/UVCValueViewController.h"

namespace Ui {
class ControlPanel;
}
class QWidget;
class QComboBox;

namespace orvella {
class QTCamera;
namespace platform {
class CaptureDevice;
}
}  // namespace orvella

namespace orvella::ui {

class ControlPanel : public QObject {
    Q_OBJECT

  public:
    static constexpr int kRowCount = 16;
    // Delay between applying a stored zoom and the stepped zoom of the camera that needs it.
    static constexpr int kSteppedZoomDelayMs = 1000;
    // Key of an interval item's title, kept so that a second localize still finds it.
    static constexpr int kItemKeyRole = Qt::UserRole + 10;

    // Loads the panel's interface file, builds the sixteen rows on their placeholders, localizes
    // every text and leaves the panel empty (no camera). Install the string table first: the
    // rows take their titles when they are built.
    ControlPanel();
    ~ControlPanel() override;

    QWidget* window() const { return window_.get(); }
    Ui::ControlPanel& outlets() { return *ui_; }

    ControlPanelDelegate* delegate() const { return delegate_; }
    void setDelegate(ControlPanelDelegate* delegate) { delegate_ = delegate; }

    // The row of a setting identifier (3, 4, ... 21), null for identifiers without a row.
    UVCValueViewController* row(int32_t settingsID) const;
    const std::array<std::unique_ptr<UVCValueViewController>, kRowCount>& rows() const {
        return rows_;
    }

    // The current camera (borrowed); the panel reads and writes it until told otherwise.
    QTCamera* qtCamera() const { return _qtCamera; }
    void setQTCamera(QTCamera* camera) { _qtCamera = camera; }

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

    // ---- Settings guard (Preferences tab) ----
    // Shows the guard's state and settle time; while it is on, the re-send box says that its
    // blind re-send is not needed.
    void showGuardSettings(bool on, int settleMs);

    // ---- Row delegate messages ----
    void settingChanged(int32_t settingsID);
    void titleClicked(bool displayValue, int32_t settingsID);

    // ---- Actions ----
    void switchAutoExposureMode();
    void clickWhiteBalanceTemperatureAuto();
    void switchPowerLineFrequency();
    void clickFocusAuto();
    void clickPTZ(int tag);
    void swictLED();

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
    void scheduleZoomMSLifeCamStudio(int64_t target, QTCamera* camera);
    // Drops the pending stepped zooms of a camera that is going away.
    void forgetCamera(QTCamera* camera);
    bool hasPendingZoom() const { return !pendingZooms_.empty(); }

    // The tag of each item of an interval pop-up (the stored preference values).
    static int intervalTag(const QComboBox* pop, int index);
    static bool selectIntervalTag(QComboBox* pop, int tag);

  signals:
    // The user picked a camera in the camera pop-up.
    void selectCamera(int index);
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
    void selectGuardSettleTime(int milliseconds);
    // disableAllCameraControl emptied the profile list: the tray menu's camera-default item is
    // to lose its check mark and action.
    void cameraControlsCleared();

  private:
    // disableAllCameraControl without the pan/tilt buttons: the state before the first camera.
    void emptyPanel();
    void buildRows();
    void wireActions();
    void alignRows();
    void loadImages();

    std::unique_ptr<Ui::ControlPanel> ui_;
    std::unique_ptr<QWidget> window_;
    std::array<std::unique_ptr<UVCValueViewController>, kRowCount> rows_;
    UVCValueDelegate rowDelegate_;
    ControlPanelDelegate* delegate_ = nullptr;
    QTCamera* _qtCamera = nullptr;

    struct PendingZoom {
        int64_t target;
        QTCamera* camera;
        QTimer* timer;
    };
    std::vector<PendingZoom> pendingZooms_;
};

}  // namespace orvella::ui
