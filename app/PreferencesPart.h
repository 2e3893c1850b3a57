#pragma once
// The controller's Preferences tab: at start-up the stored choices are shown on the tab and put in
// force (the timer's intervals, the settings guard); afterwards each choice on the tab is stored
// and takes effect at once. The two interval explanations are dialogs on the panel and stay with
// the controller.

namespace orvella::settings {
class DefaultsStore;
class Preferences;
}  // namespace orvella::settings
namespace orvella::ui {
class ControlPanel;
}

namespace orvella::app {

class SettingsGuard;
class TrayPart;
class UpdateTimer;

class PreferencesPart {
  public:
    // All borrowed; they outlive the part.
    PreferencesPart(settings::Preferences& preferences, const settings::DefaultsStore& defaults,
                    ui::ControlPanel& panel, TrayPart& tray, UpdateTimer& timer,
                    SettingsGuard& guard);

    // The stored choices on the tab, the timer's intervals and the guard as stored (after the
    // preferences' start-up). The tray item is installed by the controller afterwards.
    void showStored();

    void clickLaunchAtLogin(bool on);
    void selectBWMenuIcon(bool on);
    void clickHideMenuBarIcon(bool hidden);
    void selectUpdateSlider(int tag);
    void selectReconfigureWebcam(int tag);
    void clickGuardSettings(bool on);
    void selectGuardSettleTime(int milliseconds);

  private:
    settings::Preferences& preferences_;
    const settings::DefaultsStore& defaults_;
    ui::ControlPanel& panel_;
    TrayPart& tray_;
    UpdateTimer& timer_;
    SettingsGuard& guard_;
};

}  // namespace orvella::app
