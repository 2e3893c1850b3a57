#pragma once
// The camera's controls: the sixteen control rows on the Basic and Advanced tabs, the
// automatic-mode switches, the pan/tilt buttons and the LED control. It shows the current
// camera's modes and values; the user's changes go to the camera (the rows send their own) and
// are then announced, for the panel to record.

#include <QMap>
#include <QObject>
#include <QString>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "ui/UVCValueDelegate.h"
#include "ui/UVCValueViewController.h"

namespace Ui {
class CameraControlsPage;
}
class QScrollArea;
class QWidget;

namespace orvella {
class CameraSession;
class QTCamera;
struct ControlDescription;
}  // namespace orvella

namespace orvella::ui {

class CameraControlsPage : public QObject {
    Q_OBJECT

  public:
    static constexpr int kRowCount = 16;
    using Rows = std::array<std::unique_ptr<UVCValueViewController>, kRowCount>;

    // Loads the interface file and builds the rows on their placeholders. Install the string
    // table first: the rows take their titles when they are built.
    CameraControlsPage();
    ~CameraControlsPage() override;

    Ui::CameraControlsPage& outlets() { return *ui_; }
    // The Basic and Advanced tabs' pages, each a scroll area over its controls (a short screen
    // scrolls them while the rest of the panel stays in view); the panel takes them into its tab
    // widget.
    QWidget* basicPage() const;
    QWidget* advancedPage() const;

    // The row of a setting identifier (3, 4, ... 21), null for identifiers without a row.
    UVCValueViewController* row(int32_t settingsID) const;
    const Rows& rows() const { return rows_; }

    // The current camera's session (borrowed).
    CameraSession* qtCamera() const { return qtCamera_; }
    void setQTCamera(CameraSession* camera) { qtCamera_ = camera; }

    void localize();

    // ---- Filling for the current camera ----
    // The automatic-mode switches by the modes the camera offers.
    void loadSupportedModes();
    // The rows bound to the camera's ranges, shown for the controls it has, with the value
    // display the user chose per row (by setting identifier) when one was stored.
    void loadSupportedControlUVCValue(const std::optional<QMap<QString, bool>>& displayValues);
    // The indicator LED, when the camera has one.
    void loadLED();
    // The modes and values as the camera reports them (read in the camera's session, shown when
    // it answers); a row an automatic mode owns is greyed and keeps the value it showed. `then`
    // runs after they are shown.
    void disableAutoControl(std::function<void()> then = {});
    void disableAutoControlUVCValue();
    // What the camera's record holds, without a request (ControlPanel::showCameraRecord).
    void showCameraRecord();
    // No camera: every switch off, every row hidden.
    void empty();
    // The pan/tilt buttons off (they stay so: see docs/ui.md).
    void disablePanTilt();

    // ---- Actions ----
    void switchAutoExposureMode();
    void clickWhiteBalanceTemperatureAuto();
    void switchPowerLineFrequency();
    void clickFocusAuto();
    void clickPTZ(int tag);
    void swictLED();

  signals:
    // The user changed a setting, which the camera now holds.
    void settingChanged(int32_t settingsID);
    // The user changed a setting that is stored but does not count against a profile (the LED).
    void settingStored(int32_t settingsID);
    // The user switched a row's value display.
    void titleClicked(bool displayValue, int32_t settingsID);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    // What the status walk found that the record does not hold: the iris position, when the
    // camera told it.
    struct StatusRead {
        bool irisKnown = false;
        long iris = 0;
    };
    // Session thread: the status walks and iris read that disableAutoControl (`walks` 2) or
    // disableAutoControlUVCValue (1) shows.
    static StatusRead readStatus(QTCamera& camera, int walks);
    void showAutoControl(const StatusRead& read);
    void showAutoControlUVCValue(const StatusRead& read);
    // Sends a job that changes an automatic mode, reads the status, reads the manual control's
    // value the mode left and writes it back (so the camera holds what is shown), then shows it
    // and tells the setting.
    void switchMode(const ControlDescription& mode, long value, int32_t manualID, bool readManual,
                    int32_t settingsID);
    void fitScrollWidth(QScrollArea* page);
    void buildRows();
    void wireActions();
    void loadImages();
    void alignRows();
    void nameForScreenReaders();

    std::unique_ptr<Ui::CameraControlsPage> ui_;
    // Holds the two pages until the panel takes them into its tabs.
    std::unique_ptr<QWidget> holder_;
    Rows rows_;
    UVCValueDelegate rowDelegate_;
    CameraSession* qtCamera_ = nullptr;
};

}  // namespace orvella::ui
